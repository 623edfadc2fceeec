// A stand-in for the closed DWG importer plug-in, built by the tests only and never installed.
//
// Exports the four entry points under their libc++ mangled names and reads its arguments the
// way the real one would: the importer and preferences objects after their constructors, each
// path as a libc++ std::string in its long form, importUnits inside the preferences. It
// "converts" a JSON input {"0": scene, "7": scene} by writing the scene for importUnits to the
// output path; any other input yields no output.
#include <cstdint>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

namespace {

constexpr uint32_t kImporterMark = 0x1D3A0001;
constexpr uint32_t kPrefsMark = 0x1D3A0002;
constexpr size_t kImportUnitsOffset = 8;  // where the binding writes importUnits
int calls = 0;

std::string readLibcxxString(const void* image) {
    const auto* words = static_cast<const uint64_t*>(image);
    if (!(words[0] & 1u)) return {};  // the binding always lays out the long form
    return std::string(reinterpret_cast<const char*>(words[2]), words[1]);
}

}  // namespace

#define STANDIN_EXPORT extern "C" __attribute__((visibility("default")))

STANDIN_EXPORT void importerCtor(void* self) __asm__("_ZN8sketchup3dwg11CDDImporterC1Ev");
STANDIN_EXPORT void importerDtor(void* self) __asm__("_ZN8sketchup3dwg11CDDImporterD1Ev");
STANDIN_EXPORT void prefsCtor(void* self) __asm__(
    "_ZN8sketchup3dwg22DWGImporterPreferences11ImportPrefsC1Ev");
STANDIN_EXPORT bool
importerConvert(void* self, const void* input, const void* output, void* progress, const void* prefs) __asm__(
    "_ZN8sketchup3dwg11CDDImporter7ConvertERKNSt3__112basic_stringIcNS2_11char_traitsIcEENS2_"
    "9allocatorIcEEEESA_P30SketchUpPluginProgressCallbackRKNS0_22DWGImporterPreferences11Import"
    "PrefsE");

void importerCtor(void* self) {
    std::memcpy(self, &kImporterMark, sizeof kImporterMark);
}
void importerDtor(void* self) {
    std::memset(self, 0, sizeof kImporterMark);
}
void prefsCtor(void* self) {
    std::memcpy(self, &kPrefsMark, sizeof kPrefsMark);
}

bool importerConvert(void* self, const void* input, const void* output, void*, const void* prefs) {
    uint32_t mark = 0;
    std::memcpy(&mark, self, sizeof mark);
    if (mark != kImporterMark) return false;
    std::memcpy(&mark, prefs, sizeof mark);
    if (mark != kPrefsMark) return false;
    int32_t units = 0;
    std::memcpy(&units, static_cast<const char*>(prefs) + kImportUnitsOffset, sizeof units);
    ++calls;

    std::ifstream in(readLibcxxString(input));
    nlohmann::json source = nlohmann::json::parse(in, nullptr, false);
    const std::string key = std::to_string(units);
    if (source.is_discarded() || !source.is_object() || !source.contains(key)) return false;
    std::ofstream out(readLibcxxString(output));
    out << source[key].dump();
    return static_cast<bool>(out);
}

// How often Convert ran.
STANDIN_EXPORT int StandInPluginCalls() {
    return calls;
}
