#include "cad/CADTextLayout.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "cad/OCS.h"
#include "cad/StrokeFont.h"

namespace vistrel::CADTextLayout {

namespace {

// Lenient UTF-8: a byte that starts no valid sequence stands for itself (Latin-1).
std::u32string decode(std::string_view s) {
    std::u32string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size();) {
        auto c = static_cast<unsigned char>(s[i]);
        int n = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
        char32_t cp = n == 0 ? c : char32_t(c & (0x3F >> n));
        bool ok = n == 0 || i + size_t(n) < s.size() + 0;
        for (int k = 1; ok && k <= n; ++k) {
            if (i + size_t(k) >= s.size() || (static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80)
                ok = false;
            else
                cp = (cp << 6) | (static_cast<unsigned char>(s[i + k]) & 0x3F);
        }
        if (!ok || c >= 0xF8 || (c >= 0x80 && c < 0xC0)) {
            out.push_back(c);
            ++i;
        } else {
            out.push_back(cp);
            i += size_t(n) + 1;
        }
    }
    return out;
}

// %% codes, shared by TEXT and MTEXT; `i` sits on the first %.
bool percentCode(const std::u32string& s, size_t& i, std::u32string& out) {
    if (i + 2 >= s.size() || s[i + 1] != '%' || s[i] != '%') return false;
    char32_t c = s[i + 2];
    switch (c | 0x20) {
        case 'd':
            out.push_back(U'\u00B0');
            break;
        case 'p':
            out.push_back(U'\u00B1');
            break;
        case 'c':
            out.push_back(U'\u2300');
            break;
        case 'u':
        case 'o':
            break;
        default:
            if (c == '%') {
                out.push_back('%');
            } else if (c >= '0' && c <= '9') {
                char32_t code = 0;
                size_t k = i + 2;
                for (; k < s.size() && k < i + 5 && s[k] >= '0' && s[k] <= '9'; ++k)
                    code = code * 10 + (s[k] - '0');
                out.push_back(code);
                i = k;
                return true;
            } else {
                return false;
            }
    }
    i += 3;
    return true;
}

size_t skipPast(const std::u32string& s, size_t i, char32_t end) {
    while (i < s.size() && s[i] != end) ++i;
    return std::min(i + 1, s.size());
}

float lineWidth(const std::u32string& line) {
    float w = 0;
    for (char32_t c : line) w += StrokeFont::shared().glyph(c).advance;
    return w;
}

// Greedy wrap at spaces so that no line passes `width` glyph units, where it can.
void wrap(const std::u32string& paragraph, float width, std::vector<std::u32string>& out) {
    std::u32string line;
    size_t i = 0;
    while (i <= paragraph.size()) {
        size_t j = paragraph.find(U' ', i);
        if (j == std::u32string::npos) j = paragraph.size();
        std::u32string word = paragraph.substr(i, j - i);
        std::u32string tried = line.empty() ? word : line + U' ' + word;
        if (!line.empty() && lineWidth(tried) > width) {
            out.push_back(line);
            line = word;
        } else {
            line = tried;
        }
        i = j + 1;
    }
    out.push_back(line);
}

}  // namespace

std::u32string plainText(std::string_view utf8) {
    std::u32string s = decode(utf8), out;
    for (size_t i = 0; i < s.size();)
        if (!percentCode(s, i, out)) out.push_back(s[i++]);
    return out;
}

std::vector<std::u32string> mtextLines(std::string_view utf8) {
    std::u32string s = decode(utf8);
    std::vector<std::u32string> lines(1);
    for (size_t i = 0; i < s.size();) {
        char32_t c = s[i];
        if (c == '{' || c == '}' || c == '\r') {
            ++i;
        } else if (c == '\n') {  // a DWG keeps as a byte what a DXF spells ^J
            lines.emplace_back();
            ++i;
        } else if (c == '\t') {
            lines.back().push_back(' ');
            ++i;
        } else if (c == '^' && i + 1 < s.size() && (s[i + 1] == 'J' || s[i + 1] == 'I')) {
            if (s[i + 1] == 'J')
                lines.emplace_back();
            else
                lines.back().push_back(' ');
            i += 2;
        } else if (c == '%') {
            if (!percentCode(s, i, lines.back())) lines.back().push_back(s[i++]);
        } else if (c != '\\' || i + 1 >= s.size()) {
            lines.back().push_back(c);
            ++i;
        } else {
            char32_t k = s[i + 1];
            i += 2;
            switch (k) {
                case 'P':
                    lines.emplace_back();
                    break;
                case '~':
                    lines.back().push_back(' ');
                    break;
                case '\\':
                case '{':
                case '}':
                    lines.back().push_back(k);
                    break;
                case 'S': {
                    size_t end = skipPast(s, i, ';');
                    for (; i < end && s[i] != ';'; ++i)
                        lines.back().push_back(s[i] == '^' || s[i] == '#' ? U'/' : s[i]);
                    i = end;
                    break;
                }
                case 'U':
                    if (i + 4 < s.size() && s[i] == '+') {
                        char32_t code = 0;
                        size_t j = i + 1;
                        for (; j < s.size() && j < i + 7 && std::isxdigit(int(s[j] & 0x7F)) &&
                               s[j] < 0x80;
                             ++j)
                            code = code * 16 +
                                   char32_t(s[j] <= '9' ? s[j] - '0' : (s[j] | 0x20) - 'a' + 10);
                        lines.back().push_back(code);
                        i = j;
                    }
                    break;
                case 'L':
                case 'l':
                case 'O':
                case 'o':
                case 'K':
                case 'k':
                case 'N':
                    break;
                default:
                    // \H, \W, \f, \C, \A, \Q, \T, \p and the like carry a value up to ';'.
                    i = skipPast(s, i, ';');
                    break;
            }
        }
    }
    return lines;
}

void layout(const CADText& t, const CADPoint& extrusion, std::vector<std::vector<CADPoint>>& out) {
    const double h = t.height;
    if (!(h > 0) || !std::isfinite(h)) return;
    const double s = h / StrokeFont::capHeight;
    double wf = t.widthFactor > 0 && std::isfinite(t.widthFactor) ? t.widthFactor : 1;
    double slant = std::isfinite(t.obliqueDeg)
                       ? std::tan(std::clamp(t.obliqueDeg, -85.0, 85.0) * std::numbers::pi / 180)
                       : 0;
    const OCS ocs(extrusion);
    std::vector<std::u32string> lines;
    CADPoint origin;
    double angle = 0;
    double lineAdvance = h * 5 / 3 * (t.lineSpacing > 0 ? std::min(t.lineSpacing, 10.0) : 1);
    std::vector<double> dx;
    double dy = 0;
    CADPoint u, v;
    if (t.mtext) {
        for (const auto& paragraph : mtextLines(t.contents)) {
            if (t.referenceWidth > 0 && std::isfinite(t.referenceWidth))
                wrap(paragraph, float(t.referenceWidth / s), lines);
            else
                lines.push_back(paragraph);
        }
        origin = t.insertion;
        angle = std::isfinite(t.rotation) ? t.rotation : 0;
        int a = std::clamp(t.attachment, 1, 9) - 1, row = a / 3, col = a % 3;
        double total = h + double(lines.size() - 1) * lineAdvance;
        dy = -h + row * total / 2;
        for (const auto& line : lines) dx.push_back(-col * lineWidth(line) * s * wf / 2);
    } else {
        lines.push_back(plainText(t.contents));
        double width = lineWidth(lines[0]) * s * wf;
        angle = std::isfinite(t.rotation) ? t.rotation * std::numbers::pi / 180 : 0;
        origin = t.insertion;
        bool aligned = t.hAlign == 3 || t.hAlign == 5;
        if (aligned && t.hasAlignment && width > 0) {
            double ax = t.alignment.x - t.insertion.x, ay = t.alignment.y - t.insertion.y;
            double span = std::hypot(ax, ay);
            if (span > 0) {
                angle = std::atan2(ay, ax);
                wf *= span / width;
            }
        } else if ((t.hAlign != 0 || t.vAlign != 0) && t.hasAlignment) {
            origin = t.alignment;
        }
        width = lineWidth(lines[0]) * s * wf;
        double shift = t.hAlign == 1 || t.hAlign == 4 ? -width / 2 : t.hAlign == 2 ? -width : 0;
        dx.push_back(shift);
        if (t.hAlign == 4)
            dy = -h / 2;
        else if (!aligned && t.vAlign == 1)
            dy = h * 7 / 21;  // the descender
        else if (!aligned && t.vAlign == 2)
            dy = -h / 2;
        else if (!aligned && t.vAlign == 3)
            dy = -h;
    }
    // The text's axes and origin in world coordinates.
    if (t.mtext && t.hasDirection) {
        double len = std::sqrt(OCS::dot(t.direction, t.direction));
        u = len > 0 ? OCS::scaled(t.direction, 1 / len) : ocs.xAxis();
    } else {
        u = ocs.toWorld({std::cos(angle), std::sin(angle), 0});
    }
    v = OCS::cross(ocs.normal(), u);
    if (!t.mtext) origin = ocs.toWorld(origin);

    size_t budget = 200'000;  // strokes per text: a hostile text cannot explode memory
    for (size_t li = 0; li < lines.size(); ++li) {
        double pen = dx[li];
        double base = dy - double(li) * lineAdvance;
        for (char32_t c : lines[li]) {
            const StrokeFont::Glyph& g = StrokeFont::shared().glyph(c);
            for (const auto& stroke : g.strokes) {
                if (stroke.size() < 2 || budget == 0) continue;
                --budget;
                auto& poly = out.emplace_back();
                poly.reserve(stroke.size());
                for (Float2 p : stroke) {
                    double x = pen + (p.x + p.y * slant) * s * wf, y = base + p.y * s;
                    if (t.backward) x = -x;
                    if (t.upsideDown) y = -y;
                    poly.push_back({origin.x + u.x * x + v.x * y, origin.y + u.y * x + v.y * y,
                                    origin.z + u.z * x + v.z * y});
                }
            }
            pen += g.advance * s * wf;
        }
    }
}

}  // namespace vistrel::CADTextLayout
