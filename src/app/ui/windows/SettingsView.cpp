#include "ui/windows/SettingsView.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QVBoxLayout>

#include <cmath>

#include "remote/RemoteControlServer.h"
#include "settings/Localization.h"
#include "shell/Preferences.h"
#include "ui/ShortcutText.h"
#include "ui/Theme.h"
#include "ui/windows/AuxiliaryWindows.h"
#include "ui/windows/PanelStyle.h"
#include "update/Updater.h"
#include "view/ViewportView.h"
#include "vocabulary/BackdropStyle.h"

namespace vistrel::app {

namespace {

QString text(const std::string& s) {
    return QString::fromStdString(s);
}

// Buttons side by side of which one is down; `changed` gets the index of the new one.
QWidget* segments(const std::vector<std::string>& titles, int selected,
                  std::function<void(int)> changed) {
    auto* box = new QWidget;
    auto* row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    box->setStyleSheet(
        QString("QPushButton { background: %1; color: %2; border: 1px solid %3; padding: 4px 12px }"
                "QPushButton:checked { background: %4; color: %5; border-color: %5 }")
            .arg(Theme::panel, Theme::text, Theme::separator, Theme::checkedBackground,
                 Theme::accent));
    auto* group = new QButtonGroup(box);
    for (size_t i = 0; i < titles.size(); ++i) {
        auto* button = new QPushButton(text(titles[i]));
        button->setCheckable(true);
        button->setAutoDefault(false);
        button->setChecked(int(i) == selected);
        group->addButton(button, int(i));
        row->addWidget(button);
    }
    QObject::connect(group, &QButtonGroup::idClicked, box, std::move(changed));
    return box;
}

QCheckBox* check(const std::string& title, const char* key) {
    auto* box = new QCheckBox(shortcutText(title));
    box->setChecked(Preferences::boolValue(key));
    QObject::connect(box, &QCheckBox::toggled, box,
                     [key = std::string(key)](bool on) { Preferences::setBool(key, on); });
    return box;
}

QLabel* section(const std::string& title) {
    QLabel* label = PanelStyle::heading(title, 11);
    label->setContentsMargins(0, 10, 0, 2);
    return label;
}

QString swatchStyle(const QColor& colour) {
    return QString("QPushButton { background: %1; border: 1px solid %2; border-radius: 4px }")
        .arg(colour.name(), Theme::secondaryText);
}

}  // namespace

SettingsView::SettingsView(std::optional<Ports> ports, QWidget* parent) : QWidget(parent) {
    setFixedWidth(500);
    auto* form = new QFormLayout(this);
    form->setContentsMargins(28, 16, 28, 20);
    form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
    form->setHorizontalSpacing(14);
    form->setVerticalSpacing(8);
    form->setRowWrapPolicy(QFormLayout::DontWrapRows);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);

    form->addRow(section(L("Général", "General")));
    auto* language = new QComboBox;
    for (AppLanguage choice : allAppLanguages) language->addItem(text(label(choice)));
    language->setCurrentIndex(int(Localization::current()));
    connect(language, &QComboBox::currentIndexChanged, this, [](int index) {
        if (index >= 0 && index < int(allAppLanguages.size()))
            Localization::setCurrent(allAppLanguages[size_t(index)]);
    });
    form->addRow(text(L("Langue", "Language")), language);
    form->addRow(QString(), PanelStyle::secondary(
                                L("La nouvelle langue s'applique au prochain lancement de Vistrel.",
                                  "The new language applies the next time Vistrel starts.")));

    form->addRow(section(L("Navigation", "Navigation")));
    form->addRow(text(L("Deux doigts (trackpad)", "Two fingers (trackpad)")),
                 segments({L("Orbite", "Orbit"), L("Zoom", "Zoom")},
                          Preferences::boolValue("twoFingerScrollZooms") ? 1 : 0, [](int index) {
                              Preferences::setBool("twoFingerScrollZooms", index == 1);
                              viewport::ViewportView::twoFingerScrollZooms = index == 1;
                          }));

