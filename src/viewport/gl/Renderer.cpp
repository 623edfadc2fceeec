#include "gl/Renderer.h"

#include <epoxy/gl.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cmath>
#include <cstring>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "gl/FrameLights.h"
#include "gl/GLProgram.h"
#include "gl/LightColor.h"
#include "gl/RenderMath.h"
#include "gl/Shaders.h"
#include "gl/ShadowCascades.h"
#include "scene/LineThinning.h"
#include "scene/ParallelFor.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

namespace {

constexpr int kMaxDirectional = FrameLights::maxDirectional;
constexpr int kMaxLocal = FrameLights::maxLocal;
constexpr int kMaxLocalShadowViews = FrameLights::maxLocalShadowViews;
constexpr int kMaxCascades = ShadowCascades::maxCount;
constexpr float kInf = std::numeric_limits<float>::infinity();

// The balance of the look. The sky image is display-referred: at full strength its irradiance
// outweighs the sun, greys turn white and shadows vanish. It lights at kEnvironmentScale of the
// environment intensity, and a sun shadow takes kShadowAlphaScale times its colour's alpha of
// the sun (0.48 becomes 0.96), so that shadowed light-grey ground reads about a third darker than
// lit ground, mid grey half, as outdoors. The ratios between the lights are untouched.
constexpr float kEnvironmentScale = 0.2f;
constexpr float kShadowAlphaScale = 2.0f;

// GL names released by GPU copies whose geometry or material died; deleted at the next frame,
// when the context is surely current.
struct DeletionQueue {
    std::vector<GLuint> buffers, vertexArrays, textures;
};

// Lines thinned for one zoom level (cells of 2^level model units); none built when thinning
// would keep more than half of them, and the full buffer is drawn.
struct LineLevel {
    int level = 0;
    bool thinned = false;
    GLuint vertexArray = 0, buffer = 0;
    GLsizei count = 0;
    uint64_t usedInFrame = 0;
};

// Levels kept per chunk: zooming through many would otherwise keep a copy for each.
constexpr size_t kLineLevelsKept = 3;

struct GpuGeometry : GpuResource {
    std::weak_ptr<DeletionQueue> owner;
    GLuint vertexArray = 0;           // lines: made on first full draw
    std::array<GLuint, 4> buffers{};  // positions, normals, uvs, indices
    GLsizei count = 0;                // indices or vertices
    std::vector<LineLevel> levels;
    const LineLevel* level(int l) const {
        for (const LineLevel& x : levels)
            if (x.level == l) return &x;
        return nullptr;
    }
    LineLevel* level(int l) { return const_cast<LineLevel*>(std::as_const(*this).level(l)); }
    // Makes room for one more level, dropping the least recently used one not used in `frame`.
    void makeRoom(uint64_t frame) {
        if (levels.size() < kLineLevelsKept) return;
        auto oldest = std::min_element(levels.begin(), levels.end(), [](auto& a, auto& b) {
            return a.usedInFrame < b.usedInFrame;
        });
        if (oldest->usedInFrame == frame) return;
        if (auto q = owner.lock(); q && oldest->thinned) {
            q->vertexArrays.push_back(oldest->vertexArray);
            q->buffers.push_back(oldest->buffer);
        }
        levels.erase(oldest);
    }
    ~GpuGeometry() override {
        if (auto q = owner.lock()) {
            if (vertexArray) q->vertexArrays.push_back(vertexArray);
            for (GLuint b : buffers)
                if (b) q->buffers.push_back(b);
            for (const LineLevel& l : levels)
                if (l.thinned) {
                    q->vertexArrays.push_back(l.vertexArray);
                    q->buffers.push_back(l.buffer);
                }
        }
    }
};

// Line chunks of fewer segments are always drawn whole: thinning them saves little.
constexpr size_t kThinFromSegments = 256;
// Primitives drawn by a software rasteriser between waits for it.
constexpr size_t kQueuedPrimitiveLimit = 500000;
// Segments below a cell of at most this many device pixels are merged per cell.
constexpr float kThinCellPixels = 0.5f;

struct GpuTexture : GpuResource {
    std::weak_ptr<DeletionQueue> owner;
    GLuint texture = 0;
    ~GpuTexture() override {
        if (auto q = owner.lock()) q->textures.push_back(texture);
    }
};

template <typename T>
bool ownedBy(const std::shared_ptr<GpuResource>& r, const std::shared_ptr<DeletionQueue>& q) {
    auto* g = dynamic_cast<T*>(r.get());
    return g && !g->owner.owner_before(q) && !q.owner_before(g->owner) && !g->owner.expired();
}

struct Bounds {
    Float3 min{kInf, kInf, kInf}, max{-kInf, -kInf, -kInf};
    bool empty() const { return max.x < min.x; }
    void add(Float3 p) {
        min = vistrel::min(min, p);
        max = vistrel::max(max, p);
    }
    void add(const Bounds& b) {
        if (b.empty()) return;
        add(b.min);
        add(b.max);
    }
    Float3 corner(int i) const {
        return {i & 1 ? max.x : min.x, i & 2 ? max.y : min.y, i & 4 ? max.z : min.z};
    }
};

Bounds worldBounds(const Geometry& g, const Float4x4& world) {
    Bounds local;
    local.min = g.boundsMin;
    local.max = g.boundsMax;
    Bounds b;
    for (int i = 0; i < 8; ++i) b.add(world.transformPoint(local.corner(i)));
    return b;
}

// True when the box lies wholly outside one clip plane of `viewProjection`.
bool culled(const Float4x4& viewProjection, const Bounds& b) {
    int outside[6] = {};
    for (int i = 0; i < 8; ++i) {
        const Float3 p = b.corner(i);
        const Float4 c = RenderMath::transform(viewProjection, {p.x, p.y, p.z, 1});
        outside[0] += c.x < -c.w;
        outside[1] += c.x > c.w;
        outside[2] += c.y < -c.w;
        outside[3] += c.y > c.w;
        outside[4] += c.z < -c.w;
        outside[5] += c.z > c.w;
    }
    for (int n : outside)
        if (n == 8) return true;
    return false;
}

std::array<float, 9> normalMatrix(const Float4x4& m) {
    // Cofactors of the upper 3x3: the inverse transpose up to a scale the shader normalises.
    // Column-major mat3, whose columns are the cross products of the transform's columns.
    const Float3 c0 = m.column3(0), c1 = m.column3(1), c2 = m.column3(2);
    const Float3 n0 = cross(c1, c2), n1 = cross(c2, c0), n2 = cross(c0, c1);
    return {n0.x, n0.y, n0.z, n1.x, n1.y, n1.z, n2.x, n2.y, n2.z};
}

Float3 linearColor(Float4 srgb) {
    return LightColor::srgbToLinear(Float3{srgb.x, srgb.y, srgb.z});
}

const Material& fallbackMaterial() {
    static const Material m = [] {
        Material x;
        x.diffuseColor = {0.96f, 0.96f, 0.96f, 1};
        x.isDoubleSided = true;
        return x;
    }();
    return m;
}

struct DrawItem {
    const Geometry* geometry = nullptr;
    const Material* material = nullptr;
    Float4x4 world;
    Bounds bounds;
    int order = 0;
    bool seeThrough = false;
    bool castsShadow = false;
    bool visible = true;
    bool thin = false;  // lines drawn at `thinLevel`
    int thinLevel = 0;
    float depth = 0;  // of the box centre along the view axis
    uint32_t sequence = 0;
};

struct LightItem {
    const Light* light = nullptr;
    Float4x4 world;
};

struct SurfaceUniforms {
    int model, normalMatrix, view, projection, uvTransform, edgeBias;
    int constant, baseColor, hasTexture, texture, alphaMultiply, alphaMax, transparency, roughness,
        metalness, emission, cameraPosition;
    int ambient, directionalCount, directionalDirection, directionalRadiance, sunShadow;
    int localCount, localPosition, localDirection, localRadiance, localFalloff, localShadowMaps,
        localShadowMatrix;
    int irradiance, environmentIntensity;
    int cascadeMaps, cascadeCount, cascadeMatrix, cascadeFar, cascadeTexel, shadowRadius,
        shadowSamples, shadowColor;
    int occlusion, occlusionIntensity, viewportSize;
};

}  // namespace

