// Renders the application's SVG icon to a square PNG at build time: vistrel-render-icon IN.svg
// SIZE OUT.png. Exit status 1 when the SVG does not read or the PNG is not written.
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: vistrel-render-icon IN.svg SIZE OUT.png\n");
        return 2;
    }
    // Drawing shapes into an image needs no application object and no display.
    QSvgRenderer renderer(QString::fromLocal8Bit(argv[1]));
    const int size = std::atoi(argv[2]);
    if (!renderer.isValid() || size <= 0) return 1;
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();
    return image.save(QString::fromLocal8Bit(argv[3]), "PNG") ? 0 : 1;
}
