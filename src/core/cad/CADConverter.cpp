#include "cad/CADConverter.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numbers>
#include <utility>

#include "cad/CADTextLayout.h"
#include "cad/CurveTessellation.h"
#include "cad/OCS.h"
#include "cad/PolygonFill.h"
#include "dxf/DXFDefinitionBuilder.h"
#include "dxf/RawGeometry.h"
#include "model/BoundingBox.h"

namespace vistrel::CADConverter {

namespace {

constexpr double turn = 2 * std::numbers::pi;
// Triangles of one solid hatch, and segments of one pattern hatch, and of all hatches of a
// drawing: a pathological pattern, or many, cannot explode memory.
constexpr size_t maxHatchSegments = 200'000;
constexpr size_t maxDrawingHatchSegments = 20'000'000;
// Boundary segments visited for one hatch, in fill or clipping.
constexpr size_t maxHatchWork = 50'000'000;

Float3 toFloat(const CADPoint& p) {
    return {float(p.x), float(p.y), float(p.z)};
}

// Counter-clockwise sweep from a to b in radians, within one turn: whole turns added to or
// taken from the end until it lies past the start by at most a turn, in one step (a loop would
// never end on huge angles); 0 when not finite.
double sweepBetween(double a, double b) {
    double sweep = b - a;
    if (!std::isfinite(sweep)) return 0;
    if (sweep <= 0 || sweep > turn) {
        sweep = std::fmod(sweep, turn);
        if (sweep < 0) sweep += turn;
        if (sweep < 1e-9) sweep = turn;  // whole turns, give or take rounding
    }
    return sweep;
}

class Drawer {
  public:
    Drawer(const CADDrawing& d, double tolerance) : d_(d), tolerance_(tolerance) {
        drawnBlocks_.reserve(d.blocks.size());
        for (const CADBlock& b : d.blocks) drawnBlocks_.push_back(b.defined && !b.entities.empty());
    }

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
                drawPolyline(e, into);
                break;
            case CADEntity::Kind::polyface:
                drawPolyface(e, into);
                break;
            case CADEntity::Kind::circle:
            case CADEntity::Kind::arc:
                drawArc(e, into);
                break;
            case CADEntity::Kind::ellipse:
                drawEllipse(e, into);
                break;
            case CADEntity::Kind::spline:
                if (e.detail < d_.splines.size()) {
                    points_.clear();
                    CurveTessellation::spline(d_.splines[e.detail], tolerance_, points_);
                    addPath(points_, e.layer, into);
                }
                break;
            case CADEntity::Kind::text:
                if (e.detail < d_.texts.size()) {
                    strokes_.clear();
                    CADTextLayout::layout(d_.texts[e.detail], e.extrusion, strokes_);
                    for (const auto& stroke : strokes_) addPath(stroke, e.layer, into);
                }
                break;
            case CADEntity::Kind::dimension:
                if (e.block >= 0 && size_t(e.block) < drawnBlocks_.size() &&
                    drawnBlocks_[size_t(e.block)]) {
                    RawInsert in;
                    in.block = e.block;
                    in.layer = e.layer;
                    into.inserts.push_back(in);
                } else if (e.detail < d_.dimensions.size()) {
                    drawDimension(d_.dimensions[e.detail], e.layer, into);
                }
                break;
            case CADEntity::Kind::hatch:
                if (e.detail < d_.hatches.size()) drawHatch(d_.hatches[e.detail], e, into);
                break;
            case CADEntity::Kind::face:
                drawFace(e, into);
                break;
            case CADEntity::Kind::point:
                into.pointsByLayer.at(e.layer).push_back(toFloat(e.a));
                break;
            case CADEntity::Kind::insert: {
                OCS ocs(e.extrusion);
                RawInsert in;
                in.block = e.block;
                in.layer = e.layer;
                in.position = toFloat(ocs.toWorld(e.a));
                in.scale = toFloat(e.b);
                in.rotationDeg = float(e.rotation);
                if (!ocs.isIdentity()) in.extrusion = toFloat(ocs.normal());
                into.inserts.push_back(in);
                break;
            }
        }
    }

    bool inPool(const CADEntity& e, size_t need) const {
        return size_t(e.first) + e.count <= d_.vertices.size() && e.count >= need;
    }

