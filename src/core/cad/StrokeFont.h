// The single-stroke font CAD text is drawn in: Hershey's Roman simplex (hershey-fonts-data) for
// the characters it has, and for the others (accented letters, symbols) the outlines of a
// system font through FreeType, at the same cap height. Glyph units: cap height 21, baseline 0,
// y up; the advance includes both bearings. Loaded once, shared by every thread.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "model/Math.h"

namespace vistrel {

class StrokeFont {
  public:
    static constexpr float capHeight = 21;

    struct Glyph {
        std::vector<std::vector<Float2>> strokes;  // open or closed polylines
        float advance = 0;
    };

    static StrokeFont& shared();

    // The glyph of a code point; a box when no font has it. The
    // reference stays valid for the life of the process.
    const Glyph& glyph(char32_t c);

  private:
    StrokeFont();
    ~StrokeFont();
    bool loadOutline(char32_t c, Glyph& out);

    std::mutex lock_;
    std::unordered_map<char32_t, std::unique_ptr<Glyph>> glyphs_;
    void* library_ = nullptr;  // FT_Library
    void* face_ = nullptr;     // FT_Face
    float outlineScale_ = 0;   // font units to glyph units
};

}  // namespace vistrel
