// The one place where paths become documents: which files are accepted, the open panel, and
// the list of open documents. A file already open is brought to the front, not opened twice.
// The first controller made is the shared one. Main thread only.
#pragma once

#include <QObject>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class QWidget;

namespace vistrel::app {

class SKPDocument;

class DocumentController : public QObject {
    Q_OBJECT

  public:
    static inline const std::vector<std::string> allowedExtensions{"skp", "dwg", "dxf"};
    static constexpr const char* contentType = "com.sketchup.skp";
    static constexpr const char* dwgContentType = "com.autodesk.dwg";
    static constexpr const char* dxfContentType = "com.autodesk.dxf";

    // With no document; `error` is in the user's language.
    using Completion = std::function<void(SKPDocument*, const std::optional<std::string>& error)>;

    DocumentController();
    ~DocumentController() override;
    // The first controller made; null before one exists.
    static DocumentController* shared();

    // The type of a file by its extension, whatever its case; the content is not looked at.
    // Absent for any other extension, with the reason in `error`.
    static std::optional<std::string> typeForContents(const std::filesystem::path& url,
                                                      std::string* error = nullptr);

    // Reads the header, makes the document and, with `display`, its window, then starts the
    // load. Calls `completion` before returning, with the document or the error.
    void openDocument(const std::filesystem::path& url, bool display,
                      const Completion& completion = {});
    // Shows the open panel; every chosen file is opened, failures shown with presentError.
    void openDocument(QWidget* parent = nullptr);
    // Opens each file, showing each failure; the others go on.
    void openFiles(const std::vector<std::string>& paths);

    const std::vector<SKPDocument*>& documents() const { return documents_; }
    SKPDocument* documentFor(const std::filesystem::path& url) const;
    // The document whose window has the keyboard focus; null when none has.
    SKPDocument* currentDocument() const;
    // Closes every document and waits for their loads to end, for a clean exit.
    void closeAll();

    // The panel's words, in the user's language.
    static std::string panelMessage();
    // The panel's name filter: the three extensions in any letter case.
    static QString panelNameFilter();

  signals:
    void documentsChanged();

  private:
    std::vector<SKPDocument*> documents_;
};

}  // namespace vistrel::app
