#include "DXFPlanGenerator.h"

#include "DXFTagWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <string_view>
#include <vector>

namespace vistrel::tools {

namespace {

// A small deterministic generator (the standard distributions differ between libraries).
class Random {
  public:
    uint32_t next() {
        state_ = state_ * 6364136223846793005ull + 1442695040888963407ull;
        return uint32_t(state_ >> 33);
    }
    double uniform(double lo, double hi) { return lo + (hi - lo) * (next() / 2147483648.0); }
    int below(int n) { return int(next() % uint32_t(n)); }

  private:
    uint64_t state_ = 0x5eed;
};

std::vector<std::string> layerNames() {
    std::vector<std::string> names{"0"};
    const char* disciplines[] = {"A-WALL", "A-DOOR", "A-GLAZ", "A-FURN", "A-FLOR", "A-CLNG",
                                 "S-COLS", "S-BEAM", "E-LITE", "E-POWR", "M-HVAC", "P-FIXT"};
    const char* modifiers[] = {"-EXT",  "-INT",  "-NEW",  "-DEMO", "-IDEN", "-PATT",
                               "-OTLN", "-HIDD", "-ABOV", "-BELO", "-FIRE", "-ACST",
                               "-MOVE", "-PRHT", "-SPCL", "-TEXT", "-DIMS", "-NPLT"};
    for (const char* d : disciplines)
        for (const char* m : modifiers) names.push_back(std::string(d) + m);
    for (int i = 1; i <= 40; ++i) names.push_back("Mur 2d " + std::to_string(i));
    for (int i = 1; i <= 30; ++i) names.push_back("Plan:\u00C9tage " + std::to_string(i));
    return names;  // 287 layers
}

struct Generator {
    DXFTagWriter out;
    Random rng;
    std::vector<std::string> layers = layerNames();
    DXFPlanFigures figures;

    explicit Generator(const std::filesystem::path& path) : out(path) {}

    const std::string& layer(int i) { return layers[size_t(i) % layers.size()]; }

    void head(std::string_view kind, const std::string& layerName, std::string_view subclass) {
        out.text(0, kind);
        out.nextHandle();
        out.text(330, "1F");
        out.text(100, "AcDbEntity");
        out.text(8, layerName);
        out.text(100, subclass);
    }

    void line(const std::string& l, double x0, double y0, double x1, double y1) {
        head("LINE", l, "AcDbLine");
        out.point(10, x0, y0, 0);
        out.point(11, x1, y1, 0);
    }
    void lwpolyline(const std::string& l, const std::vector<std::pair<double, double>>& v,
                    bool closed, bool bulge = false) {
        head("LWPOLYLINE", l, "AcDbPolyline");
        out.integer(90, int(v.size()));
        out.integer(70, closed ? 1 : 0);
        out.real(43, 0);
        for (size_t i = 0; i < v.size(); ++i) {
            out.real(10, v[i].first);
            out.real(20, v[i].second);
            if (bulge && i == 0) out.real(42, 0.4142);
        }
    }
    void circle(const std::string& l, double x, double y, double r) {
        head("CIRCLE", l, "AcDbCircle");
        out.point(10, x, y, 0);
        out.real(40, r);
    }
    void arc(const std::string& l, double x, double y, double r, double a0, double a1) {
        head("ARC", l, "AcDbCircle");
        out.point(10, x, y, 0);
        out.real(40, r);
        out.text(100, "AcDbArc");
        out.real(50, a0);
        out.real(51, a1);
    }
    void corners(std::string_view kind, const std::string& l, const double (&c)[4][3]) {
        head(kind, l, kind == "3DFACE" ? "AcDbFace" : "AcDbTrace");
        for (int i = 0; i < 4; ++i) out.point(10 + i, c[i][0], c[i][1], c[i][2]);
    }
    void point(const std::string& l, double x, double y, double z) {
        head("POINT", l, "AcDbPoint");
        out.point(10, x, y, z);
    }
    void insert(const std::string& l, std::string_view block, double x, double y, double sx,
                double sy, double rotation) {
        head("INSERT", l, "AcDbBlockReference");
        out.text(2, block);
        out.point(10, x, y, 0);
        if (sx != 1 || sy != 1) {
            out.real(41, sx);
            out.real(42, sy);
            out.real(43, 1);
        }
        if (rotation != 0) out.real(50, rotation);
    }
    void polyline3d(const std::string& l, const std::vector<std::array<double, 3>>& v) {
        head("POLYLINE", l, "AcDb3dPolyline");
        out.integer(66, 1);
        out.point(10, 0, 0, 0);
        out.integer(70, 8);
        for (const auto& p : v) {
            head("VERTEX", l, "AcDbVertex");
            out.text(100, "AcDb3dPolylineVertex");
            out.point(10, p[0], p[1], p[2]);
            out.integer(70, 32);
        }
        head("SEQEND", l, "AcDbSequenceEnd");
    }
    // A box of six faces as a polyface mesh.
    void polyfaceBox(const std::string& l, double x, double y, double w, double d, double h) {
        head("POLYLINE", l, "AcDbPolyFaceMesh");
        out.integer(66, 1);
        out.point(10, 0, 0, 0);
        out.integer(70, 64);
        out.integer(71, 8);
        out.integer(72, 6);
        for (int i = 0; i < 8; ++i) {
            head("VERTEX", l, "AcDbVertex");
            out.text(100, "AcDbPolyFaceMeshVertex");
            out.point(10, x + ((i & 1) ? w : 0), y + ((i & 2) ? d : 0), (i & 4) ? h : 0);
            out.integer(70, 192);
        }
        const int faces[6][4] = {{1, 2, 4, 3}, {5, 6, 8, 7}, {1, 2, 6, 5},
                                 {3, 4, 8, 7}, {1, 3, 7, 5}, {2, 4, 8, 6}};
        for (const auto& f : faces) {
            head("VERTEX", l, "AcDbFaceRecord");
            out.point(10, 0, 0, 0);
            out.integer(70, 128);
            for (int k = 0; k < 4; ++k) out.integer(71 + k, f[k]);
        }
        head("SEQEND", l, "AcDbSequenceEnd");
    }
    void text(const std::string& l, double x, double y, std::string_view s) {
        head("TEXT", l, "AcDbText");
        out.point(10, x, y, 0);
        out.real(40, 250);
        out.text(1, s);
        out.text(100, "AcDbText");
    }

