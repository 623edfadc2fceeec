// The sidebar's model inspector: a header that folds the section open or shut (shut at
// first), over the file's name and version, the model's statistics, its materials with a
// swatch of their colour, the size of what is visible and the load time. Rebuilt from the
// DocumentModel whenever those fields change.
#pragma once

#include <QWidget>

class QLabel;
class QToolButton;

namespace vistrel::app {

class DocumentModel;

class ModelInspector : public QWidget {
    Q_OBJECT

  public:
    ModelInspector(DocumentModel& model, QWidget* parent);

    QToolButton& header() const { return *header_; }
    bool isOpen() const;
    // The section's text as shown, rich text markup included.
    QString text() const;

  private:
    void refresh();

    DocumentModel& model_;
    QToolButton* header_;
    QWidget* body_;
    QLabel* content_;
};

}  // namespace vistrel::app
