// Owns where the camera is. Every navigation input ends here: the rig keeps the pose, runs
// glides, orbit inertia and key flight on one repeating timer, writes each new pose to the
// camera node and calls onChange. It knows nothing of views or events.
//
// Angles are radians, lengths metres, the world right-handed and Z-up. Main thread only.
// Nothing in orbit, look, step or a tick allocates.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <thread>

#include "camera/CameraNode.h"
#include "camera/KeySet.h"
#include "model/Math.h"
#include "timing/Clock.h"
#include "timing/RepeatingTimer.h"

namespace vistrel::viewport {

class CameraRig {
  public:
    // The camera description of the whole program. Derived vectors are computed on every call,
    // so a pose can be assigned field by field at any moment.
    struct Pose {
        Float3 position;
        float yaw = 0;       // heading around Z, from +X towards +Y
        float pitch = 0;     // elevation above the XY plane; negative looks down
        float distance = 1;  // from the eye to the point of interest

        Float3 forward() const;
        // Never has a Z component: the horizon stays level whatever the pitch.
        Float3 right() const;
        Float3 up() const;
        Float3 target() const;
        // Columns right, up, -forward: the camera looks down its own -Z.
        Float3x3 basis() const;
        friend bool operator==(const Pose&, const Pose&) = default;
    };

    struct Glide {
        Pose from, to;
        double fromScale = 1, toScale = 1;  // orthographic scale at both ends
        float elapsed = 0, duration = 0;
    };

    struct Orientation {
        float yaw = 0, pitch = 0;
    };

    static constexpr float defaultGlideDuration = 0.35f;
    static constexpr float slowGlideDuration = 3.5f;

    // Apple virtual key codes: physical positions, so WASD works on any layout.
    static constexpr std::array<std::uint16_t, 2> forwardKeys{13, 126};  // W, up arrow
    static constexpr std::array<std::uint16_t, 2> backKeys{1, 125};      // S, down arrow
    static constexpr std::array<std::uint16_t, 2> leftKeys{0, 123};      // A, left arrow
    static constexpr std::array<std::uint16_t, 2> rightKeys{2, 124};     // D, right arrow
    static constexpr std::array<std::uint16_t, 2> upKeys{49, 14};        // space, E
    static constexpr std::array<std::uint16_t, 1> downKeys{8};           // C
    static bool isMoveKey(std::uint16_t code);

    // The rig writes to `node`, drives `timer` and reads `clock`; all three must outlive it.
    // `maximumFramesPerSecond` answers the highest refresh rate over all screens (0 or absent
    // when there is none); the tick runs at that rate but never below 60 Hz.
    CameraRig(CameraNode& node, RepeatingTimer& timer, const Clock& clock,
              std::function<double()> maximumFramesPerSecond = {});
    ~CameraRig();
    CameraRig(const CameraRig&) = delete;
    CameraRig& operator=(const CameraRig&) = delete;

    // Called after every change of the pose; never empty.
    std::function<void()> onChange = [] {};

    // Written directly by the view.
    std::optional<Float3> pivot;  // orbit centre; pose.target() when absent
    KeySet keys;                  // codes now held
    bool fast = false;            // shift held: key flight four times faster
    bool is2DMode = false;        // flat drawings: the camera looks straight down, no tilt
    float baseSpeed = 1;          // key flight, metres per second
    float speedScale = 1;         // the user's multiplier of baseSpeed

    const Pose& pose() const { return pose_; }
    Float2 spin() const { return spin_; }
    const std::optional<Glide>& glide() const { return glide_; }
    // A glide runs, inertia spins, or a move key is held.
    bool isMoving() const;

    // Turns around the pivot. A time stamp (seconds, the input event's) also measures the
    // speed that the camera keeps as inertia after the last event. In 2D mode the camera only
    // turns about the vertical and looks straight down.
    void orbit(float dYaw, float dPitch, std::optional<double> time = std::nullopt);
    // Turns on the spot: yaw first, then pitch, each applied (two onChange calls).
    void look(float dYaw, float dPitch);
    // Jumps without animation and stops glide and inertia; the scale goes to the node's camera.
    void set(const Pose& pose, std::optional<double> orthographicScale = std::nullopt);
    // Stores and applies a pose, leaving glide, inertia and held keys running (zoom, pan).
    void place(const Pose& pose);
    // Drops glide and inertia and forgets the last orbit time: every new gesture starts still.
    void stop();
    // Time stamp of the last timed orbit step, until forgotten.
    std::optional<double> lastOrbitTime() const { return lastOrbitTime_; }
    void forgetOrbitTime() { lastOrbitTime_.reset(); }
    void clearSpin() { spin_ = {}; }
    // Animates from the current pose, replacing any glide under way; starts the timer. A
    // duration of 0 or less arrives on the next step.
    void beginGlide(const Pose& to, double fromScale, double toScale, float duration);
    // Advances glide, then inertia, then key flight by dt seconds.
    void step(float dt);
    // Starts the timer if anything moves and it is not already running. Call after anything
    // that may have made isMoving() true. The timer stops itself on the first tick at rest.
    void startTicking();

    // Yaw and pitch that look along `forward`, with `up` deciding the heading when forward is
    // vertical (the top view gives yaw pi/2, so +Y is up on the screen).
    static Orientation orientation(Float3 forward, Float3 up);

  private:
    void applyPose();
    void tick();
    bool holdsMoveKey() const;
    float limitedPitch(float dPitch) const;

    CameraNode& node_;
    RepeatingTimer& timer_;
    const Clock& clock_;
    std::function<double()> maximumFramesPerSecond_;
    std::thread::id owner_;

    Pose pose_;
    Float2 spin_;
    std::optional<double> lastOrbitTime_;
    std::optional<Glide> glide_;
    double lastTick_ = 0;
};

}  // namespace vistrel::viewport
