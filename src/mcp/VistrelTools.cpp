#include "VistrelTools.h"

#include <algorithm>

#include "ArgumentCheck.h"
#include "Base64.h"
#include "PNGScaling.h"

namespace vistrel::mcp {

using nlohmann::json;

namespace {

// An open waits up to 12 seconds inside the program, and a picture of a big model on a software
// renderer takes a while; anything else answers at once.
constexpr int kQuickSeconds = 20;
constexpr int kOpenSeconds = 40;
constexpr int kPictureSeconds = 90;

json number(double minimum, double maximum, const std::string& description) {
    return {{"type", "number"},
            {"minimum", minimum},
            {"maximum", maximum},
            {"description", description}};
}

json point(const std::string& description) {
    return {{"type", "array"},
            {"items", {{"type", "number"}}},
            {"minItems", 3},
            {"maxItems", 3},
            {"description", description}};
}

json words(std::initializer_list<const char*> list, const std::string& description) {
    json all = json::array();
    for (const char* w : list) all.push_back(w);
    return {{"type", "string"}, {"enum", all}, {"description", description}};
}

json flag(const std::string& description) {
    return {{"type", "boolean"}, {"description", description}};
}

json schema(json properties, json required = json::array()) {
    json object = {
        {"type", "object"}, {"properties", std::move(properties)}, {"additionalProperties", false}};
    if (!required.empty()) object["required"] = std::move(required);
    return object;
}

json text(const std::string& description) {
    return {{"type", "string"}, {"minLength", 1}, {"description", description}};
}

json annotations(const char* title, bool readOnly, bool idempotent, bool destructive) {
    json hints = {{"title", title},
                  {"readOnlyHint", readOnly},
                  {"idempotentHint", idempotent},
                  {"openWorldHint", false}};
    if (!readOnly) hints["destructiveHint"] = destructive;
    return hints;
}

json tool(const char* name, const char* title, const std::string& description, json inputSchema,
          json hints) {
    return {{"name", name},
            {"title", title},
            {"description", description},
            {"inputSchema", std::move(inputSchema)},
            {"annotations", std::move(hints)}};
}

json cameraSchema() {
    return schema({
        {"action", words({"reset", "zoom_extents", "level", "eye_height", "center"},
                         "reset: the file's initial view; zoom_extents: frame the whole visible "
                         "model; level: level the horizon; eye_height: stand at eyeHeight above "
                         "the floor; center: move to the middle of the model")},
        {"eyeHeight",
         number(0.2, 10, "metres above the floor for action eye_height (default 1.7)")},
        {"view", words({"iso", "top", "bottom", "front", "back", "left", "right"},
                       "a standard view of the whole model")},
        {"perspective", flag("true for perspective, false for parallel projection")},
        {"fov", number(10, 120, "vertical field of view in degrees")},
        {"focalLengthMM",
         number(5, 135, "focal length of a 24x36 mm frame, sets the field of view")},
        {"exposure", number(-3, 3, "exposure in EV")},
        {"orthoScale", number(0.05, 10000, "half-height in metres seen in parallel projection")},
        {"speedScale", number(0.0625, 16, "multiplier of the navigation speed")},
        {"position", point("camera position [x, y, z] in metres, Z up")},
        {"target", point("point to look at [x, y, z] in metres, Z up")},
        {"yaw", number(-180, 180, "heading in degrees")},
        {"pitch", number(-89, 89, "tilt in degrees, negative looks down")},
        {"distance",
         {{"type", "number"},
          {"minimum", 0.05},
          {"description", "distance from the camera to its orbit target, metres"}}},
    });
}

json sceneSchema() {
    return schema({
        {"action", words({"next", "prev"}, "the next or previous scene")},
        {"index",
         {{"type", "integer"},
          {"minimum", 0},
          {"description", "the scene's index, as in vistrel_state's scenes"}}},
        {"name", text("the scene's name, in any case")},
    });
}

json layersSchema() {
    return schema({
        {"all", flag("show (true) or hide (false) every layer")},
        {"group", text("a layer group's name; with visible, shows or hides it, without, "
                       "toggles it")},
        {"soloGroup", text("show only this layer group")},
        {"solo",
         {{"type", json::array({"integer", "string"})},
          {"minimum", 0},
          {"description", "show only this layer, by index or name (or a group by name)"}}},
        {"index",
         {{"type", "integer"},
          {"minimum", 0},
          {"description", "one layer's index, as in vistrel_state's layers"}}},
        {"name", text("one layer's name, instead of index")},
        {"visible", flag("with index, name or group: the wanted visibility (default: toggle)")},
    });
}

json renderingSchema() {
    return schema({
        {"style", words({"textured", "clay", "xray", "wireframe"},
                        "shading style: textured (materials), clay (plain white), xray "
                        "(see-through), wireframe (edges only)")},
        {"edges", flag("draw edges")},
        {"grid", flag("draw the ground grid and axes")},
        {"shadows", flag("sun shadows")},
        {"ssao", number(0, 2, "ambient occlusion strength, 0 turns it off")},
        {"lightingMode", words({"sun", "point"}, "sun light, or the model's point lights")},
        {"sunAzimuth", number(-180, 180, "sun azimuth in degrees")},
        {"sunElevation", number(8, 85, "sun height above the horizon in degrees")},
        {"sunIntensity", number(0, 3, "sun power")},
        {"ambientIntensity", number(0, 2, "ambient light power")},
        {"lightPosition", point("position of the selected point light [x, y, z] in metres; "
                                "switches to point lighting")},
        {"lightIntensity", number(0, 3,
                                  "power of the selected point light; switches to point "
                                  "lighting")},
        {"lightGizmo", flag("show the point light's marker")},
        {"backdropStyle", words({"architecturalSky", "studioDark", "warmPaper", "customColor"},
                                "background behind the model")},
        {"backdropColor",
         {{"type", "array"},
          {"items", {{"type", "number"}, {"minimum", 0}, {"maximum", 1}}},
          {"minItems", 3},
          {"maxItems", 3},
          {"description",
           "[red, green, blue] from 0 to 1 for backdropStyle "
           "customColor"}}},
    });
}

json snapshotSchema() {
    const auto side = [](const char* what) {
        return json{{"type", "integer"},
                    {"minimum", 16},
                    {"maximum", 4096},
                    {"description",
                     std::string(what) + " in pixels; alone, the other side keeps the aspect"}};
    };
    return schema({{"width", side("width")}, {"height", side("height")}});
}

json pdfSchema() {
    return schema({
        {"path", text("where to write the PDF, ending in .pdf; '~' is the home folder. "
                      "Without it the PDF comes back in the result")},
        {"width", number(1, 14400, "page width in points (1/72 inch), with height")},
        {"height", number(1, 14400, "page height in points (1/72 inch), with width")},
    });
}

json toolList() {
    return json::array({
        tool("vistrel_state", "Vistrel state",
             "Reads the state of the running Vistrel viewer: whether a document is open and "
             "ready, its file path, size in metres and statistics, the camera (position, target, "
             "yaw, pitch, distance, field of view, exposure), the rendering settings (shading "
             "style, edges, grid, shadows, lighting, backdrop), the scenes with the selected one, "
             "and the layers and layer groups with their visibility. Call it first to learn what "
             "is open and which scene and layer indices exist.",
             schema(json::object()), annotations("Vistrel state", true, true, false)),
        tool("vistrel_open", "Open a file",
             "Opens a SketchUp (.skp) or AutoCAD (.dwg, .dxf) file in Vistrel and waits until it "
             "is loaded (up to about 12 seconds). It becomes the active document that the other "
             "tools act on. The path is on the machine Vistrel runs on; '~' is the home folder. "
             "Returns the resolved path and the document's state. The file is only read.",
             schema({{"path", text("the file to open")}}, json::array({"path"})),
             annotations("Open a file", false, true, false)),
        tool("vistrel_camera", "Move the camera",
             "Moves the camera of the active document. The keys given apply in this order, so "
             "one call can do several things: action, view, perspective, fov, focalLengthMM, "
             "exposure, orthoScale, speedScale, position, target, yaw and pitch, distance. Use "
             "action zoom_extents to frame the whole model, view for a standard view, or "
             "position and target for an exact viewpoint (metres, Z up). With no key, nothing "
             "moves. Returns the camera after the change. Needs an open document.",
             cameraSchema(), annotations("Move the camera", false, true, false)),
        tool("vistrel_scene", "Select a scene",
             "Selects a scene (a viewpoint saved in the model) of the active document: by "
             "index (see scenes in vistrel_state), by name, or the next or previous one with "
             "action; action wins over index, and index over name. Returns the selected scene "
             "index (null when none) and the camera. Needs an open document.",
             sceneSchema(), annotations("Select a scene", false, false, false)),
        tool("vistrel_layers", "Show or hide layers",
             "Shows or hides layers of the active document. The first key that applies wins: "
             "all (every layer); group, with or without visible (a layer group by name); "
             "soloGroup (only that group); solo (only one layer, by index or name); index or "
             "name, with or without visible (one layer; without visible it toggles). Layer and "
             "group names and indices are in vistrel_state. Returns the visible and total layer "
             "counts. Needs an open document.",
             layersSchema(), annotations("Show or hide layers", false, false, false)),
        tool("vistrel_rendering", "Change the rendering",
             "Changes how the active document is drawn: shading style (textured, clay, xray, "
             "wireframe), edges, grid, shadows, ambient occlusion, sun or point lighting and "
             "their settings, and the backdrop. Only the keys given change. Returns the "
             "rendering settings after the change. Needs an open document.",
             renderingSchema(), annotations("Change the rendering", false, true, false)),
        tool("vistrel_snapshot", "Snapshot of the view",
             "Takes a PNG picture of the active document's view as it is now and returns it as "
             "an image. width and height resize it; one alone keeps the aspect ratio. With no "
             "document open, the picture shows Vistrel's sample cube.",
             snapshotSchema(), annotations("Snapshot of the view", true, true, false)),
        tool("vistrel_pdf", "Vector PDF of the view",
             "Exports the active document's current view as a vector PDF. With path (ending in "
             ".pdf, on the machine Vistrel runs on), writes the file there and returns its size; "
             "an existing file there is replaced only when it is a PDF. Without path, returns "
             "the PDF as an embedded resource. width and height, both or neither, set the page "
             "size. With no document open, the PDF shows the sample cube.",
             pdfSchema(), annotations("Vector PDF of the view", false, true, true)),
    });
}

json textResult(const std::string& text, bool isError = false) {
    return {{"content", json::array({{{"type", "text"}, {"text", text}}})}, {"isError", isError}};
}

// What a model needs to hear when the call did not come back with an answer.
json failureResult(const APIClient& client, const APIClient::Response& response) {
    const std::string where = "127.0.0.1:" + std::to_string(client.port());
    if (response.timedOut)
        return textResult("Vistrel on " + where +
                              " did not answer in time; it may still be loading or rendering. "
                              "Call vistrel_state in a moment to see where it stands.",
                          true);
    return textResult(
        "Vistrel is not running: nothing answers on " + where + " (" + response.failure +
            "). Start Vistrel (run `vistrel`, or `vistrel /path/to/model.skp` to open a file at "
            "once) and call the tool again. If it listens on another port (its status bar shows "
            "it), start vistrel-mcp with --port N or set VISTREL_API_PORT.",
        true);
}

// The API's own message, for a model to act on.
json apiErrorResult(const APIClient::Response& response) {
    const json body = json::parse(response.body, nullptr, false);
    std::string message = response.body;
    if (body.is_object() && body.contains("error") && body["error"].is_string())
        message = body["error"].get<std::string>();
    return textResult(
        "Vistrel refused the request (HTTP " + std::to_string(response.status) + "): " + message,
        true);
}

json replyResult(const APIClient& client, const APIClient::Response& response) {
    if (!response.reached) return failureResult(client, response);
    if (response.status >= 400) return apiErrorResult(response);
    return textResult(response.body);
}

std::optional<int> intArgument(const json& arguments, const char* key) {
    if (const auto at = arguments.find(key); at != arguments.end() && at->is_number())
        return int(at->get<double>());
    return std::nullopt;
}

}  // namespace

VistrelTools::VistrelTools(APIClient client) : client_(client), tools_(toolList()) {}

bool VistrelTools::has(const std::string& name) const {
    return std::any_of(tools_.begin(), tools_.end(),
                       [&](const json& t) { return t["name"] == name; });
}

json VistrelTools::call(const std::string& name, const json& arguments) const {
    const auto found = std::find_if(tools_.begin(), tools_.end(),
                                    [&](const json& t) { return t["name"] == name; });
    if (found == tools_.end()) return textResult("unknown tool " + name, true);
    if (auto fault = ArgumentCheck::violation((*found)["inputSchema"], arguments))
        return textResult("Invalid arguments for " + name + ": " + *fault + ".", true);
    return run(name, arguments);
}

json VistrelTools::run(const std::string& name, const json& arguments) const {
    if (name == "vistrel_state")
        return replyResult(client_, client_.get("/v1/state", kQuickSeconds));
    if (name == "vistrel_open")
        return replyResult(client_, client_.post("/v1/open", arguments, kOpenSeconds));
    if (name == "vistrel_snapshot") return snapshot(arguments);
    if (name == "vistrel_pdf") return pdf(arguments);
    // The API takes these arguments under the same names.
    static const std::pair<const char*, const char*> kCommands[] = {
        {"vistrel_camera", "/v1/camera"},
        {"vistrel_scene", "/v1/scene"},
        {"vistrel_layers", "/v1/layers"},
        {"vistrel_rendering", "/v1/rendering"},
    };
    for (const auto& [tool, route] : kCommands)
        if (name == tool)
            return replyResult(client_, client_.post(route, arguments, kQuickSeconds));
    return textResult("unknown tool " + name, true);
}

json VistrelTools::snapshot(const json& arguments) const {
    const auto response = client_.get("/v1/snapshot.png", kPictureSeconds);
    if (!response.reached) return failureResult(client_, response);
    if (response.status >= 400) return apiErrorResult(response);
    std::span<const std::uint8_t> png(reinterpret_cast<const std::uint8_t*>(response.body.data()),
                                      response.body.size());
    const auto original = PNGScaling::size(png);
    if (!original)
        return textResult("Vistrel answered the snapshot with something that is not a PNG (" +
                              response.contentType + ").",
                          true);
    const auto target = PNGScaling::targetSize(*original, intArgument(arguments, "width"),
                                               intArgument(arguments, "height"));
    std::optional<std::vector<std::uint8_t>> resized;
    if (target.width != original->width || target.height != original->height) {
        resized = PNGScaling::scaled(png, target);
        if (!resized) return textResult("The snapshot from Vistrel could not be decoded.", true);
        png = *resized;
    }
    return {{"content",
             json::array({
                 {{"type", "image"}, {"data", Base64::encode(png)}, {"mimeType", "image/png"}},
                 {{"type", "text"},
                  {"text", "Snapshot of the view, " + std::to_string(target.width) + " x " +
                               std::to_string(target.height) + " pixels."}},
             })},
            {"isError", false}};
}

json VistrelTools::pdf(const json& arguments) const {
    const auto response = client_.post("/v1/pdf", arguments, kPictureSeconds);
    if (!response.reached) return failureResult(client_, response);
    if (response.status >= 400) return apiErrorResult(response);
    if (arguments.contains("path")) return textResult(response.body);
    if (!response.body.starts_with("%PDF-"))
        return textResult(
            "Vistrel answered with something that is not a PDF (" + response.contentType + ").",
            true);
    const std::span<const std::uint8_t> bytes(
        reinterpret_cast<const std::uint8_t*>(response.body.data()), response.body.size());
    return {{"content",
             json::array({
                 {{"type", "resource"},
                  {"resource",
                   {{"uri", "vistrel:///view.pdf"},
                    {"mimeType", "application/pdf"},
                    {"blob", Base64::encode(bytes)}}}},
                 {{"type", "text"},
                  {"text", "Vector PDF of the view, " + std::to_string(bytes.size()) + " bytes."}},
             })},
            {"isError", false}};
}

}  // namespace vistrel::mcp
