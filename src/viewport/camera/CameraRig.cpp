#include "camera/CameraRig.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numbers>

namespace vistrel::viewport {

namespace {

constexpr float halfPi = std::numbers::pi_v<float> / 2;
constexpr float twoPi = std::numbers::pi_v<float> * 2;
// 89 degrees: orbit and look stop short of the pole so that yaw keeps a meaning.
constexpr float pitchLimit = 1.55334f;
// A tick after a stall (sleep, debugger, a long frame) moves by this much at most.
constexpr double maxTickStep = 0.1;
constexpr float minOrbitInterval = 1.0f / 120;
constexpr float defaultOrbitInterval = 1.0f / 60;
// Inertia decays with a 0.1 s time constant and stops below this speed (rad/s).
constexpr float spinDecayRate = 10;
constexpr float spinRestSpeed = 0.01f;
constexpr float fastBoost = 4;

template <size_t N>
int held(const KeySet& keys, const std::array<std::uint16_t, N>& codes) {
    return std::any_of(codes.begin(), codes.end(), [&](auto c) { return keys.contains(c); }) ? 1
                                                                                             : 0;
}

float smoothstep(float t) {
    return t * t * (3 - 2 * t);
}

}  // namespace

Float3 CameraRig::Pose::forward() const {
    const float cp = std::cos(pitch);
    return {std::cos(yaw) * cp, std::sin(yaw) * cp, std::sin(pitch)};
}

Float3 CameraRig::Pose::right() const {
    return {std::sin(yaw), -std::cos(yaw), 0};
}

Float3 CameraRig::Pose::up() const {
    return cross(right(), forward());
}

Float3 CameraRig::Pose::target() const {
    return position + forward() * distance;
}

Float3x3 CameraRig::Pose::basis() const {
    const Float3 f = forward(), r = right();
    return {r, cross(r, f), -f};
}

bool CameraRig::isMoveKey(std::uint16_t code) {
    auto in = [code](const auto& set) {
        return std::find(set.begin(), set.end(), code) != set.end();
    };
    return in(forwardKeys) || in(backKeys) || in(leftKeys) || in(rightKeys) || in(upKeys) ||
           in(downKeys);
}

CameraRig::CameraRig(CameraNode& node, RepeatingTimer& timer, const Clock& clock,
                     std::function<double()> maximumFramesPerSecond)
    : node_(node),
      timer_(timer),
      clock_(clock),
      maximumFramesPerSecond_(std::move(maximumFramesPerSecond)),
      owner_(std::this_thread::get_id()) {}

CameraRig::~CameraRig() {
    // The timer may outlive the rig; its callback must never reach a dead rig.
    timer_.stop();
}

bool CameraRig::holdsMoveKey() const {
    return held(keys, forwardKeys) || held(keys, backKeys) || held(keys, leftKeys) ||
           held(keys, rightKeys) || held(keys, upKeys) || held(keys, downKeys);
}

bool CameraRig::isMoving() const {
    return glide_.has_value() || spin_ != Float2{} || holdsMoveKey();
}

void CameraRig::applyPose() {
    node_.position = pose_.position;
    node_.orientation = quaternionFromRotation(pose_.basis());
    onChange();
}

float CameraRig::limitedPitch(float dPitch) const {
    // A pose already beyond the limit (the top view at 90 degrees) stays there until moved
    // inwards, rather than jumping to the limit.
    const float bound = std::max(std::fabs(pose_.pitch), pitchLimit);
    return std::clamp(pose_.pitch + dPitch, -bound, bound);
}

void CameraRig::orbit(float dYaw, float dPitch, std::optional<double> time) {
    const Float3 centre = pivot ? *pivot : pose_.target();
    const Float3x3 oldBasis = pose_.basis();
    const float effectivePitch = is2DMode ? 0 : dPitch;
    const float newPitch = is2DMode ? -halfPi : limitedPitch(dPitch);

    const Float3 local = oldBasis.transposeTimes(pose_.position - centre);
    pose_.yaw += dYaw;
    pose_.pitch = newPitch;
    pose_.position = centre + pose_.basis() * local;
    applyPose();

    if (!time) return;
    float dt = defaultOrbitInterval;
    if (lastOrbitTime_) {
        const float since = float(*time - *lastOrbitTime_);
        if (since > 0) dt = std::max(since, minOrbitInterval);
    }
    // The last event before the release alone sets the speed the camera keeps.
    spin_ = {dYaw / dt, effectivePitch / dt};
    lastOrbitTime_ = time;
}

void CameraRig::look(float dYaw, float dPitch) {
    pose_.yaw += dYaw;
    applyPose();
    pose_.pitch = limitedPitch(dPitch);
    applyPose();
}

void CameraRig::set(const Pose& pose, std::optional<double> orthographicScale) {
    glide_.reset();
    spin_ = {};
    lastOrbitTime_.reset();
    if (orthographicScale && node_.camera) node_.camera->orthographicScale = *orthographicScale;
    pose_ = pose;
    applyPose();
}

void CameraRig::place(const Pose& pose) {
    pose_ = pose;
    applyPose();
}

void CameraRig::stop() {
    glide_.reset();
    spin_ = {};
    lastOrbitTime_.reset();
}

void CameraRig::beginGlide(const Pose& to, double fromScale, double toScale, float duration) {
    spin_ = {};
    glide_ = Glide{pose_, to, fromScale, toScale, 0, duration};
    startTicking();
}

void CameraRig::step(float dt) {
    if (glide_) {
        Glide& g = *glide_;
        const float elapsed = g.elapsed + dt;
        const float r = g.duration > 0 ? elapsed / g.duration : 1;
        const float e = smoothstep(std::min(r, 1.0f));
        pose_.position = g.from.position + (g.to.position - g.from.position) * e;
        pose_.pitch = g.from.pitch + (g.to.pitch - g.from.pitch) * e;
        pose_.distance = g.from.distance + (g.to.distance - g.from.distance) * e;
        // The short way round; the end yaw may differ from to.yaw by whole turns.
        float d = std::remainder(g.to.yaw - g.from.yaw, twoPi);
        if (!std::isfinite(d)) d = 0;
        pose_.yaw = g.from.yaw + d * e;
        if (node_.camera)
            node_.camera->orthographicScale = g.fromScale + (g.toScale - g.fromScale) * e;
        if (r < 1)
            g.elapsed = elapsed;
        else
            glide_.reset();
        applyPose();
    }

    if (spin_ != Float2{}) {
        orbit(spin_.x * dt, spin_.y * dt);
        const float decay = std::exp(-spinDecayRate * dt);
        spin_ = {spin_.x * decay, spin_.y * decay};
        if (std::hypot(spin_.x, spin_.y) < spinRestSpeed) spin_ = {};
    }

    if (holdsMoveKey()) {
        const Float3 f = is2DMode ? pose_.up() : pose_.forward();
        const Float3 v = is2DMode ? Float3{} : Float3{0, 0, 1};
        const float a = float(held(keys, forwardKeys) - held(keys, backKeys));
        const float b = float(held(keys, rightKeys) - held(keys, leftKeys));
        const float c = float(held(keys, upKeys) - held(keys, downKeys));
        const Float3 d = f * a + pose_.right() * b + v * c;
        const float len = length(d);
        if (len > 0) {
            const float boost = fast ? fastBoost : 1;
            pose_.position += d / len * (baseSpeed * speedScale * boost * dt);
            applyPose();
        }
    }
}

void CameraRig::startTicking() {
    if (timer_.isRunning() || !isMoving()) return;
    lastTick_ = clock_.now();
    const double fps = maximumFramesPerSecond_ ? maximumFramesPerSecond_() : 0;
    const double period = 1 / std::max(60.0, std::isfinite(fps) ? fps : 0.0);
    timer_.start(period, [this] { tick(); });
}

void CameraRig::tick() {
    assert(std::this_thread::get_id() == owner_ && "the rig's timer fires on the main thread");
    const double now = clock_.now();
    step(float(std::min(now - lastTick_, maxTickStep)));
    lastTick_ = now;
    if (!isMoving()) timer_.stop();
}

CameraRig::Orientation CameraRig::orientation(Float3 forward, Float3 up) {
    const Float3 f = normalize(forward);
    Float3 r = cross(f, up);
    r.z = 0;
    if (length(r) < 0.0001f) r = {f.y, -f.x, 0};
    const float yaw = length(r) < 1e-6f ? 0 : std::atan2(r.x, -r.y);
    const float pitch = std::atan2(f.z, std::cos(yaw) * f.x + std::sin(yaw) * f.y);
    return {yaw, pitch};
}

}  // namespace vistrel::viewport
