#include "ui/popovers/LightingPopover.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPixmap>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QVBoxLayout>

#include "documents/DocumentModel.h"
#include "remote/PublishedRanges.h"
#include "ui/Icons.h"
#include "ui/Theme.h"
#include "ui/popovers/PopoverText.h"
#include "ui/popovers/SectionHeader.h"
#include "ui/popovers/SliderRow.h"
#include "vocabulary/Rendering.h"

namespace vistrel::app {

namespace {

using R = PublishedRanges;
using viewport::BackdropStyle;
using viewport::LightingMode;

// The sun's full sweep, up to straight overhead; the scene keeps it off the horizon itself.
constexpr R::Range kSunElevation{0, 90};

SliderRow::Options degrees(R::Range range) {
    SliderRow::Options o;
    o.lower = range.first;
    o.upper = range.second;
    o.decimals = 0;
    o.suffix = QStringLiteral("°");
    o.spinBox = true;
    return o;
}

// A power on the light curve, shown in percent.
SliderRow::Options power(R::Range range) {
    SliderRow::Options o;
    o.upper = range.second;
    o.scale = SliderRow::Scale::lightCurve;
    o.text = [](double v) {
        return QString::fromStdString(viewport::Rendering::formatLightPercentage(float(v)));
    };
    return o;
}

QIcon swatch(Float3 c) {
    QPixmap pixmap(28, 16);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(255, 255, 255, 90), 1));
    painter.setBrush(QColor::fromRgbF(c.x, c.y, c.z));
    painter.drawRoundedRect(QRectF(0.5, 0.5, 27, 15), 4, 4);
    return QIcon(pixmap);
}

QPushButton* button(const QString& text, QWidget* parent) {
    auto* b = new QPushButton(text, parent);
    b->setAutoDefault(false);
    return b;
}

}  // namespace

