#include "standin/model_receiver.h"

#include <gtest/gtest.h>

#include "common/stream_reader.h"
#include "tests/tools/standin/harness.h"
#include "tests/tools/standin/model_script.h"

namespace {

using namespace standintest;
using Lines = std::vector<std::string>;

const std::string error7 = "q7-standin: protocol error, connection 1, word 7: ";
const std::string remark7 = "q7-standin: remark, connection 1, word 7: ";

std::string fileOf(const Scene& scene) {
    const Bytes bytes = bytesOf(withoutColors(scene).build());
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// The reply and the acknowledgements of two meshes.
constexpr std::size_t plainAnswers = 4 * (1 + 2 + 2 * 5 + 1);

class ReceivedModel : public testing::Test {
  protected:
    // Receives the scene over a connection of word 7.
    std::string receive(const Scene& scene) {
        scriptConnect(client, 7);
        scriptPlainModel(client, scene);
        return harness.serve(client);
    }

    Harness harness;
    ScriptedClient client;
};

TEST_F(ReceivedModel, PlainFormBecomesAStreamFile) {
    EXPECT_EQ(receive({}), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.folder.names(), (Lines{"0001-sync.json", "0002-model.q7mesh"}));
    EXPECT_EQ(harness.folder.content("0002-model.q7mesh"), fileOf({}));
    EXPECT_EQ(client.answers(), Bytes(plainAnswers, std::byte{0}));
    EXPECT_EQ(harness.outLines().back(),
              "    0.000  #1  word 7  model, plain form: 2 materials, 3 instances, 2 meshes, "
              "5 placed triangles  (" +
                  q7standin::readableSize(static_cast<double>(fileOf({}).size())) +
                  " in 0.0 ms)  -> 0002-model.q7mesh");
}

TEST_F(ReceivedModel, NotesFollowTheModel) {
    Scene scene;
    scene.instances[0].transform[3] = 4;
    scene.materials[1].xml.clear();
    scene.meshes[0].uvs.assign(8, 0);
    EXPECT_EQ(receive(scene), "closed by the client");
    const Lines lines = harness.outLines();
    ASSERT_EQ(lines.size(), 5U);
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_NE(lines[1].find("model, plain form"), std::string::npos) << lines[1];
    EXPECT_EQ(lines[2],
              "    0.000  #1  note: 1 instance has its translation in elements 3, 7 and 11 of the "
              "transform, and none in 12 to 14: the matrix is transposed; of the mesh: \"quad\"");
    EXPECT_EQ(lines[3],
              "    0.000  #1  note: 1 mesh has a material with a texture, and uvs that are all 0: "
              "\"quad\"");
    EXPECT_EQ(lines[4],
              "    0.000  #1  note: 1 material is used, but described by nothing: \"Wall\"");
}

TEST_F(ReceivedModel, NotesFollowAModelWithPaths) {
    Scene scene;
    scene.materials[1].xml.clear();
    scriptConnect(client, 11);
    scriptModelWithPaths(client, scene);
    EXPECT_EQ(harness.serve(client), "closed by the client");
    EXPECT_EQ(harness.outLines().back(),
              "    0.000  #1  note: 1 material is used, but described by nothing: \"Wall\"");
}

TEST_F(ReceivedModel, UncheckedArraysGetNoNotes) {
    harness.services.checkArrays = false;
    Scene scene;
    scene.meshes[0].uvs.assign(8, 0);
    scene.meshes[1].positions.assign(9, 1e30F);
    receive(scene);
    EXPECT_NE(harness.outLines().back().find("model, plain form"), std::string::npos);
}

TEST_F(ReceivedModel, AConnectionThatStaysOpenIsTold) {
    // The client says nothing more, and does not close.
    scriptConnect(client, 7);
    scriptPlainModel(client);
    client.awaitAnswer();
    int asked = 0;
    harness.services.isAnotherWaiting = [&asked] { return ++asked == 2; };
    EXPECT_THROW(harness.serve(client), std::logic_error);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(harness.outLines().back(),
              "    0.000  connection 1 is still open, and idle, after its model");
}

TEST_F(ReceivedModel, ComesWhateverThePiecesOfTheConnection) {
    for (std::size_t size : {1, 2, 3, 5, 7}) {
        Harness serving;
        ScriptedClient sending;
        sending.setPieceSize(size);
        scriptConnect(sending, 7);
        scriptPlainModel(sending);
        EXPECT_EQ(serving.serve(sending), "closed by the client");
        EXPECT_EQ(serving.errorLines(), Lines{});
        EXPECT_EQ(serving.folder.content("0002-model.q7mesh"), fileOf({}));
    }
}

TEST_F(ReceivedModel, BothFormsFollowEachOther) {
    scriptConnect(client, 11);
    scriptModelWithPaths(client);
    scriptPlainModel(client);
    EXPECT_EQ(harness.serve(client), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.folder.names(), (Lines{"0001-sync.json", "0002-instance-paths.json",
                                             "0002-model.q7mesh", "0003-model.q7mesh"}));
    EXPECT_EQ(harness.folder.content("0002-model.q7mesh"), fileOf({}));
    EXPECT_EQ(harness.folder.content("0003-model.q7mesh"), fileOf({}));
    EXPECT_EQ(harness.folder.content("0002-instance-paths.json"), wideToUtf8(samplePaths));
    EXPECT_EQ(client.timesBlockOpened(), 2);
    EXPECT_EQ(client.answers().size(), 2 * plainAnswers);
}

TEST_F(ReceivedModel, TwoSendsOnOneConnection) {
    scriptConnect(client, 11);
    for (int i = 0; i < 2; ++i) {
        scriptModelWithPaths(client);
        scriptPlainModel(client);
    }
    EXPECT_EQ(harness.serve(client), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.log.messageCount(), 5U);
}

TEST_F(ReceivedModel, PlainFormAfterBothFormsIsRightAsWell) {
    scriptConnect(client, 11);
    scriptModelWithPaths(client);
    scriptPlainModel(client);
    scriptPlainModel(client);
    EXPECT_EQ(harness.serve(client), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.log.messageCount(), 4U);
}

TEST_F(ReceivedModel, PlainFormWherePathsAreAnnounced) {
    scriptConnect(client, 11);
    scriptPlainModel(client);
    EXPECT_EQ(harness.serve(client), "closed by the client");
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_EQ(harness.errorLines()[0],
              "q7-standin: protocol error, connection 1, word 11: at byte " +
                  std::to_string(client.scriptSize()) +
                  " of the connection: word before the instance paths: expected 1, got the end of "
                  "the connection, so this was the plain form");
    EXPECT_EQ(harness.folder.names(), (Lines{"0001-sync.json", "0002-model.q7mesh"}));
}

// A client that is slow to make its paths is answered as one of the plain form meanwhile. The
// number of answers is the same in the end, so nothing is lost.
TEST_F(ReceivedModel, PathsThatComeLate) {
    class SlowClient : public ScriptedClient {
      public:
        bool hasData(int) override { return false; }
    } slow;
    scriptConnect(slow, 11);
    scriptModelWithPaths(slow);
    EXPECT_EQ(harness.serve(slow), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.folder.content("0002-instance-paths.json"), wideToUtf8(samplePaths));
    EXPECT_EQ(slow.answers().size(), plainAnswers + 4);
}

TEST_F(ReceivedModel, PathsWhereNoneAreAnnounced) {
    scriptConnect(client, 7);
    scriptModelWithPaths(client);
    EXPECT_EQ(harness.serve(client), "closed by the client");
    EXPECT_EQ(harness.errorLines(),
              Lines{error7 + "at byte " + std::to_string(client.scriptSize() - 4) +
                    " of the connection: instance paths follow, which connect word 7 does not "
                    "announce"});
    EXPECT_EQ(client.answers().size(), plainAnswers + 4);
}

TEST_F(ReceivedModel, AnotherVersion) {
    Scene scene;
    scene.version = 12;
    EXPECT_EQ(receive(scene), "given up after a protocol error");
    EXPECT_EQ(harness.errorLines(),
              Lines{error7 + "at byte 24 of the connection: model version: expected 11, got 12"});
    EXPECT_EQ(harness.folder.names(), Lines{"0001-sync.json"});
}

TEST_F(ReceivedModel, HeaderThatIsWrong) {
    Scene scene;
    scene.header = streamtest::headerText(6);
    receive(scene);
    EXPECT_EQ(harness.errorLines(),
              Lines{error7 +
                    "at byte 28 of the connection: header: \"triangleCount\": expected 5, as many "
                    "as the instances place, got 6"});
}

TEST_F(ReceivedModel, HeaderOfAnAbsurdLength) {
    scriptConnect(client, 7);
    client.word(11).word(0xFFFFFFFF);
    EXPECT_EQ(harness.serve(client), "given up after a protocol error");
    EXPECT_EQ(harness.errorLines(),
              Lines{error7 + "at byte 28 of the connection: header: expected a count of at most "
                             "16777216, got 4294967295"});
}

TEST_F(ReceivedModel, NoBlock) {
    client.setBlockMissing();
    EXPECT_EQ(receive({}), "given up after a protocol error");
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with(
        "model block: expected a block named 84FB12B2EBCB82AB1DEDE669D1309DB6, got none of that "
        "name"));
}

TEST_F(ReceivedModel, CountsThatTheBlockCannotHold) {
    scriptConnect(client, 7);
    client.word(11).text(streamtest::headerText(5));
    client.awaitAnswer(0).fillBlock(StreamBuilder().material(u"a", u"b")).word(0xFFFFFFFF);
    client.awaitAnswer();
    EXPECT_EQ(harness.serve(client), "given up after a protocol error");
    EXPECT_EQ(harness.errorLines(),
              Lines{error7 + "at byte 12 of the block: materials[1] of 4294967295: name: 4 bytes "
                             "are needed, but only 0 are left"});
    EXPECT_EQ(client.openBlocks(), 0);
}

TEST_F(ReceivedModel, ArrayThatTheBlockCannotHold) {
    Scene scene;
    scene.meshes = {};
    scriptConnect(client, 7);
    client.word(11).text(streamtest::headerText(5));
    client.awaitAnswer(0).fillBlock(padded(StreamBuilder())).word(0);
    client.awaitAnswer().fillBlock(padded(StreamBuilder().instance(u"m", u""))).word(1);
    client.awaitAnswer().word(1).text(u"m").word(513);
    client.awaitAnswer();
    EXPECT_EQ(harness.serve(client), "given up after a protocol error");
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with(
        "positions count: expected at most 512 for the block of 2048 bytes, got 513"));
}

