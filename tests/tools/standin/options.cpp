#include "standin/options.h"

#include <gtest/gtest.h>

#include "common/files.h"
#include "tests/tools/standin/harness.h"

namespace {

using namespace q7standin;
using Arguments = std::vector<std::string>;

Options optionsOf(const Arguments& arguments, const Arguments& launch = {}) {
    const auto parsed = parseOptions(arguments, launch);
    const auto* error = std::get_if<UsageError>(&parsed);
    EXPECT_EQ(error, nullptr) << error->reason;
    return std::get<Options>(parsed);
}

std::string errorOf(const Arguments& arguments) {
    const auto parsed = parseOptions(arguments, {});
    const auto* error = std::get_if<UsageError>(&parsed);
    return error == nullptr ? "" : error->reason;
}

TEST(Options, Defaults) {
    const Options options = optionsOf({});
    EXPECT_EQ(options.publication.status, 1);
    EXPECT_EQ(options.publication.statusAfterPlugin, std::nullopt);
    EXPECT_EQ(options.publication.flag, 0);
    EXPECT_EQ(options.publication.flagAfterPlugin, std::nullopt);
    EXPECT_EQ(options.publication.port, std::nullopt);
    EXPECT_EQ(options.publication.startupDelay, 0);
    EXPECT_EQ(options.answers.reply, 0U);
    EXPECT_EQ(options.answers.sendModelType, 0U);
    EXPECT_EQ(options.answers.metadata, std::nullopt);
    EXPECT_FALSE(options.window);
    EXPECT_TRUE(options.checkArrays);
    EXPECT_FALSE(options.quiet);
    EXPECT_EQ(options.out, std::nullopt);
    EXPECT_EQ(options.connections, std::nullopt);
    EXPECT_EQ(options.exitAfter, std::nullopt);
    EXPECT_EQ(options.launchedWith, std::nullopt);
}

TEST(Options, All) {
    const Options options = optionsOf({"--status",
                                       "2",
                                       "--status-after-plugin=5",
                                       "--flag",
                                       "256",
                                       "--flag-after-plugin",
                                       "1",
                                       "--port",
                                       "65535",
                                       "--startup-delay",
                                       "10",
                                       "--status-delay",
                                       "20",
                                       "--link-delay",
                                       "30",
                                       "--reply",
                                       "3",
                                       "--send-type",
                                       "-1",
                                       "--metadata",
                                       "text",
                                       "--metadata-count",
                                       "4000000000",
                                       "--patience",
                                       "40",
                                       "--close-at-ack",
                                       "1",
                                       "--die-at-ack",
                                       "2",
                                       "--close-at-word",
                                       "3",
                                       "--die-at-word",
                                       "4",
                                       "--delay-ack",
                                       "50",
                                       "--pieces",
                                       "--abort",
                                       "--out",
                                       "ö",
                                       "--transcript",
                                       "t",
                                       "--ready-file",
                                       "r",
                                       "--quiet",
                                       "--unchecked",
                                       "--connections",
                                       "6",
                                       "--exit-after",
                                       "70"});
    EXPECT_EQ(options.publication.status, 2);
    EXPECT_EQ(options.publication.statusAfterPlugin, 5);
    EXPECT_EQ(options.publication.flag, 256);
    EXPECT_EQ(options.publication.flagAfterPlugin, 1);
    EXPECT_EQ(options.publication.port, 65535);
    EXPECT_EQ(options.publication.startupDelay, 10);
    EXPECT_EQ(options.publication.statusDelay, 20);
    EXPECT_EQ(options.publication.linkDelay, 30);
    EXPECT_EQ(options.answers.reply, 3U);
    EXPECT_EQ(options.answers.sendModelType, 0xFFFFFFFFU);
    EXPECT_EQ(options.answers.metadata, "text");
    EXPECT_EQ(options.answers.metadataCount, 4000000000U);
    EXPECT_EQ(options.patience, 40);
    EXPECT_EQ(options.misbehaviour.closeAtAcknowledgement, 1U);
    EXPECT_EQ(options.misbehaviour.dieAtAcknowledgement, 2U);
    EXPECT_EQ(options.misbehaviour.closeAtWord, 3U);
    EXPECT_EQ(options.misbehaviour.dieAtWord, 4U);
    EXPECT_EQ(options.misbehaviour.acknowledgementDelay, 50);
    EXPECT_TRUE(options.misbehaviour.inPieces);
    EXPECT_TRUE(options.misbehaviour.withReset);
    EXPECT_EQ(options.out, q7tools::pathFromUtf8("ö"));
    EXPECT_EQ(options.transcript, q7tools::pathFromUtf8("t"));
    EXPECT_EQ(options.readyFile, q7tools::pathFromUtf8("r"));
    EXPECT_TRUE(options.quiet);
    EXPECT_FALSE(options.checkArrays);
    EXPECT_EQ(options.connections, 6U);
    EXPECT_EQ(options.exitAfter, 70);
}

TEST(Options, NoAnswers) {
    const Options options = optionsOf({"--reply", "none", "--send-type", "none"});
    EXPECT_EQ(options.answers.reply, std::nullopt);
    EXPECT_EQ(options.answers.sendModelType, std::nullopt);
}

TEST(Options, TheLastOneCounts) {
    EXPECT_EQ(optionsOf({"--status", "1", "--status", "2"}).publication.status, 2);
}

TEST(Options, Metadata) {
    EXPECT_EQ(optionsOf({"--metadata", "size:5"}).answers.metadata, "xxxxx");
    const standintest::TestFolder folder;
    q7tools::writeWholeFile(folder.path() / "m.json", "{}\n");
    const std::string path = q7tools::pathToUtf8(folder.path() / "m.json");
    EXPECT_EQ(optionsOf({"--metadata", "@" + path}).answers.metadata, "{}\n");
    EXPECT_THROW(parseOptions({"--metadata", "@" + path + "x"}, {}), q7tools::FileError);
}

TEST(Options, Window) {
    const auto plain = optionsOf({"--window", "1920x1080"}).window;
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->width, 1920);
    EXPECT_EQ(plain->height, 1080);
    EXPECT_EQ(plain->title, 0U);
    EXPECT_EQ(plain->viewportTitle, 0U);
    const auto titled =
        optionsOf({"--viewport-title", "6", "--window-title", "2", "--window", "1x32767"}).window;
    ASSERT_TRUE(titled);
    EXPECT_EQ(titled->height, 32767);
    EXPECT_EQ(titled->title, 1U);
    EXPECT_EQ(titled->viewportTitle, 5U);
}

