#include "ui/DocumentActions.h"

#include <QAction>
#include <QApplication>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTextEdit>
#include <QTimer>

namespace vistrel::app {

namespace {

bool focusInTextField(const QWidget& window) {
    QWidget* focus = window.focusWidget();
    return qobject_cast<QLineEdit*>(focus) || qobject_cast<QTextEdit*>(focus) ||
           qobject_cast<QPlainTextEdit*>(focus);
}

}  // namespace

DocumentActions::DocumentActions(QWidget& window, SKPDocument& document)
    : QObject(&window), window_(window), document_(document) {
    DocumentModel& m = document.model();
    for (auto signal :
         {&DocumentModel::stateChanged, &DocumentModel::skpChanged,
          &DocumentModel::sketchUpAppChanged, &DocumentModel::showSidebarChanged,
          &DocumentModel::showsEdgesChanged, &DocumentModel::showsGridChanged,
          &DocumentModel::isPerspectiveChanged, &DocumentModel::shadowsEnabledChanged,
          &DocumentModel::lightingModeChanged, &DocumentModel::ambientOcclusionEnabledChanged,
          &DocumentModel::isFreeFlyingChanged, &DocumentModel::shadingStyleChanged,
          &DocumentModel::activeStandardViewChanged})
        connect(&m, signal, this, &DocumentActions::scheduleRefresh);
    connect(qApp, &QApplication::focusChanged, this, &DocumentActions::scheduleRefresh);
}

QAction* DocumentActions::add(const QString& text, SKPDocument::Action command, int tag,
                              bool checkable) {
    auto* action = new QAction(text, this);
    action->setCheckable(checkable);
    // The document owns the window, which owns this: it outlives the action.
    SKPDocument* document = &document_;
    connect(action, &QAction::triggered, this,
            [document, command, tag] { document->perform(command, tag); });
    items_.push_back({action, command, tag});
    scheduleRefresh();
    return action;
}

void DocumentActions::refresh() {
    const bool textField = focusInTextField(window_);
    for (const Item& item : items_) {
        item.action->setVisible(!document_.isHidden(item.command));
        item.action->setEnabled(document_.validate(item.command, item.tag, textField));
        if (item.action->isCheckable())
            item.action->setChecked(document_.isChecked(item.command, item.tag));
    }
}

void DocumentActions::scheduleRefresh() {
    if (pending_) return;
    pending_ = true;
    QTimer::singleShot(0, this, [this] {
        pending_ = false;
        refresh();
    });
}

}  // namespace vistrel::app
