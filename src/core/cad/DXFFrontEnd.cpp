#include "cad/DXFFrontEnd.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <numbers>

#include "dxf/DXFUnits.h"
#include "dxf/MappedFile.h"
#include "model/SKPError.h"
#include "settings/Localization.h"

namespace vistrel {

namespace {

constexpr int64_t pollEvery = 25'000;
// Inserts one MINSERT may stand for: a hostile array must not explode memory.
constexpr int maxArrayInserts = 10'000;

enum class EntityKind {
    line,
    lwPolyline,
    polyline,
    circle,
    arc,
    face3d,
    solid,
    trace,
    point,
    insert,
    ellipse,
    spline,
    text,
    attrib,
    mtext,
    minsert,
    dimension,
    hatch,
    leader,
    multiLeader,
    other
};

EntityKind classify(const DXFTag& t) {
    switch (t.text.size()) {
        case 3:
            if (t.is("ARC")) return EntityKind::arc;
            break;
        case 4:
            if (t.is("LINE")) return EntityKind::line;
            if (t.is("TEXT")) return EntityKind::text;
            break;
        case 5:
            if (t.is("SOLID")) return EntityKind::solid;
            if (t.is("HATCH")) return EntityKind::hatch;
            if (t.is("TRACE")) return EntityKind::trace;
            if (t.is("POINT")) return EntityKind::point;
            if (t.is("MTEXT")) return EntityKind::mtext;
            break;
        case 7:
            if (t.is("MINSERT")) return EntityKind::minsert;
            if (t.is("ELLIPSE")) return EntityKind::ellipse;
            break;
        case 6:
            if (t.is("CIRCLE")) return EntityKind::circle;
            if (t.is("INSERT")) return EntityKind::insert;
            if (t.is("SPLINE")) return EntityKind::spline;
            if (t.is("ATTRIB")) return EntityKind::attrib;
            if (t.is("LEADER")) return EntityKind::leader;
            if (t.is("3DFACE")) return EntityKind::face3d;
            break;
        case 8:
            if (t.is("POLYLINE")) return EntityKind::polyline;
            break;
        case 9:
            if (t.is("DIMENSION")) return EntityKind::dimension;
            break;
        case 11:
            if (t.is("MULTILEADER")) return EntityKind::multiLeader;
            break;
        case 10:
            if (t.is("LWPOLYLINE")) return EntityKind::lwPolyline;
            break;
        default:
            break;
    }
    return EntityKind::other;
}

// Codes 10/20/30 + offset into p; the extrusion from 210/220/230. False for any other code.
bool readXYZ(const DXFTag& t, int offset, CADPoint& p) {
    int c = t.code - offset;
    if (c == 10)
        p.x = t.asDouble(0);
    else if (c == 20)
        p.y = t.asDouble(0);
    else if (c == 30)
        p.z = t.asDouble(0);
    else
        return false;
    return true;
}

bool readExtrusion(const DXFTag& t, CADEntity& e) {
    if (t.code < 210 || t.code > 230) return false;
    return readXYZ(t, 200, e.extrusion);
}

}  // namespace

DXFFrontEnd::DXFFrontEnd(std::span<const uint8_t> bytes,
                         const SKPReader::ProgressCallback& progress,
                         const SKPReader::CancelCheck& isCancelled, const MappedFile* file)
    : bytes_(bytes), reader_(bytes), progress_(progress), isCancelled_(isCancelled), file_(file) {
    layerNames_.push_back("0");
    layerIndex_.emplace("0", 0);
}

CADDrawing DXFFrontEnd::read() {
    walkSections();
    checkEncodingUpTo(bytes_.size());
    for (size_t i = 0; i < layerNames_.size(); ++i)
        drawing_.layers[i].name = decode(layerNames_[i]);
    for (size_t i = 0; i < blockNames_.size(); ++i)
        drawing_.blocks[i].name = decode(blockNames_[i]);
    for (CADText& t : drawing_.texts) t.contents = decode(t.contents);
    return std::move(drawing_);
}

// ---- section walk ----------------------------------------------------------------------

void DXFFrontEnd::walkSections() {
    DXFTag t;
    while (reader_.read(t)) {
        checkCancelled();
        if (t.code != 0 || !t.is("SECTION")) continue;
        DXFTag name;
        bool named = false;
        while (reader_.read(name))
            if (name.code == 2) {
                named = true;
                break;
            }
        if (!named) return;
        if (name.is("HEADER"))
            readHeader();
        else if (name.is("TABLES"))
            readTables();
        else if (name.is("BLOCKS"))
            readBlocks();
        else if (name.is("ENTITIES"))
            readEntities(drawing_.entities, false);
        else
            skipSection();
    }
}

void DXFFrontEnd::skipSection() {
    DXFTag t;
    while (reader_.read(t))
        if (t.code == 0 && t.is("ENDSEC")) return;
}

void DXFFrontEnd::readHeader() {
    DXFTag t;
    while (reader_.read(t)) {
        if (t.code == 0 && t.is("ENDSEC")) return;
        if (t.code != 9 || !t.is("$INSUNITS")) continue;
        DXFTag u;
        while (reader_.read(u)) {
            if (u.code == 70) {
                drawing_.unitScale = DXFUnits::metresPerUnit(u.asInt(0));
                break;
            }
            if (u.code == 0 || u.code == 9) {
                reader_.pushBack(u);
                break;
            }
        }
    }
}

void DXFFrontEnd::readTables() {
    DXFTag t;
    while (reader_.read(t)) {
        if (t.code != 0) continue;
        if (t.is("ENDSEC")) return;
        if (!t.is("LAYER")) continue;
        std::string_view name;
        int color = 7, flags = 0;
        while (reader_.read(t)) {
            if (t.code == 0) {
                reader_.pushBack(t);
                break;
            }
            if (t.code == 2)
                name = t.text;
            else if (t.code == 62)
                color = t.asInt(7);
            else if (t.code == 70)
                flags = t.asInt(0);
        }
        if (name.empty()) continue;
        CADLayer& layer = drawing_.layers[size_t(ensureLayer(name))];
        layer.frozen = (flags & 1) != 0;
        layer.off = color < 0;
    }
}

void DXFFrontEnd::readBlocks() {
    DXFTag t;
    while (reader_.read(t)) {
        if (t.code != 0) continue;
        if (t.is("ENDSEC")) return;
        if (!t.is("BLOCK")) continue;
        std::string_view name;
        CADPoint base;
        while (reader_.read(t)) {
            if (t.code == 0) {
                reader_.pushBack(t);
                break;
            }
            if (t.code == 2)
                name = t.text;
            else
                readXYZ(t, 0, base);
        }
        std::vector<CADEntity> entities;
        Stop stop = readEntities(entities, true);
        CADBlock& b = drawing_.blocks[size_t(blockId(name))];
        b.entities = std::move(entities);
        b.base = base;
        b.defined = true;
        if (stop != Stop::endBlock) return;
    }
}

// ---- entities --------------------------------------------------------------------------

DXFFrontEnd::Stop DXFFrontEnd::readEntities(std::vector<CADEntity>& into, bool stopAtEndBlk) {
    if (!announcedEntities_) {
        announcedEntities_ = true;
        if (progress_)
            progress_({L("Lecture des entités DXF…", "Reading DXF entities…"), 0, std::nullopt});
    }
    DXFTag t;
    while (reader_.read(t)) {
        if (reader_.pairsRead() >= nextPoll_) poll();
        if (t.code != 0) continue;
        if (t.is("ENDSEC")) return Stop::endSection;
        if (stopAtEndBlk && t.is("ENDBLK")) return Stop::endBlock;
        EntityKind kind = classify(t);
        switch (kind) {
            case EntityKind::line:
                readLine(into);
                break;
            case EntityKind::lwPolyline:
                readLwPolyline(into);
                break;
            case EntityKind::polyline:
                readPolyline(into);
                break;
            case EntityKind::circle:
                readArc(into, true);
                break;
            case EntityKind::arc:
                readArc(into, false);
                break;
            case EntityKind::face3d:
                readCorners(into, false);
                break;
            case EntityKind::solid:
            case EntityKind::trace:
                readCorners(into, true);
                break;
            case EntityKind::point:
                readPoint(into);
                break;
            case EntityKind::insert:
            case EntityKind::minsert:
                readInsert(into, kind == EntityKind::minsert);
                break;
            case EntityKind::dimension:
                readDimension(into);
                break;
            case EntityKind::leader:
                readLeader(into);
                break;
            case EntityKind::hatch:
                readHatch(into);
                break;
            case EntityKind::multiLeader:
                readMultiLeader(into);
                break;
            case EntityKind::ellipse:
                readEllipse(into);
                break;
            case EntityKind::spline:
                readSpline(into);
                break;
            case EntityKind::text:
            case EntityKind::attrib:
                readText(into, kind == EntityKind::attrib);
                break;
            case EntityKind::mtext:
                readMText(into);
                break;
            case EntityKind::other:
                skipFields();
                break;
        }
    }
    return Stop::endOfFile;
}

// Reads the entity's groups up to the next code 0 (pushed back): code 8 names the layer, the
// extrusion goes to `e`, every other group to `field`. Returns the layer index.
template <typename Field>
int DXFFrontEnd::readFields(CADEntity& e, Field&& field) {
    std::string_view layer;
    DXFTag t;
    while (reader_.read(t)) {
        if (t.code == 0) {
            reader_.pushBack(t);
            break;
        }
        if (t.code == 8)
            layer = t.text;
        else if (!readExtrusion(t, e))
            field(t);
    }
    e.layer = ensureLayer(layer);
    return e.layer;
}

void DXFFrontEnd::skipFields() {
    DXFTag t;
    while (reader_.read(t))
        if (t.code == 0) {
            reader_.pushBack(t);
            return;
        }
}

void DXFFrontEnd::readLine(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::line;
    readFields(e, [&](const DXFTag& t) { readXYZ(t, 0, e.a) || readXYZ(t, 1, e.b); });
}

void DXFFrontEnd::readLwPolyline(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::polyline;
    auto& pool = drawing_.vertices;
    e.first = uint32_t(pool.size());
    double x = 0, elevation = 0, width = 0;
    int flags = 0;
    readFields(e, [&](const DXFTag& t) {
        switch (t.code) {
            case 10:
                x = t.asDouble(0);
                break;
            case 20:
                pool.push_back({{x, t.asDouble(0), 0}, 0, width, width});
                break;
            case 38:
                elevation = t.asDouble(0);
                break;
            case 40:
                if (pool.size() > e.first) pool.back().startWidth = t.asDouble(0);
                break;
            case 41:
                if (pool.size() > e.first) pool.back().endWidth = t.asDouble(0);
                break;
            case 42:
                if (pool.size() > e.first) pool.back().bulge = t.asDouble(0);
                break;
            case 43:
                width = t.asDouble(0);
                break;
            case 70:
                flags = t.asInt(0);
                break;
            default:
                break;
        }
    });
    e.count = uint32_t(pool.size() - e.first);
    for (uint32_t i = 0; i < e.count; ++i) pool[e.first + i].position.z = elevation;
    e.closed = (flags & 1) != 0;
}

// POLYLINE with its VERTEX records up to SEQEND. A vertex with flag 128 and not 64 is a
// polyface face whose indices refer to the vertices read so far.
void DXFFrontEnd::readPolyline(std::vector<CADEntity>& into) {
    CADEntity e;
    e.kind = CADEntity::Kind::polyline;
    int flags = 0;
    double elevation = 0, width0 = 0, width1 = 0;
    readFields(e, [&](const DXFTag& t) {
        if (t.code == 70)
            flags = t.asInt(0);
        else if (t.code == 30)
            elevation = t.asDouble(0);
        else if (t.code == 40)
            width0 = t.asDouble(0);
        else if (t.code == 41)
            width1 = t.asDouble(0);
    });
    e.closed = (flags & 1) != 0;
    // 3D polylines and meshes lie in world coordinates; 2D ones in their OCS, at an elevation.
    e.is3D = (flags & (8 | 16 | 64)) != 0;
    auto& pool = drawing_.vertices;
    e.first = uint32_t(pool.size());
    e.faceFirst = uint32_t(drawing_.faces.size());
    DXFTag t;
    while (reader_.read(t)) {
        if (reader_.pairsRead() >= nextPoll_) poll();
        if (t.code != 0) continue;
        if (t.is("SEQEND")) {
            skipFields();
            break;
        }
        if (!t.is("VERTEX")) {
            reader_.pushBack(t);
            break;
        }
        CADEntity v;
        CADVertex vertex{{0, 0, e.is3D ? 0 : elevation}, 0, width0, width1};
        int vflags = 0;
        std::array<int32_t, 4> index{};
        readFields(v, [&](const DXFTag& f) {
            if (readXYZ(f, 0, vertex.position)) return;
            switch (f.code) {
                case 40:
                    vertex.startWidth = f.asDouble(0);
                    break;
                case 41:
                    vertex.endWidth = f.asDouble(0);
                    break;
                case 42:
                    vertex.bulge = f.asDouble(0);
                    break;
                case 70:
                    vflags = f.asInt(0);
                    break;
                case 71:
                case 72:
                case 73:
                case 74: {
                    int i = f.asInt(0);
                    index[size_t(f.code - 71)] =
                        i == std::numeric_limits<int>::min() ? 0 : std::abs(i);
                    break;
                }
                default:
                    break;
            }
        });
        if ((vflags & 128) && !(vflags & 64)) {
            e.kind = CADEntity::Kind::polyface;
            // Only the vertices read so far count.
            auto n = int32_t(pool.size() - e.first);
            for (int32_t& i : index)
                if (i > n) i = -1;
            drawing_.faces.push_back(index);
        } else {
            pool.push_back(vertex);
        }
    }
    e.count = uint32_t(pool.size() - e.first);
    e.faceCount = uint32_t(drawing_.faces.size() - e.faceFirst);
    into.push_back(e);
}

void DXFFrontEnd::readArc(std::vector<CADEntity>& into, bool circle) {
    CADEntity& e = into.emplace_back();
    e.kind = circle ? CADEntity::Kind::circle : CADEntity::Kind::arc;
    readFields(e, [&](const DXFTag& t) {
        if (readXYZ(t, 0, e.a)) return;
        if (t.code == 40)
            e.radius = t.asDouble(0);
        else if (t.code == 50)
            e.start = t.asDouble(0);
        else if (t.code == 51)
            e.end = t.asDouble(360);
    });
}

// 3DFACE corners in file order; SOLID and TRACE store the last two crosswise.
void DXFFrontEnd::readCorners(std::vector<CADEntity>& into, bool crosswise) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::face;
    e.planar = crosswise;
    CADPoint c[4];
    bool fourthGiven = false;
    readFields(e, [&](const DXFTag& t) {
        int corner = t.code % 10;
        if (t.code < 10 || t.code > 33 || corner > 3) return;
        readXYZ(t, corner, c[corner]);
        if (corner == 3) fourthGiven = true;
    });
    // A face given three corners has its fourth on the third.
    if (!fourthGiven) c[3] = c[2];
    if (crosswise) std::swap(c[2], c[3]);
    e.first = uint32_t(drawing_.vertices.size());
    e.count = 4;
    for (const CADPoint& p : c) drawing_.vertices.push_back({p});
}