    static void addPath(const std::vector<CADPoint>& points, int layer, RawGeometry& into) {
        for (size_t i = 1; i < points.size(); ++i)
            into.addSegment(toFloat(points[i - 1]), toFloat(points[i]), layer);
    }

    // Bulges become arcs and widths filled strips, both in the entity's plane; a closed
    // polyline of two vertices closes only through a bulge.
    void drawPolyline(const CADEntity& e, RawGeometry& into) {
        if (!inPool(e, 0) || e.count == 0) return;
        const CADVertex* v = d_.vertices.data() + e.first;
        const OCS ocs(e.is3D ? CADPoint{0, 0, 1} : e.extrusion);
        const uint32_t n = e.count;
        bool close = e.closed && (n > 2 || (n == 2 && !e.is3D && v[1].bulge != 0));
        uint32_t spans = close ? n : n - 1;
        points_.clear();
        points_.push_back(v[0].position);
        for (uint32_t i = 0; i < spans; ++i) {
            const CADVertex& a = v[i];
            const CADVertex& b = v[(i + 1) % n];
            size_t from = points_.size() - 1;
            double bulge = e.is3D ? 0 : a.bulge;
            if (std::abs(bulge) > 1e-9 && std::isfinite(bulge))
                addBulge(a.position, b.position, bulge);
            else
                points_.push_back(b.position);
            double w0 = a.startWidth, w1 = a.endWidth;
            if ((w0 > 0 || w1 > 0) && std::isfinite(w0) && std::isfinite(w1))
                addStrip(from, w0, w1, ocs, e.layer, into);
        }
        if (!ocs.isIdentity())
            for (CADPoint& p : points_) p = ocs.toWorld(p);
        addPath(points_, e.layer, into);
        if (e.arrowhead && points_.size() >= 2) addArrowhead(points_[0], points_[1], e.layer, into);
    }

    // A filled arrow at `tip` pointing away from `from`, a fifth of their distance long, in
    // the plan.
    static void addArrowhead(const CADPoint& tip, const CADPoint& from, int layer,
                             RawGeometry& into) {
        double dx = from.x - tip.x, dy = from.y - tip.y, len = std::hypot(dx, dy);
        if (!(len > 0) || !std::isfinite(len)) return;
        double l = len / 5, w = l / 6, ux = dx / len, uy = dy / len;
        CADPoint base{tip.x + ux * l, tip.y + uy * l, tip.z + (from.z - tip.z) / 5};
        into.addQuadOrTri(toFloat(tip), toFloat({base.x + uy * w, base.y - ux * w, base.z}),
                          toFloat({base.x - uy * w, base.y + ux * w, base.z}), std::nullopt, layer);
    }

    // Points of the arc from a to b with bulge tan(angle / 4), a excluded, b exact.
    void addBulge(const CADPoint& a, const CADPoint& b, double bulge) {
        double cx = b.x - a.x, cy = b.y - a.y, chord = std::hypot(cx, cy);
        if (!(chord > 1e-12)) {
            points_.push_back(b);
            return;
        }
        double angle = 4 * std::atan(bulge);
        double h = chord / 2 * (1 - bulge * bulge) / (2 * bulge);
        double mx = (a.x + b.x) / 2 - cy / chord * h, my = (a.y + b.y) / 2 + cx / chord * h;
        double radius = std::hypot(a.x - mx, a.y - my);
        double a0 = std::atan2(a.y - my, a.x - mx);
        int segments = CurveTessellation::arcSegments(radius, angle, tolerance_);
        for (int k = 1; k < segments; ++k) {
            double t = a0 + angle * k / segments;
            double z = a.z + (b.z - a.z) * k / segments;
            points_.push_back({mx + radius * std::cos(t), my + radius * std::sin(t), z});
        }
        points_.push_back(b);
    }

