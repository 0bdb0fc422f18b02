// The system ends a process that touches mapped bytes which another process has cut off: a renderer that made
// its blocks anew in their place, or cut the model's when it had read it, took the host with it.
#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "tests/fake_renderer.h"
#include "tests/platform/child_process.h"
#include "tests/platform/sized_block.h"
#include "transport/model_link.h"

#if !defined(_WIN32)

TEST(Regressions, ARendererMayMakeItsBlocksAnewInTheirPlace) {
    const FakeRenderer renderer(4);
    const pid_t child = startChild([] {
        std::atomic<bool> done = false;
        std::thread other([&] {
            while (!done) {
                std::filesystem::resize_file(blockPath(testStatusBlock), 0);
                std::filesystem::resize_file(blockPath(testStatusBlock), 4);
            }
        });
        LinkState state;
        for (int i = 0; i < 20000; ++i)
            state.readStatus(true);
        done = true;
        other.join();
        return 0;
    });
    EXPECT_EQ(exitCodeOf(child), 0);
}

TEST(Regressions, ARendererMayCutTheModelsBlockWhenItHasReadIt) {
    Model model;
    MeshArrays arrays;
    arrays.positions.resize(3000);
    arrays.uvs.resize(2000);
    model.addMesh(u"a", std::move(arrays));
    model.addDefaultMaterial(u"m");
    model.addInstance(u"a", u"m", nullptr, u"");
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
        for (int list = 0; list < 2; ++list) {
            peer.word();
            std::filesystem::resize_file(blockPath(testModelBlock), 0);
            peer.sendWord(0);
        }
        peer.word();
        peer.string();
        for (int array = 0; array < 5; ++array) {
            peer.word();
            peer.sendWord(0);
        }
        peer.sendWord(0);
        EXPECT_TRUE(peer.atEnd());
    }});
    SocketConnect(renderSocket(), renderer.port());
    sendThroughBlock(model, {}, sendModelRaw);
    CloseLink(renderSocket());
    renderer.finish();
}

#endif