void DXFFrontEnd::readPoint(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::point;
    readFields(e, [&](const DXFTag& t) { readXYZ(t, 0, e.a); });
}

// INSERT, or MINSERT: an array of columns (70, spaced by 44) and rows (71, by 45) in the
// insert's rotated plane, as that many inserts.
void DXFFrontEnd::readInsert(std::vector<CADEntity>& into, bool array) {
    CADEntity e;
    e.kind = CADEntity::Kind::insert;
    e.block = blockId({});
    e.b = {1, 1, 1};
    int columns = 1, rows = 1;
    double columnSpacing = 0, rowSpacing = 0;
    readFields(e, [&](const DXFTag& t) {
        switch (t.code) {
            case 2:
                e.block = blockId(t.text);
                break;
            case 41:
                e.b.x = t.asDouble(1);
                break;
            case 42:
                e.b.y = t.asDouble(1);
                break;
            case 43:
                e.b.z = t.asDouble(1);
                break;
            case 44:
                columnSpacing = t.asDouble(0);
                break;
            case 45:
                rowSpacing = t.asDouble(0);
                break;
            case 50:
                e.rotation = t.asDouble(0);
                break;
            case 70:
                columns = t.asInt(1);
                break;
            case 71:
                rows = t.asInt(1);
                break;
            default:
                readXYZ(t, 0, e.a);
                break;
        }
    });
    if (!array) {
        into.push_back(e);
        return;
    }
    columns = std::clamp(columns, 1, maxArrayInserts);
    rows = std::clamp(rows, 1, maxArrayInserts / columns);
    // And all of them together, however many MINSERTs a file holds.
    if (int64_t(columns) * rows > arrayInsertsLeft_) columns = rows = 1;
    arrayInsertsLeft_ -= int64_t(columns) * rows;
    double a = std::isfinite(e.rotation) ? e.rotation * std::numbers::pi / 180 : 0;
    double c = std::cos(a), sn = std::sin(a);
    for (int r = 0; r < rows; ++r)
        for (int k = 0; k < columns; ++k) {
            CADEntity one = e;
            double x = k * columnSpacing, y = r * rowSpacing;
            one.a = {e.a.x + x * c - y * sn, e.a.y + x * sn + y * c, e.a.z};
            into.push_back(one);
        }
}

