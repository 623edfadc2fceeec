#include "ui/windows/UpdateView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

#include "settings/Localization.h"
#include "ui/Icons.h"
#include "ui/Theme.h"
#include "ui/windows/PanelStyle.h"
#include "update/Updater.h"

namespace vistrel::app {

namespace {

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};

// A check mark in a rosette.
QIcon seal() {
    return Icons::fromSVG(
        "<path d='M12 2.5l2.2 1.6 2.7-.2 1 2.5 2.3 1.4-.6 2.7 1 2.5-1.9 1.9-.3 2.7-2.6.7-1.6 "
        "2.2-2.6-.9-2.6.9-1.6-2.2-2.6-.7-.3-2.7-1.9-1.9 1-2.5-.6-2.7 2.3-1.4 1-2.5 2.7.2z'/>"
        "<path d='M8.5 12.2l2.4 2.4 4.6-4.8'/>");
}

}  // namespace

UpdateView::UpdateView(Updater& updater, QWidget* parent)
    : QWidget(parent), updater_(updater), column_(new QVBoxLayout(this)) {
    setFixedWidth(460);
    column_->setContentsMargins(28, 22, 28, 20);
    column_->setSpacing(10);
    column_->addWidget(
        PanelStyle::heading(L("Mises à jour — Vistrel", "Software Update — Vistrel"), 15));
    column_->addWidget(PanelStyle::secondary(L("Version installée : v", "Installed version: v") +
                                             updater.currentVersion()));
    column_->addWidget(PanelStyle::separator());
    connect(&updater, &Updater::stateChanged, this, &UpdateView::refresh);
    refresh();
}

void UpdateView::refresh() {
    // A button of the old page may be the one whose click changed the state.
    if (page_) {
        page_->hide();
        page_->deleteLater();
    }
    page_ = new QWidget;
    auto* column = new QVBoxLayout(page_);
    column->setContentsMargins(0, 4, 0, 0);
    column->setSpacing(10);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    auto addButton = [&](const std::string& title, std::function<void()> action,
                         bool isDefault = false) {
        QPushButton* button = PanelStyle::button(title);
        button->setDefault(isDefault);
        connect(button, &QPushButton::clicked, this, std::move(action));
        buttons->addWidget(button);
    };
    auto close = [this] {
        if (onClose) onClose();
    };
    auto waiting = [&](const std::string& text) {
        column->addWidget(PanelStyle::heading(text, 11, false));
        auto* busy = new QProgressBar;
        busy->setRange(0, 0);
        busy->setTextVisible(false);
        column->addWidget(busy);
    };

    std::visit(
        Overloaded{
            [&](const Updater::Idle&) {
                waiting(L("Recherche de mises à jour en cours…", "Checking for updates…"));
            },
            [&](const Updater::Checking&) {
                waiting(L("Recherche de mises à jour en cours…", "Checking for updates…"));
            },
            [&](const Updater::UpToDate& state) {
                auto* row = new QHBoxLayout;
                auto* icon = new QLabel;
                icon->setPixmap(seal().pixmap(40, 40));
                row->addWidget(icon);
                row->addWidget(
                    PanelStyle::heading(L("Vistrel v" + state.version + " est à jour.",
                                          "Vistrel v" + state.version + " is up to date."),
                                        12));
                row->addStretch();
                column->addLayout(row);
                addButton(L("Fermer", "Close"), close, true);
            },
            [&](const Updater::UpdateAvailable& state) {
                QLabel* version = PanelStyle::heading(
                    L("NOUVELLE VERSION v", "NEW VERSION v") + state.release.version, 12);
                version->setStyleSheet(QString("color: %1").arg(Theme::accent));
                column->addWidget(version);
                QLabel* notes = PanelStyle::secondary(Updater::localizedNotes(state.release));
                notes->setTextFormat(Qt::PlainText);
                column->addWidget(notes);
                if (const auto note = updater_.systemManagedNote()) {
                    QLabel* text = PanelStyle::secondary(*note);
                    text->setTextFormat(Qt::PlainText);
                    column->addWidget(text);
                    addButton(L("Fermer", "Close"), close, true);
                    return;
                }
                addButton(L("Plus tard", "Later"), close);
                const Updater::ReleaseInfo release = state.release;
                addButton(
                    L("Mettre à jour et relancer", "Update & Relaunch"),
                    [this, release] { updater_.downloadAndInstall(release); }, true);
            },
            [&](const Updater::Downloading& state) {
                column->addWidget(PanelStyle::heading(
                    L("Téléchargement de la mise à jour…", "Downloading update…"), 11, false));
                auto* progress = new QProgressBar;
                progress->setRange(0, 1000);
                progress->setValue(int(std::lround(std::clamp(state.fraction, 0.0, 1.0) * 1000)));
                progress->setTextVisible(false);
                column->addWidget(progress);
            },
            [&](const Updater::Installing&) {
                waiting(L("Vérification de la signature et installation…",
                          "Verifying code signature and installing…"));
            },
            [&](const Updater::Failed& state) {
                column->addWidget(
                    PanelStyle::heading(L("Impossible de vérifier ou d'installer la mise à jour",
                                          "Could not check or install update"),
                                        12));
                QLabel* message = PanelStyle::secondary(state.message);
                message->setTextFormat(Qt::PlainText);
                column->addWidget(message);
                addButton(L("Rechercher à nouveau", "Check Again"),
                          [this] { updater_.checkForUpdates(false); });
                addButton(L("Fermer", "Close"), close, true);
            },
        },
        updater_.state());
    column->addLayout(buttons);
    column_->addWidget(page_);
}

}  // namespace vistrel::app
