#include "link/launch.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "platform/processes.h"
#include "tests/fake_renderer.h"
#include "tests/platform/installation.h"
#include "tests/read_file.h"
#include "tests/sleeper.h"

namespace {

std::string launchedWith(const Installation& installation) {
    for (int i = 0; i < 2000 && !std::filesystem::exists(installation.path("launched.txt")); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return readFile(installation.path("launched.txt"));
}

// Each test starts as a process that knows nothing yet, and prints into nowhere.
class Launch : public testing::Test {
  protected:
    Launch() {
        linkState() = LinkState();
        testing::internal::CaptureStdout();
    }
    ~Launch() override {
        if (!printed_) testing::internal::GetCapturedStdout();
        linkState() = LinkState();
    }
    std::string printed() {
        printed_ = true;
        return testing::internal::GetCapturedStdout();
    }

  private:
    bool printed_ = false;
};

}  // namespace

TEST_F(Launch, TheCodesAreThoseThatHostsKnow) {
    EXPECT_EQ(static_cast<int>(LinkResult::Linked), 0);
    EXPECT_EQ(static_cast<int>(LinkResult::NoInstallation), 1);
    EXPECT_EQ(static_cast<int>(LinkResult::UnusableVersion), 3);
    EXPECT_EQ(static_cast<int>(LinkResult::TakesNoLink), 4);
    EXPECT_EQ(static_cast<int>(LinkResult::UpdateRunning), 5);
    EXPECT_EQ(static_cast<int>(LinkResult::HandOverRefused), 6);
    EXPECT_EQ(static_cast<int>(LinkResult::Failed), 7);
    EXPECT_EQ(static_cast<int>(LinkResult::NoPort), 8);
}

TEST_F(Launch, ARendererThatIsLinkedIsLeftAlone) {
    FakeRenderer renderer(4);
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    EXPECT_FALSE(renderer.hasCaller());
    EXPECT_EQ(linkState().pluginFile, u"file");
    EXPECT_EQ(linkState().port, renderer.port());
    EXPECT_EQ(printed(), "");
}

TEST_F(Launch, ARunningRendererTakesTheRegisteredFolderWhereNoneIsKnown) {
    const Installation installation;
    FakeRenderer renderer(4);
    startLink(u"file");
    EXPECT_EQ(linkState().renderPath, utf8ToWide(installation.folder()));
    linkState().renderPath = u"known";
    startLink(u"file");
    EXPECT_EQ(linkState().renderPath, u"known");
}

TEST_F(Launch, WithoutAnInstallationThereIsNothingToStart) {
    const Installation none("9", false);
    EXPECT_EQ(startLink(u"file"), LinkResult::NoInstallation);
    EXPECT_EQ(printed(), "");
}

TEST_F(Launch, AnOldInstallationIsRefused) {
    for (const char* version : {"1.7.1", "1.10.0", ""}) {
        const Installation installation(version);
        EXPECT_EQ(startLink(u"file"), LinkResult::UnusableVersion) << version;
    }
    EXPECT_EQ(printed(), "1.7.1\n1.10.0\n\n");
}

TEST_F(Launch, ARendererMayTakeNoLink) {
    FakeRenderer renderer(2);
    EXPECT_EQ(startLink(u"file"), LinkResult::TakesNoLink);
}

TEST_F(Launch, TheUpdateComesBeforeTheStatus) {
    FakeRenderer renderer(2);
    {
        const RunningProcess update("kua.exe");
        EXPECT_TRUE(IsUpdateRunning());
        EXPECT_EQ(startLink(u"file"), LinkResult::UpdateRunning);
        const RunningProcess launcher("q7_launcher.exe");
        EXPECT_FALSE(IsUpdateRunning());
        EXPECT_EQ(startLink(u"file"), LinkResult::TakesNoLink);
    }
    EXPECT_FALSE(IsUpdateRunning());
}

TEST_F(Launch, TheUpdateEndsTheWaitForTheStatus) {
    FakeRenderer renderer(3);
    std::unique_ptr<RunningProcess> update;
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        update = std::make_unique<RunningProcess>("kua.exe");
    });
    EXPECT_EQ(LinkToRender(), LinkResult::UpdateRunning);
    later.join();
    update.reset();
    EXPECT_EQ(printed().substr(0, 14), "Sync status\n3\n");
}

