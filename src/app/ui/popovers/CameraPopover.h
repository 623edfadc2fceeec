// Fine camera settings: angle of view with its focal length (or the parallel scale), position,
// orientation and distance, exposure, movement speed, eye height, centring and levelling.
// Ranges are those published over OSC. Every control shows a DocumentModel field, follows its
// change signal while the panel is open (popUp() reads them all again), and calls one command.
#pragma once

#include "ui/popovers/Popover.h"

class QDoubleSpinBox;
class QPushButton;

namespace vistrel::app {

class DocumentModel;
class SliderRow;

class CameraPopover : public Popover {
    Q_OBJECT

  public:
    CameraPopover(DocumentModel& model, QWidget* parent);

    // For tests.
    SliderRow* fovRow() const { return fov_; }
    QDoubleSpinBox* focalBox() const { return focal_; }
    SliderRow* orthoScaleRow() const { return orthoScale_; }
    SliderRow* positionRow(int axis) const { return position_[axis]; }
    SliderRow* yawRow() const { return yaw_; }
    SliderRow* pitchRow() const { return pitch_; }
    SliderRow* distanceRow() const { return distance_; }
    SliderRow* exposureRow() const { return exposure_; }
    SliderRow* speedRow() const { return speed_; }
    QDoubleSpinBox* eyeHeightBox() const { return eyeHeight_; }

  protected:
    void refresh() override;

  private:
    void showFOV();
    void showProjection();
    void showPosition();
    void moveAxis(int axis, double value);

    DocumentModel& model_;
    SliderRow* fov_;
    QDoubleSpinBox* focal_;
    SliderRow* orthoScale_;
    SliderRow* position_[3];
    SliderRow* yaw_;
    SliderRow* pitch_;
    SliderRow* distance_;
    SliderRow* exposure_;
    SliderRow* speed_;
    QDoubleSpinBox* eyeHeight_;
};

}  // namespace vistrel::app
