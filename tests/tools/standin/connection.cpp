#include "standin/connection.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/tools/standin/harness.h"
#include "tests/tools/standin/model_script.h"

namespace {

using namespace standintest;
using nlohmann::json;
using Lines = std::vector<std::string>;

class ServedMessage : public testing::Test {
  protected:
    std::string serve() { return harness.serve(client); }

    // The message's part of the last line on the terminal.
    std::string told() const {
        const std::string line = harness.outLines().back();
        return line.substr(0, line.find("  (")).substr(line.find('#'));
    }
    json kept(const std::string& name) const { return json::parse(harness.folder.content(name)); }

    Harness harness;
    ScriptedClient client;
};

StreamBuilder sceneData() {
    StreamBuilder builder;
    for (std::uint8_t i = 0; i < 36; ++i)
        builder.byte(i);
    return builder;
}

const std::string sceneDataHex =
    "000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f20212223";

TEST_F(ServedMessage, PluginFile) {
    client.word(3).text(u"C:\\ä.ini");
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.pluginFiles, std::vector<WideString>{u"C:\\ä.ini"});
    EXPECT_EQ(told(), "#1  word 3  plug-in file \"C:\\ä.ini\"");
    EXPECT_EQ(kept("0001-plugin-file.json"), (json{{"word", 3}, {"pluginFile", "C:\\ä.ini"}}));
    EXPECT_EQ(client.answers(), Bytes{});
}

TEST_F(ServedMessage, SceneList) {
    client.word(4).text(u"all").word(2);
    client.text(u"n").text(u"").send(sceneData()).word(7);
    client.text(u"").text(u"l").send(sceneData()).word(0xFFFFFFFF);
    serve();
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(told(), "#1  word 4  scene list: text of 3 units, 2 records");
    const json content = kept("0001-scene-list.json");
    EXPECT_EQ(content["text"], "all");
    EXPECT_EQ(content["records"][0],
              (json{{"name", "n"}, {"label", ""}, {"sceneData", sceneDataHex}, {"value", 7}}));
    EXPECT_EQ(content["records"][1]["value"], 0xFFFFFFFF);
}

TEST_F(ServedMessage, SceneListOfAnAbsurdLength) {
    client.word(4).text(u"all").word(0x7FFFFFFF);
    EXPECT_EQ(serve(), "given up after a protocol error");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 1, word 4: at byte 14 of the connection: "
              "record count: expected at most 16777216, got 2147483647"});
}

TEST_F(ServedMessage, CameraTransform) {
    client.word(5).send(sceneData()).word(0x42340000).text(u"a.skp");
    serve();
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(kept("0001-camera-transform.json"), (json{{"word", 5},
                                                        {"sceneData", sceneDataHex},
                                                        {"fieldOfView", 45.0},
                                                        {"modelFilePath", "a.skp"}}));
}

TEST_F(ServedMessage, LightTexts) {
    client.word(6).text(u"<a/>").text(u"");
    serve();
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(told(), "#1  word 6  lights: two texts of 4 and 0 units");
    EXPECT_EQ(kept("0001-light-texts.json"),
              (json{{"word", 6}, {"first", "<a/>"}, {"second", ""}}));
}

TEST_F(ServedMessage, JsonTextsAreKeptAsTheyAre) {
    const std::vector<std::pair<std::uint32_t, std::string>> messages{{12, "camera"},
                                                                      {13, "scenes"},
                                                                      {14, "lights"},
                                                                      {15, "metadata"},
                                                                      {18, "camera-animations"}};
    int number = 0;
    for (const auto& [word, kind] : messages) {
        ScriptedClient sending;
        const std::u16string text = word == 18                 ? u"{\"CameraAnimations\":[]}"
                                    : word == 13 || word == 14 ? u"{\"model_file_path\":\"ä\"}"
                                                               : u"null";
        sending.word(word).text(text);
        EXPECT_EQ(harness.serve(sending), "closed by the client");
        const std::string name = "000" + std::to_string(++number) + '-' + kind + ".json";
        EXPECT_EQ(harness.folder.content(name), wideToUtf8(text));
    }
    EXPECT_EQ(harness.errorLines(), Lines{});
}

TEST_F(ServedMessage, JsonThatIsNone) {
    client.word(15).text(u"{");
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 1, word 15: at byte 4 of the connection: "
              "JSON text: text: expected JSON, got \"{\""});
    EXPECT_EQ(harness.folder.content("0001-metadata.json"), "{");
}

