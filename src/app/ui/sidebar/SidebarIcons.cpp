#include "ui/sidebar/SidebarIcons.h"

#include "ui/Icons.h"

namespace vistrel::app::SidebarIcons {

namespace {

const char* body(Symbol symbol) {
    switch (symbol) {
        case Symbol::eye:
            return "<path d='M2.5 12s3.5-6.5 9.5-6.5 9.5 6.5 9.5 6.5-3.5 6.5-9.5 6.5S2.5 12 2.5 "
                   "12z'/><circle cx='12' cy='12' r='2.8'/>";
        case Symbol::eyeOff:
            return "<path d='M4 4l16 16'/><path d='M9.9 5.8A9.6 9.6 0 0 1 12 5.5c6 0 9.5 6.5 9.5 "
                   "6.5a15.7 15.7 0 0 1-2.7 3.5M6.4 7.4C3.9 9.1 2.5 12 2.5 12s3.5 6.5 9.5 6.5a9.4 "
                   "9.4 0 0 0 4.3-1'/>";
        case Symbol::eyeMixed:
            return "<path d='M2.5 12s3.5-6.5 9.5-6.5 9.5 6.5 9.5 6.5-3.5 6.5-9.5 6.5S2.5 12 2.5 "
                   "12z' stroke-dasharray='3 2.2'/><path d='M9 12h6'/>";
        case Symbol::solo:
            return "<circle cx='12' cy='12' r='8'/><circle cx='12' cy='12' r='3' "
                   "fill='currentColor'/>";
        case Symbol::zoom:
            return "<circle cx='10.5' cy='10.5' r='6'/><path d='M15 15l5.5 5.5M8 10.5h5M10.5 "
                   "8v5'/>";
        case Symbol::chevronRight:
            return "<path d='M9.5 6l6 6-6 6'/>";
        case Symbol::chevronDown:
            return "<path d='M6 9.5l6 6 6-6'/>";
        case Symbol::expandAll:
            return "<path d='M7 6l5 5 5-5M7 13l5 5 5-5'/>";
        case Symbol::collapseAll:
            return "<path d='M7 11l5-5 5 5M7 18l5-5 5 5'/>";
    }
    return "";
}

}  // namespace

QIcon icon(Symbol symbol) {
    return Icons::fromSVG(body(symbol));
}

}  // namespace vistrel::app::SidebarIcons