    void writeHeader() { out.header(4, "ANSI_1252"); }

    void writeTables() {
        out.beginLayerTable(int(layers.size()));
        for (size_t i = 0; i < layers.size(); ++i)
            out.layer(layers[i], i % 37 == 5 ? 1 : 0,        // a few frozen
                      i % 41 == 7 ? -3 : int(1 + i % 250));  // a few switched off
        out.endLayerTable();
        figures.layers = int(layers.size());
    }

    void beginBlock(const std::string& name, double bx = 0, double by = 0) {
        out.beginBlock(name, bx, by);
        ++figures.blocks;
    }
    void endBlock() { out.endBlock(); }

    // Leaf blocks, then workstations inserting them, then offices inserting workstations:
    // three levels of nesting.
    void writeBlocks() {
        out.text(0, "SECTION");
        out.text(2, "BLOCKS");
        for (int v = 0; v < 8; ++v) {
            std::string s = std::to_string(v);
            const std::string& furn = layer(1 + 3 * 18 + v);
            beginBlock("CHAIR-" + s);
            lwpolyline(furn, {{-250, -250}, {250, -250}, {250, 250}, {-250, 250}}, true, true);
            arc(furn, 0, 0, 300, 200, 340);
            line(furn, -250, 250, 250, 250);
            endBlock();
            beginBlock("DESK-" + s, 100, 50);  // a base point off the origin
            lwpolyline(furn, {{100, 50}, {1700, 50}, {1700, 850}, {100, 850}}, true);
            line(furn, 100, 450, 1700, 450);
            circle(furn, 300, 700, 60);
            endBlock();
            beginBlock("WORKSTATION-" + s);
            insert(furn, "DESK-" + s, 0, 0, 1, 1, 0);
            insert(furn, "CHAIR-" + s, 800, -300, 1, 1, 180);
            point(furn, 800, 400, 750);
            endBlock();
            beginBlock("OFFICE-" + s);
            for (int k = 0; k < 4; ++k)
                insert(layer(1 + 3 * 18 + k), "WORKSTATION-" + s, (k % 2) * 2200.0,
                       (k / 2) * 2000.0, k == 3 ? -1 : 1, 1, k * 90.0);
            double panel[4][3] = {
                {0, 0, 2700}, {4400, 0, 2700}, {4400, 4000, 2700}, {0, 4000, 2700}};
            corners("3DFACE", layer(1 + 5 * 18), panel);
            endBlock();
        }
        const std::string& door = layer(1 + 18);
        beginBlock("DOOR-900");
        line(door, 0, 0, 0, 900);
        arc(door, 0, 0, 900, 0, 90);
        endBlock();
        beginBlock("WINDOW-1200");
        line(layer(1 + 2 * 18), 0, 0, 1200, 0);
        line(layer(1 + 2 * 18), 0, 100, 1200, 100);
        double sill[4][3] = {{0, -50, 0}, {1200, -50, 0}, {0, 150, 0}, {1200, 150, 0}};
        corners("TRACE", layer(1 + 2 * 18 + 1), sill);
        endBlock();
        beginBlock("COLUMN-400");
        double col[4][3] = {{-200, -200, 0}, {200, -200, 0}, {-200, 200, 0}, {200, 200, 0}};
        corners("SOLID", layer(1 + 6 * 18), col);
        circle(layer(1 + 6 * 18 + 1), 0, 0, 280);
        endBlock();
        beginBlock("WC");
        polyfaceBox(layer(1 + 11 * 18), 0, 0, 400, 700, 420);
        circle(layer(1 + 11 * 18), 200, 450, 180);
        endBlock();
        out.text(0, "ENDSEC");
    }

