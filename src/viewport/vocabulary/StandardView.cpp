#include "vocabulary/StandardView.h"

#include "settings/Localization.h"

namespace vistrel::viewport {

Float3 forward(StandardView view) {
    switch (view) {
        case StandardView::iso: {
            const float k = 1.0f / std::sqrt(3.0f);
            return Float3{-1, 1, -1} * k;
        }
        case StandardView::top:
            return {0, 0, -1};
        case StandardView::bottom:
            return {0, 0, 1};
        case StandardView::front:
            return {0, 1, 0};
        case StandardView::back:
            return {0, -1, 0};
        case StandardView::left:
            return {1, 0, 0};
        case StandardView::right:
            return {-1, 0, 0};
    }
    return {0, 0, -1};
}

Float3 upHint(StandardView view) {
    if (view == StandardView::top || view == StandardView::bottom) return {0, 1, 0};
    return {0, 0, 1};
}

std::string label(StandardView view) {
    switch (view) {
        case StandardView::iso:
            return L("Iso", "Iso");
        case StandardView::top:
            return L("Dessus", "Top");
        case StandardView::bottom:
            return L("Dessous", "Bottom");
        case StandardView::front:
            return L("Face", "Front");
        case StandardView::back:
            return L("Arrière", "Back");
        case StandardView::left:
            return L("Gauche", "Left");
        case StandardView::right:
            return L("Droite", "Right");
    }
    return {};
}

}  // namespace vistrel::viewport
