// The live view as a user drives it: synthesized Qt events reach a ViewportWidget on a document
// with a presented scene, and the camera moves. None of these depends on GL drawing; the
// picture itself is checked only with a display (Xvfb), where Qt can make a GL context.
#include "ui/ViewportWidget.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QCursor>
#include <QElapsedTimer>
#include <QFocusEvent>
#include <QGuiApplication>
#include <QHideEvent>
#include <QImage>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QNativeGestureEvent>
#include <QPointingDevice>
#include <QResizeEvent>
#include <QWheelEvent>
#include <QWindow>

#include <cmath>
#include <cstdlib>
#include <memory>

#include "DocumentModelFixture.h"
#include "ui/KeyCodes.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

constexpr int kWidth = 400, kHeight = 300;
constexpr float kOrbitPerPoint = 0.0069813165f;
constexpr float kLookPerPoint = 0.0026179939f;
constexpr std::uint32_t xkbW = 17 + 8, xkbF5 = 63 + 8, xkbS = 31 + 8;

bool hasDisplay() {
    const char* display = std::getenv("DISPLAY");
    return display && *display && QGuiApplication::platformName() == "xcb";
}

class ViewportWidgetTest : public test::DocumentModelTest {
  protected:
    void TearDown() override {
        widget_.reset();
        DocumentModelTest::TearDown();
    }

    ViewportWidget& widget() {
        if (!widget_) {
            widget_ = std::make_unique<ViewportWidget>(doc());
            widget_->resize(kWidth, kHeight);
            if (ViewportWidget::isSupported()) {
                widget_->show();
                QCoreApplication::processEvents();
            } else {
                // Offscreen: Qt 6.4 cannot show a GL widget there; the events need no window.
                QResizeEvent resize(widget_->size(), QSize());
                QCoreApplication::sendEvent(widget_.get(), &resize);
            }
        }
        return *widget_;
    }

    viewport::ViewportView& view() { return doc().viewport(); }
    viewport::CameraRig::Pose pose() { return *view().cameraPose(); }

    bool send(QEvent& event) {
        QCoreApplication::sendEvent(&widget(), &event);
        return event.isAccepted();
    }

    void mouse(QEvent::Type type, QPointF local, Qt::MouseButton button, Qt::MouseButtons buttons,
               Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QMouseEvent event(type, local, widget().mapToGlobal(local), button, buttons, modifiers);
        send(event);
    }

    void drag(Qt::MouseButton button, QPointF from, QPointF to) {
        mouse(QEvent::MouseButtonPress, from, button, button);
        for (int i = 1; i <= 4; ++i)
            mouse(QEvent::MouseMove, from + (to - from) * (i / 4.0), Qt::NoButton, button);
        mouse(QEvent::MouseButtonRelease, to, button, Qt::NoButton);
    }

    bool key(QEvent::Type type, Qt::Key qtKey, std::uint32_t keycode, const char* text,
             Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool autoRepeat = false) {
        QKeyEvent event(type, qtKey, modifiers, keycode, 0, 0, text, autoRepeat);
        return send(event);
    }

    bool wheel(QPoint pixels, QPoint angle, Qt::ScrollPhase phase) {
        const QPointF at(kWidth / 2.0, kHeight / 2.0);
        QWheelEvent event(at, widget().mapToGlobal(at), pixels, angle, Qt::NoButton, Qt::NoModifier,
                          phase, false);
        return send(event);
    }

    void nativeGesture(Qt::NativeGestureType type, double value) {
        const QPointF at(kWidth / 2.0, kHeight / 2.0);
        QNativeGestureEvent event(type, QPointingDevice::primaryPointingDevice(), 2, at, at,
                                  widget().mapToGlobal(at), value, QPointF());
        send(event);
    }

    bool waitForExposure() {
        QElapsedTimer waited;
        waited.start();
        while (waited.elapsed() < 5000) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
            const QWindow* window = widget().window()->windowHandle();
            if (window && window->isExposed()) return true;
        }
        return false;
    }

    QPointF centre() const { return {kWidth / 2.0, kHeight / 2.0}; }

    std::unique_ptr<ViewportWidget> widget_;
};

}  // namespace

