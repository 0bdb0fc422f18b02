#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/platform/installation.h"

namespace {

HostString hostText(const std::string& text) {
    const WideString wide = utf8ToWide(text);
    return {wide.begin(), wide.end()};
}

// A handshake with a renderer that is linked already reads the port and does nothing else.
void makePortKnown() {
    EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
}

FakeRenderer::Script accepting(std::uint32_t word, const FakeRenderer::Script& rest) {
    return [=](Peer& peer) {
        EXPECT_EQ(peer.word(), word);
        EXPECT_EQ(peer.string(), u"C:\\model");
        peer.sendWord(0);
        rest(peer);
        EXPECT_TRUE(peer.atEnd());
    };
}

template <class Exception, class Function>
void expectThrow(Function function, void* session, const char* text) {
    try {
        function(session);
        ADD_FAILURE() << "no exception " << text;
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.what(), text);
    }
}

template <class Exception>
void expectRawExportsThrow(void* session, const char* text) {
    for (const auto connect : {Connect, Q7RawSyncConnect})
        expectThrow<Exception>(connect, session, text);
    for (const auto send : {SendModel, Q7SendRaw})
        expectThrow<Exception>(send, session, text);
}

class Linked : public testing::Test {
  protected:
    Linked() {
        makePortKnown();
        SetModelFilePath(host.session, Q7T("C:\\model"));
    }

    FakeRenderer renderer;
    Host host;
};

}  // namespace

TEST(GetQ7RenderStatus, ShowsTheRenderersStateAndTakesItsFlag) {
    std::uint8_t flag = 77;
    EXPECT_EQ(GetQ7RenderStatus(nullptr), 0U);
    FakeRenderer renderer(4);
    renderer.setFlag(1);
    EXPECT_EQ(GetQ7RenderStatus(nullptr), 4U);
    EXPECT_EQ(GetQ7RenderStatus(&flag), 4U);
    EXPECT_EQ(flag, 1);
    EXPECT_EQ(GetQ7RenderStatus(&flag), 4U);
    EXPECT_EQ(flag, 0);
    renderer.setFlag(256);
    flag = 77;
    EXPECT_EQ(GetQ7RenderStatus(&flag), 4U);
    EXPECT_EQ(flag, 0);
}

TEST(SetQ7RenderPath, TellsWhetherAFolderIsKnown) {
    Installation installation;
    EXPECT_EQ(SetQ7RenderPath(hostText(installation.folder()).c_str()), 1);
    EXPECT_EQ(SetQ7RenderPath(Q7T("no such folder")), 1);
    installation.unregister();
    EXPECT_EQ(SetQ7RenderPath(Q7T("no such folder")), 0);
    EXPECT_EQ(SetQ7RenderPath(Q7T("")), 0);
}

TEST(Q7GetRenderVersion, StoresWhatFitsByItsOwnTest) {
    const Installation installation("2.4.1");
    HostString buffer(8, Q7Char('x'));
    EXPECT_EQ(Q7GetRenderVersion(nullptr, 0), 6U);
    EXPECT_EQ(Q7GetRenderVersion(buffer.data(), 4), 6U);
    EXPECT_EQ(buffer, HostString(8, Q7Char('x')));
    // The length alone is enough, and the terminator goes one further.
    EXPECT_EQ(Q7GetRenderVersion(buffer.data(), 5), 6U);
    EXPECT_EQ(buffer.substr(0, 5), Q7T("2.4.1"));
    EXPECT_EQ(buffer[5], Q7Char(0));
    EXPECT_EQ(buffer[6], Q7Char('x'));
    EXPECT_EQ(Q7GetRenderVersion(buffer.data(), 8), 6U);
}

TEST(Q7GetRenderVersion, WithoutAnInstallationIsOne) {
    const Installation none("9", false);
    Q7Char buffer[2] = {Q7Char('x'), Q7Char('x')};
    EXPECT_EQ(Q7GetRenderVersion(nullptr, 0), 1U);
    EXPECT_EQ(Q7GetRenderVersion(buffer, 0), 1U);
    EXPECT_EQ(buffer[0], Q7Char(0));
    EXPECT_EQ(buffer[1], Q7Char('x'));
}

TEST(StartLinkQ7Render, GivesItsCode) {
    testing::internal::CaptureStdout();
    {
        const Installation none("9", false);
        SetQ7RenderPath(Q7T(""));
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 1U);
    }
    {
        const Installation old("1.7.1");
        SetQ7RenderPath(Q7T(""));
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 3U);
    }
    {
        FakeRenderer renderer(4);
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 0U);
        renderer.setStatus(2);
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 4U);
    }
    {
        FakeRenderer renderer(1);
        renderer.serve({[&](Peer& peer) {
            EXPECT_EQ(peer.word(), 3U);
            EXPECT_EQ(peer.string(), u"C:\\my file");
            renderer.setFlag(2);
        }});
        EXPECT_EQ(StartLinkQ7Render(Q7T("C:\\my file")), 6U);
        renderer.finish();
        renderer.setPort(65535);
        EXPECT_EQ(StartLinkQ7Render(Q7T("file")), 8U);
    }
    testing::internal::GetCapturedStdout();
    const Installation none("9", false);
    SetQ7RenderPath(Q7T(""));
}

