#include <numbers>

#include "cad/dwg/DWGEntityReaders.h"

namespace vistrel::DWGEntityReaders {

namespace {

constexpr double kDegrees = 180 / std::numbers::pi;

}  // namespace

void readText(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    const bool attrib = o.type() == DWGType::attrib;
    CADText t;
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::text;
    int generation = 0;
    if (v <= DWGVersion::r14) {
        const double elevation = r.readBD();
        const DWGPoint2 p = r.read2RD();
        const DWGPoint2 a = r.read2RD();
        t.insertion = {p.x, p.y, elevation};
        t.alignment = {a.x, a.y, elevation};
        e.extrusion = toCAD(r.read3BD());
        r.readBD();  // thickness
        t.obliqueDeg = r.readBD() * kDegrees;
        t.rotation = r.readBD() * kDegrees;
        t.height = r.readBD();
        t.widthFactor = r.readBD();
        t.contents = o.text();
        generation = r.readBS();
        t.hAlign = r.readBS();
        t.vAlign = r.readBS();
    } else {
        const uint8_t flags = r.readRC();
        const double elevation = (flags & 0x01) ? 0 : r.readRD();
        const DWGPoint2 p = r.read2RD();
        t.insertion = {p.x, p.y, elevation};
        const DWGPoint2 a = (flags & 0x02) ? p : r.read2DD(p);
        t.alignment = {a.x, a.y, elevation};
        e.extrusion = toCAD(r.readBE(v));
        r.readBT(v);
        if (!(flags & 0x04)) t.obliqueDeg = r.readRD() * kDegrees;
        if (!(flags & 0x08)) t.rotation = r.readRD() * kDegrees;
        t.height = r.readRD();
        if (!(flags & 0x10)) t.widthFactor = r.readRD();
        t.contents = o.text();
        if (!(flags & 0x20)) generation = r.readBS();
        if (!(flags & 0x40)) t.hAlign = r.readBS();
        if (!(flags & 0x80)) t.vAlign = r.readBS();
    }
    // The alignment point counts only for a justified text, as a DXF writes it.
    t.hasAlignment = t.hAlign != 0 || t.vAlign != 0;
    if (!attrib) {
        t.backward = (generation & 2) != 0;
        t.upsideDown = (generation & 4) != 0;
    } else {
        if (v >= DWGVersion::r2010) r.readRC();  // version
        bool singleLine = true;
        if (v >= DWGVersion::r2018) singleLine = r.readRC() <= 1;
        if (singleLine) {
            if (v < DWGVersion::r2007) r.readTV();  // the tag; from R2007 in the string stream
            r.readBS();
            const uint8_t flags = r.readRC();
            if (flags & 1) return;  // invisible
        }
    }
    if (o.broken()) return;
    e.detail = uint32_t(in.drawing.texts.size());
    in.drawing.texts.push_back(std::move(t));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders

namespace vistrel::DWGEntityReaders {

void readMText(DWGEntityInput& in) {
    DWGObject& o = in.object;
    DWGBitReader& r = o.data;
    const DWGVersion v = o.version();
    CADText t;
    t.mtext = true;
    CADEntity e = in.base;
    e.kind = CADEntity::Kind::text;
    t.insertion = toCAD(r.read3BD());
    e.extrusion = toCAD(r.read3BD());
    t.direction = toCAD(r.read3BD());
    t.hasDirection = true;
    t.referenceWidth = r.readBD();
    if (v >= DWGVersion::r2007) r.readBD();  // rectangle height
    t.height = r.readBD();
    t.attachment = r.readBS();
    r.readBS();  // drawing direction
    r.readBD();  // extents
    r.readBD();
    t.contents = o.text();
    if (v >= DWGVersion::r2000) {
        r.readBS();
        t.lineSpacing = r.readBD();
    }
    if (o.broken()) return;
    e.detail = uint32_t(in.drawing.texts.size());
    in.drawing.texts.push_back(std::move(t));
    in.into.push_back(e);
}

}  // namespace vistrel::DWGEntityReaders
