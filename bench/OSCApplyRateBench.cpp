// How many OSC datagrams a second the running program applies while a large model is open.
// Writes a DXF of 3DFACE quads (2 triangles each), opens it in the real program offscreen,
// then sends bursts of /vistrel/camera/exposure as fast as the socket takes them and waits
// for the last value to show in /v1/state. Datagrams the system dropped are counted apart.
//
//   osc_apply_rate_bench [TRIANGLES=1000000] [DATAGRAMS=50000]
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

std::string output(const std::string& command) {
    std::string text;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[4096];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
            text.append(buffer, n);
        ::pclose(pipe);
    }
    return text;
}

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
    const int datagrams = argc > 2 ? std::atoi(argv[2]) : 50000;
    test::TempDir dir;
    const auto model = dir / "faces.dxf";
    writeFaces(model, triangles);

    test::RunningProgram program({model.string()});
    const std::string stateURL =
        "curl -s --max-time 5 http://127.0.0.1:" + std::to_string(program.httpPort) + "/v1/state";
    auto state = [&] { return nlohmann::json::parse(output(stateURL), nullptr, false); };
    if (!program.waitForPort("tcp", program.httpPort)) {
        std::fprintf(stderr, "the program did not start\n");
        return 1;
    }
    const auto loadStart = Clock::now();
    while (!state().value("isReady", false)) {
        if (Clock::now() - loadStart > std::chrono::minutes(3)) return 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    const auto faces = state()["stats"]["faces"];
    std::printf("model: %ld triangles requested, %s faces, ready after %.1f s\n", triangles,
                faces.dump().c_str(),
                std::chrono::duration<double>(Clock::now() - loadStart).count());

    int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{AF_INET, htons(program.oscPort), {htonl(INADDR_LOOPBACK)}, {}};
    const long droppedBefore = drops(program.pid());
    const auto start = Clock::now();
    for (int i = 0; i < datagrams; ++i) {
        // Values in -1...1, and a last one no earlier datagram carried.
        float value = i + 1 == datagrams ? 2.5f : float(i % 200) / 100.0f - 1.0f;
        auto bytes = OSCCodec::encode({"/vistrel/camera/exposure", {value}});
        ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    }
    const double sendSeconds = std::chrono::duration<double>(Clock::now() - start).count();
    while (state()["camera"].value("exposure", 0.0) != 2.5) {
        if (Clock::now() - start > std::chrono::minutes(2)) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
    const long dropped = drops(program.pid()) - droppedBefore;
    ::close(fd);
    std::printf("sent %d datagrams in %.3f s; %ld dropped by the system\n", datagrams, sendSeconds,
                dropped);
    std::printf("applied %ld in %.3f s: %.0f datagrams/s\n", datagrams - dropped, seconds,
                double(datagrams - dropped) / seconds);
    return 0;
}
