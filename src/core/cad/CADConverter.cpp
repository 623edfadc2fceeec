#include "cad/CADConverter.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "dxf/DXFDefinitionBuilder.h"
#include "dxf/RawGeometry.h"
#include "model/BoundingBox.h"

namespace vistrel::CADConverter {

namespace {

// Four turns at 15 degrees, beyond any real arc: a hostile angle must not turn a few bytes of
// file into megabytes of segments.
constexpr int maxArcSegments = 96;

Float3 toFloat(const CADPoint& p) {
    return {float(p.x), float(p.y), float(p.z)};
}

class Drawer {
  public:
    explicit Drawer(const CADDrawing& d) : d_(d) {}

    void draw(const std::vector<CADEntity>& entities, RawGeometry& into) {
        for (const CADEntity& e : entities) draw(e, into);
    }

  private:
    void draw(const CADEntity& e, RawGeometry& into) {
        switch (e.kind) {
            case CADEntity::Kind::line:
                into.addSegment(toFloat(e.a), toFloat(e.b), e.layer);
                break;
            case CADEntity::Kind::polyline:
                drawPath(e, into);
                break;
            case CADEntity::Kind::polyface:
                drawPolyface(e, into);
                break;
            case CADEntity::Kind::circle:
            case CADEntity::Kind::arc:
                drawArc(e, into);
                break;
            case CADEntity::Kind::face:
                drawFace(e, into);
                break;
            case CADEntity::Kind::point:
                into.pointsByLayer.at(e.layer).push_back(toFloat(e.a));
                break;
            case CADEntity::Kind::insert: {
                RawInsert in;
                in.block = e.block;
                in.layer = e.layer;
                in.position = toFloat(e.a);
                in.scale = toFloat(e.b);
                in.rotationDeg = float(e.rotation);
                into.inserts.push_back(in);
                break;
            }
            case CADEntity::Kind::ellipse:
            case CADEntity::Kind::spline:
                break;
        }
    }

    bool inPool(const CADEntity& e, size_t need) const {
        return size_t(e.first) + e.count <= d_.vertices.size() && e.count >= need;
    }

    // Consecutive segments, closed when asked and more than two vertices.
    void drawPath(const CADEntity& e, RawGeometry& into) const {
        if (!inPool(e, 0)) return;
        const CADVertex* v = d_.vertices.data() + e.first;
        for (uint32_t i = 1; i < e.count; ++i)
            into.addSegment(toFloat(v[i - 1].position), toFloat(v[i].position), e.layer);
        if (e.closed && e.count > 2)
            into.addSegment(toFloat(v[e.count - 1].position), toFloat(v[0].position), e.layer);
    }

    void drawPolyface(const CADEntity& e, RawGeometry& into) const {
        if (!inPool(e, 0) || size_t(e.faceFirst) + e.faceCount > d_.faces.size()) return;
        const CADVertex* v = d_.vertices.data() + e.first;
        auto ok = [&](int32_t i) { return i >= 1 && uint32_t(i) <= e.count; };
        for (uint32_t f = 0; f < e.faceCount; ++f) {
            const auto& idx = d_.faces[e.faceFirst + f];
            if (!ok(idx[0]) || !ok(idx[1]) || !ok(idx[2])) continue;
            std::optional<Float3> fourth;
            if (ok(idx[3])) fourth = toFloat(v[idx[3] - 1].position);
            into.addQuadOrTri(toFloat(v[idx[0] - 1].position), toFloat(v[idx[1] - 1].position),
                              toFloat(v[idx[2] - 1].position), fourth, e.layer);
        }
    }

