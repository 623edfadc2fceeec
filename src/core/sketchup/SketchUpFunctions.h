// The C calling conventions of the closed SketchUp library and the table of its 78 entry points.
//
// Handles are untyped pointers, every call returns a status in which 0 is success, list getters
// take (capacity, out array, out count) after asking for the count. Points, normals and STQ
// texture coordinates share SUPoint3D; lengths are inches. The table's order is the order in
// which the symbols are looked up. Mandatory slots are never null in a table that
// SketchUpAPI::functions() returns; optional ones may be.
#pragma once

#include <cstddef>
#include <cstdint>

extern "C" {

typedef void* SUHandle;
typedef int32_t SUResult;

struct SUPoint3D {
    double x, y, z;
};

struct SUColor {
    uint8_t red, green, blue, alpha;
};

// 16 doubles, column-major, translation in inches in values[12..14].
struct SUTransformation {
    double values[16];
};

}  // extern "C"

// X(name, mandatory, return type, parameter list), in table order.
#define VISTREL_SU_FUNCTIONS(X)                                                                  \
    X(SUInitialize, true, void, ())                                                              \
    X(SUStringCreate, true, SUResult, (SUHandle * string))                                       \
    X(SUStringGetUTF8Length, true, SUResult, (SUHandle string, size_t * length))                 \
    X(SUStringGetUTF8, true, SUResult,                                                           \
      (SUHandle string, size_t capacity, char* utf8, size_t* count))                             \
    X(SUStringRelease, true, SUResult, (SUHandle * string))                                      \
    X(SUModelCreateFromFileWithStatus, true, SUResult,                                           \
      (SUHandle * model, const char* path, int32_t* loadStatus))                                 \
    X(SUModelRelease, true, SUResult, (SUHandle * model))                                        \
    X(SUModelGetEntities, true, SUResult, (SUHandle model, SUHandle * entities))                 \
    X(SUModelGetNumMaterials, true, SUResult, (SUHandle model, size_t * count))                  \
    X(SUModelGetMaterials, true, SUResult,                                                       \
      (SUHandle model, size_t capacity, SUHandle * materials, size_t * count))                   \
    X(SUModelGetNumLayers, true, SUResult, (SUHandle model, size_t * count))                     \
    X(SUModelGetLayers, true, SUResult,                                                          \
      (SUHandle model, size_t capacity, SUHandle * layers, size_t * count))                      \
    X(SUModelGetNumScenes, true, SUResult, (SUHandle model, size_t * count))                     \
    X(SUModelGetScenes, true, SUResult,                                                          \
      (SUHandle model, size_t capacity, SUHandle * scenes, size_t * count))                      \
    X(SUModelGetCamera, true, SUResult, (SUHandle model, SUHandle * camera))                     \
    X(SUMaterialGetName, true, SUResult, (SUHandle material, SUHandle * name))                   \
    X(SUMaterialGetColor, true, SUResult, (SUHandle material, SUColor * color))                  \
    X(SUMaterialGetOpacity, true, SUResult, (SUHandle material, double* opacity))                \
    X(SUMaterialGetUseOpacity, true, SUResult, (SUHandle material, bool* useOpacity))            \
    X(SUMaterialIsDrawnTransparent, false, SUResult, (SUHandle material, bool* transparent))     \
    X(SUMaterialGetType, true, SUResult, (SUHandle material, int32_t * type))                    \
    X(SUMaterialGetTexture, true, SUResult, (SUHandle material, SUHandle * texture))             \
    X(SUTextureGetFileName, true, SUResult, (SUHandle texture, SUHandle * name))                 \
    X(SUTextureWriteToFile, true, SUResult, (SUHandle texture, const char* path))                \
    X(SUTextureGetDimensions, true, SUResult,                                                    \
      (SUHandle texture, size_t * width, size_t * height, double* sScale, double* tScale))       \
    X(SULayerGetName, true, SUResult, (SUHandle layer, SUHandle * name))                         \
    X(SULayerGetVisibility, true, SUResult, (SUHandle layer, bool* visible))                     \
    X(SULayerGetParentLayerFolder, false, SUResult, (SUHandle layer, SUHandle * folder))         \
    X(SULayerFolderGetName, false, SUResult, (SUHandle folder, SUHandle * name))                 \
    X(SUEntitiesGetNumFaces, true, SUResult, (SUHandle entities, size_t * count))                \
    X(SUEntitiesGetFaces, true, SUResult,                                                        \
      (SUHandle entities, size_t capacity, SUHandle * faces, size_t * count))                    \
    X(SUEntitiesGetNumEdges, true, SUResult,                                                     \
      (SUHandle entities, bool standaloneOnly, size_t* count))                                   \
    X(SUEntitiesGetEdges, true, SUResult,                                                        \
      (SUHandle entities, bool standaloneOnly, size_t capacity, SUHandle* edges, size_t* count)) \
    X(SUEntitiesGetNumGroups, true, SUResult, (SUHandle entities, size_t * count))               \
    X(SUEntitiesGetGroups, true, SUResult,                                                       \
      (SUHandle entities, size_t capacity, SUHandle * groups, size_t * count))                   \
    X(SUEntitiesGetNumInstances, true, SUResult, (SUHandle entities, size_t * count))            \
    X(SUEntitiesGetInstances, true, SUResult,                                                    \
      (SUHandle entities, size_t capacity, SUHandle * instances, size_t * count))                \
    X(SUEntitiesGetNumGuidePoints, false, SUResult, (SUHandle entities, size_t * count))         \
    X(SUEntitiesGetGuidePoints, false, SUResult,                                                 \
      (SUHandle entities, size_t capacity, SUHandle * points, size_t * count))                   \
    X(SUGuidePointGetPosition, false, SUResult, (SUHandle point, SUPoint3D * position))          \
    X(SUDrawingElementGetHidden, true, SUResult, (SUHandle element, bool* hidden))               \
    X(SUDrawingElementGetLayer, true, SUResult, (SUHandle element, SUHandle * layer))            \
    X(SUDrawingElementGetMaterial, true, SUResult, (SUHandle element, SUHandle * material))      \
    X(SUMeshHelperCreate, true, SUResult, (SUHandle * helper, SUHandle face))                    \
    X(SUMeshHelperGetNumTriangles, true, SUResult, (SUHandle helper, size_t * count))            \
    X(SUMeshHelperGetNumVertices, true, SUResult, (SUHandle helper, size_t * count))             \
    X(SUMeshHelperGetVertices, true, SUResult,                                                   \
      (SUHandle helper, size_t capacity, SUPoint3D * vertices, size_t * count))                  \
    X(SUMeshHelperGetNormals, true, SUResult,                                                    \
      (SUHandle helper, size_t capacity, SUPoint3D * normals, size_t * count))                   \
    X(SUMeshHelperGetVertexIndices, true, SUResult,                                              \
      (SUHandle helper, size_t capacity, size_t * indices, size_t * count))                      \
    X(SUMeshHelperGetFrontSTQCoords, true, SUResult,                                             \
      (SUHandle helper, size_t capacity, SUPoint3D * stq, size_t * count))                       \
    X(SUMeshHelperGetBackSTQCoords, true, SUResult,                                              \
      (SUHandle helper, size_t capacity, SUPoint3D * stq, size_t * count))                       \
    X(SUMeshHelperRelease, true, SUResult, (SUHandle * helper))                                  \
    X(SUFaceGetFrontMaterial, true, SUResult, (SUHandle face, SUHandle * material))              \
    X(SUFaceGetBackMaterial, true, SUResult, (SUHandle face, SUHandle * material))               \
    X(SUEdgeGetSoft, true, SUResult, (SUHandle edge, bool* soft))                                \
    X(SUEdgeGetStartVertex, true, SUResult, (SUHandle edge, SUHandle * vertex))                  \
    X(SUEdgeGetEndVertex, true, SUResult, (SUHandle edge, SUHandle * vertex))                    \
    X(SUVertexGetPosition, true, SUResult, (SUHandle vertex, SUPoint3D * position))              \
    X(SUGroupGetEntities, true, SUResult, (SUHandle group, SUHandle * entities))                 \
    X(SUGroupGetTransform, true, SUResult, (SUHandle group, SUTransformation * transform))       \
    X(SUGroupGetName, true, SUResult, (SUHandle group, SUHandle * name))                         \
    X(SUComponentInstanceGetDefinition, true, SUResult,                                          \
      (SUHandle instance, SUHandle * definition))                                                \
    X(SUComponentInstanceGetTransform, true, SUResult,                                           \
      (SUHandle instance, SUTransformation * transform))                                         \
    X(SUComponentInstanceGetName, true, SUResult, (SUHandle instance, SUHandle * name))          \
    X(SUComponentDefinitionGetName, true, SUResult, (SUHandle definition, SUHandle * name))      \
    X(SUComponentDefinitionGetEntities, true, SUResult,                                          \
      (SUHandle definition, SUHandle * entities))                                                \
    X(SUSceneGetName, true, SUResult, (SUHandle scene, SUHandle * name))                         \
    X(SUSceneGetUseCamera, true, SUResult, (SUHandle scene, bool* useCamera))                    \
    X(SUSceneGetCamera, true, SUResult, (SUHandle scene, SUHandle * camera))                     \
    X(SUSceneGetUseHiddenLayers, true, SUResult, (SUHandle scene, bool* useHiddenLayers))        \
    X(SUSceneGetNumLayers, true, SUResult, (SUHandle scene, size_t * count))                     \
    X(SUSceneGetLayers, true, SUResult,                                                          \
      (SUHandle scene, size_t capacity, SUHandle * layers, size_t * count))                      \
    X(SUCameraGetOrientation, true, SUResult,                                                    \
      (SUHandle camera, SUPoint3D * position, SUPoint3D * target, SUPoint3D * up))               \
    X(SUCameraGetPerspective, true, SUResult, (SUHandle camera, bool* perspective))              \
    X(SUCameraGetPerspectiveFrustumFOV, true, SUResult, (SUHandle camera, double* fov))          \
    X(SUCameraGetFOVIsHeight, true, SUResult, (SUHandle camera, bool* isHeight))                 \
    X(SUCameraGetAspectRatio, true, SUResult, (SUHandle camera, double* aspect))                 \
    X(SUCameraGetOrthographicFrustumHeight, true, SUResult, (SUHandle camera, double* height))

namespace vistrel::SketchUpAPI {

// One pointer per entry of the table, in table order.
struct Functions {
#define VISTREL_SU_SLOT(name, mandatory, ret, params) ret(*name) params = nullptr;
    VISTREL_SU_FUNCTIONS(VISTREL_SU_SLOT)
#undef VISTREL_SU_SLOT
};
static_assert(sizeof(Functions) == 78 * sizeof(void*), "the table has 78 entries");

// The library's material types that carry an image.
inline constexpr int32_t kTexturedType = 1;
inline constexpr int32_t kColorizedTexturedType = 2;

// Open results that mean "not a model this library can read" (serialisation, invalid model,
// unsupported version) and the load status of a file written by a newer version.
inline constexpr SUResult kSerializationError = 7;
inline constexpr SUResult kModelInvalidError = 12;
inline constexpr SUResult kModelVersionError = 13;
inline constexpr int32_t kLoadStatusNewerVersion = 1;

}  // namespace vistrel::SketchUpAPI
