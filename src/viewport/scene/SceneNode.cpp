#include "scene/SceneNode.h"

#include <algorithm>
#include <cassert>

namespace vistrel::viewport {

std::shared_ptr<SceneNode> SceneNode::make(std::string name) {
    auto n = std::make_shared<SceneNode>();
    n->name = std::move(name);
    return n;
}

void SceneNode::addChild(std::shared_ptr<SceneNode> child) {
    assert(child && child.get() != this);
    child->removeFromParent();
    child->parent_ = this;
    children_.push_back(std::move(child));
}

void SceneNode::removeFromParent() {
    if (!parent_) return;
    auto& siblings = parent_->children_;
    auto it = std::find_if(siblings.begin(), siblings.end(),
                           [this](const auto& c) { return c.get() == this; });
    parent_ = nullptr;
    if (it != siblings.end()) siblings.erase(it);  // may destroy *this last
}

Float4x4 SceneNode::worldTransform() const {
    Float4x4 t = transform;
    for (const SceneNode* p = parent_; p; p = p->parent_) t = p->transform * t;
    return t;
}

bool SceneNode::isEffectivelyHidden() const {
    for (const SceneNode* n = this; n; n = n->parent_)
        if (n->isHidden) return true;
    return false;
}

const std::shared_ptr<Material>& SceneNode::material() const {
    static const std::shared_ptr<Material> none;
    return materials.empty() ? none : materials.front();
}

}  // namespace vistrel::viewport