TEST(Connect, WithNoRendererCountsAsConnectedAndSendsGoNowhere) {
    const Installation installation("2.4");
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    const std::string before = host.savedBytes();
    testing::internal::CaptureStdout();
    EXPECT_EQ(Connect(host.session), ConnectRet_Accepted);
    EXPECT_EQ(HasConnected(host.session), 1);
    Q7SendRaw(host.session);
    Q7SendProcessed(host.session);
    SendModel(host.session);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Port share mem error!\n");
    EXPECT_EQ(host.savedBytes(), before);
    DisConnect(host.session);
    EXPECT_EQ(HasConnected(host.session), 0);
    DisConnect(host.session);
    EXPECT_EQ(HasConnected(host.session), 0);
}

TEST(Connect, TheFirstAttemptAfterTheRendererMovedFailsAndTheNextFindsItsWay) {
    const Host host;
    FakeRenderer renderer;
    const auto listener = platform::listenOnLoopback();
    renderer.setPort(platform::portOf(listener));
    makePortKnown();
    platform::closeSocket(listener);
    renderer.setPort(renderer.port());
    renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
        peer.sendWord(1);
    }});
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_RefusedByReply1);
    renderer.finish();
}

TEST_F(Linked, TheConnectFormsAnnounceThemselves) {
    const Installation installation("2.4");
    renderer.serve({accepting(11, [](Peer&) {}), accepting(11, [](Peer&) {}),
                    accepting(7, [](Peer&) {}), accepting(8, [](Peer&) {})});
    for (const auto connect : {Connect, Q7RawSyncConnect, Q7ProcessedSyncConnect}) {
        EXPECT_EQ(connect(host.session), ConnectRet_Accepted);
        EXPECT_EQ(HasConnected(host.session), 1);
        DisConnect(host.session);
        EXPECT_EQ(HasConnected(host.session), 0);
    }
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    DisConnect(host.session);
    renderer.finish();
}

TEST_F(Linked, ARelevantPathNamesTheMainModel) {
    SetRelevantModelFilePath(host.session, Q7T("C:\\part"));
    renderer.serve({[](Peer& peer) {
        EXPECT_EQ(peer.word(), 17U);
        EXPECT_EQ(peer.string(), u"C:\\part");
        EXPECT_EQ(peer.string(), u"proxyparent=C:\\model");
        peer.sendWord(0);
        EXPECT_TRUE(peer.atEnd());
    }});
    EXPECT_EQ(Q7ProcessedSyncConnect(host.session), ConnectRet_Accepted);
    DisConnect(host.session);
    renderer.finish();
}

TEST_F(Linked, ARefusalIsNotConnected) {
    const std::pair<std::uint32_t, ConnectRet> rows[] = {{3, ConnectRet_RefusedByReply3},
                                                         {2, ConnectRet_RefusedByReply2},
                                                         {1, ConnectRet_RefusedByReply1},
                                                         {5, ConnectRet_Failed}};
    std::vector<FakeRenderer::Script> scripts;
    for (const auto& row : rows) {
        scripts.emplace_back([reply = row.first](Peer& peer) {
            peer.word();
            peer.string();
            peer.sendWord(reply);
            EXPECT_TRUE(peer.atEnd());
        });
    }
    renderer.serve(scripts);
    for (const auto& row : rows) {
        EXPECT_EQ(Q7GroupSyncConnect(host.session), row.second);
        EXPECT_EQ(HasConnected(host.session), 0);
    }
    renderer.finish();
}

TEST_F(Linked, GetSendModelTypeAsksOnAConnectionOfItsOwn) {
    renderer.serve({[](Peer& peer) {
                        EXPECT_EQ(peer.word(), 9U);
                        EXPECT_EQ(peer.string(), u"name");
                        peer.sendWord(6);
                        EXPECT_TRUE(peer.atEnd());
                    },
                    accepting(8, [](Peer&) {})});
    EXPECT_EQ(GetSendModelType(host.session, Q7T("name")), 6);
    EXPECT_EQ(GetSendModelType(host.session, nullptr), 0);
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    EXPECT_EQ(GetSendModelType(host.session, Q7T("name")), 0);
    DisConnect(host.session);
    renderer.finish();
}