TEST_F(ViewportWidgetTest, theViewTakesTheWidgetsSizeInPoints) {
    widget();
    EXPECT_EQ(view().size(), (Float2{float(kWidth), float(kHeight)}));
    EXPECT_FLOAT_EQ(view().backingScale(), float(widget().devicePixelRatioF()));
    widget().resize(320, 200);
    if (!widget().isVisible()) {
        QResizeEvent resize(widget().size(), QSize(kWidth, kHeight));
        send(resize);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(view().size(), (Float2{320, 200}));
}

TEST_F(ViewportWidgetTest, leftDragOrbitsTheCameraWithTheVerticalFlipped) {
    present(test::groupedModel());
    widget();
    const auto before = pose();
    drag(Qt::LeftButton, centre(), centre() + QPointF(60, 0));
    const auto across = pose();
    EXPECT_NEAR(across.yaw - before.yaw, -60 * kOrbitPerPoint, 1e-4);
    EXPECT_NEAR(across.pitch, before.pitch, 1e-5);

    // Up the screen is up in the view: the orbit raises the pitch.
    drag(Qt::LeftButton, centre(), centre() - QPointF(0, 50));
    EXPECT_NEAR(pose().pitch - across.pitch, 50 * kOrbitPerPoint, 1e-4);
    EXPECT_FALSE(view().drag()) << "the release ends the gesture";
}

TEST_F(ViewportWidgetTest, middleDragPansAndDoubleClickLeavesNoGesture) {
    present(test::groupedModel());
    widget();
    const auto before = pose();
    drag(Qt::MiddleButton, centre(), centre() + QPointF(40, 0));
    EXPECT_NEAR(pose().yaw, before.yaw, 1e-6);
    EXPECT_GT(length(pose().position - before.position), 1e-3f);

    mouse(QEvent::MouseButtonPress, {5, 5}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {5, 5}, Qt::LeftButton, Qt::NoButton);
    mouse(QEvent::MouseButtonDblClick, {5, 5}, Qt::LeftButton, Qt::LeftButton);
    EXPECT_FALSE(view().drag());
    mouse(QEvent::MouseButtonRelease, {5, 5}, Qt::LeftButton, Qt::NoButton);
    EXPECT_FALSE(view().drag());
}

TEST_F(ViewportWidgetTest, wheelNotchZoomsInTowardsThePointer) {
    present(test::groupedModel());
    widget();
    const auto before = pose();
    EXPECT_TRUE(wheel({}, {0, 120}, Qt::NoScrollPhase));
    const auto after = pose();
    EXPECT_LT(after.distance, before.distance);
    EXPECT_GT(dot(after.position - before.position, before.forward()), 0) << "moved forwards";

    wheel({}, {0, -240}, Qt::NoScrollPhase);
    EXPECT_GT(pose().distance, after.distance);
}

TEST_F(ViewportWidgetTest, twoFingerScrollOrbitsAndMomentumNeverMovesTheCamera) {
    present(test::groupedModel());
    widget();
    const auto before = pose();
    wheel({0, 0}, {}, Qt::ScrollBegin);
    wheel({20, 0}, {}, Qt::ScrollUpdate);
    EXPECT_NEAR(pose().yaw - before.yaw, -20 * kOrbitPerPoint, 1e-4);
    const auto lifted = pose();
    wheel({30, 0}, {}, Qt::ScrollMomentum);
    wheel({10, 0}, {}, Qt::ScrollMomentum);
    wheel({}, {}, Qt::ScrollEnd);
    EXPECT_NEAR(pose().yaw, lifted.yaw, 1e-6);
    EXPECT_NEAR(pose().distance, lifted.distance, 1e-6);
}

TEST_F(ViewportWidgetTest, pinchZoomsAndRotateTurnsAboutTheVertical) {
    present(test::groupedModel());
    widget();
    const auto before = pose();
    nativeGesture(Qt::BeginNativeGesture, 0);
    nativeGesture(Qt::ZoomNativeGesture, 0.25);
    nativeGesture(Qt::EndNativeGesture, 0);
    EXPECT_LT(pose().distance, before.distance) << "spreading fingers come closer";

    const auto zoomed = pose();
    nativeGesture(Qt::BeginNativeGesture, 0);
    nativeGesture(Qt::RotateNativeGesture, 10);  // clockwise, in Qt's sense
    nativeGesture(Qt::EndNativeGesture, 0);
    const float pi = 3.14159265f;
    EXPECT_NEAR(pose().yaw - zoomed.yaw, 10 * pi / 180, 1e-4);
}

TEST_F(ViewportWidgetTest, flyingKeyIsHeldThroughAutoRepeatAndDroppedWhenFocusLeaves) {
    present(test::groupedModel());
    widget();
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_W, xkbW, "w"));
    EXPECT_TRUE(view().rig().keys.contains(KeyCodes::ansiW));
    // X11 repeats as release-press pairs flagged as auto-repeat: still held.
    EXPECT_TRUE(key(QEvent::KeyRelease, Qt::Key_W, xkbW, "w", Qt::NoModifier, true));
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_W, xkbW, "w", Qt::NoModifier, true));
    EXPECT_TRUE(view().rig().keys.contains(KeyCodes::ansiW));

    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_S, xkbS, "s"));
    EXPECT_TRUE(key(QEvent::KeyRelease, Qt::Key_S, xkbS, "s"));
    EXPECT_FALSE(view().rig().keys.contains(KeyCodes::ansiS));

    QFocusEvent focusOut(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    send(focusOut);
    EXPECT_TRUE(view().rig().keys.empty()) << "a lost key-up must not keep the camera flying";
}