// A DIMENSION: the anonymous block it names holds its lines, arrows and text in world
// coordinates; its definition points stand in when that block is missing.
void DXFFrontEnd::readDimension(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::dimension;
    e.b = {1, 1, 1};
    e.detail = uint32_t(drawing_.dimensions.size());
    CADDimension& d = drawing_.dimensions.emplace_back();
    std::string_view name;
    readFields(e, [&](const DXFTag& t) {
        if (readXYZ(t, 0, d.line) || readXYZ(t, 1, d.textMiddle) || readXYZ(t, 3, d.first) ||
            readXYZ(t, 4, d.second) || readXYZ(t, 5, d.onCurve))
            return;
        if (t.code == 2)
            name = t.text;
        else if (t.code == 70)
            d.type = t.asInt(0) & 7;
        else if (t.code == 42)
            d.measurement = t.asDouble(0);
        else if (t.code == 50)
            d.rotationDeg = t.asDouble(0);
    });
    e.extrusion = {0, 0, 1};
    e.block = name.empty() ? -1 : blockId(name);
}

// A LEADER's path through its vertices, with its arrowhead unless flag 71 is 0.
void DXFFrontEnd::readLeader(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::polyline;
    e.is3D = true;
    e.arrowhead = true;
    auto& pool = drawing_.vertices;
    e.first = uint32_t(pool.size());
    readFields(e, [&](const DXFTag& t) {
        if (t.code == 71)
            e.arrowhead = t.asInt(1) != 0;
        else if (t.code == 10)
            pool.push_back({{t.asDouble(0), 0, 0}});
        else if ((t.code == 20 || t.code == 30) && pool.size() > e.first)
            (t.code == 20 ? pool.back().position.y : pool.back().position.z) = t.asDouble(0);
    });
    e.count = uint32_t(pool.size() - e.first);
}

