// A plain sidebar of the model's layers: a check box per layer toggles it, a double click
// frames it, and two buttons show or hide them all. It shows the model's state and calls its
// commands; it keeps none of its own.
#pragma once

#include <QWidget>

class QListWidget;
class QListWidgetItem;

namespace vistrel::app {

class DocumentModel;

class LayerPanel : public QWidget {
    Q_OBJECT

  public:
    LayerPanel(DocumentModel& model, QWidget* parent);
    QListWidget* list() const { return list_; }

  private:
    void rebuild();
    void updateChecks();
    void itemChanged(QListWidgetItem* item);

    DocumentModel& model_;
    QListWidget* list_;
    bool updating_ = false;
};

}  // namespace vistrel::app
