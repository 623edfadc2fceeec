#include "ui/windows/AboutView.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGridLayout>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QUrl>
#include <QVBoxLayout>

#include "settings/AppVersion.h"
#include "settings/Localization.h"
#include "ui/Icons.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"
#include "ui/windows/AuxiliaryWindows.h"
#include "ui/windows/PanelStyle.h"

namespace vistrel::app {

namespace {

constexpr const char* website = "https://vistrel.org";

// A cube seen from above a corner: the program's mark.
QIcon applicationIcon() {
    return Icons::fromSVG(
        "<path d='M12 2.5l8.5 4.8v9.4L12 21.5l-8.5-4.8V7.3z'/>"
        "<path d='M3.5 7.3L12 12l8.5-4.7M12 12v9.5'/>");
}

}  // namespace

AboutView::AboutView(std::optional<SketchUpAPI::Location> location,
                     std::optional<std::string> version, QWidget* parent)
    : QWidget(parent),
      location_(std::move(location)),
      version_(version.value_or(AppVersion::current().display())),
      versionButton_(new QPushButton) {
    setFixedWidth(520);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(28, 24, 28, 20);
    column->setSpacing(10);

    auto* icon = new QLabel;
    icon->setPixmap(applicationIcon().pixmap(72, 72));
    icon->setAlignment(Qt::AlignHCenter);
    column->addWidget(icon);
    QLabel* name = PanelStyle::heading("Vistrel", 20);
    name->setAlignment(Qt::AlignHCenter);
    column->addWidget(name);
    QLabel* description = PanelStyle::secondary(
        L("Visualiseur 3D natif et léger de fichiers SketchUp (.skp) et AutoCAD (.dwg, .dxf) "
          "pour Linux.",
          "Lightweight native 3D viewer for SketchUp (.skp) and AutoCAD (.dwg, .dxf) files on "
          "Linux."));
    description->setAlignment(Qt::AlignHCenter);
    column->addWidget(description);

    versionButton_->setFlat(true);
    versionButton_->setCursor(Qt::PointingHandCursor);
    versionButton_->setToolTip(QString::fromStdString(
        L("Cliquer pour copier le numéro de version", "Click to copy version number")));
    versionButton_->setStyleSheet(
        QString("QPushButton { color: %1; border: none; }").arg(Theme::secondaryText));
    connect(versionButton_, &QPushButton::clicked, this, &AboutView::copyVersion);
    refreshVersion();
    column->addWidget(versionButton_, 0, Qt::AlignHCenter);

    column->addWidget(PanelStyle::separator());
    column->addWidget(PanelStyle::heading(L("Points forts", "Highlights"), 12));
    struct Row {
        const char *titleFR, *titleEN, *textFR, *textEN;
    };
    static constexpr Row rows[] = {
        {"Lecture directe .skp, .dwg & .dxf", "Direct .skp, .dwg & .dxf reading",
         "Ouverture asynchrone SketchUp et AutoCAD, calibration métrique automatique, SDK C "
         "embarqué et fusion OpenGL par matériaux.",
         "Asynchronous SketchUp and AutoCAD loading, automatic metric calibration, embedded C "
         "SDK, and OpenGL material merging."},
        {"Rendu architectural doux", "Soft architectural rendering",
         "Matériaux PBR, soleil orientable à cascades d'ombres, contre-jour céleste et styles "
         "Maquette / Rayons X.",
         "PBR materials, orientable sun with cascaded shadows, sky fill light, and Clay / X-Ray "
         "styles."},
        {"4 modes de navigation", "4 navigation modes",
         "Orbite avec inertie, éditeur de jeu (clic droit + ZQSD), gestes trackpad, vol libre "
         "et Z / ⇧Z.",
         "Inertial orbit, game editor (right-click + WASD), trackpad gestures, free fly, and Z "
         "/ ⇧Z."},
        {"Scènes, calques & capture", "Scenes, layers & capture",
         "Passage de scène en scène, filtrage et mode solo des calques, copie et export PNG "
         "haute résolution.",
         "Scene stepping, layer filtering and solo mode, clipboard copy and high-resolution PNG "
         "export."},
    };
    for (const Row& row : rows) {
        auto* pair = new QVBoxLayout;
        pair->setSpacing(2);
        pair->addWidget(PanelStyle::heading(L(row.titleFR, row.titleEN), 10));
        // The Mac key glyphs as this keyboard names them.
        pair->addWidget(
            PanelStyle::secondary(shortcutText(L(row.textFR, row.textEN)).toStdString()));
        column->addLayout(pair);
    }

    column->addWidget(PanelStyle::separator());
    auto* framework = new QVBoxLayout;
    framework->setSpacing(2);
    framework->addWidget(PanelStyle::heading(L("Framework SketchUp", "SketchUp framework"), 10));
    std::string where = location_ ? location_->frameworkURL.string()
                                  : L("Framework SketchUp introuvable : réinstaller l'application",
                                      "SketchUp framework not found: reinstall the application");
    if (location_)
        if (auto origin = location_->origin()) where += " — " + *origin;
    QLabel* path = PanelStyle::secondary(where);
    path->setTextInteractionFlags(Qt::TextSelectableByMouse);
    framework->addWidget(path);
    column->addLayout(framework);

    auto* buttons = new QHBoxLayout;
    QPushButton* updates = PanelStyle::button(L("Mises à jour…", "Updates…"));
    connect(updates, &QPushButton::clicked, this, [] { AuxiliaryWindows::checkForUpdates(); });
    QPushButton* guide = new QPushButton(shortcutText(L("Guide (⌘?)", "Guide (⌘?)")));
    guide->setAutoDefault(false);
    connect(guide, &QPushButton::clicked, this, [] { AuxiliaryWindows::showHelp(); });
    auto* link = new QLabel(QString("<a href='%1' style='color: %2; text-decoration: none'>"
                                    "vistrel.org</a>")
                                .arg(website, Theme::accent));
    link->setOpenExternalLinks(true);
    buttons->addWidget(updates);
    buttons->addWidget(guide);
    buttons->addStretch();
    buttons->addWidget(link);
    column->addSpacing(6);
    column->addLayout(buttons);
}

void AboutView::copyVersion() {
    QGuiApplication::clipboard()->setText(QString::fromStdString(version_));
    copiedVersion_ = true;
    refreshVersion();
    QTimer::singleShot(1500, this, [this] {
        copiedVersion_ = false;
        refreshVersion();
    });
}

void AboutView::refreshVersion() {
    std::string text = "Version " + version_;
    if (copiedVersion_) text += "  ·  " + L("copié", "copied");
    versionButton_->setText(QString::fromStdString(text));
}

}  // namespace vistrel::app