struct Renderer::Impl {
    bool ready = false;
    std::shared_ptr<DeletionQueue> deletions = std::make_shared<DeletionQueue>();

    GLProgram surface, line, depth, normals, occlusion, blur, composite;
    SurfaceUniforms su{};
    int lineModel = -1, lineView = -1, lineProjection = -1, lineEdgeBias = -1, lineColor = -1,
        lineAlphaMultiply = -1, lineAlphaMax = -1, lineTransparency = -1;
    int depthModel = -1, depthViewProjection = -1;
    int normalsModel = -1, normalsNormalMatrix = -1, normalsView = -1, normalsProjection = -1,
        normalsEdgeBias = -1, normalsUV = -1;
    int aoDepth = -1, aoNormals = -1, aoProjection = -1, aoInverseProjection = -1, aoKernel = -1,
        aoRadius = -1, aoBias = -1, aoThreshold = -1;
    int blurSource = -1;
    int compColor = -1, compBackdrop = -1, compExposure = -1, compContrast = -1,
        compSaturation = -1;
    std::array<float, 48> kernel{};

    GLuint emptyVertexArray = 0;
    GLuint whiteTexture = 0, blackTexture = 0, emptyShadowArray = 0;
    int samples = 4;

    // Size-dependent targets.
    int width = 0, height = 0;
    GLuint msaaFramebuffer = 0, msaaColor = 0, msaaDepth = 0;
    GLuint resolveFramebuffer = 0, resolveColor = 0;
    GLuint prepassFramebuffer = 0, prepassNormals = 0, prepassDepth = 0;
    GLuint aoFramebuffer = 0, aoTexture = 0, blurFramebuffer = 0, blurTexture = 0;
    GLuint snapshotFramebuffer = 0, snapshotColor = 0;
    int snapshotWidth = 0, snapshotHeight = 0;

    // Shadows.
    GLuint shadowFramebuffer = 0;
    GLuint cascadeArray = 0;
    int cascadeSize = 0, cascadeLayers = 0;
    GLuint localArray = 0;
    int localSize = 0;

    // Backdrop and environment, re-uploaded only when their pixels change.
    GLuint backdropTexture = 0;
    std::vector<std::uint8_t> backdropPixels;
    int backdropWidth = 0, backdropHeight = 0;
    std::vector<std::uint8_t> environmentPixels;
    std::array<Float3, 9> irradiance{};

    // Per-frame lists, kept to reuse their storage.
    std::vector<DrawItem> items;
    std::vector<LightItem> lights;
    FrameLights frameLights;
    struct ThinJob {
        GpuGeometry* gpu = nullptr;
        const Geometry* geometry = nullptr;
        int level = 0;
        bool thinned = false;
        std::vector<Float3> points;
    };
    std::vector<ThinJob> thinJobs;
    uint64_t frameNumber = 0;
    uint32_t sequence = 0;

    Statistics* stats = nullptr;

    // Mesa's software rasterisers bin whole draws ahead of their threads without bound: a frame
    // of millions of primitives queued 2 GB. Waiting every few hundred thousand keeps it small.
    bool softwareQueue = false;
    size_t queuedPrimitives = 0;

    ~Impl();
    bool initialize(std::string& error);
    void flushDeletions();
    void resize(int w, int h);
    void collect(const SceneNode& node, const Float4x4& parent);
    void upload(const Geometry& g);
    void uploadVertices(const Geometry& g, GpuGeometry& gpu);
    void thinLines(const RenderCamera& camera, const Float3& eye, float pixelAtUnitDistance,
                   float orthoPixel);
    GLuint texture(const Material& m);
    void updateBackdrop(const Image* image);
    void updateEnvironment(const Image* image);
    void drawGeometry(const Geometry& g, const DrawItem* item = nullptr);
    void waitForSoftwareQueue(size_t primitives);
    void render(const RenderFrame& frame, GLuint target, int w, int h);
};

Renderer::Impl::~Impl() {
    flushDeletions();
    const GLuint framebuffers[] = {msaaFramebuffer,  resolveFramebuffer, prepassFramebuffer,
                                   aoFramebuffer,    blurFramebuffer,    snapshotFramebuffer,
                                   shadowFramebuffer};
    for (GLuint f : framebuffers)
        if (f) glDeleteFramebuffers(1, &f);
    const GLuint renderbuffers[] = {msaaColor, msaaDepth, snapshotColor};
    for (GLuint r : renderbuffers)
        if (r) glDeleteRenderbuffers(1, &r);
    const GLuint textures[] = {resolveColor, prepassNormals, prepassDepth,    aoTexture,
                               blurTexture,  cascadeArray,   localArray,      backdropTexture,
                               whiteTexture, blackTexture,   emptyShadowArray};
    for (GLuint t : textures)
        if (t) glDeleteTextures(1, &t);
    if (emptyVertexArray) glDeleteVertexArrays(1, &emptyVertexArray);
}

void Renderer::Impl::flushDeletions() {
    DeletionQueue& q = *deletions;
    if (!q.buffers.empty()) glDeleteBuffers(GLsizei(q.buffers.size()), q.buffers.data());
    if (!q.vertexArrays.empty())
        glDeleteVertexArrays(GLsizei(q.vertexArrays.size()), q.vertexArrays.data());
    if (!q.textures.empty()) glDeleteTextures(GLsizei(q.textures.size()), q.textures.data());
    q.buffers.clear();
    q.vertexArrays.clear();
    q.textures.clear();
}