TEST_F(ViewportWidgetTest, commandGoingDownEmptiesTheHeldKeys) {
    present(test::groupedModel());
    widget();
    key(QEvent::KeyPress, Qt::Key_W, xkbW, "w");
    key(QEvent::KeyPress, Qt::Key_Shift, 50, "");
    EXPECT_TRUE(view().rig().fast);
    key(QEvent::KeyRelease, Qt::Key_Shift, 50, "", Qt::ShiftModifier);
    EXPECT_FALSE(view().rig().fast);
    EXPECT_TRUE(view().rig().keys.contains(KeyCodes::ansiW));
    key(QEvent::KeyPress, Qt::Key_Control, 37, "");
    EXPECT_TRUE(view().rig().keys.empty());
}

TEST_F(ViewportWidgetTest, physicalWTypingZOnAzertyResetsTheViewInsteadOfFlying) {
    present(test::groupedModel());
    widget();
    int resets = 0;
    view().onResetView = [&](bool) { ++resets; };
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_Z, xkbW, "z"));
    EXPECT_FALSE(view().rig().keys.contains(KeyCodes::ansiW));
    EXPECT_EQ(resets, 1);
    view().onResetView = nullptr;
}

TEST_F(ViewportWidgetTest, keysTheViewDoesNotUseGoOnToTheWindow) {
    present(test::groupedModel());
    widget();
    EXPECT_FALSE(key(QEvent::KeyPress, Qt::Key_F5, xkbF5, ""));
    EXPECT_FALSE(key(QEvent::KeyPress, Qt::Key_S, xkbS, "\x13", Qt::ControlModifier));
    // A flying key wins over a shortcut on the same key; a command combination does not.
    EXPECT_TRUE(key(QEvent::ShortcutOverride, Qt::Key_W, xkbW, "w"));
    EXPECT_FALSE(key(QEvent::ShortcutOverride, Qt::Key_S, xkbS, "\x13", Qt::ControlModifier));
    // Without a scan code (offscreen, synthesized), the US layout stands in.
    view().rig().keys.clear();
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_Up, 0, ""));
    EXPECT_TRUE(view().rig().keys.contains(KeyCodes::upArrow));
}