TEST_F(ReceivedModel, MeshesThatDoNotFitTheInstances) {
    Scene scene;
    scene.meshes[1].name = u"other";
    scene.header = streamtest::headerText(4);
    receive(scene);
    const Lines lines = harness.errorLines();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_TRUE(lines[0].ends_with("mesh \"other\" is sent, but no instance uses it")) << lines[0];
    EXPECT_TRUE(lines[1].ends_with("mesh \"tri\" is used by 1 instance, but was not sent"))
        << lines[1];
}

TEST_F(ReceivedModel, AMeshTooMany) {
    Scene scene;
    scene.meshes.push_back(scene.meshes[1]);
    receive(scene);
    const Lines lines = harness.errorLines();
    ASSERT_EQ(lines.size(), 3U);
    EXPECT_TRUE(lines[0].ends_with("mesh count: expected 2, as many as instances use, got 3"));
    EXPECT_TRUE(lines[1].ends_with("mesh \"tri\" is sent twice"));
    EXPECT_TRUE(lines[2].ends_with("expected 6, as many as the instances place, got 5"));
}

TEST_F(ReceivedModel, ColorsNeverTravel) {
    scriptConnect(client, 7);
    client.word(11).text(streamtest::headerText(0));
    client.awaitAnswer(0).fillBlock(padded(StreamBuilder())).word(0);
    client.awaitAnswer().fillBlock(padded(StreamBuilder().instance(u"m", u""))).word(1);
    client.awaitAnswer().word(1).text(u"m").word(0);
    client.awaitAnswer().word(0);
    client.awaitAnswer().word(0);
    client.awaitAnswer().word(3);
    client.awaitAnswer().word(0);
    client.awaitAnswer().awaitAnswer();
    EXPECT_EQ(harness.serve(client), "closed by the client");
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with(
        "mesh \"m\": word in the place of colors: expected 0, got 3"));
}

