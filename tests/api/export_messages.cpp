#include <gtest/gtest.h>

#include <array>

#include "tests/host.h"
#include "tests/message_recorder.h"

namespace {

class Messages : public testing::Test {
  protected:
    Messages() { SetModelFilePath(host.session, Q7T("C:\\m \u4E2D")); }

    // The renderer's answer to a question for metadata, whose form is checked.
    void answer(const std::string& reply) {
        recorder.renderer.serve({[reply](Peer& peer) {
            EXPECT_EQ(peer.word(), 10U);
            EXPECT_EQ(peer.string(), u"C:\\m \u4E2D");
            peer.send(reply);
            EXPECT_TRUE(peer.atEnd());
        }});
    }

    MessageRecorder recorder;
    Host host;
};

std::string counted(const std::string& text) {
    const auto count = static_cast<std::uint32_t>(text.size());
    std::string bytes(sizeof count, '\0');
    std::memcpy(bytes.data(), &count, sizeof count);
    return bytes + text;
}

using SceneData = std::array<unsigned char, 36>;

SceneData sceneData(unsigned char first) {
    SceneData data;
    for (std::size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<unsigned char>(first + i);
    return data;
}

std::string asBytes(const SceneData& data) {
    return {data.begin(), data.end()};
}

// Each message once, on a session that has something for each.
void sendAll(void* session) {
    SendCameraTransformFov(session, asBytes(sceneData(0)).c_str(), 1);
    Q7SendCamera(session);
    Q7SendMetaData(session);
    Q7SendScenes(session);
    Q7SendLights(session);
    SendScenes(session, Q7T("text"));
    SendLightsDataXml(session, Q7T("a"), Q7T("b"));
    Q7SendCameraAnims(session);
}

}  // namespace

TEST_F(Messages, SendCameraTransformFovPassesItsBytesOn) {
    // A zero among the bytes ends nothing.
    const std::string transform = asBytes(sceneData(230));
    MessageBytes message =
        recorder.sentBy([&] { SendCameraTransformFov(host.session, transform.data(), -0.75F); });
    EXPECT_EQ(message.word(), 5U);
    EXPECT_EQ(message.take(36), transform);
    EXPECT_EQ(message.real(), -0.75F);
    EXPECT_EQ(message.string(), u"C:\\m \u4E2D");
    EXPECT_TRUE(message.atEnd());
}

TEST_F(Messages, NameTheSessionsOwnModel) {
    const std::string transform = asBytes(sceneData(1));
    SetRelevantModelFilePath(host.session, Q7T("C:\\part"));
    MessageBytes message =
        recorder.sentBy([&] { SendCameraTransformFov(host.session, transform.data(), 1); });
    message.take(44);
    EXPECT_EQ(message.string(), u"C:\\part");
    recorder.renderer.serve({[](Peer& peer) {
        EXPECT_EQ(peer.word(), 10U);
        EXPECT_EQ(peer.string(), u"C:\\part");
    }});
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), 1U);
    recorder.renderer.finish();
    const Host empty;
    MessageBytes ofNoModel =
        recorder.sentBy([&] { SendCameraTransformFov(empty.session, transform.data(), 1); });
    ofNoModel.take(44);
    EXPECT_EQ(ofNoModel.string(), u"");
    EXPECT_TRUE(ofNoModel.atEnd());
}

TEST_F(Messages, CameraAndMetadataEachSendTheirOwn) {
    Q7SetEntityFloatProperty(host.session, 0, nullptr, Q7T("fov"), 0.1F);
    Q7SetEntityStringProperty(host.session, 3, nullptr, Q7T("author"), Q7T("\u00E9"));
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(recorder.textOf(12, [&] { Q7SendCamera(host.session); }),
                  u"{\"fov\":0.10000000149011612,\"model_file_path\":\"C:\\\\m \u4E2D\"}");
        EXPECT_EQ(recorder.textOf(15, [&] { Q7SendMetaData(host.session); }),
                  u"{\"author\":\"\u00E9\",\"model_file_path\":\"C:\\\\m \u4E2D\"}");
    }
}

TEST_F(Messages, WithNothingToSayTheTextIsNull) {
    const Host empty;
    EXPECT_EQ(recorder.textOf(15, [&] { Q7SendMetaData(empty.session); }), u"null");
    EXPECT_EQ(recorder.textOf(12, [&] { Q7SendCamera(empty.session); }), u"null");
}

TEST_F(Messages, GetMetaDataStoresATextThatFits) {
    // Four characters of five units.
    const std::string reply = counted("a\u00E9\u4E2D\U0001F600");
    HostString buffer(8, Q7Char('x'));
    const HostString untouched = buffer;
    answer(reply);
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), 6U);
    recorder.renderer.finish();
    answer(reply);
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 100), 6U);
    recorder.renderer.finish();
    for (const std::uint32_t tooShort : {0U, 4U, 5U}) {
        answer(reply);
        EXPECT_EQ(Q7GetMetaData(host.session, buffer.data(), tooShort), 6U);
        recorder.renderer.finish();
        EXPECT_EQ(buffer, untouched);
    }
    answer(reply);
    EXPECT_EQ(Q7GetMetaData(host.session, buffer.data(), 6), 6U);
    recorder.renderer.finish();
    EXPECT_EQ(buffer.substr(0, 5), Q7T("a\u00E9\u4E2D\U0001F600"));
    EXPECT_EQ(buffer[5], Q7Char(0));
    EXPECT_EQ(buffer[6], Q7Char('x'));
}

