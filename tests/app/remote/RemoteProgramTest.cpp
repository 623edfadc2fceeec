// The running program driven the way a show-control client drives it: liblo's oscsend for
// commands, oscdump for the camera feedback, curl for the state. Loopback only.
#include <sys/socket.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <thread>

#include <nlohmann/json.hpp>

#include "LoopbackSocket.h"
#include "RunningProgram.h"
#include "osc/OSCCodec.h"

using namespace vistrel;
using namespace std::chrono_literals;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using test::RunningProgram;

namespace {

// oscdump on a port of its own, each line stamped with when it arrived.
class FeedbackListener {
  public:
    FeedbackListener() : port(test::freePort(SOCK_DGRAM)) {
        pipe_ = ::popen(("exec oscdump -L " + std::to_string(port) + " 2>/dev/null").c_str(), "r");
        reader_ = std::thread([this] {
            char line[1024];
            while (std::fgets(line, sizeof line, pipe_)) {
                std::lock_guard guard(lock_);
                lines_.push_back({Clock::now(), line});
            }
        });
    }
    ~FeedbackListener() {
        test::commandOutput("pkill -f 'oscdump -L " + std::to_string(port) + "'");
        reader_.join();
        ::pclose(pipe_);
    }
    // The lines that arrived so far, taken out.
    std::vector<std::pair<Clock::time_point, std::string>> take() {
        std::lock_guard guard(lock_);
        return std::exchange(lines_, {});
    }
    const uint16_t port;

  private:
    FILE* pipe_;
    std::thread reader_;
    std::mutex lock_;
    std::vector<std::pair<Clock::time_point, std::string>> lines_;
};

class RemoteProgramTest : public testing::Test {
  protected:
    void SetUp() override {
        for (const char* tool : {"oscsend", "oscdump", "curl"})
            if (test::commandOutput(std::string("command -v ") + tool).empty())
                GTEST_SKIP() << tool << " is not installed";
    }
    void send(const RunningProgram& program, const std::string& addressAndArguments) {
        test::commandOutput("oscsend 127.0.0.1 " + std::to_string(program.oscPort) + " " +
                            addressAndArguments);
    }
};

TEST_F(RemoteProgramTest, aShowControlClientDrivesTheProgramAndHearsItsCamera) {
    FeedbackListener feedback;
    test::TempDir home;
    std::ofstream(home / "second.dxf") << "0\nSECTION\n2\nENTITIES\n0\n3DFACE\n8\n0\n10\n500\n20\n0"
                                          "\n30\n0\n11\n501\n21\n0\n31\n0\n12\n501\n22\n1\n32\n0"
                                          "\n13\n500\n23\n1\n33\n0\n0\nENDSEC\n0\nEOF\n";
    RunningProgram program(
        {VISTREL_SAMPLE},
        {{"VISTREL_OSC_OUT_PORT", std::to_string(feedback.port)}, {"HOME", home.path().string()}});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort)) << "the API never listened";
    ASSERT_TRUE(program.waitForPort("udp", program.oscPort)) << "OSC never listened";
    ASSERT_TRUE(program.waitForState("/isReady", true)) << program.state().dump();

    struct Step {
        const char* message;
        const char* pointer;
        json expected;
    } steps[] = {
        {"/vistrel/style s clay", "/rendering/shadingStyle", "clay"},
        {"/camera/pos fff 1 2 3", "/camera/position", {1.0, 2.0, 3.0}},
        {"/vistrel/camera/fov f 200", "/camera/fovDegrees", 120.0},
        {"/vistrel/edges i 0", "/rendering/showsEdges", false},
        {"/vistrel/grid T", "/rendering/showsGrid", true},
        {"/vistrel/layer/all F", "/layers/0/visible", false},
        {"/vistrel/layer/0", "/layers/0/visible", true},
        {"/vistrel/light/intensity f 0.5", "/rendering/lightingMode", "point"},
        {"/vistrel/sun/elevation f 99", "/rendering/sunElevationDegrees", 85.0},
        {"/vistrel/backdrop/style s PAPER", "/rendering/backdropStyle", "warmPaper"},
        {"/vistrel/camera/view s Dessus", "/camera/pitchDegrees", -90.0},
    };
    for (const Step& step : steps) {
        send(program, step.message);
        EXPECT_TRUE(program.waitForState(step.pointer, step.expected))
            << step.message << " gave " << program.state()[json::json_pointer(step.pointer)];
    }

    // Moves that came over OSC are not echoed; a move from the API is, as four messages.
    std::this_thread::sleep_for(1500ms);  // the flight to the top view ends, and its feedback
    feedback.take();
    send(program, "/vistrel/camera/yaw f 15");
    ASSERT_TRUE(program.waitForState("/camera/yawDegrees", 15.0));
    std::this_thread::sleep_for(300ms);
    EXPECT_TRUE(feedback.take().empty()) << "an OSC move came back";
    program.curl("-X POST -d '{\"yaw\":40}'", "/v1/camera");
    std::this_thread::sleep_for(500ms);
    auto lines = feedback.take();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].second.find("/vistrel/camera/position fff"), std::string::npos);
    EXPECT_NE(lines[2].second.find("/vistrel/camera/orientation ff 40"), std::string::npos)
        << lines[2].second;

    // An animated flight sends feedback while it moves; the 60-a-second limit is stepped on a
    // manual clock in RemoteControlServerTest.
    send(program, "/vistrel/camera/view s iso");
    std::this_thread::sleep_for(2s);
    std::vector<Clock::time_point> bursts;
    for (auto& [when, line] : feedback.take())
        if (line.find("/vistrel/camera/position") != std::string::npos) bursts.push_back(when);
    ASSERT_GT(bursts.size(), 5u) << "the flight sent no feedback";
    const double seconds = std::chrono::duration<double>(bursts.back() - bursts.front()).count();
    std::printf("feedback: %zu bursts over %.2f s\n", bursts.size(), seconds);

    // A file named from the home folder opens in a second window, which takes the focus.
    send(program, "/vistrel/open s '~/second.dxf'");  // the tilde is the program's
    EXPECT_TRUE(program.waitForState("/filePath", (home / "second.dxf").string()))
        << program.state()["filePath"];
}

