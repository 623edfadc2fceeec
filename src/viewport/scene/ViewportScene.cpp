#include "scene/ViewportScene.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <numbers>

#include "scene/ParallelFor.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

namespace {

bool timingEnabled() {
    const char* v = std::getenv("VISTREL_TIMING");
    return v && std::strcmp(v, "1") == 0;
}

// Spreads the low 10 bits of v so that bit i lands on bit 3i.
uint32_t spreadBits(uint32_t v) {
    v &= 0x3FF;
    v = (v | (v << 16)) & 0x030000FF;
    v = (v | (v << 8)) & 0x0300F00F;
    v = (v | (v << 4)) & 0x030C30C3;
    v = (v | (v << 2)) & 0x09249249;
    return v;
}

std::string joinLayers(const std::vector<int>& layers) {
    std::string s;
    for (size_t i = 0; i < layers.size(); ++i) s += (i ? "," : "") + std::to_string(layers[i]);
    return s;
}

Float4x4 rotationX(float radians) {
    Float4x4 r;
    float c = std::cos(radians), s = std::sin(radians);
    r(1, 1) = c;
    r(1, 2) = -s;
    r(2, 1) = s;
    r(2, 2) = c;
    return r;
}

constexpr float kInf = std::numeric_limits<float>::infinity();

// Shares of the assembly: placing every instance, then grouping pieces into chunks; merging
// takes the rest, in proportion to the vertices merged.
constexpr double kPlacedFraction = 0.15;
constexpr double kChunkedFraction = 0.35;

// How many placements a definition makes, itself included; memoised in `counts` (-1: unknown).
int64_t placementCount(const SKPModel& model, const Definition& d, std::vector<int64_t>& counts) {
    int64_t n = 1;
    for (const Instance& c : d.children) {
        if (c.definition < 0 || size_t(c.definition) >= model.definitions.size()) continue;
        int64_t& known = counts[size_t(c.definition)];
        if (known < 0)
            known = placementCount(model, model.definitions[size_t(c.definition)], counts);
        n += known;
    }
    return n;
}

// Whether layers + layer, as layerKey forms it, equals key; without building the key.
bool keyMatches(const std::vector<int>& layers, int layer, const std::vector<int>& key) {
    const bool has = std::binary_search(layers.begin(), layers.end(), layer);
    if (key.size() != layers.size() + (has ? 0 : 1)) return false;
    size_t i = 0, k = 0;
    bool inserted = has;
    while (k < key.size()) {
        if (!inserted && (i == layers.size() || layer < layers[i])) {
            if (key[k++] != layer) return false;
            inserted = true;
        } else if (key[k++] != layers[i++]) {
            return false;
        }
    }
    return true;
}

}  // namespace

int ViewportScene::LayerSet::primary() const {
    for (auto it = layers.rbegin(); it != layers.rend(); ++it)
        if (*it != 0) return *it;
    return layers.empty() ? 0 : layers.front();
}

ViewportScene::ViewportScene(SKPModel model, Progress progress)
    : model_(std::move(model)),
      root_(SceneNode::make("root")),
      modelRoot_(SceneNode::make("model")) {
    progress_ = std::move(progress);
    background_ = Rendering::backdropImage(backdropStyle_, customBackdropColor_);
    lightingEnvironment_ = Rendering::skyImage(false);
    lightingEnvironmentIntensity_ = 1.05f;

    edgeMaterial_ = std::make_shared<Material>();
    edgeMaterial_->lightingModel = Material::LightingModel::constant;
    edgeMaterial_->diffuseColor = {0.2f, 0.22f, 0.26f, 1};
    edgeMaterial_->readsFromDepthBuffer = true;
    edgeMaterial_->writesToDepthBuffer = false;
    edgeMaterial_->edgeDepthBias = true;

    auto start = std::chrono::steady_clock::now();
    for (size_t i = 0; i < model_.layers.size(); ++i)
        if (!model_.layers[i].isVisible) hiddenLayers_.insert(int(i));

    // The renderer's world is Y-up; everything below modelRoot stays in the model's Z-up frame.
    modelRoot_->transform = rotationX(-std::numbers::pi_v<float> / 2);
    root_->addChild(modelRoot_);

    {
        // Sized once: growing millions of placements would copy them and hold both copies.
        std::vector<int64_t> counts(model_.definitions.size(), -1);
        placements_.reserve(size_t(placementCount(model_, model_.root, counts)));
    }
    place(-1, Float4x4::identity(), std::nullopt, internKey({}));
    keyWithLayer_ = {};
    setsOf_ = {};
    report(kPlacedFraction);

    std::vector<LayerSet*> visible;
    for (auto& s : layerSetList_)
        if (std::none_of(s->layers.begin(), s->layers.end(),
                         [&](int l) { return hiddenLayers_.contains(l); }))
            visible.push_back(s.get());
    build(visible);
    report(1);
    progress_ = {};

    if (timingEnabled()) {
        double seconds =
            std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        int built = int(std::count_if(layerSetList_.begin(), layerSetList_.end(),
                                      [](const auto& s) { return s->node != nullptr; }));
        size_t nodes = modelRoot_->children().size();
        for (auto& c : modelRoot_->children()) nodes += c->children().size();
        std::printf("ViewportScene: %.3f s, %d placements, %d layer sets (%d built), %d nodes\n",
                    seconds, int(placements_.size()), int(layerSetList_.size()), built, int(nodes));
        std::fflush(stdout);
    }
    createLights();
}