TEST_F(ServedMessage, SendModelType) {
    harness.services.answers.sendModelType = 0xFFFFFFFF;
    client.word(9).text(u"name").awaitAnswer();
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(client.answers(), bytesOf(StreamBuilder().word(0xFFFFFFFF)));
    EXPECT_EQ(told(), "#1  word 9  which way to send \"name\"? -1");
}

TEST_F(ServedMessage, NoAnswerCloses) {
    harness.services.answers.sendModelType.reset();
    client.word(9).text(u"name");
    EXPECT_THROW(serve(), q7standin::ClosedOnPurpose);
    harness.services.answers.reply.reset();
    ScriptedClient second;
    second.word(7).text(u"path");
    EXPECT_THROW(harness.serve(second), q7standin::ClosedOnPurpose);
    EXPECT_EQ(told(), "#2  word 7  sync of \"path\": refused with no answer");
    EXPECT_EQ(second.answers(), Bytes{});
}

TEST_F(ServedMessage, Metadata) {
    harness.services.answers.metadata = "\xC3\xA4!";
    client.word(10).text(u"a.skp").awaitAnswer(7);
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(client.answers(), bytesOf(StreamBuilder().word(3).byte(0xC3).byte(0xA4).byte('!')));
}

TEST_F(ServedMessage, MetadataThatCame) {
    const auto give = [this](const std::u16string& text) {
        ScriptedClient sending;
        sending.word(15).text(text);
        EXPECT_EQ(harness.serve(sending), "closed by the client");
    };
    const auto ask = [this](const std::u16string& path, std::size_t size) {
        ScriptedClient asking;
        asking.word(10).text(path).awaitAnswer(4 + size);
        EXPECT_EQ(harness.serve(asking), "closed by the client");
        const Bytes answer = asking.answers();
        EXPECT_EQ(answer.size(), 4 + size);
        return std::string(reinterpret_cast<const char*>(answer.data()) + 4, size);
    };
    EXPECT_EQ(ask(u"a", 0), "");
    give(u"{\"model_file_path\":\"a\",\"n\":1}");
    give(u"{\"model_file_path\":\"b\",\"n\":2}");
    give(u"{\"model_file_path\":\"a\",\"n\":3}");
    give(u"null");
    EXPECT_EQ(ask(u"a", 29), "{\"model_file_path\":\"a\",\"n\":3}");
    EXPECT_EQ(ask(u"b", 29), "{\"model_file_path\":\"b\",\"n\":2}");
    EXPECT_EQ(ask(u"", 4), "null");
    EXPECT_EQ(told(), "#8  word 10  metadata of \"\"? 4 bytes");
    EXPECT_EQ(kept("0008-metadata-request.json"),
              (json{{"word", 10}, {"modelFilePath", ""}, {"answerSize", 4}}));
    harness.services.answers.metadata = "chosen";
    EXPECT_EQ(ask(u"a", 6), "chosen");
    EXPECT_EQ(harness.errorLines(), Lines{});
}

TEST_F(ServedMessage, JsonTextsAreSummedUp) {
    client.word(14).text(u"{\"lights\":[{\"Name\":\"Sun\"}],\"model_file_path\":\"\"}");
    serve();
    EXPECT_EQ(told(), "#1  word 14  lights: 1 light, 0 groups, JSON text of 48 units");
}

TEST_F(ServedMessage, JsonOfAnotherShape) {
    client.word(13).text(u"{\"model_file_path\":\"\",\"scenes\":{}}");
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 1, word 13: at byte 4 of the connection: "
              "JSON text: \"scenes\": expected an array, got object"});
    EXPECT_EQ(told(), "#1  word 13  scenes: JSON text of 34 units");
}

TEST_F(ServedMessage, MetadataWithACountThatIsWrong) {
    harness.services.answers.metadata = "ab";
    harness.services.answers.metadataCount = 0x7FFFFFFF;
    client.word(10).text(u"").awaitAnswer(6);
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(client.answers(), bytesOf(StreamBuilder().word(0x7FFFFFFF).byte('a').byte('b')));
}

