// The live view as a user drives it: synthesized Qt events reach a ViewportWidget and move the
// camera the right way (the exact records are ViewportInputTest's). Drawing needs a display.
#include "ui/ViewportWidget.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QGuiApplication>
#include <QImage>
#include <QPointingDevice>
#include <QWindow>
#include <QtEvents>

#include <cmath>
#include <memory>

#include "DocumentModelFixture.h"
#include "EventLoop.h"
#include "ui/KeyCodes.h"

using namespace vistrel;
using namespace vistrel::app;

namespace {

constexpr int kWidth = 400, kHeight = 300;
constexpr std::uint32_t xkbW = 17 + 8, xkbF5 = 63 + 8, xkbS = 31 + 8;

class ViewportWidgetTest : public test::DocumentModelTest {
  protected:
    void SetUp() override {
        DocumentModelTest::SetUp();
        widget_ = std::make_unique<ViewportWidget>(doc());
        widget_->resize(kWidth, kHeight);
        if (ViewportWidget::isSupported()) {
            widget_->show();
            QCoreApplication::processEvents();
        } else {  // Qt 6.4 cannot show a GL widget offscreen; the events need no window
            QResizeEvent resize(widget_->size(), QSize());
            QCoreApplication::sendEvent(widget_.get(), &resize);
        }
    }
    void TearDown() override {
        widget_.reset();
        DocumentModelTest::TearDown();
    }

    ViewportWidget& widget() { return *widget_; }
    viewport::ViewportView& view() { return doc().viewport(); }
    viewport::CameraRig::Pose pose() { return *view().cameraPose(); }
    QPointF centre() const { return {kWidth / 2.0, kHeight / 2.0}; }

    bool send(QEvent&& event) {
        QCoreApplication::sendEvent(&widget(), &event);
        return event.isAccepted();
    }
    void mouse(QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons buttons) {
        send(QMouseEvent(type, at, widget().mapToGlobal(at), button, buttons, {}));
    }
    void drag(Qt::MouseButton button, QPointF by) {
        mouse(QEvent::MouseButtonPress, centre(), button, button);
        for (int i = 1; i <= 4; ++i)
            mouse(QEvent::MouseMove, centre() + by * (i / 4.0), Qt::NoButton, button);
        mouse(QEvent::MouseButtonRelease, centre() + by, button, Qt::NoButton);
    }
    bool key(QEvent::Type type, Qt::Key qtKey, std::uint32_t keycode, const char* text,
             Qt::KeyboardModifiers modifiers = Qt::NoModifier, bool autoRepeat = false) {
        return send(QKeyEvent(type, qtKey, modifiers, keycode, 0, 0, text, autoRepeat));
    }
    bool wheel(QPoint pixels, QPoint angle, Qt::ScrollPhase phase) {
        return send(QWheelEvent(centre(), widget().mapToGlobal(centre()), pixels, angle,
                                Qt::NoButton, Qt::NoModifier, phase, false));
    }

    std::unique_ptr<ViewportWidget> widget_;
};

}  // namespace

TEST_F(ViewportWidgetTest, dragsWheelPinchAndFlyingKeysMoveTheCamera) {
    present(test::groupedModel());
    auto before = pose();
    drag(Qt::LeftButton, {60, 0});
    EXPECT_LT(pose().yaw, before.yaw - 0.1f) << "dragging right turns the model to the right";
    before = pose();
    drag(Qt::LeftButton, {0, -50});
    EXPECT_GT(pose().pitch, before.pitch + 0.1f) << "up the screen is up";
    EXPECT_FALSE(view().drag()) << "the release ends the gesture";
    before = pose();
    drag(Qt::MiddleButton, {40, 0});
    EXPECT_NEAR(pose().yaw, before.yaw, 1e-6);
    EXPECT_GT(length(pose().position - before.position), 1e-3f) << "the middle button pans";
    mouse(QEvent::MouseButtonDblClick, {5, 5}, Qt::LeftButton, Qt::LeftButton);
    mouse(QEvent::MouseButtonRelease, {5, 5}, Qt::LeftButton, Qt::NoButton);
    EXPECT_FALSE(view().drag()) << "a double click leaves no gesture";

    before = pose();
    EXPECT_TRUE(wheel({}, {0, 120}, Qt::NoScrollPhase));
    EXPECT_LT(pose().distance, before.distance);
    before = pose();
    wheel({0, 0}, {}, Qt::ScrollBegin);
    wheel({20, 0}, {}, Qt::ScrollUpdate);
    wheel({}, {}, Qt::ScrollEnd);
    EXPECT_LT(pose().yaw, before.yaw - 0.05f) << "two fingers orbit";
    before = pose();
    for (auto [type, value] : {std::pair{Qt::BeginNativeGesture, 0.0},
                               {Qt::ZoomNativeGesture, 0.25},
                               {Qt::EndNativeGesture, 0.0},
                               {Qt::BeginNativeGesture, 0.0},
                               {Qt::RotateNativeGesture, 10.0},
                               {Qt::EndNativeGesture, 0.0}})
        send(QNativeGestureEvent(type, QPointingDevice::primaryPointingDevice(), 2, centre(),
                                 centre(), widget().mapToGlobal(centre()), value, QPointF()));
    EXPECT_GT(pose().yaw, before.yaw + 0.1f) << "fingers turned clockwise";
    EXPECT_LT(pose().distance, before.distance);

    // Flying keys are held until released; the others go to the window.
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_W, xkbW, "w"));
    // X11 repeats as release-press pairs flagged as auto-repeat: still held.
    EXPECT_TRUE(key(QEvent::KeyRelease, Qt::Key_W, xkbW, "w", Qt::NoModifier, true));
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_W, xkbW, "w", Qt::NoModifier, true));
    EXPECT_TRUE(key(QEvent::KeyPress, Qt::Key_S, xkbS, "s"));
    EXPECT_TRUE(key(QEvent::KeyRelease, Qt::Key_S, xkbS, "s"));
    EXPECT_TRUE(view().rig().keys == viewport::KeySet{KeyCodes::ansiW}) << "W held, S released";
    key(QEvent::KeyPress, Qt::Key_Control, 37, "");
    EXPECT_TRUE(view().rig().keys.empty()) << "command going down empties the held keys";

    EXPECT_FALSE(key(QEvent::KeyPress, Qt::Key_F5, xkbF5, ""));
    EXPECT_FALSE(key(QEvent::KeyPress, Qt::Key_S, xkbS, "\x13", Qt::ControlModifier));
    // A flying key wins over a shortcut on the same key; a command combination does not.
    EXPECT_TRUE(key(QEvent::ShortcutOverride, Qt::Key_W, xkbW, "w"));
    EXPECT_FALSE(key(QEvent::ShortcutOverride, Qt::Key_S, xkbS, "\x13", Qt::ControlModifier));
}