void ViewportScene::report(double fraction) {
    if (!progress_) return;
    std::lock_guard lock(progressMutex_);
    if (fraction < 1 && fraction - reported_ < 0.01) return;
    reported_ = fraction;
    progress_(fraction);
}

ViewportScene::~ViewportScene() {
    if (pulseTimer_) pulseTimer_->stop();
}

const Definition& ViewportScene::definition(int index) const {
    if (index < 0) return model_.root;
    if (size_t(index) >= model_.definitions.size()) {
        std::fprintf(stderr, "ViewportScene: definition %d out of range\n", index);
        std::abort();
    }
    return model_.definitions[size_t(index)];
}

std::vector<int> ViewportScene::layerKey(const std::vector<int>& layers, int layer) {
    if (std::binary_search(layers.begin(), layers.end(), layer)) return layers;
    std::vector<int> key;
    key.reserve(layers.size() + 1);
    key = layers;
    key.insert(std::upper_bound(key.begin(), key.end(), layer), layer);
    return key;
}

int ViewportScene::internKey(std::vector<int> layers) {
    auto [it, inserted] = layerKeyIndex_.try_emplace(std::move(layers), int(layerKeys_.size()));
    if (inserted) layerKeys_.push_back(it->first);
    return it->second;
}

int ViewportScene::keyWithLayer(int key, int layer) {
    const uint64_t id = uint64_t(uint32_t(key)) << 32 | uint32_t(layer);
    if (auto it = keyWithLayer_.find(id); it != keyWithLayer_.end()) return it->second;
    const int result = internKey(layerKey(layerKeys_[size_t(key)], layer));
    keyWithLayer_.emplace(id, result);
    return result;
}

void ViewportScene::place(int definitionIndex, const Float4x4& transform,
                          std::optional<int> material, int key) {
    const Definition& d = definition(definitionIndex);
    const int p = int(placements_.size());
    placements_.push_back({definitionIndex, key, material, transform});

    // The sets a definition feeds under one key are the same for each of its placements.
    const uint64_t id = uint64_t(uint32_t(key)) << 32 | uint32_t(definitionIndex);
    auto found = setsOf_.find(id);
    if (found == setsOf_.end()) {
        std::vector<LayerSet*> sets;
        auto feed = [&](int layer) {
            LayerSet* set = layerSet(layerKeys_[size_t(keyWithLayer(key, layer))]);
            if (std::find(sets.begin(), sets.end(), set) == sets.end()) sets.push_back(set);
        };
        for (const Mesh& m : d.meshes) feed(m.layer);
        for (const EdgeSet& e : d.edges)
            if (!e.positions.empty()) feed(e.layer);
        found = setsOf_.emplace(id, std::move(sets)).first;
    }
    for (LayerSet* set : found->second) set->placements.push_back(p);

    for (const Instance& c : d.children) {
        std::optional<int> childMaterial = c.material ? c.material : material;
        place(c.definition, transform * c.transform, childMaterial, keyWithLayer(key, c.layer));
    }
}