    // Quads along points_[from..] in the OCS, the width running from w0 to w1 by length.
    void addStrip(size_t from, double w0, double w1, const OCS& ocs, int layer,
                  RawGeometry& into) const {
        double total = 0;
        for (size_t i = from + 1; i < points_.size(); ++i)
            total += std::hypot(points_[i].x - points_[i - 1].x, points_[i].y - points_[i - 1].y);
        if (!(total > 0)) return;
        double run = 0;
        for (size_t i = from + 1; i < points_.size(); ++i) {
            const CADPoint &p = points_[i - 1], &q = points_[i];
            double dx = q.x - p.x, dy = q.y - p.y, len = std::hypot(dx, dy);
            if (!(len > 0)) continue;
            double h0 = (w0 + (w1 - w0) * run / total) / 2;
            run += len;
            double h1 = (w0 + (w1 - w0) * run / total) / 2;
            double nx = -dy / len, ny = dx / len;
            auto corner = [&](const CADPoint& c, double h) {
                return toFloat(ocs.toWorld({c.x + nx * h, c.y + ny * h, c.z}));
            };
            into.addQuadOrTri(corner(p, -h0), corner(q, -h1), corner(q, h1), corner(p, h0), layer);
        }
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

    void drawArc(const CADEntity& e, RawGeometry& into) {
        const double radius = e.radius;
        if (!(radius > 1e-6) || !std::isfinite(radius)) return;
        double a0 = 0, sweep = turn;
        if (e.kind == CADEntity::Kind::arc) {
            a0 = e.start * std::numbers::pi / 180;
            sweep = sweepBetween(a0, e.end * std::numbers::pi / 180);
            if (!(sweep > 0)) return;
            a0 = std::fmod(a0, turn);  // a huge start would swallow the steps
        }
        const OCS ocs(e.extrusion);
        int segments = CurveTessellation::arcSegments(radius, sweep, tolerance_);
        // Successive points by one rotation each, in double: no drift worth a float, and no
        // sine per point.
        const double step = sweep / segments, c = std::cos(step), sn = std::sin(step);
        double dx = radius * std::cos(a0), dy = radius * std::sin(a0);
        Float3 previous = toFloat(ocs.toWorld({e.a.x + dx, e.a.y + dy, e.a.z}));
        for (int i = 1; i <= segments; ++i) {
            double nx = dx * c - dy * sn;
            dy = dx * sn + dy * c;
            dx = nx;
            Float3 p = toFloat(ocs.toWorld({e.a.x + dx, e.a.y + dy, e.a.z}));
            into.addSegment(previous, p, e.layer);
            previous = p;
        }
    }

    // Centre and major axis in world coordinates; the minor axis is N x major, scaled.
    void drawEllipse(const CADEntity& e, RawGeometry& into) {
        const CADPoint& major = e.b;
        double a = std::sqrt(OCS::dot(major, major)), ratio = e.radius;
        if (!(a > 1e-9) || !std::isfinite(a) || !(ratio > 0) || !std::isfinite(ratio)) return;
        CADPoint minor = OCS::cross(OCS(e.extrusion).normal(), major);
        double m = std::sqrt(OCS::dot(minor, minor));
        if (!(m > 0)) return;
        minor = OCS::scaled(minor, a * std::min(ratio, 1.0) / m);
        double sweep = sweepBetween(e.start, e.end);
        if (!(sweep > 0)) return;
        const double t0 = std::fmod(e.start, turn);
        int segments = CurveTessellation::arcSegments(a, sweep, tolerance_);
        points_.clear();
        for (int i = 0; i <= segments; ++i) {
            double t = t0 + sweep * i / segments, c = std::cos(t), s = std::sin(t);
            points_.push_back({e.a.x + major.x * c + minor.x * s, e.a.y + major.y * c + minor.y * s,
                               e.a.z + major.z * c + minor.z * s});
        }
        addPath(points_, e.layer, into);
    }

    // Points of an arc from a0 over sweep (negative: clockwise), the first excluded.
    void appendArc(const CADPoint& c, double rx, double ry, const CADPoint& major, double a0,
                   double sweep, std::vector<CADPoint>& out) const {
        double a = std::hypot(major.x, major.y);
        int n = CurveTessellation::arcSegments(std::max(a, rx), sweep, tolerance_);
        double ux = a > 0 ? major.x / a : 1, uy = a > 0 ? major.y / a : 0;
        for (int k = 1; k <= n; ++k) {
            double t = a0 + sweep * k / n, x = rx * std::cos(t), y = ry * std::sin(t);
            out.push_back({c.x + x * ux - y * uy, c.y + x * uy + y * ux, 0});
        }
    }

    // The loop's boundary as segments: each edge on its own, for files give them in any
    // order and direction.
    void hatchLoop(const CADHatchLoop& loop, std::vector<PolygonFill::Segment>& out) {
        auto chain = [&](const std::vector<CADPoint>& pts) {
            for (size_t i = 1; i < pts.size(); ++i) out.push_back({pts[i - 1], pts[i]});
        };
        std::vector<CADPoint>& pts = chain_;
        if (!loop.polyline.empty()) {
            const size_t n = loop.polyline.size();
            for (size_t i = 0; i < n; ++i) {
                const CADVertex &a = loop.polyline[i], &b = loop.polyline[(i + 1) % n];
                points_.clear();
                points_.push_back(a.position);
                if (std::abs(a.bulge) > 1e-9 && std::isfinite(a.bulge))
                    addBulge(a.position, b.position, a.bulge);
                else
                    points_.push_back(b.position);
                chain(points_);
            }
            return;
        }
        constexpr double deg = std::numbers::pi / 180;
        for (const CADHatchEdge& edge : loop.edges) {
            pts.clear();
            switch (edge.kind) {
                case CADHatchEdge::Kind::line:
                    pts = {edge.a, edge.b};
                    break;
                case CADHatchEdge::Kind::arc:
                case CADHatchEdge::Kind::ellipse: {
                    bool arc = edge.kind == CADHatchEdge::Kind::arc;
                    CADPoint major = arc ? CADPoint{1, 0, 0} : edge.b;
                    double rx = arc ? edge.radius : std::hypot(major.x, major.y);
                    double ry = arc ? edge.radius : rx * edge.radius;
                    if (!(rx > 0) || !std::isfinite(rx) || !std::isfinite(ry)) break;
                    // Clockwise edges give their angles measured clockwise.
                    double s = edge.startDeg * deg, t = edge.endDeg * deg;
                    double a0 = edge.counterClockwise ? s : -s;
                    double sweep =
                        edge.counterClockwise ? sweepBetween(s, t) : -sweepBetween(-t, -s);
                    if (sweep == 0) break;
                    a0 = std::fmod(a0, turn);
                    pts.push_back(pointAt(edge.a, rx, ry, major, a0));
                    appendArc(edge.a, rx, ry, major, a0, sweep, pts);
                    break;
                }
                case CADHatchEdge::Kind::spline:
                    CurveTessellation::spline(edge.spline, tolerance_, pts);
                    break;
            }
            chain(pts);
        }
    }

    static CADPoint pointAt(const CADPoint& c, double rx, double ry, const CADPoint& major,
                            double t) {
        double a = std::hypot(major.x, major.y);
        double ux = a > 0 ? major.x / a : 1, uy = a > 0 ? major.y / a : 0;
        double x = rx * std::cos(t), y = ry * std::sin(t);
        return {c.x + x * ux - y * uy, c.y + x * uy + y * ux, 0};
    }

    // Solid: faces by the even-odd rule. Pattern: each family of parallel lines clipped to the
    // boundary and cut into its dashes, at most maxHatchSegments in all.
    void drawHatch(const CADHatch& h, const CADEntity& e, RawGeometry& into) {
        boundary_.clear();
        for (const CADHatchLoop& loop : h.loops) hatchLoop(loop, boundary_);
        double lo[2] = {HUGE_VAL, HUGE_VAL}, hi[2] = {-HUGE_VAL, -HUGE_VAL};
        for (const auto& segment : boundary_)
            for (const CADPoint& p : segment) {
                lo[0] = std::min(lo[0], p.x), hi[0] = std::max(hi[0], p.x);
                lo[1] = std::min(lo[1], p.y), hi[1] = std::max(hi[1], p.y);
            }
        if (!(hi[0] >= lo[0]) || !(hi[1] >= lo[1])) return;
        const OCS ocs(e.extrusion);
        auto world = [&](double x, double y) { return toFloat(ocs.toWorld({x, y, h.elevation})); };
        if (h.solid) {
            triangles_.clear();
            PolygonFill::fill(boundary_, std::min(maxHatchSegments, hatchBudget_), maxHatchWork,
                              triangles_);
            hatchBudget_ -= triangles_.size();
            for (const auto& t : triangles_)
                into.addQuadOrTri(world(t[0].x, t[0].y), world(t[1].x, t[1].y),
                                  world(t[2].x, t[2].y), std::nullopt, e.layer);
            return;
        }
        const size_t granted = std::min(maxHatchSegments, hatchBudget_);
        size_t budget = granted;
        for (const CADHatchPatternLine& line : h.pattern) {
            double a = line.angleDeg * std::numbers::pi / 180;
            CADPoint dir{std::cos(a), std::sin(a), 0};
            // Lines of the family sit `spacing` apart across the direction, shifted along it.
            double spacing = -line.offset.x * dir.y + line.offset.y * dir.x;
            double shift = line.offset.x * dir.x + line.offset.y * dir.y;
            if (!(std::abs(spacing) > 1e-12) || !std::isfinite(spacing) || !std::isfinite(shift))
                continue;
            // The range of families that can meet the boundary's box.
            double across[4], k0 = HUGE_VAL, k1 = -HUGE_VAL;
            int i = 0;
            for (double x : {lo[0], hi[0]})
                for (double y : {lo[1], hi[1]})
                    across[i++] =
                        (-(x - line.base.x) * dir.y + (y - line.base.y) * dir.x) / spacing;
            for (double v : across) k0 = std::min(k0, v), k1 = std::max(k1, v);
            double period = 0;
            for (double d : line.dashes) period += std::abs(d);
            // Lines that miss every loop cost a try too, so the walk ends whatever the spacing,
            // and each try costs a pass over the boundary.
            size_t tries = std::min(maxHatchSegments, maxHatchWork / (boundary_.size() + 1));
            for (double k = std::ceil(k0); k <= k1 && budget > 0 && tries > 0; ++k, --tries) {
                CADPoint origin{line.base.x + k * line.offset.x, line.base.y + k * line.offset.y,
                                0};
                PolygonFill::clipLine(boundary_, origin, dir, spans_);
                for (size_t s = 0; s + 1 < spans_.size() && budget > 0; s += 2)
                    addDashes(origin, dir, spans_[s], spans_[s + 1], line.dashes, period, budget,
                              world, e.layer, into);
            }
        }
        hatchBudget_ -= granted - budget;
    }

    template <typename World>
    void addDashes(const CADPoint& o, const CADPoint& dir, double t0, double t1,
                   const std::vector<double>& dashes, double period, size_t& budget,
                   const World& world, int layer, RawGeometry& into) const {
        auto segment = [&](double a, double b) {
            if (budget == 0) return;
            --budget;
            into.addSegment(world(o.x + dir.x * a, o.y + dir.y * a),
                            world(o.x + dir.x * b, o.y + dir.y * b), layer);
        };
        // Dashes too fine to see, or too many to walk, draw as one line.
        if (dashes.empty() || !(period > 1e-9) || !std::isfinite(period) ||
            (t1 - t0) / period > 1e5) {
            segment(t0, t1);
            return;
        }
        // Dots are drawn as short dashes, a hundredth of the period.
        double dot = period / 100;
        for (double start = std::floor(t0 / period) * period; start < t1 && budget > 0;
             start += period) {
            double at = start;
            for (double d : dashes) {
                double len = std::abs(d), a = std::max(at, t0),
                       b = std::min(at + (d == 0 ? dot : len), t1);
                if (d >= 0 && b > a) segment(a, b);
                at += len;
            }
        }
    }

    // A linear dimension from its points: extension lines from the measured points to the
    // dimension line, the line itself and the measurement above its middle; a diameter or
    // radius as its line. Other kinds need their block.
    void drawDimension(const CADDimension& d, int layer, RawGeometry& into) {
        if (d.type == 3 || d.type == 4) {  // across or into the circle
            into.addSegment(toFloat(d.line), toFloat(d.onCurve), layer);
            return;
        }
        if (d.type > 1) return;
        double dx, dy;
        if (d.type == 1) {
            dx = d.second.x - d.first.x;
            dy = d.second.y - d.first.y;
        } else {
            double a = d.rotationDeg * std::numbers::pi / 180;
            dx = std::cos(a);
            dy = std::sin(a);
        }
        double len = std::hypot(dx, dy);
        if (!(len > 0) || !std::isfinite(len)) return;
        dx /= len;
        dy /= len;
        auto onLine = [&](const CADPoint& p) {
            double t = (p.x - d.line.x) * dx + (p.y - d.line.y) * dy;
            return CADPoint{d.line.x + t * dx, d.line.y + t * dy, d.line.z};
        };
        CADPoint a = onLine(d.first), b = onLine(d.second);
        into.addSegment(toFloat(d.first), toFloat(a), layer);
        into.addSegment(toFloat(d.second), toFloat(b), layer);
        into.addSegment(toFloat(a), toFloat(b), layer);
        double measured = d.measurement > 0 ? d.measurement : std::hypot(b.x - a.x, b.y - a.y);
        if (!(measured > 0) || !std::isfinite(measured)) return;
        CADText t;
        // Whatever the process's locale: a drawing reads the same everywhere.
        char digits[64];
        auto [end, error] =
            std::to_chars(digits, digits + sizeof digits, measured, std::chars_format::fixed, 2);
        if (error != std::errc()) return;  // too long to be a measurement
        t.contents.assign(digits, end);
        t.height = std::hypot(b.x - a.x, b.y - a.y) / 12;
        t.insertion = t.alignment = d.textMiddle;
        t.hasAlignment = true;
        t.hAlign = 4;
        t.rotation = std::atan2(dy, dx) * 180 / std::numbers::pi;
        strokes_.clear();
        CADTextLayout::layout(t, {0, 0, 1}, strokes_);
        for (const auto& stroke : strokes_) addPath(stroke, layer, into);
    }

    // A triangle when the fourth corner repeats the third, else a quad; with its outline.
    void drawFace(const CADEntity& e, RawGeometry& into) const {
        if (!inPool(e, 4)) return;
        const OCS ocs(e.planar ? e.extrusion : CADPoint{0, 0, 1});
        Float3 p[4];
        for (int i = 0; i < 4; ++i)
            p[i] = toFloat(ocs.toWorld(d_.vertices[e.first + uint32_t(i)].position));
        into.addQuadOrTri(p[0], p[1], p[2], p[3], e.layer);
        Float3 d = p[3] - p[2];
        int corners = dot(d, d) > 1e-10f ? 4 : 3;
        for (int i = 0; i < corners; ++i) into.addSegment(p[i], p[(i + 1) % corners], e.layer);
    }

    const CADDrawing& d_;
    double tolerance_;
    std::vector<bool> drawnBlocks_;  // defined and not empty, by block
    std::vector<CADPoint> points_;   // scratch
    std::vector<PolygonFill::Segment> boundary_;
    size_t hatchBudget_ = maxDrawingHatchSegments;
    std::vector<CADPoint> chain_;
    std::vector<std::array<CADPoint, 3>> triangles_;
    std::vector<double> spans_;
    std::vector<std::vector<CADPoint>> strokes_;
};

// The largest side of the box of every point the records name, for the chord tolerance.
double drawingSize(const CADDrawing& d) {
    double lo[3] = {HUGE_VAL, HUGE_VAL, HUGE_VAL}, hi[3] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
    auto add = [&](const CADPoint& p, double r) {
        const double c[3] = {p.x, p.y, p.z};
        for (int k = 0; k < 3; ++k)
            if (std::isfinite(c[k]) && std::abs(c[k]) < 1e15) {
                lo[k] = std::min(lo[k], c[k] - r);
                hi[k] = std::max(hi[k], c[k] + r);
            }
    };
    auto addAll = [&](const std::vector<CADEntity>& entities) {
        for (const CADEntity& e : entities) {
            bool round = e.kind == CADEntity::Kind::circle || e.kind == CADEntity::Kind::arc;
            double r = round && std::isfinite(e.radius) ? std::min(std::abs(e.radius), 1e15) : 0;
            if (e.kind != CADEntity::Kind::polyline && e.kind != CADEntity::Kind::face) add(e.a, r);
            if (e.kind == CADEntity::Kind::line) add(e.b, 0);
        }
    };
    addAll(d.entities);
    for (const CADVertex& v : d.vertices) add(v.position, 0);
    if (!(hi[0] >= lo[0]))
        for (const CADBlock& b : d.blocks) addAll(b.entities);
    double size = 0;
    for (int k = 0; k < 3; ++k)
        if (hi[k] >= lo[k]) size = std::max(size, hi[k] - lo[k]);
    return size;
}

}  // namespace

SKPModel convert(CADDrawing&& drawing, const SKPFileInfo& fileInfo) {
    double size = drawingSize(drawing);
    Drawer drawer(drawing, size > 0 ? size * relativeChordError : 1e-6);
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
