// Icons drawn from SVG, sharp at any size and scale factor. An icon is the inner markup of a
// 24 x 24 SVG whose strokes and fills say "currentColor"; each paint substitutes the colour of
// its mode and state: dim when disabled, the accent when checked (state On), white under the
// pointer (mode Active or Selected), the text colour otherwise.
#pragma once

#include <QIcon>

namespace vistrel::app::Icons {

// `body`: SVG elements, e.g. "<path d='M4 4h16'/>". Strokes default to 1.6 units, round caps.
QIcon fromSVG(const char* body);

// The toolbar's and status bar's symbols.
enum class Symbol {
    sidebar,
    open,
    reveal,
    sketchUp,
    reset,
    extents,
    perspective,
    parallel,
    freeFly,
    cameraSettings,
    moreViews,
    edges,
    sun,
    pointLight,
    shadows,
    lightingSettings,
    grid,
    textured,
    clay,
    xRay,
    wireframe,
    previous,
    next,
    copy,
    png,
    pdf,
    help,
    keyboard,
    about,
};
QIcon icon(Symbol symbol);

}  // namespace vistrel::app::Icons