ViewportScene::LayerSet* ViewportScene::layerSet(const std::vector<int>& layers) {
    if (auto it = layerSets_.find(layers); it != layerSets_.end()) return it->second;
    auto set = std::make_unique<LayerSet>();
    set->layers = layers;
    LayerSet* raw = set.get();
    layerSetList_.push_back(std::move(set));
    layerSets_.emplace(layers, raw);
    for (int l : layers) setsByLayer_[l].push_back(raw);
    return raw;
}

ViewportScene::LayerSet* ViewportScene::findLayerSet(const std::vector<int>& layers) const {
    auto it = layerSets_.find(layers);
    return it == layerSets_.end() ? nullptr : it->second;
}

const std::vector<ViewportScene::LayerSet*>& ViewportScene::setsContaining(int layer) const {
    static const std::vector<LayerSet*> none;
    auto it = setsByLayer_.find(layer);
    return it == setsByLayer_.end() ? none : it->second;
}

ViewportScene::LayerSet* ViewportScene::setOfFaceNode(const SceneNode* node) const {
    auto it = faceNodeSet_.find(node);
    return it == faceNodeSet_.end() ? nullptr : it->second;
}

uint32_t ViewportScene::spatialKey(Float3 point, const Float4x4& transform) const {
    Float3 p = transform.transformPoint(point);
    Float3 extent = max(model_.boundsMax - model_.boundsMin, Float3{1e-6f, 1e-6f, 1e-6f});
    auto cell = [](float v) {
        v = std::clamp(v, 0.0f, 1.0f);  // NaN stays NaN
        if (!(v >= 0)) v = 0;
        return uint32_t(std::lround(v * 1023.0f));
    };
    uint32_t x = cell((p.x - model_.boundsMin.x) / extent.x);
    uint32_t y = cell((p.y - model_.boundsMin.y) / extent.y);
    uint32_t z = cell((p.z - model_.boundsMin.z) / extent.z);
    return spreadBits(x) | (spreadBits(y) << 1) | (spreadBits(z) << 2);
}

void ViewportScene::split(std::vector<SplitEntry>& entries,
                          const std::shared_ptr<Material>& material, bool textured, LayerSet* set,
                          std::vector<Chunk>& chunks) {
    std::stable_sort(entries.begin(), entries.end(),
                     [](const SplitEntry& a, const SplitEntry& b) { return a.key < b.key; });
    const int64_t weight = material ? 3 : 2;
    Chunk pending{set, material, textured, {}, 0, 0};
    for (const SplitEntry& e : entries) {
        // The limit test weighs edges by 3 as well, which keeps edge chunks a third smaller.
        if (pending.indices >= 1 && pending.indices + e.size * 3 >= kChunkIndexLimit) {
            chunks.push_back(std::move(pending));
            pending = Chunk{set, material, textured, {}, 0, 0};
        }
        pending.pieces.push_back(e.piece);
        pending.vertices += e.vertices;
        pending.indices += e.size * weight;
    }
    if (!pending.pieces.empty()) chunks.push_back(std::move(pending));
}

