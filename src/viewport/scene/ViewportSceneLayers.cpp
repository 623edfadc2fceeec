// Layer operations of ViewportScene once it stands: visibility, bounds, picking, and the hover
// and flash highlights. Main thread only.
#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

#include "scene/ViewportScene.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

float luma(Float3 c) {
    return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
}

std::shared_ptr<Material> highlightEdgeMaterial(Float3 color, bool readsDepth, bool bias) {
    auto m = std::make_shared<Material>();
    m->lightingModel = Material::LightingModel::constant;
    m->diffuseColor = {color.x, color.y, color.z, 1};
    m->readsFromDepthBuffer = readsDepth;
    m->writesToDepthBuffer = false;
    m->edgeDepthBias = bias;
    return m;
}

bool isEdgeNode(const SceneNode& n) {
    return n.categoryBitMask == 2;
}

}  // namespace

bool ViewportScene::hasHiddenLayer(const LayerSet& set) const {
    return std::any_of(set.layers.begin(), set.layers.end(),
                       [&](int l) { return hiddenLayers_.contains(l); });
}

void ViewportScene::layersChanged(const std::vector<LayerSet*>& affected) {
    cachedVisibleBounds_.reset();
    std::vector<LayerSet*> toBuild;
    for (LayerSet* s : affected)
        if (!s->node && !hasHiddenLayer(*s)) toBuild.push_back(s);
    build(toBuild);
    for (LayerSet* s : affected)
        if (s->node) s->node->isHidden = hasHiddenLayer(*s);
    if (sun_) {
        Bounds b = visibleBounds();
        sun_->light->maximumShadowDistance = 4 * length(b.max - b.min);
    }
    runHoverRestore();
    cancelLayerPulse();
}

void ViewportScene::setLayer(int index, bool visible) {
    if (visible)
        hiddenLayers_.erase(index);
    else
        hiddenLayers_.insert(index);
    layersChanged(setsContaining(index));
}

void ViewportScene::setLayers(const std::vector<bool>& visibility) {
    if (visibility.size() < model_.layers.size()) std::abort();  // a caller's mistake
    hiddenLayers_.clear();
    for (size_t i = 0; i < visibility.size(); ++i)
        if (!visibility[i]) hiddenLayers_.insert(int(i));
    std::vector<LayerSet*> all;
    for (auto& s : layerSetList_) all.push_back(s.get());
    layersChanged(all);
}

ViewportScene::Bounds ViewportScene::visibleBounds() {
    if (cachedVisibleBounds_) return *cachedVisibleBounds_;
    Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    const bool wire = shadingStyle_ == ShadingStyle::wireframe;
    for (auto& s : layerSetList_) {
        if (!s->node || s->node->isHidden) continue;
        for (auto& c : s->node->children()) {
            if (!c->geometry || (c->isHidden && !wire)) continue;
            lo = min(lo, c->geometry->boundsMin);
            hi = max(hi, c->geometry->boundsMax);
        }
    }
    if (hi.x < lo.x) {
        lo = model_.boundsMin;
        hi = model_.boundsMax;
    }
    cachedVisibleBounds_ = Bounds{lo, hi};
    return *cachedVisibleBounds_;
}

std::vector<ViewportScene::LayerSet*> ViewportScene::matchingLayerSets(
    const std::set<int>& layers) const {
    std::vector<LayerSet*> result;
    if (layers.empty()) return result;
    std::set<int> u = layers;
    u.erase(0);
    auto isZeroOnly = [](const LayerSet& s) { return s.layers == std::vector<int>{0}; };
    for (auto& s : layerSetList_) {
        const bool hasU =
            std::any_of(s->layers.begin(), s->layers.end(), [&](int l) { return u.contains(l); });
        if ((!u.empty() && hasU) || (isZeroOnly(*s) && layers.contains(0)))
            result.push_back(s.get());
    }
    if (u.empty() && result.empty())
        for (auto& s : layerSetList_)
            if (std::binary_search(s->layers.begin(), s->layers.end(), 0))
                result.push_back(s.get());
    return result;
}

