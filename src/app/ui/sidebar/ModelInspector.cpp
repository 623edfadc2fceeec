#include "ui/sidebar/ModelInspector.h"

#include <QLabel>
#include <QScrollArea>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

#include "documents/DocumentModel.h"
#include "documents/Format.h"
#include "settings/Localization.h"
#include "ui/Theme.h"
#include "ui/sidebar/SidebarIcons.h"

namespace vistrel::app {

namespace {

constexpr int kMaterialsShown = 200;  // a file with thousands lists the first ones

QString words(std::string_view fr, std::string_view en) {
    return QString::fromStdString(L(fr, en));
}

QString html(const std::string& text) {
    return QString::fromStdString(text).toHtmlEscaped();
}

// Material colours are linear; the swatch shows them as the screen would.
int screenByte(float linear) {
    const float c = std::clamp(linear, 0.0f, 1.0f);
    const float s = c <= 0.0031308f ? 12.92f * c : 1.055f * std::pow(c, 1 / 2.4f) - 0.055f;
    return int(std::lround(s * 255));
}

QString row(const QString& label, const QString& value) {
    return QString("<tr><td style='color:%1; padding-right:8px'>%2</td><td>%3</td></tr>")
        .arg(Theme::secondaryText, label, value);
}

}  // namespace

ModelInspector::ModelInspector(DocumentModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      header_(new QToolButton(this)),
      body_(new QScrollArea(this)),
      content_(new QLabel) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    header_->setText(words("Inspecteur du modèle", "Model inspector"));
    header_->setCheckable(true);
    header_->setAutoRaise(true);
    header_->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    header_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    header_->setIconSize(QSize(14, 14));
    header_->setStyleSheet("QToolButton { border: none; padding: 5px 4px; }");
    layout->addWidget(header_);

    auto* scroll = static_cast<QScrollArea*>(body_);
    content_->setTextFormat(Qt::RichText);
    content_->setWordWrap(true);
    content_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    content_->setContentsMargins(12, 4, 8, 8);
    content_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    scroll->setWidget(content_);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scroll->setMaximumHeight(320);
    layout->addWidget(body_);

    auto fold = [this](bool open) {
        header_->setIcon(SidebarIcons::icon(open ? SidebarIcons::Symbol::chevronDown
                                                 : SidebarIcons::Symbol::chevronRight));
        body_->setVisible(open);
    };
    connect(header_, &QToolButton::toggled, this, fold);
    fold(false);

    for (auto signal : {&DocumentModel::infoChanged, &DocumentModel::skpChanged,
                        &DocumentModel::visibleSizeChanged, &DocumentModel::loadSecondsChanged})
        connect(&model_, signal, this, &ModelInspector::refresh);
    refresh();
}

bool ModelInspector::isOpen() const {
    return header_->isChecked();
}

QString ModelInspector::text() const {
    return content_->text();
}

void ModelInspector::refresh() {
    QString out = "<table cellspacing='0' cellpadding='1'>";
    const SKPModel* skp = model_.skp();
    // The header's reading while there is one; a model made in memory carries its own.
    const SKPFileInfo* file = model_.info() ? &*model_.info() : skp ? &skp->fileInfo : nullptr;
    if (file && !file->url.empty()) {
        out += row(words("Fichier", "File"), html(file->url.filename().string()));
        if (file->versionLabel) out += row(words("Version", "Version"), html(*file->versionLabel));
    }
    if (skp) {
        const Stats& s = skp->stats;
        const std::pair<int64_t, std::string> counts[] = {
            {s.faces, L("face", "face")},
            {s.triangles, "triangle"},
            {s.edges, L("arête", "edge")},
            {s.instances, "instance"},
            {s.definitions, L("définition", "definition")},
            {int64_t(skp->layers.size()), L("calque", "layer")},
            {int64_t(skp->scenes.size()), L("scène", "scene")},
        };
        QString lines;
        for (const auto& [n, label] : counts) {
            if (!lines.isEmpty()) lines += "<br>";
            lines += html(Format::count(n, label));
        }
        out += row(words("Contenu", "Contents"), lines);
    }
    const std::optional<Float3> size =
        model_.visibleSize() ? model_.visibleSize()
                             : (skp ? std::optional<Float3>(skp->size()) : std::nullopt);
    if (size)
        out += row(words("Dimensions", "Size"),
                   html(Format::decimal(size->x) + " × " + Format::decimal(size->y) + " × " +
                        Format::decimal(size->z) + " m"));
    if (auto seconds = model_.loadSeconds())
        out += row(words("Chargement", "Load time"), html(Format::decimal(*seconds) + " s"));
    out += "</table>";

    if (skp && !skp->materials.empty()) {
        out += QString("<p style='color:%1; margin-top:8px'>%2</p><table cellspacing='2'>")
                   .arg(Theme::secondaryText, html(Format::count(int64_t(skp->materials.size()),
                                                                 L("matériau", "material"))));
        const size_t shown = std::min<size_t>(skp->materials.size(), kMaterialsShown);
        for (size_t i = 0; i < shown; ++i) {
            const Material& m = skp->materials[i];
            const QColor swatch(screenByte(m.color.x), screenByte(m.color.y),
                                screenByte(m.color.z));
            out += QString("<tr><td bgcolor='%1' width='14'>&nbsp;</td><td>%2</td></tr>")
                       .arg(swatch.name(), html(m.name));
        }
        out += "</table>";
        if (shown < skp->materials.size())
            out +=
                QString("<p style='color:%1'>%2</p>")
                    .arg(Theme::secondaryText,
                         html(L("… et ", "… and ") + std::to_string(skp->materials.size() - shown) +
                              L(" autres", " more")));
    }
    content_->setText(out);
}

}  // namespace vistrel::app
