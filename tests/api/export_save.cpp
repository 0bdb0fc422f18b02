#include <gtest/gtest.h>

#include "tests/host.h"

TEST(SaveRaw, AnEmptyModelIsAHeaderAndThreeZeroCounts) {
    const Host host;
    Q7SetDccPluginInfo(Q7T(""));
    const auto stream = host.saved();
    EXPECT_EQ(stream.version, 11U);
    EXPECT_EQ(wideToUtf8(stream.headerText),
              R"({"dccPluginInfo":"","materialVersion":1,"textureFolder":"","triangleCount":0})");
    EXPECT_TRUE(stream.materials.empty());
    EXPECT_TRUE(stream.instances.empty());
    EXPECT_TRUE(stream.meshes.empty());
    EXPECT_EQ(stream.trailingBytes(), 0U);
    EXPECT_EQ(host.savedBytes().size(), 4 + 4 + 2 * stream.headerText.size() + 3 * 4);
}

TEST(SaveRaw, EitherNameWritesTheSame) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    const TemporaryFolder folder;
    SaveToFile(host.session, hostPath(folder / "a").c_str());
    Q7SaveRawToFile(host.session, hostPath(folder / "b").c_str());
    EXPECT_FALSE(readFile(folder / "a").empty());
    EXPECT_EQ(readFile(folder / "a"), readFile(folder / "b"));
}

TEST(SaveRaw, HoldsAllMeshesUsedOrNot) {
    const Host host;
    AddMesh(host.session, Q7T("unused"), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr,
            0);
    host.addNode(Q7T("node"), {Q7T("m")});
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes), (std::vector<WideString>{u"unused", u"node_m"}));
    EXPECT_EQ(stream.findInstanceOf(u"unused"), nullptr);
}

TEST(SaveRaw, HoldsInstancesMarkedForRemovalAndKeepsThemMarked) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    MaxDeleteNode(host.session, Q7T("node"));
    EXPECT_EQ(host.saved().instances.size(), 1U);
    EXPECT_EQ(host.saved().meshes.size(), 1U);
    EXPECT_EQ(Q7InstanceCount(host.session), 1U);
}

TEST(SaveRaw, WritesATransformThatNoRendererLikesAsItStands) {
    const Host host;
    const std::array<float, 16> shear = {1, 5, 0, 0, 0, 1, 0, 0, 0, 0, 1e-9F, 0, 0, 0, 0, 1};
    MaxBeginNode(host.session, Q7T("node"), shear.data());
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    SetGenMatInstances(host.session, 1);
    const auto stream = host.saved();
    ASSERT_EQ(stream.instances.size(), 1U);
    EXPECT_EQ(stream.instances[0].transform, shear);
    EXPECT_EQ(stream.meshes.size(), 1U);
}

TEST(SaveRaw, CountsTrianglesForEachInstanceInWholeNumbers) {
    const Host host;
    int indices[] = {0, 1, 2, 0, 1};  // one triangle and a rest
    float positions[9] = {};
    float uvs[6] = {};
    AddMesh(host.session, Q7T("node_m"), positions, 9, nullptr, 0, uvs, 6, nullptr, 0, nullptr, 0);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddIndexTriangles(host.session, Q7T("m"), 1, positions, nullptr, nullptr, 5, indices,
                         CoordOrder::XYZ);
    MaxEndNode(host.session);
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    EXPECT_NE(host.saved().headerText.find(u"\"triangleCount\":3}"), WideString::npos);
}

TEST(SaveRaw, AnEmptyMaterialNameIsAZeroWord) {
    const Host host;
    AddMaterial(host.session, Q7T(""), Q7T(""));
    const auto stream = host.saved();
    ASSERT_EQ(stream.materials.size(), 1U);
    EXPECT_EQ(stream.materials[0].name, u"");
    EXPECT_EQ(stream.instancesOffset - stream.materials[0].offset, 8U);
}

TEST(SaveRaw, ReplacesAFile) {
    const Host host;
    const TemporaryFolder folder;
    const auto path = folder / "file";
    std::ofstream(path) << std::string(100000, 'x');
    Q7SaveRawToFile(host.session, hostPath(path).c_str());
    EXPECT_EQ(readFile(path), host.savedBytes());
}

TEST(SaveRaw, DoesNothingWhereNoFileCanBe) {
    const Host host;
    const TemporaryFolder folder;
    Q7SaveRawToFile(host.session, hostPath(folder / "missing" / "file").c_str());
    Q7SaveRawToFile(host.session, hostPath(folder.path()).c_str());
    Q7SaveRawToFile(host.session, Q7T(""));
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
    EXPECT_FALSE(host.savedBytes().empty());
}

#if defined(__linux__)

TEST(SaveRaw, AFullDiskIsNotReported) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_NO_THROW(Q7SaveRawToFile(host.session, Q7T("/dev/full")));
}

#endif

TEST(SaveRaw, ChangesNothingInTheSession) {
    const Host host;
    host.addNode(Q7T("a"), {Q7T("m"), Q7T("n")});
    MaxDeleteNode(host.session, Q7T("a"));
    host.addNode(Q7T("b"), {Q7T("m")});
    MaxBeginNode(host.session, Q7T("open"), identity.data());
    host.addTriangle(Q7T("m"));
    const std::string before = host.savedBytes();
    EXPECT_EQ(host.savedBytes(), before);
    // The open node's triangles are no part of the model yet.
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
    EXPECT_EQ(namesOf(host.saved().meshes), (std::vector<WideString>{u"a_m", u"a_n", u"b_m"}));
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().instances.size(), 4U);
}

