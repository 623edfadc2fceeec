// Snapshot::listMenu: a document window's menu as text, for checks of enabling and check marks.
#include <QAction>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <variant>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "headless/HeadlessRun.h"
#include "headless/Snapshot.h"
#include "remote/RemoteValues.h"

namespace vistrel::app::Snapshot {

namespace {

constexpr double kStepSeconds = 0.05;
constexpr qint64 kPatienceMs = 30'000;

// Runs the main loop in short steps until `done`, for at most 30 seconds.
template <class Done>
void waitUntil(Done done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < kPatienceMs) HeadlessRun::runLoop(kStepSeconds);
}

// Ctrl stands for the Command key, Alt for Option, Meta for Control.
QString keyLabel(const QKeySequence& shortcut) {
    if (shortcut.isEmpty()) return {};
    const QKeyCombination key = shortcut[0];
    const Qt::KeyboardModifiers modifiers = key.keyboardModifiers();
    QString label;
    if (modifiers & Qt::MetaModifier) label += QChar(0x2303);
    if (modifiers & Qt::AltModifier) label += QChar(0x2325);
    if (modifiers & Qt::ShiftModifier) label += QChar(0x21E7);
    if (modifiers & Qt::ControlModifier) label += QChar(0x2318);
    return label + QKeySequence(key.key()).toString(QKeySequence::PortableText).toUpper();
}

void print(const QMenu& menu) {
    qsizetype widest = 0;
    for (const QAction* item : menu.actions())
        widest = std::max(widest, keyLabel(item->shortcut()).size());
    for (const QAction* item : menu.actions()) {
        if (item->isSeparator()) {
            std::printf("—\n");
            continue;
        }
        const QString line = keyLabel(item->shortcut()).leftJustified(widest) + ' ' + item->text() +
                             (item->isChecked() ? " ✓" : "") + " — " +
                             (item->isEnabled() ? "enabled" : "disabled");
        std::printf("%s\n", line.toStdString().c_str());
    }
}

int menuStatus(const std::string& title, const std::optional<std::string>& input) {
    DocumentController* controller = DocumentController::shared();
    std::unique_ptr<SKPDocument> blank;
    SKPDocument* document = nullptr;
    if (input) {
        std::optional<std::string> error;
        bool answered = false;
        controller->openDocument(expandTilde(*input), false,
                                 [&](SKPDocument* opened, const std::optional<std::string>& e) {
                                     document = opened;
                                     error = e;
                                     answered = true;
                                 });
        waitUntil([&] { return answered; });
        if (!document) return HeadlessRun::fail(1, "menu error: " + error.value_or(""));
        document->makeWindowControllers();
        waitUntil([&] {
            return !std::holds_alternative<DocumentModel::Loading>(document->model().state());
        });
    } else {
        // The menus live on document windows: without a file, one that never loads.
        blank = std::make_unique<SKPDocument>();
        document = blank.get();
        document->makeWindowControllers();
    }

    const auto* window = qobject_cast<QMainWindow*>(document->window());
    QMenu* menu = nullptr;
    for (QAction* item : window->menuBar()->actions())
        if (item->menu() && item->text().toStdString() == title) {
            menu = item->menu();
            break;
        }
    if (!menu) return HeadlessRun::fail(1, "menu error: no menu titled " + title);
    // Opening a menu brings its items' states up to date.
    emit menu->aboutToShow();
    print(*menu);
    return 0;
}

}  // namespace

void listMenu(const std::string& title, const std::optional<std::string>& input) {
    const int status = menuStatus(title, input);
    if (auto* controller = DocumentController::shared()) controller->closeAll();
    HeadlessRun::exit(status);
}

}  // namespace vistrel::app::Snapshot
