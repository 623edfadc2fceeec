#include "image/PNGFile.h"

#include <png.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace vistrel::viewport::PNGFile {

namespace {

struct FileCloser {
    void operator()(std::FILE* f) const { std::fclose(f); }
};

}  // namespace

bool write(const Image& image, const std::filesystem::path& path, std::string& error) {
    if (image.width <= 0 || image.height <= 0 ||
        image.pixels.size() < image.bytesPerRow() * size_t(image.height)) {
        error = "empty image";
        return false;
    }
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    png.width = png_uint_32(image.width);
    png.height = png_uint_32(image.height);
    png.format = PNG_FORMAT_RGBA;
    std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "wb"));
    if (!file) {
        error = "cannot write " + path.string() + ": " + std::strerror(errno);
        return false;
    }
    if (!png_image_write_to_stdio(&png, file.get(), 0, image.pixels.data(),
                                  png_int_32(image.bytesPerRow()), nullptr)) {
        error = std::string("cannot encode PNG: ") + png.message;
        return false;
    }
    if (std::fflush(file.get()) != 0) {
        error = "cannot write " + path.string();
        return false;
    }
    return true;
}

namespace {

// Finishes a read begun on `png`, freeing it on failure.
std::optional<Image> finishRead(png_image& png) {
    // A header may claim any size; past this many pixels it is not a picture we keep.
    if (uint64_t(png.width) * png.height > 64ull * 1024 * 1024) {
        png_image_free(&png);
        return std::nullopt;
    }
    png.format = PNG_FORMAT_RGBA;
    Image image;
    image.width = int(png.width);
    image.height = int(png.height);
    image.pixels.resize(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr)) {
        png_image_free(&png);
        return std::nullopt;
    }
    return image;
}

}  // namespace

std::optional<Image> read(const std::filesystem::path& path) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) return std::nullopt;
    return finishRead(png);
}

std::optional<Image> decode(std::span<const std::uint8_t> bytes) {
    png_image png;
    std::memset(&png, 0, sizeof png);
    png.version = PNG_IMAGE_VERSION;
    if (bytes.empty() || !png_image_begin_read_from_memory(&png, bytes.data(), bytes.size()))
        return std::nullopt;
    return finishRead(png);
}

}  // namespace vistrel::viewport::PNGFile
