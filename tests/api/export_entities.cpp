#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "tests/host.h"
#include "tests/message_recorder.h"

namespace {

class Entities : public testing::Test {
  protected:
    std::string lights() {
        return wideToUtf8(recorder.textOf(14, [&] { Q7SendLights(host.session); }));
    }
    std::string scenes() {
        return wideToUtf8(recorder.textOf(13, [&] { Q7SendScenes(host.session); }));
    }
    std::string camera() {
        return wideToUtf8(recorder.textOf(12, [&] { Q7SendCamera(host.session); }));
    }
    std::string metaData() {
        return wideToUtf8(recorder.textOf(15, [&] { Q7SendMetaData(host.session); }));
    }
    std::string cameraAnimations() {
        return wideToUtf8(recorder.textOf(18, [&] { Q7SendCameraAnims(host.session); }));
    }
    // All set functions on one record.
    void setAll(std::uint32_t type, const Q7Char* name) const {
        const float floats[] = {0.5F, 2};
        Q7SetEntityIntProperty(host.session, type, name, Q7T("i"), -7);
        Q7SetEntityFloatProperty(host.session, type, name, Q7T("f"), 0.1F);
        Q7SetEntityFloatArrayProperty(host.session, type, name, Q7T("fs"), floats, 2);
        Q7SetEntityStringProperty(host.session, type, name, Q7T("t"), Q7T("\u4E2D \U0001F600"));
    }

    MessageRecorder recorder;
    Host host;
};

const std::string all =
    "\"f\":0.10000000149011612,\"fs\":[0.5,2.0],\"i\":-7,"
    "\"t\":\"\u4E2D \U0001F600\"";

}  // namespace

TEST_F(Entities, EachTypeTakesEverySet) {
    Q7AddLight(host.session, Q7T("name"));
    Q7AddScene(host.session, Q7T("name"));
    Q7AddCameraAnims(host.session, Q7T("name"));
    for (const std::uint32_t type : {0U, 1U, 2U, 3U, 4U})
        setAll(type, Q7T("name"));
    EXPECT_EQ(camera(), "{" + all + "}");
    EXPECT_EQ(metaData(), "{" + all + "}");
    EXPECT_EQ(lights(), "{\"lights\":[{" + all + "}],\"model_file_path\":\"\"}");
    EXPECT_EQ(scenes(), "{\"model_file_path\":\"\",\"scenes\":[{" + all + "}]}");
    EXPECT_EQ(cameraAnimations(),
              R"({"CameraAnimations":[{"FrameData":[],"Name":"name",)" + all + "}]}");
}

TEST_F(Entities, TheNameOfTheOneCameraAndMetadataIsNotRead) {
    for (const std::uint32_t type : {0U, 3U})
        setAll(type, nullptr);
    EXPECT_EQ(camera(), "{" + all + "}");
    for (const std::uint32_t type : {0U, 3U}) {
        Q7DeleteEntityProperty(host.session, type, nullptr, Q7T("t"));
        Q7ResetEntityProperty(host.session, type, nullptr);
    }
    EXPECT_EQ(camera(), "null");
    EXPECT_EQ(metaData(), "null");
}

TEST_F(Entities, UnknownTypesAndNamesDoNothing) {
    Q7AddLight(host.session, Q7T("light"));
    Q7AddScene(host.session, Q7T("scene"));
    Q7AddCameraAnims(host.session, Q7T("animation"));
    setAll(1, Q7T("scene"));
    setAll(2, Q7T("light"));
    setAll(4, Q7T("light"));
    setAll(5, Q7T("light"));
    setAll(0xFFFFFFFF, nullptr);
    Q7ResetEntityProperty(host.session, 1, Q7T("unknown"));
    Q7ResetEntityProperty(host.session, 5, nullptr);
    Q7DeleteEntityProperty(host.session, 2, Q7T("unknown"), Q7T("t"));
    Q7DeleteEntityProperty(host.session, 0xFFFFFFFF, nullptr, Q7T("t"));
    EXPECT_EQ(lights(), R"({"lights":[null],"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[null]})");
    EXPECT_EQ(cameraAnimations(), R"({"CameraAnimations":[{"FrameData":[],"Name":"animation"}]})");
    EXPECT_EQ(camera(), "null");
    EXPECT_EQ(metaData(), "null");
}