// Every leaf of the published namespace, in the order a client reads it: a row that can be
// read takes a value inside its published range and then reports that value; a trigger is
// sent as an impulse. Only the program's own answers are used to choose and to check.
TEST_F(RemoteProgramTest, everyPublishedAddressTakesAValueAndReportsIt) {
    RunningProgram program({VISTREL_SAMPLE});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    ASSERT_TRUE(program.waitForState("/isReady", true));
    const json root = json::parse(program.curl("", "/").body, nullptr, false);
    std::vector<json> leaves;
    std::function<void(const json&)> collect = [&](const json& node) {
        if (node.contains("TYPE")) leaves.push_back(node);
        if (node.contains("CONTENTS"))
            for (const auto& [name, child] : node["CONTENTS"].items()) collect(child);
    };
    collect(root);
    ASSERT_EQ(leaves.size(), 43u);

    // Words the handler takes for the text rows, each differing from the fresh document's.
    const std::map<std::string, std::string> words{{"/vistrel/camera/view", "top"},
                                                   {"/vistrel/scene/name", ""},
                                                   {"/vistrel/style", "clay"},
                                                   {"/vistrel/lighting/mode", "point"},
                                                   {"/vistrel/backdrop/style", "studioDark"}};
    auto value = [&](const std::string& path) {
        const json reply = json::parse(program.curl("", path + "?VALUE").body, nullptr, false);
        return reply.is_object() ? reply.value("VALUE", json()) : json();
    };
    for (const json& leaf : leaves) {
        const std::string path = leaf["FULL_PATH"], tags = leaf["TYPE"];
        std::string message = path + " " + tags;
        json expected = json::array();
        if (leaf["ACCESS"] == 3) {
            const json current = value(path);
            for (size_t i = 0; i < tags.size(); ++i) {
                if (tags[i] == 's') {
                    message += " '" + words.at(path) + "'";
                    expected.push_back(words.at(path));
                    continue;
                }
                const json& range = leaf.at("RANGE").at(i);
                if (tags[i] == 'i') {  // the other end of a switch, or the only index
                    const bool atMin = current.is_array() && current.at(i) == range.at("MIN");
                    const int v = atMin ? int(range.at("MAX")) : int(range.at("MIN"));
                    message += " " + std::to_string(v);
                    expected.push_back(v);
                } else {
                    const double low = range.at("MIN"), high = range.at("MAX");
                    // Each value its own, so that a look-at never looks at its own eye.
                    const double v = low + (0.6 - 0.05 * double(i)) * (high - low);
                    message += " " + std::to_string(v);
                    expected.push_back(v);
                }
            }
        } else {
            message += " ";  // the impulse carries no value
        }
        if (path == "/vistrel/camera/eye_height") expected = {1.7};  // an action, not a state
        if (path == "/vistrel/backdrop/color") expected[3] = 1.0;    // alpha is always opaque
        send(program, message);
        if (path == "/vistrel/camera/view" || leaf["ACCESS"] == 2)
            std::this_thread::sleep_for(1500ms);  // animated moves end before the next row
        if (path == "/vistrel/camera/level") {
            EXPECT_NEAR(double(value("/vistrel/camera/pitch")[0]), 0.0, 1e-3) << message;
            continue;
        }
        if (expected.empty()) continue;
        bool matches = false;
        json reported;
        for (int attempt = 0; attempt < 100 && !matches; ++attempt) {
            reported = value(path);
            matches = reported.size() == expected.size();
            for (size_t i = 0; matches && i < expected.size(); ++i)
                matches = expected[i].is_number()
                              ? std::abs(double(reported[i]) - double(expected[i])) <=
                                    1e-3 * std::max(1.0, std::abs(double(expected[i])))
                              : reported[i] == expected[i];
            if (!matches) std::this_thread::sleep_for(20ms);
        }
        EXPECT_TRUE(matches) << message << " reported " << reported;
    }
    EXPECT_TRUE(program.running());
}

