// The sidebar's layer section: a filter field, show all / hide all and expand all / collapse
// all buttons, and the list of layer rows. Every control calls a DocumentModel command and
// follows the model's fields; hovering a row hovers its layer, and the selected row becomes
// the view's current one and scrolls into view when the model asks for it.
#pragma once

#include <QWidget>

class QLineEdit;
class QListView;
class QToolButton;

namespace vistrel::app {

class DocumentModel;
class LayerListModel;
class LayerRowDelegate;

class LayersSection : public QWidget {
    Q_OBJECT

  public:
    LayersSection(DocumentModel& model, QWidget* parent);

    QListView& view() const { return *view_; }
    LayerListModel& rows() const { return *rows_; }
    QLineEdit& filterField() const { return *filter_; }
    // Named "showAllLayers", "hideAllLayers", "expandAllGroups", "collapseAllGroups".
    QToolButton& button(const char* name) const;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void followFilter();
    void followSelection();
    void scrollToSelection();

    DocumentModel& model_;
    LayerListModel* rows_;
    LayerRowDelegate* delegate_;
    QLineEdit* filter_;
    QListView* view_;
};

}  // namespace vistrel::app
