#include "cad/PolygonFill.h"

#include <algorithm>
#include <cmath>

namespace vistrel::PolygonFill {

namespace {

struct Edge {
    double x0, y0, x1, y1;  // y0 < y1
    double xAt(double y) const { return x0 + (x1 - x0) * (y - y0) / (y1 - y0); }
};

}  // namespace

void fill(const std::vector<Segment>& boundary, size_t maxTriangles, size_t maxWork,
          std::vector<std::array<CADPoint, 3>>& out) {
    std::vector<Edge> edges;
    std::vector<double> ys;
    for (const auto& [a, b] : boundary) {
        if (!std::isfinite(a.x) || !std::isfinite(a.y) || !std::isfinite(b.x) ||
            !std::isfinite(b.y) || a.y == b.y)
            continue;
        edges.push_back(a.y < b.y ? Edge{a.x, a.y, b.x, b.y} : Edge{b.x, b.y, a.x, a.y});
        ys.push_back(a.y);
        ys.push_back(b.y);
    }
    if (edges.empty()) return;
    std::sort(ys.begin(), ys.end());
    ys.erase(std::unique(ys.begin(), ys.end()), ys.end());
    std::sort(edges.begin(), edges.end(), [](const Edge& a, const Edge& b) { return a.y0 < b.y0; });
    const size_t limit = out.size() + maxTriangles;
    std::vector<const Edge*> active;
    std::vector<std::pair<double, const Edge*>> crossing;
    size_t next = 0;
    const double z = 0;
    for (size_t k = 0; k + 1 < ys.size() && out.size() < limit; ++k) {
        double lo = ys[k], hi = ys[k + 1], mid = (lo + hi) / 2;
        while (next < edges.size() && edges[next].y0 <= lo) active.push_back(&edges[next++]);
        std::erase_if(active, [&](const Edge* e) { return e->y1 <= lo; });
        if (active.size() > maxWork) break;
        maxWork -= active.size();
        crossing.clear();
        for (const Edge* e : active)
            if (e->y0 <= lo && e->y1 >= hi) crossing.push_back({e->xAt(mid), e});
        std::sort(crossing.begin(), crossing.end(),
                  [](const auto& a, const auto& b) { return a.first < b.first; });
        for (size_t i = 0; i + 1 < crossing.size() && out.size() + 2 <= limit; i += 2) {
            const Edge &l = *crossing[i].second, &r = *crossing[i + 1].second;
            CADPoint a{l.xAt(lo), lo, z}, b{r.xAt(lo), lo, z}, c{r.xAt(hi), hi, z},
                d{l.xAt(hi), hi, z};
            if (b.x > a.x) out.push_back({a, b, c});
            if (c.x > d.x) out.push_back({a, c, d});
        }
    }
}

void clipLine(const std::vector<Segment>& boundary, const CADPoint& origin,
              const CADPoint& direction, std::vector<double>& out) {
    out.clear();
    // Across the line: n = direction turned a quarter; each edge crossing n . (p - origin) = 0.
    const double nx = -direction.y, ny = direction.x;
    for (const auto& [a, b] : boundary) {
        double da = nx * (a.x - origin.x) + ny * (a.y - origin.y);
        double db = nx * (b.x - origin.x) + ny * (b.y - origin.y);
        // Half-open, so that a vertex on the line counts once.
        if ((da < 0) == (db < 0)) continue;
        double s = da / (da - db);
        double x = a.x + (b.x - a.x) * s, y = a.y + (b.y - a.y) * s;
        out.push_back((x - origin.x) * direction.x + (y - origin.y) * direction.y);
    }
    std::sort(out.begin(), out.end());
    if (out.size() % 2) out.pop_back();
}

}  // namespace vistrel::PolygonFill
