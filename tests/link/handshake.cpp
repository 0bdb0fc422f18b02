// The handshake step by step: what it prints tells the test where it is, so that the renderer changes
// at exactly that point.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "link/launch.h"
#include "link/link_state.h"
#include "support/console.h"
#include "tests/fake_renderer.h"
#include "tests/platform/installation.h"
#include "tests/sleeper.h"

namespace {

std::string printedText;
std::vector<std::string> awaited;
std::vector<std::function<void()>> steps;

}  // namespace

// In place of the library's, in this program.
void printLine(std::string_view text) {
    printedText += std::string(text) + '\n';
    if (awaited.empty() || awaited.front() != text) return;
    const auto step = std::move(steps.front());
    awaited.erase(awaited.begin());
    steps.erase(steps.begin());
    step();
}

namespace {

const std::string polledTwice = "Sync status\n1\nSync status\n1\n";
const std::string portMissed = "Port share mem error!";

class Handshake : public testing::Test {
  protected:
    Handshake() {
        linkState() = LinkState();
        printedText.clear();
    }
    ~Handshake() override {
        EXPECT_EQ(awaited, std::vector<std::string>()) << printedText;
        awaited.clear();
        steps.clear();
        linkState() = LinkState();
    }

    // As soon as that line is printed, and those awaited before it have been.
    static void when(const std::string& line, std::function<void()> step) {
        awaited.push_back(line);
        steps.push_back(std::move(step));
    }

    // The port is there at first, and no more when the renderer is ready.
    static void hidePortWhileItWaits(FakeRenderer& renderer) {
        when("3", [&] {
            renderer.hidePort();
            renderer.setStatus(1);
        });
    }

    // Links whoever hands the file over.
    static FakeRenderer::Script linking(FakeRenderer& renderer) {
        return [&](Peer& peer) {
            EXPECT_EQ(peer.word(), 3U);
            EXPECT_EQ(peer.string(), u"file");
            EXPECT_TRUE(peer.atEnd());
            renderer.setStatus(4);
        };
    }
};

}  // namespace

TEST_F(Handshake, AStatusThatIsAnotherAtTheSecondLookIsAFailure) {
    for (const std::uint16_t status : std::initializer_list<std::uint16_t>{0, 2, 3, 4}) {
        FakeRenderer renderer(1);
        when("1", [&] { renderer.setStatus(status); });
        EXPECT_EQ(LinkToRender(), LinkResult::Failed);
        EXPECT_EQ(printedText, "Sync status\n1\nSync status\n" + std::to_string(status) + "\n");
        EXPECT_FALSE(renderer.hasCaller());
        printedText.clear();
    }
}

TEST_F(Handshake, AnotherStatusAtTheSecondLookIsTriedOnceMore) {
    FakeRenderer renderer(1);
    when("1", [&] { renderer.setStatus(2); });
    EXPECT_EQ(startLink(u"file"), LinkResult::TakesNoLink);
    EXPECT_EQ(printedText, "Sync status\n1\nSync status\n2\n");
}

TEST_F(Handshake, TheUpdateIsLookedForBeforeThePort) {
    FakeRenderer renderer(1);
    renderer.hidePort();
    const RunningProcess update("kua.exe");
    EXPECT_EQ(startLink(u"file"), LinkResult::UpdateRunning);
    EXPECT_EQ(printedText, "");
}

TEST_F(Handshake, ThePortIsReadBeforeTheStatusDecides) {
    for (const std::uint16_t status : std::initializer_list<std::uint16_t>{2, 4}) {
        FakeRenderer renderer(status);
        renderer.hidePort();
        printedText.clear();
        EXPECT_EQ(LinkToRender(), LinkResult::Failed);
        EXPECT_EQ(printedText, "Port share mem error!\n");
    }
}

TEST_F(Handshake, WaitsForThePortBlockOfARendererThatItStarted) {
    const Installation installation("2.0");
    installLauncher(installation);
    FakeRenderer renderer;
    renderer.hideStatus();
    renderer.hidePort();
    when("StartQ7Render\n", [&] { renderer.showStatus(1); });
    when(portMissed, [] {});
    when(portMissed, [&] {
        renderer.showPort();
        renderer.serve({linking(renderer)});
    });
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    renderer.finish();
    EXPECT_EQ(printedText,
              "2.0\nStartQ7Render\n\n" + polledTwice + portMissed + "\n" + portMissed + "\n");
}

TEST_F(Handshake, WhileThePortIsAwaitedAVanishingStatusIsAFailure) {
    FakeRenderer renderer(3);
    hidePortWhileItWaits(renderer);
    when(portMissed, [&] { renderer.hideStatus(); });
    EXPECT_EQ(LinkToRender(), LinkResult::Failed);
    EXPECT_EQ(printedText, "Sync status\n3\n" + polledTwice + portMissed + "\n");
    EXPECT_FALSE(renderer.hasCaller());
}

TEST_F(Handshake, WhileThePortIsAwaitedTheUpdateMayTakeTheRenderersPlace) {
    FakeRenderer renderer(3);
    std::unique_ptr<RunningProcess> update;
    hidePortWhileItWaits(renderer);
    when(portMissed, [&] {
        renderer.hideStatus();
        update = std::make_unique<RunningProcess>("kua.exe");
    });
    EXPECT_EQ(LinkToRender(), LinkResult::UpdateRunning);
}

TEST_F(Handshake, AVanishingStatusDoesNotEndTheWaitForIt) {
    FakeRenderer renderer(3);
    renderer.serve({linking(renderer)});
    when("3", [&] { renderer.hideStatus(); });
    when("0", [] {});
    when("0", [&] { renderer.showStatus(1); });
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    renderer.finish();
    EXPECT_EQ(printedText, "Sync status\n3\nSync status\n0\nSync status\n0\n" + polledTwice);
}

TEST_F(Handshake, TheUpdateEndsTheWaitForAStatusThatVanished) {
    FakeRenderer renderer(3);
    std::unique_ptr<RunningProcess> update;
    when("3", [&] { renderer.hideStatus(); });
    when("0", [&] { update = std::make_unique<RunningProcess>("kua.exe"); });
    EXPECT_EQ(startLink(u"file"), LinkResult::UpdateRunning);
    EXPECT_EQ(printedText, "Sync status\n3\nSync status\n0\n");
}

TEST_F(Handshake, AStatusThatVanishesAtTheSecondLookIsAFailureAlsoDuringAnUpdate) {
    FakeRenderer renderer(1);
    std::unique_ptr<RunningProcess> update;
    when("1", [&] {
        renderer.hideStatus();
        update = std::make_unique<RunningProcess>("kua.exe");
    });
    EXPECT_EQ(LinkToRender(), LinkResult::Failed);
    EXPECT_EQ(printedText, "Sync status\n1\nSync status\n0\n");
}

// A moved port counts as it is when the file is handed over.
TEST_F(Handshake, ThePortIsReadAnewWhenTheRendererIsReady) {
    FakeRenderer renderer(3);
    renderer.setPort(65535);
    renderer.serve({linking(renderer)});
    when("3", [&] {
        renderer.setPort(renderer.port());
        renderer.setStatus(1);
    });
    EXPECT_EQ(startLink(u"file"), LinkResult::Linked);
    renderer.finish();
}
