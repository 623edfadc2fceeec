// What covers the viewport until the model is shown: the file's thumbnail, name and version,
// with "Opening model…", the reader's phase and progress and a cancel button while loading, or the
// failure with its reason and, when an application for the file exists, a button to open it there.
// Every text is laid out in full at any size the window allows: the texts take the height
// they need at the column's width, and the thumbnail shrinks, or goes, to leave it to them.
#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

namespace vistrel::app {

class DocumentModel;

class LoadingOverlay : public QWidget {
    Q_OBJECT

  public:
    LoadingOverlay(DocumentModel& model, QWidget* parent);

    // Follows the model: visible unless the document is ready.
    void refresh();

    // For tests and screenshots; the texts as the model gives them.
    QString heading() const;
    QString detail() const;
    bool showsProgress() const;
    bool offersOpenInSketchUp() const;

  signals:
    // The cancel button while loading; the window closes the document.
    void cancelRequested();

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    void arrange();

    DocumentModel& model_;
    QLabel* thumbnail_;
    QLabel* heading_;
    QLabel* name_;
    QLabel* detail_;
    QProgressBar* progress_;
    QPushButton* openInSketchUp_;
    QPushButton* cancel_;
    QString headingText_, nameText_, detailText_;  // without break opportunities
};

}  // namespace vistrel::app