void ViewportScene::buildUnbuilt(const std::vector<LayerSet*>& sets) {
    std::vector<LayerSet*> toBuild;
    for (LayerSet* s : sets)
        if (!s->node) toBuild.push_back(s);
    build(toBuild);
    for (LayerSet* s : toBuild) s->node->isHidden = hasHiddenLayer(*s);
}

std::optional<ViewportScene::Bounds> ViewportScene::bounds(const std::set<int>& layers) {
    std::vector<LayerSet*> sets = matchingLayerSets(layers);
    buildUnbuilt(sets);
    Float3 lo{kInf, kInf, kInf}, hi{-kInf, -kInf, -kInf};
    for (LayerSet* s : sets)
        for (auto& c : s->node->children())
            if (c->geometry) {
                lo = min(lo, c->geometry->boundsMin);
                hi = max(hi, c->geometry->boundsMax);
            }
    if (hi.x < lo.x) return std::nullopt;
    return Bounds{lo, hi};
}

namespace {

// A hierarchy over the geometries of items [covered, count) not yet covered by earlier ones.
template <typename Items, typename GeometryOf>
void coverNewItems(std::vector<std::unique_ptr<PrimitiveBVH>>& bvhs, const Items& items,
                   GeometryOf geometryOf) {
    const size_t covered = bvhs.empty() ? 0 : bvhs.back()->firstTag() + bvhs.back()->tagCount();
    if (covered == items.size()) return;
    std::vector<const Geometry*> geometries;
    for (size_t i = covered; i < items.size(); ++i) geometries.push_back(geometryOf(items[i]));
    bvhs.push_back(std::make_unique<PrimitiveBVH>(std::move(geometries), uint32_t(covered)));
}

}  // namespace

void ViewportScene::preparePicking() {
    coverNewItems(faceBVHs_, faceNodes_, [](const FaceNode& f) { return f.node->geometry.get(); });
    coverNewItems(edgeBVHs_, edgeChunks_, [](const EdgeChunk& e) { return e.geometry.get(); });
}

std::optional<ViewportScene::FaceHit> ViewportScene::hitFaces(Float3 from, Float3 direction,
                                                              float reach) {
    preparePicking();
    pickableFaces_.resize(faceNodes_.size());
    for (size_t i = 0; i < faceNodes_.size(); ++i) {
        const SceneNode& n = *faceNodes_[i].node;
        const LayerSet* set = setOfFaceNode(&n);
        pickableFaces_[i] =
            !(n.isHidden || (n.parent() && n.parent()->isHidden) || !set || hasHiddenLayer(*set));
    }
    std::optional<FaceHit> best;
    float limit = reach;
    for (const auto& bvh : faceBVHs_) {
        auto hit = bvh->intersect(from, direction, limit, pickableFaces_);
        if (!hit || !std::isfinite(hit->distance) || hit->distance < 0) continue;
        limit = hit->distance;
        best = FaceHit{hit->distance, setOfFaceNode(faceNodes_[hit->tag].node.get())};
    }
    return best;
}

