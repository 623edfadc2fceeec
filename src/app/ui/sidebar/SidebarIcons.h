// The sidebar's own symbols, drawn for it as themed SVG icons.
#pragma once

#include <QIcon>

namespace vistrel::app::SidebarIcons {

enum class Symbol {
    eye,
    eyeOff,
    eyeMixed,  // a group with some members hidden
    solo,
    zoom,
    chevronRight,
    chevronDown,
    expandAll,
    collapseAll,
};

QIcon icon(Symbol symbol);

}  // namespace vistrel::app::SidebarIcons
