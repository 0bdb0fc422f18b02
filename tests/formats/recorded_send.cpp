// One recorded small send of each kind, and every byte of it on the socket and in the block.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/fake_renderer.h"
#include "tests/host.h"
#include "tests/platform/installation.h"

namespace {

void describe(void* session) {
    const Triangle t;
    const auto moved = translation(1, 2, 3);
    const std::array<float, 16> shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    Q7SetMaterialVersion(session, 1);
    SetModelFilePath(session, Q7T("C:\\model \u4E2D"));
    SetTextureFolder(session, Q7T("C:\\t"));
    SetGenMatInstances(session, 1);
    Q7AddMaterial(session, Q7T("Unused"));
    Q7SetMaterialFloatProperty(session, Q7T("Unused"), Q7T("Base Weight"), 0.1F);
    Q7BeginNode(session, Q7T("Node_1"), moved.data(), Q7T("/root/\u00E9"));
    MaxAddTriangle(session, Q7T("m"), t.positions.data(), t.normals.data(), t.uvs.data());
    Q7EndNode(session);
    Q7BeginNode(session, Q7T("Sheared"), shear.data(), Q7T("/root/s"));
    MaxAddTriangle(session, Q7T("m"), t.positions.data(), t.normals.data(), nullptr);
    Q7EndNode(session);
    MaxBeginNode(session, Q7T("Twice"), identity.data());
    MaxAddTriangle(session, Q7T("n"), t.positions.data(), nullptr, nullptr);
    MaxEndNode(session);
    MaxDuplicateNode(session, Q7T("Twice"), Q7T("Again"), moved.data());
}

std::string hex(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += {' ', digits[byte >> 4], digits[byte & 15]};
    }
    return text + "\n";
}

// The whole connection: what opens it, and a model for each form.
FakeRenderer::Script recorder(std::string& transcript, const std::vector<bool>& forms) {
    return [&transcript, forms](Peer& peer) {
        peer.word();
        peer.string();
        transcript += "socket connect" + hex(peer.received) + "replied 00 00 00 00\n";
        peer.sendWord(0);
        for (const bool withPaths : forms) {
            transcript += ModelReceiver(peer).receive(withPaths).transcript;
        }
        transcript += peer.atEnd() ? "closed\n" : "not closed\n";
    };
}

}  // namespace

TEST(RecordedSend, MakesTheRecordedBytes) {
    const Installation installation("2.4");
    const Host host;
    Q7SetDccPluginInfo(Q7T("Recorder"));
    describe(host.session);
    FakeRenderer renderer;
    ASSERT_EQ(StartLinkQ7Render(Q7T("")), 0U);  // reads the port
    std::string transcript;
    renderer.serve({recorder(transcript, {true, false}), recorder(transcript, {false})});
    EXPECT_EQ(Q7RawSyncConnect(host.session), ConnectRet_Accepted);
    Q7SendRaw(host.session);
    DisConnect(host.session);
    EXPECT_EQ(Q7ProcessedSyncConnect(host.session), ConnectRet_Accepted);
    Q7SendProcessed(host.session);
    DisConnect(host.session);
    renderer.finish();
    Q7SetDccPluginInfo(Q7T(""));

    const auto golden = std::filesystem::path(Q7_GOLDEN_DIR) / "recorded_send.txt";
    if (std::getenv("Q7_WRITE_GOLDEN")) std::ofstream(golden, std::ios::binary) << transcript;
    EXPECT_EQ(transcript, readFile(golden));
}
