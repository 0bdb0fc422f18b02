#include "inspect/inspect.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "common/files.h"
#include "preview/image.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"
#include "tests/tools/common/stream_builder.h"
#include "tests/tools/inspect/sample_archive.h"

namespace {

using q7tools::pathToUtf8;
using streamtest::Scene;
using streamtest::StreamBuilder;

struct Outcome {
    int exitCode;
    std::string out;
    std::string err;
};

Outcome inspect(const std::vector<std::string>& arguments) {
    std::ostringstream out;
    std::ostringstream err;
    const int exitCode = q7inspect::inspectMain(arguments, out, err);
    return {exitCode, out.str(), err.str()};
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.rfind(start, 0) == 0;
}

class Inspect : public testing::Test {
  protected:
    // Writes the stream, and gives the file's name as an argument.
    std::string save(const StreamBuilder& stream, const std::string& name = "a.stream") {
        const auto path = folder_ / q7tools::pathFromUtf8(name);
        q7tools::writeWholeFile(
            path, std::string_view(reinterpret_cast<const char*>(stream.bytes().data()),
                                   stream.bytes().size()));
        return pathToUtf8(path);
    }

    std::string saveText(const std::string& text, const std::string& name) {
        q7tools::writeWholeFile(folder_ / name, text);
        return argument(name);
    }

    std::string argument(const std::string& name) const { return pathToUtf8(folder_ / name); }

