#include "osc/OSCUDPServer.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <random>
#include <vector>

#include "LoopbackSocket.h"
#include "TestEnv.h"

using namespace vistrel;
using namespace std::chrono_literals;
using OSCCodec::Message;
using OSCCodec::Value;
using test::LoopbackSocket;
using test::openDescriptorCount;

namespace {

// Every wait in this file is bounded; absence is checked over this span.
constexpr auto kQuiet = 300ms;
constexpr auto kPatience = 5s;

// `count` consecutive ports held by plain sockets, or none when no such run was found.
std::vector<LoopbackSocket> holdPortRun(int count) {
    std::mt19937 random(std::random_device{}());
    for (int attempt = 0; attempt < 50; ++attempt) {
        const int base = std::uniform_int_distribution<int>(20000, 60000 - count)(random);
        std::vector<LoopbackSocket> held;
        for (int i = 0; i < count; ++i) {
            held.emplace_back(uint16_t(base + i));
            if (!held.back().bound()) break;
        }
        if (held.size() == size_t(count) && held.back().bound()) return held;
    }
    return {};
}

// Collects what the server hands over, from its receive thread.
class Inbox {
  public:
    OSCUDPServer::Handler handler() {
        return [this](const Message& m) {
            std::lock_guard guard(mutex_);
            messages_.push_back(m);
            changed_.notify_all();
        };
    }
    std::vector<Message> waitFor(size_t count, std::chrono::milliseconds wait = kPatience) {
        std::unique_lock guard(mutex_);
        changed_.wait_for(guard, wait, [&] { return messages_.size() >= count; });
        return messages_;
    }
    size_t count() { return waitFor(SIZE_MAX, 0ms).size(); }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Message> messages_;
};

}  // namespace

TEST(OSCUDPServer, handsOverEveryMessageOfADatagramInPacketOrder) {
    Inbox inbox;
    OSCUDPServer server(0, inbox.handler());
    ASSERT_TRUE(server.start(16));
    EXPECT_NE(server.port(), 0);

    const Message a{"/a", {1}}, b{"/b", {"two"}}, c{"/c", {}};
    std::vector<uint8_t> bundle{'#', 'b', 'u', 'n', 'd', 'l', 'e', 0, 0, 0, 0, 0, 0, 0, 0, 1};
    for (const Message& m : {a, b, c}) {
        const auto bytes = OSCCodec::encode(m);
        bundle.insert(bundle.end(), {0, 0, 0, uint8_t(bytes.size())});
        bundle.insert(bundle.end(), bytes.begin(), bytes.end());
    }
    LoopbackSocket sender;
    sender.sendTo(server.port(), bundle);
    OSCUDPServer::send({"/d", {2.5f}}, "127.0.0.1", server.port());
    EXPECT_EQ(inbox.waitFor(4), (std::vector<Message>{a, b, c, {"/d", {2.5f}}}));

    // "/big" ",is" then an int and a 9000-byte string: the string is cut with the datagram.
    std::vector<uint8_t> big{'/', 'b', 'i', 'g', 0, 0, 0, 0, ',', 'i', 's', 0, 0, 0, 0, 9};
    big.resize(big.size() + 9000, 'x');
    sender.sendTo(server.port(), big);
    const auto received = inbox.waitFor(5);
    ASSERT_EQ(received.size(), 5u);
    EXPECT_EQ(received[4],
              (Message{"/big", {9, std::string(OSCUDPServer::receiveBufferSize - 16, 'x')}}));

    // A zero-length datagram ends the receive loop, but the server still counts as running.
    sender.sendTo(server.port(), {});
    sender.sendTo(server.port(), OSCCodec::encode({"/unread", {}}));
    std::this_thread::sleep_for(kQuiet);
    EXPECT_EQ(inbox.count(), 5u);
    EXPECT_TRUE(server.isRunning());
}

TEST(OSCUDPServer, busyPortsAreSkippedUpToSixteenAndAFailureKeepsTheWantedPort) {
    auto held = holdPortRun(16);
    ASSERT_FALSE(held.empty());
    const uint16_t wanted = held[0].port;
    Inbox inbox;
    OSCUDPServer server(wanted, inbox.handler());
    EXPECT_FALSE(server.start(16));
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(server.port(), wanted);

    // With only the wanted port busy, fewer than two attempts mean one.
    while (held.size() > 1) held.pop_back();
    for (int attempts : {1, 0, -3}) {
        EXPECT_FALSE(server.start(attempts)) << attempts;
        EXPECT_EQ(server.port(), wanted);
    }
    EXPECT_TRUE(server.start(2));
    EXPECT_EQ(server.port(), wanted + 1);
    const size_t descriptors = openDescriptorCount();
    EXPECT_TRUE(server.start(16));  // already running: opens nothing
    EXPECT_EQ(openDescriptorCount(), descriptors);
    EXPECT_EQ(server.port(), wanted + 1);

    // Stopped (twice), it closes its socket and hears nothing; started again, it receives.
    server.stop();
    server.stop();
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(openDescriptorCount(), descriptors - 1);
    OSCUDPServer::send({"/after-stop", {}}, "127.0.0.1", wanted + 1);
    std::this_thread::sleep_for(kQuiet);
    EXPECT_EQ(inbox.count(), 0u);
    ASSERT_TRUE(server.start(2));
    EXPECT_EQ(server.port(), wanted + 1);
    OSCUDPServer::send({"/again", {}}, "127.0.0.1", wanted + 1);
    EXPECT_EQ(inbox.waitFor(1), (std::vector<Message>{{"/again", {}}}));

    // A second server on the same wanted port must not share a port with the first.
    OSCUDPServer second(wanted, {});
    ASSERT_TRUE(second.start(16));
    EXPECT_EQ(second.port(), wanted + 2);
    // Past the last port there is nothing to fall back to, not a wrap round to port 0.
    EXPECT_TRUE(!LoopbackSocket(65535).bound() || !OSCUDPServer(65535, {}).start(16));
}

TEST(OSCUDPServer, handlerMayStopTheServer) {
    std::atomic<int> calls = 0;
    OSCUDPServer* self = nullptr;
    OSCUDPServer server(0, [&](const Message&) {
        ++calls;
        self->stop();
    });
    self = &server;
    ASSERT_TRUE(server.start(16));
    OSCUDPServer::send({"/stop", {}}, "127.0.0.1", server.port());
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (server.isRunning() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(10ms);
    EXPECT_FALSE(server.isRunning());
    EXPECT_EQ(calls, 1);
}
