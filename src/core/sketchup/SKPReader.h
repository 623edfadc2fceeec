// The one door through which any file becomes an SKPModel.
//
// load() reads the header (SKPFileInfo) and routes: CAD files (.dwg, .dxf, or a DWG/DXF header)
// go to CADReader, everything else is offered to the SketchUp library. Both throw SKPError.
// Progress may be reported on the loading thread; isCancelled is polled at the readers' own
// rhythm and ends the load with SKPError::cancelled.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <mutex>
#include <optional>
#include <string>

#include "model/SKPModel.h"

namespace vistrel::SKPReader {

struct Progress {
    std::string phase;  // already in the user's language
    int64_t faces = 0;
    std::optional<double> fraction;
};

using ProgressCallback = std::function<void(const Progress&)>;
using CancelCheck = std::function<bool()>;

SKPModel load(const std::filesystem::path& url, const ProgressCallback& progress = {},
              const CancelCheck& isCancelled = {});

// A file known to be for the SketchUp library; also reads back the importer plug-in's output.
SKPModel loadSkpFile(const std::filesystem::path& url, const SKPFileInfo& fileInfo,
                     const ProgressCallback& progress, const CancelCheck& isCancelled);

// Held for the whole of a loadSkpFile: the library serves one load at a time. Taken inside the
// plug-in lock, never the other way round.
std::mutex& lock();

// Whether load() hands this file to CADReader.
bool routesToCAD(const SKPFileInfo& info);

// Axis-aligned bounds in metres. Empty is min = +inf, max = -inf; a NaN loses against a number.
struct Box {
    Float3 min{std::numeric_limits<float>::infinity(), std::numeric_limits<float>::infinity(),
               std::numeric_limits<float>::infinity()};
    Float3 max{-std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity(),
               -std::numeric_limits<float>::infinity()};

    bool isEmpty() const { return max.x < min.x; }
    void add(Float3 p) {
        min = vistrel::min(min, p);
        max = vistrel::max(max, p);
    }
    // Takes the eight corners of `other` through the full matrix; an empty `other` adds nothing.
    void add(const Box& other, const Float4x4& transform);
    friend bool operator==(const Box&, const Box&) = default;
};

// One mesh of a definition per pair of material and layer.
struct BatchKey {
    std::optional<int64_t> material;
    int64_t layer = 0;
    friend bool operator==(const BatchKey&, const BatchKey&) = default;
};

struct BatchKeyHash {
    size_t operator()(const BatchKey& k) const noexcept {
        size_t h = std::hash<int64_t>()(k.layer) * 1000003u;
        return h ^ (k.material ? std::hash<int64_t>()(*k.material) + 0x9e3779b9u : 0x5bd1e995u);
    }
};

// The library's 16 column-major doubles in inches to a float matrix whose translation is in
// metres. A w other than 0 or 1 divides all 16 first; the 3 x 3 part is kept as given.
Float4x4 transform(const std::array<double, 16>& values);

}  // namespace vistrel::SKPReader
