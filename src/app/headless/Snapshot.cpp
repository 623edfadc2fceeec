#include "headless/Snapshot.h"

#include <QBuffer>
#include <QEventLoop>
#include <QLayout>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <array>
#include <cassert>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <map>
#include <string_view>
#include <system_error>

#include "capture/AtomicFile.h"
#include "capture/PNGBytes.h"
#include "documents/DocumentModel.h"
#include "documents/SKPDocument.h"
#include "headless/HeadlessRun.h"
#include "model/SKPError.h"
#include "model/SyntheticModel.h"
#include "remote/RemoteValues.h"
#include "scene/ViewportScene.h"
#include "sketchup/SKPReader.h"
#include "sketchup/SketchUpAPI.h"
#include "ui/DocumentWindow.h"
#include "ui/LoadingOverlay.h"
#include "ui/windows/AboutView.h"
#include "ui/windows/HelpView.h"
#include "ui/windows/SettingsView.h"
#include "ui/windows/ShortcutsView.h"

namespace vistrel::app::Snapshot {

namespace fs = std::filesystem;

namespace {

std::optional<std::string> environment(const char* name) {
    const char* value = std::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
}

// An optional sign, the number, nothing else: no white space, whatever the locale. Infinities
// and NaN would only reach the renderer as garbage.
std::optional<float> strictFloat(std::string_view text) {
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    float value = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, value);
    if (text.empty() || error != std::errc() || stop != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<float> environmentFloat(const char* name) {
    const auto text = environment(name);
    return text ? strictFloat(*text) : std::nullopt;
}

// Each variable only when set and valid; the commands are the menus' own.
void applyEnvironment(DocumentModel& model) {
    if (environment("VISTREL_SNAPSHOT_LIGHTING") == "point") {
        model.setLightingMode(viewport::LightingMode::point);
        if (auto intensity = environmentFloat("VISTREL_SNAPSHOT_LIGHT_INTENSITY"))
            model.updateSelectedPointLight(std::nullopt, intensity);
    }
    if (const auto text = environment("VISTREL_SNAPSHOT_BG")) {
        std::vector<float> rgb;
        std::string_view rest = *text;
        while (!rest.empty()) {
            const size_t comma = rest.find(',');
            if (auto value = strictFloat(rest.substr(0, comma))) rgb.push_back(*value);
            rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        }
        if (rgb.size() == 3) model.setCustomBackdropColor({rgb[0], rgb[1], rgb[2]});
    }
    if (auto intensity = environmentFloat("VISTREL_SNAPSHOT_SSAO"))
        model.setAmbientOcclusionIntensity(*intensity);
}

QImage bitmapOf(const viewport::Image& image) {
    if (image.width <= 0 || image.height <= 0 ||
        image.pixels.size() < image.bytesPerRow() * size_t(image.height))
        return {};
    return QImage(image.pixels.data(), image.width, image.height, qsizetype(image.bytesPerRow()),
                  QImage::Format_RGBX8888)
        .copy();
}

const std::map<std::string, std::function<std::unique_ptr<QWidget>()>>& panels() {
    static const std::map<std::string, std::function<std::unique_ptr<QWidget>()>> table{
        {"about", [] { return std::make_unique<AboutView>(SketchUpAPI::locate()); }},
        {"shortcuts", [] { return std::make_unique<ShortcutsView>(); }},
        {"help", [] { return std::make_unique<HelpView>(); }},
        {"settings", [] { return std::make_unique<SettingsView>(); }},
    };
    return table;
}

std::optional<Rendering> renderDocument(const std::optional<std::string>& input,
                                        std::string& error) {
    const auto start = std::chrono::steady_clock::now();
    SKPDocument document;
    std::optional<SKPModel> model;
    if (input) {
        const fs::path url = expandTilde(*input);
        try {
            model = SKPReader::load(url);
        } catch (const SKPError& failure) {
            error = failure.errorDescription();
        } catch (const std::exception&) {
            // A reader fault is still a file we could not read.
            error = SKPError::unreadable(url).errorDescription();
        }
        if (!model) return std::nullopt;
    } else {
        model = SyntheticModel::cube();
    }
    document.model().setInfo(model->fileInfo);
    const auto textures = model->textureDirectory;
    auto scene = std::make_shared<viewport::ViewportScene>(std::move(*model));
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    auto rendering = render(document, std::move(scene), seconds);
    deleteTextureFolder(textures);
    if (!rendering) error = "failed to render PNG";
    return rendering;
}

int write(const Rendering& rendering, const std::string& output) {
    const auto bytes = png(rendering.bitmap);
    if (!bytes) return HeadlessRun::fail(1, "snapshot error: failed to render PNG");
    const fs::path path = expandTilde(output);
    std::error_code error;
    if (path.has_parent_path()) fs::create_directories(path.parent_path(), error);
    if (error) return HeadlessRun::fail(1, "snapshot error: " + error.message());
    if (auto failure = AtomicFile::write(*bytes, path))
        return HeadlessRun::fail(1, "snapshot error: " + *failure);
    // The file stays: a blank view is worth looking at.
    if (rendering.viewport && !isNonUniform(rendering.bitmap, rendering.viewport))
        return HeadlessRun::fail(1, "snapshot error: the 3D viewport of " + path.string() +
                                        " is uniform (nothing drawn)");
    std::printf("Snapshot written to %s (%zu bytes)\n", path.c_str(), bytes->size());
    return 0;
}

int runStatus(const std::string& output, const std::optional<std::string>& input,
              const std::optional<std::string>& view) {
    const std::string name = view.value_or(environment("VISTREL_SNAPSHOT_WINDOW").value_or(""));
    std::optional<Rendering> rendering;
    if (name.empty() || name == "document") {
        std::string error;
        rendering = renderDocument(input, error);
        if (!rendering) return HeadlessRun::fail(1, "snapshot error: " + error);
    } else if (auto panel = panels().find(name); panel != panels().end()) {
        auto widget = panel->second();
        rendering = render(*widget);
        if (!rendering) return HeadlessRun::fail(1, "snapshot error: failed to render PNG");
    } else {
        return HeadlessRun::fail(2, "snapshot error: unknown VISTREL_SNAPSHOT_WINDOW " + name +
                                        " (about, shortcuts, help, settings)");
    }
    return write(*rendering, output);
}

}  // namespace

void run(const std::string& output, const std::optional<std::string>& input,
         const std::optional<std::string>& view) {
    if (auto title = environment("VISTREL_SNAPSHOT_MENU")) listMenu(*title, input);
    HeadlessRun::exit(runStatus(output, input, view));
}

std::optional<Rendering> render(SKPDocument& document,
                                std::shared_ptr<viewport::ViewportScene> scene, double seconds) {
    document.makeWindowControllers();
    auto* window = qobject_cast<DocumentWindow*>(document.window());
    assert(window);
    window->setWindowFlag(Qt::FramelessWindowHint);
    window->setGeometry(-20000, -20000, width, height);
    window->show();
    // The interface exists in its loading state before the scene comes.
    HeadlessRun::runLoop(0.1);

    // The overlay lies exactly over the 3D view's cell, which offscreen holds no GL widget.
    const QWidget& cell = *window->overlay().parentWidget();
    DocumentModel& model = document.model();
    auto fitView = [&] {
        model.viewport().setSize({float(cell.width()), float(cell.height())});
        model.viewport().setBackingScale(float(window->devicePixelRatioF()));
    };
    fitView();
    model.present(std::move(scene), seconds);
    applyEnvironment(model);
    HeadlessRun::runLoop(0.3);

    const QRect rect(cell.mapTo(window, QPoint(0, 0)), cell.size());
    if (rect.width() > 1 && rect.height() > 1) {
        fitView();
        if (auto image = model.viewport().snapshot()) {
            QImage picture = bitmapOf(*image);
            picture.setDevicePixelRatio(window->devicePixelRatioF());
            model.setSnapshotPreviewImage(std::move(picture));
        }
        HeadlessRun::runLoop(0.05);
    }
    QImage bitmap = window->grab().toImage();
    window->hide();
    if (bitmap.isNull()) return std::nullopt;
    const double scale = double(bitmap.width()) / std::max(1, window->width());
    const QRect pixels(int(std::lround(rect.x() * scale)), int(std::lround(rect.y() * scale)),
                       int(std::lround(rect.width() * scale)),
                       int(std::lround(rect.height() * scale)));
    return Rendering{std::move(bitmap), pixels};
}

std::optional<Rendering> render(QWidget& panel) {
    panel.setWindowFlag(Qt::FramelessWindowHint);
    if (panel.layout()) panel.layout()->activate();
    panel.resize(panel.sizeHint().expandedTo(panel.minimumSizeHint()));
    panel.move(-20000, -20000);
    panel.show();
    HeadlessRun::runLoop(0.3);
    QImage bitmap = panel.grab().toImage();
    panel.hide();
    if (bitmap.isNull()) return std::nullopt;
    return Rendering{std::move(bitmap), std::nullopt};
}

bool isNonUniform(const QImage& bitmap, std::optional<QRect> rect) {
    constexpr int grid = 48;
    const QRectF area = rect ? QRectF(*rect) : QRectF(bitmap.rect());
    std::array<int, grid * grid> keys;
    int total = 0;
    for (int row = 0; row < grid; ++row)
        for (int column = 0; column < grid; ++column) {
            const int x = int(area.x() + (column + 0.5) * area.width() / grid);
            const int y = int(area.y() + (row + 0.5) * area.height() / grid);
            if (!bitmap.valid(x, y)) continue;
            const QRgb colour = bitmap.pixel(x, y);
            auto six = [](int channel) { return channel * 63 / 255; };
            keys[size_t(total++)] =
                six(qRed(colour)) << 12 | six(qGreen(colour)) << 6 | six(qBlue(colour));
        }
    std::sort(keys.begin(), keys.begin() + total);
    int dominant = 0;
    for (int i = 0, run = 0; i < total; ++i) {
        run = i > 0 && keys[size_t(i)] == keys[size_t(i - 1)] ? run + 1 : 1;
        dominant = std::max(dominant, run);
    }
    return total - dominant > 7;
}

std::optional<std::vector<std::uint8_t>> png(const QImage& image) {
    if (image.isNull()) return std::nullopt;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!image.save(&buffer, "PNG")) return std::nullopt;
    return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

std::optional<std::vector<std::uint8_t>> png(const viewport::Image& image) {
    return pngBytes(image);
}

}  // namespace vistrel::app::Snapshot
