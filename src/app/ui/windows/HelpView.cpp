#include "ui/windows/HelpView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "settings/Localization.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"
#include "ui/windows/PanelStyle.h"

namespace vistrel::app {

namespace {

struct Page {
    std::string title, heading, body;  // body: rich text, glyphs written for the Mac keyboard
};

Page page(HelpView::Section section) {
    using S = HelpView::Section;
    switch (section) {
        case S::overview:
            return {L("Vue d'ensemble", "Overview"),
                    L("Ouvrir et inspecter un modèle SketchUp ou AutoCAD",
                      "Opening and inspecting a SketchUp or AutoCAD model"),
                    L("<p>Ouvrez un fichier .skp, .dwg ou .dxf par Fichier ▸ Ouvrir… (⌘O), en le "
                      "déposant sur une fenêtre ou depuis le gestionnaire de fichiers. La vignette "
                      "et la version s'affichent aussitôt, le modèle se charge en arrière-plan et "
                      "le chargement s'annule à tout moment.</p>"
                      "<p>Choisissez un angle dans le menu Caméra (⌘1 à ⌘7) et un style dans la "
                      "barre d'outils ou le menu Présentation. Copiez la vue (⌘C), exportez-la en "
                      "PNG (⇧⌘E) ou en PDF vectoriel (⌥⌘E), ou rouvrez le fichier dans SketchUp "
                      "(⇧⌘O).</p>"
                      "<p>Le fichier est lu, jamais écrit : les textures passent par un dossier "
                      "temporaire effacé à la fermeture.</p>"
                      "<p><b>Visualiseur pur : aucun fichier .skp n'est jamais modifié ni "
                      "enregistré.</b></p>",
                      "<p>Open a .skp, .dwg or .dxf file with File ▸ Open… (⌘O), by dropping it "
                      "on a window, or from the file manager. The thumbnail and version show at "
                      "once, the model loads in the background and the load can be cancelled at "
                      "any time.</p>"
                      "<p>Pick an angle in the Camera menu (⌘1 to ⌘7) and a style in the toolbar "
                      "or the View menu. Copy the view (⌘C), export it as PNG (⇧⌘E) or as vector "
                      "PDF (⌥⌘E), or reopen the file in SketchUp (⇧⌘O).</p>"
                      "<p>The file is read, never written: textures go through a temporary folder "
                      "removed on closing.</p>"
                      "<p><b>Pure viewer: no .skp file is ever modified or saved.</b></p>")};
        case S::navigation:
            return {L("Navigation", "Navigation"),
                    L("Quatre modes de navigation complémentaires",
                      "Four complementary navigation modes"),
                    L("<p>Tous les modes sont actifs simultanément sans changer d'outil :</p><ul>"
                      "<li><b>Orbite</b> : glisser tourne autour du point visé, avec inertie ; "
                      "⇧-glisser ou le bouton du milieu font un panoramique ; la molette zoome "
                      "vers le curseur ; un double-clic recentre sur le point.</li>"
                      "<li><b>Z</b> réinitialise la vue initiale, <b>⇧Z</b> cadre tout le "
                      "modèle.</li>"
                      "<li><b>Éditeur de jeu</b> : clic droit tenu pour regarder autour, ZQSD ou "
                      "WASD et les flèches pour avancer, espace et E / C pour monter ou "
                      "descendre, ⇧ pour aller quatre fois plus vite, molette pour la "
                      "vitesse.</li>"
                      "<li><b>Trackpad</b> : deux doigts pour l'orbite (ou le zoom, voir "
                      "Réglages), ⌥ + deux doigts pour le panoramique, pincement pour le zoom, "
                      "rotation pour tourner autour de la verticale.</li>"
                      "<li><b>Vol libre</b> (⌥⌘F) : la souris oriente le regard sans bouton ; "
                      "Échap pour sortir.</li></ul>",
                      "<p>All modes are active simultaneously without switching tools:</p><ul>"
                      "<li><b>Orbit</b>: drag to turn around the point under the cursor, with "
                      "inertia; ⇧-drag or middle drag to pan; the wheel zooms towards the "
                      "cursor; a double-click recentres on the point.</li>"
                      "<li><b>Z</b> resets the initial view, <b>⇧Z</b> fits the whole "
                      "model.</li>"
                      "<li><b>Game editor</b>: hold the right button to look around, WASD or "
                      "ZQSD and the arrows to move, space and E / C to go up or down, ⇧ to move "
                      "four times faster, the wheel for the speed.</li>"
                      "<li><b>Trackpad</b>: two fingers orbit (or zoom, see Settings), ⌥ + two "
                      "fingers pan, pinch zooms, rotate turns around the vertical.</li>"
                      "<li><b>Free fly</b> (⌥⌘F): the mouse steers the gaze without a button; "
                      "Esc to leave.</li></ul>")};
        case S::rendering:
            return {
                L("Rendu & Éclairage", "Rendering & Lighting"),
                L("Styles de rendu, soleil et fond de scène", "Shading styles, sun and backdrop"),
                L("<p>Quatre styles : <b>Texturé (PBR)</b> avec les matériaux du modèle, "
                  "<b>Maquette blanche</b>, <b>Rayons X</b> translucide et <b>Filaire</b>. "
                  "Les arêtes (⌘E) se montrent dans chacun.</p>"
                  "<p>L'éclairage est le <b>soleil</b>, orientable, avec ombres portées "
                  "(⌥⌘O), ou des <b>lumières ponctuelles</b> (⌥⌘L) que l'on place et règle "
                  "une à une.</p>"
                  "<p>L'occlusion ambiante (⌥⌘A) assombrit les creux ; son importance va de "
                  "0 % à 200 %.</p>"
                  "<p>La grille au sol et les axes XYZ (⌥⌘G), la perspective ou la vue "
                  "parallèle (⌥⌘P) et le fond de scène (ciel, studio, papier ou une couleur) "
                  "se règlent par document ; les Réglages fixent ceux des nouvelles "
                  "fenêtres.</p>",
                  "<p>Four styles: <b>Textured (PBR)</b> with the model's materials, "
                  "<b>White Clay</b>, translucent <b>X-Ray</b> and <b>Wireframe</b>. Edges "
                  "(⌘E) show in each.</p>"
                  "<p>Light comes from the <b>sun</b>, which can be turned, with cast shadows "
                  "(⌥⌘O), or from <b>point lights</b> (⌥⌘L) placed and set one by one.</p>"
                  "<p>Ambient occlusion (⌥⌘A) darkens creases; its strength goes from 0 % to "
                  "200 %.</p>"
                  "<p>The ground grid and XYZ axes (⌥⌘G), perspective or parallel view (⌥⌘P) "
                  "and the backdrop (sky, studio, paper or a colour) are set per document; "
                  "Settings choose them for new windows.</p>")};
        case S::scenesAndLayers:
            return {
                L("Scènes & Calques", "Scenes & Layers"),
                L("Scènes, calques et inspecteur de modèle", "Scenes, layers and model inspector"),
                L("<p>Les <b>scènes</b> du modèle se choisissent dans la barre d'outils ; ⌘[ "
                  "et ⌘] passent à la précédente ou à la suivante, avec ⇧ pour une transition "
                  "dix fois plus lente. Une scène applique sa caméra et ses calques.</p>"
                  "<p>Les <b>calques</b>, groupés par dossier dans la barre latérale (⌥⌘S), "
                  "se filtrent par leur nom ; Tout / Aucun les montrent ou les cachent "
                  "ensemble, Solo ne garde que l'un d'eux.</p>"
                  "<p>L'inspecteur résume le modèle : faces, arêtes, instances, matériaux et "
                  "temps de chargement.</p>",
                  "<p>The model's <b>scenes</b> are picked in the toolbar; ⌘[ and ⌘] step to "
                  "the previous or next one, with ⇧ for a transition ten times slower. A "
                  "scene applies its camera and its layers.</p>"
                  "<p><b>Layers</b>, grouped by folder in the sidebar (⌥⌘S), filter by name; "
                  "All / None show or hide them together, Solo keeps only one.</p>"
                  "<p>The inspector sums up the model: faces, edges, instances, materials "
                  "and loading time.</p>")};
        case S::oscAndMCP:
            return {L("OSC & MCP", "OSC & MCP"),
                    L("Pilotage OSC, découverte Partivox & serveur MCP",
                      "OSC control, Partivox discovery & MCP server"),
                    L("<p>Vistrel s'annonce par Bonjour (« _osc._udp. » et « _oscjson._tcp. ») : "
                      "Partivox le trouve sans réglage.</p>"
                      "<p>Il écoute l'OSC sur UDP 9150 : caméra (position, cap, inclinaison, "
                      "distance, vues standard), scènes, calques, styles et éclairage. Les "
                      "mouvements de caméra repartent en retour OSC vers le port 9151.</p>"
                      "<p>L'API HTTP (TCP 17950) sert l'arborescence OSCQuery, l'état, les "
                      "commandes, les captures PNG et l'export PDF.</p>"
                      "<p>Le compagnon <b>vistrel-mcp</b> expose ces commandes à un modèle de "
                      "langage : ouvrir, regarder, changer de scène ou de style, capturer.</p>",
                      "<p>Vistrel advertises itself over Bonjour (\"_osc._udp.\" and "
                      "\"_oscjson._tcp.\"): Partivox finds it without setup.</p>"
                      "<p>It listens for OSC on UDP 9150: camera (position, heading, pitch, "
                      "distance, standard views), scenes, layers, styles and lighting. Camera "
                      "moves go back as OSC feedback to port 9151.</p>"
                      "<p>The HTTP API (TCP 17950) serves the OSCQuery tree, the state, the "
                      "commands, PNG snapshots and PDF export.</p>"
                      "<p>The <b>vistrel-mcp</b> companion offers these commands to a language "
                      "model: open, look, change scene or style, capture.</p>")};
        case S::sdkAndFiles:
            return {L("SDK & Fichiers", "SDK & Files"),
                    L("SDK SketchUp embarqué et interopérabilité",
                      "Embedded SketchUp SDK and interoperability"),
                    L("<p>Les fichiers .skp se lisent par la bibliothèque C de SketchUp, livrée "
                      "avec Vistrel ou trouvée dans une installation de SketchUp ; la fenêtre "
                      "À propos dit laquelle. Sans elle, les .skp ne s'ouvrent pas.</p>"
                      "<p>Les .dwg et .dxf passent par le lecteur CAO intégré, calibrés en mètres "
                      "et recentrés.</p>"
                      "<p>Ouvrir dans SketchUp (⇧⌘O) confie le fichier à l'application "
                      "SketchUp quand elle est installée.</p>",
                      "<p>.skp files are read through SketchUp's C library, shipped with Vistrel "
                      "or found in an installed SketchUp; the About window tells which. Without "
                      "it, .skp files do not open.</p>"
                      "<p>.dwg and .dxf go through the built-in CAD reader, calibrated to metres "
                      "and recentred.</p>"
                      "<p>Open in SketchUp (⇧⌘O) hands the file to the SketchUp application when "
                      "it is installed.</p>")};
    }
    return {};
}

constexpr HelpView::Section allSections[] = {
    HelpView::Section::overview,  HelpView::Section::navigation,
    HelpView::Section::rendering, HelpView::Section::scenesAndLayers,
    HelpView::Section::oscAndMCP, HelpView::Section::sdkAndFiles,
};

}  // namespace

HelpView::HelpView(QWidget* parent)
    : QWidget(parent),
      list_(new QListWidget),
      heading_(PanelStyle::heading("", 15)),
      body_(new QLabel) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);

    list_->setFixedWidth(200);
    list_->setFrameShape(QFrame::NoFrame);
    list_->setFocusPolicy(Qt::NoFocus);
    list_->setStyleSheet(QString("QListWidget { background: %1; color: %2; padding: 14px 8px }"
                                 "QListWidget::item { padding: 6px 8px; border-radius: 5px }"
                                 "QListWidget::item:selected { background: %3; color: %2 }")
                             .arg(Theme::panel, Theme::text, Theme::checkedBackground));
    for (Section section : allSections) list_->addItem(QString::fromStdString(page(section).title));
    row->addWidget(list_);

    auto* right = new QVBoxLayout;
    right->setContentsMargins(24, 20, 24, 16);
    right->setSpacing(12);
    heading_->setWordWrap(true);
    right->addWidget(heading_);
    body_->setWordWrap(true);
    body_->setTextFormat(Qt::RichText);
    body_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    body_->setStyleSheet(QString("color: %1").arg(Theme::text));
    auto* scroll = new QScrollArea;
    scroll->setWidget(body_);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setFixedSize(520, 400);
    right->addWidget(scroll);
    QPushButton* close = PanelStyle::button(L("Fermer", "Close"));
    connect(close, &QPushButton::clicked, this, [this] {
        if (onClose) onClose();
    });
    right->addWidget(close, 0, Qt::AlignRight);
    row->addLayout(right);

    connect(list_, &QListWidget::currentRowChanged, this, [this](int index) {
        if (index >= 0 && index < int(std::size(allSections))) select(allSections[index]);
    });
    select(Section::overview);
}

void HelpView::select(Section section) {
    selected_ = section;
    const Page shown = page(section);
    {
        const QSignalBlocker blocker(list_);
        list_->setCurrentRow(int(section));
    }
    heading_->setText(QString::fromStdString(shown.heading));
    body_->setText(shortcutText(shown.body));
}

}  // namespace vistrel::app
