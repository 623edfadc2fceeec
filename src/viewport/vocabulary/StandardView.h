// The seven fixed directions the camera can be turned to. No raw values: remote commands and
// the command line name them in their own words.
#pragma once

#include <array>
#include <string>

#include "model/Math.h"

namespace vistrel::viewport {

enum class StandardView { iso, top, bottom, front, back, left, right };

inline constexpr std::array<StandardView, 7> allStandardViews{
    StandardView::iso,  StandardView::top,  StandardView::bottom, StandardView::front,
    StandardView::back, StandardView::left, StandardView::right};

// Unit direction in which the camera looks; the world is Z-up.
Float3 forward(StandardView view);
// Up hint for CameraRig::orientation; Y for the views straight along Z, Z for the others.
Float3 upHint(StandardView view);
// Name in the current interface language.
std::string label(StandardView view);

}  // namespace vistrel::viewport