// Centre and major axis end (relative) in world coordinates, the minor axis as a ratio, the
// parameters in radians.
void DXFFrontEnd::readEllipse(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::ellipse;
    e.radius = 1;
    e.start = 0;
    e.end = 2 * std::numbers::pi;
    readFields(e, [&](const DXFTag& t) {
        if (readXYZ(t, 0, e.a) || readXYZ(t, 1, e.b)) return;
        if (t.code == 40)
            e.radius = t.asDouble(1);
        else if (t.code == 41)
            e.start = t.asDouble(0);
        else if (t.code == 42)
            e.end = t.asDouble(2 * std::numbers::pi);
    });
}

// Knots (40), weights (41), control points (10/20/30) and fit points (11/21/31), each point
// begun by its x.
void DXFFrontEnd::readSpline(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::spline;
    e.detail = uint32_t(drawing_.splines.size());
    CADSpline& s = drawing_.splines.emplace_back();
    readFields(e, [&](const DXFTag& t) {
        switch (t.code) {
            case 10:
                s.control.push_back({t.asDouble(0), 0, 0});
                break;
            case 20:
            case 30:
                if (!s.control.empty())
                    (t.code == 20 ? s.control.back().y : s.control.back().z) = t.asDouble(0);
                break;
            case 11:
                s.fit.push_back({t.asDouble(0), 0, 0});
                break;
            case 21:
            case 31:
                if (!s.fit.empty())
                    (t.code == 21 ? s.fit.back().y : s.fit.back().z) = t.asDouble(0);
                break;
            case 40:
                s.knots.push_back(t.asDouble(0));
                break;
            case 41:
                s.weights.push_back(t.asDouble(1));
                break;
            case 70:
                s.closed = (t.asInt(0) & 1) != 0;
                break;
            case 71:
                s.degree = t.asInt(3);
                break;
            default:
                break;
        }
    });
}