namespace {

GLuint makeTexture2D(GLint internalFormat, int w, int h, GLenum format, GLenum type,
                     const void* data, GLint filter) {
    GLuint t = 0;
    glGenTextures(1, &t);
    glBindTexture(GL_TEXTURE_2D, t);
    glTexImage2D(GL_TEXTURE_2D, 0, internalFormat, w, h, 0, format, type, data);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    return t;
}

GLuint makeShadowArray(int size, int layers) {
    GLuint t = 0;
    glGenTextures(1, &t);
    glBindTexture(GL_TEXTURE_2D_ARRAY, t);
    glTexImage3D(GL_TEXTURE_2D_ARRAY, 0, GL_DEPTH_COMPONENT24, size, size, layers, 0,
                 GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, nullptr);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_MODE, GL_COMPARE_REF_TO_TEXTURE);
    glTexParameteri(GL_TEXTURE_2D_ARRAY, GL_TEXTURE_COMPARE_FUNC, GL_LEQUAL);
    return t;
}

}  // namespace

bool Renderer::Impl::initialize(std::string& error) {
    if (epoxy_gl_version() < 33) {
        error = "the renderer needs OpenGL 3.3 core";
        return false;
    }
    if (!surface.build(Shaders::surfaceVertex, Shaders::surfaceFragment, error) ||
        !line.build(Shaders::lineVertex, Shaders::lineFragment, error) ||
        !depth.build(Shaders::depthVertex, Shaders::depthFragment, error) ||
        !normals.build(Shaders::surfaceVertex, Shaders::normalFragment, error) ||
        !occlusion.build(Shaders::fullscreenVertex, Shaders::ambientOcclusionFragment, error) ||
        !blur.build(Shaders::fullscreenVertex, Shaders::blurFragment, error) ||
        !composite.build(Shaders::fullscreenVertex, Shaders::compositeFragment, error))
        return false;

    GLProgram& s = surface;
    su = {s.location("uModel"),
          s.location("uNormalMatrix"),
          s.location("uView"),
          s.location("uProjection"),
          s.location("uUVTransform"),
          s.location("uEdgeBias"),
          s.location("uConstant"),
          s.location("uBaseColor"),
          s.location("uHasTexture"),
          s.location("uTexture"),
          s.location("uAlphaMultiply"),
          s.location("uAlphaMax"),
          s.location("uTransparency"),
          s.location("uRoughness"),
          s.location("uMetalness"),
          s.location("uEmission"),
          s.location("uCameraPosition"),
          s.location("uAmbient"),
          s.location("uDirectionalCount"),
          s.location("uDirectionalDirection"),
          s.location("uDirectionalRadiance"),
          s.location("uSunShadow"),
          s.location("uLocalCount"),
          s.location("uLocalPosition"),
          s.location("uLocalDirection"),
          s.location("uLocalRadiance"),
          s.location("uLocalFalloff"),
          s.location("uLocalShadowMaps"),
          s.location("uLocalShadowMatrix"),
          s.location("uIrradiance"),
          s.location("uEnvironmentIntensity"),
          s.location("uCascadeMaps"),
          s.location("uCascadeCount"),
          s.location("uCascadeMatrix"),
          s.location("uCascadeFar"),
          s.location("uCascadeTexel"),
          s.location("uShadowRadius"),
          s.location("uShadowSamples"),
          s.location("uShadowColor"),
          s.location("uOcclusion"),
          s.location("uOcclusionIntensity"),
          s.location("uViewportSize")};
    lineModel = line.location("uModel");
    lineView = line.location("uView");
    lineProjection = line.location("uProjection");
    lineEdgeBias = line.location("uEdgeBias");
    lineColor = line.location("uBaseColor");
    lineAlphaMultiply = line.location("uAlphaMultiply");
    lineAlphaMax = line.location("uAlphaMax");
    lineTransparency = line.location("uTransparency");
    depthModel = depth.location("uModel");
    depthViewProjection = depth.location("uViewProjection");
    normalsModel = normals.location("uModel");
    normalsNormalMatrix = normals.location("uNormalMatrix");
    normalsView = normals.location("uView");
    normalsProjection = normals.location("uProjection");
    normalsEdgeBias = normals.location("uEdgeBias");
    normalsUV = normals.location("uUVTransform");
    aoDepth = occlusion.location("uDepth");
    aoNormals = occlusion.location("uNormals");
    aoProjection = occlusion.location("uProjection");
    aoInverseProjection = occlusion.location("uInverseProjection");
    aoKernel = occlusion.location("uKernel");
    aoRadius = occlusion.location("uRadius");
    aoBias = occlusion.location("uBias");
    aoThreshold = occlusion.location("uDepthThreshold");
    blurSource = blur.location("uSource");
    compColor = composite.location("uColor");
    compBackdrop = composite.location("uBackdrop");
    compExposure = composite.location("uExposure");
    compContrast = composite.location("uContrast");
    compSaturation = composite.location("uSaturation");

    // A fixed hemisphere kernel, denser near the point (a quadratic ramp of lengths).
    uint32_t seed = 12345;
    auto next = [&seed] {
        seed = seed * 1664525u + 1013904223u;
        return float(seed >> 8) / float(1 << 24);
    };
    for (int i = 0; i < 16; ++i) {
        Float3 v{next() * 2 - 1, next() * 2 - 1, next()};
        v = normalize(v) * next();
        float scale = float(i) / 16;
        scale = 0.2f + 0.8f * scale * scale;
        v *= scale;
        kernel[size_t(i * 3)] = v.x;
        kernel[size_t(i * 3 + 1)] = v.y;
        kernel[size_t(i * 3 + 2)] = std::max(v.z, 0.02f);
    }

    glGenVertexArrays(1, &emptyVertexArray);
    const std::uint8_t white[4] = {255, 255, 255, 255}, black[4] = {0, 0, 0, 255};
    whiteTexture = makeTexture2D(GL_RGBA8, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, white, GL_NEAREST);
    blackTexture = makeTexture2D(GL_RGBA8, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, black, GL_NEAREST);
    emptyShadowArray = makeShadowArray(1, 1);
    glGenFramebuffers(1, &shadowFramebuffer);
    GLint maxSamples = 4;
    glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
    samples = std::clamp(int(maxSamples), 1, 4);
    if (glGetError() != GL_NO_ERROR) {
        error = "the renderer could not create its resources";
        return false;
    }
    const GLubyte* name = glGetString(GL_RENDERER);
    const std::string renderer = name ? reinterpret_cast<const char*>(name) : "";
    softwareQueue = renderer.find("llvmpipe") != std::string::npos ||
                    renderer.find("softpipe") != std::string::npos;
    ready = true;
    return true;
}