void ViewportScene::build(const std::vector<LayerSet*>& sets) {
    if (sets.empty()) return;
    std::vector<Chunk> chunks;
    struct PerMaterial {
        std::shared_ptr<Material> material;
        bool textured = false;
        std::vector<SplitEntry> entries;
    };
    std::vector<int64_t> setTriangles(sets.size(), 0);
    for (size_t si = 0; si < sets.size(); ++si) {
        LayerSet* set = sets[si];
        assert(!set->node && "a layer set is built once");
        std::vector<PerMaterial> faces;  // in order of first use
        std::unordered_map<const Material*, size_t> faceIndex;
        std::vector<SplitEntry> edges;
        for (int p : set->placements) {
            const Placement& placement = placements_[size_t(p)];
            const Definition& d = definition(placement.definition);
            for (size_t i = 0; i < d.meshes.size(); ++i) {
                const Mesh& m = d.meshes[i];
                if (!keyMatches(layers(placement), m.layer, set->layers)) continue;
                std::shared_ptr<Material> material;
                const bool hasUVs = m.uvs.has_value();
                if (m.material)
                    material = scnMaterial(*m.material, hasUVs ? UVs::own : UVs::none);
                else if (placement.material)
                    material =
                        scnMaterial(*placement.material, hasUVs ? UVs::inherited : UVs::none);
                else
                    material = defaultMaterial();
                auto [it, inserted] = faceIndex.try_emplace(material.get(), faces.size());
                if (inserted) faces.push_back({material, material->diffuseImage != nullptr, {}});
                Float3 first = m.positions.empty() ? Float3{0, 0, 0} : m.positions.front();
                faces[it->second].entries.push_back({{p, int(i)},
                                                     spatialKey(first, placement.transform),
                                                     int64_t(m.indices.size() / 3),
                                                     int64_t(m.positions.size())});
            }
            for (size_t j = 0; j < d.edges.size(); ++j) {
                const EdgeSet& e = d.edges[j];
                if (e.positions.empty() || !keyMatches(layers(placement), e.layer, set->layers))
                    continue;
                edges.push_back({{p, int(j)},
                                 spatialKey(e.positions.front(), placement.transform),
                                 int64_t(e.positions.size() / 2),
                                 int64_t(e.positions.size())});
            }
        }
        size_t before = chunks.size();
        for (PerMaterial& f : faces) split(f.entries, f.material, f.textured, set, chunks);
        for (size_t c = before; c < chunks.size(); ++c) setTriangles[si] += chunks[c].indices / 3;
        split(edges, nullptr, false, set, chunks);
    }

    if (timingEnabled()) {
        double triangles = 0, segments = 0, bytes = 0;
        int64_t largest = 0;
        bool anyFaces = false;
        for (const Chunk& c : chunks) {
            if (c.material) {
                anyFaces = true;
                triangles += double(c.indices / 3);
                bytes += double(c.vertices) * (c.textured ? 32 : 24) + double(c.indices) * 4;
            } else {
                segments += double(c.vertices / 2);
                bytes += double(c.vertices) * 12;
            }
        }
        for (int64_t t : setTriangles) largest = std::max(largest, t);
        std::printf(
            "ViewportScene: building %d layer sets, %d chunks, %.2f M triangles (largest set "
            "%.2f M), %.2f M segments, %.0f MB\n",
            int(sets.size()), int(chunks.size()), triangles / 1e6,
            anyFaces ? double(largest) / 1e6 : 0.0, segments / 1e6, bytes / 1048576.0);
        std::fflush(stdout);
    }

    report(kChunkedFraction);
    int64_t total = 0;
    for (const Chunk& c : chunks) total += c.vertices;
    std::atomic<int64_t> done{0};
    std::vector<std::shared_ptr<Geometry>> merged(chunks.size());
    parallelFor(chunks.size(), [&](size_t i) {
        merged[i] = chunks[i].material ? mergeFaces(chunks[i]) : mergeEdges(chunks[i]);
        const int64_t now = done += chunks[i].vertices;
        if (total > 0)
            report(kChunkedFraction + (1 - kChunkedFraction) * double(now) / double(total));
    });

    for (LayerSet* set : sets) {
        set->node = SceneNode::make(joinLayers(set->layers));
        modelRoot_->addChild(set->node);
    }
    const bool edgesVisible = showsEdges_ || shadingStyle_ == ShadingStyle::wireframe;
    for (size_t i = 0; i < chunks.size(); ++i) {
        const Chunk& c = chunks[i];
        auto node = SceneNode::make();
        node->geometry = std::move(merged[i]);
        if (!c.material) {
            node->materials = {edgeMaterial_};
            node->categoryBitMask = 2;
            node->castsShadow = false;
            node->renderingOrder = 1;
            node->isHidden = !edgesVisible;
            edgeNodes_.push_back(node);
            edgeChunks_.push_back({node, node->geometry, c.vertices, c.set});
        } else {
            node->materials = {c.material};
            if (c.material->transparency < 1) {
                node->castsShadow = false;
                node->renderingOrder = 2;
            } else {
                node->castsShadow = c.material->writesToDepthBuffer;
                node->renderingOrder = c.material->writesToDepthBuffer ? 0 : 2;
            }
            faceNodes_.push_back({node, c.material});
            faceNodeSet_[node.get()] = c.set;
            if (shadingStyle_ != ShadingStyle::textured) applyShadingStyle(*node, c.material);
        }
        c.set->node->addChild(std::move(node));
    }
}

