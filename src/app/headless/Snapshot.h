// The program's own screens as PNG files, without a user: the whole document window with its 3D
// view, or a panel; and a menu printed as text. It runs the real window on Qt's offscreen
// platform and the 3D view through EGL, so it needs no display and no GPU, and it refuses to
// call a blank 3D view a success.
//
// run() and listMenu() end the process (HeadlessRun::exit) with the exit status: 0 done, 1 a load,
// render, write or menu failure, 2 an unknown view name. Main thread only, inside the QApplication.
#pragma once

#include <QImage>
#include <QRect>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "image/Image.h"

class QWidget;

namespace vistrel::viewport {
class ViewportScene;
}

namespace vistrel::app {

class SKPDocument;

namespace Snapshot {

// The document window's size in points.
inline constexpr int width = 1380, height = 820;

struct Rendering {
    QImage bitmap;
    // Where the 3D view lies in the bitmap, in pixels; absent for a panel.
    std::optional<QRect> viewport;
};

// Renders `view` ("document" when absent or empty; otherwise the name of a panel) of `input`
// (the synthetic cube when absent) into `output`. VISTREL_SNAPSHOT_MENU turns the run into
// listMenu(); VISTREL_SNAPSHOT_WINDOW names the view when `view` is absent; the other
// VISTREL_SNAPSHOT_* variables set the document's lighting, backdrop and ambient occlusion.
[[noreturn]] void run(const std::string& output, const std::optional<std::string>& input,
                      const std::optional<std::string>& view);

// Prints each item of the main menu titled `title`, as a document of `input` (none when absent)
// sees it: key label, title, check mark, enabled or disabled.
[[noreturn]] void listMenu(const std::string& title, const std::optional<std::string>& input);

// The document's window at width x height showing `scene` presented after `seconds` of loading,
// with the view's picture in place of the live view. Absent when no bitmap can be made.
std::optional<Rendering> render(SKPDocument& document,
                                std::shared_ptr<viewport::ViewportScene> scene, double seconds);
// A panel at its fitting size.
std::optional<Rendering> render(QWidget& panel);

// Whether at least 8 of 48 x 48 samples over `rect` (the whole bitmap when absent), quantised to
// 6 bits a channel, differ from the commonest colour. Samples outside the bitmap are skipped.
bool isNonUniform(const QImage& bitmap, std::optional<QRect> rect = std::nullopt);

// PNG file bytes; absent when the image is empty or cannot be encoded.
std::optional<std::vector<std::uint8_t>> png(const QImage& image);
std::optional<std::vector<std::uint8_t>> png(const viewport::Image& image);

}  // namespace Snapshot
}  // namespace vistrel::app
