#include "inspect/obj_export.h"

#include <gtest/gtest.h>

#include <limits>
#include <sstream>

#include "tests/tools/common/stream_builder.h"

namespace {

using q7inspect::ObjCounts;
using streamtest::Scene;

struct Result {
    std::string text;
    ObjCounts counts;
};

Result objOf(const Scene& scene) {
    std::ostringstream out;
    const ObjCounts counts = q7inspect::writeObj(out, q7tools::readStream(scene.build().bytes()));
    return {out.str(), counts};
}

TEST(InspectObj, placesEachInstance) {
    Scene scene;
    scene.instances = {{u"tri", u"Wall", streamtest::movedBy(0.5F, 0, -5)}, {u"quad", u"Lamp"}};
    const Result result = objOf(scene);
    EXPECT_EQ(result.text,
              "o tri\n"
              "g tri\n"
              "v 0.5 0 -5\n"
              "v 2.5 0 -5\n"
              "v 0.5 2 -5\n"
              "vt 0 0\n"
              "vt 1 0\n"
              "vt 0 1\n"
              "usemtl Wall\n"
              "f 1/1 2/2 3/3\n"
              "o quad\n"
              "g quad\n"
              "v 0 0 0\n"
              "v 1 0 0\n"
              "v 1 1 0\n"
              "v 0 1 0\n"
              "vt 0 0\n"
              "vt 1 0\n"
              "vt 1 1\n"
              "vt 0 1\n"
              "vn 0 0 1\n"
              "vn 0 0 1\n"
              "vn 0 0 1\n"
              "vn 0 0 1\n"
              "usemtl Lamp\n"
              "f 4/4/1 5/5/2 6/6/3\n"
              "f 4/4/1 6/6/3 7/7/4\n");
    EXPECT_EQ(result.counts.objects, 2U);
    EXPECT_EQ(result.counts.triangles, 3U);
    EXPECT_EQ(result.counts.missingMeshes, 0U);
    EXPECT_EQ(result.counts.skippedTriangles, 0U);
}

TEST(InspectObj, mirroredInstancesKeepFacingOutwards) {
    Scene scene;
    scene.meshes[1].normals = {0, 0, 1, 0, 0, 1, 1, 0, 0};
    scene.meshes[1].uvs.clear();
    scene.instances = {{u"tri", u"Wall"}};
    scene.instances[0].transform[0] = -2;
    const Result result = objOf(scene);
    EXPECT_EQ(result.text,
              "o tri\n"
              "g tri\n"
              "v 0 0 0\n"
              "v -4 0 0\n"
              "v 0 2 0\n"
              "vn 0 0 1\n"
              "vn 0 0 1\n"
              "vn -1 0 0\n"
              "usemtl Wall\n"
              "f 1//1 3//3 2//2\n");
}

TEST(InspectObj, namesAreOneWordOnOneLine) {
    Scene scene;
    scene.meshes[1].name = u"a b\nf 1 2 3\\";
    scene.materials.push_back({u"", u""});
    scene.instances = {{scene.meshes[1].name, u"\u706f #1"}, {scene.meshes[1].name, u""}};
    const std::string text = objOf(scene).text;
    EXPECT_EQ(text.rfind("o a_b_u000af_1_2_3_\ng a_b_u000af_1_2_3_\nv ", 0), 0U) << text;
    EXPECT_NE(text.find("usemtl \xe7\x81\xaf__1\n"), std::string::npos) << text;
    EXPECT_NE(text.find("usemtl unnamed\n"), std::string::npos) << text;
}

TEST(InspectObj, mergedMeshesAreUnindexedTriangles) {
    const Result result = objOf(streamtest::mergedScene());
    EXPECT_EQ(result.text,
              "o Wall_q7_merged\n"
              "g Wall_q7_merged\n"
              "v 0 0 0\n"
              "v 1 0 0\n"
              "v 0 1 0\n"
              "v 5 0 0\n"
              "v 6 0 0\n"
              "v 5 1 0\n"
              "vt 0 0\n"
              "vt 1 0\n"
              "vt 0 1\n"
              "vt 0 0\n"
              "vt 1 0\n"
              "vt 0 1\n"
              "usemtl Wall\n"
              "f 1/1 2/2 3/3\n"
              "f 4/4 5/5 6/6\n");
    EXPECT_EQ(result.counts.triangles, 2U);
    EXPECT_EQ(result.counts.skippedTriangles, 0U);
}

TEST(InspectObj, leavesOutWhatCannotBeDrawn) {
    Scene scene;
    scene.instances = {{u"missing", u"Wall"}, {u"quad", u"Wall"}};
    scene.meshes[0].indices = {0, 1, 2, 0, 2, 4, -1, 1, 2, 1, 2, 3, 0};
    scene.meshes[0].positions[0] = std::numeric_limits<float>::infinity();
    scene.meshes[0].normals.pop_back();
    scene.meshes[0].uvs.push_back(0);
    const Result result = objOf(scene);
    EXPECT_EQ(result.text,
              "o quad\n"
              "g quad\n"
              "v 0 0 0\n"
              "v 1 0 0\n"
              "v 1 1 0\n"
              "v 0 1 0\n"
              "usemtl Wall\n"
              "f 2 3 4\n");
    EXPECT_EQ(result.counts.objects, 1U);
    EXPECT_EQ(result.counts.triangles, 1U);
    EXPECT_EQ(result.counts.missingMeshes, 1U);
    EXPECT_EQ(result.counts.skippedTriangles, 3U);
}

}  // namespace