TEST_F(Launch, HandsTheFileOverAndWaitsForTheLink) {
    FakeRenderer renderer(1);
    WideString file;
    renderer.serve({[&](Peer& peer) {
        EXPECT_EQ(peer.word(), 3U);
        file = peer.string();
        EXPECT_TRUE(peer.atEnd());
        renderer.setStatus(4);
    }});
    EXPECT_EQ(startLink(u"C:\\my file.plugin"), LinkResult::Linked);
    renderer.finish();
    EXPECT_EQ(file, u"C:\\my file.plugin");
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_EQ(printed(), "Sync status\n1\nSync status\n1\n");
}

TEST_F(Launch, WaitsUntilTheRendererIsReady) {
    FakeRenderer renderer(0);
    renderer.serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        renderer.setStatus(4);
    }});
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(400));
        renderer.setStatus(1);
    });
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    later.join();
    renderer.finish();
    const std::string lines = printed();
    EXPECT_EQ(lines.substr(0, 14), "Sync status\n0\n");
    EXPECT_EQ(lines.substr(lines.size() - 28), "Sync status\n1\nSync status\n1\n");
}

TEST_F(Launch, ARaisedFlagBeatsTheStatus) {
    FakeRenderer renderer(1);
    renderer.serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        renderer.setFlag(1);
        renderer.setStatus(4);
    }});
    EXPECT_EQ(startLink(u"file"), LinkResult::HandOverRefused);
    renderer.finish();
    EXPECT_EQ(renderer.flag(), 0);
}

TEST_F(Launch, OnlyTheLowByteOfTheFlagCounts) {
    FakeRenderer renderer(1);
    renderer.serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        renderer.setFlag(256);
        renderer.setStatus(4);
    }});
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    renderer.finish();
}

TEST_F(Launch, WithoutAPortNothingIsConnected) {
    FakeRenderer renderer(1);
    renderer.setPort(65535);
    EXPECT_EQ(startLink(u"file"), LinkResult::NoPort);
    EXPECT_FALSE(renderer.hasCaller());
    EXPECT_EQ(printed(), "Sync status\n1\nSync status\n1\n");
}

TEST_F(Launch, ADeadPortIsTold) {
    FakeRenderer renderer(1);
    const auto listener = platform::listenOnLoopback();
    renderer.setPort(platform::portOf(listener));
    platform::closeSocket(listener);
    EXPECT_EQ(startLink(u"file"), LinkResult::NoPort);
    EXPECT_EQ(printed(), "Sync status\n1\nSync status\n1\nSocket cannot connect!\n");
}

TEST_F(Launch, AMissingPortBlockIsAFailure) {
    const auto status = platform::CreatedBlock::create(testStatusBlock, 4);
    status.view()[0] = std::byte{1};
    EXPECT_EQ(LinkToRender(), LinkResult::Failed);
    EXPECT_EQ(printed(), "Port share mem error!\n");
}

TEST_F(Launch, AFailureIsTriedOnceMore) {
    const Installation installation("2.0");
    std::filesystem::remove(installation.path("q7_launcher.exe"));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(startLink(u"file"), LinkResult::Failed);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(3000));
    EXPECT_EQ(printed(), "2.0\nStartQ7Render\n\n2.0\nStartQ7Render\n\n");
}

TEST_F(Launch, ABlockThatVanishesAfterTheHandOverIsAFailure) {
    auto renderer = std::make_unique<FakeRenderer>(1);
    auto* const served = renderer.get();
    renderer->serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        EXPECT_TRUE(peer.atEnd());
    }});
    std::thread later([&] {
        served->finish();
        renderer.reset();
    });
    EXPECT_EQ(LinkToRender(), LinkResult::Failed);
    later.join();
}

