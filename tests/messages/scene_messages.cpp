#include "messages/scene_messages.h"

#include <gtest/gtest.h>

#include <array>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "tests/fake_renderer.h"

namespace {

void addRecords(SessionCore& core) {
    const std::array<std::byte, 36> data = {};
    core.addScene(u"s", u"l", data.data(), 1);
    core.addCameraAnimation(u"a");
}

// Nobody listens where the library will connect.
struct DeadPort {
    DeadPort() {
        const auto listener = platform::listenOnLoopback();
        linkState().port = platform::portOf(listener);
        platform::closeSocket(listener);
        renderer.setPort(linkState().port);
    }
    FakeRenderer renderer;
};

}  // namespace

TEST(SceneMessages, AFailedSendDropsWhatItTook) {
    const DeadPort dead;
    SessionCore core;
    addRecords(core);
    sendLegacyScenes(core, u"text");
    EXPECT_TRUE(core.legacyScenes.empty());
    sendCameraAnimations(core);
    EXPECT_TRUE(core.cameraAnims.empty());
    EXPECT_FALSE(renderSocket().connected);
}

TEST(SceneMessages, ARendererThatGoesAwayInTheMiddleDoesNoHarm) {
    SessionCore core;
    FakeRenderer renderer;
    linkState().port = renderer.port();
    renderer.serve({[](Peer& peer) { peer.word(); }});
    const std::array<std::byte, 36> data = {};
    for (int i = 0; i < 100000; ++i)
        core.addScene(u"scene", u"label", data.data(), 1);
    sendLegacyScenes(core, u"text");
    renderer.finish();
    EXPECT_TRUE(core.legacyScenes.empty());
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_EQ(renderSocket().socket, platform::noSocket);
}

TEST(SceneMessages, AClosedGateKeepsWhatWouldGo) {
    SessionCore core;
    addRecords(core);
    sendLegacyScenes(core, u"text");
    sendCameraAnimations(core);
    EXPECT_EQ(core.legacyScenes.size(), 1U);
    EXPECT_EQ(core.cameraAnims.size(), 1U);
}
