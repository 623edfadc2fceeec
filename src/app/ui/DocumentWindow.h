// The window of one document: its menus over the ContentView. Closing it closes the document.
#pragma once

#include <QMainWindow>

class QMimeData;

namespace vistrel::app {

class ContentView;
class DocumentActions;
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

    ContentView& content() const { return *content_; }
    DocumentActions& actions() const { return *actions_; }
    // Null where the platform has no GL (offscreen): the snapshot preview stands in there.
    ViewportWidget* viewport() const;
    LoadingOverlay& overlay() const;
    Sidebar& sidebar() const;
    QString statusLine() const;
    bool openDropped(const QMimeData* data);
    QString flashText() const;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void placeOnScreen();

    SKPDocument& document_;
    DocumentModel& model_;
    DocumentActions* actions_;
    ContentView* content_;
};

}  // namespace vistrel::app
