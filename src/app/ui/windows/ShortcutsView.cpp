#include "ui/windows/ShortcutsView.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "settings/Localization.h"
#include "ui/MainMenu.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"
#include "ui/windows/PanelStyle.h"

namespace vistrel::app {

namespace {

struct Row {
    std::string keys, description;
};

// Key labels are written for the Mac keyboard and shown as this one reads them.
QWidget* group(const std::string& title, const std::vector<Row>& rows, int keyWidth = 0) {
    auto* box = new QWidget;
    auto* grid = new QGridLayout(box);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(4);
    grid->addWidget(PanelStyle::heading(title, 11), 0, 0, 1, 2);
    int line = 1;
    for (const Row& row : rows) {
        auto* keys = new QLabel(shortcutText(row.keys));
        keys->setStyleSheet(QString("color: %1; font-weight: 600").arg(Theme::accent));
        keys->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        grid->addWidget(keys, line, 0);
        auto* what = new QLabel(QString::fromStdString(row.description));
        what->setStyleSheet(QString("color: %1").arg(Theme::text));
        grid->addWidget(what, line++, 1);
    }
    grid->setColumnMinimumWidth(0, keyWidth);
    grid->setColumnStretch(1, 1);
    return box;
}

std::vector<Row> fileAndView() {
    return {
        {"⌘O", L("Ouvrir un fichier .skp", "Open a .skp file")},
        {"⌘W", L("Fermer la fenêtre", "Close the window")},
        {"⇧⌘O", L("Ouvrir dans SketchUp", "Open in SketchUp")},
        {"⌘C", L("Copier l'image de la vue", "Copy the view as an image")},
        {"⇧⌘E", L("Exporter l'image en PNG…", "Export PNG image…")},
        {"⌥⌘E", L("Exporter la vue en PDF vectoriel…", "Export vector PDF…")},
        {"⌥⌘S", L("Barre latérale (animée)", "Sidebar (animated)")},
        {"⌘E", L("Arêtes", "Edges")},
        {"⌥⌘G", L("Grille au sol et axes XYZ", "Ground grid and XYZ axes")},
        {"⌥⌘P", L("Perspective / Parallèle", "Perspective / Parallel")},
        {"⌥⌘O", L("Ombres portées", "Cast shadows")},
        {"⌥⌘L", L("Éclairage Soleil / Ponctuel", "Sun / Point lighting")},
        {"⌥⌘A", L("Occlusion ambiante SSAO", "Ambient occlusion SSAO")},
        {"Z", L("Réinitialiser la vue initiale", "Reset to initial view")},
        {"⇧Z", L("Zoom étendu sur le modèle", "Zoom extents to fit model")},
        {"⌥⌘F", L("Mode vol libre (Échap pour sortir)", "Free fly mode (Esc to exit)")},
        {"⌘[ / ⌘]", L("Scène précédente / suivante", "Previous / next scene")},
        {"⇧⌘[ / ⇧⌘]",
         L("Scène précédente / suivante (10× plus lent)", "Previous / next scene (10× slower)")},
        {"⌘,", L("Réglages", "Settings")},
        {"⌘?", L("Guide d'utilisation", "User guide")},
        {"⌘/", L("Raccourcis clavier", "Keyboard shortcuts")},
    };
}

std::vector<Row> cameras() {
    std::vector<Row> rows;
    const auto& views = MainMenu::cameraViews();
    for (size_t tag = 0; tag < views.size(); ++tag)
        rows.push_back({"⌘" + std::to_string(tag + 1), L(views[tag].french, views[tag].english)});
    return rows;
}

std::vector<Row> mouse() {
    return {
        {L("glisser", "drag"), L("Orbite autour du point visé, avec inertie",
                                 "Orbit around the point under the cursor, with inertia")},
        {L("⇧-glisser, bouton du milieu", "⇧-drag, middle drag"),
         L("Panoramique dans le plan écran", "Pan in the screen plane")},
        {L("molette, pincement", "wheel, pinch"),
         L("Zoom vers le point sous le curseur", "Zoom towards the cursor")},
        {L("double-clic", "double-click"),
         L("Recentrer et approcher le point visé", "Recentre on the point and move closer")},
        {L("deux doigts", "two fingers"),
         L("Orbite (ou zoom, voir Réglages)", "Orbit (or zoom, see Settings)")},
        {L("⌥ + deux doigts", "⌥ + two fingers"), L("Panoramique", "Pan")},
        {L("rotation à deux doigts", "two-finger rotate"),
         L("Tourner autour de la verticale", "Turn around the vertical")},
    };
}

std::vector<Row> moving() {
    return {
        {L("clic droit tenu", "hold right button"),
         L("Regarder autour (mode éditeur de jeu)", "Look around (game editor mode)")},
        {L("Z Q S D / W A S D", "W A S D / Z Q S D"),
         L("Avancer, gauche, reculer, droite", "Forward, left, back, right")},
        {L("flèches", "arrows"), L("Avancer, reculer, pas de côté", "Forward, back, sideways")},
        {L("espace, E / C", "space, E / C"),
         L("Monter / descendre verticalement", "Move up / down vertically")},
        {"⇧", L("Aller quatre fois plus vite", "Move four times faster")},
        {L("molette + clic droit", "wheel + right button"),
         L("Ajuster la vitesse de déplacement", "Adjust movement speed")},
    };
}

}  // namespace

ShortcutsView::ShortcutsView(QWidget* parent) : QWidget(parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(28, 22, 28, 20);
    column->setSpacing(14);
    column->addWidget(
        PanelStyle::heading(L("Raccourcis clavier — Vistrel", "Keyboard Shortcuts — Vistrel"), 16));

    auto* columns = new QHBoxLayout;
    columns->setSpacing(36);
    columns->addWidget(group(L("Fichier & Présentation", "File & View"), fileAndView()), 0,
                       Qt::AlignTop);
    auto* right = new QVBoxLayout;
    right->setSpacing(16);
    right->addWidget(group(L("Caméra", "Camera"), cameras(), 170));
    right->addWidget(group(L("Souris & trackpad", "Mouse & trackpad"), mouse(), 170));
    right->addWidget(
        group(L("Déplacement (touches physiques)", "Moving (physical keys)"), moving(), 170));
    right->addStretch();
    columns->addLayout(right);
    column->addLayout(columns);

    QPushButton* close = PanelStyle::button(L("Fermer", "Close"));
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, [this] {
        if (onClose) onClose();
    });
    column->addWidget(close, 0, Qt::AlignRight);
}

}  // namespace vistrel::app
