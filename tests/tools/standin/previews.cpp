#include "standin/previews.h"

#include <gtest/gtest.h>

#if !defined(_WIN32)
#include <pthread.h>
#endif

#include "common/files.h"
#include "tests/tools/standin/harness.h"
#include "tests/tools/standin/model_script.h"

namespace {

using q7preview::Image;
using q7preview::PreviewOptions;
using q7preview::Size;
using standintest::Harness;
using standintest::ScriptedClient;

PreviewOptions small() {
    PreviewOptions options;
    options.size = Size{32, 24};
    return options;
}

class StandinPreviews : public testing::Test {
  protected:
    StandinPreviews() : previews(small(), harness.store, harness.log) {
        harness.services.previews = &previews;
    }

    void serve(ScriptedClient& client) {
        EXPECT_EQ(harness.serve(client), "closed by the client");
        previews.finish();
    }

    void sendModel() {
        ScriptedClient client;
        standintest::scriptConnect(client, 7);
        standintest::scriptPlainModel(client, standintest::withoutColors({}));
        serve(client);
    }

    void sendCamera(const std::u16string& text) {
        ScriptedClient client;
        client.word(12).text(text);
        serve(client);
    }

    Image picture(const std::string& name) const {
        return q7preview::readImage(q7tools::readWholeFile(harness.folder.path() / name));
    }