LightingPopover::LightingPopover(DocumentModel& model, QWidget* parent)
    : Popover(parent), model_(model) {
    const R ranges = publishedRanges(&model_);
    auto* box = content();

    // Sun or point, as one segmented control.
    auto* segments = new QHBoxLayout;
    segments->setSpacing(0);
    mode_ = new QButtonGroup(this);
    for (LightingMode mode : viewport::allLightingModes) {
        auto* b = button(QString::fromStdString(viewport::label(mode)), this);
        b->setCheckable(true);
        // Halves of one control: the chosen one wears the accent.
        const bool first = mode == viewport::allLightingModes.front();
        b->setStyleSheet(QStringLiteral("QPushButton { background: %1; border: 1px solid #3a3d43; "
                                        "padding: 4px 12px; border-%2-radius: 6px; "
                                        "border-%3-radius: 6px; }"
                                        "QPushButton:checked { background: rgba(76, 141, 255, 56); "
                                        "border-color: %4; }")
                             .arg(Theme::background, first ? "top-left" : "top-right",
                                  first ? "bottom-left" : "bottom-right", Theme::accent));
        b->setIcon(Icons::icon(mode == LightingMode::sun ? Icons::Symbol::sun
                                                         : Icons::Symbol::pointLight));
        mode_->addButton(b, int(mode));
        segments->addWidget(b);
    }
    box->addLayout(segments);

    sunPage_ = new QWidget(this);
    auto* sun = new QVBoxLayout(sunPage_);
    sun->setContentsMargins(0, 0, 0, 0);
    sun->setSpacing(6);
    sun->addWidget(new SectionHeader(localText("Soleil", "Sun"), sunPage_));
    azimuth_ = new SliderRow(localText("Azimut", "Azimuth"), degrees(R::angle), sunPage_);
    elevation_ = new SliderRow(localText("Hauteur", "Elevation"), degrees(kSunElevation), sunPage_);
    sunPower_ = new SliderRow(localText("Puissance du soleil", "Sun power"), power(R::sunIntensity),
                              sunPage_);
    ambient_ =
        new SliderRow(localText("Lumière ambiante", "Ambient light"), power(R::ambient), sunPage_);
    auto* resetSun = button(localText("Réinitialiser le soleil", "Reset sun"), sunPage_);
    for (QWidget* w : {static_cast<QWidget*>(azimuth_), static_cast<QWidget*>(elevation_),
                       static_cast<QWidget*>(sunPower_), static_cast<QWidget*>(ambient_),
                       static_cast<QWidget*>(resetSun)})
        sun->addWidget(w);
    box->addWidget(sunPage_);

    pointPage_ = new QWidget(this);
    auto* point = new QVBoxLayout(pointPage_);
    point->setContentsMargins(0, 0, 0, 0);
    point->setSpacing(6);
    point->addWidget(
        new SectionHeader(localText("Lumières ponctuelles", "Point lights"), pointPage_));
    auto* listRow = new QHBoxLayout;
    lights_ = new QComboBox(pointPage_);
    listRow->addWidget(lights_, 1);
    auto* add = button(localText("Ajouter", "Add"), pointPage_);
    add->setIcon(Icons::fromSVG("<path d='M12 5v14M5 12h14'/>"));
    remove_ = button(localText("Retirer", "Remove"), pointPage_);
    remove_->setIcon(Icons::fromSVG("<path d='M5 12h14'/>"));
    listRow->addWidget(add);
    listRow->addWidget(remove_);
    point->addLayout(listRow);
    auto* placeRow = new QHBoxLayout;
    auto* centre = button(localText("Centrer", "Centre"), pointPage_);
    auto* toCamera = button(localText("Vers la caméra", "To camera"), pointPage_);
    placeRow->addWidget(centre);
    placeRow->addWidget(toCamera);
    point->addLayout(placeRow);
    const char* axes[] = {"X", "Y", "Z"};
    for (int axis = 0; axis < 3; ++axis) {
        SliderRow::Options o;
        o.lower = ranges.coordinates.first;
        o.upper = ranges.coordinates.second;
        o.decimals = 2;
        o.suffix = QStringLiteral(" m");
        o.spinBox = true;
        lightAxis_[axis] = new SliderRow(QString::fromLatin1(axes[axis]), o, pointPage_);
        point->addWidget(lightAxis_[axis]);
        connect(lightAxis_[axis], &SliderRow::edited, this,
                [this, axis](double v) { moveLightAxis(axis, v); });
    }
    lightPower_ =
        new SliderRow(localText("Intensité", "Intensity"), power(R::lightIntensity), pointPage_);
    point->addWidget(lightPower_);
    gizmo_ = new QCheckBox(localText("Afficher le repère de la lumière", "Show the light gizmo"),
                           pointPage_);
    point->addWidget(gizmo_);
    box->addWidget(pointPage_);

    box->addWidget(new SectionHeader(localText("Rendu", "Rendering"), this));
    SliderRow::Options occlusion;
    occlusion.upper = R::ambientOcclusion.second;
    occlusion.text = [](double v) {
        return QString::fromStdString(viewport::Rendering::formatLightPercentage(float(v)));
    };
    ambientOcclusion_ =
        new SliderRow(localText("Importance SSAO", "SSAO strength"), occlusion, this);
    box->addWidget(ambientOcclusion_);
    shadows_ = new QCheckBox(localText("Ombres portées", "Cast shadows"), this);
    box->addWidget(shadows_);
    auto* backdropRow = new QHBoxLayout;
    backdropRow->addWidget(new QLabel(localText("Fond", "Background"), this), 1);
    backdrop_ = new QComboBox(this);
    for (BackdropStyle style : viewport::allBackdropStyles)
        backdrop_->addItem(QString::fromStdString(viewport::label(style)), int(style));
    backdropRow->addWidget(backdrop_);
    colour_ = new QToolButton(this);
    colour_->setToolTip(localText("Couleur du fond…", "Background color…"));
    colour_->setIconSize(QSize(28, 16));
    backdropRow->addWidget(colour_);
    box->addLayout(backdropRow);

    // Person to model.
    connect(mode_, &QButtonGroup::idClicked, this,
            [this](int id) { model_.setLightingMode(LightingMode(id)); });
    // setSun takes what it is given: the angles are held inside their ranges here.
    connect(azimuth_, &SliderRow::edited, this, [this](double v) {
        model_.setSun(clampedTo(float(v), R::angle), model_.sunElevationDegrees());
    });
    connect(elevation_, &SliderRow::edited, this, [this](double v) {
        model_.setSun(model_.sunAzimuthDegrees(), clampedTo(float(v), kSunElevation));
    });
    connect(sunPower_, &SliderRow::edited, this,
            [this](double v) { model_.setSunIntensity(float(v)); });
    connect(ambient_, &SliderRow::edited, this,
            [this](double v) { model_.setAmbientIntensity(float(v)); });
    connect(resetSun, &QPushButton::clicked, this, [this] { model_.resetSun(); });
    connect(lights_, &QComboBox::activated, this,
            [this](int index) { model_.selectPointLight(index); });
    connect(add, &QPushButton::clicked, this, [this] { model_.addPointLight(); });
    connect(remove_, &QPushButton::clicked, this, [this] { model_.removeSelectedPointLight(); });
    connect(centre, &QPushButton::clicked, this, [this] { model_.centerSelectedPointLight(); });
    connect(toCamera, &QPushButton::clicked, this,
            [this] { model_.moveSelectedPointLightToCamera(); });
    connect(lightPower_, &SliderRow::edited, this,
            [this](double v) { model_.updateSelectedPointLight(std::nullopt, float(v)); });
    connect(gizmo_, &QCheckBox::clicked, this, [this] { model_.togglePointLightGizmo(); });
    connect(ambientOcclusion_, &SliderRow::edited, this,
            [this](double v) { model_.setAmbientOcclusionIntensity(float(v)); });
    connect(shadows_, &QCheckBox::clicked, this, [this] { model_.toggleShadows(); });
    connect(backdrop_, &QComboBox::activated, this, [this](int index) {
        model_.setBackdropStyle(BackdropStyle(backdrop_->itemData(index).toInt()));
    });
    connect(colour_, &QToolButton::clicked, this, [this] {
        const Float3 c = model_.customBackdropColor();
        const QColor chosen =
            QColorDialog::getColor(QColor::fromRgbF(c.x, c.y, c.z), this,
                                   localText("Couleur du fond", "Background color"));
        if (chosen.isValid())
            model_.setCustomBackdropColor(
                {float(chosen.redF()), float(chosen.greenF()), float(chosen.blueF())});
    });

    // Model to controls.
    connect(&model_, &DocumentModel::lightingModeChanged, this, &LightingPopover::showMode);
    for (auto signal :
         {&DocumentModel::sunAzimuthDegreesChanged, &DocumentModel::sunElevationDegreesChanged,
          &DocumentModel::sunIntensityChanged, &DocumentModel::ambientIntensityChanged})
        connect(&model_, signal, this, &LightingPopover::showSun);
    for (auto signal :
         {&DocumentModel::pointLightsChanged, &DocumentModel::selectedPointLightIndexChanged,
          &DocumentModel::showsPointLightGizmoChanged})
        connect(&model_, signal, this, &LightingPopover::showLights);
    for (auto signal :
         {&DocumentModel::ambientOcclusionIntensityChanged,
          &DocumentModel::ambientOcclusionEnabledChanged, &DocumentModel::shadowsEnabledChanged,
          &DocumentModel::backdropStyleChanged, &DocumentModel::customBackdropColorChanged})
        connect(&model_, signal, this, &LightingPopover::showLook);
    // The reference bounds move with the model and its visible layers.
    for (auto signal : {&DocumentModel::stateChanged, &DocumentModel::skpChanged,
                        &DocumentModel::visibleSizeChanged})
        connect(&model_, signal, this, &LightingPopover::refresh);
    refresh();
}

