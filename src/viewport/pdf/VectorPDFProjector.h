// The vector PDF export's own camera: world points to page points (y up, origin at the page's
// lower left), with near-plane clipping in perspective. No allocation: clipped polygons live in
// fixed arrays and results are appended to the caller's lists.
#pragma once

#include <vector>

#include "camera/CameraRig.h"
#include "model/Math.h"

namespace vistrel::viewport::VectorPDFExporter {

struct PagePoint {
    double x = 0, y = 0;
};

struct ProjectedTriangle {
    PagePoint p0, p1, p2;
    float depth = 0;
    double area = 0;  // square points
    Float3 color;
    float alpha = 1;
};

struct ProjectedEdge {
    PagePoint p0, p1;
    float depth = 0;
    double length = 0;  // points
};

// A polygon in camera space: x right, y up, z forward. A triangle clipped by one plane has at
// most four corners.
struct ClipPolygon {
    Float3 corners[4];
    int count = 0;
};

// One-plane Sutherland-Hodgman: keeps what lies at z >= nearPlane. Takes 0 or 3 corners.
ClipPolygon clipPolygonAgainstNearPlane(const ClipPolygon& polygon, float nearPlane);

struct Projector {
    Float3 eye, right, up, forward;
    bool isPerspective = true;
    float focal = 1;  // points per unit of tangent, or points per metre in parallel
    float nearPlane = 0.04f;
    PagePoint centre;
    double cullX = 0, cullY = 0, cullWidth = 0, cullHeight = 0;

    // fovDegrees is clamped to 10...120; orthographicScale floored at 0.01.
    static Projector make(const CameraRig::Pose& pose, bool isPerspective, float fovDegrees,
                          float orthographicScale, double pageWidth, double pageHeight);

    Float3 toCamera(Float3 world) const;
    // Appends zero, one or two triangles (a corner behind the near plane makes a quadrilateral).
    // Colour and alpha of the results are left for the caller.
    void projectTriangle(Float3 a, Float3 b, Float3 c, std::vector<ProjectedTriangle>& out) const;
    // Appends the edge unless it lies behind the camera or off the page; its depth is moved
    // `depthBias` towards the eye so that it wins over the faces it borders.
    void projectSegment(Float3 a, Float3 b, float depthBias, std::vector<ProjectedEdge>& out) const;

  private:
    PagePoint toPage(Float3 cameraPoint) const;
    bool outsideCull(double minX, double minY, double maxX, double maxY) const;
};

}  // namespace vistrel::viewport::VectorPDFExporter