TEST_F(Messages, GetMetaDataWithoutAnAnswerIsOne) {
    const auto minusOne = std::string(4, '\xFF');
    for (const std::string& reply : {std::string(), std::string(4, '\0'), minusOne}) {
        Q7Char buffer[2] = {Q7Char('x'), Q7Char('x')};
        recorder.renderer.serve({[&](Peer& peer) {
            peer.word();
            peer.string();
            peer.send(reply);
        }});
        EXPECT_EQ(Q7GetMetaData(host.session, buffer, 2), 1U);
        recorder.renderer.finish();
        EXPECT_EQ(buffer[0], Q7Char(0));
        EXPECT_EQ(buffer[1], Q7Char('x'));
    }
}

TEST_F(Messages, GetMetaDataCountsTheZeroesOfAShortAnswer) {
    recorder.renderer.serve({[](Peer& peer) {
        peer.word();
        peer.string();
        peer.send(std::string("\x04\0\0\0ab", 6));
    }});
    HostString buffer(6, Q7Char('x'));
    EXPECT_EQ(Q7GetMetaData(host.session, buffer.data(), 6), 5U);
    recorder.renderer.finish();
    EXPECT_EQ(buffer, HostString(Q7T("ab\0\0\0x"), 6));
}

TEST_F(Messages, ScenesAndLightsNameTheModelAlsoWhenEmpty) {
    const Host empty;
    EXPECT_EQ(recorder.textOf(13, [&] { Q7SendScenes(host.session); }),
              u"{\"model_file_path\":\"C:\\\\m \u4E2D\"}");
    EXPECT_EQ(recorder.textOf(14, [&] { Q7SendLights(host.session); }),
              u"{\"model_file_path\":\"C:\\\\m \u4E2D\"}");
    EXPECT_EQ(recorder.textOf(13, [&] { Q7SendScenes(empty.session); }),
              u"{\"model_file_path\":\"\"}");
    EXPECT_EQ(recorder.textOf(14, [&] { Q7SendLights(empty.session); }),
              u"{\"model_file_path\":\"\"}");
}

TEST_F(Messages, ScenesAndLightsStayAndTheirKeysAreInByteOrder) {
    Q7AddLight(host.session, Q7T("lamp"));
    Q7AddScene(host.session, Q7T("day"));
    Q7SetEntityIntProperty(host.session, 2, Q7T("day"), Q7T("z"), 1);
    Q7SetEntityIntProperty(host.session, 2, Q7T("day"), Q7T("A"), 2);
    Q7SetPathElementName(host.session, Q7T("1"), Q7T("one"));
    for (int again = 0; again < 2; ++again) {
        EXPECT_EQ(recorder.textOf(14, [&] { Q7SendLights(host.session); }),
                  u"{\"groups\":[{\"id\":\"1\",\"name\":\"one\"}],\"lights\":[null],"
                  u"\"model_file_path\":\"C:\\\\m \u4E2D\"}");
        EXPECT_EQ(recorder.textOf(13, [&] { Q7SendScenes(host.session); }),
                  u"{\"model_file_path\":\"C:\\\\m \u4E2D\",\"scenes\":[{\"A\":2,\"z\":1}]}");
    }
}

TEST_F(Messages, SendScenesSendsTheRecordsOnceInTheirOrder) {
    const SceneData first = sceneData(1);
    const SceneData second = sceneData(250);
    AddScene(host.session, Q7T("b\u00E9"), Q7T(""), first.data(), 0xFFFFFFFE);
    AddScene(host.session, Q7T("a"), Q7T("label"), second.data(), 7);
    MessageBytes message = recorder.sentBy([&] { SendScenes(host.session, Q7T("te\u4E2Dt")); });
    EXPECT_EQ(message.word(), 4U);
    EXPECT_EQ(message.string(), u"te\u4E2Dt");
    EXPECT_EQ(message.word(), 2U);
    EXPECT_EQ(message.string(), u"b\u00E9");
    EXPECT_EQ(message.string(), u"");
    EXPECT_EQ(message.take(36), asBytes(first));
    EXPECT_EQ(message.word(), 0xFFFFFFFEU);
    EXPECT_EQ(message.string(), u"a");
    EXPECT_EQ(message.string(), u"label");
    EXPECT_EQ(message.take(36), asBytes(second));
    EXPECT_EQ(message.word(), 7U);
    EXPECT_TRUE(message.atEnd());

    MessageBytes again = recorder.sentBy([&] { SendScenes(host.session, Q7T("t")); });
    EXPECT_EQ(again.word(), 4U);
    EXPECT_EQ(again.string(), u"t");
    EXPECT_EQ(again.word(), 0U);
    EXPECT_TRUE(again.atEnd());
}

