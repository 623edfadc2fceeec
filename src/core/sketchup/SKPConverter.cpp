#include "sketchup/SKPConverter.h"

#include <utf8proc.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "model/SKPError.h"
#include "model/UUIDText.h"
#include "settings/Localization.h"
#include "settings/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace vistrel::SKPReader {

namespace {

constexpr double kInch = 0.0254;
constexpr int kMaxDepth = 63;
constexpr int64_t kFacesPerPoll = 2000;
constexpr size_t kGuidePointBudget = 60000;
constexpr float kGuideHalfLength = 0.015f;
// Counts beyond these come from a confused library, not from a model: the list or face is
// treated as unreadable rather than allocated.
constexpr size_t kMaxListLength = size_t{1} << 27;
constexpr size_t kMaxFaceVertices = size_t{1} << 24;

Float3 metres(const SUPoint3D& p) {
    return {static_cast<float>(p.x * kInch), static_cast<float>(p.y * kInch),
            static_cast<float>(p.z * kInch)};
}

// Invalid sequences become U+FFFD so that names from outside are always valid text.
std::string repairedUTF8(const char* bytes, size_t size) {
    std::string out;
    out.reserve(size);
    auto data = reinterpret_cast<const utf8proc_uint8_t*>(bytes);
    size_t i = 0;
    while (i < size) {
        utf8proc_int32_t cp = 0;
        utf8proc_ssize_t n =
            utf8proc_iterate(data + i, static_cast<utf8proc_ssize_t>(size - i), &cp);
        if (n <= 0) {
            out += "\xEF\xBF\xBD";
            ++i;
        } else {
            out.append(bytes + i, static_cast<size_t>(n));
            i += static_cast<size_t>(n);
        }
    }
    return out;
}

std::string trimmed(const std::string& s) {
    const char* ws = " \t\n\r\v\f";
    size_t b = s.find_first_not_of(ws);
    if (b == std::string::npos) return {};
    return s.substr(b, s.find_last_not_of(ws) - b + 1);
}

// Count, then (capacity, out array, out count); any failure is an empty list.
template <typename Count, typename Get>
std::vector<SUHandle> list(Count count, Get get) {
    size_t n = 0;
    if (count(&n) != 0 || n == 0 || n > kMaxListLength) return {};
    std::vector<SUHandle> handles(n, nullptr);
    size_t got = 0;
    if (get(n, handles.data(), &got) != 0) return {};
    handles.resize(std::min(got, n));
    return handles;
}

// Releases a mesh helper on every way out of a face.
struct HelperGuard {
    const SketchUpAPI::Functions& f;
    SUHandle helper = nullptr;
    ~HelperGuard() {
        if (helper) f.SUMeshHelperRelease(&helper);
    }
};

}  // namespace

Converter::Converter(const SketchUpAPI::Functions& f, ProgressCallback progress,
                     CancelCheck isCancelled)
    : f(f), progress(std::move(progress)), isCancelled(std::move(isCancelled)) {}

void Converter::report(const std::string& phase, int64_t faces, double fraction) const {
    if (progress) progress({phase, faces, fraction});
}

void Converter::removeTextures() {
    if (!textureDirectory_) return;
    std::error_code ec;
    fs::remove_all(*textureDirectory_, ec);
}

std::string Converter::string(SUResult (*getter)(SUHandle, SUHandle*), SUHandle owner) const {
    SUHandle s = nullptr;
    if (f.SUStringCreate(&s) != 0 || !s) return {};
    std::string text;
    size_t length = 0;
    if (getter(owner, &s) == 0 && f.SUStringGetUTF8Length(s, &length) == 0) {
        std::vector<char> buffer(length + 1, '\0');
        size_t count = 0;
        if (f.SUStringGetUTF8(s, buffer.size(), buffer.data(), &count) == 0)
            text = repairedUTF8(buffer.data(), strnlen(buffer.data(), length));
    }
    f.SUStringRelease(&s);
    return text;
}

bool Converter::hidden(SUHandle element) const {
    bool value = false;
    return f.SUDrawingElementGetHidden(element, &value) == 0 && value;
}

