#include "DXFSampleBuilding.h"

#include <cmath>
#include <iterator>
#include <numbers>
#include <string>
#include <string_view>
#include <vector>

#include "DXFTagWriter.h"

namespace vistrel::tools {

namespace {

struct P {
    double x = 0, y = 0, z = 0;
};
P operator+(P a, P b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
P operator-(P a, P b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
P operator*(P a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
P up(double z) {
    return {0, 0, z};
}

// In the order the sidebar lists them; the words before " - " make the groups. Colours are
// AutoCAD's indices, for other CAD programs: this viewer shades every face alike.
struct LayerEntry {
    const char* name;
    int color;
};
constexpr LayerEntry kLayers[] = {
    {"0", 7},
    {"Site - ground", 94},
    {"Site - paths", 8},
    {"Site - trees", 82},
    {"Site - lighting", 2},
    {"Level 0 - slab", 8},
    {"Level 0 - walls", 7},
    {"Level 0 - openings", 4},
    {"Level 0 - furniture", 32},
    {"Level 0 - lighting", 2},
    {"Level 1 - slab", 8},
    {"Level 1 - walls", 7},
    {"Level 1 - openings", 4},
    {"Level 1 - furniture", 32},
    {"Level 1 - lighting", 2},
    {"Roof - covering", 14},
    {"Roof - gables", 7},
};

constexpr double kWall = 0.3;        // exterior walls
constexpr double kPartition = 0.12;  // interior walls
constexpr double kStorey = 3.0;
constexpr double kSlab = 0.25;
constexpr double kEaves = 6.0;  // top of the exterior walls
constexpr double kLength = 12, kDepth = 8;

// An opening in a wall: along the wall from its outer start, between two heights (absolute),
// filled by a block set `inset` into the wall from the outer face.
struct Opening {
    double at, width, bottom, top;
    std::string block;
    double inset = 0.08;
};

struct Writer {
    DXFTagWriter out;
    DXFSampleFigures figures;

    explicit Writer(const std::filesystem::path& path) : out(path) {}

    void head(std::string_view kind, std::string_view layer, std::string_view subclass) {
        out.text(0, kind);
        out.nextHandle();
        out.text(100, "AcDbEntity");
        out.text(8, layer);
        out.text(100, subclass);
    }

    // A planar quad, or a triangle when d repeats c.
    void face(std::string_view layer, P a, P b, P c, P d) {
        head("3DFACE", layer, "AcDbFace");
        const P corners[4] = {a, b, c, d};
        for (int i = 0; i < 4; ++i) out.point(10 + i, corners[i].x, corners[i].y, corners[i].z);
        ++figures.faces;
    }
    void triangle(std::string_view layer, P a, P b, P c) { face(layer, a, b, c, c); }

    // A parallelepiped on three edge vectors from corner o.
    void box(std::string_view layer, P o, P ex, P ey, P ez) {
        face(layer, o, o + ey, o + ex + ey, o + ex);
        face(layer, o + ez, o + ex + ez, o + ex + ey + ez, o + ey + ez);
        face(layer, o, o + ex, o + ex + ez, o + ez);
        face(layer, o + ey, o + ey + ez, o + ex + ey + ez, o + ex + ey);
        face(layer, o, o + ez, o + ey + ez, o + ey);
        face(layer, o + ex, o + ex + ey, o + ex + ey + ez, o + ex + ez);
    }
    void box(std::string_view layer, P lo, P hi) {
        box(layer, lo, {hi.x - lo.x, 0, 0}, {0, hi.y - lo.y, 0}, {0, 0, hi.z - lo.z});
    }

    void insert(std::string_view layer, std::string_view block, P at, double rotation = 0) {
        head("INSERT", layer, "AcDbBlockReference");
        out.text(2, block);
        out.point(10, at.x, at.y, at.z);
        if (rotation != 0) out.real(50, rotation);
        ++figures.inserts;
    }

    void polyline(std::string_view layer, const std::vector<P>& points, double elevation) {
        head("LWPOLYLINE", layer, "AcDbPolyline");
        out.integer(90, int(points.size()));
        out.integer(70, 1);
        out.real(38, elevation);
        for (const P& p : points) {
            out.real(10, p.x);
            out.real(20, p.y);
        }
    }

    void beginBlock(std::string_view name) {
        out.beginBlock(name);
        ++figures.blocks;
    }
    void endBlock() { out.endBlock(); }

    // ---- walls ---------------------------------------------------------------------------

    // A straight wall whose outer face starts at `o` and runs `length` along `u`, `thickness`
    // deep along `n`; its inner face spans [innerStart, innerEnd] along `u`, shorter than the
    // outer one at mitred corners. Faces are cut into full-height strips beside each opening
    // and strips under and over it, with reveals lining the opening through the wall. Openings
    // come in order along the wall and do not overlap.
    void wall(std::string_view layer, std::string_view openingsLayer, P o, P u, double length,
              double thickness, double innerStart, double innerEnd, double z0, double z1,
              const std::vector<Opening>& openings, bool endCaps) {
        const P n{-u.y, u.x, 0};
        const P in = n * thickness;
        auto at = [&](double s, double z, P offset) { return o + u * s + offset + up(z); };
        auto rect = [&](double s0, double s1, double za, double zb, P offset) {
            if (s1 - s0 < 1e-6 || zb - za < 1e-6) return;
            face(layer, at(s0, za, offset), at(s1, za, offset), at(s1, zb, offset),
                 at(s0, zb, offset));
        };
        auto strips = [&](double from, double to, P offset) {
            double cursor = from;
            for (const Opening& w : openings) {
                rect(cursor, w.at, z0, z1, offset);
                rect(w.at, w.at + w.width, z0, w.bottom, offset);
                rect(w.at, w.at + w.width, w.top, z1, offset);
                cursor = w.at + w.width;
            }
            rect(cursor, to, z0, z1, offset);
        };
        strips(0, length, {});
        strips(innerStart, innerEnd, in);
        for (const Opening& w : openings) {
            for (double s : {w.at, w.at + w.width})
                face(layer, at(s, w.bottom, {}), at(s, w.bottom, in), at(s, w.top, in),
                     at(s, w.top, {}));
            for (double z : {w.bottom, w.top})
                if (z > z0 && z < z1)
                    face(layer, at(w.at, z, {}), at(w.at + w.width, z, {}),
                         at(w.at + w.width, z, in), at(w.at, z, in));
            if (!w.block.empty())
                insert(openingsLayer, w.block, at(w.at, w.bottom, n * w.inset),
                       std::atan2(u.y, u.x) * 180 / std::numbers::pi);
        }
        face(layer, at(0, z1, {}), at(length, z1, {}), at(innerEnd, z1, in),
             at(innerStart, z1, in));
        if (endCaps) {
            face(layer, at(0, z0, {}), at(0, z0, in), at(0, z1, in), at(0, z1, {}));
            face(layer, at(length, z0, {}), at(length, z1, {}), at(length, z1, in),
                 at(length, z0, in));
        }
    }

    // The four exterior walls of a storey, counter-clockwise from the south-west corner, so
    // that each wall's inside lies to its left. Openings are listed south, east, north, west.
    void exteriorWalls(std::string_view layer, std::string_view openingsLayer, double z0, double z1,
                       const std::vector<Opening> (&sides)[4]) {
        const P corners[4] = {{0, 0, 0}, {kLength, 0, 0}, {kLength, kDepth, 0}, {0, kDepth, 0}};
        for (int i = 0; i < 4; ++i) {
            const P a = corners[i], b = corners[(i + 1) % 4];
            const double length = std::hypot(b.x - a.x, b.y - a.y);
            const P u = (b - a) * (1 / length);
            wall(layer, openingsLayer, a, u, length, kWall, kWall, length - kWall, z0, z1, sides[i],
                 false);
        }
    }

    // A partition between two points of its centre line on the plan, capped at both ends.
    void partition(std::string_view layer, std::string_view openingsLayer, P a, P b, double z0,
                   double z1, const std::vector<Opening>& openings) {
        const double length = std::hypot(b.x - a.x, b.y - a.y);
        const P u = (b - a) * (1 / length);
        const P n{-u.y, u.x, 0};
        wall(layer, openingsLayer, a - n * (kPartition / 2), u, length, kPartition, 0, length, z0,
             z1, openings, true);
    }

    // ---- blocks --------------------------------------------------------------------------

    // A window or door frame in the wall's plane: x along the wall, y into it, z up. Doors
    // have no bottom rail and may carry a leaf, hinged at the left and swung inwards.
    void frameBlock(std::string_view name, double w, double h, double depth, int mullions,
                    bool door, double leafOpenDegrees = -1) {
        const double f = 0.06;
        beginBlock(name);
        box("0", {0, 0, 0}, {f, depth, h});
        box("0", {w - f, 0, 0}, {w, depth, h});
        box("0", {f, 0, h - f}, {w - f, depth, h});
        if (!door) box("0", {f, 0, 0}, {w - f, depth, f});
        for (int m = 1; m <= mullions; ++m) {
            const double x = w * m / (mullions + 1);
            box("0", {x - f / 2, 0, door ? 0 : f}, {x + f / 2, depth, h - f});
        }
        if (leafOpenDegrees >= 0) {
            const double a = leafOpenDegrees * std::numbers::pi / 180;
            const double leaf = w - 2 * f, thick = 0.045;
            const P along{std::cos(a) * leaf, std::sin(a) * leaf, 0};
            const P across{-std::sin(a) * thick, std::cos(a) * thick, 0};
            box("0", {f, depth, 0}, along, across, up(h - f));
        }
        endBlock();
    }

    void furnitureBlocks() {
        beginBlock("SOFA");
        box("0", {0, 0, 0.1}, {2.2, 0.9, 0.42});
        box("0", {0, 0.7, 0.42}, {2.2, 0.9, 0.85});
        box("0", {0, 0, 0}, {0.18, 0.9, 0.62});
        box("0", {2.02, 0, 0}, {2.2, 0.9, 0.62});
        endBlock();

        beginBlock("CHAIR");
        for (double x : {0.0, 0.4})
            for (double y : {0.0, 0.4}) box("0", {x, y, 0}, {x + 0.04, y + 0.04, 0.45});
        box("0", {0, 0, 0.45}, {0.44, 0.44, 0.49});
        box("0", {0, 0.4, 0.49}, {0.44, 0.44, 0.9});
        endBlock();

        beginBlock("TABLE-1800");
        for (double x : {0.05, 1.69})
            for (double y : {0.05, 0.79}) box("0", {x, y, 0}, {x + 0.06, y + 0.06, 0.72});
        box("0", {0, 0, 0.72}, {1.8, 0.9, 0.76});
        endBlock();

        beginBlock("KITCHEN-UNIT-2400");
        box("0", {0, 0, 0.1}, {2.4, 0.6, 0.88});
        box("0", {-0.02, -0.02, 0.88}, {2.42, 0.62, 0.92});
        box("0", {0, 0.25, 1.45}, {2.4, 0.6, 2.2});
        endBlock();

        beginBlock("BED-1600");
        box("0", {0, 0, 0}, {1.6, 2.0, 0.45});
        box("0", {-0.05, 1.95, 0}, {1.65, 2.05, 1.0});
        for (double x : {0.1, 0.85}) box("0", {x, 1.45, 0.45}, {x + 0.65, 1.9, 0.58});
        endBlock();

        beginBlock("WARDROBE-1200");
        box("0", {0, 0, 0}, {1.2, 0.6, 2.1});
        endBlock();

        beginBlock("DESK-1400");
        box("0", {0, 0, 0}, {0.05, 0.7, 0.72});
        box("0", {1.35, 0, 0}, {1.4, 0.7, 0.72});
        box("0", {0, 0, 0.72}, {1.4, 0.7, 0.75});
        endBlock();

        beginBlock("OUTDOOR-TABLE");
        box("0", {-0.05, -0.05, 0}, {0.05, 0.05, 0.72});
        box("0", {-0.5, -0.5, 0.72}, {0.5, 0.5, 0.75});
        box("0", {-0.01, -0.01, 0.75}, {0.01, 0.01, 2.2});
        // A parasol of four sloping panels.
        const double r = 1.3, rim = 1.95, top = 2.3;
        const P apex{0, 0, top}, c[4] = {{-r, -r, rim}, {r, -r, rim}, {r, r, rim}, {-r, r, rim}};
        for (int i = 0; i < 4; ++i) triangle("0", c[i], c[(i + 1) % 4], apex);
        endBlock();

        // A low-poly tree: a trunk under a faceted crown.
        beginBlock("TREE");
        box("0", {-0.12, -0.12, 0}, {0.12, 0.12, 2.4});
        const int segments = 8, rings = 5;
        const P centre{0, 0, 3.6};
        auto crown = [&](int ring, int seg) {
            const double phi = std::numbers::pi * ring / rings;
            const double theta = 2 * std::numbers::pi * seg / segments;
            return centre + P{1.7 * std::sin(phi) * std::cos(theta),
                              1.7 * std::sin(phi) * std::sin(theta), 1.5 * std::cos(phi)};
        };
        for (int ring = 0; ring < rings; ++ring)
            for (int seg = 0; seg < segments; ++seg) {
                const P a = crown(ring, seg), b = crown(ring, seg + 1);
                const P c2 = crown(ring + 1, seg + 1), d = crown(ring + 1, seg);
                if (ring == 0)
                    triangle("0", a, c2, d);
                else if (ring == rings - 1)
                    triangle("0", a, b, d);
                else
                    face("0", a, d, c2, b);
            }
        endBlock();
    }

    // Small fixtures, named so that the viewer finds them as point lights.
    void lightBlocks() {
        beginBlock("CEILING-LAMP");
        box("0", {-0.01, -0.01, -0.6}, {0.01, 0.01, 0});
        const double r0 = 0.08, r1 = 0.22, z0 = -0.6, z1 = -0.82;
        for (int i = 0; i < 8; ++i) {
            const double a = std::numbers::pi * i / 4, b = std::numbers::pi * (i + 1) / 4;
            face("0", {r0 * std::cos(a), r0 * std::sin(a), z0},
                 {r1 * std::cos(a), r1 * std::sin(a), z1}, {r1 * std::cos(b), r1 * std::sin(b), z1},
                 {r0 * std::cos(b), r0 * std::sin(b), z0});
        }
        endBlock();

        beginBlock("WALL-LAMP");
        box("0", {-0.08, 0, -0.12}, {0.08, 0.12, 0.12});
        endBlock();

        beginBlock("BOLLARD-LIGHT");
        box("0", {-0.08, -0.08, 0}, {0.08, 0.08, 0.7});
        box("0", {-0.11, -0.11, 0.7}, {0.11, 0.11, 0.78});
        endBlock();
    }

    void writeBlocks() {
        out.text(0, "SECTION");
        out.text(2, "BLOCKS");
        frameBlock("WINDOW-1400x1200", 1.4, 1.2, 0.08, 1, false);
        frameBlock("WINDOW-1000x1200", 1.0, 1.2, 0.08, 0, false);
        frameBlock("WINDOW-3000x1900", 3.0, 1.9, 0.08, 2, false);
        frameBlock("DOOR-ENTRANCE-1000", 1.0, 2.2, 0.08, 0, true, 28);
        frameBlock("DOOR-GLAZED-1800", 1.8, 2.2, 0.08, 1, true);
        frameBlock("DOOR-INTERIOR-900", 0.9, 2.1, kPartition, 0, true, 70);
        furnitureBlocks();
        lightBlocks();
        out.text(0, "ENDSEC");
    }

    // ---- the house -----------------------------------------------------------------------

    void writeSite() {
        box("Site - ground", {-2, -4.5, -0.25}, {18.5, 12, -0.15});
        polyline("Site - ground", {{-2, -4.5}, {18.5, -4.5}, {18.5, 12}, {-2, 12}}, -0.15);
        box("Site - paths", {1.6, -4.5, -0.15}, {3.0, 0, -0.1});
        box("Site - paths", {12, 1, -0.15}, {16.5, 6.5, -0.02});
        box("Site - paths", {4.5, -1.6, -0.15}, {8.5, 0, -0.1});
        insert("Site - trees", "TREE", {16.4, -2.2, -0.15});
        insert("Site - trees", "TREE", {16.6, 9.2, -0.15});
        insert("Site - trees", "TREE", {-0.4, 10.4, -0.15});
        insert("Site - lighting", "BOLLARD-LIGHT", {1.4, -2.2, -0.1});
        insert("Site - lighting", "BOLLARD-LIGHT", {1.4, -4.0, -0.1});
        insert("Level 0 - furniture", "OUTDOOR-TABLE", {14.5, 3.8, -0.02});
        insert("Level 0 - furniture", "CHAIR", {13.6, 3.5, -0.02}, -90);
        insert("Level 0 - furniture", "CHAIR", {15.4, 4.1, -0.02}, 90);
    }

    void writeGroundFloor() {
        box("Level 0 - slab", {0, 0, -0.3}, {kLength, kDepth, 0});
        const std::vector<Opening> sides[4] = {
            {{1.8, 1.0, 0, 2.2, "DOOR-ENTRANCE-1000"},
             {4.6, 3.0, 0.4, 2.3, "WINDOW-3000x1900"},
             {9.4, 1.4, 0.9, 2.1, "WINDOW-1400x1200"}},
            {{2.2, 1.8, 0, 2.2, "DOOR-GLAZED-1800"}, {5.6, 1.4, 0.9, 2.1, "WINDOW-1400x1200"}},
            {{4.0, 1.4, 0.9, 2.1, "WINDOW-1400x1200"}, {7.6, 1.0, 0.9, 2.1, "WINDOW-1000x1200"}},
            {{3.0, 1.4, 0.9, 2.1, "WINDOW-1400x1200"}},
        };
        exteriorWalls("Level 0 - walls", "Level 0 - openings", 0, kStorey, sides);
        const double top = kStorey - kSlab;
        partition("Level 0 - walls", "Level 0 - openings", {4, kWall, 0}, {4, kDepth - kWall, 0}, 0,
                  top, {{2.0, 0.9, 0, 2.1, "DOOR-INTERIOR-900", 0}});
        partition("Level 0 - walls", "Level 0 - openings", {4 + kPartition / 2, 4.6, 0},
                  {kLength - kWall, 4.6, 0}, 0, top, {{4.24, 0.9, 0, 2.1, "DOOR-INTERIOR-900", 0}});
        // Living room in front, kitchen behind, hall to the west.
        insert("Level 0 - furniture", "SOFA", {5.2, 1.2, 0});
        insert("Level 0 - furniture", "TABLE-1800", {9.2, 2.0, 0});
        for (double x : {9.4, 10.3}) {
            insert("Level 0 - furniture", "CHAIR", {x + 0.44, 1.89, 0}, 180);
            insert("Level 0 - furniture", "CHAIR", {x, 2.95, 0});
        }
        insert("Level 0 - furniture", "KITCHEN-UNIT-2400", {11.6, kDepth - kWall, 0}, 180);
        insert("Level 0 - furniture", "TABLE-1800", {6.2, 6.0, 0});
        insert("Level 0 - lighting", "CEILING-LAMP", {6.5, 2.3, top});
        insert("Level 0 - lighting", "CEILING-LAMP", {7.1, 6.45, top});
        insert("Level 0 - lighting", "CEILING-LAMP", {2.0, 4.0, top});
        insert("Level 0 - lighting", "WALL-LAMP", {1.3, 0, 2.0}, 180);
    }

    void writeUpperFloor() {
        const double floor = kStorey;
        box("Level 1 - slab", {kWall, kWall, floor - kSlab},
            {kLength - kWall, kDepth - kWall, floor});
        box("Level 1 - slab", {4.5, -1.4, floor - kSlab}, {8.5, 0, floor});
        // A balcony with a parapet on its three open sides.
        box("Level 1 - slab", {4.5, -1.4, floor}, {8.5, -1.32, floor + 1.0});
        for (double x : {4.5, 8.42})
            box("Level 1 - slab", {x, -1.32, floor}, {x + 0.08, 0, floor + 1.0});
        // A canopy over the entrance.
        box("Level 0 - slab", {1.3, -1.2, 2.45}, {3.3, 0, 2.6});

        const double s = floor, w0 = s + 0.9, w1 = s + 2.1;
        const std::vector<Opening> sides[4] = {
            {{1.6, 1.4, w0, w1, "WINDOW-1400x1200"},
             {5.6, 1.8, s, s + 2.2, "DOOR-GLAZED-1800"},
             {9.4, 1.4, w0, w1, "WINDOW-1400x1200"}},
            {{1.6, 1.4, w0, w1, "WINDOW-1400x1200"}, {5.4, 1.0, w0, w1, "WINDOW-1000x1200"}},
            {{2.4, 1.0, w0, w1, "WINDOW-1000x1200"}, {8.0, 1.4, w0, w1, "WINDOW-1400x1200"}},
            {{3.4, 1.4, w0, w1, "WINDOW-1400x1200"}},
        };
        exteriorWalls("Level 1 - walls", "Level 1 - openings", s, kEaves, sides);
        partition("Level 1 - walls", "Level 1 - openings", {5, kWall, 0}, {5, kDepth - kWall, 0}, s,
                  kEaves, {{5.0, 0.9, s, s + 2.1, "DOOR-INTERIOR-900", 0}});
        partition("Level 1 - walls", "Level 1 - openings", {5 + kPartition / 2, 4.4, 0},
                  {kLength - kWall, 4.4, 0}, s, kEaves,
                  {{0.5, 0.9, s, s + 2.1, "DOOR-INTERIOR-900", 0}});
        insert("Level 1 - furniture", "BED-1600", {8.6, 2.28, s});
        insert("Level 1 - furniture", "BED-1600", {8.6, 5.6, s});
        insert("Level 1 - furniture", "WARDROBE-1200", {10.3, 4.5, s});
        insert("Level 1 - furniture", "DESK-1400", {1.0, 6.9, s});
        insert("Level 1 - furniture", "CHAIR", {1.94, 6.74, s}, 180);
        insert("Level 1 - lighting", "CEILING-LAMP", {8.0, 2.3, kEaves});
        insert("Level 1 - lighting", "CEILING-LAMP", {8.5, 6.1, kEaves});
        insert("Level 1 - lighting", "CEILING-LAMP", {2.5, 4.0, kEaves});
    }

    // A gable roof with its ridge along x, overhanging the walls, and a chimney.
    void writeRoof() {
        const double overhang = 0.5, slope = std::tan(35 * std::numbers::pi / 180);
        const double thick = 0.28, x0 = -overhang, x1 = kLength + overhang;
        const double ridgeY = kDepth / 2, ridgeZ = kEaves + ridgeY * slope;
        const double eaveZ = kEaves - overhang * slope;
        for (double side : {-1.0, 1.0}) {
            const double eaveY = side < 0 ? -overhang : kDepth + overhang;
            const P lo0{x0, eaveY, eaveZ}, lo1{x1, eaveY, eaveZ};
            const P hi0{x0, ridgeY, ridgeZ}, hi1{x1, ridgeY, ridgeZ};
            const P t = up(thick);
            face("Roof - covering", lo0 + t, lo1 + t, hi1 + t, hi0 + t);
            face("Roof - covering", lo0, hi0, hi1, lo1);
            face("Roof - covering", lo0, lo1, lo1 + t, lo0 + t);
            face("Roof - covering", lo0, lo0 + t, hi0 + t, hi0);
            face("Roof - covering", lo1, hi1, hi1 + t, lo1 + t);
        }
        box("Roof - covering", {9.0, 2.6, 7.0}, {9.7, 3.2, ridgeZ + 1.0});
        box("Roof - covering", {8.95, 2.55, ridgeZ + 1.0}, {9.75, 3.25, ridgeZ + 1.12});
        for (double x : {0.0, kLength}) {
            const double inner = x == 0 ? kWall : kLength - kWall;
            // Both faces of the gable end under the roof, so the strips joining them are flat.
            const double innerZ = kEaves + kWall * slope;
            const P apex{x, ridgeY, ridgeZ}, innerApex{inner, ridgeY, ridgeZ};
            const P south{inner, kWall, innerZ}, north{inner, kDepth - kWall, innerZ};
            triangle("Roof - gables", {x, 0, kEaves}, {x, kDepth, kEaves}, apex);
            triangle("Roof - gables", south, north, innerApex);
            face("Roof - gables", {x, 0, kEaves}, apex, innerApex, south);
            face("Roof - gables", {x, kDepth, kEaves}, north, innerApex, apex);
        }
    }

    void writeHeader() { out.header(6); }

    void writeTables() {
        out.beginLayerTable(int(std::size(kLayers)));
        for (const LayerEntry& layer : kLayers) out.layer(layer.name, 0, layer.color);
        out.endLayerTable();
        figures.layers = int(std::size(kLayers));
    }
};

}  // namespace

DXFSampleFigures writeDXFSampleBuilding(const std::filesystem::path& path) {
    Writer w(path);
    w.writeHeader();
    w.writeTables();
    w.writeBlocks();
    w.out.text(0, "SECTION");
    w.out.text(2, "ENTITIES");
    w.writeSite();
    w.writeGroundFloor();
    w.writeUpperFloor();
    w.writeRoof();
    w.out.text(0, "ENDSEC");
    w.out.text(0, "EOF");
    w.figures.bytes = w.out.written();
    w.out.close();
    return w.figures;
}

}  // namespace vistrel::tools
