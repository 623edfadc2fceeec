#include "documents/SKPDocument.h"

#include <QCoreApplication>
#include <QThreadPool>
#include <QWidget>

#include <chrono>
#include <cstdio>
#include <system_error>

#include "model/SKPError.h"
#include "remote/RemoteControlServer.h"
#include "settings/Localization.h"
#include "ui/DocumentWindow.h"
#include "ui/MainMenu.h"
#include "vocabulary/ShadingStyle.h"

namespace vistrel::app {

namespace {

// Its own pool so that loads never wait behind each other or behind Qt's own work.
QThreadPool& loadPool() {
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(256);
        return p;
    }();
    return *pool;
}

// Queues `work` on the main thread; it runs only while the model still exists.
void onMainThread(QPointer<DocumentModel> model, std::function<void(DocumentModel&)> work) {
    QCoreApplication* app = QCoreApplication::instance();
    if (!app) return;
    QMetaObject::invokeMethod(
        app,
        [model, work = std::move(work)] {
            if (model) work(*model);
        },
        Qt::QueuedConnection);
}

bool isLoading(const DocumentModel& model) {
    return std::holds_alternative<DocumentModel::Loading>(model.state());
}

double secondsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

void deleteTextureFolder(const std::optional<std::filesystem::path>& folder) {
    if (!folder) return;
    std::error_code ignored;
    std::filesystem::remove_all(*folder, ignored);
}

SKPDocument::SKPDocument(QObject* parent)
    : QObject(parent),
      loader([](const std::filesystem::path& url, const SKPReader::ProgressCallback& progress,
                const SKPReader::CancelCheck& isCancelled) {
          return SKPReader::load(url, progress, isCancelled);
      }),
      model_(std::make_unique<DocumentModel>(timer_, clock_)) {}

SKPDocument::~SKPDocument() {
    cancelled_->set();
    if (window_) delete window_.data();
}

std::vector<std::string> SKPDocument::readableTypes() {
    return {"com.sketchup.skp", "com.autodesk.dwg", "com.autodesk.dxf"};
}

void SKPDocument::read(const std::filesystem::path& url) {
    SKPFileInfo info = SKPFileInfo::read(url);
    url_ = url;
    model_->setInfo(std::move(info));
}

void SKPDocument::makeWindowControllers() {
    if (window_) return;
    window_ = new DocumentWindow(*this);
}

QWidget* SKPDocument::window() const {
    return window_.data();
}

void SKPDocument::showWindows() {
    if (window_) {
        window_->show();
        window_->raise();
        window_->activateWindow();
    }
    startLoading();
}

void SKPDocument::startLoading() {
    if (loadStarted_ || !url_) return;
    loadStarted_ = true;
    const auto start = std::chrono::steady_clock::now();
    QPointer<DocumentModel> model = model_.get();
    loadPool().start([url = *url_, model, cancelled = cancelled_, start, load = loader] {
        auto progress = [model](const SKPReader::Progress& report) {
            onMainThread(model, [report](DocumentModel& m) {
                // A report that arrives after the end is dropped.
                if (isLoading(m)) m.setState(DocumentModel::Loading{report});
            });
        };
        auto isCancelled = [cancelled] { return cancelled->get(); };
        auto fail = [model](std::string description) {
            onMainThread(model, [description](DocumentModel& m) {
                m.setState(DocumentModel::Failed{description});
            });
        };

        std::shared_ptr<viewport::ViewportScene> scene;
        try {
            SKPModel loaded = load(url, progress, isCancelled);
            if (cancelled->get()) {
                deleteTextureFolder(loaded.textureDirectory);
                return;
            }
            const int64_t faces = loaded.stats.faces;
            onMainThread(model, [faces](DocumentModel& m) {
                if (!isLoading(m)) return;
                m.setState(DocumentModel::Loading{SKPReader::Progress{
                    L("Assemblage de la géométrie GPU…", "Assembling GPU geometry…"), faces,
                    0.94}});
            });
            // The bar keeps moving through the assembly, from where the load left it.
            auto assembly = [model, faces](double fraction) {
                onMainThread(model, [faces, fraction](DocumentModel& m) {
                    if (!isLoading(m)) return;
                    m.setState(DocumentModel::Loading{SKPReader::Progress{
                        L("Assemblage de la géométrie GPU…", "Assembling GPU geometry…"), faces,
                        0.94 + 0.06 * fraction}});
                });
            };
            scene = std::make_shared<viewport::ViewportScene>(std::move(loaded), assembly);
        } catch (const SKPError& error) {
            fail(error.errorDescription());
            return;
        } catch (const std::bad_alloc&) {
            fail(L("Mémoire insuffisante pour ouvrir ce modèle.",
                   "Not enough memory to open this model."));
            return;
        } catch (const std::exception& error) {
            // A reader fault is still the file we could not read; the cause goes to the log.
            std::fprintf(stderr, "vistrel: %s: %s\n", url.string().c_str(), error.what());
            fail(SKPError::unreadable(url).errorDescription());
            return;
        } catch (...) {
            fail(SKPError::unreadable(url).errorDescription());
            return;
        }

        const auto textures = scene->model().textureDirectory;
        QCoreApplication* app = QCoreApplication::instance();
        if (!app) return;
        // Not through onMainThread: the textures must go even when the model is gone.
        QMetaObject::invokeMethod(
            app,
            [model, cancelled, scene, textures, start]() mutable {
                if (cancelled->get() || !model) {
                    deleteTextureFolder(textures);
                    return;
                }
                RemoteControlServer::shared().attachFeedbackIfNeeded(*model);
                model->present(std::move(scene), secondsSince(start));
            },
            Qt::QueuedConnection);
    });
}

void SKPDocument::waitForLoads() {
    loadPool().waitForDone();
}

void SKPDocument::close() {
    if (closed_) return;
    closed_ = true;
    cancelled_->set();
    if (const SKPModel* skp = model_->skp()) deleteTextureFolder(skp->textureDirectory);
    emit closing();
    if (window_) {
        window_->hide();
        window_->deleteLater();
    }
    deleteLater();
}

// MARK: Menu commands

bool SKPDocument::isHidden(Action action) const {
    return action == Action::openInSketchUp && !model_->sketchUpApp();
}

bool SKPDocument::validate(Action action, int, bool focusInTextField) const {
    const DocumentModel& m = *model_;
    const bool ready = m.isReady();
    const bool hasScenes = ready && m.skp() && !m.skp()->scenes.empty();
    switch (action) {
        case Action::openInSketchUp:
            return !isHidden(action);
        case Action::revealInFinder:
            return true;
        case Action::toggleSidebarPanel:
            return m.skp() != nullptr;
        case Action::toggleShadows:
            return ready && m.lightingMode() == viewport::LightingMode::sun;
        case Action::selectShadingStyle:
        case Action::lookStandard:
        case Action::toggleEdges:
        case Action::toggleGrid:
        case Action::togglePerspective:
        case Action::toggleLightingMode:
        case Action::toggleAmbientOcclusion:
        case Action::toggleFreeFlight:
        case Action::copyImage:
        case Action::exportImage:
        case Action::exportVectorPDF:
            return ready;
        case Action::previousScene:
        case Action::nextScene:
        case Action::previousSceneSlow:
        case Action::nextSceneSlow:
            return hasScenes;
        case Action::resetView:
        case Action::zoomExtents:
            return ready && !focusInTextField && !m.isFreeFlying();
    }
    return false;
}

bool SKPDocument::isChecked(Action action, int tag) const {
    const DocumentModel& m = *model_;
    switch (action) {
        case Action::toggleSidebarPanel:
            return m.showSidebar();
        case Action::toggleEdges:
            return m.showsEdges();
        case Action::toggleGrid:
            return m.showsGrid();
        case Action::togglePerspective:
            return m.isPerspective();
        case Action::toggleShadows:
            return m.shadowsEnabled();
        case Action::toggleLightingMode:
            return m.lightingMode() == viewport::LightingMode::point;
        case Action::toggleAmbientOcclusion:
            return m.ambientOcclusionEnabled();
        case Action::toggleFreeFlight:
            return m.isFreeFlying();
        case Action::selectShadingStyle:
            return tag >= 0 && size_t(tag) < viewport::allShadingStyles.size() &&
                   viewport::allShadingStyles[size_t(tag)] == m.shadingStyle();
        case Action::lookStandard:
            return tag >= 0 && size_t(tag) < MainMenu::cameraViews().size() &&
                   m.activeStandardView() == MainMenu::cameraViews()[size_t(tag)].view;
        default:
            return false;
    }
}

void SKPDocument::perform(Action action, int tag) {
    DocumentModel& m = *model_;
    const bool ready = m.isReady();
    switch (action) {
        case Action::openInSketchUp:
            m.openInSketchUp();
            break;
        case Action::revealInFinder:
            m.revealInFinder();
            break;
        case Action::toggleSidebarPanel:
            m.toggleSidebar();
            break;
        case Action::toggleEdges:
            m.toggleEdges();
            break;
        case Action::toggleGrid:
            m.toggleGrid();
            break;
        case Action::togglePerspective:
            m.setPerspective(!m.isPerspective());
            break;
        case Action::toggleShadows:
            m.toggleShadows();
            break;
        case Action::toggleLightingMode:
            m.setLightingMode(m.lightingMode() == viewport::LightingMode::sun
                                  ? viewport::LightingMode::point
                                  : viewport::LightingMode::sun);
            break;
        case Action::toggleAmbientOcclusion:
            m.toggleAmbientOcclusion();
            break;
        case Action::toggleFreeFlight:
            if (ready) m.viewport().setFreeFlying(!m.viewport().isFreeFlying());
            break;
        case Action::selectShadingStyle:
            if (tag >= 0 && size_t(tag) < viewport::allShadingStyles.size())
                m.setShadingStyle(viewport::allShadingStyles[size_t(tag)]);
            break;
        case Action::previousScene:
            m.previousScene();
            break;
        case Action::nextScene:
            m.nextScene();
            break;
        case Action::previousSceneSlow:
            m.previousScene(true);
            break;
        case Action::nextSceneSlow:
            m.nextScene(true);
            break;
        case Action::resetView:
            m.resetView();
            break;
        case Action::zoomExtents:
            if (ready) m.viewport().zoomExtents(true);
            break;
        case Action::copyImage:
            m.copyImage();
            break;
        case Action::exportImage:
            m.exportImage();
            break;
        case Action::exportVectorPDF:
            m.exportVectorPDF();
            break;
        case Action::lookStandard:
            if (ready && tag >= 0 && size_t(tag) < MainMenu::cameraViews().size()) {
                m.lookStandardView(MainMenu::cameraViews()[size_t(tag)].view);
            }
            break;
    }
}

}  // namespace vistrel::app
