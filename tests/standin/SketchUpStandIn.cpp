// A stand-in for the closed SketchUp library, built by the tests only and never installed.
//
// It answers the 78 functions of the table with the library's conventions (untyped handles,
// statuses, counts then capacities, inches, STQ coordinates) for a small scene described in JSON:
// the file the reader opens. Every element may list in "fail" the functions that must fail for
// it, and in "wrongCount" the mesh getters that must answer a wrong count. Names refer to
// materials, layers and definitions; a name starting with "?" is a handle the model does not know,
// null is a null handle.
#include <atomic>
#include <cstring>
#include <deque>
#include <fstream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <type_traits>
#include <vector>

#include "sketchup/SketchUpFunctions.h"

using nlohmann::json;

namespace {

constexpr SUResult kOk = 0;
constexpr SUResult kNullInput = 1;
constexpr SUResult kNullOutput = 3;
constexpr SUResult kGeneric = 6;
constexpr SUResult kSerialization = 7;
constexpr SUResult kNoData = 9;
constexpr SUResult kModelInvalid = 12;

struct Model;

struct Node {
    json j;
    Model* model = nullptr;
    std::set<std::string> fails, wrongCounts;
    Node *layer = nullptr, *material = nullptr, *front = nullptr, *back = nullptr;
    bool hasLayer = false, hasMaterial = false, hasFront = false, hasBack = false;
    Node *texture = nullptr, *folder = nullptr, *camera = nullptr, *entities = nullptr;
    Node *definition = nullptr, *start = nullptr, *end = nullptr;
    std::vector<Node*> faces, edges, groups, instances, guides, sceneLayers;
    std::vector<Node*> materials, layers, scenes;  // of the model
    std::vector<SUPoint3D> vertices, frontSTQ, backSTQ;
    std::vector<size_t> indices;
    SUPoint3D normal{0, 0, 1}, position{0, 0, 0};
};

// The model is the node of the whole scene: its entities, camera and lists.
struct Model : Node {
    std::deque<Node> nodes;
    std::map<std::string, Node*> materialByName, layerByName, definitionByName;
    std::map<std::string, Node*> strays;

