// The live 3D view of one document: a QOpenGLWidget that draws the DocumentModel's ViewportView
// with the viewport's GL renderer and forwards Qt's mouse, wheel, gesture and key events to it
// as ViewportEvents records (ViewportInput).
//
// Draws on demand: the view's onRedraw schedules a paint; its onTakeFocus focuses the widget;
// its snapshotter renders with this widget's renderer and context, so that a scene's GPU copies
// are made once. The widget is the view's CursorControl: hiding blanks its cursor, and a held
// cursor is warped back after each move so that only raw deltas count; where the platform
// ignores warps (Wayland), the pointer simply moves and deltas still arrive.
//
// Held keys, gestures, free fly and cursor hides are dropped when the window deactivates, the
// widget loses focus or is hidden, and when the pointer leaves with no button held.
//
// If GL cannot run the renderer, the widget shows the reason in place of the view and never
// draws; the view then makes its snapshots in a context of its own. The model may outlive the
// widget: the destructor clears every hook it set. Main thread only.
#pragma once

#include <QMetaObject>
#include <QOpenGLWidget>
#include <QPointF>

#include <memory>
#include <string>

#include "ui/ViewportInput.h"

class QLabel;

namespace vistrel::viewport {
class Renderer;
class ViewportView;
}  // namespace vistrel::viewport

namespace vistrel::app {

class DocumentModel;

class ViewportWidget : public QOpenGLWidget {
    Q_OBJECT

  public:
    // `model` must outlive the widget.
    explicit ViewportWidget(DocumentModel& model, QWidget* parent = nullptr);
    ~ViewportWidget() override;

    // Whether this platform can make a GL context at all. Qt's offscreen platform cannot, and
    // Qt 6.4 crashes when a window holding a QOpenGLWidget is shown there: headless modes show
    // the view's snapshot instead. Needs the QGuiApplication; the answer is kept.
    static bool isSupported();

    // An OpenGL 3.3 core default format, depth 24, stencil 8, no multisampling (the renderer
    // does its own). Call before the QApplication exists.
    static void configureDefaultSurfaceFormat();

    // Why the view cannot draw, once GL has been tried; empty while it draws or before.
    const std::string& glError() const { return glError_; }
    bool isGLReady() const;

  protected:
    void initializeGL() override;
    void paintGL() override;
    void resizeGL(int w, int h) override;

    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

  private:
    // The view's CursorControl, acting on this widget.
    class Cursor;
    friend class Cursor;

    void syncSize();
    void releaseInput();
    void releaseGL();
    void showFailure(const std::string& reason);
    void press(QMouseEvent* event, int clickCount);
    // While the cursor is held: back to where the hold began, if the platform lets us.
    void holdCursor();
    double seconds(std::uint64_t timestampMs);

    viewport::ViewportView& view_;
    std::unique_ptr<Cursor> cursor_;
    std::unique_ptr<viewport::Renderer> renderer_;
    std::string glError_;
    QLabel* failure_ = nullptr;
    QMetaObject::Connection contextGone_;

    ViewportInput::EventClock clock_;
    ViewportInput::PointerState pointer_;
    ViewportInput::WheelState wheel_;
    ViewportInput::GestureState gesture_;
    int clickCount_ = 1;
    bool associated_ = true;
    QPointF anchor_;  // global position the held cursor returns to
    std::string characters_;
};

}  // namespace vistrel::app
