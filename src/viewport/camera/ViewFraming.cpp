#include "camera/ViewFraming.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace vistrel::viewport::ViewFraming {

namespace {

constexpr float kDegrees = std::numbers::pi_v<float> / 180;

FramedPose fit(const CameraRig::Pose& pose, Float3 boundsMin, Float3 boundsMax, Float2 viewportSize,
               float vfovDegrees, float minimumRadius, float margin) {
    const float r = std::max(0.5f * length(boundsMax - boundsMin), minimumRadius);
    const float aspect = std::max(viewportSize.x, 1.0f) / std::max(viewportSize.y, 1.0f);
    const float vfov = vfovDegrees * kDegrees;
    const float hfov = 2 * std::atan(std::tan(vfov / 2) * aspect);
    const float a = std::min(hfov, vfov);
    const float d = r / std::sin(a / 2) * margin;

    FramedPose out;
    out.pose = pose;
    out.pose.position = (boundsMin + boundsMax) * 0.5f - pose.forward() * d;
    out.pose.distance = d;
    out.orthographicScale = r * margin / std::min(aspect, 1.0f);
    return out;
}

bool hidden(const std::vector<bool>& visibleLayers, int layer) {
    return layer >= 0 && size_t(layer) < visibleLayers.size() && !visibleLayers[size_t(layer)];
}

struct BoundsWalk {
    const SKPModel& model;
    const std::vector<bool>& visibleLayers;
    Float3 lo{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
              std::numeric_limits<float>::infinity()};
    Float3 hi = -lo;

    void widen(const Float4x4& t, const std::vector<Float3>& points) {
        for (Float3 p : points) {
            const Float3 w = t.transformPoint(p);
            lo = min(lo, w);
            hi = max(hi, w);
        }
    }

    void visit(const Definition& d, const Float4x4& t, int depth) {
        // Readers guarantee no cycles; the cap only guards a malformed hand-made model.
        if (depth > 64) return;
        for (const Mesh& m : d.meshes)
            if (!hidden(visibleLayers, m.layer)) widen(t, m.positions);
        for (const EdgeSet& e : d.edges)
            if (!hidden(visibleLayers, e.layer)) widen(t, e.positions);
        for (const Instance& c : d.children) {
            if (hidden(visibleLayers, c.layer)) continue;
            if (c.definition < 0 || size_t(c.definition) >= model.definitions.size()) continue;
            visit(model.definitions[size_t(c.definition)], t * c.transform, depth + 1);
        }
    }
};

}  // namespace

FramedPose frame(const CameraRig::Pose& pose, Float3 boundsMin, Float3 boundsMax,
                 Float2 viewportSize, float vfovDegrees) {
    return fit(pose, boundsMin, boundsMax, viewportSize, vfovDegrees, 0.01f, 1.05f);
}

FramedPose frameBounds(const CameraRig::Pose& pose, Float3 boundsMin, Float3 boundsMax,
                       Float2 viewportSize, float vfovDegrees) {
    return fit(pose, boundsMin, boundsMax, viewportSize, vfovDegrees, 0.25f, 1.15f);
}

FramedPose look(StandardView view, Float3 boundsMin, Float3 boundsMax, Float2 viewportSize,
                float vfovDegrees) {
    const auto o = CameraRig::orientation(forward(view), upHint(view));
    CameraRig::Pose pose;
    pose.yaw = o.yaw;
    pose.pitch = o.pitch;
    return frame(pose, boundsMin, boundsMax, viewportSize, vfovDegrees);
}

CameraView apply(const Camera& camera) {
    CameraView out;
    out.isPerspective = camera.isPerspective;
    out.fovDegrees = std::clamp(camera.fovDegrees, 10.0f, 120.0f);
    if (!camera.isPerspective)
        out.orthographicScale = std::clamp(camera.orthoHeight * 0.5f, 0.01f, 10000.0f);
    const Float3 direction = camera.target - camera.position;
    const auto o = CameraRig::orientation(direction, camera.up);
    out.pose.position = camera.position;
    out.pose.yaw = o.yaw;
    out.pose.pitch = o.pitch;
    out.pose.distance = std::max(length(direction), 0.001f);
    return out;
}

InitialView initialView(const SKPModel& model, Float3 visibleMin, Float3 visibleMax,
                        Float2 viewportSize, float vfovDegrees, bool isPerspective) {
    InitialView out;
    out.fovDegrees = std::clamp(vfovDegrees, 10.0f, 120.0f);
    const bool planar = model.isPlanar2D();
    out.isPerspective = (model.fileInfo.isCAD() && planar) ? false : isPerspective;

    if (model.camera) {
        const CameraView c = apply(*model.camera);
        out.pose = c.pose;
        out.isPerspective = c.isPerspective;
        out.fovDegrees = c.fovDegrees;
        // A perspective camera still needs a parallel scale: the one that keeps the framing at
        // the target, as switching projection would give.
        out.orthographicScale = c.orthographicScale.value_or(
            std::clamp(c.pose.distance * std::tan(c.fovDegrees * kDegrees / 2), 0.01f, 10000.0f));
        return out;
    }
    const FramedPose f = look(planar ? StandardView::top : StandardView::iso, visibleMin,
                              visibleMax, viewportSize, out.fovDegrees);
    out.pose = f.pose;
    out.orthographicScale = std::clamp(f.orthographicScale, 0.01f, 10000.0f);
    return out;
}

Bounds visibleBounds(const SKPModel& model, const std::vector<bool>& visibleLayers) {
    BoundsWalk walk{model, visibleLayers};
    walk.visit(model.root, Float4x4::identity(), 0);
    if (!(walk.hi.x >= walk.lo.x)) return {model.boundsMin, model.boundsMax};
    return {walk.lo, walk.hi};
}

}  // namespace vistrel::viewport::ViewFraming