TEST_F(RemoteProgramTest, noiseChangesNothingAndLosesNoLaterMessage) {
    RunningProgram program({VISTREL_SAMPLE});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    ASSERT_TRUE(program.waitForState("/isReady", true));
    const json before = program.state();

    const test::LoopbackSocket sender;
    const auto valid = OSCCodec::encode({"/vistrel/camera/fov", {50.0f}});
    std::mt19937 random(7);
    for (int i = 0; i < 100000; ++i) {
        std::vector<uint8_t> bytes;
        switch (i % 4) {
            case 0:  // random bytes; never none, since an empty datagram ends reception
                bytes.resize(1 + random() % 199);
                for (auto& b : bytes) b = uint8_t(random());
                break;
            case 1:  // a valid message cut short
                bytes.assign(valid.begin(),
                             valid.begin() + 1 + long(random() % (valid.size() - 1)));
                break;
            case 2:  // tags that promise more than there is
                bytes = OSCCodec::encode({"/vistrel/camera/fov", {}});
                bytes.insert(bytes.end() - 4, {',', 'f', 'f', 'f', 'f', 's', 'i', 0});
                break;
            default:  // a bundle whose element claims a huge size
                bytes = {'#', 'b', 'u', 'n', 'd',  'l',  'e',  0,    0,   0,   0, 0,
                         0,   0,   0,   1,   0x7f, 0xff, 0xff, 0xff, '/', 'x', 0, 0};
        }
        sender.sendTo(program.oscPort, bytes);
        // Paced, so that the system's buffer never overflows and drops what follows.
        if (i % 500 == 0) std::this_thread::sleep_for(2ms);
    }
    std::this_thread::sleep_for(100ms);
    sender.sendTo(program.oscPort, OSCCodec::encode({"/vistrel/style", {"xray"}}));
    EXPECT_TRUE(program.waitForState("/rendering/shadingStyle", "xray"))
        << "the valid message was lost";
    EXPECT_TRUE(program.running());
    json after = program.state();
    after["rendering"]["shadingStyle"] = before["rendering"]["shadingStyle"];
    EXPECT_EQ(after["layers"], before["layers"]);
    EXPECT_EQ(after["rendering"], before["rendering"]) << "noise changed the look";
}

}  // namespace
