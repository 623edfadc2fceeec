// The content of a document's window: the toolbar above, the sidebar and the viewport side by
// side, the status bar below. Over the viewport lie the loading overlay and failure banner, the
// snapshot preview that stands in for the live view while present, the flash message, and the
// name of the layer under the pointer (in the view or the sidebar).
// Dropped local files are opened; web links and other items are left out.
#pragma once

#include <QWidget>

class QLabel;
class QMimeData;

namespace vistrel::app {

class DocumentActions;
class DocumentModel;
class LoadingOverlay;
class SKPDocument;
class Sidebar;
class StatusBar;
class TopBar;
class ViewportWidget;

class ContentView : public QWidget {
    Q_OBJECT

  public:
    ContentView(SKPDocument& document, DocumentActions& actions, QWidget* parent);

    DocumentModel& model() const { return model_; }
    TopBar& topBar() const { return *topBar_; }
    StatusBar& statusBar() const { return *statusBar_; }
    LoadingOverlay& overlay() const { return *overlay_; }
    Sidebar& sidebar() const { return *sidebar_; }
    // Null where the platform has no GL (offscreen): the snapshot preview stands in there.
    ViewportWidget* viewport() const { return viewport_; }
    QString flashText() const;
    QString hoveredText() const;
    // What a drop does: opens the local files among the data's URLs; false when there is none.
    bool openDropped(const QMimeData* data);

  protected:
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void refreshFlash();
    void refreshPreview();
    void refreshHovered();

    DocumentModel& model_;
    TopBar* topBar_;
    Sidebar* sidebar_;
    ViewportWidget* viewport_ = nullptr;
    QLabel* preview_;
    LoadingOverlay* overlay_;
    QLabel* flash_;
    QLabel* hovered_;
    StatusBar* statusBar_;
};

}  // namespace vistrel::app
