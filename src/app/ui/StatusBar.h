// The line below a document's view: the model's status text (wrapping to a second line when
// long), the remote server's ports while it listens and there is room, and buttons for help, the
// shortcut card and the about window.
#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

namespace vistrel::app {

class DocumentModel;

class StatusBar : public QWidget {
    Q_OBJECT

  public:
    StatusBar(DocumentModel& model, QWidget* parent);

    QString statusLine() const;
    QString remoteLine() const;
    // Reads the server's ports again.
    void refreshRemote();

  signals:
    void helpRequested();
    void shortcutsRequested();
    void aboutRequested();

  protected:
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void refreshStatus();
    void arrange();

    DocumentModel& model_;
    QLabel* status_;
    QLabel* remote_;
    bool listening_ = false;
};

}  // namespace vistrel::app
