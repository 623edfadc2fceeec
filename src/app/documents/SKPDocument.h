// One open file: its DocumentModel, its window, and the load that fills the model.
//
// read() takes only the header, so the window can show the thumbnail and version at once;
// showWindows() starts the one load, on a worker of its own. The worker hands every result to
// the main thread, where only present() makes the document ready. close() cancels the load and
// removes the model's texture folder. Read-only by construction: no writable type, never
// edited, no path to saving. Main thread only, except the worker's use of the cancel box.
#pragma once

#include <QObject>
#include <QPointer>

#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "documents/DocumentModel.h"
#include "platform/QtRepeatingTimer.h"
#include "sketchup/SKPReader.h"
#include "timing/SteadyClock.h"

class QWidget;

namespace vistrel::app {

class SKPDocument : public QObject {
    Q_OBJECT

  public:
    // Reads a file into a model on the worker thread; throws SKPError.
    using Loader =
        std::function<SKPModel(const std::filesystem::path&, const SKPReader::ProgressCallback&,
                               const SKPReader::CancelCheck&)>;

    // The menu commands a document answers, with the rule of when each applies.
    enum class Action {
        openInSketchUp,
        revealInFinder,
        toggleSidebarPanel,
        toggleEdges,
        toggleGrid,
        togglePerspective,
        toggleShadows,
        toggleLightingMode,
        toggleAmbientOcclusion,
        toggleFreeFlight,
        selectShadingStyle,  // tag: the style's position
        previousScene,
        nextScene,
        previousSceneSlow,
        nextSceneSlow,
        resetView,
        zoomExtents,
        copyImage,
        exportImage,
        exportVectorPDF,
        lookStandard,  // tag: the standard view's position
    };

    explicit SKPDocument(QObject* parent = nullptr);
    ~SKPDocument() override;

    static constexpr bool autosavesInPlace() { return false; }
    static std::vector<std::string> readableTypes();
    static std::vector<std::string> writableTypes() { return {}; }
    static constexpr bool isNativeType(const std::string&) { return false; }
    static constexpr bool isDocumentEdited() { return false; }

    // The header only; throws SKPError when the file cannot be read. Fills the model's info.
    void read(const std::filesystem::path& url);
    const std::optional<std::filesystem::path>& fileURL() const { return url_; }

    DocumentModel& model() { return *model_; }
    const DocumentModel& model() const { return *model_; }

    // Makes the document's one window. Not called for documents that live without one (tests).
    void makeWindowControllers();
    QWidget* window() const;
    // Shows the window, if any, and starts the load; a second call starts nothing.
    void showWindows();
    void startLoading();
    // Cancels the load, removes the textures, closes the window; the document is deleted
    // later and the controller forgets it.
    void close();
    bool isClosed() const { return closed_; }

    // Menu commands: whether one applies now, whether it shows a check mark, and doing it.
    // `focusInTextField` is whether the window's keyboard focus is in a text field.
    bool validate(Action action, int tag = 0, bool focusInTextField = false) const;
    bool isChecked(Action action, int tag = 0) const;
    bool isHidden(Action action) const;
    void perform(Action action, int tag = 0);

    // How the worker reads; tests replace it before showWindows().
    Loader loader;

    // Where loads run: one thread per loading document. Waited for at exit.
    static void waitForLoads();

  signals:
    void closing();

  private:
    struct CancelBox {
        std::mutex lock;
        bool cancelled = false;
        void set() {
            std::lock_guard guard(lock);
            cancelled = true;
        }
        bool get() {
            std::lock_guard guard(lock);
            return cancelled;
        }
    };

    // Declared before the model, which they must outlive.
    QtRepeatingTimer timer_;
    viewport::SteadyClock clock_;
    std::unique_ptr<DocumentModel> model_;
    std::shared_ptr<CancelBox> cancelled_ = std::make_shared<CancelBox>();
    bool loadStarted_ = false;
    bool closed_ = false;
    std::optional<std::filesystem::path> url_;
    QPointer<QWidget> window_;
};

// Removes a texture folder and all in it, ignoring failures.
void deleteTextureFolder(const std::optional<std::filesystem::path>& folder);

}  // namespace vistrel::app