TEST_F(ViewportWidgetTest, rightDragLooksWithAHiddenCursorThatTheReleaseGivesBack) {
    present(test::groupedModel());
    widget();
    const QPointF at = centre() + QPointF(-50, 20);
    mouse(QEvent::MouseButtonPress, at, Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(view().drag(), viewport::ViewportView::Drag::look);
    EXPECT_EQ(view().cursorHides(), 1);
    EXPECT_EQ(widget().cursor().shape(), Qt::BlankCursor);

    mouse(QEvent::MouseButtonRelease, at, Qt::RightButton, Qt::NoButton);
    EXPECT_EQ(view().cursorHides(), 0);
    EXPECT_NE(widget().cursor().shape(), Qt::BlankCursor);
}

TEST_F(ViewportWidgetTest, heldCursorCountsRawDeltasAndIgnoresTheWarpsEcho) {
    present(test::groupedModel());
    widget();
    view().setFreeFlying(true);
    EXPECT_EQ(widget().cursor().shape(), Qt::BlankCursor);
    const QPoint middle = widget().mapToGlobal(centre()).toPoint();
    if (QCursor::pos(widget().screen()) != middle)
        GTEST_SKIP() << "this platform (" << QGuiApplication::platformName().toStdString()
                     << ") does not move the cursor";

    const float yaw = pose().yaw;
    const QPointF moved = centre() + QPointF(10, 0);
    mouse(QEvent::MouseMove, moved, Qt::NoButton, Qt::NoButton);
    EXPECT_NEAR(pose().yaw - yaw, -10 * kLookPerPoint, 1e-5);
    EXPECT_EQ(QCursor::pos(widget().screen()), middle) << "warped back to the centre";

    // The move the warp itself produces is not a motion of the user's.
    const float afterMove = pose().yaw;
    mouse(QEvent::MouseMove, centre(), Qt::NoButton, Qt::NoButton);
    EXPECT_NEAR(pose().yaw, afterMove, 1e-6);
    view().setFreeFlying(false);
    EXPECT_NE(widget().cursor().shape(), Qt::BlankCursor);
}

TEST_F(ViewportWidgetTest, leavingWithNoButtonHeldReleasesFreeFlyAndTheCursor) {
    present(test::groupedModel());
    widget();
    view().setFreeFlying(true);
    ASSERT_TRUE(doc().isFreeFlying());
    QEvent leave(QEvent::Leave);
    send(leave);
    EXPECT_FALSE(view().isFreeFlying());
    EXPECT_FALSE(doc().isFreeFlying());
    EXPECT_EQ(view().cursorHides(), 0);
    EXPECT_NE(widget().cursor().shape(), Qt::BlankCursor);
}

TEST_F(ViewportWidgetTest, windowDeactivationAndHidingReleaseInput) {
    present(test::groupedModel());
    widget();
    key(QEvent::KeyPress, Qt::Key_W, xkbW, "w");
    QEvent deactivate(QEvent::WindowDeactivate);
    send(deactivate);
    EXPECT_TRUE(view().rig().keys.empty());

    mouse(QEvent::MouseButtonPress, centre(), Qt::RightButton, Qt::RightButton);
    EXPECT_EQ(view().cursorHides(), 1);
    QHideEvent hide;
    send(hide);
    EXPECT_EQ(view().cursorHides(), 0);
    EXPECT_FALSE(view().drag());
}

TEST_F(ViewportWidgetTest, theModelOutlivesTheWidgetWithoutItsHooks) {
    present(test::groupedModel());
    widget();
    view().setFreeFlying(true);
    widget_.reset();
    EXPECT_FALSE(view().onRedraw);
    EXPECT_FALSE(view().onTakeFocus);
    EXPECT_FALSE(view().snapshotter);
    EXPECT_FALSE(view().isFreeFlying());
    EXPECT_EQ(view().cursorHides(), 0);
    // The view still works on its own.
    view().orbitByDegrees(10, 0);
    view().setFreeFlying(true);
    view().setFreeFlying(false);
}

TEST_F(ViewportWidgetTest, drawsThePresentedCubeUnderADisplay) {
    if (!hasDisplay()) GTEST_SKIP() << "no X display: Qt cannot make a GL context offscreen";
    present(SyntheticModel::cube());
    widget();
    ASSERT_TRUE(waitForExposure());
    const QImage frame = widget().grabFramebuffer();
    if (!widget().isGLReady()) GTEST_SKIP() << "GL unavailable: " << widget().glError();
    ASSERT_FALSE(frame.isNull());
    const double ratio = widget().devicePixelRatioF();
    EXPECT_EQ(frame.width(), std::lround(kWidth * ratio));
    const QColor corner = frame.pixelColor(2, 2);
    const QColor middle = frame.pixelColor(frame.width() / 2, frame.height() / 2);
    EXPECT_GT(std::abs(corner.red() - middle.red()) + std::abs(corner.green() - middle.green()) +
                  std::abs(corner.blue() - middle.blue()),
              30)
        << "the cube stands out from the backdrop";

    // Snapshots come from the widget's own context, at the view's pixel size.
    const auto snapshot = view().snapshot();
    ASSERT_TRUE(snapshot);
    EXPECT_EQ(snapshot->width, std::lround(kWidth * ratio));
    EXPECT_EQ(snapshot->height, std::lround(kHeight * ratio));
}

TEST_F(ViewportWidgetTest, withoutASceneTheWidgetShowsTheDarkBackground) {
    if (!hasDisplay()) GTEST_SKIP() << "no X display: Qt cannot make a GL context offscreen";
    widget();
    ASSERT_TRUE(waitForExposure());
    const QImage frame = widget().grabFramebuffer();
    if (!widget().isGLReady()) GTEST_SKIP() << "GL unavailable: " << widget().glError();
    const QColor c = frame.pixelColor(frame.width() / 2, frame.height() / 2);
    EXPECT_NEAR(c.red(), 17, 2);
    EXPECT_NEAR(c.green(), 19, 2);
    EXPECT_NEAR(c.blue(), 23, 2);
}
