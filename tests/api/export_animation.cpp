#include <gtest/gtest.h>

#include <stdexcept>
#include <type_traits>
#include <utility>

#include "tests/host.h"
#include "tests/message_recorder.h"

namespace {

void expectPoint(const Q7AnimProperty& point, double first) {
    EXPECT_EQ(point.V, first);
    EXPECT_EQ(point.LT, first + 1);
    EXPECT_EQ(point.LV, first + 2);
    EXPECT_EQ(point.RT, first + 3);
    EXPECT_EQ(point.RV, first + 4);
}

constexpr std::int32_t cameras = 4;

class CameraAnimations : public testing::Test {
  protected:
    // Sends, and so removes, all animations.
    std::string sent() {
        return wideToUtf8(recorder.textOf(18, [&] { Q7SendCameraAnims(session); }));
    }
    int addFrame(double time) const {
        return Q7AddAnimEntityFrame(session, cameras, Q7T("a"), time);
    }
    void setPoint(int frame, const Q7Char* property) const {
        const Q7AnimProperty point(1, 2, 3, 4, 5);
        Q7SetAnimProperty(session, cameras, Q7T("a"), property, frame, &point);
    }
    static std::string message(const std::string& frames) {
        return R"({"CameraAnimations":[{"FrameData":[)" + frames + R"(],"Name":"a"}]})";
    }

    MessageRecorder recorder;
    Host host;
    void* const session = host.session;
};

const std::string onePoint = R"({"LT":2.0,"LV":3.0,"RT":4.0,"RV":5.0,"V":1.0})";

}  // namespace

TEST(Q7AnimProperty, IsFiveDoublesInOrder) {
    static_assert(sizeof(Q7AnimProperty) == 5 * sizeof(double));
    static_assert(offsetof(Q7AnimProperty, V) == 0);
    static_assert(offsetof(Q7AnimProperty, LT) == 8);
    static_assert(offsetof(Q7AnimProperty, LV) == 16);
    static_assert(offsetof(Q7AnimProperty, RT) == 24);
    static_assert(offsetof(Q7AnimProperty, RV) == 32);
    expectPoint(Q7AnimProperty(1, 2, 3, 4, 5), 1);
}

TEST(Q7AnimProperty, AssignmentsCopyTheFiveValues) {
    const Q7AnimProperty source(10, 11, 12, 13, 14);
    Q7AnimProperty copied(0, 0, 0, 0, 0);
    EXPECT_EQ(&(copied = source), &copied);
    expectPoint(copied, 10);
    Q7AnimProperty moved(0, 0, 0, 0, 0);
    EXPECT_EQ(&(moved = std::move(copied)), &moved);
    expectPoint(moved, 10);
    const Q7AnimProperty constructed = moved;
    expectPoint(constructed, 10);
}

TEST_F(CameraAnimations, ASendTakesThemAll) {
    Q7AddCameraAnims(session, Q7T("a"));
    Q7AddCameraAnims(session, Q7T("\u4E2D"));
    EXPECT_EQ(sent(),
              "{\"CameraAnimations\":[{\"FrameData\":[],\"Name\":\"a\"},"
              "{\"FrameData\":[],\"Name\":\"\u4E2D\"}]}");
    EXPECT_EQ(sent(), R"({"CameraAnimations":[]})");
}

TEST_F(CameraAnimations, WithoutARendererStay) {
    Q7AddCameraAnims(session, Q7T("a"));
    recorder.renderer.setStatus(0);
    Q7SendCameraAnims(session);
    EXPECT_FALSE(recorder.renderer.hasCaller());
    recorder.renderer.setStatus(4);
    EXPECT_EQ(sent(), message(""));
}

TEST_F(CameraAnimations, AreReplacedDeletedAndCleared) {
    Q7AddCameraAnims(session, Q7T("a"));
    addFrame(1);
    Q7AddCameraAnims(session, Q7T("a"));
    Q7AddCameraAnims(session, Q7T("b"));
    Q7DeleteCameraAnims(session, Q7T("b"));
    Q7DeleteCameraAnims(session, Q7T("unknown"));
    EXPECT_EQ(sent(), message(""));
    Q7AddCameraAnims(session, Q7T("a"));
    Q7ClearCameraAnims(session);
    EXPECT_EQ(sent(), R"({"CameraAnimations":[]})");
}