int Converter::layer(SUHandle element) const {
    SUHandle handle = nullptr;
    if (f.SUDrawingElementGetLayer(element, &handle) != 0) return 0;
    auto it = layerIndex.find(handle);
    return it == layerIndex.end() ? 0 : it->second;
}

std::optional<int> Converter::knownMaterial(SUResult (*getter)(SUHandle, SUHandle*),
                                            SUHandle owner) const {
    SUHandle handle = nullptr;
    if (getter(owner, &handle) != 0 || !handle) return std::nullopt;
    auto it = materialIndex.find(handle);
    if (it == materialIndex.end()) return std::nullopt;
    return it->second;
}

std::optional<int> Converter::material(SUHandle element) const {
    return knownMaterial(f.SUDrawingElementGetMaterial, element);
}

void Converter::readMaterials(SUHandle model) {
    std::vector<SUHandle> handles =
        list([&](size_t* n) { return f.SUModelGetNumMaterials(model, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUModelGetMaterials(model, cap, out, n);
             });
    for (size_t i = 0; i < handles.size(); ++i) {
        SUHandle handle = handles[i];
        const int index = static_cast<int>(i);
        materialIndex[handle] = index;

        SUColor c{0, 0, 0, 0};
        if (f.SUMaterialGetColor(handle, &c) != 0) c = {0, 0, 0, 0};
        double opacity = 1.0;
        bool useOpacity = false;
        if (f.SUMaterialGetUseOpacity(handle, &useOpacity) == 0 && useOpacity) {
            double value = 1.0;
            if (f.SUMaterialGetOpacity(handle, &value) == 0) opacity = value;
        } else if (c.alpha >= 1 && c.alpha <= 254) {
            opacity = c.alpha / 255.0;
        }
        bool transparent = opacity < 0.999;
        if (!transparent && f.SUMaterialIsDrawnTransparent) {
            bool drawn = false;
            transparent = f.SUMaterialIsDrawnTransparent(handle, &drawn) == 0 && drawn;
        }

        Material m;
        m.name = string(f.SUMaterialGetName, handle);
        m.color = {static_cast<float>(c.red / 255.0), static_cast<float>(c.green / 255.0),
                   static_cast<float>(c.blue / 255.0), static_cast<float>(c.alpha / 255.0)};
        m.opacity = static_cast<float>(opacity);
        m.isTransparent = transparent;

        bool isTextured = false;
        int32_t type = 0;
        SUHandle texture = nullptr;
        if (f.SUMaterialGetType(handle, &type) == 0 &&
            (type == SketchUpAPI::kTexturedType || type == SketchUpAPI::kColorizedTexturedType) &&
            f.SUMaterialGetTexture(handle, &texture) == 0 && texture) {
            isTextured = true;
            std::string ext =
                fs::path(string(f.SUTextureGetFileName, texture)).extension().string();
            if (!ext.empty()) ext.erase(0, 1);
            for (char& ch : ext)
                if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
            if (ext.empty()) ext = "png";
            if (!textureDirectory_) {
                if (auto mine = TemporaryFolder::forThisProcess()) {
                    std::error_code ec;
                    fs::path dir = *mine / makeUUIDText();
                    fs::create_directories(dir, ec);
                    if (!ec) textureDirectory_ = dir;
                }
            }
            if (textureDirectory_) {
                fs::path file = *textureDirectory_ / (std::to_string(index) + "." + ext);
                if (f.SUTextureWriteToFile(texture, file.c_str()) == 0) m.textureURL = file;
            }
            size_t width = 0, height = 0;
            double s = 0, t = 0;
            if (f.SUTextureGetDimensions(texture, &width, &height, &s, &t) == 0 && s > 0 && t > 0)
                m.textureScale = {static_cast<float>(kInch / s), static_cast<float>(kInch / t)};
        }
        textured.push_back(isTextured);
        materials.push_back(std::move(m));
    }
}

void Converter::readLayers(SUHandle model) {
    std::vector<SUHandle> handles = list([&](size_t* n) { return f.SUModelGetNumLayers(model, n); },
                                         [&](size_t cap, SUHandle* out, size_t* n) {
                                             return f.SUModelGetLayers(model, cap, out, n);
                                         });
    for (size_t i = 0; i < handles.size(); ++i) {
        SUHandle handle = handles[i];
        layerIndex[handle] = static_cast<int>(i);
        Layer l;
        if (f.SULayerGetParentLayerFolder && f.SULayerFolderGetName) {
            SUHandle folder = nullptr;
            if (f.SULayerGetParentLayerFolder(handle, &folder) == 0 && folder) {
                std::string name = trimmed(string(f.SULayerFolderGetName, folder));
                if (!name.empty()) l.folder = std::move(name);
            }
        }
        l.name = string(f.SULayerGetName, handle);
        bool visible = true;
        l.isVisible = f.SULayerGetVisibility(handle, &visible) != 0 || visible;
        layers.push_back(std::move(l));
    }
    if (layers.empty()) layers.push_back({"Layer0", true, std::nullopt});
}

std::pair<Definition, Box> Converter::convert(SUHandle entities, const std::string& name,
                                              int depth) {
    Definition definition;
    definition.name = name;
    Box box;
    if (depth > kMaxDepth) return {std::move(definition), box};
    convertFaces(entities, definition, box);
    convertEdges(entities, definition, box);
    convertGuidePoints(entities, definition, box);
    convertGroups(entities, definition, box, depth);
    convertInstances(entities, definition, box, depth);
    return {std::move(definition), box};
}

void Converter::convertFaces(SUHandle entities, Definition& definition, Box& box) {
    std::vector<SUHandle> faces =
        list([&](size_t* n) { return f.SUEntitiesGetNumFaces(entities, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUEntitiesGetFaces(entities, cap, out, n);
             });
    std::unordered_map<BatchKey, size_t, BatchKeyHash> batches;
    for (SUHandle face : faces) {
        if (hidden(face)) continue;
        if (stats.faces % kFacesPerPoll == 0) {
            if (isCancelled && isCancelled()) throw SKPError::cancelled();
            double done = static_cast<double>(stats.faces) / 40000.0;
            report(L("Conversion des faces", "Converting faces"), stats.faces,
                   (1.0 - 1.0 / (done + 1.0)) * 0.6 + 0.24);
        }
        ++stats.faces;

        HelperGuard guard{f};
        if (f.SUMeshHelperCreate(&guard.helper, face) != 0) {
            guard.helper = nullptr;
            continue;
        }
        size_t T = 0, V = 0;
        if (f.SUMeshHelperGetNumTriangles(guard.helper, &T) != 0) T = 0;
        if (f.SUMeshHelperGetNumVertices(guard.helper, &V) != 0) V = 0;
        if (T < 1 || V < 1 || V > kMaxFaceVertices || T > kMaxFaceVertices) continue;
        if (points.size() < V) {
            points.resize(V);
            normals.resize(V);
            stq.resize(V);
        }
        if (indices.size() < 3 * T) indices.resize(3 * T);

        size_t gotPoints = 0, gotNormals = 0, gotIndices = 0;
        if (f.SUMeshHelperGetVertices(guard.helper, V, points.data(), &gotPoints) != 0 ||
            f.SUMeshHelperGetNormals(guard.helper, V, normals.data(), &gotNormals) != 0 ||
            f.SUMeshHelperGetVertexIndices(guard.helper, 3 * T, indices.data(), &gotIndices) != 0 ||
            gotPoints != V || gotNormals != V || gotIndices != 3 * T)
            continue;
        // An index past the vertices would break the model's invariant downstream.
        if (std::any_of(indices.begin(), indices.begin() + 3 * T, [&](size_t i) { return i >= V; }))
            continue;

        std::optional<int> front = knownMaterial(f.SUFaceGetFrontMaterial, face);
        std::optional<int> back = knownMaterial(f.SUFaceGetBackMaterial, face);
        bool useBack = (!front && back) || (front && back && !materials[*front].isTransparent &&
                                            materials[*back].isTransparent);
        std::optional<int> chosen = useBack ? back : front;

        std::optional<double> uvScale;
        if (!chosen)
            uvScale = kInch;
        else if (textured[*chosen])
            uvScale = 1.0;
        if (uvScale) {
            auto read = useBack ? f.SUMeshHelperGetBackSTQCoords : f.SUMeshHelperGetFrontSTQCoords;
            size_t gotSTQ = 0;
            if (read(guard.helper, V, stq.data(), &gotSTQ) != 0 || gotSTQ != V) continue;
        }

        BatchKey key{chosen ? std::optional<int64_t>(*chosen) : std::nullopt, layer(face)};
        auto [it, inserted] = batches.try_emplace(key, definition.meshes.size());
        if (inserted) {
            Mesh mesh;
            mesh.material = chosen;
            mesh.layer = static_cast<int>(key.layer);
            if (uvScale) mesh.uvs.emplace();
            definition.meshes.push_back(std::move(mesh));
        }
        Mesh& mesh = definition.meshes[it->second];
        if (mesh.positions.size() + V > UINT32_MAX) continue;
        append(mesh, V, T, uvScale, box);
        stats.triangles += static_cast<int64_t>(T);
    }
}

void Converter::append(Mesh& mesh, size_t vertexCount, size_t triangleCount,
                       std::optional<double> uvScale, Box& box) {
    const auto base = static_cast<uint32_t>(mesh.positions.size());
    const bool withUVs = uvScale && mesh.uvs;
    for (size_t i = 0; i < vertexCount; ++i) {
        Float3 p = metres(points[i]);
        mesh.positions.push_back(p);
        mesh.normals.push_back({static_cast<float>(normals[i].x), static_cast<float>(normals[i].y),
                                static_cast<float>(normals[i].z)});
        if (withUVs) {
            double q = stq[i].z == 0 ? 1.0 : stq[i].z;
            mesh.uvs->push_back({static_cast<float>(stq[i].x / q * *uvScale),
                                 static_cast<float>(stq[i].y / q * *uvScale)});
        }
        box.add(p);
    }
    for (size_t i = 0; i < 3 * triangleCount; ++i)
        mesh.indices.push_back(base + static_cast<uint32_t>(indices[i]));
}

void Converter::convertEdges(SUHandle entities, Definition& definition, Box& box) {
    std::vector<SUHandle> edges =
        list([&](size_t* n) { return f.SUEntitiesGetNumEdges(entities, false, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUEntitiesGetEdges(entities, false, cap, out, n);
             });
    std::unordered_map<int, size_t> sets;
    for (SUHandle edge : edges) {
        if (hidden(edge)) continue;
        bool soft = false;
        if (f.SUEdgeGetSoft(edge, &soft) == 0 && soft) continue;
        SUHandle start = nullptr, end = nullptr;
        SUPoint3D a{}, b{};
        if (f.SUEdgeGetStartVertex(edge, &start) != 0 || f.SUEdgeGetEndVertex(edge, &end) != 0 ||
            f.SUVertexGetPosition(start, &a) != 0 || f.SUVertexGetPosition(end, &b) != 0)
            continue;
        const int l = layer(edge);
        auto [it, inserted] = sets.try_emplace(l, definition.edges.size());
        if (inserted) definition.edges.push_back({l, {}});
        EdgeSet& set = definition.edges[it->second];
        Float3 pa = metres(a), pb = metres(b);
        set.positions.push_back(pa);
        set.positions.push_back(pb);
        box.add(pa);
        box.add(pb);
        ++stats.edges;
    }
}

void Converter::convertGuidePoints(SUHandle entities, Definition& definition, Box& box) {
    if (!definition.meshes.empty() || !definition.edges.empty()) return;
    if (!f.SUEntitiesGetNumGuidePoints || !f.SUEntitiesGetGuidePoints || !f.SUGuidePointGetPosition)
        return;
    std::vector<SUHandle> guides =
        list([&](size_t* n) { return f.SUEntitiesGetNumGuidePoints(entities, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUEntitiesGetGuidePoints(entities, cap, out, n);
             });
    const size_t step = std::max<size_t>(1, guides.size() / kGuidePointBudget);
    std::unordered_map<int, size_t> sets;
    for (size_t i = 0; i < guides.size(); i += step) {
        SUHandle point = guides[i];
        SUPoint3D position{};
        if (!point || hidden(point) || f.SUGuidePointGetPosition(point, &position) != 0) continue;
        const int l = layer(point);
        auto [it, inserted] = sets.try_emplace(l, definition.edges.size());
        if (inserted) definition.edges.push_back({l, {}});
        EdgeSet& set = definition.edges[it->second];
        Float3 p = metres(position);
        set.positions.push_back(p - Float3{kGuideHalfLength, 0, 0});
        set.positions.push_back(p + Float3{kGuideHalfLength, 0, 0});
        box.add(p);
        ++stats.edges;
    }
}

void Converter::convertGroups(SUHandle entities, Definition& definition, Box& box, int depth) {
    std::vector<SUHandle> groups =
        list([&](size_t* n) { return f.SUEntitiesGetNumGroups(entities, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUEntitiesGetGroups(entities, cap, out, n);
             });
    for (SUHandle group : groups) {
        if (hidden(group)) continue;
        SUHandle inner = nullptr;
        SUTransformation t{};
        if (f.SUGroupGetEntities(group, &inner) != 0 || !inner ||
            f.SUGroupGetTransform(group, &t) != 0)
            continue;
        std::string name = string(f.SUGroupGetName, group);
        auto [child, childBox] = convert(inner, name, depth + 1);
        definitions.push_back(std::move(child));
        std::array<double, 16> values;
        std::copy(std::begin(t.values), std::end(t.values), values.begin());
        Float4x4 m = transform(values);
        definition.children.push_back({static_cast<int>(definitions.size() - 1), m, layer(group),
                                       true, material(group), std::move(name)});
        box.add(childBox, m);
        ++stats.instances;
    }
}

void Converter::convertInstances(SUHandle entities, Definition& definition, Box& box, int depth) {
    std::vector<SUHandle> instances =
        list([&](size_t* n) { return f.SUEntitiesGetNumInstances(entities, n); },
             [&](size_t cap, SUHandle* out, size_t* n) {
                 return f.SUEntitiesGetInstances(entities, cap, out, n);
             });
    for (SUHandle instance : instances) {
        if (hidden(instance)) continue;
        SUHandle componentDefinition = nullptr;
        SUTransformation t{};
        if (f.SUComponentInstanceGetDefinition(instance, &componentDefinition) != 0 ||
            !componentDefinition || f.SUComponentInstanceGetTransform(instance, &t) != 0)
            continue;
        auto cached = definitionCache.find(componentDefinition);
        if (cached == definitionCache.end()) {
            SUHandle inner = nullptr;
            if (f.SUComponentDefinitionGetEntities(componentDefinition, &inner) != 0 || !inner)
                continue;
            std::string name = string(f.SUComponentDefinitionGetName, componentDefinition);
            auto [child, childBox] = convert(inner, name, depth + 1);
            definitions.push_back(std::move(child));
            cached = definitionCache
                         .emplace(componentDefinition,
                                  std::pair{static_cast<int>(definitions.size() - 1), childBox})
                         .first;
        }
        std::array<double, 16> values;
        std::copy(std::begin(t.values), std::end(t.values), values.begin());
        Float4x4 m = transform(values);
        const auto [index, childBox] = cached->second;
        definition.children.push_back({index, m, layer(instance), false, material(instance),
                                       string(f.SUComponentInstanceGetName, instance)});
        box.add(childBox, m);
        ++stats.instances;
    }
}

std::optional<Camera> Converter::camera(SUHandle handle) const {
    SUPoint3D position{}, target{}, up{};
    if (f.SUCameraGetOrientation(handle, &position, &target, &up) != 0) return std::nullopt;
    double fov = 35.0;
    if (double value = 0; f.SUCameraGetPerspectiveFrustumFOV(handle, &value) == 0) fov = value;
    double aspect = 0;
    if (f.SUCameraGetAspectRatio(handle, &aspect) != 0) aspect = 0;
    bool perspective = true;
    if (bool value = false; f.SUCameraGetPerspective(handle, &value) == 0) perspective = value;
    if (bool isHeight = true; f.SUCameraGetFOVIsHeight(handle, &isHeight) == 0 && !isHeight) {
        double a = aspect > 0 ? aspect : 1.7777777777777777;
        fov = 2.0 * std::atan(std::tan(fov * M_PI / 360.0) / a) * 180.0 / M_PI;
    }
    double height = 0;
    bool hasHeight = f.SUCameraGetOrthographicFrustumHeight(handle, &height) == 0 && height > 0;

    Camera c;
    c.position = metres(position);
    c.target = metres(target);
    c.up = {static_cast<float>(up.x), static_cast<float>(up.y), static_cast<float>(up.z)};
    c.isPerspective = perspective;
    c.fovDegrees = static_cast<float>(fov);
    c.orthoHeight = hasHeight ? static_cast<float>(height * kInch) : 10.0f;
    return c;
}

Scene Converter::scene(SUHandle handle) const {
    Scene s;
    s.name = string(f.SUSceneGetName, handle);
    bool useCamera = false;
    SUHandle cameraHandle = nullptr;
    if (f.SUSceneGetUseCamera(handle, &useCamera) == 0 && useCamera &&
        f.SUSceneGetCamera(handle, &cameraHandle) == 0 && cameraHandle)
        s.camera = camera(cameraHandle);
    bool useHidden = false;
    if (f.SUSceneGetUseHiddenLayers(handle, &useHidden) == 0 && useHidden) {
        std::vector<int> hiddenLayers;
        std::vector<SUHandle> handles =
            list([&](size_t* n) { return f.SUSceneGetNumLayers(handle, n); },
                 [&](size_t cap, SUHandle* out, size_t* n) {
                     return f.SUSceneGetLayers(handle, cap, out, n);
                 });
        for (SUHandle l : handles)
            if (auto it = layerIndex.find(l); it != layerIndex.end())
                hiddenLayers.push_back(it->second);
        s.hiddenLayers = std::move(hiddenLayers);
    }
    return s;
}

SKPModel Converter::convertModel(SUHandle model, const SKPFileInfo& fileInfo, int32_t loadStatus,
                                 std::chrono::steady_clock::time_point start) {
    report(L("Lecture des matériaux et calques", "Reading materials and layers"), 0, 0.2);
    readMaterials(model);
    readLayers(model);

    SUHandle entities = nullptr;
    if (SUResult r = f.SUModelGetEntities(model, &entities); r != 0)
        throw SKPError::api("SUModelGetEntities", r);
    auto [root, rootBox] = convert(entities, "", 0);

    std::vector<Scene> scenes;
    for (SUHandle s : list([&](size_t*n) { return f.SUModelGetNumScenes(model, n); },
                           [&](size_t cap, SUHandle*out, size_t*n) {
                               return f.SUModelGetScenes(model, cap, out, n);
                           }))
        scenes.push_back(scene(s));

    stats.definitions = static_cast<int64_t>(definitions.size());
    stats.loadSeconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    report(L("Construction de la scène", "Building scene"), stats.faces, 0.88);

    std::optional<Camera> modelCamera;
    SUHandle cameraHandle = nullptr;
    if (f.SUModelGetCamera(model, &cameraHandle) == 0 && cameraHandle)
        modelCamera = camera(cameraHandle);

    Float3 boundsMin, boundsMax;
    if (!rootBox.isEmpty()) {
        boundsMin = rootBox.min;
        boundsMax = rootBox.max;
    }
    std::optional<std::string> warning;
    if (loadStatus == SketchUpAPI::kLoadStatusNewerVersion)
        warning = L("Fichier enregistré par un SketchUp plus récent ; chargé quand même.",
                    "File saved by a newer SketchUp; loaded anyway.");
    return SKPModel(std::move(root), std::move(definitions), std::move(materials),
                    std::move(layers), std::move(scenes), std::move(modelCamera), boundsMin,
                    boundsMax, stats, fileInfo, std::move(warning), textureDirectory_);
}

}  // namespace vistrel::SKPReader
