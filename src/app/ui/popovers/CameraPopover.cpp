#include "ui/popovers/CameraPopover.h"

#include <QDoubleSpinBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "documents/DocumentModel.h"
#include "remote/PublishedRanges.h"
#include "remote/RemoteValues.h"
#include "ui/popovers/PopoverText.h"
#include "ui/popovers/SectionHeader.h"
#include "ui/popovers/SliderRow.h"
#include "view/ViewportView.h"

namespace vistrel::app {

namespace {

using R = PublishedRanges;
using Scale = SliderRow::Scale;

SliderRow::Options linear(R::Range range, int decimals, const char* suffix, bool spin = true) {
    SliderRow::Options o;
    o.lower = range.first;
    o.upper = range.second;
    o.decimals = decimals;
    o.suffix = QString::fromUtf8(suffix);
    o.spinBox = spin;
    return o;
}

}  // namespace

CameraPopover::CameraPopover(DocumentModel& model, QWidget* parent)
    : Popover(parent), model_(model) {
    const R ranges = publishedRanges(&model_);
    auto* box = content();
    auto row = [&](const char* fr, const char* en, SliderRow::Options options) {
        auto* r = new SliderRow(localText(fr, en), std::move(options), this);
        box->addWidget(r);
        return r;
    };

    box->addWidget(new SectionHeader(localText("Objectif", "Lens"), this));
    fov_ = row("Angle vertical", "Vertical angle", linear(R::fov, 1, "°", false));
    focal_ = new QDoubleSpinBox(this);
    focal_->setLocale(interfaceLocale());
    focal_->setRange(R::focal.first, R::focal.second);
    focal_->setDecimals(0);
    focal_->setSuffix(QStringLiteral(" mm"));
    focal_->setKeyboardTracking(false);
    focal_->setFixedWidth(78);
    focal_->setAlignment(Qt::AlignRight);
    fov_->addTrailing(focal_);
    orthoScale_ = row("Échelle parallèle", "Parallel scale", linear(ranges.orthoScale(), 2, " m"));

    box->addWidget(new SectionHeader(localText("Position", "Position"), this));
    const char* axes[] = {"X", "Y", "Z"};
    for (int axis = 0; axis < 3; ++axis) {
        position_[axis] = row(axes[axis], axes[axis], linear(ranges.coordinates, 2, " m"));
        connect(position_[axis], &SliderRow::edited, this,
                [this, axis](double v) { moveAxis(axis, v); });
    }
    yaw_ = row("Lacet", "Yaw", linear(R::angle, 1, "°"));
    pitch_ = row("Tangage", "Pitch", linear(R::pitch, 1, "°"));
    distance_ = row("Distance", "Distance", linear(ranges.distances, 2, " m"));

    auto* actions = new QHBoxLayout;
    auto* centre = new QPushButton(localText("Centrer dans le modèle", "Centre in model"), this);
    auto* level = new QPushButton(localText("Mettre à niveau", "Level"), this);
    actions->addWidget(centre);
    actions->addWidget(level);
    box->addLayout(actions);

    auto* eye = new QHBoxLayout;
    eye->addWidget(new QLabel(localText("Hauteur d'œil", "Eye height"), this), 1);
    eyeHeight_ = new QDoubleSpinBox(this);
    eyeHeight_->setLocale(interfaceLocale());
    eyeHeight_->setRange(R::eyeHeight.first, R::eyeHeight.second);
    eyeHeight_->setDecimals(2);
    eyeHeight_->setSingleStep(0.1);
    eyeHeight_->setSuffix(QStringLiteral(" m"));
    eyeHeight_->setValue(R::defaultEyeHeight);
    eyeHeight_->setAlignment(Qt::AlignRight);
    eye->addWidget(eyeHeight_);
    auto* placeEye = new QPushButton(localText("Placer", "Place"), this);
    placeEye->setToolTip(
        localText("Place la caméra à cette hauteur au-dessus du sol, horizon droit",
                  "Puts the camera at this height above the ground, horizon level"));
    eye->addWidget(placeEye);
    box->addLayout(eye);

    box->addWidget(
        new SectionHeader(localText("Rendu et déplacement", "Rendering and motion"), this));
    exposure_ = row("Exposition", "Exposure", linear(R::exposure, 2, " EV"));
    auto speed = linear(R::acceptedSpeed, 2, "", false);
    speed.scale = Scale::logarithmic;
    speed.text = [](double v) { return QStringLiteral("× ") + localNumber(v, v < 1 ? 3 : 2); };
    speed_ = row("Vitesse", "Speed", speed);

    // Person to model.
    connect(fov_, &SliderRow::edited, this,
            [this](double v) { model_.setCameraFOV(clampedTo(float(v), R::fov)); });
    connect(focal_, &QDoubleSpinBox::valueChanged, this,
            [this](double mm) { model_.setCameraFocalLength(float(mm)); });
    connect(orthoScale_, &SliderRow::edited, this, [this](double v) {
        model_.setCameraOrthoScale(clampedTo(float(v), publishedRanges(&model_).orthoScale()));
    });
    connect(yaw_, &SliderRow::edited, this, [this](double v) {
        model_.setCameraPose(std::nullopt, float(v), std::nullopt, std::nullopt);
    });
    connect(pitch_, &SliderRow::edited, this, [this](double v) {
        model_.setCameraPose(std::nullopt, std::nullopt, float(v), std::nullopt);
    });
    connect(distance_, &SliderRow::edited, this, [this](double v) {
        model_.setCameraPose(std::nullopt, std::nullopt, std::nullopt, float(v));
    });
    connect(exposure_, &SliderRow::edited, this,
            [this](double v) { model_.setCameraExposure(clampedTo(float(v), R::exposure)); });
    connect(speed_, &SliderRow::edited, this, [this](double v) {
        model_.setCameraSpeedScale(clampedTo(float(v), R::acceptedSpeed));
    });
    connect(centre, &QPushButton::clicked, this, [this] { model_.centerCameraInModel(); });
    connect(level, &QPushButton::clicked, this,
            [this] { model_.setCameraPose(std::nullopt, std::nullopt, 0.0f, std::nullopt); });
    connect(placeEye, &QPushButton::clicked, this,
            [this] { model_.setCameraEyeHeight(float(eyeHeight_->value())); });

    // Model to controls. The camera reports every frame of a glide: a closed panel waits for
    // popUp() to catch up.
    auto follow = [this](void (DocumentModel::*signal)(), auto show) {
        connect(&model_, signal, this, [this, show] {
            if (isVisible()) show();
        });
    };
    follow(&DocumentModel::cameraFOVChanged, [this] { showFOV(); });
    follow(&DocumentModel::isPerspectiveChanged, [this] { showProjection(); });
    follow(&DocumentModel::cameraOrthoScaleChanged,
           [this] { orthoScale_->setValue(double(model_.cameraOrthoScale())); });
    follow(&DocumentModel::cameraPositionChanged, [this] { showPosition(); });
    follow(&DocumentModel::cameraYawChanged,
           [this] { yaw_->setValue(double(reducedDegrees(model_.cameraYaw()))); });
    follow(&DocumentModel::cameraPitchChanged,
           [this] { pitch_->setValue(double(model_.cameraPitch())); });
    follow(&DocumentModel::cameraDistanceChanged,
           [this] { distance_->setValue(double(model_.cameraDistance())); });
    follow(&DocumentModel::cameraExposureChanged,
           [this] { exposure_->setValue(double(model_.cameraExposure())); });
    follow(&DocumentModel::cameraSpeedScaleChanged,
           [this] { speed_->setValue(double(model_.cameraSpeedScale())); });
    // The reference bounds move with the model and its visible layers.
    for (auto signal : {&DocumentModel::stateChanged, &DocumentModel::skpChanged,
                        &DocumentModel::visibleSizeChanged})
        follow(signal, [this] { refresh(); });
    refresh();
}

void CameraPopover::refresh() {
    const R ranges = publishedRanges(&model_);
    for (SliderRow* r : position_) r->setRange(ranges.coordinates.first, ranges.coordinates.second);
    distance_->setRange(ranges.distances.first, ranges.distances.second);
    orthoScale_->setRange(ranges.orthoScale().first, ranges.orthoScale().second);
    showFOV();
    showProjection();
    showPosition();
    orthoScale_->setValue(double(model_.cameraOrthoScale()));
    yaw_->setValue(double(reducedDegrees(model_.cameraYaw())));
    pitch_->setValue(double(model_.cameraPitch()));
    distance_->setValue(double(model_.cameraDistance()));
    exposure_->setValue(double(model_.cameraExposure()));
    speed_->setValue(double(model_.cameraSpeedScale()));
}

void CameraPopover::showFOV() {
    const double fov = double(model_.cameraFOV());
    fov_->setValue(fov);
    const QSignalBlocker block(focal_);
    focal_->setValue(viewport::ViewportView::focalLengthMM(fov));
}

void CameraPopover::showProjection() {
    // Parallel projection has no angle of view: its scale stands in that place.
    const bool perspective = model_.isPerspective();
    fov_->setVisible(perspective);
    orthoScale_->setVisible(!perspective);
}

void CameraPopover::showPosition() {
    const Float3 p = model_.cameraPosition();
    position_[0]->setValue(double(p.x));
    position_[1]->setValue(double(p.y));
    position_[2]->setValue(double(p.z));
}

void CameraPopover::moveAxis(int axis, double value) {
    Float3 p = model_.cameraPosition();
    (axis == 0 ? p.x : axis == 1 ? p.y : p.z) = float(value);
    model_.setCameraPose(p, std::nullopt, std::nullopt, std::nullopt);
}

}  // namespace vistrel::app