TEST_F(ReceivedModel, NoInstances) {
    Scene scene;
    scene.instances.clear();
    scene.meshes.clear();
    scene.header = streamtest::headerText(0);
    receive(scene);
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with("instance count: expected at least 1, got 0"));
}

TEST_F(ReceivedModel, MaterialSentTwice) {
    Scene scene;
    scene.materials.push_back(scene.materials[1]);
    receive(scene);
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with(": material \"Wall\" is sent twice"));
}

// The host's own doing: told, but no breach of the protocol.
TEST_F(ReceivedModel, RemarksOnContent) {
    Scene scene;
    scene.instances[0].material = u"gone";
    scene.instances[1].material = u"";
    scene.meshes[0].positions.pop_back();
    scene.meshes[0].indices = {0, 1, 2, 0, 2, -1};
    scene.meshes[1].indices = {0, 1, 3, 0};
    receive(scene);
    EXPECT_EQ(harness.log.protocolErrorCount(), 0U);
    const Lines lines = harness.errorLines();
    ASSERT_EQ(lines.size(), 7U);
    EXPECT_EQ(lines[0], remark7 +
                            "at byte 12 of the block: an instance has the material \"gone\", "
                            "which is not among the materials");
    const Lines ends{
        "mesh \"quad\": positions count: expected a multiple of 3, got 11",
        "mesh \"quad\": normals count: expected 11 or 0, got 12",
        "mesh \"quad\": uvs count: expected 6, got 8",
        "at byte 20 of the block: mesh \"quad\": indices[5]: expected less than 3, got "
        "-1",
        "mesh \"tri\": indices count: expected a multiple of 3, got 4",
        "at byte 8 of the block: mesh \"tri\": indices[2]: expected less than 3, got 3"};
    for (std::size_t i = 0; i < ends.size(); ++i) {
        EXPECT_TRUE(lines[i + 1].starts_with(remark7)) << lines[i + 1];
        EXPECT_TRUE(lines[i + 1].ends_with(ends[i])) << lines[i + 1];
    }
}

