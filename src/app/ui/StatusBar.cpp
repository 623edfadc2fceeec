#include "ui/StatusBar.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QToolButton>

#include "documents/DocumentModel.h"
#include "remote/RemoteControlServer.h"
#include "settings/Localization.h"
#include "ui/Icons.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"

namespace vistrel::app {

StatusBar::StatusBar(DocumentModel& model, QWidget* parent)
    : QWidget(parent), model_(model), status_(new QLabel(this)), remote_(new QLabel(this)) {
    setObjectName("StatusBar");
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(10, 3, 6, 3);
    row->setSpacing(10);
    status_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    status_->setWordWrap(true);  // a long failure message takes a second line
    remote_->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    row->addWidget(status_, 1);
    row->addWidget(remote_);

    auto button = [&](Icons::Symbol symbol, const std::string& fr, const std::string& en,
                      void (StatusBar::*signal)()) {
        auto* b = new QToolButton(this);
        b->setIcon(Icons::icon(symbol));
        b->setIconSize({16, 16});
        b->setAutoRaise(true);
        b->setToolTip(shortcutText(L(fr, en)));
        connect(b, &QToolButton::clicked, this, signal);
        row->addWidget(b);
    };
    button(Icons::Symbol::help, "Aide Vistrel (⌘?)", "Vistrel Help (⌘?)",
           &StatusBar::helpRequested);
    button(Icons::Symbol::keyboard, "Raccourcis clavier (⌘/)", "Keyboard Shortcuts (⌘/)",
           &StatusBar::shortcutsRequested);
    button(Icons::Symbol::about, "À propos de Vistrel", "About Vistrel",
           &StatusBar::aboutRequested);

    for (auto signal :
         {&DocumentModel::stateChanged, &DocumentModel::infoChanged, &DocumentModel::skpChanged,
          &DocumentModel::visibleSizeChanged, &DocumentModel::isFreeFlyingChanged})
        connect(&model_, signal, this, &StatusBar::refreshStatus);
    refreshStatus();
    refreshRemote();
}

QString StatusBar::statusLine() const {
    return status_->text();
}

QString StatusBar::remoteLine() const {
    return remote_->text();
}

void StatusBar::refreshStatus() {
    status_->setText(QString::fromStdString(model_.statusText()));
    arrange();
}

void StatusBar::refreshRemote() {
    const RemoteControlServer& server = RemoteControlServer::shared();
    listening_ = server.isHTTPListening();
    remote_->setText(QString::fromStdString(
        L("Serveur OSC actif (UDP :", "OSC server active (UDP :") +
        std::to_string(server.oscPort()) +
        ") · OSCQuery & MCP (TCP :" + std::to_string(server.httpPort()) + ")"));
    arrange();
}

// The document's own line comes first: the ports give way when both do not fit on one line,
// and a text longer than its room wraps. Worked out from the bar's width alone, since a
// layout asks a wrapping label for its height without knowing its width.
void StatusBar::arrange() {
    const auto* row = static_cast<QHBoxLayout*>(layout());
    int others = row->contentsMargins().left() + row->contentsMargins().right();
    for (int i = 0; i < row->count(); ++i) {
        QWidget* w = row->itemAt(i)->widget();
        if (w && w != status_ && w != remote_) others += w->sizeHint().width() + row->spacing();
    }
    const int text = status_->fontMetrics().horizontalAdvance(status_->text());
    const int ports = row->spacing() + remote_->sizeHint().width();
    const bool showsPorts = listening_ && others + text + ports <= width();
    remote_->setVisible(showsPorts);
    const int room = std::max(1, width() - others - (showsPorts ? ports : 0));
    status_->setFixedHeight(status_->heightForWidth(room));
}

void StatusBar::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    arrange();
}

void StatusBar::showEvent(QShowEvent* event) {
    refreshRemote();
    QWidget::showEvent(event);
}

void StatusBar::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), QColor(Theme::panel));
    painter.setPen(QColor(Theme::separator));
    painter.drawLine(0, 0, width(), 0);
}

}  // namespace vistrel::app
