// GLSL 3.30 sources of the renderer's programs.
#pragma once

namespace vistrel::viewport::Shaders {

extern const char* const surfaceVertex;    // positions, normals, uvs; edge depth bias
extern const char* const surfaceFragment;  // physically based or constant, premultiplied out
extern const char* const lineVertex;       // lines: the surface program's constant path
extern const char* const lineFragment;
extern const char* const depthVertex;  // shadow maps
extern const char* const depthFragment;
extern const char* const normalFragment;  // view-space normals for ambient occlusion
extern const char* const fullscreenVertex;
extern const char* const ambientOcclusionFragment;
extern const char* const blurFragment;
extern const char* const compositeFragment;  // exposure, tone map, grading, backdrop

}  // namespace vistrel::viewport::Shaders
