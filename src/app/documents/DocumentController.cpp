#include "documents/DocumentController.h"

#include <QApplication>
#include <QFileDialog>
#include <QString>
#include <QWidget>

#include <algorithm>
#include <cassert>

#include "capture/Workspace.h"
#include "documents/SKPDocument.h"
#include "identify/SKPFileInfo.h"
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "ui/KeepActiveWindow.h"

namespace vistrel::app {

namespace {

DocumentController* sharedController = nullptr;

std::filesystem::path absolutePath(const std::filesystem::path& url) {
    std::error_code ignored;
    auto path = std::filesystem::absolute(url, ignored);
    return path.empty() ? url : path.lexically_normal();
}

}  // namespace

DocumentController::DocumentController() {
    if (!sharedController) sharedController = this;
}

DocumentController::~DocumentController() {
    closeAll();
    if (sharedController == this) sharedController = nullptr;
}

DocumentController* DocumentController::shared() {
    return sharedController;
}

std::optional<std::string> DocumentController::typeForContents(const std::filesystem::path& url,
                                                               std::string* error) {
    const std::string extension = lowercaseExtension(url);
    if (extension == "skp") return contentType;
    if (extension == "dwg") return dwgContentType;
    if (extension == "dxf") return dxfContentType;
    if (error) {
        const std::string name = url.filename().string();
        *error = L("Le document « " + name +
                       " » n'a pas pu être ouvert. Vistrel ne peut pas ouvrir les fichiers de "
                       "ce type.",
                   "The document “" + name +
                       "” could not be opened. Vistrel cannot open files of this type.");
    }
    return std::nullopt;
}

SKPDocument* DocumentController::documentFor(const std::filesystem::path& url) const {
    const auto wanted = absolutePath(url);
    for (SKPDocument* document : documents_)
        if (document->fileURL() && absolutePath(*document->fileURL()) == wanted) return document;
    return nullptr;
}

void DocumentController::openDocument(const std::filesystem::path& url, bool display,
                                      const Completion& completion) {
    auto finish = [&](SKPDocument* document, const std::optional<std::string>& error) {
        if (completion) completion(document, error);
    };
    if (SKPDocument* open = documentFor(url)) {
        if (display) open->showWindows();
        finish(open, std::nullopt);
        return;
    }
    std::string error;
    if (!typeForContents(url, &error)) {
        finish(nullptr, error);
        return;
    }
    auto* document = new SKPDocument(this);
    try {
        document->read(absolutePath(url));
    } catch (const SKPError& failure) {
        delete document;
        finish(nullptr, failure.errorDescription());
        return;
    }
    documents_.push_back(document);
    connect(document, &SKPDocument::closing, this, [this, document] {
        documents_.erase(std::remove(documents_.begin(), documents_.end(), document),
                         documents_.end());
        emit documentsChanged();
    });
    emit documentsChanged();
    if (display) document->makeWindowControllers();
    document->showWindows();
    finish(document, std::nullopt);
}

std::string DocumentController::panelMessage() {
    return L("Choisissez un ou plusieurs fichiers SketchUp (.skp) ou AutoCAD (.dwg, .dxf).",
             "Choose one or more SketchUp (.skp) or AutoCAD (.dwg, .dxf) files.");
}

QString DocumentController::panelNameFilter() {
    // Qt matches name filters case-sensitively on Linux, so each letter takes both cases:
    // "plan.Dxf" is as much a drawing as "plan.dxf".
    QStringList patterns;
    for (const std::string& extension : allowedExtensions) {
        QString pattern = "*.";
        for (char c : extension) {
            const QChar letter(c);
            pattern += letter.isLetter()
                           ? QString("[%1%2]").arg(letter.toLower()).arg(letter.toUpper())
                           : QString(letter);
        }
        patterns << pattern;
    }
    return QString::fromStdString(L("Fichiers SketchUp et AutoCAD", "SketchUp and AutoCAD files")) +
           " (" + patterns.join(' ') + ")";
}

void DocumentController::openDocument(QWidget* parent) {
    KeepActiveWindow keep;
    QFileDialog dialog(parent ? parent : keep.window(), QString::fromStdString(panelMessage()));
    dialog.setFileMode(QFileDialog::ExistingFiles);
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setNameFilter(panelNameFilter());
    if (dialog.exec() != QDialog::Accepted) return;
    keep.release();
    std::vector<std::string> paths;
    for (const QString& file : dialog.selectedFiles()) paths.push_back(file.toStdString());
    openFiles(paths);
}

void DocumentController::openFiles(const std::vector<std::string>& paths) {
    for (const std::string& path : paths)
        openDocument(path, true, [](SKPDocument*, const std::optional<std::string>& error) {
            if (error) Workspace::current().presentError(*error);
        });
}

SKPDocument* DocumentController::currentDocument() const {
    QWidget* active = QApplication::activeWindow();
    if (!active) return nullptr;
    for (SKPDocument* document : documents_)
        if (document->window() == active) return document;
    return nullptr;
}

void DocumentController::closeAll() {
    for (SKPDocument* document : std::vector<SKPDocument*>(documents_)) document->close();
    documents_.clear();
    SKPDocument::waitForLoads();
}

}  // namespace vistrel::app