TEST_F(Entities, PropertiesAreRemovedOneByOneAndAllAtOnce) {
    Q7AddLight(host.session, Q7T("name"));
    Q7AddScene(host.session, Q7T("name"));
    for (const std::uint32_t type : {0U, 1U, 2U, 3U}) {
        setAll(type, Q7T("name"));
        for (const Q7Char* property : {Q7T("f"), Q7T("fs"), Q7T("t"), Q7T("unknown")})
            Q7DeleteEntityProperty(host.session, type, Q7T("name"), property);
    }
    EXPECT_EQ(camera(), R"({"i":-7})");
    EXPECT_EQ(metaData(), R"({"i":-7})");
    EXPECT_EQ(lights(), R"({"lights":[{"i":-7}],"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[{"i":-7}]})");
    for (const std::uint32_t type : {0U, 1U, 2U, 3U})
        Q7ResetEntityProperty(host.session, type, Q7T("name"));
    EXPECT_EQ(camera(), "null");
    EXPECT_EQ(metaData(), "null");
    EXPECT_EQ(lights(), R"({"lights":[null],"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[null]})");
}

TEST_F(Entities, ACameraAnimationGivesNothingUp) {
    Q7AddCameraAnims(host.session, Q7T("name"));
    Q7DeleteEntityProperty(host.session, 4, Q7T("name"), Q7T("Name"));
    Q7ResetEntityProperty(host.session, 4, Q7T("name"));
    EXPECT_EQ(cameraAnimations(), R"({"CameraAnimations":[{"FrameData":[],"Name":"name"}]})");
}

TEST_F(Entities, TheModelsPathOutlivesDeletingAndResetting) {
    SetModelFilePath(host.session, Q7T("C:\\m"));
    for (const std::uint32_t type : {0U, 3U}) {
        setAll(type, nullptr);
        Q7SetEntityStringProperty(host.session, type, nullptr, Q7T("model_file_path"), Q7T("own"));
        Q7DeleteEntityProperty(host.session, type, nullptr, Q7T("i"));
        Q7DeleteEntityProperty(host.session, type, nullptr, Q7T("model_file_path"));
        Q7ResetEntityProperty(host.session, type, nullptr);
    }
    EXPECT_EQ(metaData(), R"({"model_file_path":"C:\\m"})");
    EXPECT_EQ(camera(), R"({"model_file_path":"C:\\m"})");
}

TEST_F(Entities, TheModelsPathTakesThePlaceOfAPropertyOfItsName) {
    SetRelevantModelFilePath(host.session, Q7T("C:\\part"));
    for (const std::uint32_t type : {0U, 3U})
        Q7SetEntityIntProperty(host.session, type, nullptr, Q7T("model_file_path"), 1);
    EXPECT_EQ(metaData(), R"({"model_file_path":"C:\\part"})");
    EXPECT_EQ(camera(), R"({"model_file_path":"C:\\part"})");
}

TEST_F(Entities, ALaterSetReplacesValueAndType) {
    setAll(0, nullptr);
    const float one[] = {0.25F};
    Q7SetEntityStringProperty(host.session, 0, nullptr, Q7T("i"), Q7T(""));
    Q7SetEntityIntProperty(host.session, 0, nullptr, Q7T("t"), std::numeric_limits<int>::min());
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("f"), one, 1);
    Q7SetEntityFloatProperty(host.session, 0, nullptr, Q7T("fs"), -0.5F);
    EXPECT_EQ(camera(), R"({"f":0.25,"fs":-0.5,"i":"","t":-2147483648})");
}

TEST_F(Entities, AnArrayWithoutElementsIsLeftOut) {
    const float values[] = {1};
    setAll(0, nullptr);
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("fs"), values, 0);
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("f"), nullptr, 3);
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("null"), nullptr, -1);
    EXPECT_EQ(camera(), "{\"i\":-7,\"t\":\"\u4E2D \U0001F600\"}");
}

TEST_F(Entities, ANegativeCountThrowsOnlyWhereThereIsARecord) {
    const float values[] = {1};
    Q7SetEntityFloatArrayProperty(host.session, 1, Q7T("unknown"), Q7T("p"), values, -1);
    try {
        Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("p"), values, -1);
        FAIL();
    } catch (const std::length_error& error) {
        EXPECT_STREQ(error.what(), "vector too long");
    }
    EXPECT_EQ(camera(), "null");
}

TEST_F(Entities, ArraysAndTextsAreCopied) {
    float values[] = {1, 2};
    Q7Char text[] = {Q7Char('a'), 0};
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("fs"), values, 2);
    Q7SetEntityStringProperty(host.session, 0, nullptr, Q7T("t"), text);
    values[0] = 9;
    text[0] = Q7Char('b');
    EXPECT_EQ(camera(), R"({"fs":[1.0,2.0],"t":"a"})");
}