void Renderer::Impl::resize(int w, int h) {
    if (w == width && h == height) return;
    width = w;
    height = h;
    const GLuint framebuffers[] = {msaaFramebuffer, resolveFramebuffer, prepassFramebuffer,
                                   aoFramebuffer, blurFramebuffer};
    for (GLuint f : framebuffers)
        if (f) glDeleteFramebuffers(1, &f);
    const GLuint renderbuffers[] = {msaaColor, msaaDepth};
    for (GLuint r : renderbuffers)
        if (r) glDeleteRenderbuffers(1, &r);
    const GLuint textures[] = {resolveColor, prepassNormals, prepassDepth, aoTexture, blurTexture};
    for (GLuint t : textures)
        if (t) glDeleteTextures(1, &t);

    glGenRenderbuffers(1, &msaaColor);
    glBindRenderbuffer(GL_RENDERBUFFER, msaaColor);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_RGBA16F, w, h);
    glGenRenderbuffers(1, &msaaDepth);
    glBindRenderbuffer(GL_RENDERBUFFER, msaaDepth);
    glRenderbufferStorageMultisample(GL_RENDERBUFFER, samples, GL_DEPTH_COMPONENT24, w, h);
    glGenFramebuffers(1, &msaaFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, msaaFramebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, msaaColor);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, msaaDepth);

    resolveColor = makeTexture2D(GL_RGBA16F, w, h, GL_RGBA, GL_HALF_FLOAT, nullptr, GL_NEAREST);
    glGenFramebuffers(1, &resolveFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, resolveFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, resolveColor, 0);

    prepassNormals = makeTexture2D(GL_RGBA16F, w, h, GL_RGBA, GL_HALF_FLOAT, nullptr, GL_NEAREST);
    prepassDepth = makeTexture2D(GL_DEPTH_COMPONENT24, w, h, GL_DEPTH_COMPONENT, GL_UNSIGNED_INT,
                                 nullptr, GL_NEAREST);
    glGenFramebuffers(1, &prepassFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, prepassFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, prepassNormals, 0);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, GL_TEXTURE_2D, prepassDepth, 0);

    aoTexture = makeTexture2D(GL_R8, w, h, GL_RED, GL_UNSIGNED_BYTE, nullptr, GL_LINEAR);
    glGenFramebuffers(1, &aoFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, aoFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, aoTexture, 0);
    blurTexture = makeTexture2D(GL_R8, w, h, GL_RED, GL_UNSIGNED_BYTE, nullptr, GL_LINEAR);
    glGenFramebuffers(1, &blurFramebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, blurFramebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, blurTexture, 0);
}

void Renderer::Impl::collect(const SceneNode& node, const Float4x4& parent) {
    if (node.isHidden) return;
    const Float4x4 world = parent * node.transform;
    if (node.light) lights.push_back({&*node.light, world});
    if (node.geometry && node.geometry->vertexCount() > 0) {
        const Geometry& g = *node.geometry;
        const Material& m = node.material() ? *node.material() : fallbackMaterial();
        DrawItem item;
        item.geometry = &g;
        item.material = &m;
        item.world = world;
        item.bounds = worldBounds(g, world);
        item.order = node.renderingOrder;
        item.seeThrough = m.isSeeThrough();
        item.castsShadow =
            node.castsShadow && !item.seeThrough && g.primitive == Geometry::Primitive::triangles;
        item.sequence = sequence++;
        items.push_back(item);
    }
    for (const auto& child : node.children()) collect(*child, world);
}

void Renderer::Impl::upload(const Geometry& g) {
    if (ownedBy<GpuGeometry>(g.gpu, deletions)) return;
    auto gpu = std::make_shared<GpuGeometry>();
    gpu->owner = deletions;
    if (g.primitive == Geometry::Primitive::lines) {
        // Uploaded when first drawn whole: far away, only thinned copies may ever be drawn.
        gpu->count = GLsizei(g.positions.size() / 2 * 2);
        g.gpu = std::move(gpu);
        return;
    }
    uploadVertices(g, *gpu);
    g.gpu = std::move(gpu);
}

void Renderer::Impl::uploadVertices(const Geometry& g, GpuGeometry& gpu) {
    glGenVertexArrays(1, &gpu.vertexArray);
    glBindVertexArray(gpu.vertexArray);
    auto attribute = [&](int slot, const void* data, size_t bytes, int components) {
        glGenBuffers(1, &gpu.buffers[size_t(slot)]);
        glBindBuffer(GL_ARRAY_BUFFER, gpu.buffers[size_t(slot)]);
        glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(bytes), data, GL_STATIC_DRAW);
        glEnableVertexAttribArray(GLuint(slot));
        glVertexAttribPointer(GLuint(slot), components, GL_FLOAT, GL_FALSE, 0, nullptr);
    };
    attribute(0, g.positions.data(), g.positions.size() * sizeof(Float3), 3);
    if (g.normals.size() == g.positions.size())
        attribute(1, g.normals.data(), g.normals.size() * sizeof(Float3), 3);
    if (g.uvs.size() == g.positions.size())
        attribute(2, g.uvs.data(), g.uvs.size() * sizeof(Float2), 2);
    if (g.primitive == Geometry::Primitive::triangles) {
        glGenBuffers(1, &gpu.buffers[3]);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, gpu.buffers[3]);
        glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(g.indices.size() * sizeof(uint32_t)),
                     g.indices.data(), GL_STATIC_DRAW);
        gpu.count = GLsizei(g.indices.size());
    } else {
        gpu.count = GLsizei(g.positions.size() / 2 * 2);
    }
    glBindVertexArray(0);
}

