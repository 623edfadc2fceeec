// Scene and layer commands of DocumentModel.
#include <QPointer>
#include <QString>

#include <algorithm>

#include "documents/DocumentModel.h"
#include "shell/Preferences.h"

namespace vistrel::app {

namespace {

constexpr float kZoomGlide = 0.35f;
constexpr float kSlowSceneGlide = 3.5f;

bool inRange(int index, size_t count) {
    return index >= 0 && size_t(index) < count;
}

}  // namespace

void DocumentModel::pushLayers() {
    if (auto* s = scene()) s->setLayers(layerVisible_);
}

// MARK: Scenes

void DocumentModel::selectScene(int index, std::optional<bool> slow) {
    if (!skp_ || !inRange(index, skp_->scenes.size())) return;
    // Keeps the model alive while its scene is read, whatever the writes below notify.
    auto model = skp_;
    const Scene& chosen = model->scenes[size_t(index)];
    write(selectedScene_, index, &DocumentModel::selectedSceneChanged);
    write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    if (chosen.hiddenLayers) {
        std::vector<bool> visible(model->layers.size(), true);
        for (int hidden : *chosen.hiddenLayers)
            if (inRange(hidden, visible.size())) visible[size_t(hidden)] = false;
        write(layerVisible_, std::move(visible), &DocumentModel::layerVisibleChanged);
        if (isReady()) {
            pushLayers();
            updateVisibleSize();
        }
    }
    if (isReady() && chosen.camera) {
        bool isSlow = slow ? *slow : (isShiftHeld && isShiftHeld());
        viewport_.apply(*chosen.camera, true, isSlow ? kSlowSceneGlide : kZoomGlide);
        write(isPerspective_, chosen.camera->isPerspective, &DocumentModel::isPerspectiveChanged);
        syncCameraStateFromViewport();
    }
}

void DocumentModel::previousScene(std::optional<bool> slow) {
    int n = skp_ ? int(skp_->scenes.size()) : 0;
    if (n == 0) return;
    int current = selectedScene_.value_or(0);
    selectScene((current - 1 + n) % n, slow);
}

void DocumentModel::nextScene(std::optional<bool> slow) {
    int n = skp_ ? int(skp_->scenes.size()) : 0;
    if (n == 0) return;
    int current = selectedScene_.value_or(-1);
    selectScene((current + 1) % n, slow);
}

// MARK: Layers

void DocumentModel::toggleLayer(int index) {
    if (!inRange(index, layerVisible_.size())) return;
    auto visible = layerVisible_;
    visible[size_t(index)] = !visible[size_t(index)];
    write(layerVisible_, std::move(visible), &DocumentModel::layerVisibleChanged);
    if (auto* s = scene()) s->setLayer(index, layerVisible_[size_t(index)]);
    updateVisibleSize();
    requestRedraw();
}

void DocumentModel::pulse(const std::set<int>& layers) {
    auto* s = scene();
    if (!s) return;
    QPointer<DocumentModel> self(this);
    s->pulseLayers(layers, [self] {
        if (self) self->requestRedraw();
    });
}

void DocumentModel::selectLayer(int index) {
    if (!skp_ || !inRange(index, skp_->layers.size())) return;
    write(selectedLayerIndex_, index, &DocumentModel::selectedLayerIndexChanged);
    write(selectedLayerGroupID_, std::nullopt, &DocumentModel::selectedLayerGroupIDChanged);
    pulse({index});
}

void DocumentModel::selectLayerFromViewport(int index) {
    if (!skp_ || !inRange(index, skp_->layers.size())) return;
    auto model = skp_;
    if (!showSidebar_ && (model->layers.size() > 1 || !model->scenes.empty())) {
        write(showSidebar_, true, &DocumentModel::showSidebarChanged);
        Preferences::setBool("showSidebar", true);
    }
    for (const auto& group : model->layerGroups()) {
        if (group.isSingle()) continue;
        const auto& members = group.layerIndices;
        if (std::find(members.begin(), members.end(), index) == members.end()) continue;
        auto expanded = expandedLayerGroups_;
        expanded.insert(group.id);
        write(expandedLayerGroups_, std::move(expanded),
              &DocumentModel::expandedLayerGroupsChanged);
        break;
    }
    QString filter = QString::fromStdString(layerFilter_).trimmed();
    if (!filter.isEmpty()) {
        QString name = QString::fromStdString(model->layers[size_t(index)].name);
        if (!name.contains(filter, Qt::CaseInsensitive))
            write(layerFilter_, std::string(), &DocumentModel::layerFilterChanged);
    }
    selectLayer(index);
    write(scrollToLayerTrigger_, scrollToLayerTrigger_ + 1,
          &DocumentModel::scrollToLayerTriggerChanged);
}

void DocumentModel::setHoveredLayer(std::optional<int> index) {
    if (index && (!skp_ || !inRange(*index, skp_->layers.size()))) index.reset();
    if (index == hoveredLayerIndex_) return;
    write(hoveredLayerIndex_, index, &DocumentModel::hoveredLayerIndexChanged);
    if (auto* s = scene()) s->setHoveredLayers(index ? std::set<int>{*index} : std::set<int>{});
    requestRedraw();
}

void DocumentModel::frameLayers(const std::set<int>& layers, bool animated) {
    auto* s = scene();
    if (!s) return;
    auto bounds = s->bounds(layers);
    if (!bounds) return;
    write(activeStandardView_, std::nullopt, &DocumentModel::activeStandardViewChanged);
    viewport_.frameBounds(bounds->min, bounds->max, animated, kZoomGlide);
    syncCameraStateFromViewport();
}

void DocumentModel::zoomToLayer(int index, bool animated) {
    if (!skp_ || !inRange(index, skp_->layers.size())) return;
    if (inRange(index, layerVisible_.size()) && !layerVisible_[size_t(index)]) toggleLayer(index);
    frameLayers({index}, animated);
}

void DocumentModel::setAllLayers(bool visible) {
    if (layerVisible_.empty()) return;
    write(layerVisible_, std::vector<bool>(layerVisible_.size(), visible),
          &DocumentModel::layerVisibleChanged);
    pushLayers();
    updateVisibleSize();
    requestRedraw();
}

void DocumentModel::soloLayer(int index) {
    if (!inRange(index, layerVisible_.size())) return;
    std::vector<bool> alone(layerVisible_.size(), false);
    alone[size_t(index)] = true;
    if (alone == layerVisible_) {
        setAllLayers(true);
        return;
    }
    write(layerVisible_, std::move(alone), &DocumentModel::layerVisibleChanged);
    pushLayers();
    updateVisibleSize();
    requestRedraw();
}

// MARK: Layer groups

void DocumentModel::selectLayerGroup(const LayerGroup& group) {
    write(selectedLayerGroupID_, group.id, &DocumentModel::selectedLayerGroupIDChanged);
    write(selectedLayerIndex_, std::nullopt, &DocumentModel::selectedLayerIndexChanged);
    pulse(std::set<int>(group.layerIndices.begin(), group.layerIndices.end()));
}

void DocumentModel::setLayerGroup(const LayerGroup& group, bool visible) {
    if (group.layerIndices.empty()) return;
    auto next = layerVisible_;
    bool changed = false;
    for (int i : group.layerIndices) {
        if (!inRange(i, next.size()) || next[size_t(i)] == visible) continue;
        next[size_t(i)] = visible;
        changed = true;
    }
    if (!changed) return;
    write(layerVisible_, std::move(next), &DocumentModel::layerVisibleChanged);
    pushLayers();
    updateVisibleSize();
    requestRedraw();
}

void DocumentModel::zoomToLayerGroup(const LayerGroup& group, bool animated) {
    bool anyVisible = std::any_of(group.layerIndices.begin(), group.layerIndices.end(), [&](int i) {
        return inRange(i, layerVisible_.size()) && layerVisible_[size_t(i)];
    });
    if (!anyVisible) setLayerGroup(group, true);
    frameLayers(std::set<int>(group.layerIndices.begin(), group.layerIndices.end()), animated);
}

void DocumentModel::soloLayerGroup(const LayerGroup& group) {
    if (layerVisible_.empty()) return;
    std::vector<bool> only(layerVisible_.size(), false);
    for (int i : group.layerIndices)
        if (inRange(i, only.size())) only[size_t(i)] = true;
    if (only == layerVisible_) {
        setAllLayers(true);
        return;
    }
    write(layerVisible_, std::move(only), &DocumentModel::layerVisibleChanged);
    pushLayers();
    updateVisibleSize();
    requestRedraw();
}

void DocumentModel::toggleLayerGroupExpanded(const std::string& id) {
    auto expanded = expandedLayerGroups_;
    if (!expanded.erase(id)) expanded.insert(id);
    write(expandedLayerGroups_, std::move(expanded), &DocumentModel::expandedLayerGroupsChanged);
}

void DocumentModel::setAllLayerGroupsExpanded(bool expanded) {
    std::set<std::string> ids;
    if (expanded && skp_) {
        for (const auto& group : skp_->layerGroups())
            if (!group.isSingle()) ids.insert(group.id);
    }
    write(expandedLayerGroups_, std::move(ids), &DocumentModel::expandedLayerGroupsChanged);
}

}  // namespace vistrel::app
