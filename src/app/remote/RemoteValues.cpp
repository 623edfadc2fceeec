#include "remote/RemoteValues.h"

#include <pwd.h>
#include <unistd.h>

#include <cmath>
#include <cstdlib>

namespace vistrel::app {

float reducedDegrees(float degrees) {
    float d = std::fmod(degrees, 360.0f);
    if (d > 180) d -= 360;
    if (d < -180) d += 360;
    return d;
}

std::filesystem::path expandTilde(const std::string& path) {
    if (path.empty() || path[0] != '~') return path;
    const size_t slash = path.find('/');
    const std::string user =
        path.substr(1, slash == std::string::npos ? std::string::npos : slash - 1);
    std::string home;
    if (user.empty()) {
        if (const char* env = std::getenv("HOME"); env && *env)
            home = env;
        else if (const passwd* entry = ::getpwuid(::getuid()))
            home = entry->pw_dir;
    } else if (const passwd* entry = ::getpwnam(user.c_str())) {
        home = entry->pw_dir;
    }
    if (home.empty()) return path;
    return slash == std::string::npos ? home : home + path.substr(slash);
}

}  // namespace vistrel::app