TEST(Options, MistakenWindows) {
    for (const char* size :
         {"", "1920", "1920x", "x1", "0x1", "1x32768", "1x1x1", "-1x1", "1 x1"}) {
        EXPECT_EQ(errorOf({"--window", size}),
                  "--window: \"" + std::string(size) +
                      "\" is no WIDTHxHEIGHT with numbers from 1 to 32767");
    }
    EXPECT_NE(errorOf({"--window", "1x1", "--window-title", "3"}), "");
    EXPECT_NE(errorOf({"--window", "1x1", "--viewport-title", "7"}), "");
    EXPECT_NE(errorOf({"--window", "1x1", "--viewport-title", "0"}), "");
    EXPECT_EQ(errorOf({"--viewport-title", "1"}), "a title is of use with --window only");
}

TEST(Options, Preview) {
    EXPECT_FALSE(optionsOf({"--out", "o"}).preview);
    const auto plain = optionsOf({"--preview", "--out", "o"}).preview;
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->size, (q7preview::Size{960, 540}));
    EXPECT_EQ(plain->up, q7preview::Axis::y);
    const auto chosen =
        optionsOf({"--preview-up", "z", "--preview-size", "20x10", "--out", "o", "--preview"})
            .preview;
    ASSERT_TRUE(chosen);
    EXPECT_EQ(chosen->size, (q7preview::Size{20, 10}));
    EXPECT_EQ(chosen->up, q7preview::Axis::z);
    EXPECT_EQ(errorOf({"--preview"}), "--preview needs --out");
    for (const char* option : {"--preview-size=1x1", "--preview-up=y"}) {
        EXPECT_EQ(errorOf({"--out", "o", option}),
                  "the size and the axis of pictures are of use with --preview only");
    }
    EXPECT_EQ(errorOf({"--out", "o", "--preview", "--preview-size", "1x4097"}),
              "--preview-size: \"1x4097\" is no WIDTHxHEIGHT with numbers from 1 to 4096");
    EXPECT_NE(errorOf({"--out", "o", "--preview", "--preview-up", "x"}), "");
}

