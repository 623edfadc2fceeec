// vistrel-thumbnailer -s SIZE INPUT OUTPUT: the file manager's thumbnail of a drawing, as a PNG
// whose longest side is at most SIZE. The drawing's own preview where it carries one, else its
// first view rendered headless. Status 0 when OUTPUT was written, 1 when the file gave no
// picture (nothing is written then), 2 for a bad command line.
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string_view>

#include "HeaderPreview.h"
#include "ModelThinning.h"
#include "gl/HeadlessSnapshot.h"
#include "image/PNGFile.h"
#include "model/SKPError.h"
#include "settings/Localization.h"
#include "sketchup/SKPReader.h"

using namespace vistrel;

namespace {

using Clock = std::chrono::steady_clock;

// File managers give up on a thumbnailer after a few seconds; the load stops here so that the
// render still fits in the whole budget of five.
constexpr auto loadBudget = std::chrono::milliseconds(3500);

int fail(std::string message) {
    std::replace(message.begin(), message.end(), '\n', ' ');
    std::cerr << "vistrel-thumbnailer: " << message << "\n";
    return 1;
}

// Writes through a temporary file in the output's own folder, so that a reader never sees half
// a PNG and a failure leaves nothing behind.
bool writeAtomically(const viewport::Image& image, const std::filesystem::path& output,
                     std::string& error) {
    std::filesystem::path folder = output.parent_path();
    if (folder.empty()) folder = ".";
    std::string pattern = (folder / ("." + output.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkstemp(pattern.data());
    if (fd < 0) {
        error = "cannot write in " + folder.string();
        return false;
    }
    ::close(fd);
    std::error_code ec;
    if (!viewport::PNGFile::write(image, pattern, error)) {
        std::filesystem::remove(pattern, ec);
        return false;
    }
    std::filesystem::rename(pattern, output, ec);
    if (ec) {
        error = "cannot write " + output.string() + ": " + ec.message();
        std::filesystem::remove(pattern, ec);
        return false;
    }
    return true;
}

// The DXF reader draws whatever a cut file holds, as a viewer should; a thumbnail of half a
// drawing would stand for the whole, so a DXF must end with its EOF group (or, as some writers
// leave it, the end of a section).
bool dxfIsComplete(const std::filesystem::path& input) {
    std::ifstream in(input, std::ios::binary | std::ios::ate);
    const std::streamoff size = in ? std::streamoff(in.tellg()) : 0;
    const std::streamoff tail = std::min<std::streamoff>(size, 64);
    std::string end(size_t(tail), '\0');
    if (!in.seekg(size - tail) || !in.read(end.data(), tail)) return false;
    while (!end.empty() &&
           std::string_view(" \t\r\n\0\x1a", 6).find(end.back()) != std::string_view::npos)
        end.pop_back();
    return end.ends_with("EOF") || end.ends_with("ENDSEC");
}

std::optional<viewport::Image> renderFirstView(const std::filesystem::path& input, int size,
                                               std::string& error) {
    const auto deadline = Clock::now() + loadBudget;
    try {
        SKPModel model = SKPReader::load(input, {}, [deadline] { return Clock::now() > deadline; });
        thumbnailer::thinToBudget(model);
        return viewport::HeadlessSnapshot::render(model, {size, size}, error);
    } catch (const SKPError& e) {
        error = e.kind() == SKPError::Kind::cancelled ? "too large to draw in time"
                                                      : e.errorDescription();
        return std::nullopt;
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + 1, argv + argc);
    int size = 0;
    if (arguments.size() != 4 || arguments[0] != "-s" ||
        std::from_chars(arguments[1].data(), arguments[1].data() + arguments[1].size(), size).ptr !=
            arguments[1].data() + arguments[1].size() ||
        size < 1 || size > 4096) {
        std::cerr << "usage: vistrel-thumbnailer -s SIZE INPUT OUTPUT.png\n";
        return 2;
    }
    // Headless tools speak English whatever the stored preference.
    Localization::setCommandLine({"--lang", "en"});
    const std::filesystem::path input(arguments[2]), output(arguments[3]);

    SKPFileInfo info;
    try {
        info = SKPFileInfo::read(input);
    } catch (const SKPError& e) {
        return fail(e.errorDescription());
    }
    if (info.isDXF() && !dxfIsComplete(input))
        return fail(input.string() + ": the file is cut short");
    std::string error;
    std::optional<viewport::Image> picture = thumbnailer::headerPreview(info);
    if (!picture) picture = renderFirstView(input, size, error);
    if (!picture) return fail(input.string() + ": " + error);
    if (!writeAtomically(thumbnailer::fitWithin(*picture, size), output, error)) return fail(error);
    return 0;
}
