#include "ui/MainMenu.h"

#include <QAction>
#include <QApplication>
#include <QKeySequence>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "settings/Localization.h"
#include "ui/DocumentActions.h"

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

    QMenu* file = bar->addMenu(QString::fromStdString(L("Fichier", "File")));
    QAction* open = file->addAction(QString::fromStdString(L("Ouvrir…", "Open…")));
    open->setShortcut(QKeySequence::Open);
    QObject::connect(open, &QAction::triggered, &window, [&window] {
        if (auto* controller = DocumentController::shared()) controller->openDocument(&window);
    });
    file->addSeparator();
    b.add(file, "Exporter l'image PNG…", "Export PNG Image…", Action::exportImage,
          keys(shift | ctrl | Qt::Key_E));
    b.add(file, "Exporter en PDF vectoriel…", "Export Vector PDF…", Action::exportVectorPDF,
          keys(alt | ctrl | Qt::Key_E));
    b.add(file, "Ouvrir dans SketchUp", "Open in SketchUp", Action::openInSketchUp,
          keys(shift | ctrl | Qt::Key_O));
    b.add(file, "Afficher dans le Finder", "Show in Finder", Action::revealInFinder);
    file->addSeparator();
    QAction* close = file->addAction(QString::fromStdString(L("Fermer", "Close")));
    close->setShortcut(keys(ctrl | Qt::Key_W));
    QObject::connect(close, &QAction::triggered, &window, [&window] { window.close(); });
    QAction* quit = file->addAction(QString::fromStdString(L("Quitter Vistrel", "Quit Vistrel")));
    quit->setShortcut(keys(ctrl | Qt::Key_Q));
    quit->setMenuRole(QAction::QuitRole);
    QObject::connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit,
                     Qt::QueuedConnection);

    QMenu* edit = bar->addMenu(QString::fromStdString(L("Édition", "Edit")));
    b.add(edit, "Copier l'image", "Copy Image", Action::copyImage, keys(ctrl | Qt::Key_C));

    QMenu* view = bar->addMenu(QString::fromStdString(L("Présentation", "View")));
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
    b.add(view, "Réinitialiser la vue", "Reset View", Action::resetView, keys(Qt::Key_Z));
    b.add(view, "Zoom étendu", "Zoom Extents", Action::zoomExtents, keys(shift | Qt::Key_Z));
    b.add(view, "Mode vol libre", "Free Fly Mode", Action::toggleFreeFlight,
          keys(alt | ctrl | Qt::Key_F), 0, true);
    view->addSeparator();
    b.add(view, "Scène précédente", "Previous Scene", Action::previousScene,
          keys(ctrl | Qt::Key_BracketLeft));
    b.add(view, "Scène précédente (transition lente ×10)", "Previous Scene (10× slow transition)",
          Action::previousSceneSlow, keys(shift | ctrl | Qt::Key_BracketLeft));
    b.add(view, "Scène suivante", "Next Scene", Action::nextScene,
          keys(ctrl | Qt::Key_BracketRight));
    b.add(view, "Scène suivante (transition lente ×10)", "Next Scene (10× slow transition)",
          Action::nextSceneSlow, keys(shift | ctrl | Qt::Key_BracketRight));

    QMenu* camera = bar->addMenu(QString::fromStdString(L("Caméra", "Camera")));
    const auto& views = cameraViews();
    for (size_t tag = 0; tag < views.size(); ++tag)
        b.add(camera, views[tag].french, views[tag].english, Action::lookStandard,
              keys(ctrl | Qt::Key(Qt::Key_1 + int(tag))), int(tag));

    QMenu* windows = bar->addMenu(QString::fromStdString(L("Fenêtre", "Window")));
    QAction* minimize = windows->addAction(QString::fromStdString(L("Réduire", "Minimize")));
    minimize->setShortcut(keys(ctrl | Qt::Key_M));
    QObject::connect(minimize, &QAction::triggered, &window, [&window] { window.showMinimized(); });
    QAction* zoom = windows->addAction(QString::fromStdString(L("Zoom", "Zoom")));
    QObject::connect(zoom, &QAction::triggered, &window, [&window] {
        window.isMaximized() ? window.showNormal() : window.showMaximized();
    });

    for (QMenu* menu : {file, edit, view, camera})
        QObject::connect(menu, &QMenu::aboutToShow, &actions, &DocumentActions::refresh);
}

}  // namespace vistrel::app::MainMenu
