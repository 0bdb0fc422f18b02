#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

#include "tests/host.h"

namespace {

struct Arrays {
    std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    std::vector<float> normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    std::vector<float> uvs = {0, 0, 1, 0, 0, 1};
    std::vector<unsigned char> colors = {1, 2, 3};
    std::vector<int> indices = {2, 1, 0};
};

void addMesh(const Host& host, const Q7Char* name, Arrays a = {}) {
    AddMesh(host.session, name, a.positions.data(), static_cast<int>(a.positions.size()),
            a.normals.data(), static_cast<int>(a.normals.size()), a.uvs.data(),
            static_cast<int>(a.uvs.size()), a.colors.data(), static_cast<int>(a.colors.size()),
            a.indices.data(), static_cast<int>(a.indices.size()));
}

}  // namespace

TEST(AddMesh, StoresTheFiveArraysAsGivenAndMakesNoInstance) {
    const Host host;
    addMesh(host, Q7T("mesh"));
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    const auto& mesh = stream.meshes[0];
    const Arrays given;
    EXPECT_EQ(mesh.name, u"mesh");
    EXPECT_EQ(mesh.positions, given.positions);
    EXPECT_EQ(mesh.normals, given.normals);
    EXPECT_EQ(mesh.uvs, given.uvs);
    EXPECT_EQ(mesh.colors, given.colors);
    EXPECT_EQ(mesh.indices, given.indices);
    EXPECT_EQ(Q7InstanceCount(host.session), 0U);
    EXPECT_TRUE(stream.materials.empty());
}

TEST(AddMesh, ANullArrayIsEmptyWhateverItsCount) {
    const Host host;
    Arrays a;
    AddMesh(host.session, Q7T("empty"), nullptr, 9, nullptr, -1, nullptr, 1 << 30, nullptr, -5,
            nullptr, 7);
    AddMesh(host.session, Q7T("bare"), a.positions.data(), 9, nullptr, 9, a.uvs.data(), 6, nullptr,
            1, nullptr, 1);
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 2U);
    EXPECT_TRUE(stream.meshes[0].positions.empty());
    EXPECT_TRUE(stream.meshes[0].indices.empty());
    EXPECT_EQ(stream.meshes[1].positions.size(), 9U);
    EXPECT_TRUE(stream.meshes[1].normals.empty());
    EXPECT_TRUE(stream.meshes[1].colors.empty());
}

TEST(AddMesh, ANegativeCountOfAnyArrayThrows) {
    const Host host;
    Arrays a;
    addMesh(host, Q7T("mesh"));
    const std::string before = host.savedBytes();
    a.positions[0] = 77;
    for (int wrong = 0; wrong < 5; ++wrong) {
        const auto count = [&](int array, int right) { return array == wrong ? -1 : right; };
        try {
            AddMesh(host.session, Q7T("mesh"), a.positions.data(), count(0, 9), a.normals.data(),
                    count(1, 9), a.uvs.data(), count(2, 6), a.colors.data(), count(3, 3),
                    a.indices.data(), count(4, 3));
            FAIL() << wrong;
        } catch (const std::length_error& error) {
            EXPECT_STREQ(error.what(), "vector too long");
        }
    }
    EXPECT_EQ(host.savedBytes(), before);
}

TEST(AddMesh, RefusesANewMeshWhoseCountsDoNotFit) {
    const Host host;
    const auto refused = [&](auto change) {
        Arrays a;
        change(a);
        addMesh(host, Q7T("mesh"), a);
        return host.saved().meshes.empty();
    };
    EXPECT_TRUE(refused([](Arrays& a) { a.positions.pop_back(); }));
    EXPECT_TRUE(refused([](Arrays& a) { a.normals.resize(6); }));
    EXPECT_TRUE(refused([](Arrays& a) { a.normals.resize(12); }));
    EXPECT_TRUE(refused([](Arrays& a) { a.uvs.clear(); }));
    EXPECT_TRUE(refused([](Arrays& a) { a.uvs.resize(9); }));
    EXPECT_FALSE(refused([](Arrays& a) {
        a.colors.resize(1000);
        a.indices = {100, -1};
    }));
}

TEST(AddMesh, AnUpdateReplacesTheArraysUnchecked) {
    const Host host;
    addMesh(host, Q7T("mesh"));
    Arrays odd;
    odd.positions.resize(4);
    odd.normals.resize(1);
    odd.uvs.clear();
    odd.indices = {7};
    addMesh(host, Q7T("mesh"), odd);
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    EXPECT_EQ(stream.meshes[0].positions.size(), 4U);
    EXPECT_EQ(stream.meshes[0].normals.size(), 1U);
    EXPECT_TRUE(stream.meshes[0].uvs.empty());
    EXPECT_EQ(stream.meshes[0].indices, std::vector<int>{7});
}