// TEXT, or an ATTRIB's value (vertical justification under 74; invisible ones dropped).
void DXFFrontEnd::readText(std::vector<CADEntity>& into, bool attrib) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::text;
    e.detail = uint32_t(drawing_.texts.size());
    CADText& t = drawing_.texts.emplace_back();
    int flags = 0;
    readFields(e, [&](const DXFTag& f) {
        if (readXYZ(f, 0, t.insertion)) return;
        if (readXYZ(f, 1, t.alignment)) {
            t.hasAlignment = true;
            return;
        }
        switch (f.code) {
            case 1:
                t.contents = f.text;
                break;
            case 40:
                t.height = f.asDouble(1);
                break;
            case 41:
                t.widthFactor = f.asDouble(1);
                break;
            case 50:
                t.rotation = f.asDouble(0);
                break;
            case 51:
                t.obliqueDeg = f.asDouble(0);
                break;
            case 70:
                flags = f.asInt(0);
                break;
            case 71:
                if (!attrib) {
                    t.backward = (f.asInt(0) & 2) != 0;
                    t.upsideDown = (f.asInt(0) & 4) != 0;
                }
                break;
            case 72:
                t.hAlign = f.asInt(0);
                break;
            case 73:
                if (!attrib) t.vAlign = f.asInt(0);
                break;
            case 74:
                if (attrib) t.vAlign = f.asInt(0);
                break;
            default:
                break;
        }
    });
    if (attrib && (flags & 1)) {
        drawing_.texts.pop_back();
        into.pop_back();
    }
}