    Node* make(const json& j) { return init(&nodes.emplace_back(), j); }
    Node* init(Node* n, const json& j) {
        n->j = j;
        n->model = this;
        if (j.is_object()) {
            for (const auto& f : j.value("fail", json::array()))
                n->fails.insert(f.get<std::string>());
            for (const auto& f : j.value("wrongCount", json::array()))
                n->wrongCounts.insert(f.get<std::string>());
        }
        return n;
    }
    Node* stray(const std::string& name) {
        auto& n = strays[name];
        if (!n) n = make(json::object());
        return n;
    }
};

struct StringObject {
    std::string value;
};

struct Helper {
    Node* face;
};

std::atomic<int> liveHandles = 0;
// The real library is not re-entrant: a second model opened while one is open is refused.
std::atomic<int> openModels = 0;

SUPoint3D point(const json& j) {
    return {j.at(0).get<double>(), j.at(1).get<double>(), j.at(2).get<double>()};
}

// Resolves a reference: absent => (nullptr, false), null => (nullptr, true), "?x" => a stray.
void resolve(Model& m, const json& j, const char* key, std::map<std::string, Node*>& table,
             Node*& out, bool& present) {
    if (!j.is_object() || !j.contains(key)) return;
    present = true;
    const json& v = j[key];
    if (v.is_null()) return;
    std::string name = v.get<std::string>();
    if (name.starts_with("?")) {
        out = m.stray(name);
        return;
    }
    auto it = table.find(name);
    out = it == table.end() ? m.stray("?" + name) : it->second;
}

void drawingElement(Model& m, Node* n) {
    resolve(m, n->j, "layer", m.layerByName, n->layer, n->hasLayer);
    if (!n->hasLayer && !m.layers.empty()) {
        n->layer = m.layers.front();
        n->hasLayer = true;
    }
    resolve(m, n->j, "material", m.materialByName, n->material, n->hasMaterial);
}

Node* buildFace(Model& m, const json& j) {
    Node* n = m.make(j);
    drawingElement(m, n);
    resolve(m, j, "front", m.materialByName, n->front, n->hasFront);
    resolve(m, j, "back", m.materialByName, n->back, n->hasBack);
    for (const auto& v : j.at("vertices")) n->vertices.push_back(point(v));
    if (j.contains("normal")) n->normal = point(j["normal"]);
    for (size_t i = 1; i + 1 < n->vertices.size(); ++i)
        n->indices.insert(n->indices.end(), {0, i, i + 1});
    for (const SUPoint3D& v : n->vertices) {
        n->frontSTQ.push_back({v.x, v.y, 1});
        n->backSTQ.push_back({-v.x, -v.y, 1});
    }
    if (j.contains("frontSTQ")) {
        n->frontSTQ.clear();
        for (const auto& v : j["frontSTQ"]) n->frontSTQ.push_back(point(v));
    }
    return n;
}

// Generated content written out as if the scene listed it: a row of unit triangles along X, a
// line of guide points one inch apart, a chain of groups each inside the previous one.
json expanded(json j) {
    for (int i = 0; i < j.value("faceRow", 0); ++i)
        j["faces"].push_back({{"vertices", {{i, 0, 0}, {i + 1, 0, 0}, {i, 1, 0}}}});
    for (int i = 0; i < j.value("guidePointCloud", 0); ++i)
        j["guidePoints"].push_back({{"position", {i, 0, 0}}});
    json inner;
    for (int d = j.value("groupNest", 0); d >= 1; --d) {
        json face = {{"vertices", {{0, 0, d}, {1, 0, d}, {0, 1, d}}}};
        json g = {{"name", "level " + std::to_string(d)}, {"entities", {{"faces", {face}}}}};
        if (!inner.is_null()) g["entities"]["groups"] = {inner};
        inner = g;
    }
    if (!inner.is_null()) j["groups"].push_back(inner);
    return j;
}

Node* buildEntities(Model& m, const json& scene) {
    const json j = expanded(scene);
    Node* e = m.make(j);
    for (const auto& f : j.value("faces", json::array())) e->faces.push_back(buildFace(m, f));
    for (const auto& ej : j.value("edges", json::array())) {
        Node* edge = m.make(ej);
        drawingElement(m, edge);
        edge->start = m.make(json::object());
        edge->start->position = point(ej.at("start"));
        edge->end = m.make(json::object());
        edge->end->position = point(ej.at("end"));
        if (ej.value("failStart", false)) edge->start->fails.insert("SUVertexGetPosition");
        e->edges.push_back(edge);
    }
    for (const auto& gj : j.value("guidePoints", json::array())) {
        Node* g = gj.is_null() ? nullptr : m.make(gj);
        if (g) drawingElement(m, g), g->position = point(gj.at("position"));
        e->guides.push_back(g);
    }
    for (const auto& gj : j.value("groups", json::array())) {
        Node* g = m.make(gj);
        drawingElement(m, g);
        g->entities = buildEntities(m, gj.value("entities", json::object()));
        e->groups.push_back(g);
    }
    for (const auto& ij : j.value("instances", json::array())) {
        Node* i = m.make(ij);
        drawingElement(m, i);
        bool present = false;
        resolve(m, ij, "definition", m.definitionByName, i->definition, present);
        e->instances.push_back(i);
    }
    return e;
}

std::unique_ptr<Model> buildModel(const json& scene) {
    auto m = std::make_unique<Model>();
    m->init(m.get(), scene);
    auto camera = [&](const json& j) { return j.is_object() ? m->make(j) : nullptr; };
    for (const auto& mj : scene.value("materials", json::array())) {
        Node* n = m->make(mj);
        if (mj.contains("texture")) n->texture = m->make(mj["texture"]);
        m->materials.push_back(n);
        m->materialByName[mj.value("name", "")] = n;
    }
    for (const auto& lj : scene.value("layers", json::array())) {
        Node* n = m->make(lj);
        if (lj.contains("folder")) n->folder = m->make(lj["folder"]);
        m->layers.push_back(n);
        m->layerByName[lj.value("name", "")] = n;
    }
    // Definitions first by name, so that instances anywhere can refer to them.
    const json definitions = scene.value("definitions", json::object());
    for (const auto& [name, dj] : definitions.items()) m->definitionByName[name] = m->make(dj);
    for (const auto& [name, dj] : definitions.items())
        m->definitionByName[name]->entities =
            buildEntities(*m, dj.value("entities", json::object()));
    m->entities = buildEntities(*m, scene.value("entities", json::object()));
    if (scene.contains("camera")) m->camera = camera(scene["camera"]);
    for (const auto& sj : scene.value("scenes", json::array())) {
        Node* s = m->make(sj);
        if (sj.contains("camera")) s->camera = camera(sj["camera"]);
        for (const auto& l : sj.value("hiddenLayers", json::array())) {
            std::string name = l.get<std::string>();
            auto it = m->layerByName.find(name);
            s->sceneLayers.push_back(it == m->layerByName.end() ? m->stray(name) : it->second);
        }
        m->scenes.push_back(s);
    }
    return m;
}

Node* node(SUHandle h) {
    return static_cast<Node*>(h);
}

bool fails(SUHandle h, const char* function) {
    return node(h)->fails.count(function) > 0;
}

// The items of a list getter, after its null and failure checks.
SUResult list(SUHandle h, const char* function, const std::vector<Node*>& items, size_t capacity,
              SUHandle* out, size_t* count) {
    if (!h) return kNullInput;
    if (fails(h, function)) return kGeneric;
    if (!out || !count) return kNullOutput;
    size_t n = std::min(capacity, items.size());
    for (size_t i = 0; i < n; ++i) out[i] = items[i];
    *count = n;
    return kOk;
}

SUResult setString(SUHandle* name, const std::string& value) {
    if (!name || !*name) return kNullOutput;
    static_cast<StringObject*>(*name)->value = value;
    return kOk;
}

// "nameHex" gives raw bytes, for names that are not valid UTF-8.
SUResult nameOf(SUHandle h, SUHandle* name, const char* function, const char* key = "name") {
    if (!h) return kNullInput;
    if (fails(h, function)) return kGeneric;
    const json& j = node(h)->j;
    if (j.contains("nameHex")) {
        std::string hex = j["nameHex"].get<std::string>(), bytes;
        for (size_t i = 0; i + 1 < hex.size(); i += 2)
            bytes.push_back(static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16)));
        return setString(name, bytes);
    }
    return setString(name, j.value(key, ""));
}

