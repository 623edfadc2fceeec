#include "cad/CurveTessellation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace vistrel::CurveTessellation {

namespace {

CADPoint operator+(CADPoint a, CADPoint b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}
CADPoint operator-(CADPoint a, CADPoint b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}
CADPoint operator*(CADPoint a, double s) {
    return {a.x * s, a.y * s, a.z * s};
}
double norm(CADPoint a) {
    return std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
}

// Segments for a polynomial piece of degree p whose control points have the largest second
// difference d2 (Wang's bound on the flattening error).
int flatteningSegments(int p, double d2, double tolerance, int cap) {
    if (p < 2) return 1;
    double n = std::ceil(std::sqrt(p * (p - 1) * d2 / (8 * tolerance)));
    if (!(n >= 1)) return 1;
    return int(std::min(n, double(cap)));
}

struct Homogeneous {
    double x = 0, y = 0, z = 0, w = 0;
};

// de Boor on the span [knots[k], knots[k + 1]).
CADPoint evaluate(const CADSpline& s, const std::vector<double>& knots, int p, int k, double u) {
    std::array<Homogeneous, 16> d;
    for (int j = 0; j <= p; ++j) {
        const CADPoint& c = s.control[size_t(j + k - p)];
        double w = s.weights.size() == s.control.size() ? s.weights[size_t(j + k - p)] : 1;
        if (!(w > 0) || !std::isfinite(w)) w = 1;
        d[size_t(j)] = {c.x * w, c.y * w, c.z * w, w};
    }
    for (int r = 1; r <= p; ++r)
        for (int j = p; j >= r; --j) {
            double lo = knots[size_t(j + k - p)], hi = knots[size_t(j + 1 + k - r)];
            double a = hi - lo > 0 ? (u - lo) / (hi - lo) : 0;
            Homogeneous& e = d[size_t(j)];
            const Homogeneous& f = d[size_t(j - 1)];
            e = {f.x + a * (e.x - f.x), f.y + a * (e.y - f.y), f.z + a * (e.z - f.z),
                 f.w + a * (e.w - f.w)};
        }
    const Homogeneous& h = d[size_t(p)];
    double w = h.w != 0 ? h.w : 1;
    return {h.x / w, h.y / w, h.z / w};
}

void nurbs(const CADSpline& s, double tolerance, std::vector<CADPoint>& out) {
    const int n = int(s.control.size());
    const int p = std::clamp(s.degree, 1, std::min(15, n - 1));
    std::vector<double> knots = s.knots;
    bool valid =
        knots.size() == size_t(n + p + 1) &&
        std::all_of(knots.begin(), knots.end(), [](double k) { return std::isfinite(k); }) &&
        std::is_sorted(knots.begin(), knots.end()) && knots[size_t(p)] < knots[size_t(n)];
    if (!valid) {
        knots.assign(size_t(n + p + 1), 0);
        for (int i = 0; i < n + p + 1; ++i) knots[size_t(i)] = double(std::clamp(i - p, 0, n - p));
    }
    const size_t limit = out.size() + maxSplinePoints;
    for (int k = p; k < n && out.size() < limit; ++k) {
        double u0 = knots[size_t(k)], u1 = knots[size_t(k + 1)];
        if (!(u1 > u0)) continue;
        double d2 = 0;
        for (int j = k - p; j + 2 <= k; ++j) {
            const auto& c = s.control;
            d2 = std::max(d2, norm(c[size_t(j)] - c[size_t(j + 1)] * 2 + c[size_t(j + 2)]));
        }
        int segments = flatteningSegments(p, d2, tolerance, 64);
        for (int i = 0; i < segments; ++i)
            out.push_back(evaluate(s, knots, p, k, u0 + (u1 - u0) * i / segments));
    }
    // The end, on the last non-empty span.
    for (int k = n - 1; k >= p; --k)
        if (knots[size_t(k + 1)] > knots[size_t(k)]) {
            out.push_back(evaluate(s, knots, p, k, knots[size_t(k + 1)]));
            break;
        }
}

void throughFitPoints(const CADSpline& s, double tolerance, std::vector<CADPoint>& out) {
    const auto& f = s.fit;
    const size_t n = f.size();
    const size_t pieces = s.closed ? n : n - 1;
    auto at = [&](long i) {
        if (s.closed) return f[size_t((i % long(n) + long(n)) % long(n))];
        if (i < 0) return f[0] * 2 - f[1];  // reflected ends
        if (i >= long(n)) return f[n - 1] * 2 - f[n - 2];
        return f[size_t(i)];
    };
    const size_t limit = out.size() + maxSplinePoints;
    for (size_t i = 0; i < pieces && out.size() < limit; ++i) {
        CADPoint p0 = at(long(i) - 1), p1 = at(long(i)), p2 = at(long(i) + 1), p3 = at(long(i) + 2);
        // The same piece as a cubic Bezier.
        CADPoint b1 = p1 + (p2 - p0) * (1.0 / 6), b2 = p2 - (p3 - p1) * (1.0 / 6);
        double d2 = std::max(norm(p1 - b1 * 2 + b2), norm(b1 - b2 * 2 + p2));
        int segments = flatteningSegments(3, d2, tolerance, 64);
        for (int k = 0; k < segments; ++k) {
            double t = double(k) / segments, u = 1 - t;
            out.push_back(p1 * (u * u * u) + b1 * (3 * u * u * t) + b2 * (3 * u * t * t) +
                          p2 * (t * t * t));
        }
    }
    out.push_back(s.closed ? f[0] : f[n - 1]);
}

}  // namespace

int arcSegments(double radius, double sweep, double tolerance) {
    sweep = std::abs(sweep);
    if (!std::isfinite(radius) || !std::isfinite(sweep) || !std::isfinite(tolerance)) return 1;
    double minimum = std::max(1.0, std::ceil(sweep / (std::numbers::pi / 4) - 1e-9));
    double step =
        tolerance < radius ? 2 * std::acos(1 - tolerance / std::abs(radius)) : std::numbers::pi / 4;
    double n = step > 0 ? std::ceil(sweep / step) : maxArcSegments;
    return int(std::clamp(std::max(n, minimum), 1.0, double(maxArcSegments)));
}

void spline(const CADSpline& s, double tolerance, std::vector<CADPoint>& out) {
    if (!(tolerance > 0)) tolerance = 1e-9;
    if (s.control.size() >= 2)
        nurbs(s, tolerance, out);
    else if (s.fit.size() >= 2)
        throughFitPoints(s, tolerance, out);
}

}  // namespace vistrel::CurveTessellation
