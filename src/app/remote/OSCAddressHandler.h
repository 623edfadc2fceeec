// What an OSC address does to a document: the routes under /vistrel (scene, layer, style, edges,
// grid, shadows, ssao, ambient, lighting, sun, light, backdrop, camera), with their short
// aliases and French words. The server front splits the address, handles "open", picks the
// document and marks the span as remote; everything after that happens here.
//
// Fire and forget: an unknown route, a missing argument or a value that is not a finite number
// does nothing, without a word. Clamps are applied here, before values reach the model. Every
// route ends in the DocumentModel operation the menus use. Main thread only.
#pragma once

#include <string>
#include <vector>

#include "osc/OSCCodec.h"

namespace vistrel::app {
class DocumentModel;
}

namespace vistrel::app::OSCAddressHandler {

// One message on `model`; `pieces` are the address's non-empty pieces with a leading
// "vistrel" already dropped (never empty). Pieces compare exactly, case included.
void apply(const std::vector<std::string>& pieces, const OSCCodec::Message& message,
           DocumentModel& model);

// The address split at "/" with empty pieces dropped and a leading "vistrel" removed; empty
// when nothing is left.
std::vector<std::string> routePieces(const std::string& address);

}  // namespace vistrel::app::OSCAddressHandler
