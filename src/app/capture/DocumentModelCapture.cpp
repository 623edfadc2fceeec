// Pictures of the view and hand-over of the file to other applications.
#include <QFileInfo>
#include <QPointer>
#include <QString>
#include <QTimer>

#include <chrono>
#include <cmath>

#include "capture/AtomicFile.h"
#include "capture/PNGBytes.h"
#include "capture/Workspace.h"
#include "documents/DocumentModel.h"
#include "pdf/VectorPDFExporter.h"
#include "settings/Localization.h"
#include "sketchup/SketchUpAPI.h"

namespace vistrel::app {

namespace fs = std::filesystem;

namespace {

constexpr double kFlashSeconds = 2.0;

std::string failedWriteMessage(const fs::path& path, const std::string& reason) {
    const QString name = QString::fromStdString(path.filename().string());
    const QString folder = QFileInfo(QString::fromStdString(path.string())).absolutePath();
    const QString text = QString::fromStdString(
        L("Le fichier « %1 » n’a pas pu être enregistré dans le dossier « %2 » : %3",
          "The file “%1” couldn’t be saved in the folder “%2”: %3"));
    return text.arg(name, folder, QString::fromStdString(reason)).toStdString();
}

}  // namespace

void DocumentModel::singleShotAfter(double seconds, std::function<void()> action) {
    const auto delay = std::chrono::milliseconds(std::lround(seconds * 1000));
    QTimer::singleShot(delay, Qt::PreciseTimer, std::move(action));
}

void DocumentModel::copyImage() {
    if (!isReady()) return;
    auto image = viewport_.snapshot();
    if (!image) return;
    auto png = pngBytes(*image);
    if (!png) return;
    Workspace::current().copyPNG(*png);
    flash(L("Image copiée dans le presse-papiers", "Image copied to clipboard"));
}

void DocumentModel::exportImage() {
    if (!isReady()) return;
    std::optional<std::vector<std::uint8_t>> png;
    if (auto image = viewport_.snapshot()) png = pngBytes(*image);
    if (!png) return;
    saveExport(*png, "png", L("Exporter l'image PNG", "Export PNG Image"),
               L("Image PNG exportée", "PNG image exported"));
}

void DocumentModel::exportVectorPDF() {
    if (!isReady()) return;
    auto pdf = renderVectorPDF(std::nullopt);
    if (!pdf) return;
    saveExport(*pdf, "pdf", L("Exporter la vue en PDF vectoriel", "Export View as Vector PDF"),
               L("PDF vectoriel exporté", "Vector PDF exported"));
}

std::optional<std::vector<std::uint8_t>> DocumentModel::renderVectorPDF(
    std::optional<Float2> pageSize) {
    if (!isReady() || !skp_) return std::nullopt;
    return viewport::VectorPDFExporter::renderPDF(*skp_, vectorPDFOptions(pageSize));
}

viewport::VectorPDFExporter::Options DocumentModel::vectorPDFOptions(
    std::optional<Float2> pageSize) const {
    namespace Exporter = viewport::VectorPDFExporter;
    Exporter::Options options = Exporter::optionsFor(settings());
    options.pageSize = Exporter::pageSizeForView(pageSize, viewport_.size());
    if (auto pose = viewport_.cameraPose()) options.pose = *pose;
    // The view's projection, which a 2D drawing may hold against the document's.
    options.isPerspective = viewport_.isPerspective();
    options.pointLights = pointLights_;
    options.visibleLayers = layerVisible_;
    return options;
}

std::string DocumentModel::suggestedExportName(const std::string& extension) const {
    std::string stem = info_ ? info_->url.stem().string() : "Vistrel";
    return stem + "." + extension;
}

void DocumentModel::saveExport(const std::vector<std::uint8_t>& bytes, const std::string& extension,
                               const std::string& title, const std::string& doneMessage) {
    Workspace& workspace = Workspace::current();
    // The panel runs an event loop of its own, in which the document may close.
    QPointer<DocumentModel> self(this);
    auto path = workspace.runSavePanel({extension, suggestedExportName(extension), title});
    if (!path) return;
    if (auto failure = AtomicFile::write(bytes, *path)) {
        workspace.presentError(failedWriteMessage(*path, *failure));
        return;
    }
    if (self) flash(doneMessage);
}

void DocumentModel::flash(std::string text) {
    setFlashMessage(text);
    QPointer<DocumentModel> self(this);
    scheduleAfter(kFlashSeconds, [self, text = std::move(text)] {
        // Only its own message: a newer one keeps its full time.
        if (self && self->flashMessage_ == text) self->setFlashMessage(std::nullopt);
    });
}

void DocumentModel::openInSketchUp() {
    if (!info_ || !sketchUpApp_) return;
    Workspace::current().open(info_->url, *sketchUpApp_);
}

void DocumentModel::revealInFinder() {
    if (!info_) return;
    Workspace::current().reveal(info_->url);
}

std::optional<fs::path> DocumentModel::sketchUpApp(const fs::path& url) const {
    if (auto location = SketchUpAPI::locate()) {
        // <application>/Contents/Frameworks/SketchUpAPI.framework: the library in use came
        // from inside that application.
        fs::path app = location->frameworkURL;
        if (!app.has_filename()) app = app.parent_path();
        for (int i = 0; i < 3; ++i) app = app.parent_path();
        if (app.extension() == ".app" && app.filename().string().starts_with("SketchUp"))
            return app;
    }
    for (const auto& application : Workspace::current().applicationsOpening(url))
        if (application.name.starts_with("SketchUp")) return application.url;
    return std::nullopt;
}

}  // namespace vistrel::app