std::optional<int> ViewportScene::pickLayer(Float3 from, Float3 direction, Float3 /*right*/,
                                            Float3 up, float reach,
                                            std::optional<float> orthoTolerance, float tanHalfFOV,
                                            float viewportHeight, float screenRadiusPoints) {
    std::optional<FaceHit> face;
    if (shadingStyle_ != ShadingStyle::wireframe) face = hitFaces(from, direction, reach);
    const float faceDepth = face ? face->depth : kInf;

    LayerSet* edgeSet = nullptr;
    if (showsEdges_ || shadingStyle_ == ShadingStyle::wireframe) {
        Float3 v = up - direction * dot(up, direction);
        if (dot(v, v) > 1e-6f) {
            v = normalize(v);
        } else {
            Float3 helper = std::fabs(direction.z) < 0.9f ? Float3{0, 0, 1} : Float3{1, 0, 0};
            v = normalize(cross(direction, helper));
        }
        const Float3 r = cross(v, direction);
        const float k = 2 * tanHalfFOV / std::max(viewportHeight, 1.0f) * screenRadiusPoints;
        const float depthLimit = face ? std::min(faceDepth * 1.02f + 0.05f, reach) : reach;
        const float margin = orthoTolerance ? *orthoTolerance : k * depthLimit;
        preparePicking();
        pickableEdges_.resize(edgeChunks_.size());
        for (size_t i = 0; i < edgeChunks_.size(); ++i) {
            const EdgeChunk& c = edgeChunks_[i];
            pickableEdges_[i] = c.node && !c.node->isHidden && c.set->node &&
                                !c.set->node->isHidden && !hasHiddenLayer(*c.set) &&
                                c.vertexCount >= 2;
        }
        float bestScore = kInf;
        auto score = [&](uint32_t chunkIndex, uint32_t segment) {
            const Float3* p =
                edgeChunks_[chunkIndex].geometry->positions.data() + 2 * size_t(segment);
            const Float3 a = p[0] - from, b = p[1] - from;
            const float ta = dot(a, direction), tb = dot(b, direction);
            if (std::max(ta, tb) < 0 || std::min(ta, tb) > depthLimit) return;
            const float coarse =
                orthoTolerance ? *orthoTolerance : k * std::max(std::max(ta, tb), 0.01f);
            const float ra = dot(a, r), rb = dot(b, r), ua = dot(a, v), ub = dot(b, v);
            if ((ra > coarse && rb > coarse) || (ra < -coarse && rb < -coarse)) return;
            if ((ua > coarse && ub > coarse) || (ua < -coarse && ub < -coarse)) return;
            const float dr = rb - ra, du = ub - ua, l = dr * dr + du * du;
            const float s = l <= 1e-12f ? 0 : std::clamp(-(ra * dr + ua * du) / l, 0.0f, 1.0f);
            const float t = ta + (tb - ta) * s;
            if (t < 0 || t > depthLimit) return;
            const float fine =
                std::max(orthoTolerance ? *orthoTolerance : k * std::max(t, 0.01f), 1e-5f);
            const float d = std::hypot(ra + dr * s, ua + du * s);
            if (d > fine || t > faceDepth + 1.5f * fine) return;
            // Nearer is better, and of two edges at one depth the one under the pointer wins.
            const float value = t + (d / fine) * 2 * fine;
            if (value < bestScore) {
                bestScore = value;
                edgeSet = edgeChunks_[chunkIndex].set;
            }
        };
        for (const auto& bvh : edgeBVHs_)
            bvh->visitSegmentsNear(from, direction, depthLimit, margin, pickableEdges_, score);
    }
    if (edgeSet) return edgeSet->primary();
    if (face) return face->set->primary();
    return std::nullopt;
}

void ViewportScene::setTimerSource(std::unique_ptr<RepeatingTimer> timer, const Clock* clock) {
    if (pulseTimer_) pulseTimer_->stop();
    pulseTimer_ = std::move(timer);
    clock_ = clock;
}

void ViewportScene::runHoverRestore() {
    for (auto& restore : hoverRestoreActions_) restore();
    hoverRestoreActions_.clear();
}

Float3 ViewportScene::highlightEdgeBase(bool& light) const {
    Float3 e = Rendering::contrastingEdgeColor(backdropStyle_, customBackdropColor_, shadingStyle_);
    light = luma(e) > 0.5f;
    return light ? e * 1.48f : e;
}

void ViewportScene::setHoveredLayers(const std::set<int>& layers) {
    if (layers == hoveredLayers_) return;
    hoveredLayers_ = layers;
    applyHoverVisuals();
}

