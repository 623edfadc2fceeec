#include "ui/MainMenu.h"

#include <QAction>
#include <QApplication>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include <functional>
#include <utility>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "settings/Localization.h"
#include "ui/DocumentActions.h"
#include "ui/windows/AuxiliaryWindows.h"

namespace vistrel::app::MainMenu {

namespace {

using Action = SKPDocument::Action;

class Builder {
  public:
    explicit Builder(DocumentActions& actions) : actions_(actions) {}

    QAction* add(QMenu* menu, const std::string& fr, const std::string& en, Action command,
                 const QKeySequence& key = {}, int tag = 0, bool checkable = false) {
        QAction* action = actions_.add(QString::fromStdString(L(fr, en)), command, tag, checkable);
        if (!key.isEmpty()) action->setShortcut(key);
        menu->addAction(action);
        return action;
    }

  private:
    DocumentActions& actions_;
};

QKeySequence keys(QKeyCombination combination) {
    return QKeySequence(combination);
}

QString text(const std::string& fr, const std::string& en) {
    return QString::fromStdString(L(fr, en));
}

// An item that acts on the program rather than on the document.
QAction* addCommand(QMenu* menu, const std::string& fr, const std::string& en,
                    std::function<void()> command, const QKeySequence& key = {}) {
    QAction* action = menu->addAction(text(fr, en));
    if (!key.isEmpty()) action->setShortcut(key);
    QObject::connect(action, &QAction::triggered, menu, std::move(command));
    return action;
}

// While its menu is open, each alternate item stands in place of the item before it as long as
// Shift is down. A closed menu shows both, so that both shortcuts stay live.
class Alternates : public QObject {
  public:
    explicit Alternates(QMenu* menu) : QObject(menu) { menu->installEventFilter(this); }
    void add(QAction* primary, QAction* alternate) { pairs_.push_back({primary, alternate}); }

    // Before the menu measures itself.
    void opening() {
        open_ = true;
        shift_ = QGuiApplication::queryKeyboardModifiers() & Qt::ShiftModifier;
        apply();
    }
    void closing() {
        open_ = false;
        apply();
    }

  protected:
    bool eventFilter(QObject*, QEvent* event) override {
        switch (event->type()) {
            case QEvent::Show:
                open_ = true;
                break;
            case QEvent::KeyPress:
            case QEvent::KeyRelease:
                if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Shift)
                    shift_ = event->type() == QEvent::KeyPress;
                break;
            case QEvent::Hide:
                open_ = false;
                break;
            case QEvent::ActionChanged:  // a refresh of the document's rules shows both again
                break;
            default:
                return false;
        }
        apply();
        return false;
    }

  private:
    void apply() {
        for (const auto& [primary, alternate] : pairs_) {
            primary->setVisible(!open_ || !shift_);
            alternate->setVisible(!open_ || shift_);
        }
    }

    std::vector<std::pair<QAction*, QAction*>> pairs_;
    bool open_ = false, shift_ = false;
};

// Hide stands for minimise on the Linux desktop.
void minimiseWindows(const QWidget* except) {
    for (QWidget* window : QApplication::topLevelWidgets())
        if (window != except && window->isVisible() && window->isWindow() &&
            !(window->windowFlags() & Qt::Popup) && !(window->windowType() == Qt::ToolTip))
            window->showMinimized();
}

}  // namespace

const std::vector<CameraView>& cameraViews() {
    using viewport::StandardView;
    static const std::vector<CameraView> views{
        {StandardView::iso, "Iso", "Iso"},           {StandardView::top, "Dessus", "Top"},
        {StandardView::front, "Face", "Front"},      {StandardView::right, "Droite", "Right"},
        {StandardView::back, "Arrière", "Back"},     {StandardView::left, "Gauche", "Left"},
        {StandardView::bottom, "Dessous", "Bottom"},
    };
    return views;
}

