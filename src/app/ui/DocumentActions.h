// QActions bound to one document's commands, shared by the menus and the toolbar so that both
// follow one set of rules. Each action runs SKPDocument::perform; its visibility, enabling and
// check mark follow the document's rules, refreshed after any change of the model or of the
// keyboard focus. Shortcuts of disabled actions do not fire, so the states must follow at once;
// a queued refresh folds a burst of changes into one pass.
#pragma once

#include <QObject>

#include <vector>

#include "documents/SKPDocument.h"

class QAction;
class QWidget;

namespace vistrel::app {

class DocumentActions : public QObject {
    Q_OBJECT

  public:
    // Lives as long as `window`, whose keyboard focus decides the text-field rule.
    DocumentActions(QWidget& window, SKPDocument& document);

    QAction* add(const QString& text, SKPDocument::Action command, int tag = 0,
                 bool checkable = false);
    void refresh();
    // Queues one refresh; further calls before it runs add nothing.
    void scheduleRefresh();

  private:
    struct Item {
        QAction* action;
        SKPDocument::Action command;
        int tag;
    };

    QWidget& window_;
    SKPDocument& document_;
    std::vector<Item> items_;
    bool pending_ = false;
};

}  // namespace vistrel::app
