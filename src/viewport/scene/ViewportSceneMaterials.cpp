// The material caches and shading styles of ViewportScene: model materials become renderer
// materials once per (material, UV mode), and a style change swaps materials on the nodes
// without touching any geometry.
#include <stb_image.h>

#include <algorithm>
#include <cstring>

#include "scene/ViewportScene.h"
#include "vocabulary/Rendering.h"

namespace vistrel::viewport {

namespace {

std::shared_ptr<const Image> decodeImage(const std::filesystem::path& path) {
    int w = 0, h = 0, channels = 0;
    unsigned char* data = stbi_load(path.c_str(), &w, &h, &channels, 4);
    if (!data) return nullptr;
    auto image = std::make_shared<Image>();
    image->width = w;
    image->height = h;
    image->pixels.assign(data, data + size_t(w) * size_t(h) * 4);
    stbi_image_free(data);
    return image;
}

float luma(Float3 c) {
    return 0.2126f * c.x + 0.7152f * c.y + 0.0722f * c.z;
}

}  // namespace

std::shared_ptr<const Image> ViewportScene::image(int index) {
    if (auto it = images_.find(index); it != images_.end()) return it->second;
    std::shared_ptr<const Image> decoded;
    const vistrel::Material& m = model_.materials.at(size_t(index));
    if (m.textureURL) decoded = decodeImage(*m.textureURL);
    images_.emplace(index, decoded);  // a failure is remembered too
    return decoded;
}

std::shared_ptr<Material> ViewportScene::scnMaterial(int index, UVs uvs) {
    const UVs mode = image(index) ? uvs : UVs::none;
    const int key = index * 3 + int(mode);
    if (auto it = materials_.find(key); it != materials_.end()) return it->second;
    auto made = makeMaterial(index, mode);
    materials_.emplace(key, made);
    return made;
}

std::shared_ptr<Material> ViewportScene::makeMaterial(std::optional<int> index, UVs uvs) {
    auto mat = std::make_shared<Material>();
    mat->lightingModel = Material::LightingModel::physicallyBased;
    mat->roughness = 0.85f;
    mat->metalness = 0;
    mat->isDoubleSided = true;  // faces show from both sides, as in the modelling tool
    if (!index) {
        mat->diffuseColor = {0.96f, 0.96f, 0.96f, 1};
        return mat;
    }
    const vistrel::Material& m = model_.materials.at(size_t(*index));
    const float o = m.opacity;
    const bool transparent = o < 1 || m.isTransparent;
    const float a = o < 1 ? std::max(o, 0.08f) : 1.0f;  // a very thin material stays visible
    std::shared_ptr<const Image> img = uvs == UVs::none ? nullptr : image(*index);
    if (!img) {
        mat->diffuseColor = {m.color.x, m.color.y, m.color.z, a};
    } else {
        mat->diffuseImage = img;
        mat->wrapRepeat = true;
        // Scale model units to repetitions (inherited coordinates only), then flip V.
        Float4x4 scale;
        if (uvs == UVs::inherited) {
            scale(0, 0) = 1.0f / m.textureScale.x;
            scale(1, 1) = 1.0f / m.textureScale.y;
        }
        Float4x4 flip;
        flip(1, 1) = -1;
        flip(1, 3) = 1;
        mat->contentsTransform = flip * scale;
        if (o < 1) mat->alphaMultiply = a;
    }
    if (transparent) {
        mat->transparency = a;
        mat->transparencyMode = Material::TransparencyMode::dualLayer;
        mat->writesToDepthBuffer = false;
    }
    return mat;
}

const std::shared_ptr<Material>& ViewportScene::defaultMaterial() {
    if (!defaultMaterial_) defaultMaterial_ = makeMaterial(std::nullopt, UVs::none);
    return defaultMaterial_;
}

const std::shared_ptr<Material>& ViewportScene::clayMaterial() {
    if (!clayMaterial_) {
        clayMaterial_ = std::make_shared<Material>();
        clayMaterial_->diffuseColor = {0.94f, 0.92f, 0.89f, 1};
        clayMaterial_->roughness = 0.85f;
        clayMaterial_->metalness = 0;
        clayMaterial_->isDoubleSided = true;
    }
    return clayMaterial_;
}

std::shared_ptr<Material> ViewportScene::xrayMaterial(const std::shared_ptr<Material>& original) {
    if (auto it = xrayMaterials_.find(original.get()); it != xrayMaterials_.end())
        return it->second;
    auto x = std::make_shared<Material>(*original);
    x->gpu.reset();
    x->transparency = std::min(original->transparency, 0.36f);
    x->transparencyMode = Material::TransparencyMode::dualLayer;
    x->writesToDepthBuffer = false;
    x->alphaMultiply.reset();  // replaces whatever alpha rule the original had
    x->alphaMax = 0.36f;
    xrayMaterials_.emplace(original.get(), x);
    return x;
}

void ViewportScene::applyShadingStyle(SceneNode& node, const std::shared_ptr<Material>& original) {
    const bool seeThrough = original->isSeeThrough();
    switch (shadingStyle_) {
        case ShadingStyle::textured:
            node.isHidden = false;
            node.materials = {original};
            node.castsShadow = !seeThrough;
            node.renderingOrder = seeThrough ? 2 : 0;
            break;
        case ShadingStyle::clay:
            // Glass stays glass in a white model.
            node.isHidden = false;
            node.materials = {seeThrough ? original : clayMaterial()};
            node.castsShadow = !seeThrough;
            node.renderingOrder = seeThrough ? 2 : 0;
            break;
        case ShadingStyle::xray:
            node.isHidden = false;
            node.materials = {xrayMaterial(original)};
            node.castsShadow = false;
            node.renderingOrder = 2;
            break;
        case ShadingStyle::wireframe:
            node.isHidden = true;
            node.materials = {original};
            break;
    }
}

void ViewportScene::applyShadingStyle() {
    // Highlights hold the old materials: drop them first, bring the hover back after. The flash
    // ends first, since its end brings the hover back with the materials of the moment.
    cancelLayerPulse();
    runHoverRestore();
    for (const FaceNode& f : faceNodes_) applyShadingStyle(*f.node, f.material);
    applyEdgeVisibility();
    updateEdgeMaterial();
    applyHoverVisuals();
}

void ViewportScene::updateEdgeMaterial() {
    Float3 e = Rendering::contrastingEdgeColor(backdropStyle_, customBackdropColor_, shadingStyle_);
    // Light edges are lifted so they hold up after the camera's exposure offset.
    if (luma(e) > 0.5f) e *= 1.48f;
    edgeMaterial_->diffuseColor = {e.x, e.y, e.z, 1};
}

void ViewportScene::setShadingStyle(ShadingStyle style) {
    shadingStyle_ = style;
    applyShadingStyle();
}

void ViewportScene::setBackdropStyle(BackdropStyle style) {
    backdropStyle_ = style;
    background_ = Rendering::backdropImage(backdropStyle_, customBackdropColor_);
    updateEdgeMaterial();
}

void ViewportScene::setCustomBackdropColor(Float3 color) {
    customBackdropColor_ = color;
    background_ = Rendering::backdropImage(backdropStyle_, customBackdropColor_);
    updateEdgeMaterial();
}

void ViewportScene::setShowsEdges(bool shows) {
    showsEdges_ = shows;
    applyEdgeVisibility();
}

}  // namespace vistrel::viewport
