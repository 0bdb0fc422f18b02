#include "link/render_socket.h"

#include <gtest/gtest.h>

#include "api/q7plugin.h"
#include "link/link_state.h"
#include "tests/fake_renderer.h"
#include "tests/host_text.h"
#include "tests/platform/child_program.h"
#include "tests/platform/loaded_library.h"
#include "tests/platform/socket_delay.h"
#include "tests/temporary_folder.h"

namespace {

// A port that nobody listens on.
std::uint16_t deadPort() {
    const auto listener = platform::listenOnLoopback();
    const std::uint16_t port = platform::portOf(listener);
    platform::closeSocket(listener);
    return port;
}

std::string wordBytes(std::uint32_t word) {
    return {reinterpret_cast<const char*>(&word), sizeof word};
}

WideString receivedString(const std::string& reply) {
    FakeRenderer renderer;
    renderer.serve({[&](Peer& peer) { peer.send(reply); }});
    RenderSocket link;
    EXPECT_TRUE(SocketConnect(link, renderer.port()));
    renderer.finish();
    const WideString text = ReceiveString(link);
    CloseLink(link);
    return text;
}

SyncResult resultOf(const FakeRenderer::Script& script, SessionCore& session,
                    CommandWord word = CommandWord::PlainSync) {
    FakeRenderer renderer;
    renderer.serve({script});
    const SyncResult result = SyncRequest(session, renderer.port(), word);
    renderer.finish();
    return result;
}

}  // namespace

TEST(RenderSocketRecord, StartsClosedAtTheLocalAddress) {
    const RenderSocket link;
    EXPECT_EQ(link.socket, platform::noSocket);
    EXPECT_STREQ(link.address, "127.0.0.1");
    EXPECT_FALSE(link.connected);
    EXPECT_EQ(&renderSocket(), &renderSocket());
}

TEST(SocketConnect, MarksTheLinkAsConnected) {
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { EXPECT_TRUE(peer.atEnd()); }});
    RenderSocket link;
    EXPECT_TRUE(SocketConnect(link, renderer.port()));
    EXPECT_TRUE(link.connected);
    EXPECT_NE(link.socket, platform::noSocket);
    CloseLink(link);
    EXPECT_FALSE(link.connected);
    EXPECT_EQ(link.socket, platform::noSocket);
    renderer.finish();
}

TEST(SocketConnect, AFailureClosesAndReadsThePort) {
    FakeRenderer renderer;
    linkState().port = 0;
    RenderSocket link;
    link.connected = true;
    EXPECT_FALSE(SocketConnect(link, deadPort()));
    EXPECT_FALSE(link.connected);
    EXPECT_EQ(link.socket, platform::noSocket);
    EXPECT_EQ(linkState().port, renderer.port());
}

TEST(SocketConnect, ABadAddressTouchesNothing) {
    FakeRenderer renderer;
    linkState().port = 1;
    RenderSocket link;
    link.address = "no address";
    link.connected = true;
    EXPECT_FALSE(SocketConnect(link, renderer.port()));
    EXPECT_TRUE(link.connected);
    EXPECT_EQ(linkState().port, 1);
}

TEST(SocketConnect, ClosesTheConnectionThatItReplaces) {
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { EXPECT_TRUE(peer.atEnd()); },
                    [](Peer& peer) { EXPECT_EQ(peer.word(), 5U); }});
    RenderSocket link;
    EXPECT_TRUE(SocketConnect(link, renderer.port()));
    EXPECT_TRUE(SocketConnect(link, renderer.port()));
    SendWord(link, 5);
    renderer.finish();
    CloseLink(link);
}

TEST(SocketConnect, SmallWritesGoOutAtOnce) {
    FakeRenderer renderer;
    RenderSocket link;
    EXPECT_TRUE(SocketConnect(link, renderer.port()));
    EXPECT_TRUE(sendsWithoutDelay(link.socket));
    CloseLink(link);
}

TEST(SendBytes, DoesNothingOnAClosedLink) {
    RenderSocket link;
    link.connected = true;
    SendBytes(link, "x", 1);
    SendWord(link, 1);
    SendString(link, u"text");
    SendStringAndWord(link, u"text", 1);
    EXPECT_TRUE(link.connected);
}

TEST(SendWords, AreLittleEndianAndStringsCountTheirUnits) {
    FakeRenderer renderer;
    std::string received;
    renderer.serve({[&](Peer& peer) { received = peer.bytes(4 + 4 + 6 + 4); }});
    RenderSocket link;
    SocketConnect(link, renderer.port());
    SendWord(link, 0x04030201);
    SendString(link, u"a\U0001F600");
    SendString(link, u"");
    renderer.finish();
    EXPECT_EQ(received, std::string("\1\2\3\4\3\0\0\0a\0\x3D\xD8\0\xDE\0\0\0\0", 18));
    CloseLink(link);
}

