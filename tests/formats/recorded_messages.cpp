// Every message of every command word, and the bytes that it has always made.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/host.h"
#include "tests/message_recorder.h"
#include "tests/platform/installation.h"

namespace {

std::string hexLines(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        text += i % 32 == 0 ? (i == 0 ? "   " : "\n   ") : "";
        text += {' ', digits[byte >> 4], digits[byte & 15]};
    }
    return text + "\n";
}

void describeEntities(void* session) {
    const float floats[] = {0.1F, -2};
    Q7AddLight(session, Q7T("lamp"));
    Q7AddLight(session, Q7T("bare"));
    Q7AddLight(session, Q7T("deleted"));
    Q7AddScene(session, Q7T("day"));
    Q7AddScene(session, Q7T("deleted"));
    Q7AddCameraAnims(session, Q7T("path \u4E2D"));
    Q7AddCameraAnims(session, Q7T("deleted"));
    for (std::uint32_t type = 0; type <= 4; ++type) {
        for (const Q7Char* name : {Q7T("lamp"), Q7T("day"), Q7T("path \u4E2D")}) {
            Q7SetEntityIntProperty(session, type, name, Q7T("Int"), -3);
            Q7SetEntityFloatProperty(session, type, name, Q7T("Float"), 0.1F);
            Q7SetEntityFloatArrayProperty(session, type, name, Q7T("Floats"), floats, 2);
            Q7SetEntityStringProperty(session, type, name, Q7T("Text"), Q7T("\u00E9 \U0001F600"));
            Q7SetEntityStringProperty(session, type, name, Q7T("Gone"), Q7T("x"));
            Q7DeleteEntityProperty(session, type, name, Q7T("Gone"));
        }
    }
    Q7ResetEntityProperty(session, 3, Q7T(""));
    Q7SetEntityStringProperty(session, 3, Q7T(""), Q7T("Author"), Q7T("A \"quoted\" name"));
    Q7SetPathElementName(session, Q7T("1"), Q7T("first"));
    Q7SetPathElementName(session, Q7T("2"), Q7T("second"));
    Q7DeletePathElementName(session, Q7T("1"));
    Q7DeleteLight(session, Q7T("deleted"));
    Q7DeleteScene(session, Q7T("deleted"));
    Q7DeleteCameraAnims(session, Q7T("deleted"));
}

void describeAnimation(void* session) {
    const Q7Char* const name = Q7T("path \u4E2D");
    const Q7AnimProperty points[] = {{1, 2, 3, 4, 5}, {0.1, -1, 1e-9, 1e300, 0}};
    Q7AddAnimEntityFrame(session, 4, name, 9);
    Q7ClearAnimEntityFrames(session, 4, name);
    for (const double time : {2.0, 1.0, 0.1, 7.0})
        Q7AddAnimEntityFrame(session, 4, name, time);
    for (int frame = 0; frame < 3; ++frame) {
        for (const Q7Char* property : {Q7T("PositionX"), Q7T("Fov"), Q7T("Gone")})
            Q7SetAnimProperty(session, 4, name, property, frame, points);
    }
    Q7SetAnimArrayProperty(session, 4, name, Q7T("Fov"), 0, points, 2);
    Q7DeleteAnimProperty(session, 4, name, Q7T("PositionX"), 1);
    Q7DeleteAllAnimProperty(session, 4, name, Q7T("Gone"));
    Q7ResetAnimProperty(session, 4, name, 2);
    Q7DeleteAnimEntityFrame(session, 4, name, Q7FindAnimEntityFrame(session, 4, name, 7));
}

class Recorder {
  public:
    explicit Recorder(void* session) : session_(session) {}

    // One connection: all that came before the answer and after it.
    void record(const std::string& what, const std::function<void(void*)>& call,
                std::size_t sizeBeforeAnswer = 0, const std::string& answer = "") {
        transcript += what + "\n";
        messages_.renderer.serve({[&](Peer& peer) {
            if (!answer.empty()) {
                transcript += hexLines(peer.bytes(sizeBeforeAnswer));
                transcript += "  answered\n" + hexLines(answer);
                peer.send(answer);
            }
            const std::string rest = peer.allBytes();
            transcript += rest.empty() ? "" : hexLines(rest);
            transcript += "  closed\n";
        }});
        call(session_);
        messages_.renderer.finish();
    }
    // The one message of a handshake.
    void recordPluginFile() {
        FakeRenderer& renderer = messages_.renderer;
        transcript += "StartLinkQ7Render\n";
        renderer.setStatus(1);
        renderer.serve({[&](Peer& peer) {
            transcript += hexLines(peer.allBytes()) + "  closed\n";
            renderer.setStatus(4);
        }});
        EXPECT_EQ(StartLinkQ7Render(Q7T("C:\\plug \u4E2D.in")), 0U);
        renderer.finish();
    }