TEST(Options, Mistakes) {
    EXPECT_NE(errorOf({"--sttaus", "1"}), "");
    EXPECT_NE(errorOf({"--status"}), "");
    EXPECT_NE(errorOf({"--status", "65536"}), "");
    EXPECT_NE(errorOf({"--status", "-1"}), "");
    EXPECT_NE(errorOf({"--exit-after", "-1"}), "");
    EXPECT_NE(errorOf({"file"}), "");
    EXPECT_EQ(errorOf({"--reply", "x"}), "\"x\" is neither a 32-bit number nor \"none\"");
    EXPECT_EQ(errorOf({"--reply", "4294967296"}),
              "\"4294967296\" is neither a 32-bit number nor \"none\"");
    EXPECT_EQ(errorOf({"--metadata", "size:"}),
              "--metadata: \"size:\" needs a number up to 268435456");
    EXPECT_EQ(errorOf({"--metadata", "size:268435457"}),
              "--metadata: \"size:268435457\" needs a number up to 268435456");
}

TEST(Options, VersionIsTold) {
    const auto parsed = parseOptions({"--version"}, {});
    const auto* text = std::get_if<HelpText>(&parsed);
    ASSERT_NE(text, nullptr);
    EXPECT_TRUE(text->text.starts_with("q7-standin ")) << text->text;
    EXPECT_TRUE(text->text.ends_with("\n"));
}

TEST(Options, HelpTeaches) {
    const auto parsed = parseOptions({"--help"}, {});
    const auto* help = std::get_if<HelpText>(&parsed);
    ASSERT_NE(help, nullptr);
    EXPECT_NE(help->text.find("Examples:"), std::string::npos);
    EXPECT_NE(help->text.find("--die-at-ack"), std::string::npos);
    for (const char* part :
         {"--preview ", "--preview-size", "--preview-up", "--out received --preview"})
        EXPECT_NE(help->text.find(part), std::string::npos) << part;
    EXPECT_NE(help->text.find("Exit status:"), std::string::npos);
}

TEST(Options, AsTheLauncher) {
    const Arguments arguments{"-pluginFile=C:\\my", "plug", "in.ini"};
    EXPECT_TRUE(isLaunch(arguments));
    EXPECT_FALSE(isLaunch({}));
    EXPECT_FALSE(isLaunch({"--quiet", "-pluginFile=a"}));
    const Options plain = optionsOf(arguments);
    EXPECT_EQ(plain.launchedWith, "C:\\my plug in.ini");
    EXPECT_EQ(plain.publication.status, 1);
    EXPECT_GT(plain.publication.startupDelay, 0);
    EXPECT_GT(plain.publication.statusDelay, 0);
    const Options chosen = optionsOf(arguments, {"--startup-delay", "0", "--status", "4"});
    EXPECT_EQ(chosen.publication.startupDelay, 0);
    EXPECT_EQ(chosen.publication.status, 4);
}

TEST(SplitOptions, BlanksAndQuotes) {
    EXPECT_EQ(splitOptions(""), Arguments{});
    EXPECT_EQ(splitOptions(" \r\n\t"), Arguments{});
    EXPECT_EQ(splitOptions("--out \"C:\\my files\"\r\n--quiet\n  --metadata \"\" a\"b c\"d"),
              (Arguments{"--out", "C:\\my files", "--quiet", "--metadata", "", "ab cd"}));
}

}  // namespace