void ViewportScene::applyHoverVisuals() {
    runHoverRestore();
    if (hoveredLayers_.empty() || !activePulseLayers_.empty()) return;
    bool light = false;
    const Float3 base = highlightEdgeBase(light);
    const Float3 accent = light ? Float3{1.55f, 1.72f, 1.98f} : Float3{0.1f, 0.48f, 1.25f};
    const auto edges = highlightEdgeMaterial(base + (accent - base) * 0.42f, true, true);
    for (LayerSet* s : matchingLayerSets(hoveredLayers_)) {
        if (!s->node || hasHiddenLayer(*s)) continue;
        for (auto& child : s->node->children()) {
            if (child->isHidden) continue;
            std::shared_ptr<SceneNode> node = child;
            auto oldMaterials = node->materials;
            const int oldOrder = node->renderingOrder;
            if (isEdgeNode(*node)) {
                node->materials = {edges};
                node->renderingOrder = 2;
            } else {
                if (node->materials.empty()) continue;
                auto copy = std::make_shared<Material>(*node->materials.front());
                copy->gpu.reset();
                copy->emission = {0.16f, 0.21f, 0.28f};
                node->materials = {copy};
            }
            hoverRestoreActions_.push_back([node, oldMaterials, oldOrder] {
                node->materials = oldMaterials;
                node->renderingOrder = oldOrder;
            });
        }
    }
}

void ViewportScene::applyPulseEnvelope(float v) {
    v = std::clamp(v, 0.0f, 1.0f);
    const Float3 c = pulseStart_ + (pulsePeak_ - pulseStart_) * v;
    pulseEdgeMaterial_->diffuseColor = {c.x, c.y, c.z, 1};
    const float w = v * 0.78f;
    for (auto& m : pulseFaceCopies_) m->emission = {w * 0.92f, w * 0.96f, w * 1.05f};
}

void ViewportScene::pulseLayers(const std::set<int>& layers, std::function<void()> onUpdate) {
    cancelLayerPulse();
    std::vector<LayerSet*> sets = matchingLayerSets(layers);
    buildUnbuilt(sets);
    if (sets.empty()) {
        applyHoverVisuals();
        return;
    }
    activePulseLayers_ = layers;
    applyHoverVisuals();  // clears the hover: the flash wins

    // The flashed edges show through whatever stands in front of them.
    pulseEdgeMaterial_ = highlightEdgeMaterial({0, 0, 0}, false, false);
    pulseFaceCopies_.clear();
    for (LayerSet* s : sets) {
        if (s->node->isHidden) continue;  // a hidden layer stays hidden and does not flash
        for (auto& child : s->node->children()) {
            std::shared_ptr<SceneNode> node = child;
            pulseRestoreActions_.push_back(
                [node, m = node->materials, o = node->renderingOrder, h = node->isHidden] {
                    node->materials = m;
                    node->renderingOrder = o;
                    node->isHidden = h;
                });
            if (isEdgeNode(*node)) {
                node->materials = {pulseEdgeMaterial_};
                node->renderingOrder = 3;
                node->isHidden = false;
            } else if (!node->isHidden && !node->materials.empty()) {
                auto copy = std::make_shared<Material>(*node->materials.front());
                copy->gpu.reset();
                node->materials = {copy};
                pulseFaceCopies_.push_back(copy);
            }
        }
    }
    bool light = false;
    pulseStart_ = highlightEdgeBase(light);
    pulsePeak_ = light ? Float3{1.85f, 1.92f, 2.05f} : Float3{0.06f, 0.52f, 1.45f};
    pulseOnUpdate_ = std::move(onUpdate);
    applyPulseEnvelope(1);
    if (pulseOnUpdate_) pulseOnUpdate_();
    if (!pulseTimer_ || !clock_) return;
    pulseStartTime_ = clock_->now();
    // The timer belongs to the scene, so a closed document stops its flash with it.
    pulseTimer_->start(1.0 / 60, [this] {
        const double e = clock_->now() - pulseStartTime_;
        if (e >= kPulseDuration) {
            cancelLayerPulse();
        } else {
            applyPulseEnvelope(float(std::pow(1 - e / kPulseDuration, 1.75)));
        }
        if (pulseOnUpdate_) pulseOnUpdate_();
    });
}

void ViewportScene::cancelLayerPulse() {
    if (pulseTimer_) pulseTimer_->stop();
    for (auto& restore : pulseRestoreActions_) restore();
    pulseRestoreActions_.clear();
    pulseFaceCopies_.clear();
    activePulseLayers_.clear();
    if (!hoveredLayers_.empty()) applyHoverVisuals();
}

}  // namespace vistrel::viewport
