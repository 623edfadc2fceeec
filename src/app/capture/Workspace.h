// What the capture and hand-over commands need from the desktop: the clipboard, a modal save
// panel, the user's attention for an error, and the applications that open a file. One
// process-wide instance stands for the desktop; tests replace it with a recording fake.
// Main thread only.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vistrel::app {

class Workspace {
  public:
    // An application able to open a file. `url` identifies it for open(): a `.desktop` file, or
    // an application folder or program found some other way.
    struct Application {
        std::string name;
        std::filesystem::path url;
        friend bool operator==(const Application&, const Application&) = default;
    };

    struct SavePanel {
        std::string allowedExtension;  // without the dot: "png"
        std::string suggestedName;     // "model.png"
        std::string title;
    };

    virtual ~Workspace() = default;

    // Replaces what the clipboard holds with the bytes of one PNG image.
    virtual void copyPNG(const std::vector<std::uint8_t>& png) = 0;
    // Runs the panel to its end; the chosen path carries the allowed extension, or nothing when
    // the user cancelled.
    virtual std::optional<std::filesystem::path> runSavePanel(const SavePanel& panel) = 0;
    // Tells the user of a failure, in the user's language; returns once it was seen.
    virtual void presentError(const std::string& message) = 0;
    // The applications that open `file`, in the desktop's order of preference.
    virtual std::vector<Application> applicationsOpening(const std::filesystem::path& file) = 0;
    // Starts `application` on `file` and does not wait; failures are not reported.
    virtual void open(const std::filesystem::path& file,
                      const std::filesystem::path& application) = 0;
    // Shows `file` selected in the file browser.
    virtual void reveal(const std::filesystem::path& file) = 0;

    // The desktop of this process: a DesktopWorkspace unless a test set its own.
    static Workspace& current();
    // `workspace` must outlive its use; null goes back to the desktop.
    static void setCurrent(Workspace* workspace);
};

}  // namespace vistrel::app