TEST_F(Entities, AFloatThatIsNoNumberIsNull) {
    const float values[] = {std::numeric_limits<float>::infinity(), 1};
    Q7SetEntityFloatProperty(host.session, 0, nullptr, Q7T("f"),
                             std::numeric_limits<float>::quiet_NaN());
    Q7SetEntityFloatArrayProperty(host.session, 0, nullptr, Q7T("fs"), values, 2);
    EXPECT_EQ(camera(), R"({"f":null,"fs":[null,1.0]})");
}

TEST_F(Entities, UnpairedSurrogatesStayValidText) {
    const Q7Char half[] = {0xD800, 0};
    Q7SetEntityStringProperty(host.session, 0, nullptr, half, half);
    EXPECT_EQ(camera(), "{\"\uFFFD\":\"\uFFFD\"}");
}

TEST_F(Entities, AddingAnExistingNameEmptiesIt) {
    Q7AddLight(host.session, Q7T("name"));
    Q7AddScene(host.session, Q7T("name"));
    setAll(1, Q7T("name"));
    setAll(2, Q7T("name"));
    Q7AddLight(host.session, Q7T("name"));
    Q7AddScene(host.session, Q7T("name"));
    EXPECT_EQ(lights(), R"({"lights":[null],"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[null]})");
}

TEST_F(Entities, DeletingTakesOneAndClearingAll) {
    for (const Q7Char* name : {Q7T("a"), Q7T("b"), Q7T("c")}) {
        Q7AddLight(host.session, name);
        Q7SetEntityStringProperty(host.session, 1, name, Q7T("n"), name);
        Q7AddScene(host.session, name);
        Q7SetEntityStringProperty(host.session, 2, name, Q7T("n"), name);
    }
    for (const Q7Char* name : {Q7T("b"), Q7T("unknown")}) {
        Q7DeleteLight(host.session, name);
        Q7DeleteScene(host.session, name);
    }
    EXPECT_EQ(lights(), R"({"lights":[{"n":"a"},{"n":"c"}],"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[{"n":"a"},{"n":"c"}]})");
    Q7ClearLights(host.session);
    EXPECT_EQ(lights(), R"({"model_file_path":""})");
    EXPECT_EQ(scenes(), R"({"model_file_path":"","scenes":[{"n":"a"},{"n":"c"}]})");
    Q7ClearScenes(host.session);
    EXPECT_EQ(scenes(), R"({"model_file_path":""})");
    Q7ClearLights(host.session);
    Q7ClearScenes(host.session);
}

TEST_F(Entities, LightsAreMadeByAddingAlone) {
    setAll(1, Q7T("light"));
    EXPECT_EQ(lights(), R"({"model_file_path":""})");
    Q7AddLight(host.session, Q7T("light"));
    EXPECT_EQ(lights(), R"({"lights":[null],"model_file_path":""})");
}

TEST_F(Entities, PathElementNamesAreTheGroupsOfTheLights) {
    Q7SetPathElementName(host.session, Q7T("1"), Q7T("first"));
    Q7SetPathElementName(host.session, Q7T("\u4E2D"), Q7T(""));
    Q7SetPathElementName(host.session, Q7T(""), Q7T("of no id"));
    Q7SetPathElementName(host.session, Q7T("1"), Q7T("later \u00E9"));
    EXPECT_EQ(lights(),
              "{\"groups\":[{\"id\":\"1\",\"name\":\"later \u00E9\"},"
              "{\"id\":\"\u4E2D\",\"name\":\"\"},{\"id\":\"\",\"name\":\"of no id\"}],"
              "\"model_file_path\":\"\"}");
    Q7DeletePathElementName(host.session, Q7T("unknown"));
    Q7DeletePathElementName(host.session, Q7T("1"));
    // A send keeps them.
    EXPECT_EQ(lights(),
              "{\"groups\":[{\"id\":\"\u4E2D\",\"name\":\"\"},"
              "{\"id\":\"\",\"name\":\"of no id\"}],\"model_file_path\":\"\"}");
    EXPECT_EQ(scenes(), R"({"model_file_path":""})");
    Q7ClearPathElementNames(host.session);
    EXPECT_EQ(lights(), R"({"model_file_path":""})");
}

TEST_F(Entities, SessionsHaveTheirOwn) {
    const Host other;
    setAll(0, nullptr);
    Q7AddLight(other.session, Q7T("light"));
    Q7SetPathElementName(other.session, Q7T("id"), Q7T("name"));
    EXPECT_EQ(lights(), R"({"model_file_path":""})");
    EXPECT_EQ(recorder.textOf(12, [&] { Q7SendCamera(other.session); }), u"null");
}