void Renderer::Impl::thinLines(const RenderCamera& camera, const Float3& eye,
                               float pixelAtUnitDistance, float orthoPixel) {
    const bool ortho = camera.settings.usesOrthographicProjection;
    ++frameNumber;
    thinJobs.clear();
    for (DrawItem& item : items) {
        item.thin = false;
        const Geometry& g = *item.geometry;
        if (!item.visible || g.primitive != Geometry::Primitive::lines ||
            g.positions.size() / 2 < kThinFromSegments)
            continue;
        // World units per device pixel where the chunk is nearest, in the chunk's own units.
        const Float3 nearest = min(max(eye, item.bounds.min), item.bounds.max);
        const float pixel = ortho ? orthoPixel : length(eye - nearest) * pixelAtUnitDistance;
        const float scale = std::max({length(item.world.column3(0)), length(item.world.column3(1)),
                                      length(item.world.column3(2))});
        const float cell = pixel * kThinCellPixels / scale;
        if (!(cell > 0) || !std::isfinite(cell)) continue;
        item.thinLevel = int(std::floor(std::log2(cell)));
        auto& gpu = static_cast<GpuGeometry&>(*g.gpu);
        if (LineLevel* l = gpu.level(item.thinLevel)) {
            l->usedInFrame = frameNumber;
            item.thin = l->thinned;
            continue;
        }
        item.thin = true;  // settled below
        if (std::none_of(thinJobs.begin(), thinJobs.end(), [&](const ThinJob& j) {
                return j.gpu == &gpu && j.level == item.thinLevel;
            }))
            thinJobs.push_back({&gpu, &g, item.thinLevel, false, {}});
    }
    if (thinJobs.empty()) return;
    parallelFor(thinJobs.size(), [&](size_t i) {
        ThinJob& j = thinJobs[i];
        const Geometry& g = *j.geometry;
        j.thinned = LineThinning::thin(g.positions.data(), g.positions.size(), g.boundsMin,
                                       std::ldexp(1.0f, j.level), g.positions.size() / 4, j.points);
    });
    for (ThinJob& j : thinJobs) {
        LineLevel l;
        l.level = j.level;
        l.thinned = j.thinned;
        if (j.thinned) {
            glGenVertexArrays(1, &l.vertexArray);
            glBindVertexArray(l.vertexArray);
            glGenBuffers(1, &l.buffer);
            glBindBuffer(GL_ARRAY_BUFFER, l.buffer);
            glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(j.points.size() * sizeof(Float3)),
                         j.points.data(), GL_STATIC_DRAW);
            glEnableVertexAttribArray(0);
            glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, 0, nullptr);
            l.count = GLsizei(j.points.size());
        }
        l.usedInFrame = frameNumber;
        j.gpu->makeRoom(frameNumber);
        j.gpu->levels.push_back(l);
        j.points = {};
    }
    glBindVertexArray(0);
    for (DrawItem& item : items)
        if (item.thin)
            item.thin =
                static_cast<const GpuGeometry&>(*item.geometry->gpu).level(item.thinLevel)->thinned;
}

GLuint Renderer::Impl::texture(const Material& m) {
    if (!m.diffuseImage || m.diffuseImage->width <= 0) return 0;
    if (ownedBy<GpuTexture>(m.gpu, deletions)) return static_cast<GpuTexture&>(*m.gpu).texture;
    const Image& image = *m.diffuseImage;
    auto gpu = std::make_shared<GpuTexture>();
    gpu->owner = deletions;
    glGenTextures(1, &gpu->texture);
    glBindTexture(GL_TEXTURE_2D, gpu->texture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_SRGB8_ALPHA8, image.width, image.height, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, image.pixels.data());
    glGenerateMipmap(GL_TEXTURE_2D);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER,
                    image.interpolated ? GL_LINEAR_MIPMAP_LINEAR : GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER,
                    image.interpolated ? GL_LINEAR : GL_NEAREST);
    const GLint wrap = m.wrapRepeat ? GL_REPEAT : GL_CLAMP_TO_EDGE;
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, wrap);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, wrap);
    const GLuint name = gpu->texture;
    m.gpu = std::move(gpu);
    return name;
}

void Renderer::Impl::updateBackdrop(const Image* image) {
    if (!image || image->width <= 0 || image->height <= 0) {
        backdropWidth = backdropHeight = 0;
        return;
    }
    if (image->width == backdropWidth && image->height == backdropHeight &&
        backdropPixels == image->pixels && backdropTexture)
        return;
    backdropPixels = image->pixels;
    backdropWidth = image->width;
    backdropHeight = image->height;
    if (backdropTexture) glDeleteTextures(1, &backdropTexture);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 4);
    // Display-referred already: sampled as plain bytes and never tone-mapped.
    backdropTexture =
        makeTexture2D(GL_RGBA8, image->width, image->height, GL_RGBA, GL_UNSIGNED_BYTE,
                      image->pixels.data(), image->interpolated ? GL_LINEAR : GL_NEAREST);
}

void Renderer::Impl::updateEnvironment(const Image* image) {
    if (!image || image->width <= 0) {
        irradiance = {};
        environmentPixels.clear();
        return;
    }
    if (environmentPixels == image->pixels) return;
    environmentPixels = image->pixels;
    irradiance = LightColor::irradianceCoefficients(*image);
}

void Renderer::Impl::drawGeometry(const Geometry& g, const DrawItem* item) {
    auto& gpu = static_cast<GpuGeometry&>(*g.gpu);
    if (item && item->thin) {
        const LineLevel* l = gpu.level(item->thinLevel);
        glBindVertexArray(l->vertexArray);
        glDrawArrays(GL_LINES, 0, l->count);
        stats->drawCalls++;
        waitForSoftwareQueue(size_t(l->count / 2));
        return;
    }
    if (!gpu.vertexArray) uploadVertices(g, gpu);
    glBindVertexArray(gpu.vertexArray);
    if (g.primitive == Geometry::Primitive::triangles)
        glDrawElements(GL_TRIANGLES, gpu.count, GL_UNSIGNED_INT, nullptr);
    else
        glDrawArrays(GL_LINES, 0, gpu.count);
    stats->drawCalls++;
    if (g.primitive == Geometry::Primitive::triangles) stats->triangles += gpu.count / 3;
    waitForSoftwareQueue(g.primitiveCount());
}

void Renderer::Impl::waitForSoftwareQueue(size_t primitives) {
    if (!softwareQueue) return;
    queuedPrimitives += primitives;
    if (queuedPrimitives < kQueuedPrimitiveLimit) return;
    glFinish();
    queuedPrimitives = 0;
}

namespace {

void setMatrix(int location, const Float4x4& m) {
    glUniformMatrix4fv(location, 1, GL_FALSE, m.m.data());
}

}  // namespace