TEST_F(Messages, SendScenesWithAnEmptyTextOnlyConnects) {
    const SceneData data = sceneData(1);
    AddScene(host.session, Q7T("s"), Q7T("l"), data.data(), 3);
    EXPECT_TRUE(recorder.sentBy([&] { SendScenes(host.session, Q7T("")); }).atEnd());
    MessageBytes message = recorder.sentBy([&] { SendScenes(host.session, Q7T("t")); });
    message.word();
    message.string();
    EXPECT_EQ(message.word(), 1U);
}

TEST_F(Messages, SendLightsDataXmlPassesItsTextsOn) {
    MessageBytes message =
        recorder.sentBy([&] { SendLightsDataXml(host.session, Q7T("<a>\u4E2D</a>"), Q7T("")); });
    EXPECT_EQ(message.word(), 6U);
    EXPECT_EQ(message.string(), u"<a>\u4E2D</a>");
    EXPECT_EQ(message.string(), u"");
    EXPECT_TRUE(message.atEnd());
}

TEST_F(Messages, DuringAConnectionForAModelAreDroppedAndLeaveIt) {
    const SceneData data = sceneData(1);
    AddScene(host.session, Q7T("s"), Q7T("l"), data.data(), 3);
    Q7AddCameraAnims(host.session, Q7T("a"));
    recorder.renderer.serve({[](Peer& peer) {
        EXPECT_EQ(peer.word(), 8U);
        peer.string();
        peer.sendWord(0);
        EXPECT_EQ(peer.allBytes(), "");
    }});
    ASSERT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    Q7Char buffer = Q7Char('x');
    const Host other;
    for (void* const session : {host.session, other.session}) {
        sendAll(session);
        EXPECT_EQ(Q7GetMetaData(session, &buffer, 1), 0xFFFFFFFFU);
    }
    EXPECT_EQ(buffer, Q7Char('x'));
    EXPECT_EQ(HasConnected(host.session), 1);
    EXPECT_FALSE(recorder.renderer.hasCaller());
    DisConnect(host.session);
    recorder.renderer.finish();
    // What would have gone is still there.
    MessageBytes scenes = recorder.sentBy([&] { SendScenes(host.session, Q7T("t")); });
    scenes.word();
    scenes.string();
    EXPECT_EQ(scenes.word(), 1U);
    EXPECT_NE(recorder.textOf(18, [&] { Q7SendCameraAnims(host.session); }),
              u"{\"CameraAnimations\":[]}");
}

TEST_F(Messages, GoWhenASessionOnlyCountsAsConnected) {
    const auto listener = platform::listenOnLoopback();
    recorder.renderer.setPort(platform::portOf(listener));
    EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
    platform::closeSocket(listener);
    recorder.renderer.setPort(recorder.renderer.port());
    EXPECT_EQ(Q7GroupSyncConnect(host.session), ConnectRet_Accepted);
    EXPECT_EQ(HasConnected(host.session), 1);
    EXPECT_EQ(recorder.textOf(13, [&] { Q7SendScenes(host.session); }).front(), u'{');
    DisConnect(host.session);
}

TEST_F(Messages, WithStatusZeroNothingTouchesTheNetwork) {
    recorder.renderer.setStatus(0);
    sendAll(host.session);
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), 0xFFFFFFFFU);
    EXPECT_FALSE(recorder.renderer.hasCaller());
}

TEST_F(Messages, AnyOtherStatusWillDo) {
    for (const std::uint16_t status : std::initializer_list<std::uint16_t>{1, 2, 77}) {
        recorder.renderer.setStatus(status);
        EXPECT_EQ(recorder.textOf(13, [&] { Q7SendScenes(host.session); }).front(), u'{');
    }
}

TEST_F(Messages, ToAPortThatMovedGoNowhereAndTheNextFindItsWay) {
    const auto listener = platform::listenOnLoopback();
    recorder.renderer.setPort(platform::portOf(listener));
    EXPECT_EQ(StartLinkQ7Render(Q7T("")), 0U);
    platform::closeSocket(listener);
    recorder.renderer.setPort(recorder.renderer.port());
    const SceneData data = sceneData(1);
    AddScene(host.session, Q7T("s"), Q7T("l"), data.data(), 3);
    SendScenes(host.session, Q7T("lost"));
    EXPECT_FALSE(recorder.renderer.hasCaller());
    MessageBytes message = recorder.sentBy([&] { SendScenes(host.session, Q7T("t")); });
    message.word();
    EXPECT_EQ(message.string(), u"t");
    EXPECT_EQ(message.word(), 0U);
}

TEST(MessagesWithoutARenderer, GoNowhere) {
    const Host host;
    testing::internal::CaptureStdout();
    sendAll(host.session);
    EXPECT_EQ(Q7GetMetaData(host.session, nullptr, 0), 0xFFFFFFFFU);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}
