// The camera and lighting popovers: their look, people's gestures reaching the model, and
// changes from elsewhere moving the controls without being sent back.
#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QButtonGroup>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QGuiApplication>
#include <QPushButton>
#include <QScreen>
#include <QSlider>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTest>

#include <cmath>

#include "DocumentModelFixture.h"
#include "ImageCompare.h"
#include "ScopedLanguage.h"
#include "ui/popovers/CameraPopover.h"
#include "ui/popovers/LightingPopover.h"
#include "ui/popovers/SliderRow.h"
#include "view/ViewportView.h"
#include "vocabulary/Rendering.h"

using namespace vistrel;
using namespace vistrel::app;
using viewport::LightingMode;

namespace {

viewport::Image picture(QWidget& widget) {
    widget.resize(widget.sizeHint());
    const QImage shot = widget.grab().toImage().convertToFormat(QImage::Format_RGBA8888);
    viewport::Image image{shot.width(), shot.height(), false, {}};
    image.pixels.assign(shot.constBits(), shot.constBits() + shot.sizeInBytes());
    return image;
}

// The centre of the slider's handle when it stands at `position`.
QPoint handleAt(QSlider& slider, int position) {
    QStyleOptionSlider o;
    o.initFrom(&slider);
    o.orientation = slider.orientation();
    o.minimum = slider.minimum();
    o.maximum = slider.maximum();
    o.sliderPosition = o.sliderValue = position;
    o.subControls = QStyle::SC_All;
    return slider.style()
        ->subControlRect(QStyle::CC_Slider, &o, QStyle::SC_SliderHandle, &slider)
        .center();
}

void drag(QSlider& slider, int to) {
    QTest::mousePress(&slider, Qt::LeftButton, {}, handleAt(slider, slider.value()));
    QTest::mouseMove(&slider, handleAt(slider, to));
    QTest::mouseRelease(&slider, Qt::LeftButton, {}, handleAt(slider, to));
}

void type(QDoubleSpinBox& box, const QString& text) {
    QTest::keyClick(&box, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClicks(&box, text);
    QTest::keyClick(&box, Qt::Key_Return);
}

class PopoversTest : public test::DocumentModelTest {};

TEST_F(PopoversTest, looksAsTheBaselinesInFrench) {
    test::ScopedLanguage french(AppLanguage::fr);
    present(test::groupedModel());
    CameraPopover camera(doc(), nullptr);
    EXPECT_TRUE(test::matchesBaseline(picture(camera), "popover_camera_fr"));

    doc().setLightingMode(LightingMode::point);
    doc().addPointLight();
    LightingPopover lighting(doc(), nullptr);
    EXPECT_EQ(lighting.lightList()->currentText(), QStringLiteral("Lumière 2"));
    EXPECT_TRUE(test::matchesBaseline(picture(lighting), "popover_lighting_point_fr"));
}

TEST_F(PopoversTest, cameraControlsDriveTheModelAndFollowIt) {
    test::ScopedLanguage english(AppLanguage::en);
    present(test::groupedModel());
    CameraPopover popover(doc(), nullptr);

    // Below its anchor, inside the screen.
    QWidget anchor;
    anchor.setGeometry(40, 30, 32, 24);
    anchor.show();
    popover.popUp(anchor);
    const QRect screen = anchor.screen()->availableGeometry();
    EXPECT_GE(popover.geometry().top(), anchor.geometry().bottom());
    EXPECT_TRUE(screen.contains(popover.geometry())) << popover.geometry().width();
    EXPECT_EQ(Popover::placement({900, 10, 20, 20}, {300, 200}, {0, 0, 1000, 800}).x(), 700);

    ASSERT_TRUE(doc().activeStandardView().has_value());
    type(*popover.distanceRow()->spinBox(), "0.5");
    EXPECT_NEAR(doc().cameraDistance(), 0.5, 1e-5);
    EXPECT_TRUE(doc().activeStandardView().has_value()) << "the camera still looks the same way";
    type(*popover.positionRow(0)->spinBox(), "2.5");
    EXPECT_FLOAT_EQ(doc().cameraPosition().x, 2.5f);
    EXPECT_FALSE(doc().activeStandardView().has_value()) << "a moved camera is free";

    drag(*popover.fovRow()->slider(), SliderRow::steps);
    EXPECT_FLOAT_EQ(doc().cameraFOV(), 120);
    type(*popover.focalBox(), "50");
    EXPECT_NEAR(doc().cameraFOV(), viewport::ViewportView::verticalFOVDegrees(50), 1e-3);

    int fovWrites = 0;
    QObject::connect(&doc(), &DocumentModel::cameraFOVChanged, [&] { ++fovWrites; });
    doc().setCameraFOV(60);
    EXPECT_EQ(fovWrites, 1) << "the control must not send the value back";
    EXPECT_DOUBLE_EQ(popover.fovRow()->value(), 60);
    EXPECT_EQ(popover.focalBox()->value(), std::round(viewport::ViewportView::focalLengthMM(60)));
    doc().setCameraPose(std::nullopt, 200.0f, -30.0f, std::nullopt);
    EXPECT_NEAR(popover.yawRow()->value(), -160, 1e-3);
    EXPECT_NEAR(popover.pitchRow()->value(), -30, 1e-3);

    doc().setPerspective(false);
    EXPECT_FALSE(popover.fovRow()->isVisibleTo(&popover));
    EXPECT_TRUE(popover.orthoScaleRow()->isVisibleTo(&popover));
}

TEST_F(PopoversTest, lightingControlsDriveTheModelAndFollowIt) {
    test::ScopedLanguage english(AppLanguage::en);
    present(test::groupedModel());
    LightingPopover popover(doc(), nullptr);
    popover.resize(popover.sizeHint());
    popover.show();

    // Half way along the slider is the curve's power, far below half the maximum.
    QSlider& sun = *popover.sunPowerRow()->slider();
    drag(sun, SliderRow::steps / 2);
    ASSERT_NEAR(sun.value(), SliderRow::steps / 2, 3);
    EXPECT_FLOAT_EQ(doc().sunIntensity(),
                    viewport::Rendering::sliderToLightIntensity(sun.value() / 1000.0, 3));
    EXPECT_NEAR(doc().sunIntensity(), 0.495, 0.01);

    type(*popover.elevationRow()->spinBox(), "60");
    EXPECT_FLOAT_EQ(doc().sunElevationDegrees(), 60);

    int sunWrites = 0;
    QObject::connect(&doc(), &DocumentModel::sunAzimuthDegreesChanged, [&] { ++sunWrites; });
    doc().setSun(30, 20);
    EXPECT_EQ(sunWrites, 1);
    EXPECT_DOUBLE_EQ(popover.azimuthRow()->value(), 30);
    EXPECT_EQ(popover.elevationRow()->spinBox()->value(), 20);
    doc().setSunIntensity(0.4f);
    EXPECT_EQ(sun.value(),
              std::lround(viewport::Rendering::lightIntensityToSlider(0.4f, 3) * 1000));
    EXPECT_EQ(popover.sunPowerRow()->valueText(), QStringLiteral("40 %"));

    // Point lights: one cannot be removed; a second can, and the list selects.
    popover.modeButtons()->button(int(LightingMode::point))->click();
    EXPECT_EQ(doc().lightingMode(), LightingMode::point);
    EXPECT_TRUE(popover.lightList()->isVisibleTo(&popover));
    EXPECT_FALSE(popover.removeLightButton()->isEnabled());
    doc().addPointLight();
    EXPECT_EQ(popover.lightList()->count(), 2);
    EXPECT_EQ(popover.lightList()->currentIndex(), 1);
    EXPECT_TRUE(popover.removeLightButton()->isEnabled());
    QTest::keyClick(popover.lightList(), Qt::Key_Up);
    EXPECT_EQ(doc().selectedPointLightIndex(), 0);
    type(*popover.lightAxisRow(2)->spinBox(), "3");
    EXPECT_FLOAT_EQ(doc().pointLights()[0].position.z, 3);
    EXPECT_NE(doc().pointLights()[1].position.z, 3);
    drag(*popover.lightPowerRow()->slider(), 0);
    EXPECT_EQ(doc().pointLights()[0].intensity, 0);

    drag(*popover.ambientOcclusionRow()->slider(), SliderRow::steps);
    EXPECT_FLOAT_EQ(doc().ambientOcclusionIntensity(), 2);
    EXPECT_EQ(popover.ambientOcclusionRow()->valueText(), QStringLiteral("200 %"));
    doc().setCustomBackdropColor({1, 0, 0});
    EXPECT_EQ(popover.backdropList()->currentData().toInt(),
              int(viewport::BackdropStyle::customColor));
}

}  // namespace