void Renderer::Impl::render(const RenderFrame& frame, GLuint target, int w, int h) {
    assert(ready && "Renderer::initialize must succeed before drawing");
    assert(w > 0 && h > 0);
    *stats = {};
    while (glGetError() != GL_NO_ERROR) {
    }  // errors of whoever used the context before are not ours
    if (!frame.root) {
        // Nothing presented yet: the view's plain background, and no pass of the pipeline.
        const Float3 c = Rendering::viewBackgroundColor;
        glBindFramebuffer(GL_FRAMEBUFFER, target);
        glViewport(0, 0, w, h);
        glDisable(GL_SCISSOR_TEST);
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDepthMask(GL_TRUE);
        glClearColor(c.x, c.y, c.z, 1);
        glClearDepth(1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        return;
    }
    flushDeletions();
    resize(w, h);
    updateBackdrop(frame.backdrop);
    updateEnvironment(frame.environment);

    items.clear();
    lights.clear();
    sequence = 0;
    if (frame.root) collect(*frame.root, Float4x4::identity());

    // Camera and depth range around what there is to see.
    const RenderCamera& camera = frame.camera;
    const CameraSettings& cs = camera.settings;
    const Float4x4 view = RenderMath::inverse(camera.cameraToWorld);
    const Float3 eye = camera.cameraToWorld.column3(3);

    // By rendering order; within one, opaque first, then see-through from far to near, since
    // see-through surfaces write no depth and blend in the order they are drawn.
    const Float3 viewAxis = normalize(camera.cameraToWorld.transformVector({0, 0, -1}));
    for (DrawItem& item : items)
        item.depth = dot((item.bounds.min + item.bounds.max) * 0.5f - eye, viewAxis);
    std::sort(items.begin(), items.end(), [](const DrawItem& a, const DrawItem& b) {
        if (a.order != b.order) return a.order < b.order;
        if (a.seeThrough != b.seeThrough) return !a.seeThrough;
        if (a.seeThrough && a.depth != b.depth) return a.depth > b.depth;
        return a.sequence < b.sequence;
    });
    const float aspect = float(w) / float(h);
    Bounds all, casters;
    for (const DrawItem& item : items) {
        all.add(item.bounds);
        if (item.castsShadow) casters.add(item.bounds);
    }
    float zNear = -kInf, zFar = kInf;  // view-space z of the nearest and farthest points
    if (!all.empty()) {
        zNear = -kInf;
        zFar = kInf;
        for (int i = 0; i < 8; ++i) {
            const float z = view.transformPoint(all.corner(i)).z;
            zNear = std::max(zNear, z);
            zFar = std::min(zFar, z);
        }
    } else {
        zNear = -0.1f;
        zFar = -100;
    }
    const bool ortho = cs.usesOrthographicProjection;
    float nearPlane, farPlane;
    float pixelAtUnitDistance = 0, orthoPixel = 0;  // world units per device pixel
    Float4x4 projection;
    if (ortho) {
        const float depth = std::max(zNear - zFar, 1e-3f);
        const float hh = float(cs.orthographicScale);
        // Edges are drawn 0.001 of the visible height nearer (the shader's edge bias); a flat
        // drawing has no depth of its own, so the margin must hold them or they are clipped.
        const float edgeBias = 0.002f * hh;
        nearPlane = -zNear - depth * 0.05f - 0.01f - edgeBias;
        farPlane = -zFar + depth * 0.05f + 0.01f + edgeBias;
        projection = RenderMath::orthographic(hh * aspect, hh, nearPlane, farPlane);
        orthoPixel = 2 * hh / float(h);
    } else {
        farPlane = std::max(-zFar * 1.02f, 0.1f);
        nearPlane = std::max(-zNear * 0.98f, farPlane * 1e-4f);
        nearPlane = std::min(nearPlane, farPlane * 0.5f);
        const float fov = float(std::clamp(cs.fieldOfView, 1.0, 179.0) * std::numbers::pi / 180);
        projection = RenderMath::perspective(fov, aspect, nearPlane, farPlane);
        pixelAtUnitDistance = 2 * std::tan(fov / 2) / float(h);
    }
    const Float4x4 viewProjection = projection * view;
    for (DrawItem& item : items) item.visible = !culled(viewProjection, item.bounds);

    // Lights.
    FrameLights& fl = frameLights;
    fl.clear();
    if (frame.cameraLight && frame.cameraLight->type == Light::Type::ambient)
        fl.add(*frame.cameraLight, Float4x4::identity(), 0, false);
    const float sceneSize = all.empty() ? 10 : length(all.max - all.min);
    // Everything in one axis plane (a drawing plan) cannot shadow itself: skip the shadow passes.
    const Float3 extent = all.max - all.min;
    const float thinnest = std::min({extent.x, extent.y, extent.z});
    const bool flat = thinnest <= sceneSize * 1e-6f;
    for (const LightItem& li : lights)
        fl.add(*li.light, li.world, sceneSize, !casters.empty() && !flat);
    const Light* sun = fl.sun;
    const int localViews = fl.localShadowViews;

    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_STENCIL_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    for (DrawItem& item : items) upload(*item.geometry);

    // Shadow maps.
    ShadowCascades cascades;
    auto drawCasters = [&](const Float4x4& lightViewProjection) {
        setMatrix(depthViewProjection, lightViewProjection);
        for (const DrawItem& item : items) {
            if (!item.castsShadow || culled(lightViewProjection, item.bounds)) continue;
            setMatrix(depthModel, item.world);
            drawGeometry(*item.geometry);
        }
    };
    if (sun || localViews) {
        depth.use();
        glBindFramebuffer(GL_FRAMEBUFFER, shadowFramebuffer);
        glDrawBuffer(GL_NONE);
        glReadBuffer(GL_NONE);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LESS);
        glDepthMask(GL_TRUE);
        glDisable(GL_CULL_FACE);
        glDisable(GL_BLEND);
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(1.5f, 3.0f);
    }
    if (sun) {
        const Light& l = *sun;
        cascades.count = std::clamp(l.shadowCascadeCount, 1, kMaxCascades);
        cascades.size = std::clamp(l.shadowMapSize, 256, 4096);
        if (cascades.size != cascadeSize || cascades.count != cascadeLayers) {
            if (cascadeArray) glDeleteTextures(1, &cascadeArray);
            cascadeArray = makeShadowArray(cascades.size, cascades.count);
            cascadeSize = cascades.size;
            cascadeLayers = cascades.count;
        }
        cascades.fit(l, fl.sunTravel, camera, aspect, nearPlane, farPlane, casters.min,
                     casters.max);
        glViewport(0, 0, cascades.size, cascades.size);
        for (int c = 0; c < cascades.count; ++c) {
            glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, cascadeArray, 0, c);
            glClear(GL_DEPTH_BUFFER_BIT);
            drawCasters(cascades.viewProjection[size_t(c)]);
            stats->shadowViews++;
        }
    }
    if (localViews) {
        if (fl.localShadowSize != localSize) {
            if (localArray) glDeleteTextures(1, &localArray);
            localArray = makeShadowArray(fl.localShadowSize, kMaxLocalShadowViews);
            localSize = fl.localShadowSize;
        }
        glViewport(0, 0, localSize, localSize);
        for (int v = 0; v < localViews; ++v) {
            glFramebufferTextureLayer(GL_FRAMEBUFFER, GL_DEPTH_ATTACHMENT, localArray, 0, v);
            glClear(GL_DEPTH_BUFFER_BIT);
            drawCasters(fl.localShadowMatrix[size_t(v)]);
            stats->shadowViews++;
        }
    }
    glDisable(GL_POLYGON_OFFSET_FILL);

    // Ambient occlusion: normals and depth of the opaque surfaces, then the occlusion, blurred.
    const float occlusionIntensity =
        ortho ? 0.0f : float(std::clamp(cs.screenSpaceAmbientOcclusionIntensity, 0.0, 2.0));
    const std::array<float, 9> identity3{1, 0, 0, 0, 1, 0, 0, 0, 1};
    if (occlusionIntensity > 0) {
        stats->ambientOcclusion = true;
        glBindFramebuffer(GL_FRAMEBUFFER, prepassFramebuffer);
        glViewport(0, 0, w, h);
        glDisable(GL_BLEND);
        glDisable(GL_CULL_FACE);
        glEnable(GL_DEPTH_TEST);
        glDepthFunc(GL_LESS);
        glDepthMask(GL_TRUE);
        glClearColor(0, 0, 1, 0);
        glClearDepth(1);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
        normals.use();
        setMatrix(normalsView, view);
        setMatrix(normalsProjection, projection);
        glUniform1i(normalsEdgeBias, 0);
        glUniformMatrix3fv(normalsUV, 1, GL_FALSE, identity3.data());
        for (const DrawItem& item : items) {
            if (!item.visible || item.seeThrough ||
                item.geometry->primitive != Geometry::Primitive::triangles ||
                item.material->lightingModel != Material::LightingModel::physicallyBased ||
                !item.material->writesToDepthBuffer)
                continue;
            setMatrix(normalsModel, item.world);
            const auto nm = normalMatrix(item.world);
            glUniformMatrix3fv(normalsNormalMatrix, 1, GL_FALSE, nm.data());
            drawGeometry(*item.geometry);
        }
        glDisable(GL_DEPTH_TEST);
        glBindVertexArray(emptyVertexArray);
        glBindFramebuffer(GL_FRAMEBUFFER, aoFramebuffer);
        occlusion.use();
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, prepassDepth);
        glActiveTexture(GL_TEXTURE1);
        glBindTexture(GL_TEXTURE_2D, prepassNormals);
        glUniform1i(aoDepth, 0);
        glUniform1i(aoNormals, 1);
        setMatrix(aoProjection, projection);
        setMatrix(aoInverseProjection, RenderMath::inverse(projection));
        glUniform3fv(aoKernel, 16, kernel.data());
        glUniform1f(aoRadius, float(cs.screenSpaceAmbientOcclusionRadius));
        // The bias is a fraction of the radius, so that it scales with it.
        glUniform1f(aoBias, float(cs.screenSpaceAmbientOcclusionBias));
        glUniform1f(aoThreshold, float(cs.screenSpaceAmbientOcclusionDepthThreshold));
        glDrawArrays(GL_TRIANGLES, 0, 3);
        glBindFramebuffer(GL_FRAMEBUFFER, blurFramebuffer);
        blur.use();
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, aoTexture);
        glUniform1i(blurSource, 0);
        glDrawArrays(GL_TRIANGLES, 0, 3);
    }

    thinLines(camera, eye, pixelAtUnitDistance, orthoPixel);

    // Main pass.
    glBindFramebuffer(GL_FRAMEBUFFER, msaaFramebuffer);
    glViewport(0, 0, w, h);
    glEnable(GL_MULTISAMPLE);
    glClearColor(0, 0, 0, 0);
    glClearDepth(1);
    glDepthMask(GL_TRUE);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE_MINUS_SRC_ALPHA);  // premultiplied: alpha keeps the coverage
    glDepthFunc(GL_LEQUAL);
    {
        GLfloat range[2] = {1, 1};
        glGetFloatv(GL_ALIASED_LINE_WIDTH_RANGE, range);
        glLineWidth(std::clamp(frame.devicePixelRatio, range[0], range[1]));
    }
    surface.use();
    setMatrix(su.view, view);
    setMatrix(su.projection, projection);
    glUniform3f(su.cameraPosition, eye.x, eye.y, eye.z);
    glUniform3f(su.ambient, fl.ambient.x, fl.ambient.y, fl.ambient.z);
    glUniform1i(su.directionalCount, fl.directionalCount);
    glUniform3fv(su.directionalDirection, kMaxDirectional, fl.directionalDirection.data());
    glUniform3fv(su.directionalRadiance, kMaxDirectional, fl.directionalRadiance.data());
    glUniform1i(su.sunShadow, fl.sunIndex);
    glUniform1i(su.localCount, fl.localCount);
    glUniform4fv(su.localPosition, kMaxLocal, fl.localPosition.data());
    glUniform4fv(su.localDirection, kMaxLocal, fl.localDirection.data());
    glUniform4fv(su.localRadiance, kMaxLocal, fl.localRadiance.data());
    glUniform4fv(su.localFalloff, kMaxLocal, fl.localFalloff.data());
    glUniformMatrix4fv(su.localShadowMatrix, kMaxLocalShadowViews, GL_FALSE,
                       fl.localShadowMatrix[0].m.data());
    glUniform3fv(su.irradiance, 9, &irradiance[0].x);
    glUniform1f(su.environmentIntensity,
                frame.environment ? frame.environmentIntensity * kEnvironmentScale : 0.0f);
    glUniform1i(su.cascadeCount, std::max(cascades.count, 1));
    glUniformMatrix4fv(su.cascadeMatrix, kMaxCascades, GL_FALSE,
                       cascades.viewProjection[0].m.data());
    glUniform4fv(su.cascadeFar, 1, cascades.far.data());
    glUniform4fv(su.cascadeTexel, 1, cascades.texel.data());
    if (sun) {
        const Light& l = *sun;
        glUniform1f(su.shadowRadius, std::max(l.shadowRadius, 0.5f));
        glUniform1i(su.shadowSamples, std::max(l.shadowSampleCount, 1));
        glUniform4f(su.shadowColor, l.shadowColor.x, l.shadowColor.y, l.shadowColor.z,
                    std::min(l.shadowColor.w * kShadowAlphaScale, 1.0f));
    }
    glUniform1f(su.occlusionIntensity, occlusionIntensity);
    glUniform2f(su.viewportSize, float(w), float(h));
    glUniform1i(su.texture, 0);
    glUniform1i(su.cascadeMaps, 1);
    glUniform1i(su.localShadowMaps, 2);
    glUniform1i(su.occlusion, 3);
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D_ARRAY, sun ? cascadeArray : emptyShadowArray);
    glActiveTexture(GL_TEXTURE2);
    glBindTexture(GL_TEXTURE_2D_ARRAY, localViews ? localArray : emptyShadowArray);
    glActiveTexture(GL_TEXTURE3);
    glBindTexture(GL_TEXTURE_2D, occlusionIntensity > 0 ? blurTexture : whiteTexture);

    line.use();
    setMatrix(lineView, view);
    setMatrix(lineProjection, projection);
    const GLProgram* current = nullptr;
    for (const DrawItem& item : items) {
        if (!item.visible) continue;
        const Material& m = *item.material;
        const Geometry& g = *item.geometry;
        const bool lines = g.primitive == Geometry::Primitive::lines;
        const bool constant = lines || m.lightingModel == Material::LightingModel::constant;
        if (m.readsFromDepthBuffer)
            glEnable(GL_DEPTH_TEST);
        else
            glDisable(GL_DEPTH_TEST);
        glDepthMask(m.writesToDepthBuffer && !item.seeThrough ? GL_TRUE : GL_FALSE);
        if (lines) {
            if (current != &line) line.use();
            current = &line;
            setMatrix(lineModel, item.world);
            glUniform1i(lineEdgeBias, m.edgeDepthBias ? 1 : 0);
            const Float3 base = linearColor(m.diffuseColor);
            glUniform4f(lineColor, base.x, base.y, base.z, m.diffuseColor.w);
            glUniform1f(lineAlphaMultiply, m.alphaMultiply.value_or(1.0f));
            glUniform1f(lineAlphaMax, m.alphaMax.value_or(1.0f));
            glUniform1f(lineTransparency, std::clamp(m.transparency, 0.0f, 1.0f));
            glDisable(GL_CULL_FACE);
            drawGeometry(g, &item);
            continue;
        }
        if (current != &surface) surface.use();
        current = &surface;
        setMatrix(su.model, item.world);
        const auto nm = normalMatrix(item.world);
        glUniformMatrix3fv(su.normalMatrix, 1, GL_FALSE, nm.data());
        glUniform1i(su.edgeBias, m.edgeDepthBias ? 1 : 0);
        glUniform1i(su.constant, constant ? 1 : 0);
        const Float3 base = linearColor(m.diffuseColor);
        glUniform4f(su.baseColor, base.x, base.y, base.z, m.diffuseColor.w);
        const GLuint tex = lines ? 0 : texture(m);
        glUniform1i(su.hasTexture, tex ? 1 : 0);
        glActiveTexture(GL_TEXTURE0);
        glBindTexture(GL_TEXTURE_2D, tex ? tex : whiteTexture);
        const Float4x4& t = m.contentsTransform;
        const float uv[9] = {t(0, 0), t(1, 0), 0, t(0, 1), t(1, 1), 0, t(0, 3), t(1, 3), 1};
        glUniformMatrix3fv(su.uvTransform, 1, GL_FALSE, uv);
        glUniform1f(su.alphaMultiply, m.alphaMultiply.value_or(1.0f));
        glUniform1f(su.alphaMax, m.alphaMax.value_or(1.0f));
        glUniform1f(su.transparency, std::clamp(m.transparency, 0.0f, 1.0f));
        glUniform1f(su.roughness, std::clamp(m.roughness, 0.0f, 1.0f));
        glUniform1f(su.metalness, std::clamp(m.metalness, 0.0f, 1.0f));
        const Float3 emission = LightColor::srgbToLinear(m.emission);
        glUniform3f(su.emission, emission.x, emission.y, emission.z);

        if (item.seeThrough && !lines &&
            m.transparencyMode == Material::TransparencyMode::dualLayer) {
            // Back faces first, then front faces, so a closed see-through body blends in order.
            glEnable(GL_CULL_FACE);
            glCullFace(GL_FRONT);
            drawGeometry(g);
            glCullFace(GL_BACK);
            drawGeometry(g);
        } else {
            if (m.isDoubleSided || lines) {
                glDisable(GL_CULL_FACE);
            } else {
                glEnable(GL_CULL_FACE);
                glCullFace(GL_BACK);
            }
            drawGeometry(g, &item);
        }
    }
    glBindVertexArray(0);
    glDepthMask(GL_TRUE);
    glDisable(GL_CULL_FACE);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);

    // Resolve the samples, then tone-map over the backdrop into the target.
    glBindFramebuffer(GL_READ_FRAMEBUFFER, msaaFramebuffer);
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, resolveFramebuffer);
    glBlitFramebuffer(0, 0, w, h, 0, 0, w, h, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    glBindFramebuffer(GL_FRAMEBUFFER, target);
    glViewport(0, 0, w, h);
    composite.use();
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, resolveColor);
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, backdropWidth ? backdropTexture : blackTexture);
    glUniform1i(compColor, 0);
    glUniform1i(compBackdrop, 1);
    glUniform1f(compExposure, cs.wantsHDR ? float(cs.exposureOffset) : 0.0f);
    glUniform1f(compContrast, float(cs.contrast));
    glUniform1f(compSaturation, float(cs.saturation));
    glBindVertexArray(emptyVertexArray);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    glBindVertexArray(0);
    glActiveTexture(GL_TEXTURE0);
    // Every call above is valid by construction; an error here is a bug in this file.
    assert(glGetError() == GL_NO_ERROR);
}