TEST_F(Linked, ARawSendArrivesAsItWouldBeSaved) {
    const Installation installation("2.5");
    host.addNode(Q7T("a"), {Q7T("m"), Q7T("n")});
    MaxDuplicateNode(host.session, Q7T("a"), Q7T("b"), translation(1, 2, 3).data());
    std::vector<ReceivedModel> models;
    renderer.serve({accepting(11, [&](Peer& peer) {
        models.push_back(ModelReceiver(peer).receive(true));
        models.push_back(ModelReceiver(peer).receive(false));
    })});
    EXPECT_EQ(Q7RawSyncConnect(host.session), ConnectRet_Accepted);
    SendModel(host.session);
    DisConnect(host.session);
    renderer.finish();
    const auto saved = host.saved();
    ASSERT_EQ(models.size(), 2U);
    for (const ReceivedModel& received : models) {
        EXPECT_EQ(received.model.headerText, saved.headerText);
        EXPECT_EQ(received.model.materials, saved.materials);
        EXPECT_EQ(received.model.instances, saved.instances);
        EXPECT_EQ(received.model.meshes, saved.meshes);
    }
    EXPECT_EQ(models[0].pathsJson, u"{\"instance_paths\":[\"path/m\",\"path/n\",\"//m\",\"//n\"]}");
}

TEST_F(Linked, AProcessedSendArrivesMerged) {
    const Installation installation("2.5");
    host.addNode(Q7T("a"), {Q7T("m")});
    host.addNode(Q7T("b"), {Q7T("m")});
    SetGenMatInstances(host.session, 1);
    const std::string before = host.savedBytes();
    ReceivedModel received;
    renderer.serve(
        {accepting(7, [&](Peer& peer) { received = ModelReceiver(peer).receive(false); })});
    EXPECT_EQ(Q7ProcessedSyncConnect(host.session), ConnectRet_Accepted);
    Q7SendProcessed(host.session);
    DisConnect(host.session);
    renderer.finish();
    EXPECT_EQ(namesOf(received.model.meshes),
              (std::vector<WideString>{u"m_q7_merged", u"@g@m@q7_"}));
    EXPECT_EQ(host.savedBytes(), before);
}

TEST_F(Linked, DeletedNodesLeaveWithTheNextSend) {
    const Installation installation("1.9");
    host.addNode(Q7T("a"), {Q7T("m")});
    host.addNode(Q7T("b"), {Q7T("m")});
    MaxDeleteNode(host.session, Q7T("a"));
    host.addNode(Q7T("a"), {Q7T("m")});
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
    renderer.serve({accepting(7, [](Peer& peer) { ModelReceiver(peer).receive(false); })});
    Q7RawSyncConnect(host.session);
    Q7SendRaw(host.session);
    EXPECT_EQ(Q7InstanceCount(host.session), 2U);
    DisConnect(host.session);
    renderer.finish();
}

TEST_F(Linked, ARendererThatGoesAwayAtAnyAcknowledgementDoesNoHarm) {
    const Installation installation("2.5");
    host.addNode(Q7T("a"), {Q7T("m")});
    const std::string before = host.savedBytes();
    // With paths: 2 lists, 5 arrays, the paths, the end; plain: the same without the paths.
    for (int ack = 1; ack <= 17; ++ack) {
        FakeRenderer dying;
        makePortKnown();
        dying.serve({[&](Peer& peer) {
            peer.word();
            peer.string();
            peer.sendWord(0);
            int done = 0;
            for (const bool withPaths : {true, false}) {
                ModelReceiver receiver(peer);
                receiver.mayAcknowledge = [&](int) { return ++done != ack; };
                try {
                    receiver.receive(withPaths);
                } catch (const std::runtime_error&) {
                    EXPECT_EQ(done, ack);
                    return;
                }
            }
            ADD_FAILURE() << "acknowledgement " << ack << " was never asked for";
        }});
        EXPECT_EQ(Q7RawSyncConnect(host.session), ConnectRet_Accepted);
        Q7SendRaw(host.session);
        dying.finish();
        EXPECT_EQ(HasConnected(host.session), 1);
        DisConnect(host.session);
        EXPECT_EQ(host.savedBytes(), before);
    }
}

TEST(Connect, AVersionThatIsNoneThrowsThroughTheExports) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    for (const char* const version : {"beta", "v2.4", "2.", ".4"}) {
        const Installation installation(version);
        expectRawExportsThrow<std::invalid_argument>(host.session, "invalid stoi argument");
    }
    const Installation installation("2.4000000000");
    expectRawExportsThrow<std::out_of_range>(host.session, "stoi argument out of range");
    EXPECT_EQ(HasConnected(host.session), 0);
    EXPECT_EQ(Q7InstanceCount(host.session), 1U);
}

TEST(Connect, OnlyRawExportsReadTheVersion) {
    const Installation installation("v2.4");
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    testing::internal::CaptureStdout();
    EXPECT_EQ(Q7ProcessedSyncConnect(host.session), ConnectRet_Accepted);
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    EXPECT_NO_THROW(Q7SendProcessed(host.session));
    DisConnect(host.session);
    testing::internal::GetCapturedStdout();
}

TEST(ConnectRet, HasItsNumbers) {
    EXPECT_EQ(ConnectRet_Accepted, 0);
    EXPECT_EQ(ConnectRet_RefusedByReply3, 2);
    EXPECT_EQ(ConnectRet_RefusedByReply2, 4);
    EXPECT_EQ(ConnectRet_RefusedByReply1, 6);
    EXPECT_EQ(ConnectRet_Failed, 7);
    static_assert(sizeof(ConnectRet) == 4);
}
