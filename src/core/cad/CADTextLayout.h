// Lays CAD text out in the stroke font: TEXT justification (left, centre, right, aligned,
// middle, fit; baseline, bottom, middle, top), MTEXT attachment, paragraphs and wrapping, width
// factor, obliquing, rotation and TEXT's backward and upside-down flags, in the text's plane.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cad/CADText.h"

namespace vistrel::CADTextLayout {

// A TEXT's contents with its control codes read: %%d, %%p, %%c, %%nnn; %%u and %%o dropped.
std::u32string plainText(std::string_view utf8);
// An MTEXT's lines: \P and ^J break, \S stacks as a/b, \U+XXXX, \~, escaped \ { }, and every
// formatting code (\H, \W, \f, \C, \A, \Q, \T, \L, \O, \K, ...) read past.
std::vector<std::u32string> mtextLines(std::string_view utf8);

// Appends the strokes of the text, in world coordinates, one polyline each.
void layout(const CADText& text, const CADPoint& extrusion,
            std::vector<std::vector<CADPoint>>& out);

}  // namespace vistrel::CADTextLayout