TEST(SaveRaw, TakesPathsOfAnyUnicodeName) {
    const Host host;
    const TemporaryFolder folder;
    const auto path = folder / std::filesystem::path(u"\u00E9\u4E2D\U0001F600.q7mesh");
    Q7SaveRawToFile(host.session, hostPath(path).c_str());
    EXPECT_EQ(readFile(path), host.savedBytes());
}

namespace {

q7tools::StreamModel savedProcessed(const Host& host) {
    const TemporaryFolder folder;
    const auto path = folder / "processed";
    Q7SaveProcessedToFile(host.session, hostPath(path).c_str());
    const std::string bytes = readFile(path);
    return q7tools::readStream(std::as_bytes(std::span(bytes)));
}

}  // namespace

TEST(SaveProcessed, WritesAMergedCopyWithTheSourceMeshes) {
    const Host host;
    const auto moved = translation(10, 0, 0);
    host.addNode(Q7T("a"), {Q7T("m")});
    MaxBeginNode(host.session, Q7T("b"), moved.data());
    host.addTriangle(Q7T("m"));
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    host.addNode(Q7T("twice"), {Q7T("m")});
    MaxDuplicateNode(host.session, Q7T("twice"), Q7T("copy"), moved.data());
    const std::string before = host.savedBytes();
    const auto stream = savedProcessed(host);
    EXPECT_EQ(host.savedBytes(), before);
    EXPECT_EQ(namesOf(stream.meshes),
              (std::vector<WideString>{u"a_m", u"b_m", u"twice_m", u"m_q7_merged"}));
    ASSERT_EQ(stream.instances.size(), 3U);
    EXPECT_EQ(stream.instances[0].mesh, u"twice_m");
    EXPECT_EQ(stream.instances[1].mesh, u"twice_m");
    EXPECT_EQ(stream.instances[2].mesh, u"m_q7_merged");
    EXPECT_EQ(stream.instances[2].material, u"m");
    EXPECT_EQ(stream.instances[2].transform, identity);
    const auto& merged = *stream.findMesh(u"m_q7_merged");
    ASSERT_EQ(merged.positions.size(), 27U);
    EXPECT_EQ(merged.positions[0], 1.0F);
    EXPECT_EQ(merged.positions[9], 11.0F);
    EXPECT_EQ(merged.indices.size(), 27U);
    // One each for the mesh that stands twice, and nine points of the merged one.
    EXPECT_NE(stream.headerText.find(u"\"triangleCount\":11}"), WideString::npos);
}

TEST(SaveProcessed, KeepsColoursAndInstancesMarkedForRemoval) {
    const Host host;
    host.addNode(Q7T("a"), {Q7T("m")});
    host.addNode(Q7T("b"), {Q7T("m")});
    for (const auto* mesh : {Q7T("a_m"), Q7T("b_m")}) {
        Triangle t;
        unsigned char colors[] = {7, 8};
        AddMesh(host.session, mesh, t.positions.data(), 9, nullptr, 0, t.uvs.data(), 6, colors, 2,
                nullptr, 0);
    }
    MaxDeleteNode(host.session, Q7T("a"));
    const auto stream = savedProcessed(host);
    EXPECT_EQ(stream.findMesh(u"m_q7_merged")->colors, (std::vector<std::uint8_t>{7, 8, 7, 8}));
    EXPECT_EQ(Q7InstanceCount(host.session), 2U);
}

TEST(SaveProcessed, TakesNoneOfTheStepsOfASend) {
    const Host host;
    const std::array<float, 16> shear = {1, 5, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    SetGenMatInstances(host.session, 1);
    AddMesh(host.session, Q7T("unused"), nullptr, 0, nullptr, 0, nullptr, 0, nullptr, 0, nullptr,
            0);
    MaxBeginNode(host.session, Q7T("node"), shear.data());
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), shear.data());
    const std::string before = host.savedBytes();
    const auto stream = savedProcessed(host);
    EXPECT_EQ(namesOf(stream.meshes), (std::vector<WideString>{u"unused", u"node_m"}));
    ASSERT_EQ(stream.instances.size(), 2U);
    EXPECT_EQ(stream.instances[0].transform, shear);
    EXPECT_EQ(stream.instances[1].transform, shear);
    EXPECT_EQ(host.savedBytes(), before);
}

TEST(SaveProcessed, WithNothingToMergeIsTheRawFile) {
    const Host host;
    host.addNode(Q7T("a"), {Q7T("m"), Q7T("n")});
    const TemporaryFolder folder;
    std::ofstream(folder / "file") << std::string(100000, 'x');
    Q7SaveProcessedToFile(host.session, hostPath(folder / "file").c_str());
    EXPECT_EQ(readFile(folder / "file"), host.savedBytes());
}

TEST(SaveProcessed, DoesNothingWhereNoFileCanBe) {
    const Host host;
    const TemporaryFolder folder;
    Q7SaveProcessedToFile(host.session, hostPath(folder / "missing" / "file").c_str());
    Q7SaveProcessedToFile(host.session, hostPath(folder.path()).c_str());
    EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}