// A merged mesh counts its floats where others have indices. The header counts those.
TEST_F(ReceivedModel, MergedMeshes) {
    Scene scene;
    scene.materials = {{u"Wall", u"<Material/>"}};
    scene.instances = {{u"Wall_q7_merged", u"Wall"}};
    scene.meshes = {{u"Wall_q7_merged",
                     {0, 0, 0, 1, 0, 0, 0, 1, 0},
                     {},
                     {0, 0, 0, 0, 0, 0},
                     {},
                     {0, 1, 2, 3, 4, 5, 6, 7, 8}}};
    scene.header = streamtest::headerText(3);
    receive(scene);
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_NE(harness.outLines().back().find("1 placed triangle "), std::string::npos);
    EXPECT_EQ(harness.folder.content("0002-model.q7mesh"), fileOf(scene));
}

TEST_F(ReceivedModel, ANameAloneMakesNoMergedMesh) {
    Scene scene;
    scene.instances = {{u"tri_q7_merged", u"Wall"}};
    scene.meshes = {{u"tri_q7_merged",
                     {0, 0, 0, 1, 0, 0, 0, 1, 0},
                     {},
                     {0, 0, 0, 0, 0, 0},
                     {},
                     {0, 1, 2, 0, 1, 2, 0, 1, 3}}};
    scene.header = streamtest::headerText(3);
    receive(scene);
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(harness.errorLines()[0].ends_with("indices[8]: expected less than 3, got 3"));
}

TEST_F(ReceivedModel, ArraysAreLeftAloneOnRequest) {
    harness.services.checkArrays = false;
    Scene scene;
    scene.meshes[1].indices = {0, 1, 3};
    receive(scene);
    EXPECT_EQ(harness.errorLines(), Lines{});
}