TEST_F(ViewportWidgetTest, losingFocusReleasesKeysCursorAndFreeFlyAndTheViewOutlivesItsHooks) {
    EXPECT_EQ(view().size(), (Float2{float(kWidth), float(kHeight)})) << "in points";
    present(test::groupedModel());
    auto held = [&](QEvent&& event) {
        key(QEvent::KeyPress, Qt::Key_W, xkbW, "w");
        mouse(QEvent::MouseButtonPress, centre(), Qt::RightButton, Qt::RightButton);
        EXPECT_EQ(view().drag(), viewport::ViewportView::Drag::look);
        EXPECT_EQ(widget().cursor().shape(), Qt::BlankCursor) << "looking hides the cursor";
        send(std::move(event));
        EXPECT_TRUE(view().rig().keys.empty() && view().cursorHides() == 0 &&
                    widget().cursor().shape() != Qt::BlankCursor)
            << event.type();
        mouse(QEvent::MouseButtonRelease, centre(), Qt::RightButton, Qt::NoButton);
        EXPECT_FALSE(view().drag());
    };
    held(QFocusEvent(QEvent::FocusOut, Qt::ActiveWindowFocusReason));
    held(QEvent(QEvent::WindowDeactivate));
    held(QHideEvent());

    view().setFreeFlying(true);
    ASSERT_TRUE(doc().isFreeFlying());
    send(QEvent(QEvent::Leave));
    EXPECT_FALSE(view().isFreeFlying() || doc().isFreeFlying() || view().cursorHides())
        << "left with no button held";
    view().setFreeFlying(true);
    widget_.reset();
    EXPECT_FALSE(view().onRedraw || view().onTakeFocus || view().snapshotter ||
                 view().isFreeFlying() || view().cursorHides());
}

TEST_F(ViewportWidgetTest, drawsTheCubeOverTheDarkBackgroundUnderADisplay) {
    if (QGuiApplication::platformName() != "xcb") GTEST_SKIP() << "Qt has no GL offscreen";
    ASSERT_TRUE(test::waitUntil([&] { return widget().windowHandle()->isExposed(); }, 5));
    const QImage empty = widget().grabFramebuffer();
    if (!widget().isGLReady()) GTEST_SKIP() << "GL unavailable: " << widget().glError();
    auto distance = [](QColor a, QColor b) {
        return std::abs(a.red() - b.red()) + std::abs(a.green() - b.green()) +
               std::abs(a.blue() - b.blue());
    };
    const QColor middle = empty.pixelColor(empty.width() / 2, empty.height() / 2);
    EXPECT_LE(distance(middle, QColor(17, 19, 23)), 6) << "the dark background without a scene";
    present(SyntheticModel::cube());
    QCoreApplication::processEvents();
    const QImage frame = widget().grabFramebuffer();
    const double ratio = widget().devicePixelRatioF();
    EXPECT_EQ(frame.width(), std::lround(kWidth * ratio));
    const QColor cube = frame.pixelColor(frame.width() / 2, frame.height() / 2);
    EXPECT_GT(distance(frame.pixelColor(2, 2), cube), 30)
        << "the cube stands out from the backdrop";
    const auto snapshot = view().snapshot();  // from the widget's own context, at pixel size
    EXPECT_TRUE(snapshot && snapshot->width == std::lround(kWidth * ratio) &&
                snapshot->height == std::lround(kHeight * ratio));
}
