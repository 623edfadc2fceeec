// The remote front's own rules: which ports it takes, which document it drives, and when the
// camera goes back out. The routes themselves are tested beside their handlers.
#include "remote/RemoteControlServer.h"

#include <gtest/gtest.h>

#include <fstream>

#include "DocumentModelFixture.h"
#include "LoopbackSocket.h"
#include "documents/DocumentController.h"
#include "documents/SKPDocument.h"

using namespace vistrel;
using app::RemoteControlServer;
using test::LoopbackSocket;

namespace {

class RemoteControlServerTest : public test::DocumentModelTest {
  protected:
    void TearDown() override {
        server.overrideModel = nullptr;
        server.now = steadyNow;
        test::DocumentModelTest::TearDown();
    }
    RemoteControlServer& server = RemoteControlServer::shared();
    std::function<double()> steadyNow = server.now;
};

TEST_F(RemoteControlServerTest, oscPortComesFromTheArgumentThenTheEnvironmentAndSkipsBusyOnes) {
    LoopbackSocket busy;  // holds a port, so the server must take the next one
    const uint16_t wanted = LoopbackSocket().port;  // free again once the socket is gone
    {
        test::ScopedEnv env("VISTREL_OSC_IN_PORT", ("+" + std::to_string(wanted)).c_str());
        server.start(std::nullopt, 0, false);
        EXPECT_EQ(server.oscPort(), wanted) << "a leading plus is taken";
        server.start(busy.port, 0, false);
        EXPECT_EQ(server.oscPort(), busy.port + 1) << "the argument wins, past a busy port";
    }
    for (const char* bad : {"", "osc", "70000", "-1"}) {
        test::ScopedEnv env("VISTREL_OSC_IN_PORT", bad);
        server.start(std::nullopt, 0, false);
        EXPECT_GE(server.oscPort(), RemoteControlServer::defaultOSCPort) << "'" << bad << "'";
        EXPECT_LT(server.oscPort(), RemoteControlServer::defaultOSCPort + 16) << "'" << bad << "'";
    }
    server.start(0, 0, false);  // leave no well-known port held for the other tests
}

TEST_F(RemoteControlServerTest, feedbackSendsFourMessagesAtMostSixtyBurstsASecond) {
    LoopbackSocket inbox;
    app::Preferences::setOscOutPort(inbox.port);
    double t = 1000;
    server.now = [&t] { return t; };
    present(SyntheticModel::cube());
    server.overrideModel = &doc();
    ASSERT_EQ(server.activeModel(), &doc()) << "the override comes first";
    ASSERT_TRUE(doc().onCameraFeedback) << "and gets its hook";

    doc().viewport().orbitByDegrees(10, 0);
    auto burst = inbox.drain();
    ASSERT_EQ(burst.size(), 4u);
    EXPECT_EQ(burst[0].address, "/vistrel/camera/position");
    EXPECT_EQ(burst[0].floatAt(0), doc().cameraPosition().x);
    EXPECT_EQ(burst[1].address, "/vistrel/camera/target");
    EXPECT_EQ(burst[2].address, "/vistrel/camera/orientation");
    EXPECT_EQ(burst[2].floatAt(1), doc().cameraPitch());
    EXPECT_EQ(burst[3].address, "/vistrel/camera/fov");
    EXPECT_EQ(burst[3].floatAt(0), doc().cameraFOV());

    t += 0.01;
    doc().viewport().orbitByDegrees(10, 0);
    EXPECT_TRUE(inbox.drain(100).empty()) << "within 1/60 s of the last burst";
    t += 0.01;
    doc().viewport().orbitByDegrees(10, 0);
    EXPECT_EQ(inbox.drain().size(), 4u);

    t += 1;
    app::Preferences::setOscOutHost("localhost");
    doc().viewport().orbitByDegrees(10, 0);
    EXPECT_TRUE(inbox.drain(100).empty()) << "a host name is never resolved";
    app::Preferences::setOscOutHost("127.0.0.1");
    app::Preferences::setBool("oscFeedbackEnabled", false);
    t += 1;
    doc().viewport().orbitByDegrees(10, 0);
    EXPECT_TRUE(inbox.drain(100).empty()) << "feedback switched off";
}

TEST_F(RemoteControlServerTest, withNoCurrentDocumentTheFirstOpenOneIsDriven) {
    app::DocumentController controller;
    ASSERT_EQ(app::DocumentController::shared(), &controller);
    EXPECT_EQ(server.activeModel(), nullptr);
    server.handleOSCMessage({"/vistrel/style", {"clay"}});  // nothing to act on, nothing fails

    std::vector<app::SKPDocument*> opened;
    for (const char* name : {"first.dxf", "second.dxf"}) {
        std::ofstream(dir / name) << "0\nSECTION\n2\nENTITIES\n0\nENDSEC\n0\nEOF\n";
        controller.openDocument(dir / name, false,
                                [&](app::SKPDocument* d, auto&) { opened.push_back(d); });
    }
    ASSERT_EQ(opened.size(), 2u);
    EXPECT_EQ(server.activeModel(), &opened[0]->model());
    server.handleOSCMessage({"/style", {"CLAY"}});
    EXPECT_EQ(opened[0]->model().shadingStyle(), viewport::ShadingStyle::clay);
    EXPECT_NE(opened[1]->model().shadingStyle(), viewport::ShadingStyle::clay);
    controller.closeAll();
}

}  // namespace
