#include "link/launch.h"

#include <gtest/gtest.h>

#include <chrono>

#include "link/link_state.h"
#include "link/render_socket.h"
#include "platform/processes.h"
#include "tests/fake_renderer.h"
#include "tests/platform/installation.h"

namespace {

WideString wide(const std::filesystem::path& path) {
    return path.u16string();
}

// A process of that name, until this goes.
class RunningProcess {
  public:
    explicit RunningProcess(const char* name) : name_(name) {
        std::filesystem::copy_file(Q7_SLEEPER, folder_ / name);
        std::filesystem::permissions(folder_ / name, std::filesystem::perms::owner_all);
        std::ofstream(folder_ / "lives") << "x";
        EXPECT_TRUE(platform::launchProgram(wide(folder_ / name), u"lives", wide(folder_.path())));
        waitUntil(true);
    }
    ~RunningProcess() {
        std::filesystem::remove(folder_ / "lives");
        waitUntil(false);
    }
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

  private:
    void waitUntil(bool runs) const {
        for (int i = 0; i < 2000 && platform::isProcessRunning(name_) != runs; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(platform::isProcessRunning(name_), runs) << name_;
    }

    const char* name_;
    TemporaryFolder folder_;
};

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

TEST_F(Launch, StartsTheInstalledLauncherWithTheFile) {
    const Installation installation("2.0");
    std::filesystem::remove(installation.path("q7_launcher.exe"));
    std::filesystem::copy_file(Q7_SLEEPER, installation.path("q7_launcher.exe"));
    std::filesystem::permissions(installation.path("q7_launcher.exe"),
                                 std::filesystem::perms::owner_all);
    // The parameter is no file that exists, so the program ends at once.
    linkState().pluginFile = u"my file";
    EXPECT_EQ(LaunchRender(), 0);
    EXPECT_EQ(linkState().renderPath, utf8ToWide(installation.folder()));
    EXPECT_EQ(printed(), "2.0\nStartQ7Render\n\n");
}