// MTEXT: its contents in chunks of 250 under code 3, the last under code 1.
void DXFFrontEnd::readMText(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::text;
    e.detail = uint32_t(drawing_.texts.size());
    CADText& t = drawing_.texts.emplace_back();
    t.mtext = true;
    std::string last;
    bool embedded = false;  // code 101 opens an embedded object whose groups mean other things
    readFields(e, [&](const DXFTag& f) {
        embedded = embedded || f.code == 101;
        if (embedded || readXYZ(f, 0, t.insertion)) return;
        if (readXYZ(f, 1, t.direction)) {
            t.hasDirection = true;
            return;
        }
        switch (f.code) {
            case 1:
                last = f.text;
                break;
            case 3:
                t.contents += f.text;
                break;
            case 40:
                t.height = f.asDouble(1);
                break;
            case 41:
                t.referenceWidth = f.asDouble(0);
                break;
            case 44:
                t.lineSpacing = f.asDouble(1);
                break;
            case 50:
                t.rotation = f.asDouble(0);
                break;
            case 71:
                t.attachment = f.asInt(1);
                break;
            default:
                break;
        }
    });
    t.contents += last;
}

namespace {

// The groups of one HATCH, walked in order: its meaning hangs on position, not on codes alone.
class TagCursor {
  public:
    explicit TagCursor(const std::vector<DXFTag>& tags) : tags_(tags) {}
    bool done() const { return i_ >= tags_.size(); }
    int code() const { return done() ? -1 : tags_[i_].code; }
    const DXFTag& take() { return tags_[i_++]; }
    // The next group's number if it has `code` (consumed), else `fallback` (left).
    double number(int code, double fallback) {
        return this->code() == code ? take().asDouble(fallback) : fallback;
    }
    int integer(int code, int fallback) {
        return this->code() == code ? take().asInt(fallback) : fallback;
    }
    // Moves to the next group with `code`; false at the end.
    bool seek(int code) {
        while (!done() && tags_[i_].code != code) ++i_;
        return !done();
    }
    CADPoint point2(int code) {
        CADPoint p;
        p.x = number(code, 0);
        p.y = number(code + 10, 0);
        return p;
    }

  private:
    const std::vector<DXFTag>& tags_;
    size_t i_ = 0;
};

// Counts read from the file are trusted only as far as the tags go.
int boundedCount(int n, size_t limit) {
    return std::clamp(n, 0, int(std::min<size_t>(limit, 1 << 20)));
}

void readHatchEdge(TagCursor& c, CADHatchEdge& edge, size_t limit) {
    int type = c.integer(72, 1);
    switch (type) {
        case 2:
            edge.kind = CADHatchEdge::Kind::arc;
            edge.a = c.point2(10);
            edge.radius = c.number(40, 0);
            edge.startDeg = c.number(50, 0);
            edge.endDeg = c.number(51, 360);
            edge.counterClockwise = c.integer(73, 1) != 0;
            break;
        case 3:
            edge.kind = CADHatchEdge::Kind::ellipse;
            edge.a = c.point2(10);
            edge.b = c.point2(11);
            edge.radius = c.number(40, 1);
            edge.startDeg = c.number(50, 0);
            edge.endDeg = c.number(51, 360);
            edge.counterClockwise = c.integer(73, 1) != 0;
            break;
        case 4: {
            edge.kind = CADHatchEdge::Kind::spline;
            CADSpline& s = edge.spline;
            s.degree = c.integer(94, 3);
            bool rational = c.integer(73, 0) != 0;
            c.integer(74, 0);
            int knots = boundedCount(c.integer(95, 0), limit);
            int control = boundedCount(c.integer(96, 0), limit);
            for (int k = 0; k < knots && c.code() == 40; ++k)
                s.knots.push_back(c.take().asDouble(0));
            for (int k = 0; k < control && c.code() == 10; ++k) {
                s.control.push_back(c.point2(10));
                if (rational && c.code() == 42) s.weights.push_back(c.take().asDouble(1));
            }
            int fit = c.code() == 97 ? boundedCount(c.take().asInt(0), limit) : 0;
            for (int k = 0; k < fit && c.code() == 11; ++k) s.fit.push_back(c.point2(11));
            break;
        }
        default:
            edge.a = c.point2(10);
            edge.b = c.point2(11);
            break;
    }
}

}  // namespace