std::shared_ptr<Geometry> ViewportScene::mergeFaces(const Chunk& chunk) const {
    auto g = std::make_shared<Geometry>();
    g->primitive = Geometry::Primitive::triangles;
    g->positions = Buffer<Float3>(size_t(chunk.vertices));
    g->normals = Buffer<Float3>(size_t(chunk.vertices));
    if (chunk.textured) {
        g->uvs = Buffer<Float2>(size_t(chunk.vertices));
        // Pieces without coordinates leave their slots; zero them so nothing reads garbage.
        std::memset(static_cast<void*>(g->uvs.data()), 0, g->uvs.size() * sizeof(Float2));
    }
    g->indices = Buffer<uint32_t>(size_t(chunk.indices));
    Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    size_t cursor = 0, out = 0;
    for (const Piece& piece : chunk.pieces) {
        const Placement& p = placements_[size_t(piece.placement)];
        const Mesh& m = definition(p.definition).meshes[size_t(piece.item)];
        const Float4x4& t = p.transform;
        const Float3 c0 = t.column3(0), c1 = t.column3(1), c2 = t.column3(2), tr = t.column3(3);
        // Normal matrix: inverse transpose of the 3x3, i.e. the cofactors over the determinant.
        const Float3 n0 = cross(c1, c2), n1 = cross(c2, c0), n2 = cross(c0, c1);
        const float det = dot(c0, n0);
        const bool mirrored = det < 0;
        const float inv = det != 0 ? 1.0f / det : 1.0f;
        Float3* pos = g->positions.data() + cursor;
        Float3* nor = g->normals.data() + cursor;
        const size_t count = m.positions.size();
        for (size_t i = 0; i < count; ++i) {
            const Float3 v = m.positions[i];
            const Float3 w = c0 * v.x + c1 * v.y + c2 * v.z + tr;
            pos[i] = w;
            lo = min(lo, w);
            hi = max(hi, w);
            const Float3 n = i < m.normals.size() ? m.normals[i] : Float3{0, 0, 1};
            nor[i] = normalize((n0 * n.x + n1 * n.y + n2 * n.z) * inv);
        }
        if (chunk.textured && m.uvs)
            std::memcpy(static_cast<void*>(g->uvs.data() + cursor), m.uvs->data(),
                        std::min(count, m.uvs->size()) * sizeof(Float2));
        const uint32_t base = uint32_t(cursor);
        const uint32_t* idx = m.indices.data();
        uint32_t* dst = g->indices.data() + out;
        const size_t triangles = m.indices.size() / 3;
        for (size_t k = 0; k < triangles; ++k) {
            dst[3 * k] = idx[3 * k] + base;
            dst[3 * k + 1] = idx[3 * k + (mirrored ? 2 : 1)] + base;
            dst[3 * k + 2] = idx[3 * k + (mirrored ? 1 : 2)] + base;
        }
        out += triangles * 3;
        cursor += count;
    }
    if (cursor > 0) {
        g->boundsMin = lo;
        g->boundsMax = hi;
    }
    return g;
}

std::shared_ptr<Geometry> ViewportScene::mergeEdges(const Chunk& chunk) const {
    auto g = std::make_shared<Geometry>();
    g->primitive = Geometry::Primitive::lines;
    g->positions = Buffer<Float3>(size_t(chunk.vertices));
    Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    Float3* out = g->positions.data();
    for (const Piece& piece : chunk.pieces) {
        const Placement& p = placements_[size_t(piece.placement)];
        const EdgeSet& e = definition(p.definition).edges[size_t(piece.item)];
        for (const Float3& v : e.positions) {
            Float3 w = p.transform.transformPoint(v);
            *out++ = w;
            lo = min(lo, w);
            hi = max(hi, w);
        }
    }
    if (chunk.vertices > 0) {
        g->boundsMin = lo;
        g->boundsMax = hi;
    }
    return g;
}

void ViewportScene::applyEdgeVisibility() {
    const bool visible = showsEdges_ || shadingStyle_ == ShadingStyle::wireframe;
    for (auto& n : edgeNodes_) n->isHidden = !visible;
}

}  // namespace vistrel::viewport
