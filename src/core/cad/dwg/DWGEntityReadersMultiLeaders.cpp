#include <vector>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

// A count the rest of the record cannot hold is a misread, not a huge leader.
bool plausible(int32_t count, const DWGBitReader& r, size_t bitsEach) {
    return count >= 0 && size_t(count) * bitsEach <= r.bitsLeft();
}

}  // namespace

// Handles live in their own stream, so only the data fields are read here. The leader lines
// end at their leader's connection point, as the DXF front end draws them; block content is
// left out there too.
void readMultiLeader(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    const bool r2010 = v >= DWGVersion::r2010;
    if (r2010) r.readBS();  // class version
    std::vector<std::vector<CADPoint>> lines;
    const int32_t roots = r.readBL();
    if (!plausible(roots, r, 8)) return;
    for (int32_t i = 0; i < roots && !o.broken(); ++i) {
        r.readB();
        r.readB();
        const CADPoint connection = toCAD(r.read3BD());
        r.read3BD();  // direction
        const int32_t breaks = r.readBL();
        if (!plausible(breaks, r, 12)) return;
        for (int32_t b = 0; b < breaks; ++b) {
            r.read3BD();
            r.read3BD();
        }
        r.readBL();  // leader index
        r.readBD();  // landing distance
        const int32_t count = r.readBL();
        if (!plausible(count, r, 4)) return;
        const size_t first = lines.size();
        for (int32_t l = 0; l < count && !o.broken(); ++l) {
            std::vector<CADPoint>& line = lines.emplace_back();
            const int32_t points = r.readBL();
            if (!plausible(points, r, 6)) return;
            for (int32_t p = 0; p < points; ++p) line.push_back(toCAD(r.read3BD()));
            const int32_t infos = r.readBL();
            if (!plausible(infos, r, 4)) return;
            for (int32_t k = 0; k < infos; ++k) {
                r.readBL();  // segment index
                const int32_t pairs = r.readBL();
                if (!plausible(pairs, r, 12)) return;
                for (int32_t p = 0; p < pairs; ++p) {
                    r.read3BD();
                    r.read3BD();
                }
            }
            r.readBL();  // line index
            if (r2010) {
                r.readBS();
                r.readCMC(v);
                r.readBL();
                r.readBD();
                r.readBL();
            }
        }
        for (size_t l = first; l < lines.size(); ++l) lines[l].push_back(connection);
        if (r2010) r.readBS();  // attachment direction
    }
    r.readBD();  // overall scale
    r.read3BD();
    CADText text;
    text.mtext = true;
    text.height = r.readBD();
    r.readBD();  // arrowhead size
    r.readBD();  // landing gap
    for (int k = 0; k < 4; ++k) r.readBS();
    const bool hasText = r.readB();
    if (hasText) {
        text.contents = o.text();
        r.read3BD();  // normal
        text.insertion = toCAD(r.read3BD());
        text.direction = toCAD(r.read3BD());
        text.hasDirection = true;
        r.readBD();  // rotation
        text.referenceWidth = r.readBD();
    }
    if (o.broken()) return;
    auto& pool = in.drawing.vertices;
    for (const auto& points : lines) {
        CADEntity& path = in.into.emplace_back(in.base);
        path.kind = CADEntity::Kind::polyline;
        path.is3D = true;
        path.arrowhead = true;
        path.first = uint32_t(pool.size());
        path.count = uint32_t(points.size());
        for (const CADPoint& p : points) pool.push_back({p});
    }
    if (hasText) {
        CADEntity& label = in.into.emplace_back(in.base);
        label.kind = CADEntity::Kind::text;
        label.detail = uint32_t(in.drawing.texts.size());
        in.drawing.texts.push_back(std::move(text));
    }
}

}  // namespace vistrel::DWGEntityReaders
