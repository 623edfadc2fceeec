#include "ui/Icons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

#include "ui/Theme.h"

namespace vistrel::app::Icons {

namespace {

class SVGIconEngine : public QIconEngine {
  public:
    explicit SVGIconEngine(QByteArray body) : body_(std::move(body)) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State state) override {
        QSvgRenderer renderer(markup(colour(mode, state)));
        renderer.render(painter, rect);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        return scaledPixmap(size, mode, state, 1.0);
    }

    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state,
                         qreal scale) override {
        QPixmap pixmap(size * scale);
        pixmap.fill(Qt::transparent);
        {
            QPainter painter(&pixmap);
            painter.setRenderHint(QPainter::Antialiasing);
            paint(&painter, pixmap.rect(), mode, state);
        }
        pixmap.setDevicePixelRatio(scale);
        return pixmap;
    }

    QIconEngine* clone() const override { return new SVGIconEngine(body_); }

  private:
    static const char* colour(QIcon::Mode mode, QIcon::State state) {
        if (mode == QIcon::Disabled) return Theme::secondaryText;
        if (state == QIcon::On) return Theme::accent;
        if (mode == QIcon::Active || mode == QIcon::Selected) return "#ffffff";
        return Theme::text;
    }

    QByteArray markup(const char* colour) const {
        QByteArray svg =
            "<svg xmlns='http://www.w3.org/2000/svg' viewBox='0 0 24 24' fill='none' "
            "stroke='currentColor' stroke-width='1.6' stroke-linecap='round' "
            "stroke-linejoin='round'>" +
            body_ + "</svg>";
        // Qt's SVG renderer does not know currentColor.
        return svg.replace("currentColor", colour);
    }

    QByteArray body_;
};