TEST_F(ReceivedModel, WrongPaths) {
    scriptConnect(client, 11);
    scriptModelWithPaths(client, {}, u"{\"instance_paths\":[\"a/Lamp\",\"b/Lamp\",\"c/Wall\"]}");
    harness.serve(client);
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_EQ(harness.errorLines()[0],
              "q7-standin: protocol error, connection 1, word 11: at byte 0 of the block: instance "
              "paths: \"instance_paths\"[1]: expected a path that ends with \"/Wall\", got "
              "\"\"b/Lamp\"\"");
}

TEST_F(ReceivedModel, AnotherWordThanThatOfThePaths) {
    scriptConnect(client, 11);
    scriptModel(client, {});
    client.word(2);
    EXPECT_EQ(harness.serve(client), "given up after a protocol error");
    ASSERT_EQ(harness.errorLines().size(), 1U);
    EXPECT_TRUE(
        harness.errorLines()[0].ends_with("word before the instance paths: expected 1, got 2"));
    EXPECT_EQ(harness.folder.names(), Lines{"0001-sync.json"});
}

// Wherever a client stops, the fault is told once, no file is left half written, and the block is
// closed.
TEST_F(ReceivedModel, EveryTruncation) {
    ScriptedClient whole;
    scriptConnect(whole, 11);
    scriptModelWithPaths(whole);
    const std::size_t size = whole.scriptSize();
    constexpr std::size_t afterReply = 24;
    for (std::size_t cut = afterReply + 1; cut < size; ++cut) {
        Harness serving;
        ScriptedClient sending;
        scriptConnect(sending, 11);
        scriptModelWithPaths(sending);
        sending.cutAfter(cut);
        EXPECT_EQ(serving.serve(sending), "given up after a protocol error") << cut;
        EXPECT_EQ(serving.errorLines().size(), 1U) << cut;
        EXPECT_EQ(serving.folder.names(), Lines{"0001-sync.json"}) << cut;
        EXPECT_EQ(sending.openBlocks(), 0) << cut;
    }
}

TEST_F(ReceivedModel, EveryAcknowledgementCanBeTheLast) {
    constexpr std::uint64_t all = plainAnswers / 4;  // one less for the reply, one more for paths
    for (std::uint64_t last = 1; last <= all; ++last) {
        q7standin::Misbehaviour misbehaviour;
        misbehaviour.closeAtAcknowledgement = last;
        Harness serving(misbehaviour);
        ScriptedClient sending;
        scriptConnect(sending, 11);
        scriptModelWithPaths(sending);
        EXPECT_THROW(serving.serve(sending), q7standin::ClosedOnPurpose) << last;
        EXPECT_EQ(sending.answers().size(), 4 * last) << last;
        EXPECT_EQ(sending.openBlocks(), 0) << last;
    }
}

TEST_F(ReceivedModel, TheTranscriptTellsTheBlockAtEachAcknowledgement) {
    Scene scene;
    scene.materials = {{u"r", u"x"}};
    scene.instances = {{u"m", u"r"}};
    scene.meshes = {{u"m", {}, {}, {}, {}, {}}};
    scene.header = streamtest::headerText(0);
    receive(scene);
    const std::string text = harness.transcriptText();
    const std::string materials =
        "received at 224: material count, 4 bytes\n"
        "    01 00 00 00                                      ....\n"
        "block: materials, 12 bytes\n"
        "    01 00 00 00 72 00 01 00 00 00 78 00              ....r.....x.\n"
        "sent: acknowledgement of the materials, 4 bytes\n"
        "    00 00 00 00                                      ....\n"
        "received at 228: instance count, 4 bytes\n";
    EXPECT_NE(text.find(materials), std::string::npos) << text;
    const std::string end =
        "received at 258: indices count, 4 bytes\n"
        "    00 00 00 00                                      ....\n"
        "block: indices, 0 bytes\n"
        "sent: acknowledgement of the indices, 4 bytes\n"
        "    00 00 00 00                                      ....\n"
        "sent: acknowledgement of the model, 4 bytes\n"
        "    00 00 00 00                                      ....\n";
    EXPECT_TRUE(text.ends_with(end)) << text;
}

}  // namespace