    void drawArc(const CADEntity& e, RawGeometry& into) const {
        const double radius = e.radius;
        if (!(radius > 1e-6) || !std::isfinite(radius)) return;
        double a0 = 0, sweep = 2 * std::numbers::pi;
        if (e.kind == CADEntity::Kind::arc) {
            constexpr double toRadians = 3.1415925 / 180, turn = 6.283185;
            a0 = e.start * toRadians;
            double a1 = e.end * toRadians;
            if (!std::isfinite(a0) || !std::isfinite(a1)) return;
            // Counter-clockwise always: whole turns added to the end until it passes the start,
            // in one step (a loop would never end on huge angles).
            sweep = a1 - a0;
            if (sweep <= 0) {
                sweep = std::fmod(sweep, turn);
                sweep = sweep < 0 ? sweep + turn : turn;
            }
            if (!(sweep > 0) || !std::isfinite(sweep)) return;
        }
        double count = std::max(8.0, std::floor(sweep / 0.26179937));
        int segments = int(std::min(count, double(maxArcSegments)));
        // Successive points by one rotation each, in double: no drift worth a float.
        const double step = sweep / segments, c = std::cos(step), sn = std::sin(step);
        const double cx = e.a.x, cy = e.a.y;
        const auto cz = float(e.a.z);
        double dx = radius * std::cos(a0), dy = radius * std::sin(a0);
        Float3 previous{float(cx + dx), float(cy + dy), cz};
        for (int i = 1; i <= segments; ++i) {
            double nx = dx * c - dy * sn;
            dy = dx * sn + dy * c;
            dx = nx;
            Float3 p{float(cx + dx), float(cy + dy), cz};
            into.addSegment(previous, p, e.layer);
            previous = p;
        }
    }

    // A triangle when the fourth corner repeats the third, else a quad; with its outline.
    void drawFace(const CADEntity& e, RawGeometry& into) const {
        if (!inPool(e, 4)) return;
        Float3 p[4];
        for (int i = 0; i < 4; ++i) p[i] = toFloat(d_.vertices[e.first + uint32_t(i)].position);
        into.addQuadOrTri(p[0], p[1], p[2], p[3], e.layer);
        Float3 d = p[3] - p[2];
        int corners = dot(d, d) > 1e-10f ? 4 : 3;
        for (int i = 0; i < corners; ++i) into.addSegment(p[i], p[(i + 1) % corners], e.layer);
    }

    const CADDrawing& d_;
};

}  // namespace

SKPModel convert(CADDrawing&& drawing, const SKPFileInfo& fileInfo) {
    Drawer drawer(drawing);
    std::vector<RawBlock> blocks(drawing.blocks.size());
    std::vector<std::string> blockNames;
    blockNames.reserve(drawing.blocks.size());
    for (size_t i = 0; i < drawing.blocks.size(); ++i) {
        CADBlock& block = drawing.blocks[i];
        blockNames.push_back(std::move(block.name));
        if (!block.defined) continue;
        drawer.draw(block.entities, blocks[i].geometry);
        block.entities = {};
        Float3 base = toFloat(block.base);
        if (dot(base, base) > 1e-10f) blocks[i].geometry.subtract(base);
        blocks[i].defined = true;
    }
    RawGeometry main;
    drawer.draw(drawing.entities, main);
    drawing.entities = {};
    drawing.vertices = {};
    drawing.faces = {};

    DXFDefinitionBuilder builder(drawing.unitScale, blocks, std::move(blockNames));
    BoundingBox box;
    Definition root = builder.buildRoot(main, box);
    if (box.isEmpty()) box.min = box.max = Float3{};
    Stats stats = builder.stats();
    stats.definitions = int64_t(builder.definitions().size());
    std::vector<Layer> layers;
    layers.reserve(drawing.layers.size());
    for (CADLayer& l : drawing.layers)
        layers.push_back({std::move(l.name), !l.off && !l.frozen, std::nullopt});
    return SKPModel(std::move(root), std::move(builder.definitions()), {}, std::move(layers), {},
                    std::nullopt, box.min, box.max, stats, fileInfo, std::nullopt, std::nullopt);
}

}  // namespace vistrel::CADConverter
