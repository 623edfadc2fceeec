// The running program driven the way a show-control client drives it: liblo's oscsend for
// commands, oscdump for the camera feedback, curl for the state. Loopback only.
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <random>
#include <thread>

#include <nlohmann/json.hpp>

#include "RunningProgram.h"
#include "osc/OSCCodec.h"

using namespace vistrel;
using namespace std::chrono_literals;
using nlohmann::json;
using Clock = std::chrono::steady_clock;
using test::RunningProgram;

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

bool haveTool(const char* name) {
    return !output(std::string("command -v ") + name).empty();
}

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
        output("pkill -f 'oscdump -L " + std::to_string(port) + "'");
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
            if (!haveTool(tool)) GTEST_SKIP() << tool << " is not installed";
    }
    json state(const RunningProgram& program) {
        std::string body =
            output("curl -s --max-time 5 http://127.0.0.1:" + std::to_string(program.httpPort) +
                   "/v1/state");
        return json::parse(body, nullptr, false);
    }
    void send(const RunningProgram& program, const std::string& addressAndArguments) {
        output("oscsend 127.0.0.1 " + std::to_string(program.oscPort) + " " + addressAndArguments);
    }
    // Waits until the state's value at `pointer` equals `expected`.
    bool waitFor(const RunningProgram& program, const std::string& pointer, const json& expected,
                 std::chrono::milliseconds patience = 10s) {
        for (auto end = Clock::now() + patience; Clock::now() < end;) {
            json s = state(program);
            if (!s.is_discarded() && s.contains(json::json_pointer(pointer)) &&
                s[json::json_pointer(pointer)] == expected)
                return true;
            std::this_thread::sleep_for(50ms);
        }
        return false;
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
    ASSERT_TRUE(waitFor(program, "/isReady", true)) << state(program).dump();

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
        EXPECT_TRUE(waitFor(program, step.pointer, step.expected))
            << step.message << " gave " << state(program)[json::json_pointer(step.pointer)];
    }

    // Moves that came over OSC are not echoed; a move from the API is, as four messages.
    std::this_thread::sleep_for(1500ms);  // the flight to the top view ends, and its feedback
    feedback.take();
    send(program, "/vistrel/camera/yaw f 15");
    ASSERT_TRUE(waitFor(program, "/camera/yawDegrees", 15.0));
    std::this_thread::sleep_for(300ms);
    EXPECT_TRUE(feedback.take().empty()) << "an OSC move came back";
    output("curl -s -X POST -d '{\"yaw\":40}' http://127.0.0.1:" +
           std::to_string(program.httpPort) + "/v1/camera");
    std::this_thread::sleep_for(500ms);
    auto lines = feedback.take();
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_NE(lines[0].second.find("/vistrel/camera/position fff"), std::string::npos);
    EXPECT_NE(lines[2].second.find("/vistrel/camera/orientation ff 40"), std::string::npos)
        << lines[2].second;

    // An animated flight sends feedback while it moves, never more than 60 bursts a second.
    send(program, "/vistrel/camera/view s iso");
    std::this_thread::sleep_for(2s);
    std::vector<Clock::time_point> bursts;
    for (auto& [when, line] : feedback.take())
        if (line.find("/vistrel/camera/position") != std::string::npos) bursts.push_back(when);
    ASSERT_GT(bursts.size(), 5u) << "the flight sent no feedback";
    for (size_t i = 0; i + 61 < bursts.size(); ++i)
        EXPECT_GT(bursts[i + 61] - bursts[i], 1s) << "61 bursts within one second";
    const double seconds = std::chrono::duration<double>(bursts.back() - bursts.front()).count();
    std::printf("feedback: %zu bursts over %.2f s\n", bursts.size(), seconds);

    // A file named from the home folder opens in a second window, which takes the focus.
    send(program, "/vistrel/open s '~/second.dxf'");  // the tilde is the program's
    EXPECT_TRUE(waitFor(program, "/filePath", (home / "second.dxf").string()))
        << state(program)["filePath"];
}

TEST_F(RemoteProgramTest, noiseChangesNothingAndLosesNoLaterMessage) {
    RunningProgram program({VISTREL_SAMPLE});
    ASSERT_TRUE(program.waitForPort("tcp", program.httpPort));
    ASSERT_TRUE(waitFor(program, "/isReady", true));
    const json before = state(program);

    int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{AF_INET, htons(program.oscPort), {htonl(INADDR_LOOPBACK)}, {}};
    auto sendBytes = [&](const std::vector<uint8_t>& bytes) {
        ::sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
    };
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
        sendBytes(bytes);
        // Paced, so that the system's buffer never overflows and drops what follows.
        if (i % 500 == 0) std::this_thread::sleep_for(2ms);
    }
    std::this_thread::sleep_for(100ms);
    sendBytes(OSCCodec::encode({"/vistrel/style", {"xray"}}));
    ::close(fd);
    EXPECT_TRUE(waitFor(program, "/rendering/shadingStyle", "xray"))
        << "the valid message was lost";
    EXPECT_TRUE(program.running());
    json after = state(program);
    after["rendering"]["shadingStyle"] = before["rendering"]["shadingStyle"];
    EXPECT_EQ(after["layers"], before["layers"]);
    EXPECT_EQ(after["rendering"], before["rendering"]) << "noise changed the look";
}

}  // namespace