TEST(CameraAnimationsOfNoSession, DoNothing) {
    MessageRecorder recorder;
    Q7AddCameraAnims(nullptr, Q7T("a"));
    Q7DeleteCameraAnims(nullptr, Q7T("a"));
    Q7ClearCameraAnims(nullptr);
    Q7SendCameraAnims(nullptr);
    EXPECT_FALSE(recorder.renderer.hasCaller());
}

TEST_F(CameraAnimations, FramesKeepTheOrderOfAdding) {
    Q7AddCameraAnims(session, Q7T("a"));
    EXPECT_EQ(addFrame(2), 0);
    EXPECT_EQ(addFrame(1), 1);
    EXPECT_EQ(addFrame(1), 2);
    EXPECT_EQ(sent(), message(R"({"T":2.0},{"T":1.0},{"T":1.0})"));
}

TEST_F(CameraAnimations, FramesAreFoundByTheirTime) {
    Q7AddCameraAnims(session, Q7T("a"));
    const auto find = [&](double time) {
        return Q7FindAnimEntityFrame(session, cameras, Q7T("a"), time);
    };
    EXPECT_EQ(find(1), -1);
    addFrame(0);
    addFrame(1);
    addFrame(1);
    EXPECT_EQ(find(1), 1);
    EXPECT_EQ(find(1.0000000000000002), -1);
    EXPECT_EQ(find(2.220446049250313e-16), -1);
    EXPECT_EQ(find(2.2204460492503128e-16), 0);
}

TEST_F(CameraAnimations, OtherTypesAndNamesHaveNoFrames) {
    Q7AddCameraAnims(session, Q7T("a"));
    Q7AddLight(session, Q7T("a"));
    EXPECT_EQ(addFrame(1), 0);
    setPoint(0, Q7T("X"));
    const Q7AnimProperty point(9, 9, 9, 9, 9);
    const auto tryAll = [&](std::int32_t type, const Q7Char* name) {
        EXPECT_EQ(Q7AddAnimEntityFrame(session, type, name, 1), -1);
        EXPECT_EQ(Q7FindAnimEntityFrame(session, type, name, 1), -1);
        Q7DeleteAnimEntityFrame(session, type, name, 0);
        Q7ClearAnimEntityFrames(session, type, name);
        Q7SetAnimProperty(session, type, name, Q7T("X"), 0, &point);
        Q7SetAnimArrayProperty(session, type, name, Q7T("X"), 0, &point, 1);
        Q7ResetAnimProperty(session, type, name, 0);
        Q7DeleteAnimProperty(session, type, name, Q7T("X"), 0);
        Q7ResetAllAnimProperty(session, type, name);
        Q7DeleteAllAnimProperty(session, type, name, Q7T("X"));
    };
    for (const std::int32_t type : {-1, 0, 1, 2, 3, 5})
        tryAll(type, Q7T("a"));
    tryAll(3, nullptr);
    tryAll(cameras, Q7T("unknown"));
    EXPECT_EQ(sent(), message(R"({"T":1.0,"X":[)" + onePoint + "]}"));
}

TEST_F(CameraAnimations, DeletingAFrameMovesTheLaterOnesDown) {
    Q7AddCameraAnims(session, Q7T("a"));
    for (const double time : {1, 2, 3})
        addFrame(time);
    for (const std::int32_t none : {-1, 3, 0x7FFFFFFF})
        Q7DeleteAnimEntityFrame(session, cameras, Q7T("a"), none);
    Q7DeleteAnimEntityFrame(session, cameras, Q7T("a"), 0);
    EXPECT_EQ(Q7FindAnimEntityFrame(session, cameras, Q7T("a"), 2), 0);
    EXPECT_EQ(sent(), message(R"({"T":2.0},{"T":3.0})"));
}

TEST_F(CameraAnimations, ClearingTakesEveryFrameButNoProperty) {
    Q7AddCameraAnims(session, Q7T("a"));
    addFrame(1);
    Q7ClearAnimEntityFrames(session, cameras, Q7T("a"));
    EXPECT_EQ(addFrame(2), 0);
    EXPECT_EQ(sent(), message(R"({"T":2.0})"));
}

TEST_F(CameraAnimations, PointsAreSetOnTheirFrameAlone) {
    Q7AddCameraAnims(session, Q7T("a"));
    addFrame(1);
    addFrame(2);
    setPoint(1, Q7T("X"));
    for (const int none : {-1, 2})
        setPoint(none, Q7T("X"));
    EXPECT_EQ(sent(), message(R"({"T":1.0},{"T":2.0,"X":[)" + onePoint + "]}"));
}

