// The window of one document: the viewport with the loading overlay and failure banner over
// it, the sidebar, the menus, and a status line bound to the model's status text. Files
// dropped on it are opened. Closing it closes the document.
#pragma once

#include <QMainWindow>

class QLabel;
class QMimeData;

namespace vistrel::app {

class DocumentModel;
class LoadingOverlay;
class SKPDocument;
class Sidebar;
class ViewportWidget;

class DocumentWindow : public QMainWindow {
    Q_OBJECT

  public:
    static constexpr int contentWidth = 1380, contentHeight = 820;

    explicit DocumentWindow(SKPDocument& document);

    // Null where the platform has no GL (offscreen): the snapshot preview stands in there.
    ViewportWidget* viewport() const { return viewport_; }
    LoadingOverlay& overlay() const { return *overlay_; }
    Sidebar& sidebar() const { return *sidebar_; }
    QString statusLine() const;
    // What a drop does: opens the local files among the data's URLs; false when there is none.
    bool openDropped(const QMimeData* data);
    QString flashText() const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void closeEvent(QCloseEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

  private:
    void refreshStatus();
    void fitStatus();
    void refreshFlash();
    void refreshPreview();
    void placeOnScreen();

    SKPDocument& document_;
    DocumentModel& model_;
    ViewportWidget* viewport_ = nullptr;
    LoadingOverlay* overlay_;
    Sidebar* sidebar_;
    QLabel* status_;
    QLabel* flash_;
    QLabel* preview_;
};

}  // namespace vistrel::app
