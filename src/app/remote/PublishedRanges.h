// The ranges of camera and light values as published in the OSC namespace, shared by the
// namespace and by the controls that set the same values, so that both show one set of limits.
#pragma once

#include <algorithm>
#include <utility>

namespace vistrel::app {

class DocumentModel;

struct PublishedRanges {
    using Range = std::pair<double, double>;

    static constexpr Range angle{-180, 180};
    static constexpr Range pitch{-89, 89};
    static constexpr Range fov{10, 120};
    static constexpr Range focal{5, 135};
    static constexpr Range exposure{-3, 3};
    static constexpr Range speed{0.1, 16};
    // What the commands accept: below the published floor, for the slowest walk.
    static constexpr Range acceptedSpeed{0.0625, 16};
    static constexpr Range eyeHeight{0.2, 10};
    static constexpr double defaultEyeHeight = 1.7;
    static constexpr Range sunElevation{8, 85};
    static constexpr Range sunIntensity{0, 3};
    static constexpr Range ambient{0, 2};
    static constexpr Range lightIntensity{0, 3};
    static constexpr Range ambientOcclusion{0, 2};

    // Follow the model's reference bounds; these values stand when no document is active.
    Range coordinates{-100, 100};
    Range distances{0.1, 200};
    Range orthoScale() const { return {0.1, distances.second}; }
};

// A 32-bit value held inside a range, as the commands take it.
inline float clampedTo(float value, PublishedRanges::Range range) {
    return std::clamp(value, float(range.first), float(range.second));
}

// The live ranges of `model`, or the no-document ones when it is null. Not const because the
// model computes its ranges in non-const operations.
PublishedRanges publishedRanges(DocumentModel* model);

}  // namespace vistrel::app