void LightingPopover::refresh() {
    const R ranges = publishedRanges(&model_);
    for (SliderRow* r : lightAxis_)
        r->setRange(ranges.coordinates.first, ranges.coordinates.second);
    showMode();
    showSun();
    showLights();
    showLook();
}

void LightingPopover::showMode() {
    const LightingMode mode = model_.lightingMode();
    {
        const QSignalBlocker block(mode_);
        mode_->button(int(mode))->setChecked(true);
    }
    sunPage_->setVisible(mode == LightingMode::sun);
    pointPage_->setVisible(mode == LightingMode::point);
}

void LightingPopover::showSun() {
    azimuth_->setValue(double(model_.sunAzimuthDegrees()));
    elevation_->setValue(double(model_.sunElevationDegrees()));
    sunPower_->setValue(double(model_.sunIntensity()));
    ambient_->setValue(double(model_.ambientIntensity()));
}

void LightingPopover::showLights() {
    const auto& lights = model_.pointLights();
    {
        const QSignalBlocker block(lights_);
        // Rebuilt only when the names change, not at every move of a light.
        bool same = lights_->count() == int(lights.size());
        for (int i = 0; same && i < lights_->count(); ++i)
            same = lights_->itemText(i).toStdString() == lights[size_t(i)].name;
        if (!same) {
            lights_->clear();
            for (const auto& light : lights) lights_->addItem(QString::fromStdString(light.name));
        }
        lights_->setCurrentIndex(model_.selectedPointLightIndex());
    }
    remove_->setEnabled(lights.size() > 1);
    const auto light = model_.selectedPointLight();
    for (SliderRow* r : lightAxis_) r->setEnabled(light.has_value());
    lightPower_->setEnabled(light.has_value());
    if (light) {
        lightAxis_[0]->setValue(double(light->position.x));
        lightAxis_[1]->setValue(double(light->position.y));
        lightAxis_[2]->setValue(double(light->position.z));
        lightPower_->setValue(double(light->intensity));
    }
    const QSignalBlocker block(gizmo_);
    gizmo_->setChecked(model_.showsPointLightGizmo());
}

void LightingPopover::showLook() {
    // Off reads as none, as remote clients see it.
    ambientOcclusion_->setValue(
        model_.ambientOcclusionEnabled() ? double(model_.ambientOcclusionIntensity()) : 0.0);
    {
        const QSignalBlocker block(shadows_);
        shadows_->setChecked(model_.shadowsEnabled());
    }
    {
        const QSignalBlocker block(backdrop_);
        backdrop_->setCurrentIndex(backdrop_->findData(int(model_.backdropStyle())));
    }
    colour_->setIcon(swatch(model_.customBackdropColor()));
}

void LightingPopover::moveLightAxis(int axis, double value) {
    auto light = model_.selectedPointLight();
    if (!light) return;
    Float3 p = light->position;
    (axis == 0 ? p.x : axis == 1 ? p.y : p.z) = float(value);
    model_.updateSelectedPointLight(p, std::nullopt);
}

}  // namespace vistrel::app