    std::string transcript;

  private:
    void* session_;
    MessageRecorder messages_;
};

// Some assemblers take no address of a function of such a name.
ConnectRet groupSyncConnect(void* session) {
    return Q7GroupSyncConnect(session);
}

std::size_t sizeOf(WideView path) {
    return 4 + 4 + 2 * path.size();
}

}  // namespace

TEST(RecordedMessages, MakeTheRecordedBytes) {
    const Installation installation("2.4");
    const Host host;
    const WideView path = u"C:\\m\u00E9";
    const WideView part = u"C:\\part";
    const std::string accepted(4, '\0');
    SetModelFilePath(host.session, Q7T("C:\\m\u00E9"));
    describeEntities(host.session);
    describeAnimation(host.session);
    const std::string transform = "0123456789abcdefghijklmnopqrstuvwxyz";
    AddScene(host.session, Q7T("scene"), Q7T("\u4E2D"), transform.data(), 0x01020304);
    AddScene(host.session, Q7T(""), Q7T(""), transform.data(), 0);

    Recorder recorder(host.session);
    testing::internal::CaptureStdout();
    recorder.recordPluginFile();
    testing::internal::GetCapturedStdout();
    recorder.record("SendScenes, empty text", [](void* s) { SendScenes(s, Q7T("")); });
    recorder.record("SendScenes", [](void* s) { SendScenes(s, Q7T("text \u00E9")); });
    recorder.record("SendCameraTransformFov",
                    [&](void* s) { SendCameraTransformFov(s, transform.data(), 0.1F); });
    recorder.record("SendLightsDataXml",
                    [](void* s) { SendLightsDataXml(s, Q7T("<a/>"), Q7T("\u4E2D")); });
    const auto connect = [](auto function) {
        return [function](void* s) {
            EXPECT_EQ(function(s), ConnectRet_Accepted);
            DisConnect(s);
        };
    };
    recorder.record("Q7ProcessedSyncConnect", connect(Q7ProcessedSyncConnect), sizeOf(path),
                    accepted);
    recorder.record("Q7GroupSyncConnect", connect(groupSyncConnect), sizeOf(path), accepted);
    recorder.record(
        "GetSendModelType", [](void* s) { EXPECT_EQ(GetSendModelType(s, Q7T("name")), 6); },
        sizeOf(u"name"), std::string("\x06\0\0\0", 4));
    recorder.record(
        "Q7GetMetaData", [](void* s) { EXPECT_EQ(Q7GetMetaData(s, nullptr, 0), 2U); }, sizeOf(path),
        std::string("\x02\0\0\0\xC3\xA9", 6));
    recorder.record("Q7RawSyncConnect", connect(Q7RawSyncConnect), sizeOf(path), accepted);
    recorder.record("Q7SendCamera", Q7SendCamera);
    recorder.record("Q7SendScenes", Q7SendScenes);
    recorder.record("Q7SendLights", Q7SendLights);
    recorder.record("Q7SendMetaData", Q7SendMetaData);
    recorder.record("Q7SendCameraAnims", Q7SendCameraAnims);
    SetRelevantModelFilePath(host.session, Q7T("C:\\part"));
    recorder.record("Q7ProcessedSyncConnect, a part of the model", connect(Q7ProcessedSyncConnect),
                    sizeOf(part) + sizeOf(u"proxyparent=C:\\m\u00E9") - 4, accepted);
    Q7ClearScenes(host.session);
    Q7ClearLights(host.session);
    Q7ClearPathElementNames(host.session);
    Q7ClearCameraAnims(host.session);
    recorder.record("Q7SendScenes, none", Q7SendScenes);
    recorder.record("Q7SendLights, none", Q7SendLights);
    recorder.record("Q7SendCameraAnims, none", Q7SendCameraAnims);

    const auto golden = std::filesystem::path(Q7_GOLDEN_DIR) / "recorded_messages.txt";
    if (std::getenv("Q7_WRITE_GOLDEN")) {
        std::ofstream(golden, std::ios::binary) << recorder.transcript;
    }
    EXPECT_EQ(recorder.transcript, readFile(golden));
}
