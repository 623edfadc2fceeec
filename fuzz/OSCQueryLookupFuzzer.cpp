// Any request path looked up in a tree, ours or a malformed one, answers a node or nothing.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "osc/OSCQueryTree.h"

using namespace vistrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const nlohmann::json root = OSCQueryTree::rootJSON(
        {{"/a/b/c", "ff", 3, "c", 0.0, 1.0, {0.0, 1.0}, std::nullopt},
         {"/a/d", "I", 2, "d", std::nullopt, std::nullopt, {}, std::nullopt}},
        "root");
    static const nlohmann::json malformed = {{"CONTENTS", {{"a", 1}, {"b", {{"CONTENTS", "x"}}}}}};
    const std::string path(reinterpret_cast<const char*>(data), size);
    auto node = OSCQueryTree::nodeJSON(path, root);
    if (node && !node->contains("FULL_PATH")) std::abort();
    (void)OSCQueryTree::nodeJSON(path, malformed);
    return 0;
}
