// The JSON bodies of the HTTP API: what the program reports of itself (state, camera, rendering,
// help) and what it accepts (camera and rendering bodies). Free functions behind
// RemoteControlServer's build*/apply* members; main thread only, as they read and drive a
// DocumentModel.
//
// Bodies come from outside: a key of the wrong type, or an array of too few numbers, is passed
// over and the rest still applies. Nothing here throws on what a client sends.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "osc/OSCQueryTree.h"

namespace vistrel::app {

class DocumentModel;

namespace RemoteJSON {

// The ports the server reports: the bound ones, or what it wants while unbound.
struct Endpoints {
    uint16_t oscInPort;
    uint16_t apiPort;
};

// Every key is present also without a document (null), holding its fallback.
nlohmann::json stateDictionary(DocumentModel* model, const Endpoints& endpoints);
// Null model: {"ready": false}.
nlohmann::json cameraDictionary(DocumentModel* model);
// Null model: {}.
nlohmann::json renderingDictionary(DocumentModel* model);
// The fixed description of the API; one oscAddresses line per published parameter.
nlohmann::json helpDictionary(const Endpoints& endpoints,
                              const std::vector<OSCQueryParameterSpec>& parameters);

// Apply the keys they know in a fixed order, each through the same DocumentModel operation the
// menus use; a later key acts on the result of an earlier one.
void applyCameraJSON(const nlohmann::json& args, DocumentModel& model);
void applyRenderingJSON(const nlohmann::json& args, DocumentModel& model);

// The reply text: two-space indents, "key" : value, keys sorted, slashes as they are, UTF-8 as
// it is (bytes that are not UTF-8 become U+FFFD).
std::string bodyText(const nlohmann::json& value);

// One key of a request body, absent when missing or of another JSON type: no text is read
// as a number, no number as a switch. Numbers are JSON integers and floats alike.
const nlohmann::json* member(const nlohmann::json& args, const char* key);
std::optional<bool> boolAt(const nlohmann::json& args, const char* key);
std::optional<std::string> textAt(const nlohmann::json& args, const char* key);
std::optional<float> numberAt(const nlohmann::json& args, const char* key);
// `key`, else `orElse`.
std::optional<float> numberAt(const nlohmann::json& args, const char* key, const char* orElse);
// A 32-bit float as a JSON number that prints at its 32-bit value (0.7f prints 0.7, not
// 0.699999988079071).
nlohmann::json number(float value);

}  // namespace RemoteJSON
}  // namespace vistrel::app
