// The entity coordinate system of a planar entity or an insert, from its extrusion direction by
// the arbitrary-axis rule: X is world Y x N when N lies within 1/64 of world Z in X and Y, world
// Z x N otherwise; Y is N x X. A zero or non-finite direction counts as world Z.
#pragma once

#include <cmath>

#include "cad/CADEntity.h"

namespace vistrel {

class OCS {
  public:
    explicit OCS(const CADPoint& extrusion) {
        double len = std::sqrt(dot(extrusion, extrusion));
        if (!(len > 1e-12) || !std::isfinite(len)) return;
        n_ = scaled(extrusion, 1 / len);
        if (n_.x == 0 && n_.y == 0 && n_.z > 0) {
            n_ = {0, 0, 1};
            return;
        }
        identity_ = false;
        constexpr double limit = 1.0 / 64;
        ax_ = std::abs(n_.x) < limit && std::abs(n_.y) < limit ? cross({0, 1, 0}, n_)
                                                               : cross({0, 0, 1}, n_);
        ax_ = scaled(ax_, 1 / std::sqrt(dot(ax_, ax_)));
        ay_ = cross(n_, ax_);
    }

    bool isIdentity() const { return identity_; }
    const CADPoint& xAxis() const { return ax_; }
    const CADPoint& yAxis() const { return ay_; }
    const CADPoint& normal() const { return n_; }

    CADPoint toWorld(const CADPoint& p) const {
        if (identity_) return p;
        return {p.x * ax_.x + p.y * ay_.x + p.z * n_.x, p.x * ax_.y + p.y * ay_.y + p.z * n_.y,
                p.x * ax_.z + p.y * ay_.z + p.z * n_.z};
    }

    static double dot(const CADPoint& a, const CADPoint& b) {
        return a.x * b.x + a.y * b.y + a.z * b.z;
    }
    static CADPoint cross(const CADPoint& a, const CADPoint& b) {
        return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    }
    static CADPoint scaled(const CADPoint& a, double s) { return {a.x * s, a.y * s, a.z * s}; }

  private:
    bool identity_ = true;
    CADPoint ax_{1, 0, 0}, ay_{0, 1, 0}, n_{0, 0, 1};
};

}  // namespace vistrel