    Harness harness;
    q7standin::Previews previews;
};

// Of the model file of the scripts.
const std::u16string fromAbove =
    uR"({"Direction":[0.0,0.0,-1.0],"OrthographicWidth":40.0,"Position":[5.0,10.0,99.0],)"
    uR"("model_file_path":"C:\\a.skp"})";

TEST_F(StandinPreviews, modelsGetAPictureBesideThem) {
    sendModel();
    EXPECT_EQ(harness.folder.names(),
              (std::vector<std::string>{"0001-sync.json", "0002-model.png", "0002-model.q7mesh"}));
    EXPECT_EQ(picture("0002-model.png").size(), (Size{32, 24}));
    const std::string line = harness.outLines().back();
    EXPECT_TRUE(
        line.ends_with("drew 0002-model.png: 32 x 24 pixels, 5 triangles, 1 texture not found"))
        << line;
    const std::size_t lines = harness.outLines().size();
    previews.finish();
    EXPECT_EQ(harness.outLines().size(), lines);
}

TEST_F(StandinPreviews, allThatComesInOneGoIsDrawnOnce) {
    previews.syncBegins("C:\\a.skp");
    for (const char* name : {"0001-model.q7mesh", "0002-model.q7mesh"}) {
        std::ofstream(harness.folder.path() / name, std::ios::binary) << "x";
        previews.modelKept(name);
    }
    previews.cameraArrived(wideToUtf8(fromAbove));
    previews.cameraArrived(wideToUtf8(fromAbove));
    previews.finish();
    ASSERT_EQ(harness.outLines().size(), 1U);
    EXPECT_NE(harness.outLines()[0].find("0002-model.png is not drawn: "), std::string::npos);
}

// A picture is begun in one call and kept in a later one.
TEST_F(StandinPreviews, goesOnWithoutWaiting) {
    previews.syncBegins("a");
    previews.modelKept("missing.q7mesh");
    previews.goOn();
    EXPECT_EQ(harness.outLines().size(), 0U);
    previews.finish();
    EXPECT_EQ(harness.outLines().size(), 1U);
    previews.goOn();
    EXPECT_EQ(harness.outLines().size(), 1U);
}

TEST_F(StandinPreviews, noFurtherPictureIsBegunAfterAStop) {
    const auto keep = [this](const std::string& name) {
        previews.syncBegins(name);
        previews.modelKept(name + ".q7mesh");
    };
    for (const char* name : {"a", "b", "c"})
        keep(name);
    int asked = 0;
    previews.finish([&asked] { return ++asked > 1; });
    ASSERT_EQ(harness.outLines().size(), 2U);
    EXPECT_TRUE(harness.outLines()[0].find("a.png is not drawn: ") != std::string::npos);
    EXPECT_TRUE(harness.outLines()[1].ends_with("2 pictures are not drawn"));
    previews.finish([&asked] { return ++asked > 3; });
    ASSERT_EQ(harness.outLines().size(), 4U);
    EXPECT_TRUE(harness.outLines()[3].ends_with("1 picture is not drawn"));
}

// The picture of the first model is begun before the stop, so it is kept.
TEST_F(StandinPreviews, aPictureThatIsBegunIsKeptAfterAStop) {
    ScriptedClient client;
    standintest::scriptConnect(client, 7);
    standintest::scriptPlainModel(client, standintest::withoutColors({}));
    EXPECT_EQ(harness.serve(client), "closed by the client");
    previews.goOn();
    previews.finish([] { return true; });
    EXPECT_EQ(picture("0002-model.png").size(), (Size{32, 24}));
    EXPECT_EQ(harness.out.str().find("not drawn"), std::string::npos);
}

TEST_F(StandinPreviews, aCameraDrawsItsModelAgain) {
    sendModel();
    const Image whole = picture("0002-model.png");
    sendCamera(fromAbove);
    const Image seen = picture("0002-model.png");
    EXPECT_NE(seen, whole);
    // The next model of that file is seen by the same camera.
    sendModel();
    EXPECT_EQ(picture("0005-model.png"), seen);
    // One that is not understood shows all again, of the last model.
    sendCamera(uR"({"Position":1,"model_file_path":"C:\\a.skp"})");
    EXPECT_EQ(picture("0005-model.png"), whole);
    EXPECT_EQ(picture("0002-model.png"), seen);
    EXPECT_EQ(harness.errors.str(), "");
}

TEST_F(StandinPreviews, aCameraOfAnotherModelChangesNothing) {
    sendModel();
    const Image whole = picture("0002-model.png");
    const std::size_t lines = harness.outLines().size();
    sendCamera(uR"({"Direction":[0,0,1],"Position":[0,0,9],"model_file_path":"b.skp"})");
    sendCamera(u"null");
    EXPECT_EQ(picture("0002-model.png"), whole);
    // The two messages, and that the second one is no camera.
    EXPECT_EQ(harness.outLines().size(), lines + 3);
}

TEST_F(StandinPreviews, aCameraThatComesFirst) {
    sendCamera(fromAbove);
    sendModel();
    const Image seen = picture("0003-model.png");
    sendCamera(uR"({"Position":1,"model_file_path":"C:\\a.skp"})");
    EXPECT_NE(picture("0003-model.png"), seen);
    sendCamera(fromAbove);
    EXPECT_EQ(picture("0003-model.png"), seen);
}

TEST_F(StandinPreviews, modelsThatCannotBeReadAreTold) {
    previews.syncBegins("a");
    previews.modelKept("0007-model.q7mesh");
    q7tools::writeWholeFile(harness.folder.path() / "0007-model.q7mesh", "x");
    previews.finish();
    const std::string line = harness.outLines().back();
    EXPECT_NE(line.find("0007-model.png is not drawn: "), std::string::npos) << line;
    EXPECT_FALSE(std::filesystem::exists(harness.folder.path() / "0007-model.png"));
}

TEST_F(StandinPreviews, aModelThatWasRemovedIsTold) {
    previews.syncBegins("a");
    previews.modelKept("0008-model.q7mesh");
    EXPECT_NO_THROW(previews.finish());
    ASSERT_EQ(harness.outLines().size(), 1U);
    const std::string line = harness.outLines().back();
    EXPECT_NE(line.find("0008-model.png is not drawn: cannot be opened"), std::string::npos)
        << line;
    // The next one is drawn all the same.
    sendModel();
    EXPECT_EQ(picture("0002-model.png").size(), (Size{32, 24}));
}

TEST_F(StandinPreviews, aPictureThatCannotBeWrittenIsAnError) {
    ScriptedClient client;
    standintest::scriptConnect(client, 7);
    standintest::scriptPlainModel(client, standintest::withoutColors({}));
    EXPECT_EQ(harness.serve(client), "closed by the client");
    std::filesystem::create_directories(harness.folder.path() / "0002-model.png" / "full");
    EXPECT_THROW(previews.finish(), q7tools::FileError);
}

#if !defined(_WIN32)
TEST_F(StandinPreviews, aThreadThatCannotBeStartedIsTold) {
    pthread_attr_t usual;
    ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
    pthread_attr_t huge = usual;
    ASSERT_EQ(pthread_attr_setstacksize(&huge, std::size_t{1} << 50), 0);
    ASSERT_EQ(pthread_setattr_default_np(&huge), 0);
    previews.syncBegins("a");
    previews.modelKept("0001-model.q7mesh");
    EXPECT_NO_THROW(previews.goOn());
    EXPECT_EQ(pthread_setattr_default_np(&usual), 0);
    pthread_attr_destroy(&usual);
    ASSERT_EQ(harness.outLines().size(), 1U);
    EXPECT_NE(harness.outLines()[0].find("0001-model.png is not drawn: "), std::string::npos);
}
#endif

}  // namespace