TEST_F(ServedMessage, SyncWithoutAModel) {
    scriptConnect(client, 8);
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(client.answers(), Bytes(4));
    EXPECT_EQ(kept("0001-sync.json"),
              (json{{"word", 8}, {"modelFilePath", "C:\\a.skp"}, {"reply", 0}}));
}

TEST_F(ServedMessage, SyncWithAProxyParent) {
    scriptConnect(client, 17);
    scriptPlainModel(client);
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(kept("0001-sync.json")["proxyParent"], "proxyparent=C:\\b.skp");
    EXPECT_EQ(harness.log.messageCount(), 2U);
}

TEST_F(ServedMessage, ProxyParentThatIsNone) {
    client.word(17).text(u"a").text(u"C:\\b.skp").awaitAnswer();
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 1, word 17: at byte 10 of the connection: "
              "proxy parent: expected a text that starts with \"proxyparent=\", got "
              "\"C:\\b.skp\""});
}

TEST_F(ServedMessage, SyncThatIsRefused) {
    harness.services.answers.reply = 5;
    scriptConnect(client, 7);
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(client.answers(), bytesOf(StreamBuilder().word(5)));
    EXPECT_EQ(told(), "#1  word 7  sync of \"C:\\a.skp\": refused with 5");

    ScriptedClient stubborn;
    scriptConnect(stubborn, 7);
    stubborn.word(11);
    EXPECT_EQ(harness.serve(stubborn), "given up after a protocol error");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 2, word 7: at byte 24 of the connection: "
              "end of the message: expected the end of the connection, got more bytes"});
}

TEST_F(ServedMessage, UnknownWords) {
    for (const std::uint32_t word : {0U, 1U, 2U, 16U, 19U, 0xFFFFFFFFU}) {
        ScriptedClient sending;
        sending.word(word);
        EXPECT_EQ(harness.serve(sending), "given up after a protocol error");
        EXPECT_TRUE(harness.errorLines().back().ends_with(
            "at byte 0 of the connection: command word: expected one of 3 to 15, 17 and 18, got " +
            std::to_string(word)));
    }
}

TEST_F(ServedMessage, BytesBehindAMessage) {
    client.word(3).text(u"a").send(StreamBuilder().byte(0));
    EXPECT_EQ(serve(), "given up after a protocol error");
    EXPECT_EQ(
        harness.errorLines(),
        Lines{"q7-standin: protocol error, connection 1, word 3: at byte 10 of the connection: "
              "end of the message: expected the end of the connection, got more bytes"});
}

TEST_F(ServedMessage, ConnectionWithoutAMessage) {
    EXPECT_EQ(serve(), "closed by the client");
    EXPECT_EQ(harness.errorLines(), Lines{});
    EXPECT_EQ(harness.log.messageCount(), 0U);
}

TEST_F(ServedMessage, BrokenConnections) {
    client.word(3).word(4);
    client.breakAtEnd();
    EXPECT_EQ(serve(), "lost");
    EXPECT_EQ(harness.errorLines(),
              Lines{"q7-standin: protocol error, connection 1, word 3: at byte "
                    "8 of the connection: the connection was reset"});
    ScriptedClient deaf;
    deaf.word(9).text(u"a");
    deaf.failSending();
    EXPECT_EQ(harness.serve(deaf), "lost");
    EXPECT_EQ(harness.log.protocolErrorCount(), 2U);
}

TEST_F(ServedMessage, EveryTruncation) {
    const auto script = [](ScriptedClient& sending) {
        sending.word(4).text(u"all").word(1).text(u"n").text(u"l").send(sceneData()).word(7);
    };
    script(client);
    for (std::size_t cut = 1; cut < client.scriptSize(); ++cut) {
        Harness serving;
        ScriptedClient sending;
        script(sending);
        sending.cutAfter(cut);
        EXPECT_EQ(serving.serve(sending), "given up after a protocol error") << cut;
        EXPECT_EQ(serving.errorLines().size(), 1U) << cut;
        EXPECT_EQ(serving.folder.names(), Lines{}) << cut;
    }
}

TEST_F(ServedMessage, MisbehavesAtAWord) {
    q7standin::Misbehaviour misbehaviour;
    misbehaviour.closeAtWord = 15;
    Harness serving(misbehaviour);
    client.word(15).text(u"null");
    EXPECT_THROW(serving.serve(client), q7standin::ClosedOnPurpose);
    EXPECT_EQ(serving.log.messageCount(), 0U);
}

}  // namespace