    form->addRow(
        section(L("Affichage par défaut (nouvelles fenêtres)", "Default display (new windows)")));
    form->addRow(check(L("Afficher les arêtes (⌘E)", "Show edges (⌘E)"), "showsEdges"));
    form->addRow(check(L("Ombres portées (⌥⌘O)", "Cast shadows (⌥⌘O)"), "shadowsEnabled"));
    form->addRow(
        check(L("Occlusion ambiante (⌥⌘A)", "Ambient occlusion (⌥⌘A)"), "ambientOcclusionEnabled"));
    auto* strength = new QWidget;
    auto* strengthRow = new QHBoxLayout(strength);
    strengthRow->setContentsMargins(0, 0, 0, 0);
    auto* slider = new QSlider(Qt::Horizontal);
    slider->setFixedWidth(180);
    slider->setRange(0, 200);
    slider->setValue(int(std::lround(Preferences::ambientOcclusionIntensity() * 100)));
    auto* percent = new QLabel(QString("%1 %").arg(slider->value()));
    percent->setStyleSheet(QString("color: %1").arg(Theme::secondaryText));
    connect(slider, &QSlider::valueChanged, this, [percent](int value) {
        percent->setText(QString("%1 %").arg(value));
        Preferences::setAmbientOcclusionIntensity(float(value) / 100.0f);
    });
    strengthRow->addWidget(slider);
    strengthRow->addWidget(percent);
    strengthRow->addStretch();
    form->addRow(text(L("Importance SSAO", "SSAO strength")), strength);
    form->addRow(check(L("Grille et axes XYZ (⌥⌘G)", "Grid and XYZ axes (⌥⌘G)"), "showsGrid"));

    const auto style = viewport::backdropStyleFromRaw(Preferences::backdropStyleRaw())
                           .value_or(viewport::BackdropStyle::architecturalSky);
    int styleIndex = 0;
    for (size_t i = 0; i < viewport::allBackdropStyles.size(); ++i)
        if (viewport::allBackdropStyles[i] == style) styleIndex = int(i);
    auto* backdrop = new QWidget;
    auto* backdropRow = new QHBoxLayout(backdrop);
    backdropRow->setContentsMargins(0, 0, 0, 0);
    backdropRow->addWidget(segments(
        {L("Ciel", "Sky"), L("Studio", "Studio"), L("Papier", "Paper"), L("Couleur", "Color")},
        styleIndex, [](int index) {
            Preferences::setBackdropStyleRaw(
                std::string(viewport::rawValue(viewport::allBackdropStyles[size_t(index)])));
        }));
    auto* well = new QPushButton;
    well->setFixedSize(36, 22);
    const Float3 rgb = Preferences::customBackdropColor();
    well->setStyleSheet(swatchStyle(QColor::fromRgbF(rgb.x, rgb.y, rgb.z)));
    connect(well, &QPushButton::clicked, this, [this, well] {
        const Float3 now = Preferences::customBackdropColor();
        const QColor chosen = QColorDialog::getColor(QColor::fromRgbF(now.x, now.y, now.z), this);
        if (!chosen.isValid()) return;
        Preferences::setCustomBackdropColor(
            {float(chosen.redF()), float(chosen.greenF()), float(chosen.blueF())});
        well->setStyleSheet(swatchStyle(chosen));
    });
    backdropRow->addWidget(well);
    backdropRow->addStretch();
    form->addRow(text(L("Fond de scène", "Backdrop")), backdrop);

    const RemoteControlServer& server = RemoteControlServer::shared();
    const Ports live = ports.value_or(Ports{server.oscPort(), server.httpPort()});
    const std::string out = std::to_string(Preferences::oscOutPort());
    const std::string osc = std::to_string(live.osc);
    const std::string http = std::to_string(live.http);
    form->addRow(section(L("OSC, Partivox & MCP", "OSC, Partivox & MCP")));
    form->addRow(check(
        L("Retour OSC vers Partivox (:" + out + ")", "OSC feedback to Partivox (:" + out + ")"),
        "oscFeedbackEnabled"));
    form->addRow(PanelStyle::secondary(
        L("HTTP et OSCQuery : port TCP " + http, "HTTP and OSCQuery: TCP port " + http)));

    form->addRow(section(L("Confidentialité", "Privacy")));
    form->addRow(PanelStyle::secondary(
        L("Vistrel écoute l'OSC sur le port UDP " + osc + " et HTTP sur le port TCP " + http +
              ", et s'annonce par Bonjour sur le réseau local. Sa seule connexion sortante est "
              "la recherche de mises à jour.",
          "Vistrel listens for OSC on UDP port " + osc + " and for HTTP on TCP port " + http +
              ", and announces itself over Bonjour on the local network. Its only outgoing "
              "connection is the update check.")));
    auto* autoCheck = new QCheckBox(
        text(L("Vérifier les mises à jour au lancement", "Check for updates on launch")));
    autoCheck->setChecked(Updater::autoCheckOnLaunch());
    connect(autoCheck, &QCheckBox::toggled, this, &Updater::setAutoCheckOnLaunch);
    form->addRow(autoCheck);
    QPushButton* checkNow = PanelStyle::button(L("Rechercher…", "Check Now…"));
    checkNow->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    connect(checkNow, &QPushButton::clicked, this, [] { AuxiliaryWindows::checkForUpdates(); });
    form->addRow(QString(), checkNow);
}

}  // namespace vistrel::app
