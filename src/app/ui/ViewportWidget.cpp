#include "ui/ViewportWidget.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QNativeGestureEvent>
#include <QOpenGLContext>
#include <QSurfaceFormat>
#include <QWheelEvent>

#include <cmath>
#include <variant>

#include "documents/DocumentModel.h"
#include "gl/Renderer.h"
#include "gl/ViewFrame.h"
#include "settings/Localization.h"
#include "view/CursorControl.h"
#include "view/ViewportView.h"
#include "vocabulary/Rendering.h"

namespace vistrel::app {

namespace {

// A warp lands on whole device pixels: a move event this close to where the cursor was sent
// is the warp's own echo.
constexpr double kWarpTolerance = 1.0;

bool near(QPointF a, QPointF b) {
    return std::abs(a.x() - b.x()) <= kWarpTolerance && std::abs(a.y() - b.y()) <= kWarpTolerance;
}

}  // namespace

class ViewportWidget::Cursor final : public viewport::CursorControl {
  public:
    explicit Cursor(ViewportWidget& widget) : w_(widget) {}

    void hide() override { w_.setCursor(Qt::BlankCursor); }
    void unhide() override { w_.unsetCursor(); }
    void warpToCentre() override {
        const QPointF centre = w_.mapToGlobal(QPointF(w_.width() / 2.0, w_.height() / 2.0));
        QCursor::setPos(w_.screen(), centre.toPoint());
        const QPointF now = QCursor::pos(w_.screen());
        if (near(now, centre)) ViewportInput::pointerWarped(w_.pointer_, now);
    }
    void setAssociated(bool associated) override {
        w_.associated_ = associated;
        // Held from where the pointer is now: the centre after warpToCentre, else where the
        // right button went down, so the cursor reappears where it was.
        if (!associated) w_.anchor_ = QCursor::pos(w_.screen());
    }

  private:
    ViewportWidget& w_;
};

ViewportWidget::ViewportWidget(DocumentModel& model, QWidget* parent)
    : QOpenGLWidget(parent), view_(model.viewport()), cursor_(std::make_unique<Cursor>(*this)) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_AcceptTouchEvents, false);
    setMinimumSize(64, 48);
    view_.onRedraw = [this] { update(); };
    view_.onTakeFocus = [this] { setFocus(Qt::MouseFocusReason); };
    view_.setCursorControl(cursor_.get());
}

ViewportWidget::~ViewportWidget() {
    // A lost release must not leave the model's view holding keys or a hidden cursor.
    view_.releaseInput();
    view_.setCursorControl(nullptr);
    view_.onRedraw = nullptr;
    view_.onTakeFocus = nullptr;
    view_.snapshotter = nullptr;
    // The base class destroys the context after this body: no callback may reach us then.
    QObject::disconnect(contextGone_);
    releaseGL();
}

void ViewportWidget::configureDefaultSurfaceFormat() {
    QSurfaceFormat format;
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    format.setDepthBufferSize(24);
    format.setStencilBufferSize(8);
    format.setSamples(0);
    QSurfaceFormat::setDefaultFormat(format);
}

bool ViewportWidget::isSupported() {
    static const bool supported = [] {
        QOpenGLContext probe;
        return probe.create();
    }();
    return supported;
}

bool ViewportWidget::isGLReady() const {
    return renderer_ != nullptr;
}

// GL.

void ViewportWidget::initializeGL() {
    // Called again with a new context when the widget moves to another window; the old
    // renderer went with the old context (releaseGL), and the scene's GPU copies, told apart by
    // owner, are made again by the new one.
    QObject::disconnect(contextGone_);
    contextGone_ = connect(
        context(), &QOpenGLContext::aboutToBeDestroyed, this, [this] { releaseGL(); },
        Qt::DirectConnection);
    const QSurfaceFormat format = context()->format();
    if (format.majorVersion() * 10 + format.minorVersion() < 33) {
        showFailure(
            "OpenGL " + std::to_string(format.majorVersion()) + "." +
            std::to_string(format.minorVersion()) +
            L(" est trop ancien : il faut OpenGL 3.3.", " is too old: OpenGL 3.3 is needed."));
        return;
    }
    auto renderer = std::make_unique<viewport::Renderer>();
    std::string error;
    if (!renderer->initialize(error)) {
        showFailure(error);
        return;
    }
    renderer_ = std::move(renderer);
    glError_.clear();
    if (failure_) failure_->hide();
    view_.snapshotter = [this]() -> std::optional<viewport::Image> {
        if (!renderer_ || !view_.viewportScene()) return std::nullopt;
        const int w = int(std::lround(view_.size().x * view_.backingScale()));
        const int h = int(std::lround(view_.size().y * view_.backingScale()));
        if (w < 1 || h < 1 || w > 16384 || h > 16384) return std::nullopt;
        makeCurrent();
        viewport::Image image = renderer_->snapshot(viewport::viewFrame(view_), w, h);
        doneCurrent();
        return image;
    };
}