// A field that may be absent: no data then, as when the element lists the function as failing.
template <class T>
SUResult field(SUHandle h, const char* function, const char* key, T* out) {
    if (!h) return kNullInput;
    if (fails(h, function) || !node(h)->j.contains(key)) return kNoData;
    *out = node(h)->j[key].get<T>();
    return kOk;
}

SUResult handleField(SUHandle h, const char* function, Node* target, bool present, SUHandle* out) {
    if (!h || !out) return kNullInput;
    if (fails(h, function) || !present) return kNoData;
    *out = target;
    return kOk;
}

SUColor colorOf(Node* n) {
    json c = n->j.value("color", json::array({0, 0, 0, 255}));
    return {c.at(0).get<uint8_t>(), c.at(1).get<uint8_t>(), c.at(2).get<uint8_t>(),
            c.at(3).get<uint8_t>()};
}

// The usual answer: null arguments, then the element's listed failure, then the value.
template <class T, class Value>
SUResult answer(SUHandle h, const char* function, T* out, Value&& value) {
    if (!h || !out) return kNullInput;
    if (fails(h, function)) return kGeneric;
    *out = value(node(h));
    return kOk;
}

SUTransformation transformOf(Node* n) {
    SUTransformation t;
    for (int i = 0; i < 16; ++i)
        t.values[i] =
            n->j.contains("transform") ? n->j["transform"].at(i).get<double>() : i % 5 == 0;
    return t;
}

// Releases a handle the stand-in made with new.
template <class T>
SUResult release(SUHandle* h) {
    if (!h || !*h) return kNullInput;
    delete static_cast<T*>(*h);
    *h = nullptr;
    --liveHandles;
    return kOk;
}

template <class T>
SUResult meshList(SUHandle h, const char* function, const std::vector<T>& src, size_t capacity,
                  T* out, size_t* count) {
    if (!h || !out || !count) return kNullInput;
    Node* face = static_cast<Helper*>(h)->face;
    if (face->fails.count(function)) return kGeneric;
    size_t n = std::min(capacity, src.size());
    std::copy(src.begin(), src.begin() + static_cast<std::ptrdiff_t>(n), out);
    *count = face->wrongCounts.count(function) ? n - 1 : n;
    return kOk;
}

}  // namespace

#define STANDIN_EXPORT extern "C" __attribute__((visibility("default")))