// HATCH: boundary paths (polylines with bulges, or chains of lines, arcs, ellipses and
// splines), then solid fill or the pattern's lines.
void DXFFrontEnd::readHatch(std::vector<CADEntity>& into) {
    CADEntity& e = into.emplace_back();
    e.kind = CADEntity::Kind::hatch;
    e.detail = uint32_t(drawing_.hatches.size());
    CADHatch& h = drawing_.hatches.emplace_back();
    hatchTags_.clear();
    readFields(e, [&](const DXFTag& t) { hatchTags_.push_back(t); });
    const size_t limit = hatchTags_.size();
    TagCursor elevation(hatchTags_);
    if (elevation.seek(30)) h.elevation = elevation.take().asDouble(0);
    TagCursor c(hatchTags_);
    if (!c.seek(70)) return;
    h.solid = c.take().asInt(0) == 1;
    if (!c.seek(91)) return;
    int paths = boundedCount(c.take().asInt(0), limit);
    for (int p = 0; p < paths && c.seek(92); ++p) {
        int flags = c.take().asInt(0);
        CADHatchLoop& loop = h.loops.emplace_back();
        if (flags & 2) {
            bool bulges = c.integer(72, 0) != 0;
            c.integer(73, 1);
            int n = boundedCount(c.integer(93, 0), limit);
            for (int k = 0; k < n && c.code() == 10; ++k) {
                CADVertex v{c.point2(10)};
                if (bulges && c.code() == 42) v.bulge = c.take().asDouble(0);
                loop.polyline.push_back(v);
            }
        } else {
            int n = boundedCount(c.integer(93, 0), limit);
            for (int k = 0; k < n && c.code() == 72; ++k)
                readHatchEdge(c, loop.edges.emplace_back(), limit);
        }
    }
    if (h.solid || !c.seek(78)) return;
    int lines = boundedCount(c.take().asInt(0), limit);
    for (int k = 0; k < lines && c.code() == 53; ++k) {
        CADHatchPatternLine& line = h.pattern.emplace_back();
        line.angleDeg = c.take().asDouble(0);
        line.base.x = c.number(43, 0);
        line.base.y = c.number(44, 0);
        line.offset.x = c.number(45, 0);
        line.offset.y = c.number(46, 0);
        int dashes = boundedCount(c.integer(79, 0), limit);
        for (int d = 0; d < dashes && c.code() == 49; ++d)
            line.dashes.push_back(c.take().asDouble(0));
    }
}