void ViewportWidget::releaseGL() {
    view_.snapshotter = nullptr;
    if (!renderer_) return;
    // The renderer's GL objects belong to this context, which must be current to free them.
    makeCurrent();
    renderer_.reset();
    doneCurrent();
}

void ViewportWidget::paintGL() {
    if (!renderer_) return;
    syncSize();
    const qreal ratio = devicePixelRatioF();
    const int w = std::max(1, int(std::lround(width() * ratio)));
    const int h = std::max(1, int(std::lround(height() * ratio)));
    renderer_->render(viewport::viewFrame(view_), defaultFramebufferObject(), w, h);
}

void ViewportWidget::resizeGL(int, int) {
    syncSize();
}

void ViewportWidget::paintEvent(QPaintEvent* event) {
    if (isSupported())
        QOpenGLWidget::paintEvent(event);
    else
        QWidget::paintEvent(event);
    // Qt tried to make the context when the widget was shown; without one nothing draws.
    if (!renderer_ && glError_.empty() && (!context() || !context()->isValid()))
        showFailure(
            L("aucun contexte OpenGL n’a pu être créé.", "no OpenGL context could be created."));
}

void ViewportWidget::showFailure(const std::string& reason) {
    glError_ = reason;
    view_.snapshotter = nullptr;
    if (!failure_) {
        failure_ = new QLabel(this);
        failure_->setAlignment(Qt::AlignCenter);
        failure_->setWordWrap(true);
        failure_->setMargin(24);
        failure_->setAutoFillBackground(true);
        QPalette palette = failure_->palette();
        const Float3 c = viewport::Rendering::viewBackgroundColor;
        palette.setColor(QPalette::Window, QColor::fromRgbF(c.x, c.y, c.z));
        palette.setColor(QPalette::WindowText, QColor(220, 222, 228));
        failure_->setPalette(palette);
        failure_->setAttribute(Qt::WA_TransparentForMouseEvents);
    }
    failure_->setText(QString::fromStdString(
        L("La vue 3D ne peut pas s’afficher : ", "The 3D view cannot be shown: ") + reason));
    failure_->setGeometry(rect());
    failure_->show();
}

void ViewportWidget::syncSize() {
    view_.setSize({float(width()), float(height())});
    view_.setBackingScale(float(devicePixelRatioF()));
}

void ViewportWidget::resizeEvent(QResizeEvent* event) {
    syncSize();
    if (failure_) failure_->setGeometry(rect());
    // Where no context can be made, Qt would try anyway and leak the failed one.
    if (isSupported())
        QOpenGLWidget::resizeEvent(event);
    else
        QWidget::resizeEvent(event);
}

// Input.

double ViewportWidget::seconds(std::uint64_t timestampMs) {
    return ViewportInput::eventSeconds(clock_, timestampMs);
}

void ViewportWidget::press(QMouseEvent* event, int clickCount) {
    clickCount_ = clickCount;
    ViewportInput::pointerDelta(pointer_, event->globalPosition());
    const viewport::MouseEvent record =
        ViewportInput::mouseEvent(*event, height(), {}, clickCount_, seconds(event->timestamp()));
    switch (event->button()) {
        case Qt::LeftButton:
            view_.mouseDown(record);
            break;
        case Qt::RightButton:
            view_.rightMouseDown(record);
            break;
        default:
            view_.otherMouseDown(record);
            break;
    }
    event->accept();
}

void ViewportWidget::mousePressEvent(QMouseEvent* event) {
    press(event, 1);
}

void ViewportWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    press(event, 2);
}

void ViewportWidget::mouseReleaseEvent(QMouseEvent* event) {
    const viewport::MouseEvent record =
        ViewportInput::mouseEvent(*event, height(), {}, clickCount_, seconds(event->timestamp()));
    switch (event->button()) {
        case Qt::LeftButton:
            view_.mouseUp(record);
            break;
        case Qt::RightButton:
            view_.rightMouseUp(record);
            break;
        default:
            view_.otherMouseUp(record);
            break;
    }
    event->accept();
}