TEST_F(Launch, TheUpdateIsToldWhenTheBlockVanishes) {
    auto renderer = std::make_unique<FakeRenderer>(1);
    auto* const served = renderer.get();
    std::unique_ptr<RunningProcess> update;
    renderer->serve({[&](Peer& peer) {
        peer.word();
        peer.string();
        EXPECT_TRUE(peer.atEnd());
        update = std::make_unique<RunningProcess>("kua.exe");
    }});
    std::thread later([&] {
        served->finish();
        renderer.reset();
    });
    EXPECT_EQ(LinkToRender(), LinkResult::UpdateRunning);
    later.join();
}

TEST_F(Launch, TheWaitForTheLinkGoesOnPastOtherStatuses) {
    FakeRenderer renderer(0);
    const auto wait = [](int milliseconds) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    };
    bool handedOver = false;
    renderer.serve({[&](Peer& peer) {
        handedOver = peer.word() == 3;
        peer.string();
    }});
    std::thread later([&] {
        for (const std::uint16_t status : std::initializer_list<std::uint16_t>{2, 4, 1}) {
            wait(400);
            renderer.setStatus(status);
        }
        renderer.finish();
        wait(400);
        renderer.setStatus(2);
        wait(700);
        renderer.setStatus(4);
    });
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    later.join();
    EXPECT_TRUE(handedOver);
}

TEST_F(Launch, OnlyTheLastWaitClearsTheFlag) {
    FakeRenderer renderer(4);
    renderer.setFlag(1);
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    EXPECT_EQ(renderer.flag(), 1);
    renderer.setStatus(1);
    renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
    }});
    EXPECT_EQ(startLink(u"file"), LinkResult::HandOverRefused);
    EXPECT_EQ(renderer.flag(), 0);
    renderer.finish();
}

TEST_F(Launch, TheSecondAttemptsResultStands) {
    const auto status = platform::CreatedBlock::create(testStatusBlock, 4);
    status.view()[0] = std::byte{2};
    std::optional<platform::CreatedBlock> port;
    std::thread later([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1000));
        port.emplace(platform::CreatedBlock::create(testPortBlock, 2));
    });
    EXPECT_EQ(startLink(u"file"), LinkResult::TakesNoLink);
    later.join();
}

// A launcher that ends at once, and a renderer that comes up later.
TEST_F(Launch, WaitsForTheBlocksOfARendererThatItStarted) {
    for (const int delay : {1500, 6000}) {
        linkState() = LinkState();
        const Installation installation("2.0");
        installLauncher(installation);
        std::unique_ptr<FakeRenderer> renderer;
        std::thread later([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(delay));
            renderer = std::make_unique<FakeRenderer>(1);
            renderer->serve({[&](Peer& peer) {
                EXPECT_EQ(peer.word(), 3U);
                EXPECT_EQ(peer.string(), u"file");
                renderer->setStatus(4);
            }});
        });
        EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
        later.join();
        renderer->finish();
    }
    // The first came within the tries for its block, the second only in the wait for its status.
    const std::string lines = printed();
    const std::string quick = "2.0\nStartQ7Render\n\nSync status\n1\nSync status\n1\n";
    EXPECT_EQ(lines.substr(0, quick.size()), quick);
    EXPECT_EQ(lines.substr(quick.size(), 34), "2.0\nStartQ7Render\n\nSync status\n0\nS");
}

TEST_F(Launch, StartsTheInstalledLauncherWithTheFile) {
    const Installation installation("2.0");
    installLauncher(installation);
    linkState().pluginFile = u"my file";
    EXPECT_EQ(LaunchRender(), 0);
    EXPECT_EQ(linkState().renderPath, utf8ToWide(installation.folder()));
    EXPECT_EQ(printed(), "2.0\nStartQ7Render\n\n");
    // Without quotes the blank parts the file into two arguments.
    EXPECT_EQ(launchedWith(installation), "-pluginFile=my\nfile\n");
}

TEST_F(Launch, AKnownPathIsLaunchedAndTheRegisteredVersionCounts) {
    const Installation known("9", false);
    installLauncher(known);
    Installation registered("2.0");
    linkState().renderPath = utf8ToWide(known.folder());
    EXPECT_EQ(LaunchRender(), 0);
    EXPECT_EQ(linkState().renderPath, utf8ToWide(known.folder()));
    EXPECT_EQ(launchedWith(known), "-pluginFile=\n");
    registered.unregister();
    EXPECT_EQ(LaunchRender(), 2);
}