Renderer::Renderer() : impl_(std::make_unique<Impl>()) {
    impl_->stats = &statistics_;
}

Renderer::~Renderer() = default;

bool Renderer::initialize(std::string& error) {
    return impl_->initialize(error);
}

void Renderer::render(const RenderFrame& frame, unsigned framebuffer, int width, int height) {
    impl_->render(frame, framebuffer, width, height);
}

void Renderer::renderOffscreen(const RenderFrame& frame, int width, int height) {
    Impl& d = *impl_;
    assert(width > 0 && height > 0);
    if (width != d.snapshotWidth || height != d.snapshotHeight) {
        if (d.snapshotFramebuffer) glDeleteFramebuffers(1, &d.snapshotFramebuffer);
        if (d.snapshotColor) glDeleteRenderbuffers(1, &d.snapshotColor);
        glGenRenderbuffers(1, &d.snapshotColor);
        glBindRenderbuffer(GL_RENDERBUFFER, d.snapshotColor);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA8, width, height);
        glGenFramebuffers(1, &d.snapshotFramebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, d.snapshotFramebuffer);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                                  d.snapshotColor);
        d.snapshotWidth = width;
        d.snapshotHeight = height;
    }
    d.render(frame, d.snapshotFramebuffer, width, height);
}

Image Renderer::snapshot(const RenderFrame& frame, int width, int height) {
    Impl& d = *impl_;
    renderOffscreen(frame, width, height);
    Image image;
    image.width = width;
    image.height = height;
    image.pixels.resize(image.bytesPerRow() * size_t(height));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, d.snapshotFramebuffer);
    glReadBuffer(GL_COLOR_ATTACHMENT0);
    glPixelStorei(GL_PACK_ALIGNMENT, 4);
    glReadPixels(0, 0, width, height, GL_RGBA, GL_UNSIGNED_BYTE, image.pixels.data());
    // GL rows run bottom up.
    const size_t row = image.bytesPerRow();
    std::vector<std::uint8_t> swap(row);
    for (int y = 0; y < height / 2; ++y) {
        std::uint8_t* a = image.pixels.data() + size_t(y) * row;
        std::uint8_t* b = image.pixels.data() + size_t(height - 1 - y) * row;
        std::memcpy(swap.data(), a, row);
        std::memcpy(a, b, row);
        std::memcpy(b, swap.data(), row);
    }
    for (size_t i = 3; i < image.pixels.size(); i += 4) image.pixels[i] = 255;
    return image;
}

}  // namespace vistrel::viewport