TEST(SendStringAndWord, AreTheSameBytesInOnePieceOrMore) {
    // 252 units are the most that go in one piece.
    for (const std::size_t units : {0U, 1U, 251U, 252U, 253U, 5000U}) {
        const WideString text(units, u'\u4E2D');
        const std::size_t size = 4 + 2 * units + 4;
        FakeRenderer renderer;
        std::string received;
        renderer.serve({[&](Peer& peer) { received = peer.bytes(2 * size); }});
        RenderSocket link;
        SocketConnect(link, renderer.port());
        SendString(link, text);
        SendWord(link, 7);
        SendStringAndWord(link, text, 7);
        renderer.finish();
        EXPECT_EQ(received.substr(size), received.substr(0, size)) << units;
        CloseLink(link);
    }
}

TEST(SendBytes, ABrokenConnectionClosesTheLinkAndReadsThePort) {
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { peer.close(); }});
    RenderSocket link;
    SocketConnect(link, renderer.port());
    renderer.finish();
    linkState().port = 1;
    // The first sends may still go into the system's buffer.
    for (int i = 0; i < 1000 && link.socket != platform::noSocket; ++i) {
        SendBytes(link, "x", 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(link.socket, platform::noSocket);
    EXPECT_FALSE(link.connected);
    EXPECT_EQ(linkState().port, renderer.port());
}

TEST(ReceiveString, IsAByteCountAndThatManyBytesOfUtf8) {
    EXPECT_EQ(receivedString(wordBytes(5) + "a\xE4\xB8\xAD" + "b"), u"a\u4E2Db");
}

TEST(ReceiveString, TakesLongTextsAndNoAbsurdOnes) {
    EXPECT_EQ(receivedString(wordBytes(64U << 20) + "a").size(), 64U << 20);
    EXPECT_EQ(receivedString(wordBytes((64U << 20) + 1) + "a"), u"");
}

TEST(ReceiveString, TakesTwiceTheLengthFromTheConnection) {
    FakeRenderer renderer;
    renderer.serve({[&](Peer& peer) { peer.send(wordBytes(2) + "abcd" + "next"); }});
    RenderSocket link;
    SocketConnect(link, renderer.port());
    EXPECT_EQ(ReceiveString(link), u"ab");
    std::uint32_t next = 0;
    EXPECT_TRUE(ReceiveWord(link, next));
    EXPECT_EQ(wordBytes(next), "next");
    renderer.finish();
}

TEST(ReceiveString, WithoutALengthIsEmpty) {
    EXPECT_EQ(receivedString(""), u"");
    EXPECT_EQ(receivedString(wordBytes(0) + "text"), u"");
    EXPECT_EQ(receivedString(wordBytes(0xFFFFFFFF) + "text"), u"");
    EXPECT_EQ(receivedString(wordBytes(0x80000000) + "text"), u"");
}

TEST(ReceiveString, WithoutALengthReadsNothingMore) {
    for (const std::uint32_t length : {0U, 0xFFFFFFFFU}) {
        FakeRenderer renderer;
        renderer.serve({[&](Peer& peer) { peer.send(wordBytes(length) + "text"); }});
        RenderSocket link;
        SocketConnect(link, renderer.port());
        EXPECT_EQ(ReceiveString(link), u"");
        std::uint32_t next = 0;
        EXPECT_TRUE(ReceiveWord(link, next));
        EXPECT_EQ(wordBytes(next), "text");
        renderer.finish();
    }
}

TEST(ReceiveString, TakesWhatOneReadBrings) {
    FakeRenderer renderer;
    renderer.serve({[&](Peer& peer) {
        peer.send(wordBytes(4) + "ab");
        EXPECT_TRUE(peer.atEnd());
    }});
    RenderSocket link;
    SocketConnect(link, renderer.port());
    // The peer stays: a second read would wait for it.
    EXPECT_EQ(ReceiveString(link), WideString(u"ab\0\0", 4));
    CloseLink(link);
    renderer.finish();
}

TEST(CloseLink, DoesNotReadThePort) {
    FakeRenderer renderer;
    RenderSocket link;
    SocketConnect(link, renderer.port());
    linkState().port = 1;
    CloseLink(link);
    EXPECT_EQ(ReceiveString(link), u"");
    EXPECT_EQ(linkState().port, 1);
}

// On Windows the socket library ends with the record, for the whole process and so for the renderer
// of this test too.
#if !defined(_WIN32)

TEST(RenderSocketRecord, ClosesItsConnectionWhenItGoes) {
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { EXPECT_TRUE(peer.atEnd()); }});
    {
        RenderSocket link;
        SocketConnect(link, renderer.port());
    }
    renderer.finish();
}