TEST(AddMesh, UpdatesTheMeshOfANodeUnderItsInstances) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    Arrays larger;
    larger.indices = {0, 1, 2, 2, 1, 0};
    addMesh(host, Q7T("node_m"), larger);
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    EXPECT_EQ(stream.instances.size(), 1U);
    EXPECT_EQ(stream.meshes[0].indices.size(), 6U);
    EXPECT_NE(stream.headerText.find(u"\"triangleCount\":2"), WideString::npos);
}

TEST(AddMesh, LeavesTheOpenNodeAlone) {
    const Host host;
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    host.addTriangle(Q7T("m"));
    addMesh(host, Q7T("other"));
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    const auto stream = host.saved();
    EXPECT_EQ(stream.instances.size(), 1U);
    EXPECT_EQ(stream.findMesh(u"node_m")->positions.size(), 18U);
}

TEST(AddMesh, AMeshUnderANodesNameIsUpdatedWhenTheNodeEnds) {
    const Host host;
    addMesh(host, Q7T("node_m"));
    host.addNode(Q7T("node"), {Q7T("m")});
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    EXPECT_EQ(stream.meshes[0].positions[0], 1.0F);
    EXPECT_TRUE(stream.meshes[0].colors.empty());
    EXPECT_EQ(stream.meshes[0].indices, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(stream.instances.size(), 1U);
}

TEST(AddMaterial, AddsATextUnderTheNormalisedName) {
    const Host host;
    AddMaterial(host.session, Q7T("a/b"), Q7T("not xml <&>"));
    const auto stream = host.saved();
    ASSERT_EQ(stream.materials.size(), 1U);
    EXPECT_EQ(stream.materials[0].name, u"a@b");
    EXPECT_EQ(stream.materials[0].xml, u"not xml <&>");
}

TEST(AddMaterial, ReplacesTheTextOfATextMaterial) {
    const Host host;
    AddMaterial(host.session, Q7T("a/b"), Q7T("one"));
    AddMaterial(host.session, Q7T("a@b"), Q7T("two"));
    EXPECT_EQ(host.saved().materials.size(), 1U);
    EXPECT_EQ(host.saved().materials[0].xml, u"two");
}

TEST(AddMaterial, ReplacesTheDefaultText) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    AddMaterial(host.session, Q7T("m"), Q7T("mine"));
    EXPECT_EQ(host.saved().materials.at(0).xml, u"mine");
}

TEST(AddMaterial, LeavesATypedMaterialAsItIs) {
    const Host host;
    Q7AddMaterial(host.session, Q7T("m"));
    const auto before = host.saved().materials;
    AddMaterial(host.session, Q7T("m"), Q7T("text"));
    EXPECT_EQ(host.saved().materials, before);
}

TEST(AddMaterial, AnEmptyNameIsAName) {
    const Host host;
    AddMaterial(host.session, Q7T(""), Q7T("text"));
    EXPECT_EQ(namesOf(host.saved().materials), std::vector<WideString>{u""});
}

TEST(AddScene, LeavesTheModelAsItIs) {
    const Host host;
    const std::string before = host.savedBytes();
    const unsigned char data[36] = {1};
    AddScene(host.session, Q7T("scene"), Q7T("label"), data, 1);
    AddScene(host.session, Q7T("scene"), Q7T("label"), data, 1);
    EXPECT_EQ(host.savedBytes(), before);
}

TEST(Q7DeleteInstance, ThrowsForEveryId) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    for (const std::uint64_t id : {0ULL, 1ULL, ~0ULL}) {
        try {
            Q7DeleteInstance(host.session, id);
            FAIL();
        } catch (const std::out_of_range& error) {
            EXPECT_STREQ(error.what(), "invalid unordered_map<K, T> key");
        }
    }
    EXPECT_EQ(Q7InstanceCount(host.session), 1U);
}

TEST(Q7InstanceCount, CountsThoseMarkedForRemovalToo) {
    const Host host;
    EXPECT_EQ(Q7InstanceCount(host.session), 0U);
    host.addNode(Q7T("a"), {Q7T("m"), Q7T("n")});
    host.addNode(Q7T("b"), {Q7T("m")});
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
    MaxDeleteNode(host.session, Q7T("a"));
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
    host.addNode(Q7T("a"), {Q7T("m"), Q7T("n")});
    EXPECT_EQ(Q7InstanceCount(host.session), 5U);
}
