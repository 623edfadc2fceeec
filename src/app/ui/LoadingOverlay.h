// What covers the viewport until the model is shown: the file's thumbnail, name and version,
// with "Opening model…" and the reader's phase and progress while loading, or the failure with
// its reason and, when an application for the file exists, a button to open it there.
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

    // For tests and screenshots.
    QString heading() const;
    QString detail() const;
    bool showsProgress() const;
    bool offersOpenInSketchUp() const;

  protected:
    void paintEvent(QPaintEvent* event) override;

  private:
    DocumentModel& model_;
    QLabel* thumbnail_;
    QLabel* heading_;
    QLabel* name_;
    QLabel* detail_;
    QProgressBar* progress_;
    QPushButton* openInSketchUp_;
};

}  // namespace vistrel::app