// MULTILEADER: its leader lines (each vertex list ends at its leader's connection point) and
// its text, from the context data; a block content is left out.
void DXFFrontEnd::readMultiLeader(std::vector<CADEntity>& into) {
    CADEntity e;
    hatchTags_.clear();
    readFields(e, [&](const DXFTag& t) { hatchTags_.push_back(t); });
    bool context = false, leader = false, line = false;
    CADText text;
    text.mtext = true;
    bool hasText = false;
    CADPoint connection;
    std::vector<std::vector<CADPoint>> lines;
    size_t firstOfLeader = 0;
    auto xyz = [](const DXFTag& t, CADPoint& p) {
        (t.code % 100 < 20 ? p.x : t.code % 100 < 30 ? p.y : p.z) = t.asDouble(0);
    };
    for (const DXFTag& t : hatchTags_) {
        if (t.code == 300) context = true;
        if (t.code == 301) context = false;
        if (t.code == 302) {
            leader = true;
            firstOfLeader = lines.size();
            connection = {};
        } else if (t.code == 303) {
            for (size_t i = firstOfLeader; i < lines.size(); ++i) lines[i].push_back(connection);
            leader = false;
        } else if (t.code == 304 && t.is("LEADER_LINE{")) {
            line = true;
            lines.emplace_back();
        } else if (t.code == 305) {
            line = false;
        } else if (line && (t.code == 10 || t.code == 20 || t.code == 30)) {
            if (t.code == 10 || lines.back().empty()) lines.back().emplace_back();
            xyz(t, lines.back().back());
        } else if (leader && (t.code == 10 || t.code == 20 || t.code == 30)) {
            xyz(t, connection);
        } else if (context && !leader && !line) {
            if (t.code == 304) {
                text.contents = t.text;
                hasText = true;
            } else if (t.code == 41) {
                text.height = t.asDouble(1);
            } else if (t.code == 12 || t.code == 22 || t.code == 32) {
                xyz(t, text.insertion);
            } else if (t.code == 13 || t.code == 23 || t.code == 33) {
                xyz(t, text.direction);
                text.hasDirection = true;
            } else if (t.code == 43) {
                text.referenceWidth = t.asDouble(0);
            }
        }
    }
    auto& pool = drawing_.vertices;
    for (const auto& points : lines) {
        CADEntity& path = into.emplace_back(e);
        path.kind = CADEntity::Kind::polyline;
        path.is3D = true;
        path.arrowhead = true;
        path.first = uint32_t(pool.size());
        path.count = uint32_t(points.size());
        for (const CADPoint& p : points) pool.push_back({p});
    }
    if (hasText) {
        CADEntity& label = into.emplace_back(e);
        label.kind = CADEntity::Kind::text;
        label.detail = uint32_t(drawing_.texts.size());
        drawing_.texts.push_back(std::move(text));
    }
}

// ---- names -----------------------------------------------------------------------------

int DXFFrontEnd::ensureLayer(std::string_view name) {
    if (name.empty()) name = "0";
    if (name == lastLayerName_) return lastLayer_;
    auto [it, added] = layerIndex_.try_emplace(name, int(layerNames_.size()));
    if (added) {
        layerNames_.push_back(name);
        drawing_.layers.emplace_back();
    }
    lastLayerName_ = it->first;
    lastLayer_ = it->second;
    return lastLayer_;
}

int DXFFrontEnd::blockId(std::string_view name) {
    auto [it, added] = blockIds_.try_emplace(name, int(blockNames_.size()));
    if (added) {
        blockNames_.push_back(name);
        drawing_.blocks.emplace_back();
    }
    return it->second;
}

// ---- progress, cancellation, encoding --------------------------------------------------

void DXFFrontEnd::checkCancelled() {
    if (isCancelled_ && isCancelled_()) throw SKPError::cancelled();
}

void DXFFrontEnd::poll() {
    nextPoll_ = (reader_.pairsRead() / pollEvery + 1) * pollEvery;
    checkCancelled();
    size_t total = reader_.size();
    if (progress_) {
        double f =
            total ? std::min(double(reader_.offset()) * 0.7 / double(total) + 0.15, 0.86) : 0.5;
        progress_({L("Lecture des entités DXF…", "Reading DXF entities…"), 0, f});
    }
    checkEncodingUpTo(reader_.offset());
    if (file_) file_->releaseBefore(reader_.offset());
}

// Checked behind the reader, on bytes still in memory; pairs end at line ends, where no UTF-8
// sequence is cut. Binary files mix bytes and text and are judged name by name.
void DXFFrontEnd::checkEncodingUpTo(size_t offset) {
    if (reader_.isBinary() || !fileIsUTF8_ || offset <= checkedUpTo_) return;
    std::string_view chunk(reinterpret_cast<const char*>(bytes_.data()) + checkedUpTo_,
                           offset - checkedUpTo_);
    fileIsUTF8_ = DXFText::isValidUTF8(chunk);
    checkedUpTo_ = offset;
}

std::string DXFFrontEnd::decode(std::string_view raw) const {
    bool utf8 = reader_.isBinary() ? DXFText::isValidUTF8(raw) : fileIsUTF8_;
    return utf8 ? std::string(raw) : DXFText::latin1ToUTF8(raw);
}

}  // namespace vistrel
