// Small conversions shared by the OSC and HTTP sides of remote control.
#pragma once

#include <filesystem>
#include <string>

namespace vistrel::app {

// An angle in degrees brought into -180...180 the way clients expect: reduced by 360 in 32-bit
// floats, then one turn added or taken away.
float reducedDegrees(float degrees);

// "~" and "~/..." to the home folder, "~name/..." to that user's; anything else as it stands.
std::filesystem::path expandTilde(const std::string& path);

}  // namespace vistrel::app