#endif

// A host may unload the library in the middle of everything.
TEST(RenderSocketRecord, ClosesItsConnectionWhenTheLibraryIsUnloaded) {
    LoadedLibrary library(Q7_LIBRARY);
    auto* const createSession = library.find<decltype(CreateSession)>("CreateSession");
    auto* const startLink = library.find<decltype(StartLinkQ7Render)>("StartLinkQ7Render");
    auto* const connect = library.find<decltype(Q7ProcessedSyncConnect)>("Q7ProcessedSyncConnect");
    auto* const destroySession = library.find<decltype(DestroySession)>("DestroySession");
    ASSERT_TRUE(createSession && startLink && connect && destroySession);
    bool sawTheEnd = false;
    FakeRenderer renderer;
    renderer.serve({[&](Peer& peer) {
        EXPECT_EQ(peer.word(), 7U);
        peer.string();
        peer.sendWord(0);
        sawTheEnd = peer.atEnd();
    }});
    EXPECT_EQ(startLink(Q7T("")), 0U);
    void* const session = createSession();
    EXPECT_EQ(connect(session), ConnectRet_Accepted);
    destroySession(session);
    library.unload();
    EXPECT_FALSE(library.isInProcess());
    renderer.finish();
    EXPECT_TRUE(sawTheEnd);
}

// Nor need it unload the library before it ends.
TEST(RenderSocketRecord, ClosesItsConnectionWhenTheProcessEnds) {
    for (const char* const way : {"end", "unload"}) {
        FakeRenderer renderer(4);
        bool sawTheEnd = false;
        renderer.serve({[&](Peer& peer) {
            EXPECT_EQ(peer.word(), 7U);
            peer.string();
            peer.sendWord(0);
            sawTheEnd = peer.atEnd();
        }});
        const TemporaryFolder folder;
        ChildProgram host(Q7_ENDING_HOST, {way}, folder.path());
        EXPECT_EQ(host.exitCode(), 7) << host.printed();
        if (host.exitCode() == 7) renderer.finish();
        EXPECT_TRUE(sawTheEnd);
#if defined(_WIN32)
        // The socket library ends with the library alone.
        EXPECT_EQ(host.printed(), std::string(way) == "unload" ? "WSACleanup\n" : "");
#endif
    }
}

TEST(ReceiveString, AShortReplyLeavesZeros) {
    EXPECT_EQ(receivedString(wordBytes(4) + "ab"), WideString(u"ab\0\0", 4));
    EXPECT_EQ(receivedString(wordBytes(3)), WideString(u"\0\0\0", 3));
}

TEST(ReceiveString, ALongReplyIsCutToItsCount) {
    EXPECT_EQ(receivedString(wordBytes(2) + "abcd"), u"ab");
    EXPECT_EQ(receivedString(wordBytes(2) + std::string(10000, 'x')), u"xx");
}

TEST(ReceiveString, AnAbsurdCountIsNoReply) {
    EXPECT_EQ(receivedString(wordBytes(0x7FFFFFFF) + "text"), u"");
}

TEST(ReceiveString, OnAClosedLinkIsEmpty) {
    RenderSocket link;
    EXPECT_EQ(ReceiveString(link), u"");
}

TEST(SendGate, RefusesWithoutARendererOrAStatus) {
    RenderSocket link;
    EXPECT_FALSE(SendGate(link));
    FakeRenderer renderer(0);
    linkState().port = renderer.port();
    EXPECT_FALSE(SendGate(link));
    EXPECT_FALSE(renderer.hasCaller());
}

TEST(SendGate, EveryOtherStatusPasses) {
    for (const std::uint16_t status : std::initializer_list<std::uint16_t>{1, 2, 4, 77}) {
        FakeRenderer renderer(status);
        linkState().port = renderer.port();
        renderer.setFlag(1);
        RenderSocket link;
        EXPECT_TRUE(SendGate(link));
        EXPECT_TRUE(link.connected);
        EXPECT_EQ(renderer.flag(), 1);
        CloseLink(link);
    }
}

TEST(SendGate, RefusesWhileTheLinkIsInUse) {
    FakeRenderer renderer;
    linkState().port = renderer.port();
    RenderSocket link;
    link.connected = true;
    EXPECT_FALSE(SendGate(link));
    EXPECT_FALSE(renderer.hasCaller());
    EXPECT_EQ(link.socket, platform::noSocket);
}

