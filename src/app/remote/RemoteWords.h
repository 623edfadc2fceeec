// The words remote commands accept for styles, views and modes, shared by the OSC routes and the
// HTTP API. Each table takes a word already lower-cased with lowerCased(), except the backdrop's
// raw names, which match without regard to case. A word outside a table gives nothing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "model/SKPModel.h"
#include "vocabulary/BackdropStyle.h"
#include "vocabulary/LightingMode.h"
#include "vocabulary/ShadingStyle.h"
#include "vocabulary/StandardView.h"

namespace vistrel::app {

// Unicode lower case of UTF-8 text ("Arrière" -> "arrière"); bad bytes fold as ASCII.
std::string lowerCased(std::string_view utf8);

// "textured", "pbr", "clay", "blanc", "white", "xray", "x-ray", "wireframe", "wire", "filaire".
std::optional<viewport::ShadingStyle> shadingStyleForWord(std::string_view lowerCasedWord);
// English and French names of the seven views ("top", "dessus", "arrière", "arriere", ...).
std::optional<viewport::StandardView> standardViewForWord(std::string_view lowerCasedWord);
// The whole raw name of a backdrop ("warmPaper"), in any case.
std::optional<viewport::BackdropStyle> backdropStyleForRawName(std::string_view name);
// A raw name, else the OSC short words "sky", "dark", "studio", "paper"; `word` in any case.
std::optional<viewport::BackdropStyle> backdropStyleForWord(std::string_view word);
// "point", "omni", "ponctuel", "sun", "soleil".
std::optional<viewport::LightingMode> lightingModeForWord(std::string_view lowerCasedWord);

class DocumentModel;

// The first scene, layer or layer group of `model` with that name, without regard to case.
std::optional<int> sceneNamed(const DocumentModel& model, const std::string& name);
std::optional<int> layerNamed(const DocumentModel& model, const std::string& name);
// A copy: the commands it is given to notify, and a listener may replace the model holding it.
std::optional<LayerGroup> groupNamed(const DocumentModel& model, const std::string& name);

}  // namespace vistrel::app
