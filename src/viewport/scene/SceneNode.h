// One node of the retained scene graph: a transform, children, and optionally a geometry with
// its materials and a light. Nodes are owned by their parent through shared pointers; scene
// assembly produces a flat tree of a few hundred of them.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/Math.h"
#include "scene/Geometry.h"
#include "scene/Light.h"
#include "scene/Material.h"

namespace vistrel::viewport {

class SceneNode : public std::enable_shared_from_this<SceneNode> {
  public:
    static std::shared_ptr<SceneNode> make(std::string name = {});

    std::string name;
    Float4x4 transform;  // relative to the parent
    bool isHidden = false;
    std::shared_ptr<Geometry> geometry;
    std::vector<std::shared_ptr<Material>> materials;  // the geometry's; first one used
    int categoryBitMask = 1;
    bool castsShadow = true;
    int renderingOrder = 0;
    std::optional<Light> light;

    const std::vector<std::shared_ptr<SceneNode>>& children() const { return children_; }
    SceneNode* parent() const { return parent_; }
    void addChild(std::shared_ptr<SceneNode> child);
    // Detaches from the parent; the node lives on while someone holds it.
    void removeFromParent();

    // Parent transforms applied, root first.
    Float4x4 worldTransform() const;
    // Hidden itself or below a hidden ancestor.
    bool isEffectivelyHidden() const;
    const std::shared_ptr<Material>& material() const;

  private:
    std::vector<std::shared_ptr<SceneNode>> children_;
    SceneNode* parent_ = nullptr;
};

}  // namespace vistrel::viewport
