#include "pdf/VectorPDFProjector.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vistrel::viewport::VectorPDFExporter {

ClipPolygon clipPolygonAgainstNearPlane(const ClipPolygon& polygon, float nearPlane) {
    ClipPolygon out;
    if (polygon.count == 0) return out;
    Float3 previous = polygon.corners[polygon.count - 1];
    bool previousInside = nearPlane <= previous.z;
    for (int i = 0; i < polygon.count; ++i) {
        const Float3 current = polygon.corners[i];
        const bool inside = nearPlane <= current.z;
        if (inside != previousInside && out.count < 4) {
            const float t = (nearPlane - previous.z) / (current.z - previous.z);
            out.corners[out.count++] = previous + (current - previous) * t;
        }
        if (inside && out.count < 4) out.corners[out.count++] = current;
        previous = current;
        previousInside = inside;
    }
    return out;
}

Projector Projector::make(const CameraRig::Pose& pose, bool isPerspective, float fovDegrees,
                          float orthographicScale, double pageWidth, double pageHeight) {
    Projector p;
    const double halfHeight = pageHeight / 2;
    p.isPerspective = isPerspective;
    if (isPerspective) {
        const double fov = std::clamp(fovDegrees, 10.0f, 120.0f) * std::numbers::pi / 180;
        p.focal = float(halfHeight / std::max(std::tan(fov / 2), 0.0001));
        p.nearPlane = std::clamp(pose.distance * 0.005f, 0.04f, 0.25f);
    } else {
        p.focal = float(halfHeight / std::max(double(orthographicScale), 0.01));
        p.nearPlane = -10000;
    }
    p.eye = pose.position;
    p.right = pose.right();
    p.forward = pose.forward();
    p.up = pose.up();
    p.centre = {pageWidth / 2, pageHeight / 2};
    p.cullX = -8;
    p.cullY = -8;
    p.cullWidth = pageWidth + 16;
    p.cullHeight = pageHeight + 16;
    return p;
}

Float3 Projector::toCamera(Float3 world) const {
    const Float3 d = world - eye;
    return {dot(right, d), dot(up, d), dot(forward, d)};
}

PagePoint Projector::toPage(Float3 c) const {
    const double s = isPerspective ? double(focal) / std::max(c.z, nearPlane) : double(focal);
    return {centre.x + c.x * s, centre.y + c.y * s};
}

bool Projector::outsideCull(double minX, double minY, double maxX, double maxY) const {
    return maxX < cullX || maxY < cullY || minX > cullX + cullWidth || minY > cullY + cullHeight;
}

void Projector::projectTriangle(Float3 a, Float3 b, Float3 c,
                                std::vector<ProjectedTriangle>& out) const {
    ClipPolygon polygon{{toCamera(a), toCamera(b), toCamera(c)}, 3};
    if (isPerspective) polygon = clipPolygonAgainstNearPlane(polygon, nearPlane);
    if (polygon.count < 3) return;

    PagePoint page[4];
    for (int i = 0; i < polygon.count; ++i) page[i] = toPage(polygon.corners[i]);

    for (int i = 1; i + 1 < polygon.count; ++i) {
        const PagePoint q0 = page[0], q1 = page[i], q2 = page[i + 1];
        const double minX = std::min({q0.x, q1.x, q2.x}), maxX = std::max({q0.x, q1.x, q2.x});
        const double minY = std::min({q0.y, q1.y, q2.y}), maxY = std::max({q0.y, q1.y, q2.y});
        if (outsideCull(minX, minY, maxX, maxY)) continue;
        const double area =
            std::fabs((q1.x - q0.x) * (q2.y - q0.y) - (q1.y - q0.y) * (q2.x - q0.x)) / 2;
        if (!(area > 0.01)) continue;
        const float depth =
            (polygon.corners[0].z + polygon.corners[i].z + polygon.corners[i + 1].z) * 0.33333334f;
        out.push_back({q0, q1, q2, depth, area, {}, 1});
    }
}

void Projector::projectSegment(Float3 a, Float3 b, float depthBias,
                               std::vector<ProjectedEdge>& out) const {
    Float3 c0 = toCamera(a), c1 = toCamera(b);
    if (isPerspective) {
        const bool behind0 = c0.z < nearPlane, behind1 = c1.z < nearPlane;
        if (behind0 && behind1) return;
        if (behind0 || behind1) {
            float divisor = c1.z - c0.z;
            if (std::fabs(divisor) < 0.000001f) divisor = divisor < 0 ? -0.000001f : 0.000001f;
            const float t = (nearPlane - c0.z) / divisor;
            const Float3 crossing = c0 + (c1 - c0) * t;
            (behind0 ? c0 : c1) = crossing;
        }
    }
    const PagePoint q0 = toPage(c0), q1 = toPage(c1);
    if (outsideCull(std::min(q0.x, q1.x), std::min(q0.y, q1.y), std::max(q0.x, q1.x),
                    std::max(q0.y, q1.y)))
        return;
    const double length = std::hypot(q1.x - q0.x, q1.y - q0.y);
    out.push_back({q0, q1, 0.5f * (c0.z + c1.z) - depthBias, length});
}

}  // namespace vistrel::viewport::VectorPDFExporter
