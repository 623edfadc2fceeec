// OSC throughput: messages decoded (and encoded) per second, and datagrams received, decoded and
// handed over per second by OSCUDPServer through 127.0.0.1.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "osc/OSCCodec.h"
#include "osc/OSCUDPServer.h"

using namespace vistrel;
using OSCCodec::Message;

namespace {

const Message feedback{"/vistrel/camera/position", {1.5f, -2.0f, 3.25f}};

std::vector<uint8_t> bundleOf(const std::vector<Message>& messages) {
    std::vector<uint8_t> out{'#', 'b', 'u', 'n', 'd', 'l', 'e', 0, 0, 0, 0, 0, 0, 0, 0, 1};
    for (const auto& m : messages) {
        const auto bytes = OSCCodec::encode(m);
        const auto n = uint32_t(bytes.size());
        out.insert(out.end(), {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)});
        out.insert(out.end(), bytes.begin(), bytes.end());
    }
    return out;
}

void decodeOneMessage(benchmark::State& state, const std::vector<uint8_t>& bytes) {
    for (auto _ : state) {
        auto messages = OSCCodec::decode(bytes);
        benchmark::DoNotOptimize(messages);
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
    state.SetBytesProcessed(int64_t(state.iterations() * bytes.size()));
}

void decodeFeedbackMessage(benchmark::State& state) {
    decodeOneMessage(state, OSCCodec::encode(feedback));
}
BENCHMARK(decodeFeedbackMessage);

void decodeMixedMessage(benchmark::State& state) {
    decodeOneMessage(state, OSCCodec::encode({"/vistrel/layer/group",
                                              {"Fa\xC3\xA7"
                                               "ades nord",
                                               true, 3, 0.5f}}));
}
BENCHMARK(decodeMixedMessage);

void decodeBundleOfFourMessages(benchmark::State& state) {
    const auto bytes = bundleOf({feedback,
                                 {"/vistrel/camera/target", {0.0f, 0.0f, 1.0f}},
                                 {"/vistrel/camera/orientation", {45.0f, -10.0f}},
                                 {"/vistrel/camera/fov", {50.0f}}});
    for (auto _ : state) {
        auto messages = OSCCodec::decode(bytes);
        benchmark::DoNotOptimize(messages);
    }
    state.SetItemsProcessed(int64_t(state.iterations() * 4));
}
BENCHMARK(decodeBundleOfFourMessages);

void encodeFeedbackMessage(benchmark::State& state) {
    for (auto _ : state) {
        auto bytes = OSCCodec::encode(feedback);
        benchmark::DoNotOptimize(bytes);
    }
    state.SetItemsProcessed(int64_t(state.iterations()));
}
BENCHMARK(encodeFeedbackMessage);

// Batches of datagrams from one socket; each batch waits (at most a second) until the server
// has handed every message over, so the socket buffer never overflows by design. Anything
// still missing at the deadline is counted as lost.
void loopbackReceiveAndHandOver(benchmark::State& state) {
    std::atomic<uint64_t> handled = 0;
    OSCUDPServer server(0,
                        [&](const Message&) { handled.fetch_add(1, std::memory_order_relaxed); });
    if (!server.start(1)) {
        state.SkipWithError("no UDP port");
        return;
    }
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_port = htons(server.port());
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const auto bytes = OSCCodec::encode(feedback);
    const int batch = int(state.range(0));
    uint64_t expected = 0, lost = 0;
    for (auto _ : state) {
        for (int i = 0; i < batch; ++i)
            ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to),
                     sizeof to);
        expected += uint64_t(batch);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
        while (handled.load(std::memory_order_relaxed) < expected &&
               std::chrono::steady_clock::now() < deadline)
            std::this_thread::yield();
        if (const uint64_t got = handled.load(); got < expected) {
            lost += expected - got;
            expected = got;
        }
    }
    ::close(fd);
    server.stop();
    state.SetItemsProcessed(int64_t(handled.load()));
    state.counters["lost"] = double(lost);
}
BENCHMARK(loopbackReceiveAndHandOver)->Arg(1)->Arg(64)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
