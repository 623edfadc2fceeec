// Renderer-ready vertex data of one draw call, in world space.
//
// Buffers are allocated once at their final size and filled in place by scene assembly; nothing
// copies them afterwards. A renderer attaches its GPU objects through `gpu` the first time it
// draws the geometry; the geometry itself never includes GL.
#pragma once

#include <cstdint>
#include <memory>

#include "model/Math.h"

namespace vistrel::viewport {

// Uninitialised storage of a fixed size, for buffers that are written completely anyway.
template <typename T>
class Buffer {
  public:
    Buffer() = default;
    explicit Buffer(size_t count)
        : data_(count ? std::make_unique_for_overwrite<T[]>(count) : nullptr), count_(count) {}
    T* data() { return data_.get(); }
    const T* data() const { return data_.get(); }
    size_t size() const { return count_; }
    bool empty() const { return count_ == 0; }
    T& operator[](size_t i) { return data_[i]; }
    const T& operator[](size_t i) const { return data_[i]; }
    void release() {
        data_.reset();
        count_ = 0;
    }

  private:
    std::unique_ptr<T[]> data_;
    size_t count_ = 0;
};

// Whatever a renderer keeps for a geometry or material (buffer objects, textures).
struct GpuResource {
    virtual ~GpuResource() = default;
};

struct Geometry {
    enum class Primitive { triangles, lines };

    Primitive primitive = Primitive::triangles;
    Buffer<Float3> positions;
    Buffer<Float3> normals;    // triangles only; same count as positions
    Buffer<Float2> uvs;        // textured triangles only
    Buffer<uint32_t> indices;  // triangles: three per triangle; lines: none (consecutive pairs)
    Float3 boundsMin{0, 0, 0};
    Float3 boundsMax{0, 0, 0};

    size_t vertexCount() const { return positions.size(); }
    size_t primitiveCount() const {
        return primitive == Primitive::triangles ? indices.size() / 3 : positions.size() / 2;
    }
    void computeBounds();

    mutable std::shared_ptr<GpuResource> gpu;
};

}  // namespace vistrel::viewport
