#include "ui/toolbar/TopBar.h"

#include <QAction>
#include <QHBoxLayout>
#include <QMenu>
#include <QToolButton>

#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"
#include "settings/Localization.h"
#include "ui/DocumentActions.h"
#include "ui/Icons.h"
#include "ui/MainMenu.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"
#include "ui/popovers/CameraPopover.h"
#include "ui/popovers/LightingPopover.h"

namespace vistrel::app {

namespace {

using Action = SKPDocument::Action;
using Icons::Symbol;

QString tip(const std::string& fr, const std::string& en) {
    return shortcutText(L(fr, en));
}

// What the overflow menu shows of a tooltip: its words before the shortcut or the details.
QString title(const QString& toolTip) {
    qsizetype cut = toolTip.size();
    for (const char* mark : {" (", " :", ":"})
        if (const qsizetype at = toolTip.indexOf(mark); at > 0) cut = std::min(cut, at);
    return toolTip.left(cut);
}

// The standard views with direct buttons; the others are in the "more views" menu.
constexpr int directViews = 4;

}  // namespace

TopBar::TopBar(SKPDocument& document, DocumentActions& actions, QWidget* parent)
    : QToolBar(parent), document_(document), model_(document.model()) {
    setObjectName("TopBar");
    setMovable(false);
    setFloatable(false);
    setIconSize({20, 20});
    setToolButtonStyle(Qt::ToolButtonIconOnly);
    setStyleSheet(QString("QToolBar#TopBar { background: %1; border: none; border-bottom: 1px "
                          "solid %2; padding: 4px 8px; spacing: 2px; }"
                          "QToolBar#TopBar QToolButton { border: none; border-radius: 6px; "
                          "padding: 4px; color: %3; }"
                          "QToolBar#TopBar QToolButton:hover { background: %4; }"
                          "QToolBar#TopBar QToolButton:checked { background: %5; }"
                          "QToolBar#TopBar QToolButton::menu-indicator { image: none; }")
                      .arg(Theme::panel, Theme::separator, Theme::text, Theme::hover,
                           Theme::checkedBackground));

    // A document command with its icon and tooltip.
    auto command = [&](Symbol symbol, const std::string& fr, const std::string& en, Action a,
                       int tag = 0, bool checkable = false) {
        QAction* action = actions.add(title(tip(fr, en)), a, tag, checkable);
        action->setIcon(Icons::icon(symbol));
        action->setToolTip(tip(fr, en));
        addAction(action);
        return action;
    };
    auto plain = [&](Symbol symbol, const std::string& fr, const std::string& en) {
        QAction* action = addAction(Icons::icon(symbol), title(tip(fr, en)));
        action->setToolTip(tip(fr, en));
        return action;
    };

    // Document.
    command(Symbol::sidebar, "Afficher ou masquer la barre latérale (⌥⌘S)",
            "Show or hide sidebar (⌥⌘S)", Action::toggleSidebarPanel, 0, true);
    QAction* open = plain(Symbol::open, "Ouvrir un fichier SketchUp ou AutoCAD… (⌘O)",
                          "Open a SketchUp or AutoCAD file… (⌘O)");
    connect(open, &QAction::triggered, this, [this] {
        if (auto* controller = DocumentController::shared()) controller->openDocument(window());
    });
    command(Symbol::reveal, "Afficher le fichier dans le gestionnaire de fichiers",
            "Show file in the file manager", Action::revealInFinder);
    command(Symbol::sketchUp, "Ouvrir le modèle dans SketchUp (⇧⌘O)",
            "Open model in SketchUp (⇧⌘O)", Action::openInSketchUp);
    addSeparator();

    // Camera.
    command(Symbol::reset, "Réinitialiser la vue initiale (Z)", "Reset to initial view (Z)",
            Action::resetView);
    command(Symbol::extents, "Zoom étendu sur tout le modèle visible (⇧Z)",
            "Zoom extents to fit visible model (⇧Z)", Action::zoomExtents);
    const auto& views = MainMenu::cameraViews();
    for (int tag = 0; tag < directViews; ++tag) {
        const auto& v = views[size_t(tag)];
        const std::string key = " (⌘" + std::to_string(tag + 1) + ")";
        QAction* view = actions.add(QString::fromStdString(L(v.french, v.english)),
                                    Action::lookStandard, tag, true);
        view->setToolTip(tip("Vue " + v.french + key, v.english + " view" + key));
        addAction(view);
    }
    QAction* more =
        plain(Symbol::moreViews, "Autres vues standard : Arrière (⌘5), Gauche (⌘6), Dessous (⌘7)",
              "More standard views: Back (⌘5), Left (⌘6), Bottom (⌘7)");
    auto* moreMenu = new QMenu(this);
    for (int tag = directViews; tag < int(views.size()); ++tag) {
        const auto& v = views[size_t(tag)];
        moreMenu->addAction(actions.add(QString::fromStdString(L(v.french, v.english)) + '\t' +
                                            shortcutText("⌘" + std::to_string(tag + 1)),
                                        Action::lookStandard, tag));
    }
    more->setMenu(moreMenu);
    projection_ =
        command(Symbol::perspective, "Basculer Perspective / Projection parallèle (⌥⌘P)",
                "Toggle Perspective / Parallel projection (⌥⌘P)", Action::togglePerspective);
    command(Symbol::freeFly, "Mode vol libre à la souris et au clavier (⌥⌘F, Échap pour quitter)",
            "Free fly mode with mouse and keyboard (⌥⌘F, Esc to exit)", Action::toggleFreeFlight, 0,
            true);
    cameraSettings_ = plain(Symbol::cameraSettings,
                            "Réglages fins de la caméra : angle d'ouverture (FOV / focale mm), "
                            "position XYZ, orientation et exposition",
                            "Fine camera settings: field of view (FOV / focal length mm), XYZ "
                            "position, orientation and exposure");
    connect(cameraSettings_, &QAction::triggered, this, &TopBar::showCameraPopover);

    // Scenes, in one box whose visibility is the bar's own: the document's rules only enable
    // and disable the arrows.
    auto* scenes = new QWidget(this);
    auto* sceneRow = new QHBoxLayout(scenes);
    sceneRow->setContentsMargins(0, 0, 0, 0);
    sceneRow->setSpacing(2);
    auto arrow = [&](Symbol symbol, const std::string& fr, const std::string& en, Action a) {
        QAction* action = actions.add(title(tip(fr, en)), a);
        action->setIcon(Icons::icon(symbol));
        action->setToolTip(tip(fr, en));
        auto* b = new QToolButton(scenes);
        b->setIconSize(iconSize());
        b->setDefaultAction(action);
        return b;
    };
    scenePicker_ = new QToolButton(scenes);
    scenePicker_->setObjectName("ScenePicker");
    scenePicker_->setToolButtonStyle(Qt::ToolButtonTextOnly);
    scenePicker_->setPopupMode(QToolButton::InstantPopup);
    scenePicker_->setToolTip(
        tip("Choisir une scène du modèle (maintenir ⇧ pour une transition 10× plus lente)",
            "Select a model scene (hold ⇧ for a 10× slower transition)"));
    scenePicker_->setMenu(new QMenu(scenePicker_));
    sceneRow->addWidget(
        arrow(Symbol::previous, "Scène précédente (⌘[ · ⇧-clic : transition 10× plus lente)",
              "Previous scene (⌘[ · ⇧-click: 10× slower transition)", Action::previousScene));
    sceneRow->addWidget(scenePicker_);
    sceneRow->addWidget(
        arrow(Symbol::next, "Scène suivante (⌘] · ⇧-clic : transition 10× plus lente)",
              "Next scene (⌘] · ⇧-click: 10× slower transition)", Action::nextScene));
    sceneGroup_ << addSeparator() << addWidget(scenes);
    addSeparator();

    // Appearance.
    command(Symbol::edges, "Afficher ou masquer les arêtes (⌘E)", "Show or hide edges (⌘E)",
            Action::toggleEdges, 0, true);
    lightMode_ =
        command(Symbol::sun, "Basculer entre éclairage Soleil et éclairage Ponctuel",
                "Switch between Sun lighting and Point lighting", Action::toggleLightingMode);
    command(Symbol::shadows, "Activer ou couper les ombres portées (⌥⌘O)",
            "Toggle cast shadows (⌥⌘O)", Action::toggleShadows, 0, true);
    lightingSettings_ =
        plain(Symbol::lightingSettings,
              "Réglages d'éclairage (Soleil / Ponctuel), importance SSAO et "
              "couleur de fond",
              "Lighting settings (Sun / Point), SSAO strength and background color");
    connect(lightingSettings_, &QAction::triggered, this, &TopBar::showLightingPopover);
    command(Symbol::grid, "Afficher ou masquer la grille au sol et les axes XYZ (⌥⌘G)",
            "Show or hide ground grid and XYZ axes (⌥⌘G)", Action::toggleGrid, 0, true);
    addSeparator();

    // Style, in the order of allShadingStyles.
    command(Symbol::textured, "Style texturé réaliste doux (PBR)",
            "Soft realistic textured style (PBR)", Action::selectShadingStyle, 0, true);
    command(Symbol::clay, "Style maquette blanche architecturale", "Architectural white clay style",
            Action::selectShadingStyle, 1, true);
    command(Symbol::xRay, "Style semi-transparent Rayons X", "Semi-transparent X-Ray style",
            Action::selectShadingStyle, 2, true);
    command(Symbol::wireframe, "Style filaire (arêtes seules)", "Wireframe style (edges only)",
            Action::selectShadingStyle, 3, true);
    addSeparator();

    // Capture.
    command(Symbol::copy, "Copier l'image de la vue dans le presse-papiers (⌘C)",
            "Copy view image to clipboard (⌘C)", Action::copyImage);
    command(Symbol::png, "Exporter l'image en PNG… (⇧⌘E)", "Export PNG image… (⇧⌘E)",
            Action::exportImage);
    command(Symbol::pdf, "Exporter la vue en PDF vectoriel… (⌥⌘E)",
            "Export view as vector PDF… (⌥⌘E)", Action::exportVectorPDF);

    if (auto* overflow = findChild<QToolButton*>("qt_toolbar_ext_button"))
        overflow->setIcon(Icons::fromSVG("<path d='M7 6l6 6-6 6M13 6l6 6-6 6'/>"));
    for (QAction* withMenu : {more})
        if (auto* b = qobject_cast<QToolButton*>(widgetForAction(withMenu)))
            b->setPopupMode(QToolButton::InstantPopup);

    for (auto signal : {&DocumentModel::skpChanged, &DocumentModel::stateChanged,
                        &DocumentModel::selectedSceneChanged})
        connect(&model_, signal, this, &TopBar::refreshScenes);
    for (auto signal : {&DocumentModel::isPerspectiveChanged, &DocumentModel::lightingModeChanged})
        connect(&model_, signal, this, &TopBar::refreshModeIcons);
    refreshScenes();
    refreshModeIcons();
}

bool TopBar::showsScenes() const {
    return scenePicker_->isVisibleTo(this);
}

void TopBar::refreshScenes() {
    const SKPModel* skp = model_.skp();
    const bool hasScenes = skp && !skp->scenes.empty();
    for (QAction* action : sceneGroup_) action->setVisible(hasScenes);
    if (!hasScenes) return;

    const auto selected = model_.selectedScene();
    const auto name = [&](size_t i) { return QString::fromStdString(skp->scenes[i].name); };
    scenePicker_->setText(selected && size_t(*selected) < skp->scenes.size()
                              ? name(size_t(*selected))
                              : QString::fromStdString(L("Scènes", "Scenes")));
    scenePicker_->setEnabled(model_.isReady());
    QMenu* menu = scenePicker_->menu();
    menu->clear();
    for (size_t i = 0; i < skp->scenes.size(); ++i) {
        QAction* item = menu->addAction(name(i));
        item->setCheckable(true);
        item->setChecked(selected && size_t(*selected) == i);
        // No speed given: Shift held picks the slow transition.
        connect(item, &QAction::triggered, this, [this, i] { model_.selectScene(int(i)); });
    }
}

void TopBar::refreshModeIcons() {
    projection_->setIcon(
        Icons::icon(model_.isPerspective() ? Symbol::perspective : Symbol::parallel));
    lightMode_->setIcon(Icons::icon(
        model_.lightingMode() == viewport::LightingMode::sun ? Symbol::sun : Symbol::pointLight));
}

QToolButton* TopBar::button(const QString& toolTip) const {
    for (QToolButton* b : findChildren<QToolButton*>())
        if (b->toolTip() == toolTip) return b;
    return nullptr;
}

// Made on first use: a window that never opens them pays nothing.
void TopBar::showCameraPopover() {
    if (!cameraPopover_) cameraPopover_ = new CameraPopover(model_, this);
    cameraPopover_->popUp(anchor(cameraSettings_));
}

void TopBar::showLightingPopover() {
    if (!lightingPopover_) lightingPopover_ = new LightingPopover(model_, this);
    lightingPopover_->popUp(anchor(lightingSettings_));
}

// The button of `action`, or the bar itself when the action sits in the overflow menu.
const QWidget& TopBar::anchor(QAction* action) const {
    QWidget* button = widgetForAction(action);
    if (button && button->isVisible()) return *button;
    return *this;
}

}  // namespace vistrel::app
