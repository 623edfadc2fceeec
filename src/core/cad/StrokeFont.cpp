#include "cad/StrokeFont.h"

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H
#include FT_TRUETYPE_TABLES_H
// A C library whose header declares no C linkage.
extern "C" {
#include <hersheyfont.h>
}

#include <array>
#include <cmath>
#include <cstdlib>

namespace vistrel {

namespace {

// Outline fonts looked for, in order, for characters the stroke font lacks.
constexpr std::array outlineFonts = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/truetype/liberation/LiberationSans-Regular.ttf",
    "/usr/share/fonts/TTF/DejaVuSans.ttf",
};

// Flattens FreeType's outline into polylines, each curve in a fixed number of steps.
struct Flattener {
    std::vector<std::vector<Float2>>* strokes;
    float scale;
    Float2 at{};

    static Flattener& of(void* user) { return *static_cast<Flattener*>(user); }
    Float2 point(const FT_Vector* v) const { return {float(v->x) * scale, float(v->y) * scale}; }

    static int moveTo(const FT_Vector* to, void* user) {
        Flattener& f = of(user);
        f.at = f.point(to);
        f.strokes->push_back({f.at});
        return 0;
    }
    static int lineTo(const FT_Vector* to, void* user) {
        Flattener& f = of(user);
        f.at = f.point(to);
        f.strokes->back().push_back(f.at);
        return 0;
    }
    static int conicTo(const FT_Vector* control, const FT_Vector* to, void* user) {
        Flattener& f = of(user);
        Float2 a = f.at, b = f.point(control), c = f.point(to);
        for (int i = 1; i <= 6; ++i) {
            float t = float(i) / 6, u = 1 - t;
            f.strokes->back().push_back({u * u * a.x + 2 * u * t * b.x + t * t * c.x,
                                         u * u * a.y + 2 * u * t * b.y + t * t * c.y});
        }
        f.at = c;
        return 0;
    }
    static int cubicTo(const FT_Vector* c1, const FT_Vector* c2, const FT_Vector* to, void* user) {
        Flattener& f = of(user);
        Float2 a = f.at, b = f.point(c1), c = f.point(c2), d = f.point(to);
        for (int i = 1; i <= 8; ++i) {
            float t = float(i) / 8, u = 1 - t;
            float k0 = u * u * u, k1 = 3 * u * u * t, k2 = 3 * u * t * t, k3 = t * t * t;
            f.strokes->back().push_back({k0 * a.x + k1 * b.x + k2 * c.x + k3 * d.x,
                                         k0 * a.y + k1 * b.y + k2 * c.y + k3 * d.y});
        }
        f.at = d;
        return 0;
    }
};

}  // namespace

StrokeFont& StrokeFont::shared() {
    static StrokeFont* font = new StrokeFont();  // lives to the end of the process
    return *font;
}

StrokeFont::StrokeFont() {
    if (hershey_font* hf = hershey_font_load("rowmans")) {
        for (int c = 32; c < 127; ++c) {
            hershey_glyph* g = hershey_font_glyph(hf, static_cast<unsigned char>(c));
            if (!g || (g->width == 0 && c != ' ')) continue;
            auto glyph = std::make_unique<Glyph>();
            glyph->advance = g->width;
            for (hershey_path* p = g->paths; p; p = p->next) {
                auto& stroke = glyph->strokes.emplace_back();
                for (int i = 0; i < p->nverts; ++i)
                    stroke.push_back({float(p->verts[i].x), float(p->verts[i].y)});
            }
            glyphs_.emplace(char32_t(c), std::move(glyph));
        }
        hershey_font_free(hf);
    }
    FT_Library library = nullptr;
    if (FT_Init_FreeType(&library) != 0) return;
    library_ = library;
    for (const char* path : outlineFonts) {
        FT_Face face = nullptr;
        if (FT_New_Face(library, path, 0, &face) != 0) continue;
        face_ = face;
        auto* os2 = static_cast<TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
        double cap = os2 && os2->sCapHeight > 0 ? os2->sCapHeight : face->units_per_EM * 0.7;
        outlineScale_ = float(capHeight / cap);
        break;
    }
}

StrokeFont::~StrokeFont() {
    if (face_) FT_Done_Face(static_cast<FT_Face>(face_));
    if (library_) FT_Done_FreeType(static_cast<FT_Library>(library_));
}

bool StrokeFont::loadOutline(char32_t c, Glyph& out) {
    auto face = static_cast<FT_Face>(face_);
    if (!face) return false;
    FT_UInt index = FT_Get_Char_Index(face, FT_ULong(c));
    if (index == 0 || FT_Load_Glyph(face, index, FT_LOAD_NO_SCALE | FT_LOAD_NO_BITMAP) != 0 ||
        face->glyph->format != FT_GLYPH_FORMAT_OUTLINE)
        return false;
    FT_Outline_Funcs funcs{};
    funcs.move_to = Flattener::moveTo;
    funcs.line_to = Flattener::lineTo;
    funcs.conic_to = Flattener::conicTo;
    funcs.cubic_to = Flattener::cubicTo;
    Flattener f{&out.strokes, outlineScale_};
    if (FT_Outline_Decompose(&face->glyph->outline, &funcs, &f) != 0) return false;
    for (auto& s : out.strokes)
        if (!s.empty()) s.push_back(s.front());  // contours close
    out.advance = float(face->glyph->metrics.horiAdvance) * outlineScale_;
    return true;
}

const StrokeFont::Glyph& StrokeFont::glyph(char32_t c) {
    std::lock_guard guard(lock_);
    auto it = glyphs_.find(c);
    if (it != glyphs_.end()) return *it->second;
    auto glyph = std::make_unique<Glyph>();
    if (!loadOutline(c, *glyph)) {
        // A box keeps the place of a character no font has.
        float w = 14;
        glyph->strokes = {{{3, 0}, {3 + w - 6, 0}, {3 + w - 6, capHeight}, {3, capHeight}, {3, 0}}};
        glyph->advance = w;
    }
    return *glyphs_.emplace(c, std::move(glyph)).first->second;
}

}  // namespace vistrel