const char* body(Symbol symbol) {
    switch (symbol) {
        case Symbol::sidebar:
            return "<rect x='3' y='4' width='18' height='16' rx='2.5'/><path d='M9 4v16'/>";
        case Symbol::open:
            return "<path d='M3 7.5A1.5 1.5 0 0 1 4.5 6H9l2 2h8.5A1.5 1.5 0 0 1 21 9.5v8a1.5 1.5 "
                   "0 0 1-1.5 1.5h-15A1.5 1.5 0 0 1 3 17.5z'/>";
        case Symbol::reveal:
            return "<circle cx='10.5' cy='10.5' r='6'/><path d='M15 15l5.5 5.5'/>";
        case Symbol::sketchUp:
            return "<path d='M14 4h6v6M20 4l-9 9'/><path d='M18 14v4.5a1.5 1.5 0 0 1-1.5 "
                   "1.5h-11A1.5 1.5 0 0 1 4 18.5v-11A1.5 1.5 0 0 1 5.5 6H10'/>";
        case Symbol::reset:
            return "<path d='M4 12a8 8 0 1 0 2.3-5.6'/><path d='M4 4v5h5'/>";
        case Symbol::extents:
            return "<path d='M4 9V4h5M15 4h5v5M20 15v5h-5M9 20H4v-5'/>"
                   "<rect x='9' y='9' width='6' height='6' rx='1'/>";
        case Symbol::perspective:
            return "<rect x='3' y='8' width='12' height='12'/><path d='M3 8l6-5h8l-2 5M17 3v11l-2 "
                   "6'/>";
        case Symbol::parallel:
            return "<rect x='3' y='9' width='11' height='11'/><path d='M3 9l6-6h11v11l-6 "
                   "6M14 9l6-6'/>";
        case Symbol::freeFly:
            return "<path d='M21 3L3 10.5l7 2.5 2.5 7z'/><path d='M10 13l11-10'/>";
        case Symbol::cameraSettings:
            return "<path d='M3 8.5A1.5 1.5 0 0 1 4.5 7H7l1.5-2h7L17 7h2.5A1.5 1.5 0 0 1 21 "
                   "8.5v9a1.5 1.5 0 0 1-1.5 1.5h-15A1.5 1.5 0 0 1 3 17.5z'/>"
                   "<circle cx='12' cy='13' r='3.5'/>";
        case Symbol::moreViews:
            return "<circle cx='5.5' cy='12' r='1.4' fill='currentColor' stroke='none'/>"
                   "<circle cx='12' cy='12' r='1.4' fill='currentColor' stroke='none'/>"
                   "<circle cx='18.5' cy='12' r='1.4' fill='currentColor' stroke='none'/>";
        case Symbol::edges:
            return "<rect x='5' y='5' width='14' height='14'/>"
                   "<g fill='currentColor' stroke='none'><circle cx='5' cy='5' r='1.8'/>"
                   "<circle cx='19' cy='5' r='1.8'/><circle cx='5' cy='19' r='1.8'/>"
                   "<circle cx='19' cy='19' r='1.8'/></g>";
        case Symbol::sun:
            return "<circle cx='12' cy='12' r='4'/><path d='M12 2.5V5M12 19v2.5M2.5 12H5M19 "
                   "12h2.5M5.3 5.3l1.8 1.8M16.9 16.9l1.8 1.8M5.3 18.7l1.8-1.8M16.9 7.1l1.8-1.8'/>";
        case Symbol::pointLight:
            return "<path d='M9 18h6M10 21h4'/><path d='M12 3a6 6 0 0 0-3.5 10.9c.6.5 1 1.2 1 "
                   "2.1h5c0-.9.4-1.6 1-2.1A6 6 0 0 0 12 3z'/>";
        case Symbol::shadows:
            return "<circle cx='10' cy='9' r='5'/><ellipse cx='13.5' cy='19' rx='7' ry='2' "
                   "fill='currentColor' stroke='none' fill-opacity='.6'/>";
        case Symbol::lightingSettings:
            return "<circle cx='9' cy='9' r='3.2'/><path d='M9 2.5V4M9 14v1.5M2.5 9H4M14 "
                   "9h1.5M4.4 4.4l1 1M12.6 12.6l1 1M4.4 13.6l1-1M12.6 5.4l1-1'/>"
                   "<path d='M14 19h7M3 19h6'/><circle cx='11.5' cy='19' r='2.2'/>";
        case Symbol::grid:
            return "<path d='M3 8h18M3 16h18M8 3v18M16 3v18'/>";
        case Symbol::textured:
            return "<circle cx='12' cy='12' r='8'/>"
                   "<path d='M12 4a8 8 0 0 1 0 16z' fill='currentColor' fill-opacity='.45'/>";
        case Symbol::clay:
            return "<path d='M12 3l8 4.5v9L12 21l-8-4.5v-9z' fill='currentColor' "
                   "fill-opacity='.3'/><path d='M4 7.5l8 4.5 8-4.5M12 12v9'/>";
        case Symbol::xRay:
            return "<rect x='3.5' y='3.5' width='11' height='11' rx='1.5' fill='currentColor' "
                   "fill-opacity='.22'/><rect x='9.5' y='9.5' width='11' height='11' rx='1.5' "
                   "fill='currentColor' fill-opacity='.22'/>";
        case Symbol::wireframe:
            return "<path d='M12 3l8 4.5v9L12 21l-8-4.5v-9z'/><path d='M4 7.5l8 4.5 8-4.5M12 "
                   "12v9'/><path d='M4 16.5l8-4.5 8 4.5' stroke-dasharray='1.5 2'/>";
        case Symbol::previous:
            return "<path d='M15 5l-7 7 7 7'/>";
        case Symbol::next:
            return "<path d='M9 5l7 7-7 7'/>";
        case Symbol::copy:
            return "<rect x='8' y='8' width='12' height='12' rx='2'/><path d='M16 8V5.5A1.5 1.5 "
                   "0 0 0 14.5 4h-9A1.5 1.5 0 0 0 4 5.5v9A1.5 1.5 0 0 0 5.5 16H8'/>";
        case Symbol::png:
            return "<rect x='3' y='5' width='18' height='14' rx='2'/>"
                   "<circle cx='8.5' cy='10' r='1.5'/><path d='M21 16l-5-5-9 8'/>";
        case Symbol::pdf:
            return "<path d='M6 3h8l5 5v12.5a.5.5 0 0 1-.5.5h-12a.5.5 0 0 1-.5-.5V3.5a.5.5 0 0 1 "
                   ".5-.5z'/><path d='M14 3v5h5M9 13h6M9 17h6'/>";
        case Symbol::help:
            return "<circle cx='12' cy='12' r='9'/><path d='M9.5 9.5a2.5 2.5 0 1 1 3.5 2.3c-.6.3-1 "
                   ".9-1 1.6v.6'/><circle cx='12' cy='17' r='.8' fill='currentColor' "
                   "stroke='none'/>";
        case Symbol::keyboard:
            return "<rect x='2.5' y='6' width='19' height='12' rx='2'/>"
                   "<path d='M6 10h.01M10 10h.01M14 10h.01M18 10h.01M7 14h10'/>";
        case Symbol::about:
            return "<circle cx='12' cy='12' r='9'/><path d='M12 11v6'/>"
                   "<circle cx='12' cy='7.6' r='.8' fill='currentColor' stroke='none'/>";
    }
    return "";
}

}  // namespace

QIcon fromSVG(const char* svgBody) {
    return QIcon(new SVGIconEngine(QByteArray(svgBody)));
}

QIcon icon(Symbol symbol) {
    return fromSVG(body(symbol));
}

}  // namespace vistrel::app::Icons
