// The real program in a child process, offscreen, on ports and a settings file of its own,
// for tests that drive it the way a show-control client does. Stopped with SIGTERM at the end.
#pragma once

#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "TestEnv.h"

namespace vistrel::test {

// What a shell command writes on its standard output.
inline std::string commandOutput(const std::string& command) {
    std::string text;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            text.append(buffer, n);
        ::pclose(pipe);
    }
    return text;
}

// A port that was free a moment ago, for one kind of socket.
inline uint16_t freePort(int type) {
    int fd = ::socket(AF_INET, type, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    uint16_t port = 0;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
        port = ntohs(address.sin_port);
    ::close(fd);
    return port;
}

// Whether `pid` has a socket bound to `port` in /proc/pid/net/{udp,tcp} ("udp" or "tcp"), on
// `address` when given ("0100007F" for 127.0.0.1, "00000000" for all interfaces).
inline bool hasBoundPort(pid_t pid, const char* protocol, uint16_t port, const char* address = "") {
    std::ifstream table("/proc/" + std::to_string(pid) + "/net/" + protocol);
    char wanted[32];
    std::snprintf(wanted, sizeof wanted, "%s:%04X ", address, port);
    for (std::string line; std::getline(table, line);)
        if (line.find(wanted) != std::string::npos) return true;
    return false;
}

class RunningProgram {
  public:
    // Starts the program with `arguments` and `environment` laid over the test's own.
    explicit RunningProgram(std::vector<std::string> arguments,
                            std::map<std::string, std::string> environment = {})
        : oscPort(freePort(SOCK_DGRAM)), httpPort(freePort(SOCK_STREAM)) {
        // A runtime folder must be the user's alone, or Qt complains on every run.
        std::filesystem::permissions(settings_.path(), std::filesystem::perms::owner_all);
        environment.emplace("QT_QPA_PLATFORM", "offscreen");
        environment.emplace("VISTREL_SETTINGS_FILE", (settings_ / "settings.json").string());
        environment.emplace("XDG_RUNTIME_DIR", settings_.path().string());
        environment.emplace("VISTREL_OSC_IN_PORT", std::to_string(oscPort));
        environment.emplace("VISTREL_API_PORT", std::to_string(httpPort));
        environment.emplace("VISTREL_LANG", "en");
        // No system bus, so no host daemon ever advertises a test instance on a real network.
        environment.emplace("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent");
        // Nor a session bus, so each test's program stands alone instead of handing its files
        // to another one; tests of the single instance give their own.
        environment.emplace("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
        pid_ = ::fork();
        if (pid_ == 0) {
            for (auto& [name, value] : environment) ::setenv(name.c_str(), value.c_str(), 1);
            std::vector<char*> argv{const_cast<char*>(VISTREL_BINARY)};
            for (auto& a : arguments) argv.push_back(a.data());
            argv.push_back(nullptr);
            ::execv(VISTREL_BINARY, argv.data());
            ::_exit(127);
        }
    }
    ~RunningProgram() {
        if (pid_ <= 0 || exited_) return;
        ::kill(pid_, SIGTERM);
        for (int i = 0; i < 100; ++i) {
            if (::waitpid(pid_, nullptr, WNOHANG) == pid_) return;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    pid_t pid() const { return pid_; }
    // Waits until the program has bound `port` for `protocol`; false after `seconds`.
    bool waitForPort(const char* protocol, uint16_t port, double seconds = 20) const {
        auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (std::chrono::steady_clock::now() < end) {
            if (hasBoundPort(pid_, protocol, port)) return true;
            if (!running()) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    bool running() const {
        if (!exited_ && ::waitpid(pid_, &status_, WNOHANG) == pid_) exited_ = true;
        return !exited_;
    }
    // The exit status once the program ended by itself within `seconds`; -1 otherwise.
    int exitStatus(double seconds) const {
        auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (running() && std::chrono::steady_clock::now() < end)
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return exited_ && WIFEXITED(status_) ? WEXITSTATUS(status_) : -1;
    }
    struct Reply {
        int status = 0;
        std::string head, body;
    };
    // One curl exchange with the API: `options` go to curl as they stand.
    Reply curl(const std::string& options, const std::string& path, int seconds = 30) const {
        const std::string text =
            commandOutput("curl -s -i --max-time " + std::to_string(seconds) + " " + options +
                          " 'http://127.0.0.1:" + std::to_string(httpPort) + path + "'");
        Reply reply;
        const size_t end = text.find("\r\n\r\n");
        if (end == std::string::npos ||
            std::sscanf(text.c_str(), "HTTP/1.1 %d", &reply.status) != 1)
            return reply;
        reply.head = text.substr(0, end + 4);
        reply.body = text.substr(end + 4);
        return reply;
    }
    // The API's state, discarded when the program did not answer.
    nlohmann::json state() const {
        return nlohmann::json::parse(curl("", "/v1/state", 5).body, nullptr, false);
    }
    // Waits until the state's value at `pointer` equals `expected`.
    bool waitForState(const std::string& pointer, const nlohmann::json& expected,
                      double seconds = 10) const {
        const nlohmann::json::json_pointer at(pointer);
        auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (std::chrono::steady_clock::now() < end) {
            const nlohmann::json s = state();
            if (!s.is_discarded() && s.contains(at) && s[at] == expected) return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        return false;
    }
    const std::filesystem::path& folder() const { return settings_.path(); }

    const uint16_t oscPort;
    const uint16_t httpPort;

  private:
    TempDir settings_;
    pid_t pid_ = -1;
    mutable bool exited_ = false;
    mutable int status_ = 0;
};

}  // namespace vistrel::test
