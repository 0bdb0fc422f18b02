#include "transport/sync_connection.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "link/link_state.h"
#include "tests/fake_renderer.h"
#include "tests/platform/installation.h"

namespace {

// The first word of a connection that the renderer then refuses.
std::uint32_t announcedBy(SyncResult (*connect)(SessionCore&), SessionCore& core,
                          std::vector<WideString>* strings = nullptr) {
    FakeRenderer renderer;
    linkState().port = renderer.port();
    std::uint32_t word = 0;
    renderer.serve({[&](Peer& peer) {
        word = peer.word();
        const WideString path = peer.string();
        if (strings) strings->push_back(path);
        if (word == 17) {
            const WideString parent = peer.string();
            if (strings) strings->push_back(parent);
        }
        peer.sendWord(2);
        EXPECT_TRUE(peer.atEnd());
    }});
    EXPECT_EQ(connect(core), SyncResult::RefusedByReply2);
    renderer.finish();
    return word;
}

std::int32_t typeAfter(const FakeRenderer::Script& reply, SessionCore& core) {
    // The status is not looked at for this.
    FakeRenderer renderer(0);
    linkState().port = renderer.port();
    renderer.serve({[&](Peer& peer) {
        EXPECT_EQ(peer.word(), 9U);
        EXPECT_EQ(peer.string(), u"name");
        reply(peer);
    }});
    const std::int32_t type = askSendModelType(core, u"name");
    renderer.finish();
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_EQ(core.sendModelType, type);
    return type;
}

}  // namespace

TEST(RawSyncConnect, AnnouncesPathsToARendererThatTakesThem) {
    const std::pair<const char*, std::uint32_t> rows[] = {{"2.4", 11}, {"2.10", 11}, {"3", 11},
                                                          {"2.3", 7},  {"1.9", 7},   {"", 11}};
    for (const auto& [version, word] : rows) {
        const Installation installation(version);
        SessionCore core;
        EXPECT_EQ(announcedBy(rawSyncConnect, core), word) << version;
    }
    const Installation none("9", false);
    SessionCore core;
    EXPECT_EQ(announcedBy(rawSyncConnect, core), 11U);
}

TEST(RawSyncConnect, AVersionThatIsNoneThrows) {
    const Installation installation("beta");
    SessionCore core;
    EXPECT_THROW(rawSyncConnect(core), std::invalid_argument);
    EXPECT_FALSE(core.connected);
    EXPECT_NO_THROW(announcedBy(processedSyncConnect, core));
    EXPECT_NO_THROW(announcedBy(groupSyncConnect, core));
}

TEST(ProcessedSyncConnect, NamesTheMainModelForAPartOfIt) {
    SessionCore core;
    core.modelFilePath = u"part";
    core.proxyParent = u"old";
    linkState().modelFilePath = u"main";
    std::vector<WideString> strings;
    EXPECT_EQ(announcedBy(processedSyncConnect, core, &strings), 7U);
    EXPECT_EQ(core.proxyParent, u"old");
    core.relevantPath = true;
    EXPECT_EQ(announcedBy(processedSyncConnect, core, &strings), 17U);
    EXPECT_EQ(strings, (std::vector<WideString>{u"part", u"part", u"proxyparent=main"}));
    EXPECT_EQ(core.proxyParent, u"proxyparent=main");
    linkState().modelFilePath.clear();
}

TEST(GroupSyncConnect, HasAWordOfItsOwn) {
    SessionCore core;
    core.relevantPath = true;
    EXPECT_EQ(announcedBy(groupSyncConnect, core), 8U);
}

TEST(Disconnect, ActsOnTheSessionsConnectionOnly) {
    FakeRenderer renderer;
    linkState().port = renderer.port();
    renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
        peer.sendWord(0);
        EXPECT_TRUE(peer.atEnd());
    }});
    SessionCore core;
    SessionCore other;
    EXPECT_EQ(groupSyncConnect(core), SyncResult::Accepted);
    disconnect(other);
    EXPECT_TRUE(renderSocket().connected);
    disconnect(core);
    EXPECT_FALSE(renderSocket().connected);
    EXPECT_FALSE(core.connected);
    renderer.finish();
    disconnect(core);
    EXPECT_FALSE(core.connected);
}

TEST(AskSendModelType, GivesTheAnswerAndKeepsIt) {
    SessionCore core;
    EXPECT_EQ(typeAfter([](Peer& peer) { peer.sendWord(5); }, core), 5);
    EXPECT_EQ(typeAfter([](Peer& peer) { peer.sendWord(0x7FFFFFFF); }, core), 0x7FFFFFFF);
}

TEST(AskSendModelType, ANegativeOrNoAnswerIsZero) {
    SessionCore core;
    core.sendModelType = 3;
    EXPECT_EQ(typeAfter([](Peer& peer) { peer.sendWord(0x80000000); }, core), 0);
    core.sendModelType = 3;
    EXPECT_EQ(typeAfter([](Peer& peer) { peer.close(); }, core), 0);
}

TEST(AskSendModelType, IsZeroWhileTheLinkIsInUse) {
    FakeRenderer renderer;
    linkState().port = renderer.port();
    SessionCore core;
    core.sendModelType = 3;
    renderSocket().connected = true;
    EXPECT_EQ(askSendModelType(core, u"name"), 0);
    EXPECT_EQ(core.sendModelType, 3);
    EXPECT_FALSE(renderer.hasCaller());
    renderSocket().connected = false;
}

TEST(AskSendModelType, ADeadPortIsNoAnswer) {
    SessionCore core;
    linkState().port = 0;
    EXPECT_EQ(askSendModelType(core, u"name"), 0);
    EXPECT_FALSE(renderSocket().connected);
}
