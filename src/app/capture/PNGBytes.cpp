#include "capture/PNGBytes.h"

#include <QBuffer>
#include <QImage>

namespace vistrel::app {

std::optional<std::vector<std::uint8_t>> pngBytes(const viewport::Image& image) {
    if (image.width <= 0 || image.height <= 0 ||
        image.pixels.size() < image.bytesPerRow() * size_t(image.height))
        return std::nullopt;
    // Wraps the pixels without copying; RGBX keeps the ignored byte out of the file.
    const QImage wrapped(image.pixels.data(), image.width, image.height,
                         qsizetype(image.bytesPerRow()), QImage::Format_RGBX8888);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    if (!wrapped.save(&buffer, "PNG")) return std::nullopt;
    return std::vector<std::uint8_t>(bytes.begin(), bytes.end());
}

}  // namespace vistrel::app
