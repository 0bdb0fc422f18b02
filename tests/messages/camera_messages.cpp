#include "messages/camera_messages.h"

#include <gtest/gtest.h>

#include <array>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "tests/fake_renderer.h"

TEST(CameraMessages, ABrokenLinkIsSilentAndClosed) {
    SessionCore core;
    core.modelFilePath = u"path";
    FakeRenderer renderer;
    const std::array<std::byte, cameraTransformSize> transform = {};
    // The connection is refused: the port is nobody's.
    const auto listener = platform::listenOnLoopback();
    linkState().port = platform::portOf(listener);
    platform::closeSocket(listener);
    renderer.setPort(linkState().port);
    sendCameraTransformFov(core, transform.data(), 1);
    sendCamera(core);
    sendMetaData(core);
    EXPECT_EQ(askMetaData(core), u"");
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_FALSE(renderer.hasCaller());
}

TEST(AskMetaData, ARendererThatOnlyClosesGivesAnEmptyText) {
    SessionCore core;
    FakeRenderer renderer;
    linkState().port = renderer.port();
    renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
    }});
    EXPECT_EQ(askMetaData(core), u"");
    renderer.finish();
}

TEST(AskMetaData, WithoutARendererThereIsNoAnswerAtAll) {
    EXPECT_EQ(askMetaData(SessionCore()), std::nullopt);
}