TEST_F(CameraAnimations, SeveralPointsReplaceWhatThePropertyHeld) {
    Q7AddCameraAnims(session, Q7T("a"));
    addFrame(1);
    setPoint(0, Q7T("X"));
    setPoint(0, Q7T("Y"));
    setPoint(0, Q7T("Z"));
    setPoint(0, Q7T("N"));
    const Q7AnimProperty points[] = {{1, 2, 3, 4, 5}, {0.1, -2, 1e300, 4, 5}};
    Q7SetAnimArrayProperty(session, cameras, Q7T("a"), Q7T("X"), 0, points, 2);
    Q7SetAnimArrayProperty(session, cameras, Q7T("a"), Q7T("Y"), 0, points, 0);
    Q7SetAnimArrayProperty(session, cameras, Q7T("a"), Q7T("Z"), 0, nullptr, 2);
    Q7SetAnimArrayProperty(session, cameras, Q7T("a"), Q7T("M"), 0, nullptr, -1);
    Q7SetAnimProperty(session, cameras, Q7T("a"), Q7T("N"), 0, nullptr);
    EXPECT_EQ(sent(), message(R"({"T":1.0,"X":[)" + onePoint +
                              R"(,{"LT":-2.0,"LV":1e+300,"RT":4.0,"RV":5.0,"V":0.1}]})"));
}

TEST_F(CameraAnimations, ANegativeCountThrowsOnlyWhereThereIsAFrame) {
    Q7AddCameraAnims(session, Q7T("a"));
    const Q7AnimProperty point(1, 2, 3, 4, 5);
    const auto set = [&] {
        Q7SetAnimArrayProperty(session, cameras, Q7T("a"), Q7T("X"), 0, &point, -1);
    };
    EXPECT_NO_THROW(set());
    addFrame(1);
    EXPECT_THROW(set(), std::length_error);
}

TEST_F(CameraAnimations, PropertiesAreTakenFromOneFrameOrFromAll) {
    Q7AddCameraAnims(session, Q7T("a"));
    for (const int frame : {0, 1, 2}) {
        addFrame(frame);
        setPoint(frame, Q7T("X"));
        setPoint(frame, Q7T("Y"));
    }
    Q7ResetAnimProperty(session, cameras, Q7T("a"), 0);
    Q7DeleteAnimProperty(session, cameras, Q7T("a"), Q7T("X"), 1);
    Q7DeleteAnimProperty(session, cameras, Q7T("a"), Q7T("unknown"), 1);
    for (const int none : {-1, 3}) {
        Q7ResetAnimProperty(session, cameras, Q7T("a"), none);
        Q7DeleteAnimProperty(session, cameras, Q7T("a"), Q7T("Y"), none);
    }
    Q7DeleteAllAnimProperty(session, cameras, Q7T("a"), Q7T("unknown"));
    const std::string x = "\"X\":[" + onePoint + "]";
    const std::string y = "\"Y\":[" + onePoint + "]";
    EXPECT_EQ(sent(), message(R"({"T":0.0},{"T":1.0,)" + y + R"(},{"T":2.0,)" + x + "," + y + "}"));
}

TEST_F(CameraAnimations, OnePropertyIsTakenFromAllFrames) {
    Q7AddCameraAnims(session, Q7T("a"));
    for (const int frame : {0, 1}) {
        addFrame(frame);
        setPoint(frame, Q7T("X"));
        setPoint(frame, Q7T("Y"));
    }
    Q7DeleteAllAnimProperty(session, cameras, Q7T("a"), Q7T("X"));
    EXPECT_EQ(sent(),
              message(R"({"T":0.0,"Y":[)" + onePoint + R"(]},{"T":1.0,"Y":[)" + onePoint + "]}"));
}

TEST_F(CameraAnimations, AllPropertiesAreTakenFromAllFrames) {
    Q7AddCameraAnims(session, Q7T("a"));
    Q7SetEntityIntProperty(session, 4, Q7T("a"), Q7T("Own"), 1);
    for (const int frame : {0, 1}) {
        addFrame(frame);
        setPoint(frame, Q7T("X"));
    }
    Q7ResetAllAnimProperty(session, cameras, Q7T("a"));
    EXPECT_EQ(sent(), R"({"CameraAnimations":[{"FrameData":[{"T":0.0},{"T":1.0}],"Name":"a",)"
                      R"("Own":1}]})");
}
