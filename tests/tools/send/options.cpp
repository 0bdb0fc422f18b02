#include "send/options.h"

#include <gtest/gtest.h>

namespace q7send {

using Arguments = std::vector<std::string>;

Options good(const Arguments& arguments) {
    const auto parsed = parseOptions(arguments, "1.2");
    const Options* options = std::get_if<Options>(&parsed);
    EXPECT_NE(options, nullptr);
    return options == nullptr ? Options{} : *options;
}

std::string badReason(const Arguments& arguments) {
    const auto parsed = parseOptions(arguments, "1.2");
    const UsageError* error = std::get_if<UsageError>(&parsed);
    return error == nullptr ? "no error" : error->reason;
}

std::string helpText(const Arguments& arguments) {
    const auto parsed = parseOptions(arguments, "1.2");
    const HelpText* help = std::get_if<HelpText>(&parsed);
    return help == nullptr ? "no help" : help->text;
}

TEST(ParseOptions, TakesEitherOutputOrBoth) {
    const Options stream = good({"a.obj", "--stream", "b.q7mesh"});
    EXPECT_EQ(stream.model, "a.obj");
    EXPECT_EQ(stream.stream, "b.q7mesh");
    EXPECT_FALSE(stream.materials);
    const Options materials = good({"--materials=c.xml", "a.obj"});
    EXPECT_FALSE(materials.stream);
    EXPECT_EQ(materials.materials, "c.xml");
    const Options both = good({"--stream", "b", "--materials", "c", "\xE7\xAA\x93.obj"});
    EXPECT_EQ(both.model, std::filesystem::path(u8"窓.obj"));
    EXPECT_TRUE(both.stream && both.materials);
}

TEST(ParseOptions, ChoosesTheFormOfTheStream) {
    EXPECT_EQ(good({"a.obj", "--stream", "b"}).form, StreamForm::raw);
    EXPECT_EQ(good({"a.obj", "--processed", "--stream", "b"}).form, StreamForm::processed);
    EXPECT_EQ(badReason({"a.obj", "--processed", "--materials", "b"}),
              "--processed is of use with --live, --stream or --q7a only");
    EXPECT_EQ(good({"a.obj", "--raw", "--stream", "b"}).form, StreamForm::raw);
    EXPECT_EQ(badReason({"a.obj", "--raw", "--materials", "b"}),
              "--raw is of use with --live, --stream or --q7a only");
}

TEST(ParseOptions, ChoosesTheFormForTheRenderer) {
    const Options raw = good({"a.obj", "--live"});
    EXPECT_EQ(raw.live, LiveForm::raw);
    EXPECT_EQ(raw.form, StreamForm::raw);
    EXPECT_FALSE(raw.genMaterials);
    EXPECT_FALSE(raw.stream || raw.materials);
    EXPECT_EQ(good({"a.obj", "--live", "--raw"}).live, LiveForm::raw);
    const Options processed =
        good({"a.obj", "--live", "--processed", "--gen-materials", "--stream", "b"});
    EXPECT_EQ(processed.live, LiveForm::processed);
    EXPECT_EQ(processed.form, StreamForm::processed);
    EXPECT_TRUE(processed.genMaterials && processed.stream);
    const Options group = good({"a.obj", "--group", "--live"});
    EXPECT_EQ(group.live, LiveForm::group);
    EXPECT_EQ(group.form, StreamForm::processed);
    EXPECT_FALSE(good({"a.obj", "--stream", "b"}).live);
}

TEST(ParseOptions, RefusesFormsThatDoNotFit) {
    const std::string exclusive = "--raw, --processed and --group exclude each other";
    EXPECT_EQ(badReason({"a.obj", "--live", "--raw", "--processed"}), exclusive);
    EXPECT_EQ(badReason({"a.obj", "--live", "--group", "--processed"}), exclusive);
    EXPECT_EQ(badReason({"a.obj", "--stream", "b", "--group"}),
              "--group is of use with --live only");
    EXPECT_EQ(badReason({"a.obj", "--stream", "b", "--gen-materials"}),
              "--gen-materials is of use with --live only");
}

TEST(ParseOptions, Archives) {
    const Options raw = good({"a.obj", "--q7a", "b.q7a"});
    EXPECT_EQ(raw.archive, "b.q7a");
    EXPECT_EQ(raw.form, StreamForm::raw);
    EXPECT_FALSE(raw.packed);
    EXPECT_EQ(good({"a.obj", "--q7a", "b", "--processed"}).form, StreamForm::processed);
    const Options packed = good({"a.obj", "--q7a", "b", "--pack", "c.step"});
    EXPECT_EQ(packed.packed, "c.step");
    EXPECT_EQ(badReason({"a.obj", "--live", "--pack", "c"}), "--pack is of use with --q7a only");
    EXPECT_EQ(badReason({"a.obj", "--q7a", "b", "--pack", "c", "--processed"}),
              "--processed is of use with --live, --stream or --q7a only");
    EXPECT_TRUE(good({"a.obj", "--q7a", "b", "--pack", "c", "--processed", "--live"}).packed);
    EXPECT_EQ(badReason({"a.obj", "--q7a", "b", "--stream", "./b"}),
              "--stream and --q7a name the same file");
    EXPECT_EQ(badReason({"a.obj", "--q7a", "b", "--materials", "b"}),
              "--materials and --q7a name the same file");
}

TEST(ParseOptions, TellsWhatIsWrong) {
    EXPECT_EQ(badReason({"a.obj"}), "nothing to do: give --live, --stream, --materials or --q7a");
    EXPECT_EQ(badReason({"--stream", "b"}), "MODEL is required");
    EXPECT_EQ(badReason({"", "--stream", "b"}), "MODEL is empty");
    EXPECT_EQ(badReason({"a.obj", "--stream", "x/../b", "--materials", "b"}),
              "--stream and --materials name the same file");
    EXPECT_NE(badReason({"a.obj", "--stream"}), "no error");
    EXPECT_NE(badReason({"a.obj", "--stream", "b", "--frobnicate"}).find("--frobnicate"),
              std::string::npos);
    EXPECT_NE(badReason({"a.obj", "b.obj", "--stream", "b"}).find("b.obj"), std::string::npos);
}

TEST(ParseOptions, HelpTeachesWithExamplesAndProperties) {
    for (const char* option : {"--help", "-h"}) {
        const std::string help = helpText({option});
        for (const char* part :
             {"--stream OUT.q7mesh", "--processed", "--live", "--group", "--gen-materials",
              "--materials OUT.xml", "Examples:", "q7-send engine.glb --stream engine.q7mesh",
              "--q7a OUT.q7a", "--pack FILE", "MetallicRoughnessTexture", "FieldOfView",
              "Exit status: 0"}) {
            EXPECT_NE(help.find(part), std::string::npos) << part;
        }
    }
}

TEST(ParseOptions, Version) {
    EXPECT_EQ(helpText({"--version"}), "q7-send 1.2\n");
}

}  // namespace q7send
