// How many OSC datagrams a second the running program applies while a large model is open.
// Writes a DXF of 3DFACE quads (2 triangles each), opens it in the real program offscreen,
// then offers /vistrel/camera/exposure at rising rates and waits for the last value of each to
// show in /v1/state. Datagrams the system dropped (its receive buffer full) are counted apart.
//
//   osc_apply_rate_bench [TRIANGLES=1000000]
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>

#include <nlohmann/json.hpp>

#include "RunningProgram.h"
#include "osc/OSCCodec.h"

using namespace vistrel;
using Clock = std::chrono::steady_clock;

namespace {

void writeFaces(const std::filesystem::path& path, long triangles) {
    std::ofstream out(path);
    out << "0\nSECTION\n2\nENTITIES\n";
    const long quads = triangles / 2;
    const long side = long(std::ceil(std::sqrt(double(quads))));
    for (long i = 0; i < quads; ++i) {
        const double x = double(i % side) * 0.1, y = double(i / side) * 0.1;
        const double z = 0.05 * std::sin(x) * std::cos(y);
        out << "0\n3DFACE\n8\nsurface\n10\n"
            << x << "\n20\n"
            << y << "\n30\n"
            << z << "\n11\n"
            << x + 0.1 << "\n21\n"
            << y << "\n31\n"
            << z << "\n12\n"
            << x + 0.1 << "\n22\n"
            << y + 0.1 << "\n32\n"
            << z << "\n13\n"
            << x << "\n23\n"
            << y + 0.1 << "\n33\n"
            << z << "\n";
    }
    out << "0\nENDSEC\n0\nEOF\n";
}

// The receive-buffer drops of the program's sockets, from /proc.
long drops(pid_t pid) {
    std::ifstream table("/proc/" + std::to_string(pid) + "/net/udp");
    std::string line;
    std::getline(table, line);
    long total = 0;
    while (std::getline(table, line)) {
        std::istringstream fields(line);
        std::string field;
        long last = 0;
        while (fields >> field) last = std::atol(field.c_str());
        total += last;
    }
    return total;
}

}  // namespace

int main(int argc, char** argv) {
    const long triangles = argc > 1 ? std::atol(argv[1]) : 1000000;
    test::TempDir dir;
    const auto model = dir / "faces.dxf";
    writeFaces(model, triangles);

    // On a display (xvfb-run) the window really draws the model between datagrams.
    const char* display = std::getenv("DISPLAY");
    test::RunningProgram program({model.string()},
                                 {{"QT_QPA_PLATFORM", display && *display ? "xcb" : "offscreen"}});
    std::printf("platform: %s\n", display && *display ? "xcb" : "offscreen");
    const std::string stateURL =
        "curl -s --max-time 5 http://127.0.0.1:" + std::to_string(program.httpPort) + "/v1/state";
    // An empty object when the program did not answer in time.
    auto state = [&] {
        auto s = nlohmann::json::parse(test::commandOutput(stateURL), nullptr, false);
        return s.is_object() ? s : nlohmann::json::object();
    };
    if (!program.waitForPort("tcp", program.httpPort)) {
        std::fprintf(stderr, "the program did not start\n");
        return 1;
    }
    const auto loadStart = Clock::now();
    while (!state().value("isReady", false)) {
        if (Clock::now() - loadStart > std::chrono::minutes(3)) return 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const auto faces = state().value("stats", nlohmann::json::object()).value("faces", 0L);
    std::printf("model: %ld triangles requested, %ld faces, ready after %.1f s\n", triangles, faces,
                std::chrono::duration<double>(Clock::now() - loadStart).count());

    // Each offered rate for one second, sent in 1 ms slices; then a value no earlier datagram
    // carried, and the wait until the state shows it.
    int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{AF_INET, htons(program.oscPort), {htonl(INADDR_LOOPBACK)}, {}};
    auto send = [&](float value) {
        auto bytes = OSCCodec::encode({"/vistrel/camera/exposure", {value}});
        ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    };
    float sentinel = 2.0f;
    for (int rate : {5000, 10000, 20000, 40000, 80000, 160000}) {
        const long droppedBefore = drops(program.pid());
        const auto start = Clock::now();
        int sent = 0;
        for (int slice = 0; slice < 1000; ++slice) {
            for (int i = 0; i < rate / 1000; ++i, ++sent) send(float(sent % 200) / 100.0f - 1.0f);
            std::this_thread::sleep_until(start + std::chrono::microseconds(1000 * (slice + 1)));
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        sentinel += 0.01f;
        send(sentinel);
        bool applied = false;
        while (!applied && Clock::now() - start < std::chrono::seconds(30)) {
            applied =
                std::abs(state().value("camera", nlohmann::json::object()).value("exposure", 0.0) -
                         sentinel) < 1e-4;
            if (!applied) std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        const long dropped = drops(program.pid()) - droppedBefore;
        std::printf(
            "offered %6d/s: %6d sent, %6ld dropped by the system, %s after %.2f s: "
            "%.0f datagrams/s applied\n",
            rate, sent, dropped, applied ? "all others applied" : "last never applied", seconds,
            double(sent - dropped) / seconds);
    }
    ::close(fd);
    return 0;
}