TEST(SendGate, ADeadPortPassesAndIsReadAnewForTheNextMessage) {
    FakeRenderer renderer;
    renderer.serve({[](Peer& peer) { EXPECT_EQ(peer.word(), 1U); }});
    linkState().port = 0;
    RenderSocket link;
    EXPECT_TRUE(SendGate(link));
    EXPECT_EQ(link.socket, platform::noSocket);
    SendWord(link, 99);
    CloseLink(link);
    EXPECT_EQ(linkState().port, renderer.port());
    EXPECT_TRUE(SendGate(link));
    SendWord(link, 1);
    CloseLink(link);
    renderer.finish();
}

TEST(SyncRequest, EachReplyHasItsResult) {
    const std::pair<std::uint32_t, SyncResult> rows[] = {
        {1, SyncResult::RefusedByReply1}, {2, SyncResult::RefusedByReply2},
        {3, SyncResult::RefusedByReply3}, {4, SyncResult::Failed},
        {5, SyncResult::Failed},          {0xFFFFFFFF, SyncResult::Failed}};
    EXPECT_EQ(static_cast<int>(SyncResult::Accepted), 0);
    EXPECT_EQ(static_cast<int>(SyncResult::RefusedByReply3), 2);
    EXPECT_EQ(static_cast<int>(SyncResult::RefusedByReply2), 4);
    EXPECT_EQ(static_cast<int>(SyncResult::RefusedByReply1), 6);
    EXPECT_EQ(static_cast<int>(SyncResult::Failed), 7);
    for (const auto& [reply, expected] : rows) {
        SessionCore session;
        const auto script = [reply = reply](Peer& peer) {
            peer.word();
            peer.string();
            peer.sendWord(reply);
            EXPECT_TRUE(peer.atEnd());
        };
        EXPECT_EQ(resultOf(script, session), expected);
        EXPECT_FALSE(session.connected);
        EXPECT_EQ(renderSocket().socket, platform::noSocket);
        EXPECT_FALSE(renderSocket().connected);
    }
}

TEST(SyncRequest, AnAcceptedOneStaysOpen) {
    SessionCore session;
    session.modelFilePath = u"C:\\m\u4E2D";
    const auto script = [](Peer& peer) {
        EXPECT_EQ(peer.word(), 8U);
        EXPECT_EQ(peer.string(), u"C:\\m\u4E2D");
        peer.sendWord(0);
        EXPECT_EQ(peer.word(), 42U);
    };
    FakeRenderer renderer;
    renderer.serve({script});
    EXPECT_EQ(SyncRequest(session, renderer.port(), CommandWord::GroupSync), SyncResult::Accepted);
    EXPECT_TRUE(session.connected);
    EXPECT_TRUE(renderSocket().connected);
    SendWord(renderSocket(), 42);
    renderer.finish();
    CloseLink(renderSocket());
}

TEST(SyncRequest, NoAnswerIsAFailure) {
    SessionCore session;
    const auto script = [](Peer& peer) {
        peer.word();
        peer.string();
        peer.close();
    };
    EXPECT_EQ(resultOf(script, session), SyncResult::Failed);
    EXPECT_FALSE(session.connected);
}

TEST(SyncRequest, ARefusalLeavesTheSessionsFlagAsItWas) {
    SessionCore session;
    session.connected = true;
    const auto script = [](Peer& peer) {
        peer.word();
        peer.string();
        peer.sendWord(3);
    };
    EXPECT_EQ(resultOf(script, session), SyncResult::RefusedByReply3);
    EXPECT_TRUE(session.connected);
}

TEST(SyncRequest, ARendererThatCannotBeReachedCountsAsConnected) {
    SessionCore session;
    EXPECT_EQ(SyncRequest(session, deadPort(), CommandWord::PlainSync), SyncResult::Accepted);
    EXPECT_TRUE(session.connected);
    EXPECT_FALSE(renderSocket().connected);
}

TEST(SyncRequest, OnlyTheRelevantOneTellsTheMainModel) {
    for (const CommandWord word : {CommandWord::PlainSync, CommandWord::GroupSync,
                                   CommandWord::RawSyncWithPaths, CommandWord::RelevantSync}) {
        SessionCore session;
        session.modelFilePath = u"part";
        session.proxyParent = u"proxyparent=main";
        std::string received;
        const auto script = [&](Peer& peer) {
            EXPECT_EQ(peer.word(), static_cast<std::uint32_t>(word));
            EXPECT_EQ(peer.string(), u"part");
            if (word == CommandWord::RelevantSync) {
                EXPECT_EQ(peer.string(), u"proxyparent=main");
            }
            peer.sendWord(1);
            EXPECT_TRUE(peer.atEnd());
        };
        EXPECT_EQ(resultOf(script, session, word), SyncResult::RefusedByReply1);
    }
}
