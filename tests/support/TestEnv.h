// Helpers shared by the test suites: temporary folders, environment overrides, corpus paths.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <string>

namespace vistrel::test {

// A fresh folder under the system temporary folder, removed when the object dies.
class TempDir {
  public:
    TempDir() {
        std::random_device rd;
        path_ = std::filesystem::temp_directory_path() /
                ("vistrel-test-" + std::to_string(rd()) + std::to_string(rd()));
        std::filesystem::create_directories(path_);
    }
    ~TempDir() {
        std::error_code ec;
        std::filesystem::remove_all(path_, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

// Sets an environment variable for the scope and restores the old value after.
class ScopedEnv {
  public:
    ScopedEnv(const char* name, const char* value) : name_(name) {
        if (const char* old = std::getenv(name)) old_ = old;
        set(name, value);
    }
    ~ScopedEnv() { set(name_.c_str(), old_ ? old_->c_str() : nullptr); }

  private:
    static void set(const char* name, const char* value) {
        value ? ::setenv(name, value, 1) : ::unsetenv(name);
    }
    std::string name_;
    std::optional<std::string> old_;
};

// The environment's folder, else the one the build compiled in.
inline std::filesystem::path configuredDir(const char* variable, const char* built) {
    if (const char* d = std::getenv(variable); d && *d) return d;
    return built;
}

// The shared corpus of real CAD files, or nothing when it is not beside the checkout.
inline std::optional<std::filesystem::path> corpusDir() {
    auto d = configuredDir("VISTREL_CORPUS_DIR", VISTREL_TEST_CORPUS_DIR);
    if (!std::filesystem::is_directory(d)) return std::nullopt;
    return d;
}

// Picture baselines, kept in the source tree (tests/baselines).
inline std::filesystem::path baselinesDir() {
    return configuredDir("VISTREL_BASELINES_DIR", VISTREL_TEST_BASELINES_DIR);
}

// The descriptors this process holds open, for tests that watch for leaks.
inline size_t openDescriptorCount() {
    return size_t(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace vistrel::test
