#include "inspect/compare.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "tests/tools/common/stream_builder.h"

namespace {

using q7inspect::CompareOptions;
using q7inspect::Comparison;
using streamtest::movedBy;
using streamtest::Scene;

using Lines = std::vector<std::string>;

constexpr CompareOptions link{.link = true};
constexpr CompareOptions order{.order = true};

Comparison compare(const Scene& a, const Scene& b, const CompareOptions& options = {}) {
    return q7inspect::compareStreams(q7tools::readStream(a.build().bytes()),
                                     q7tools::readStream(b.build().bytes()), options);
}

Lines differences(const Scene& a, const Scene& b, const CompareOptions& options = {}) {
    return compare(a, b, options).differences;
}

// As it comes over the link: without the mesh that only A holds, and without colors.
struct Received {
    Scene saved;
    Scene received;

    Received() {
        saved.meshes.push_back({u"spare", {0, 0, 0}, {}, {0, 0}, {}, {}});
        received.meshes[0].colors.clear();
    }

    void addGenerator() {
        received.meshes.push_back(
            {u"@g@m@q7_", {0, 0, 0, 1, 0, 0, 0, 1, 0}, {}, {1, 0, 1, 0, 1, 0}, {}, {0, 1, 2}});
        received.instances.push_back({u"@g@m@q7_", u"Lamp"});
        received.instances.push_back({u"@g@m@q7_", u"Wall"});
        received.header = streamtest::headerText(7);
    }
};

TEST(InspectCompare, aStreamIsTheSameAsItself) {
    const Comparison comparison = compare(Scene(), Scene(), order);
    EXPECT_EQ(comparison.differences, Lines{});
    EXPECT_EQ(comparison.differenceCount, 0U);
}

TEST(InspectCompare, orderDoesNotCount) {
    Scene turned;
    std::ranges::reverse(turned.materials);
    std::ranges::reverse(turned.instances);
    std::ranges::reverse(turned.meshes);
    EXPECT_EQ(differences(Scene(), turned), Lines{});
}

TEST(InspectCompare, orderOfInstancesCountsWhenAsked) {
    Scene turned;
    std::swap(turned.instances[1], turned.instances[2]);
    std::ranges::reverse(turned.materials);
    std::ranges::reverse(turned.meshes);
    EXPECT_EQ(differences(Scene(), turned, order),
              Lines{"the order of instances differs from instance 2 of A (mesh \"quad\", material "
                    "\"Wall\", at (10, 20, 30)) and 2 of B (mesh \"tri\", material \"Wall\", at "
                    "(0, 0, -5)) on"});
}

TEST(InspectCompare, missingInstancesDoNotSpoilTheOrderOfTheOthers) {
    Scene shorter;
    shorter.instances.erase(shorter.instances.begin());
    EXPECT_EQ(differences(Scene(), shorter, order),
              Lines{"instance 1 of A (mesh \"quad\", material \"Lamp\", at (0, 0, 0)): not in B"});
}

TEST(InspectCompare, versions) {
    Scene other;
    other.version = 12;
    EXPECT_EQ(differences(Scene(), other), Lines{"version word: 11 in A, 12 in B"});
}

TEST(InspectCompare, headerMembers) {
    Scene a;
    a.header = u"{\"same\":1,\"text\":\"x\\u001b\",\"only\":null}";
    Scene b;
    b.header = u"{\"extra\":2,\"text\":\"y\", \"same\":1}";
    EXPECT_EQ(differences(a, b), (Lines{"header: \"only\" is only in A",
                                        "header: \"text\" is \"x\\u001b\" in A, \"y\" in B",
                                        "header: \"extra\" is only in B"}));
    EXPECT_EQ(differences(b, b), Lines{});
}

TEST(InspectCompare, headersThatAreNoObjects) {
    Scene a;
    a.header = u"[";
    EXPECT_EQ(differences(a, a), Lines{});
    EXPECT_EQ(differences(a, Scene()), Lines{"header: no JSON object in A, a JSON object in B"});
}

TEST(InspectCompare, materialsAreKnownByName) {
    Scene other;
    other.materials[1].name = u"Door";
    EXPECT_EQ(differences(Scene(), other),
              (Lines{"material \"Wall\": only in A", "material \"Door\": only in B"}));
}

TEST(InspectCompare, textsOfMaterials) {
    Scene other;
    other.materials[0].xml.replace(other.materials[0].xml.find(u"3</Mode>"), 1, u"4");
    other.materials[1].xml += u"\n";
    EXPECT_EQ(differences(Scene(), other),
              (Lines{"material \"Lamp\": the text differs in line 4: \"    <Mode>3</Mode>\" in A, "
                     "\"    <Mode>4</Mode>\" in B",
                     "material \"Wall\": the text ends with line 1 in only one of A and B"}));
}

TEST(InspectCompare, longTextsAreCut) {
    Scene a;
    a.materials[1].xml = std::u16string(100, u'x') + u"1" + std::u16string(100, u'y');
    Scene b;
    b.materials[1].xml = std::u16string(100, u'x') + u"2";
    EXPECT_EQ(differences(a, b), Lines{"material \"Wall\": the text differs in line 1: \"1" +
                                       std::string(59, 'y') + "\"... in A, \"2\" in B"});
}

TEST(InspectCompare, arraysOfMeshes) {
    Scene other;
    other.meshes[0].positions[4] = 7;
    other.meshes[0].positions[5] = 8;
    other.meshes[0].colors[1] = 200;
    other.meshes[0].indices[5] = 1;
    other.meshes[1].normals.assign(9, 0);
    other.meshes[1].uvs[1] = -0.0F;
    EXPECT_EQ(differences(Scene(), other),
              (Lines{"mesh \"quad\": positions[4] is 0 in A, 7 in B, and 1 more differs",
                     "mesh \"quad\": colors[1] is 2 in A, 200 in B",
                     "mesh \"quad\": indices[5] is 3 in A, 1 in B",
                     "mesh \"tri\": the number of normals is 0 in A, 9 in B",
                     "mesh \"tri\": uvs[1] is 0 in A, -0 in B"}));
}

TEST(InspectCompare, equalBitsAreEqualAlsoWhenTheyAreNoNumber) {
    Scene scene;
    scene.meshes[0].positions[0] = std::numeric_limits<float>::quiet_NaN();
    scene.instances[0].transform[3] = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(differences(scene, scene, order), Lines{});
}

TEST(InspectCompare, loneMeshes) {
    Scene other;
    other.meshes[1].name = u"tree";
    EXPECT_EQ(differences(Scene(), other),
              (Lines{"mesh \"tri\": only in A", "mesh \"tree\": only in B"}));
}

TEST(InspectCompare, secondRecordsOfANameAreComparedWithTheSecond) {
    Scene a;
    a.meshes.push_back(a.meshes[1]);
    a.meshes[2].positions[0] = 5;
    Scene b = a;
    EXPECT_EQ(differences(a, b), Lines{});
    b.meshes.push_back(b.meshes[1]);
    EXPECT_EQ(differences(a, b), Lines{"mesh \"tri\": only in B"});
}

TEST(InspectCompare, instancesAreCounted) {
    Scene a;
    a.instances.push_back(a.instances[1]);
    EXPECT_EQ(differences(a, Scene()),
              Lines{"instance 4 of A (mesh \"quad\", material \"Wall\", at (10, 20, 30)): not in "
                    "B"});
    EXPECT_EQ(differences(Scene(), a),
              Lines{"instance 4 of B (mesh \"quad\", material \"Wall\", at (10, 20, 30)): not in "
                    "A"});
}

TEST(InspectCompare, instancesTellWhatDiffers) {
    Scene other;
    other.instances = {
        {u"quad", u"Wall", movedBy(10, 21, 30)}, {u"quad", u"Wall"}, {u"?", u"Wall"}};
    EXPECT_EQ(differences(Scene(), other),
              (Lines{"instance 1 of A, 2 of B (mesh \"quad\", at (0, 0, 0)): the material is "
                     "\"Lamp\" in A, \"Wall\" in B",
                     "instance 2 of A, 1 of B (mesh \"quad\", material \"Wall\"): transform[13] is "
                     "20 in A, 21 in B",
                     "instance 3 of A (mesh \"tri\", material \"Wall\", at (0, 0, -5)): not in B",
                     "instance 3 of B (mesh \"?\", material \"Wall\", at (0, 0, 0)): not in A"}));
}

TEST(InspectCompare, differencesBeyondTheLimitAreCounted) {
    Scene other;
    other.instances.assign(20, {u"none", u"none"});
    const Comparison comparison = compare(Scene(), other, {.shown = 5});
    EXPECT_EQ(comparison.differences.size(), 5U);
    EXPECT_EQ(comparison.differenceCount, 23U);
}

TEST(InspectCompare, manyEqualInstancesAreNoBurden) {
    Scene a;
    a.instances.assign(100'000, a.instances[0]);
    Scene b = a;
    a.instances.resize(99'999);
    EXPECT_EQ(compare(a, b, order).differenceCount, 1U);
}

TEST(InspectCompare, theLinkMayLeaveOut) {
    const Received model;
    const Comparison comparison = compare(model.saved, model.received, link);
    EXPECT_EQ(comparison.differences, Lines{});
    EXPECT_EQ(comparison.allowed.unusedMeshes, 1U);
    EXPECT_EQ(comparison.allowed.uncoloredMeshes, 1U);
    EXPECT_FALSE(comparison.allowed.hasGenerator);
    EXPECT_EQ(differences(model.saved, model.received),
              (Lines{"mesh \"quad\": the number of colors is 3 in A, 0 in B",
                     "mesh \"spare\": only in A"}));
}

TEST(InspectCompare, theLinkMayNotLeaveOutMore) {
    Received model;
    model.received.meshes[0].colors = {1, 2, 4};
    model.received.meshes[0].normals.clear();
    model.received.meshes.pop_back();
    EXPECT_EQ(differences(model.saved, model.received, link),
              (Lines{"mesh \"quad\": the number of normals is 12 in A, 0 in B",
                     "mesh \"quad\": colors[2] is 3 in A, 4 in B", "mesh \"tri\": only in A"}));
}

TEST(InspectCompare, theLinkMayNotAdd) {
    const Received model;
    EXPECT_EQ(differences(model.received, model.saved, link),
              (Lines{"mesh \"quad\": the number of colors is 0 in A, 3 in B",
                     "mesh \"spare\": only in B"}));
}

TEST(InspectCompare, whatASendGeneratesIsIgnored) {
    Received model;
    model.addGenerator();
    const Comparison comparison =
        compare(model.saved, model.received, {.link = true, .order = true});
    EXPECT_EQ(comparison.differences, Lines{});
    EXPECT_TRUE(comparison.allowed.hasGenerator);
    EXPECT_EQ(comparison.allowed.generatedInstances, 2U);
    EXPECT_EQ(comparison.allowed.unusedMeshes, 1U);
}

TEST(InspectCompare, theGeneratedTrianglesAreTakenOffTheCount) {
    Received model;
    model.addGenerator();
    model.received.header = streamtest::headerText(5);
    EXPECT_EQ(differences(model.saved, model.received, link),
              Lines{"header: \"triangleCount\" is 5 in A, 3 in B"});
}

TEST(InspectCompare, withoutTheLinkWhatASendGeneratesIsADifference) {
    Received model;
    model.addGenerator();
    model.saved = Scene();
    model.received.meshes[0].colors = model.saved.meshes[0].colors;
    EXPECT_EQ(differences(model.saved, model.received),
              (Lines{"header: \"triangleCount\" is 5 in A, 7 in B",
                     "instance 4 of B (mesh \"@g@m@q7_\", material \"Lamp\", at (0, 0, 0)): not in "
                     "A",
                     "instance 5 of B (mesh \"@g@m@q7_\", material \"Wall\", at (0, 0, 0)): not in "
                     "A",
                     "mesh \"@g@m@q7_\": only in B"}));
}

}  // namespace
