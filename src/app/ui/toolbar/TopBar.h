// The toolbar above a document's view, in groups: document (sidebar, open, reveal, SketchUp),
// camera (reset, extents, the four direct standard views, more views, projection, free fly,
// fine settings), scenes (only when the model has scenes), appearance (edges, light mode,
// shadows, lighting settings, grid), style and capture. Each button is one of the window's
// DocumentActions, or opens the open panel or a popover; tooltips are in the user's language.
// Buttons that do not fit go into the bar's overflow menu.
#pragma once

#include <QToolBar>

class QToolButton;

namespace vistrel::app {

class CameraPopover;
class DocumentActions;
class DocumentModel;
class LightingPopover;
class SKPDocument;

class TopBar : public QToolBar {
    Q_OBJECT

  public:
    TopBar(SKPDocument& document, DocumentActions& actions, QWidget* parent);

    // For tests and screenshots.
    QToolButton* button(const QString& toolTip) const;
    CameraPopover* cameraPopover() const { return cameraPopover_; }
    LightingPopover* lightingPopover() const { return lightingPopover_; }
    bool showsScenes() const;

  private:
    void refreshScenes();
    void refreshModeIcons();
    void showCameraPopover();
    void showLightingPopover();
    const QWidget& anchor(QAction* action) const;

    SKPDocument& document_;
    DocumentModel& model_;
    QList<QAction*> sceneGroup_;
    QToolButton* scenePicker_ = nullptr;
    QAction* projection_ = nullptr;
    QAction* lightMode_ = nullptr;
    QAction* cameraSettings_ = nullptr;
    QAction* lightingSettings_ = nullptr;
    CameraPopover* cameraPopover_ = nullptr;
    LightingPopover* lightingPopover_ = nullptr;
};

}  // namespace vistrel::app