void ViewportWidget::mouseMoveEvent(QMouseEvent* event) {
    const std::optional<Float2> delta =
        ViewportInput::pointerDelta(pointer_, event->globalPosition());
    if (!delta) return;  // the echo of our own warp
    const viewport::MouseEvent record = ViewportInput::mouseEvent(
        *event, height(), *delta, clickCount_, seconds(event->timestamp()));
    const Qt::MouseButtons buttons = event->buttons();
    if (buttons & Qt::LeftButton)
        view_.mouseDragged(record);
    else if (buttons & Qt::RightButton)
        view_.rightMouseDragged(record);
    else if (buttons != Qt::NoButton)
        view_.otherMouseDragged(record);
    else
        view_.mouseMoved(record);
    event->accept();
    if (!associated_) holdCursor();
}

void ViewportWidget::holdCursor() {
    QCursor::setPos(screen(), anchor_.toPoint());
    // Wayland refuses warps: the pointer then moves on and the deltas count from where it is.
    const QPointF now = QCursor::pos(screen());
    if (near(now, anchor_)) ViewportInput::pointerWarped(pointer_, now);
}

void ViewportWidget::wheelEvent(QWheelEvent* event) {
    const ViewportInput::WheelRecords records =
        ViewportInput::wheelEvents(*event, height(), seconds(event->timestamp()), wheel_);
    for (int i = 0; i < records.count; ++i) view_.scrollWheel(records.events[size_t(i)]);
    event->accept();
}

void ViewportWidget::keyPressEvent(QKeyEvent* event) {
    if (ViewportInput::isModifierKey(event->key())) {
        view_.flagsChanged(ViewportInput::modifiersAfterKey(*event));
        QOpenGLWidget::keyPressEvent(event);
        return;
    }
    const viewport::KeyEvent record =
        ViewportInput::keyEvent(*event, seconds(event->timestamp()), characters_);
    if (view_.keyDown(record)) {
        event->accept();
        return;
    }
    QOpenGLWidget::keyPressEvent(event);
}

void ViewportWidget::keyReleaseEvent(QKeyEvent* event) {
    if (ViewportInput::isModifierKey(event->key())) {
        view_.flagsChanged(ViewportInput::modifiersAfterKey(*event));
        QOpenGLWidget::keyReleaseEvent(event);
        return;
    }
    const viewport::KeyEvent record =
        ViewportInput::keyEvent(*event, seconds(event->timestamp()), characters_);
    if (event->isAutoRepeat()) {
        // X11 and Wayland repeat as release-press pairs: the key is still held.
        if (view_.rig().keys.contains(record.keyCode))
            event->accept();
        else
            QOpenGLWidget::keyReleaseEvent(event);
        return;
    }
    if (view_.keyUp(record)) {
        event->accept();
        return;
    }
    QOpenGLWidget::keyReleaseEvent(event);
}

bool ViewportWidget::event(QEvent* event) {
    switch (event->type()) {
        case QEvent::ShortcutOverride: {
            // A flying key wins over a window shortcut on the same key while the view has focus.
            auto* key = static_cast<QKeyEvent*>(event);
            if (!ViewportInput::isModifierKey(key->key())) {
                const viewport::KeyEvent record =
                    ViewportInput::keyEvent(*key, seconds(key->timestamp()), characters_);
                if (view_.performKeyEquivalent(record)) {
                    event->accept();
                    return true;
                }
            }
            break;
        }
        case QEvent::NativeGesture: {
            auto* gesture = static_cast<QNativeGestureEvent*>(event);
            const ViewportInput::GestureRecord record = ViewportInput::gestureEvent(
                *gesture, height(), seconds(gesture->timestamp()), gesture_);
            if (const auto* magnify = std::get_if<viewport::MagnifyEvent>(&record))
                view_.magnify(*magnify);
            else if (const auto* rotate = std::get_if<viewport::RotateEvent>(&record))
                view_.rotate(*rotate);
            event->accept();
            return true;
        }
        case QEvent::WindowDeactivate:
            releaseInput();
            break;
        default:
            break;
    }
    return QOpenGLWidget::event(event);
}

void ViewportWidget::focusOutEvent(QFocusEvent* event) {
    releaseInput();
    QOpenGLWidget::focusOutEvent(event);
}

void ViewportWidget::leaveEvent(QEvent* event) {
    view_.mouseExited();
    if (QGuiApplication::mouseButtons() == Qt::NoButton) releaseInput();
    QOpenGLWidget::leaveEvent(event);
}

void ViewportWidget::hideEvent(QHideEvent* event) {
    releaseInput();
    QOpenGLWidget::hideEvent(event);
}

void ViewportWidget::releaseInput() {
    view_.releaseInput();
    gesture_ = {};
    wheel_ = {};
    pointer_.warpEcho.reset();
}

}  // namespace vistrel::app
