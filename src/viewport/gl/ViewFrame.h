// What a ViewportView shows, as one frame for the renderer: the scene's graph, the view's camera
// in model space, the fill light unless the graph already carries it, and the backdrop and sky.
#pragma once

#include "gl/RenderFrame.h"

namespace vistrel::viewport {

class ViewportView;

// A frame with a null root when the view has no scene. Borrows from the view and its scene,
// which must stay unchanged while the frame is drawn.
RenderFrame viewFrame(const ViewportView& view);

}  // namespace vistrel::viewport