    // One bay of the plan, 8 m by 6 m, with walls, openings, furniture and services.
    void writeBay(int column, int row) {
        const double x = 1'250'000 + column * 8000.0, y = 4'500'000 + row * 6000.0;
        const int floor = row % 30;
        const std::string& wall = layer(1 + (column + row) % 6);
        const std::string& mur = layer(1 + 12 * 18 + (column % 40));
        const std::string& etage = layer(1 + 12 * 18 + 40 + floor);
        line(wall, x, y, x + 8000, y);
        line(wall, x, y, x, y + 6000);
        line(mur, x + 200, y + 200, x + 7800, y + 200);
        lwpolyline(
            etage,
            {{x + 200, y + 200}, {x + 7800, y + 200}, {x + 7800, y + 5800}, {x + 200, y + 5800}},
            true);
        insert(layer(1 + 18 + column % 18), "DOOR-900", x + 3000, y + 200, column % 2 ? -1 : 1, 1,
               (column % 4) * 90.0);
        insert(layer(1 + 2 * 18 + row % 18), "WINDOW-1200", x + 1000, y, 1, 1, 0);
        insert(layer(1 + 3 * 18 + (column + row) % 18),
               "OFFICE-" + std::to_string((column + row) % 8), x + 1500, y + 1200, 1, 1,
               rng.uniform(-5, 5));
        insert(layer(1 + 6 * 18), "COLUMN-400", x, y, 1, 1, 0);
        if ((column + row) % 5 == 0) insert(layer(1 + 11 * 18), "WC", x + 6500, y + 4500, 1, 1, 90);
        arc(layer(1 + 18), x + 3000, y + 200, 900, 270 + rng.uniform(0, 10), 10);
        circle(layer(1 + 8 * 18 + column % 18), x + 4000, y + 3000, 150);
        point(layer(1 + 4 * 18), x + rng.uniform(0, 8000), y + rng.uniform(0, 6000),
              rng.uniform(0, 50));
        double slab[4][3] = {
            {x, y, -300}, {x + 8000, y, -300}, {x, y + 6000, -300}, {x + 8000, y + 6000, -300}};
        corners("SOLID", layer(1 + 4 * 18 + 1), slab);
        if (column % 3 == 0)
            polyline3d(
                layer(1 + 10 * 18 + row % 18),
                {{x + 500, y + 5500, 2800}, {x + 7500, y + 5500, 2800}, {x + 7500, y + 500, 2900}});
        if (column % 7 == 0)
            text(layer(1 + 15), x + 400, y + 400, "Bureau " + std::to_string(column));
        figures.entities += 12;
        figures.inserts += 4;
    }

    void writeEntities(uint64_t targetBytes) {
        out.text(0, "SECTION");
        out.text(2, "ENTITIES");
        // Roughly square whatever the size (a bay takes about 2.3 kB), so that the plan stays a
        // building-sized drawing rather than a kilometres-long strip.
        const int columns = std::clamp(int(std::sqrt(double(targetBytes) / 2300 * 0.75)), 20, 4000);
        for (int row = 0;; ++row) {
            for (int column = 0; column < columns; ++column) writeBay(column, row);
            if (out.written() >= targetBytes) break;
        }
        out.text(0, "ENDSEC");
    }
};

}  // namespace

DXFPlanFigures writeDXFPlan(const std::filesystem::path& path, uint64_t targetBytes) {
    Generator g(path);
    g.writeHeader();
    g.writeTables();
    g.writeBlocks();
    g.writeEntities(targetBytes);
    g.out.text(0, "EOF");
    g.figures.bytes = g.out.written();
    g.out.close();
    return g.figures;
}

}  // namespace vistrel::tools