void build(QMainWindow& window, DocumentActions& actions) {
    Builder b(actions);
    QMenuBar* bar = window.menuBar();
    const auto ctrl = Qt::ControlModifier;
    const auto alt = Qt::AltModifier;
    const auto shift = Qt::ShiftModifier;

    // The application's own items, first on every window's bar; Services has no counterpart.
    QMenu* application = bar->addMenu("Vistrel");
    addCommand(application, "À propos de Vistrel", "About Vistrel", AuxiliaryWindows::showAbout)
        ->setMenuRole(QAction::AboutRole);
    addCommand(application, "Rechercher des mises à jour…", "Check for Updates…",
               AuxiliaryWindows::checkForUpdates)
        ->setMenuRole(QAction::ApplicationSpecificRole);
    application->addSeparator();
    addCommand(application, "Réglages…", "Settings…", AuxiliaryWindows::showSettings,
               keys(ctrl | Qt::Key_Comma))
        ->setMenuRole(QAction::PreferencesRole);
    application->addSeparator();
    addCommand(
        application, "Masquer Vistrel", "Hide Vistrel", [] { minimiseWindows(nullptr); },
        keys(ctrl | Qt::Key_H));
    addCommand(
        application, "Masquer les autres", "Hide Others", [&window] { minimiseWindows(&window); },
        keys(alt | ctrl | Qt::Key_H));
    addCommand(application, "Tout afficher", "Show All", [] {
        for (QWidget* other : QApplication::topLevelWidgets())
            if (other->isMinimized()) other->showNormal();
    });
    application->addSeparator();
    QAction* quit = addCommand(
        application, "Quitter Vistrel", "Quit Vistrel",
        [] { QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection); },
        keys(ctrl | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);

    QMenu* file = bar->addMenu(text("Fichier", "File"));
    addCommand(
        file, "Ouvrir…", "Open…",
        [&window] {
            if (auto* controller = DocumentController::shared()) controller->openDocument(&window);
        },
        keys(ctrl | Qt::Key_O));
    file->addSeparator();
    b.add(file, "Exporter l'image PNG…", "Export PNG Image…", Action::exportImage,
          keys(shift | ctrl | Qt::Key_E));
    b.add(file, "Exporter en PDF vectoriel…", "Export Vector PDF…", Action::exportVectorPDF,
          keys(alt | ctrl | Qt::Key_E));
    b.add(file, "Ouvrir dans SketchUp", "Open in SketchUp", Action::openInSketchUp,
          keys(shift | ctrl | Qt::Key_O));
    b.add(file, "Afficher dans le gestionnaire de fichiers", "Show in File Manager",
          Action::revealInFinder);
    file->addSeparator();
    addCommand(
        file, "Fermer", "Close", [&window] { window.close(); }, keys(ctrl | Qt::Key_W));

    QMenu* edit = bar->addMenu(text("Édition", "Edit"));
    b.add(edit, "Copier l'image", "Copy Image", Action::copyImage, keys(ctrl | Qt::Key_C));

    QMenu* view = bar->addMenu(text("Présentation", "View"));
    b.add(view, "Barre latérale", "Sidebar", Action::toggleSidebarPanel,
          keys(alt | ctrl | Qt::Key_S), 0, true);
    b.add(view, "Arêtes", "Edges", Action::toggleEdges, keys(ctrl | Qt::Key_E), 0, true);
    b.add(view, "Grille et axes", "Grid and Axes", Action::toggleGrid, keys(alt | ctrl | Qt::Key_G),
          0, true);
    b.add(view, "Perspective / Parallèle", "Perspective / Parallel", Action::togglePerspective,
          keys(alt | ctrl | Qt::Key_P), 0, true);
    b.add(view, "Ombres", "Shadows", Action::toggleShadows, keys(alt | ctrl | Qt::Key_O), 0, true);
    b.add(view, "Éclairage ponctuel", "Point Lighting", Action::toggleLightingMode,
          keys(alt | ctrl | Qt::Key_L), 0, true);
    b.add(view, "Occlusion ambiante", "Ambient Occlusion", Action::toggleAmbientOcclusion,
          keys(alt | ctrl | Qt::Key_A), 0, true);
    view->addSeparator();
    b.add(view, "Style : Texturé (PBR)", "Style: Textured (PBR)", Action::selectShadingStyle, {}, 0,
          true);
    b.add(view, "Style : Maquette blanche", "Style: White Clay", Action::selectShadingStyle, {}, 1,
          true);
    b.add(view, "Style : Rayons X", "Style: X-Ray", Action::selectShadingStyle, {}, 2, true);
    b.add(view, "Style : Filaire", "Style: Wireframe", Action::selectShadingStyle, {}, 3, true);
    view->addSeparator();
    // Plain keys: the document turns them off while a text field has the focus, so the letter
    // reaches the field.
    b.add(view, "Réinitialiser la vue", "Reset View", Action::resetView, keys(Qt::Key_Z));
    b.add(view, "Zoom étendu", "Zoom Extents", Action::zoomExtents, keys(shift | Qt::Key_Z));
    b.add(view, "Mode vol libre", "Free Fly Mode", Action::toggleFreeFlight,
          keys(alt | ctrl | Qt::Key_F), 0, true);
    view->addSeparator();
    auto* alternates = new Alternates(view);
    QAction* previous = b.add(view, "Scène précédente", "Previous Scene", Action::previousScene,
                              keys(ctrl | Qt::Key_BracketLeft));
    alternates->add(previous,
                    b.add(view, "Scène précédente (transition lente ×10)",
                          "Previous Scene (10× slow transition)", Action::previousSceneSlow,
                          keys(shift | ctrl | Qt::Key_BracketLeft)));
    QAction* next = b.add(view, "Scène suivante", "Next Scene", Action::nextScene,
                          keys(ctrl | Qt::Key_BracketRight));
    alternates->add(next, b.add(view, "Scène suivante (transition lente ×10)",
                                "Next Scene (10× slow transition)", Action::nextSceneSlow,
                                keys(shift | ctrl | Qt::Key_BracketRight)));

    QMenu* camera = bar->addMenu(text("Caméra", "Camera"));
    const auto& views = cameraViews();
    for (size_t tag = 0; tag < views.size(); ++tag)
        b.add(camera, views[tag].french, views[tag].english, Action::lookStandard,
              keys(ctrl | Qt::Key(Qt::Key_1 + int(tag))), int(tag));

    QMenu* windows = bar->addMenu(text("Fenêtre", "Window"));
    addCommand(
        windows, "Réduire", "Minimize", [&window] { window.showMinimized(); },
        keys(ctrl | Qt::Key_M));
    addCommand(windows, "Zoom", "Zoom",
               [&window] { window.isMaximized() ? window.showNormal() : window.showMaximized(); });
    windows->addSeparator();
    addCommand(windows, "Tout ramener au premier plan", "Bring All to Front", [&window] {
        for (QWidget* other : QApplication::topLevelWidgets())
            if (other->isVisible() && other->isWindow()) other->raise();
        window.raise();
        window.activateWindow();
    });
    // The open windows, listed below, as a windows menu does.
    QAction* listed = windows->addSeparator();
    QObject::connect(windows, &QMenu::aboutToShow, windows, [windows, listed, &window] {
        const QList<QAction*> items = windows->actions();
        for (qsizetype i = items.indexOf(listed) + 1; i < items.size(); ++i) delete items[i];
        auto* controller = DocumentController::shared();
        if (!controller) return;
        for (SKPDocument* document : controller->documents()) {
            QWidget* other = document->window();
            if (!other) continue;
            QAction* item = windows->addAction(other->windowTitle());
            item->setCheckable(true);
            item->setChecked(other == &window);
            QObject::connect(item, &QAction::triggered, other, [other] {
                if (other->isMinimized()) other->showNormal();
                other->raise();
                other->activateWindow();
            });
        }
    });

    QMenu* help = bar->addMenu(text("Aide", "Help"));
    addCommand(help, "Aide Vistrel", "Vistrel Help", AuxiliaryWindows::showHelp,
               keys(ctrl | Qt::Key_Question));
    addCommand(help, "Raccourcis clavier", "Keyboard Shortcuts", AuxiliaryWindows::showShortcuts,
               keys(ctrl | Qt::Key_Slash));

    for (QMenu* menu : {file, edit, view, camera})
        QObject::connect(menu, &QMenu::aboutToShow, &actions, &DocumentActions::refresh);
    // After the refresh, which shows every item the document does not hide.
    QObject::connect(view, &QMenu::aboutToShow, alternates, &Alternates::opening);
    QObject::connect(view, &QMenu::aboutToHide, alternates, &Alternates::closing);
}

}  // namespace vistrel::app::MainMenu