// Getters that read one field of the element's JSON, or its name.
#define STANDIN_FIELD(function, type, key)                    \
    STANDIN_EXPORT SUResult function(SUHandle h, type* out) { \
        return field(h, #function, key, out);                 \
    }
#define STANDIN_NAME(function)                                     \
    STANDIN_EXPORT SUResult function(SUHandle h, SUHandle* name) { \
        return nameOf(h, name, #function);                         \
    }
// Getters of one value computed from the element's node `n`.
#define STANDIN_GET(function, type, expression)                               \
    STANDIN_EXPORT SUResult function(SUHandle h, type* out) {                 \
        return answer(h, #function, out, [](Node* n) { return expression; }); \
    }
// Getters of a handle the element holds, absent (no data) when not `present`.
#define STANDIN_HANDLE(function, member, present)                                             \
    STANDIN_EXPORT SUResult function(SUHandle h, SUHandle* out) {                             \
        return handleField(h, #function, h ? node(h)->member : nullptr, h && (present), out); \
    }

// The count and the list of one kind of element a model, entities or scene node holds.
#define STANDIN_LIST(Owner, Noun, member)                                                         \
    STANDIN_EXPORT SUResult Owner##GetNum##Noun(SUHandle h, size_t* count) {                      \
        return answer(h, #Owner "GetNum" #Noun, count, [](Node* n) { return n->member.size(); }); \
    }                                                                                             \
    STANDIN_EXPORT SUResult Owner##Get##Noun(SUHandle h, size_t capacity, SUHandle* out,          \
                                             size_t* count) {                                     \
        return h ? list(h, #Owner "Get" #Noun, node(h)->member, capacity, out, count)             \
                 : kNullInput;                                                                    \
    }
// Handles (models, strings, mesh helpers) the reader has not released yet.
STANDIN_EXPORT int StandInLiveHandles() {
    return liveHandles;
}

STANDIN_EXPORT void SUInitialize() {}

STANDIN_EXPORT SUResult SUStringCreate(SUHandle* string) {
    if (!string) return kNullOutput;
    *string = new StringObject;
    ++liveHandles;
    return kOk;
}
STANDIN_EXPORT SUResult SUStringGetUTF8Length(SUHandle string, size_t* length) {
    if (!string || !length) return kNullInput;
    *length = static_cast<StringObject*>(string)->value.size();
    return kOk;
}
STANDIN_EXPORT SUResult SUStringGetUTF8(SUHandle string, size_t capacity, char* utf8,
                                        size_t* count) {
    if (!string || !utf8 || !count) return kNullInput;
    const std::string& v = static_cast<StringObject*>(string)->value;
    size_t n = std::min(capacity, v.size());
    std::memcpy(utf8, v.data(), n);
    *count = n;
    return kOk;
}
STANDIN_EXPORT SUResult SUStringRelease(SUHandle* string) {
    return release<StringObject>(string);
}

static SUResult openModel(SUHandle* model, const char* path, int32_t* loadStatus) {
    std::ifstream in(path);
    if (!in) return kSerialization;
    json scene = json::parse(in, nullptr, false);
    if (scene.is_discarded() || !scene.is_object()) return kModelInvalid;
    json open = scene.value("open", json::object());
    if (SUResult r = open.value("result", 0); r != kOk) return r;
    try {
        *model = static_cast<Node*>(buildModel(scene).release());
    } catch (const json::exception&) {
        return kModelInvalid;
    }
    ++liveHandles;
    *loadStatus = open.value("loadStatus", 0);
    return kOk;
}
STANDIN_EXPORT SUResult SUModelCreateFromFileWithStatus(SUHandle* model, const char* path,
                                                        int32_t* loadStatus) {
    if (!model || !path || !loadStatus) return kNullInput;
    if (openModels.fetch_add(1) != 0) {
        --openModels;
        return kGeneric;
    }
    SUResult r = openModel(model, path, loadStatus);
    if (r != kOk) --openModels;
    return r;
}

STANDIN_EXPORT SUResult SUModelRelease(SUHandle* model) {
    if (!model || !*model) return kNullInput;
    delete static_cast<Model*>(node(*model));
    *model = nullptr;
    --liveHandles;
    --openModels;
    return kOk;
}

STANDIN_GET(SUModelGetEntities, SUHandle, n->entities)
STANDIN_LIST(SUModel, Materials, materials)
STANDIN_LIST(SUModel, Layers, layers)
STANDIN_LIST(SUModel, Scenes, scenes)
STANDIN_HANDLE(SUModelGetCamera, camera, node(h)->camera)

STANDIN_NAME(SUMaterialGetName)
STANDIN_GET(SUMaterialGetColor, SUColor, colorOf(n))
STANDIN_FIELD(SUMaterialGetOpacity, double, "opacity")
STANDIN_FIELD(SUMaterialGetUseOpacity, bool, "useOpacity")
#ifndef STANDIN_NO_OPTIONAL
STANDIN_FIELD(SUMaterialIsDrawnTransparent, bool, "drawnTransparent")
#endif
STANDIN_GET(SUMaterialGetType, int32_t, n->j.value("type", 0))
STANDIN_HANDLE(SUMaterialGetTexture, texture, node(h)->texture)
STANDIN_EXPORT SUResult SUTextureGetFileName(SUHandle texture, SUHandle* name) {
    return nameOf(texture, name, "SUTextureGetFileName", "fileName");
}
STANDIN_EXPORT SUResult SUTextureWriteToFile(SUHandle texture, const char* path) {
    if (!texture || !path) return kNullInput;
    if (fails(texture, "SUTextureWriteToFile")) return kGeneric;
    std::ofstream out(path, std::ios::binary);
    out << node(texture)->j.value("data", "standin-image");
    return out ? kOk : kSerialization;
}
STANDIN_EXPORT SUResult SUTextureGetDimensions(SUHandle texture, size_t* width, size_t* height,
                                               double* sScale, double* tScale) {
    if (!texture || !width || !height || !sScale || !tScale) return kNullInput;
    if (fails(texture, "SUTextureGetDimensions")) return kGeneric;
    const json& j = node(texture)->j;
    *width = j.value("width", 1);
    *height = j.value("height", 1);
    *sScale = j.value("s", 0.0);
    *tScale = j.value("t", 0.0);
    return kOk;
}

STANDIN_NAME(SULayerGetName)
STANDIN_FIELD(SULayerGetVisibility, bool, "visible")
#ifndef STANDIN_NO_OPTIONAL
STANDIN_HANDLE(SULayerGetParentLayerFolder, folder, node(h)->folder)
STANDIN_EXPORT SUResult SULayerFolderGetName(SUHandle folder, SUHandle* name) {
    if (!folder) return kNullInput;
    if (node(folder)->j.is_string()) return setString(name, node(folder)->j.get<std::string>());
    return kGeneric;
}
#endif

STANDIN_LIST(SUEntities, Faces, faces)
STANDIN_LIST(SUEntities, Groups, groups)
STANDIN_LIST(SUEntities, Instances, instances)
#ifndef STANDIN_NO_OPTIONAL
STANDIN_LIST(SUEntities, GuidePoints, guides)
STANDIN_GET(SUGuidePointGetPosition, SUPoint3D, n->position)
#endif

STANDIN_EXPORT SUResult SUEntitiesGetNumEdges(SUHandle entities, bool, size_t* count) {
    return answer(entities, "SUEntitiesGetNumEdges", count,
                  [](Node* n) { return n->edges.size(); });
}
STANDIN_EXPORT SUResult SUEntitiesGetEdges(SUHandle entities, bool standaloneOnly, size_t capacity,
                                           SUHandle* out, size_t* count) {
    if (!entities) return kNullInput;
    // The reader wants the edges of faces too; this stand-in only has those of the scene.
    if (standaloneOnly) return kGeneric;
    return list(entities, "SUEntitiesGetEdges", node(entities)->edges, capacity, out, count);
}

STANDIN_GET(SUDrawingElementGetHidden, bool, n->j.is_object() && n->j.value("hidden", false))
STANDIN_HANDLE(SUDrawingElementGetLayer, layer, node(h)->hasLayer)
STANDIN_HANDLE(SUDrawingElementGetMaterial, material, node(h)->hasMaterial)

STANDIN_EXPORT SUResult SUMeshHelperCreate(SUHandle* helper, SUHandle face) {
    if (!helper || !face) return kNullInput;
    if (fails(face, "SUMeshHelperCreate")) return kGeneric;
    *helper = new Helper{node(face)};
    ++liveHandles;
    return kOk;
}
#define STANDIN_MESH_COUNT(function, expression)                  \
    STANDIN_EXPORT SUResult function(SUHandle h, size_t* count) { \
        if (!h || !count) return kNullInput;                      \
        *count = static_cast<Helper*>(h)->face->expression;       \
        return kOk;                                               \
    }
STANDIN_MESH_COUNT(SUMeshHelperGetNumTriangles, indices.size() / 3)
STANDIN_MESH_COUNT(SUMeshHelperGetNumVertices, vertices.size())
#define STANDIN_MESH(function, type, member)                                                  \
    STANDIN_EXPORT SUResult function(SUHandle h, size_t capacity, type* out, size_t* count) { \
        if (!h) return kNullInput;                                                            \
        return meshList(h, #function, static_cast<Helper*>(h)->face->member, capacity, out,   \
                        count);                                                               \
    }
STANDIN_MESH(SUMeshHelperGetVertices, SUPoint3D, vertices)
STANDIN_MESH(SUMeshHelperGetVertexIndices, size_t, indices)
STANDIN_MESH(SUMeshHelperGetFrontSTQCoords, SUPoint3D, frontSTQ)
STANDIN_MESH(SUMeshHelperGetBackSTQCoords, SUPoint3D, backSTQ)
STANDIN_EXPORT SUResult SUMeshHelperGetNormals(SUHandle helper, size_t capacity, SUPoint3D* normals,
                                               size_t* count) {
    if (!helper) return kNullInput;
    Node* face = static_cast<Helper*>(helper)->face;
    std::vector<SUPoint3D> all(face->vertices.size(), face->normal);
    return meshList(helper, "SUMeshHelperGetNormals", all, capacity, normals, count);
}
STANDIN_EXPORT SUResult SUMeshHelperRelease(SUHandle* helper) {
    return release<Helper>(helper);
}

STANDIN_HANDLE(SUFaceGetFrontMaterial, front, node(h)->hasFront)
STANDIN_HANDLE(SUFaceGetBackMaterial, back, node(h)->hasBack)

STANDIN_GET(SUEdgeGetSoft, bool, n->j.value("soft", false))
STANDIN_HANDLE(SUEdgeGetStartVertex, start, true)
STANDIN_HANDLE(SUEdgeGetEndVertex, end, true)
STANDIN_GET(SUVertexGetPosition, SUPoint3D, n->position)

STANDIN_HANDLE(SUGroupGetEntities, entities, true)
STANDIN_GET(SUGroupGetTransform, SUTransformation, transformOf(n))
STANDIN_NAME(SUGroupGetName)
STANDIN_HANDLE(SUComponentInstanceGetDefinition, definition, true)
STANDIN_GET(SUComponentInstanceGetTransform, SUTransformation, transformOf(n))
STANDIN_NAME(SUComponentInstanceGetName)
STANDIN_EXPORT SUResult SUComponentDefinitionGetName(SUHandle definition, SUHandle* name) {
    if (!definition) return kNullInput;
    for (const auto& [key, value] : node(definition)->model->definitionByName)
        if (value == node(definition)) return setString(name, key);
    return kGeneric;
}
STANDIN_HANDLE(SUComponentDefinitionGetEntities, entities, true)

STANDIN_NAME(SUSceneGetName)
STANDIN_FIELD(SUSceneGetUseCamera, bool, "useCamera")
STANDIN_HANDLE(SUSceneGetCamera, camera, node(h)->camera)
STANDIN_FIELD(SUSceneGetUseHiddenLayers, bool, "useHiddenLayers")
STANDIN_LIST(SUScene, Layers, sceneLayers)

STANDIN_EXPORT SUResult SUCameraGetOrientation(SUHandle camera, SUPoint3D* position,
                                               SUPoint3D* target, SUPoint3D* up) {
    if (!camera || !position || !target || !up) return kNullInput;
    const json& j = node(camera)->j;
    if (fails(camera, "SUCameraGetOrientation") || !j.contains("position")) return kNoData;
    *position = point(j["position"]);
    *target = point(j.at("target"));
    *up = point(j.value("up", json::array({0, 0, 1})));
    return kOk;
}
STANDIN_FIELD(SUCameraGetPerspective, bool, "perspective")
STANDIN_FIELD(SUCameraGetPerspectiveFrustumFOV, double, "fov")
STANDIN_FIELD(SUCameraGetFOVIsHeight, bool, "fovIsHeight")
STANDIN_FIELD(SUCameraGetAspectRatio, double, "aspect")
STANDIN_FIELD(SUCameraGetOrthographicFrustumHeight, double, "orthoHeight")

// Every export has the exact type of its slot in the reader's table.
#ifndef STANDIN_NO_OPTIONAL
#define STANDIN_CHECK(name, mandatory, ret, params) \
    static_assert(std::is_same_v<decltype(&::name), ret(*) params>, #name);
VISTREL_SU_FUNCTIONS(STANDIN_CHECK)
#undef STANDIN_CHECK
#endif