    TemporaryFolder folder_;
};

TEST_F(Inspect, printsASummary) {
    const std::string file = save(Scene().build(), "\xe6\xa8\xa1\xe5\x9e\x8b \xc3\xa4.stream");
    const Outcome run = inspect({file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(startsWith(run.out, file + "\n  size ")) << run.out;
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, printsJson) {
    const std::string file = save(Scene().build());
    const Outcome run = inspect({"--json", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(run.out)["file"], file);
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, validStreamsGetOneLine) {
    const std::string file = save(Scene().build());
    const Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file + ": valid: 2 materials, 3 instances, 2 meshes, 5 placed triangles\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, validTellsMergedMeshes) {
    const std::string file = save(streamtest::mergedScene().build());
    const Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file +
                           ": valid: 2 materials, 1 instance, 3 meshes (1 merged), 2 placed "
                           "triangles\n");
}

TEST_F(Inspect, notesAreNoFaults) {
    Scene scene;
    scene.instances[0].transform[7] = 5;
    const std::string note =
        "1 instance has its translation in elements 3, 7 and 11 of the transform, and none in 12 "
        "to "
        "14: the matrix is transposed; of the mesh: \"quad\"\n";
    const std::string file = save(scene.build());
    const Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("\n" + file + ": note: at byte "), std::string::npos) << run.out;
    EXPECT_TRUE(run.out.ends_with(": " + note)) << run.out;
    const Outcome summary = inspect({file});
    EXPECT_EQ(summary.exitCode, 0);
    EXPECT_TRUE(summary.out.ends_with("\nNotes (1)\n  " + note)) << summary.out;
    EXPECT_EQ(inspect({"--json", file}).exitCode, 0);
}

TEST_F(Inspect, pathsAreReadFromTheMessageThatWasKept) {
    const std::string file = save(Scene().build(), "0004-model.q7mesh");
    saveText(R"({"instance_paths":["/a/Lamp","/b/Wall","/c/Wall"]})", "0004-instance-paths.json");
    const auto report = nlohmann::json::parse(inspect({"--json", file}).out);
    EXPECT_EQ(report["instancePathsIn"], "0004-instance-paths.json");
    EXPECT_EQ(report["instances"][2]["path"], "/c");
    EXPECT_NE(inspect({file}).out.find("(0, 0, -5)    /c\n"), std::string::npos);
}

TEST_F(Inspect, eachFaultGetsOneLine) {
    Scene scene;
    scene.header = streamtest::headerText(6);
    StreamBuilder stream = scene.build();
    const std::string end = std::to_string(stream.offset());
    stream.byte(0);
    const std::string file = save(stream);
    const Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out,
              file + ": at byte 4: header: \"triangleCount\" is 6, but the instances place 5\n" +
                  file + ": at byte " + end + ": 1 byte follows the end of the stream\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, manyFaultsAreCutUnlessAllAreAsked) {
    Scene scene;
    scene.header = streamtest::headerText(0);
    scene.instances.assign(60, {u"none", u"none"});
    const std::string file = save(scene.build());
    const Outcome cut = inspect({"--validate", file});
    EXPECT_EQ(cut.exitCode, 1);
    const std::string note = file +
                             ": note: at byte 204: 2 materials are described, but used by no "
                             "instance: \"Lamp\", \"Wall\"\n";
    EXPECT_EQ(std::ranges::count(cut.out, '\n'), 102);
    EXPECT_TRUE(cut.out.ends_with(file + ": ... and 20 more faults\n" + note)) << cut.out;
    const Outcome all = inspect({"--validate", "--all", file});
    EXPECT_EQ(std::ranges::count(all.out, '\n'), 121);
    EXPECT_TRUE(all.out.ends_with(note));
}

TEST_F(Inspect, aBrokenStreamIsAFaultInEveryMode) {
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(3);
    const std::string file = save(stream);
    const std::string reason =
        file + ": at byte 12: material count is 3, but the 0 bytes behind it hold at most 0\n";
    const Outcome validate = inspect({"--validate", file});
    EXPECT_EQ(validate.exitCode, 1);
    EXPECT_EQ(validate.out, reason);
    EXPECT_EQ(validate.err, "");
    for (const Outcome& run : {inspect({file}), inspect({"--json", file}),
                               inspect({"--obj", argument("a.obj"), file})}) {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "q7-inspect: " + reason);
    }
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.obj"));
}

TEST_F(Inspect, otherFilesAreNotTakenForStreams) {
    q7tools::writeWholeFile(folder_ / "page", "<!DOCTYPE html>");
    Outcome run = inspect({argument("page")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "q7-inspect: " + argument("page") +
                           ": at byte 0: not a model stream: it starts with the word 1329865020, "
                           "not with 11\n");
    q7tools::writeWholeFile(folder_ / "empty", "");
    run = inspect({argument("empty")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "q7-inspect: " + argument("empty") +
                           ": at byte 0: not a model stream: the file has 0 bytes\n");
}

TEST_F(Inspect, unreadableFilesAreNamed) {
    Outcome run = inspect({"--validate", argument("missing.stream")});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(
        startsWith(run.err, "q7-inspect: " + argument("missing.stream") + ": cannot be opened: "))
        << run.err;
    EXPECT_EQ(std::ranges::count(run.err, '\n'), 1);

    run = inspect({pathToUtf8(folder_.path())});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "q7-inspect: " + pathToUtf8(folder_.path()) + ": is a folder, not a file\n");
}

TEST_F(Inspect, writesObj) {
    const std::string file = save(Scene().build());
    const Outcome run = inspect({"--obj", argument("a.obj"), file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, argument("a.obj") + ": wrote 3 objects with 5 triangles\n");
    EXPECT_EQ(run.err, "");
    EXPECT_TRUE(startsWith(readFile(folder_ / "a.obj"), "o quad\ng quad\nv 0 0 0\n"));
}

TEST_F(Inspect, objTellsWhatItLeftOut) {
    Scene scene;
    scene.instances[2].mesh = u"none";
    scene.meshes[0].indices[0] = 7;
    const std::string file = save(scene.build());
    const Outcome run = inspect({file, "--obj", argument("a.obj")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, argument("a.obj") + ": wrote 2 objects with 2 triangles\n");
    EXPECT_EQ(run.err, "q7-inspect: " + file +
                           ": left out: 1 instance of missing meshes, 2 unusable triangles "
                           "(--validate tells more)\n");
}

TEST_F(Inspect, objNeverReplacesTheStream) {
    const std::string file = save(Scene().build());
    const std::string before = readFile(folder_ / "a.stream");
    const Outcome run = inspect({"--obj", file, file});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_EQ(run.err, "q7-inspect: " + file + ": is the input itself and stays as it is\n");
    EXPECT_EQ(readFile(folder_ / "a.stream"), before);
}

TEST_F(Inspect, objThatCannotBeWrittenIsNamed) {
    const std::string target = argument("no folder/a.obj");
    const Outcome run = inspect({"--obj", target, save(Scene().build())});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_NE(run.err.find("a.obj: cannot be written: "), std::string::npos) << run.err;
    EXPECT_EQ(std::ranges::count(run.err, '\n'), 1);
}

q7preview::Image pictureIn(const std::string& file) {
    return q7preview::readImage(q7tools::readWholeFile(q7tools::pathFromUtf8(file)));
}

TEST_F(Inspect, drawsAPreview) {
    const std::string file = save(Scene().build());
    const std::string png = argument("p.png");
    const Outcome run = inspect({file, "--preview", png});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(run.out, png + ": 960 x 540 pixels, 5 triangles, 1 texture not found\n");
    EXPECT_EQ(pictureIn(png).size(), (q7preview::Size{960, 540}));
}

TEST_F(Inspect, previewOfAChosenSizeAndAxis) {
    const std::string file = save(Scene().build());
    const std::string png = argument("p.png");
    EXPECT_EQ(inspect({file, "--preview", png, "--preview-size", "64x32"}).exitCode, 0);
    const q7preview::Image first = pictureIn(png);
    EXPECT_EQ(first.size(), (q7preview::Size{64, 32}));
    EXPECT_EQ(
        inspect({"--preview", png, "--preview-size=64x32", "--preview-up", "z", file}).exitCode, 0);
    EXPECT_NE(pictureIn(png), first);
    EXPECT_EQ(inspect({file, "--preview", png, "--preview-size", "5000x1"}).err,
              "q7-inspect: usage: --preview-size: \"5000x1\" is no WIDTHxHEIGHT with numbers from "
              "1 to 4096 (--help tells more)\n");
}

TEST_F(Inspect, previewByACamera) {
    Scene scene;
    scene.instances = {{u"quad", u"Wall"}};
    const std::string file = save(scene.build());
    const std::string camera =
        saveText(R"({"Position":[0.5,0.5,9],"Direction":[0,0,-1]})", "camera.json");
    const std::string away =
        saveText(R"({"Position":[0.5,0.5,9],"Direction":[0,0,1]})", "away.json");
    const std::string png = argument("p.png");
    const Outcome run =
        inspect({file, "--preview", png, "--preview-camera", camera, "--preview-size", "9x9"});
    EXPECT_EQ(run.exitCode, 0);
    // The middle of the background.
    constexpr q7preview::Pixel empty{223, 228, 235};
    EXPECT_NE(pictureIn(png).pixel(4, 4), empty);
    EXPECT_EQ(pictureIn(png).pixel(2, 4), empty);
    EXPECT_EQ(
        inspect({file, "--preview", png, "--preview-camera", away, "--preview-size", "9x9"}).out,
        png + ": 9 x 9 pixels, 2 triangles; all of it, since the camera sees nothing of it\n");
    const Outcome none = inspect({file, "--preview", png, "--preview-camera", file});
    EXPECT_EQ(none.exitCode, 2);
    EXPECT_EQ(none.err, "q7-inspect: " + file +
                            ": is no camera, which is a JSON object with Position and Direction\n");
}

TEST_F(Inspect, previewTellsWhatItLeftOut) {
    Scene scene;
    scene.instances.push_back({u"missing", u"Wall"});
    scene.meshes[1].indices[0] = 7;
    const std::string file = save(scene.build());
    const std::string png = argument("p.png");
    const Outcome run = inspect({file, "--preview", png, "--preview-size", "8x8"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, png + ": 8 x 8 pixels, 4 triangles, 1 texture not found\n");
    EXPECT_EQ(run.err, "q7-inspect: " + file +
                           ": left out: 1 instance of missing meshes, 1 unusable triangle "
                           "(--validate tells more)\n");
}

TEST_F(Inspect, previewThatCannotBeWrittenLeavesWhatIsThere) {
    const std::string file = save(Scene().build());
    const Outcome itself = inspect({file, "--preview", file});
    EXPECT_EQ(itself.exitCode, 2);
    EXPECT_EQ(itself.err, "q7-inspect: " + file + ": is the input itself and stays as it is\n");
    const std::string missing = argument("no folder/p.png");
    EXPECT_EQ(inspect({file, "--preview", missing, "--preview-size", "8x8"}).exitCode, 2);
    const std::string old = saveText("old", "p.png");
    EXPECT_EQ(inspect({saveText("no stream", "b.txt"), "--preview", old}).exitCode, 1);
    EXPECT_EQ(readFile(folder_ / "p.png"), "old");
}

TEST_F(Inspect, compareGivesOneLineForTheSameScene) {
    Scene turned;
    std::swap(turned.meshes[0], turned.meshes[1]);
    const std::string a = save(Scene().build(), "a.stream");
    const std::string b = save(turned.build(), "b.stream");
    for (const Outcome& run :
         {inspect({"--compare", a, b}), inspect({a, "--order", b, "--compare"}),
          inspect({"--compare", "--link", a, b})}) {
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.out, a + " (A) and " + b +
                               " (B): the same scene: 2 materials, 3 instances, 2 meshes\n");
        EXPECT_EQ(run.err, "");
    }
}

TEST_F(Inspect, compareGivesOneLineForEachDifference) {
    Scene other;
    other.version = 12;
    other.meshes[1].indices = {0, 2, 1};
    const std::string a = save(Scene().build(), "a.stream");
    const std::string b = save(other.build(), "b.stream");
    const Outcome run = inspect({"--compare", a, b});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out,
              "version word: 11 in A, 12 in B\n"
              "mesh \"tri\": indices[1] is 1 in A, 2 in B, and 1 more differs\n" +
                  a + " (A) and " + b + " (B): 2 differences\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, compareCutsManyDifferencesUnlessAllAreAsked) {
    Scene other;
    other.instances.assign(117, {u"none", u"none"});
    const std::string a = save(Scene().build(), "a.stream");
    const std::string b = save(other.build(), "b.stream");
    const Outcome cut = inspect({"--compare", a, b});
    EXPECT_EQ(std::ranges::count(cut.out, '\n'), 101);
    EXPECT_TRUE(cut.out.ends_with("(B): 120 differences (20 not shown: --all)\n")) << cut.out;
    const Outcome all = inspect({"--compare", "--all", a, b});
    EXPECT_EQ(std::ranges::count(all.out, '\n'), 121);
    EXPECT_TRUE(all.out.ends_with("(B): 120 differences\n")) << all.out;
}

TEST_F(Inspect, compareTellsWhatTheLinkMay) {
    Scene saved;
    saved.meshes.push_back({u"spare", {}, {}, {}, {}, {}});
    Scene received;
    received.meshes[0].colors.clear();
    received.meshes.push_back({u"@g@m@q7_", {0, 0, 0}, {}, {0, 0}, {}, {0, 0, 0}});
    received.instances.push_back({u"@g@m@q7_", u"Lamp"});
    received.header = streamtest::headerText(6);
    const std::string a = save(saved.build(), "a.stream");
    const std::string b = save(received.build(), "b.stream");
    const std::string allowed =
        "; allowed: 1 unused mesh not received, colors of 1 mesh not received, the generated mesh "
        "and 1 generated instance ignored\n";
    Outcome run = inspect({"--compare", "--link", a, b});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, a + " (A) and " + b +
                           " (B): the same scene: 2 materials, 3 instances, 3 meshes" + allowed);
    saved.instances.pop_back();
    save(saved.build(), "a.stream");
    run = inspect({"--compare", "--link", a, b});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(run.out.ends_with(" (B): 1 difference" + allowed)) << run.out;
}

TEST_F(Inspect, compareNamesTheStreamThatCannotBeRead) {
    const std::string good = save(Scene().build());
    q7tools::writeWholeFile(folder_ / "empty", "");
    const std::string empty = argument("empty");
    const std::string reason =
        "q7-inspect: " + empty + ": at byte 0: not a model stream: the file has 0 bytes\n";
    for (const Outcome& run :
         {inspect({"--compare", good, empty}), inspect({"--compare", empty, good})}) {
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, reason);
    }
    const Outcome missing = inspect({"--compare", good, argument("missing")});
    EXPECT_EQ(missing.exitCode, 2);
    EXPECT_TRUE(
        startsWith(missing.err, "q7-inspect: " + argument("missing") + ": cannot be opened: "))
        << missing.err;
}

TEST_F(Inspect, archivesWorkInEveryMode) {
    const std::string file = saveText(archivetest::soundArchive().build(), "a.q7a");
    const std::string stream = save(archivetest::scene().build(), "a.q7mesh");
    Outcome run = inspect({file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("Entries (6)"), std::string::npos);
    run = inspect({"--json", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(nlohmann::json::parse(run.out)["file"], file);
    run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file +
                           ": valid: archive of model, 6 entries, 2 textures; 2 materials, 3 "
                           "instances, 2 meshes, 5 placed triangles\n");
    run = inspect({"--obj", argument("a.obj"), file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, argument("a.obj") + ": wrote 3 objects with 5 triangles\n");
    for (const auto& [a, b] : {std::pair{file, stream}, std::pair{stream, file}}) {
        run = inspect({"--compare", a, b});
        EXPECT_EQ(run.exitCode, 0);
        EXPECT_EQ(run.out, a + " (A) and " + b +
                               " (B): the same scene: 2 materials, 3 instances, 2 meshes\n");
    }
}

TEST_F(Inspect, archivesOfExternalFiles) {
    const std::string file = saveText(archivetest::externalArchive().build(), "a.q7a");
    Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_EQ(run.out, file + ": valid: archive of external file, 5 entries, 2 textures\n");
    run = inspect({"--obj", argument("a.obj"), file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.err, "q7-inspect: " + file + ": the archive holds no model stream (1.q7mesh)\n");
}

TEST_F(Inspect, faultsAndNotesOfArchives) {
    ziptest::ZipBuilder zip = archivetest::soundArchive();
    zip.add("extra", "x");
    const std::string file = saveText(zip.build(), "a.q7a");
    Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 0);
    const std::string note = file +
                             ": note: extra: is no part of an archive; it was left in the folder "
                             "that was packed\n";
    EXPECT_TRUE(run.out.ends_with(" placed triangles\n" + note)) << run.out;
    zip.entry("info.json").data = "{}";
    zip.remove("textures/");
    saveText(zip.build(), "a.q7a");
    run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, file + ": the entry \"textures\" is missing\n" + file +
                           ": info.json: at byte 0: the key \"productID\" is missing\n" + note);
    EXPECT_EQ(run.err, "");
}

// Either all is well or there is one line that names the file.
void expectOneVerdict(const Outcome& run, const std::string& file) {
    if (run.exitCode == 0) {
        EXPECT_EQ(run.err, "");
        return;
    }
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_TRUE(startsWith(run.err, "q7-inspect: " + file + ": ")) << run.err;
    EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
}

ziptest::ZipBuilder smallArchive() {
    ziptest::ZipBuilder zip;
    StreamBuilder stream;
    stream.word(11).text(u"{}").word(0).word(0).word(0);
    zip.add("1.q7mesh", std::string(ziptest::asText(stream.bytes())));
    zip.add("info.json", "{\"productID\":\"" + archivetest::productId + "\"}");
    zip.add("q7material.xml", "<Q7Materials_2>\n</Q7Materials_2>\n").folder("textures/");
    return zip;
}

TEST_F(Inspect, everyTruncatedArchiveGivesOneError) {
    const std::string whole = smallArchive().build();
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::string file = saveText(whole.substr(0, size), "a.q7a");
        const Outcome run = inspect({file});
        EXPECT_EQ(run.exitCode, 1) << size;
        expectOneVerdict(run, file);
        EXPECT_EQ(inspect({"--validate", file}).exitCode, 1) << size;
    }
}

TEST_F(Inspect, everyDamagedByteOfAnArchiveGivesOneVerdict) {
    const std::string sound = smallArchive().build();
    for (std::size_t i = 0; i < sound.size(); ++i) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string damaged = sound;
            damaged[i] = static_cast<char>(damaged[i] ^ change);
            const std::string file = saveText(damaged, "a.q7a");
            expectOneVerdict(inspect({file}), file);
            const Outcome validate = inspect({"--validate", file});
            EXPECT_EQ(validate.err, "");
            EXPECT_TRUE(startsWith(validate.out, file + ": ")) << validate.out;
        }
    }
}

TEST_F(Inspect, damagedTexturesAreToldWithTheirPlace) {
    ziptest::ZipBuilder zip = archivetest::soundArchive();
    zip.entry("textures/glow.jpg").crc = 1;
    const std::string file = saveText(zip.build(), "a.q7a");
    const Outcome run = inspect({"--validate", file});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(startsWith(run.out, file + ": at byte ")) << run.out;
    EXPECT_TRUE(run.out.ends_with(", not 00000001\n")) << run.out;
    EXPECT_EQ(std::ranges::count(run.out, '\n'), 1);
}

TEST_F(Inspect, badUsageIsOneLine) {
    const std::vector<std::vector<std::string>> wrong = {
        {},
        {"--unknown", "x"},
        {"a", "b"},
        {"--json", "--validate", "x"},
        {"x", "--obj"},
        {"--obj", "o", "--json", "x"},
        {"--compare", "x"},
        {"--link", "x"},
        {"--order", "x"},
        {"--compare", "a", "b", "c"},
        {"--compare", "--json", "a", "b"},
        {"--compare", "--validate", "a", "b"},
        {"--compare", "a", "b", "--obj", "o"},
        {"x", "--preview"},
        {"x", "--preview", "p", "--json"},
        {"x", "--preview", "p", "--validate"},
        {"x", "--preview", "p", "--obj", "o"},
        {"x", "y", "--preview", "p", "--compare"},
        {"x", "--preview-size", "1x1"},
        {"x", "--preview-camera", "c"},
        {"x", "--preview-up", "z"},
        {"x", "--preview", "p", "--preview-up", "x"},
        {"x", "--preview", "p", "--preview-size", "0x1"}};
    for (const auto& arguments : wrong) {
        const Outcome run = inspect(arguments);
        EXPECT_EQ(run.exitCode, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_TRUE(startsWith(run.err, "q7-inspect: usage: ")) << run.err;
        EXPECT_EQ(std::ranges::count(run.err, '\n'), 1) << run.err;
    }
}

TEST_F(Inspect, aSlashStartsAPathAndNoOption) {
    const Outcome run = inspect({"/no such folder/a.stream"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(startsWith(run.err, "q7-inspect: /no such folder/a.stream: cannot be opened"))
        << run.err;
}

TEST_F(Inspect, helpTeaches) {
    const Outcome run = inspect({"--help"});
    EXPECT_EQ(run.exitCode, 0);
    for (const char* part :
         {"Usage: q7-inspect", "--json", "--validate", "--obj OUT", "--all", "--compare", "--link",
          "--order", "--preview OUT.png", "--preview-size WIDTHxHEIGHT", "--preview-camera FILE",
          "--preview-up AXIS", "Examples:", "Exit status:"}) {
        EXPECT_NE(run.out.find(part), std::string::npos) << part;
    }
    EXPECT_EQ(run.err, "");
}

TEST_F(Inspect, outputThatCannotBeWrittenIsAFailure) {
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    std::ostringstream err;
    EXPECT_EQ(q7inspect::inspectMain({save(Scene().build())}, out, err), 2);
    EXPECT_EQ(err.str(), "q7-inspect: standard output: cannot be written to the end\n");
}

}  // namespace
