// Lighting settings: sun or point lights, each with its own controls, then ambient occlusion,
// shadows and the backdrop. Light powers move on the light curve. Every control shows a
// DocumentModel field, follows its change signal, and calls one command.
#pragma once

#include "ui/popovers/Popover.h"

class QButtonGroup;
class QCheckBox;
class QComboBox;
class QPushButton;
class QToolButton;

namespace vistrel::app {

class DocumentModel;
class SliderRow;

class LightingPopover : public Popover {
    Q_OBJECT

  public:
    LightingPopover(DocumentModel& model, QWidget* parent);

    // For tests.
    QButtonGroup* modeButtons() const { return mode_; }
    SliderRow* azimuthRow() const { return azimuth_; }
    SliderRow* elevationRow() const { return elevation_; }
    SliderRow* sunPowerRow() const { return sunPower_; }
    SliderRow* ambientRow() const { return ambient_; }
    QComboBox* lightList() const { return lights_; }
    QPushButton* removeLightButton() const { return remove_; }
    SliderRow* lightAxisRow(int axis) const { return lightAxis_[axis]; }
    SliderRow* lightPowerRow() const { return lightPower_; }
    SliderRow* ambientOcclusionRow() const { return ambientOcclusion_; }
    QComboBox* backdropList() const { return backdrop_; }

  protected:
    void refresh() override;

  private:
    void showMode();
    void showSun();
    void showLights();
    void showLook();
    void moveLightAxis(int axis, double value);

    DocumentModel& model_;
    QButtonGroup* mode_;
    QWidget* sunPage_;
    QWidget* pointPage_;
    SliderRow* azimuth_;
    SliderRow* elevation_;
    SliderRow* sunPower_;
    SliderRow* ambient_;
    QComboBox* lights_;
    QPushButton* remove_;
    SliderRow* lightAxis_[3];
    SliderRow* lightPower_;
    QCheckBox* gizmo_;
    SliderRow* ambientOcclusion_;
    QCheckBox* shadows_;
    QComboBox* backdrop_;
    QToolButton* colour_;
};

}  // namespace vistrel::app
