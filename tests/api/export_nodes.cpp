#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <numeric>
#include <stdexcept>
#include <vector>

#include "tests/host.h"

namespace {

using Floats = std::vector<float>;

// The four ways to open a node, each with the instance path that it leaves: none shows in a file,
// so what counts here is that all open.
using Begin = std::function<void(const Host&, const Q7Char*, const float*)>;
const std::vector<Begin>& waysToBegin() {
    static const std::vector<Begin> ways = {
        [](const Host& h, const Q7Char* n, const float* t) {
            Q7BeginNode(h.session, n, t, Q7T("p"));
        },
        [](const Host& h, const Q7Char* n, const float* t) {
            Q7BeginNodeHint(h.session, n, t, 10, Q7T("p"));
        },
        [](const Host& h, const Q7Char* n, const float* t) { MaxBeginNode(h.session, n, t); },
        [](const Host& h, const Q7Char* n, const float* t) {
            MaxBeginNodeHint(h.session, n, t, 10);
        },
    };
    return ways;
}

// Positions, normals and uvs of n triangles, all different.
struct Soup {
    explicit Soup(int n)
        : positions(static_cast<std::size_t>(9 * n)),
          normals(positions.size()),
          uvs(static_cast<std::size_t>(6 * n)) {
        std::iota(positions.begin(), positions.end(), 1.0F);
        std::iota(normals.begin(), normals.end(), 1001.0F);
        std::iota(uvs.begin(), uvs.end(), 2001.0F);
    }
    Floats positions, normals, uvs;
};

Floats operator+(Floats a, const Floats& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

}  // namespace

TEST(BeginNode, EveryWayOpensTheNodeAndEitherEndEndsIt) {
    const auto transform = translation(1, 2, 3);
    for (const Begin& begin : waysToBegin()) {
        for (const auto end : {Q7EndNode, MaxEndNode}) {
            const Host host;
            begin(host, Q7T("node"), transform.data());
            host.addTriangle(Q7T("m"));
            end(host.session);
            const auto stream = host.saved();
            ASSERT_EQ(stream.instances.size(), 1U);
            EXPECT_EQ(stream.instances[0].mesh, u"node_m");
            EXPECT_EQ(stream.instances[0].material, u"m");
            EXPECT_EQ(stream.instances[0].transform, transform);
            EXPECT_EQ(namesOf(stream.meshes), std::vector<WideString>{u"node_m"});
        }
    }
}

TEST(BeginNode, AnEmptyNameLeavesTheOpenNode) {
    const auto kept = translation(1, 0, 0);
    const auto ignored = translation(2, 0, 0);
    for (const Begin& begin : waysToBegin()) {
        const Host host;
        Q7BeginNode(host.session, Q7T("node"), kept.data(), Q7T(""));
        begin(host, Q7T(""), ignored.data());
        host.addTriangle(Q7T("m"));
        Q7EndNode(host.session);
        const auto stream = host.saved();
        ASSERT_EQ(stream.instances.size(), 1U);
        EXPECT_EQ(stream.instances[0].mesh, u"node_m");
        EXPECT_EQ(stream.instances[0].transform, kept);
    }
}

TEST(BeginNode, ReadsTheTransformWhenTheNodeEnds) {
    const Host host;
    auto transform = translation(1, 0, 0);
    MaxBeginNode(host.session, Q7T("node"), transform.data());
    host.addTriangle(Q7T("m"));
    transform = translation(5, 6, 7);
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().instances.at(0).transform, transform);
}

TEST(BeginNode, ASecondBeginTakesOverTheTrianglesSoFar) {
    const Host host;
    const auto first = translation(1, 0, 0);
    const auto second = translation(2, 0, 0);
    MaxBeginNode(host.session, Q7T("first"), first.data());
    host.addTriangle(Q7T("m"));
    MaxBeginNode(host.session, Q7T("second"), second.data());
    host.addTriangle(Q7T("m"));
    host.addTriangle(Q7T("n"));
    MaxEndNode(host.session);
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes), (std::vector<WideString>{u"first_m", u"second_n"}));
    EXPECT_EQ(stream.findMesh(u"first_m")->positions.size(), 18U);
    ASSERT_EQ(stream.instances.size(), 2U);
    EXPECT_EQ(stream.instances[0].transform, second);
    MaxDeleteNode(host.session, Q7T("first"));  // has no instances
    MaxDuplicateNode(host.session, Q7T("second"), Q7T("copy"), first.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 4U);
}

TEST(EndNode, MakesOneMeshAndOneInstanceForEachMaterialInTheirOrder) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("b"), Q7T("a"), Q7T("b")});
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes), (std::vector<WideString>{u"node_b", u"node_a"}));
    EXPECT_EQ(namesOf(stream.materials), (std::vector<WideString>{u"b", u"a"}));
    ASSERT_EQ(stream.instances.size(), 2U);
    EXPECT_EQ(stream.instances[0].mesh, u"node_b");
    EXPECT_EQ(stream.instances[1].mesh, u"node_a");
    EXPECT_EQ(stream.findMesh(u"node_b")->positions.size(), 18U);
}

TEST(EndNode, NamesMeshesAndMaterialsEachInTheirWay) {
    const Host host;
    host.addNode(Q7T("a_b/c_"), {Q7T("m"), Q7T("x/y_z"), Q7T("")});
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes),
              (std::vector<WideString>{u"a@b/c@_m", u"a@b/c@_x/y_z", u"a@b/c@_"}));
    EXPECT_EQ(namesOf(stream.materials), (std::vector<WideString>{u"m", u"x@y_z", u"No Material"}));
    EXPECT_EQ(stream.instances.at(1).material, u"x@y_z");
    EXPECT_EQ(stream.instances.at(2).material, u"No Material");
}

TEST(EndNode, MaterialsAreToldApartAsTheHostNamedThem) {
    const Host host;
    host.addNode(Q7T("n"), {Q7T("a/b"), Q7T("a@b"), Q7T(""), Q7T("No Material")});
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes),
              (std::vector<WideString>{u"n_a/b", u"n_a@b", u"n_", u"n_No Material"}));
    EXPECT_EQ(namesOf(stream.materials), (std::vector<WideString>{u"a@b", u"No Material"}));
    EXPECT_EQ(stream.instances.size(), 4U);
}

TEST(EndNode, TheFallbackMaterialIsAnOrdinaryOne) {
    const Host host;
    AddMaterial(host.session, Q7T("No Material"), Q7T("mine"));
    host.addNode(Q7T("node"), {Q7T("")});
    const auto stream = host.saved();
    ASSERT_EQ(stream.materials.size(), 1U);
    EXPECT_EQ(stream.materials[0].xml, u"mine");
}

TEST(EndNode, MakesUnknownMaterialsOfTheSessionsKind) {
    const Host text;
    text.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_EQ(text.saved().materials.at(0).xml.substr(0, 31), u"<Material><Name>DEFAULT</Name><");

    const Host typed;
    Q7SetMaterialVersion(typed.session, 1);
    typed.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_EQ(typed.saved().materials.at(0).xml,
              u"<Material_2>\n    <id>m</id>\n    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n"
              u"</Material_2>\n");

    const Host neither;
    Q7SetMaterialVersion(neither.session, 2);
    neither.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_TRUE(neither.saved().materials.empty());
    EXPECT_EQ(Q7InstanceCount(neither.session), 0U);
    EXPECT_EQ(neither.saved().meshes.size(), 1U);
    Q7AddMaterial(neither.session, Q7T("m"));
    neither.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_EQ(Q7InstanceCount(neither.session), 1U);
}

TEST(EndNode, TheDefaultTextIsTheWholeLine) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_EQ(wideToUtf8(host.saved().materials.at(0).xml),
              "<Material><Name>DEFAULT</Name><Type>Custom</Type><Opacity>1.00</Opacity>"
              "<DiffuseColor>#FFFFFF</DiffuseColor><EmissiveColor>#FFFFFF</EmissiveColor>"
              "<EmissiveStrength>0</EmissiveStrength><TintColor>#FFFFFF</TintColor>"
              "<Roughness>0.40</Roughness><BumpAmount>0.10</BumpAmount><Metallic>0</Metallic>"
              "<Specular>0.30</Specular><IndexOfRefraction>1.52</IndexOfRefraction>"
              "<IsSolidGlass>false</IsSolidGlass><TextureWidth>1.00</TextureWidth>"
              "<TextureHeight>1.00</TextureHeight></Material>");
}

TEST(EndNode, FillsIndicesOnlyWhereTheHostGaveNone) {
    const Host host;
    const Soup soup(2);
    const int indices[] = {5, 4, 3};
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangles(host.session, Q7T("none"), 2, soup.positions.data(), nullptr, nullptr,
                    CoordOrder::XYZ);
    MaxAddIndexTriangles(host.session, Q7T("given"), 2, soup.positions.data(), nullptr, nullptr, 3,
                         indices, CoordOrder::XYZ);
    MaxEndNode(host.session);
    const auto stream = host.saved();
    EXPECT_EQ(stream.findMesh(u"node_none")->indices, (std::vector<int>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(stream.findMesh(u"node_given")->indices, (std::vector<int>{5, 4, 3}));
}

TEST(EndNode, DropsNormalsThatAreNotOnePerVertex) {
    const Host host;
    const Soup soup(1);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangle(host.session, Q7T("m"), soup.positions.data(), soup.normals.data(), nullptr);
    MaxAddTriangle(host.session, Q7T("m"), soup.positions.data(), nullptr, nullptr);
    MaxAddTriangle(host.session, Q7T("n"), soup.positions.data(), soup.normals.data(), nullptr);
    MaxEndNode(host.session);
    const auto stream = host.saved();
    EXPECT_TRUE(stream.findMesh(u"node_m")->normals.empty());
    EXPECT_EQ(stream.findMesh(u"node_n")->normals, soup.normals);
    EXPECT_EQ(stream.instances.size(), 2U);
}

TEST(EndNode, ANodeExportedAgainUpdatesItsMeshAndAddsInstances) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    host.addTriangle(Q7T("m"));
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    EXPECT_EQ(stream.meshes[0].positions.size(), 18U);
    EXPECT_EQ(stream.instances.size(), 2U);
    // Both instances have the two triangles.
    EXPECT_NE(stream.headerText.find(u"\"triangleCount\":4}"), WideString::npos);
    // The node's list has both: a duplicate has two as well.
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 4U);
}

TEST(EndNode, ANodeDeletedFirstDoesNotKeepItsOldInstances) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    MaxDeleteNode(host.session, Q7T("node"));
    host.addNode(Q7T("node"), {Q7T("m")});
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
}

TEST(EndNode, WithoutTrianglesNothingJoinsTheModel) {
    const Host host;
    const std::string before = host.savedBytes();
    Q7EndNode(host.session);
    Q7BeginNode(host.session, Q7T("node"), identity.data(), Q7T(""));
    Q7EndNode(host.session);
    EXPECT_EQ(host.savedBytes(), before);
}

TEST(EndNode, WithNoNodeEverOpenTheIdentityPlacesTheTriangles) {
    const Host host;
    host.addTriangle(Q7T("m"));
    Q7EndNode(host.session);
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes), std::vector<WideString>{u"_m"});
    EXPECT_EQ(stream.instances.at(0).transform, identity);
    MaxDuplicateNode(host.session, Q7T(""), Q7T("copy"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 2U);
}

TEST(EndNode, AfterAnEndTheLastTransformStillPlacesTriangles) {
    const Host host;
    const auto transform = translation(1, 2, 3);
    MaxBeginNode(host.session, Q7T("node"), transform.data());
    MaxEndNode(host.session);
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().instances.at(0).transform, transform);
    EXPECT_EQ(host.saved().instances.at(0).mesh, u"_m");
}

TEST(EndNode, ANullTransformIsTheIdentity) {
    const Host host;
    MaxBeginNode(host.session, Q7T("node"), nullptr);
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().instances.at(0).transform, identity);
}

TEST(EndNode, TransformsAreCopiedByteByByte) {
    const Host host;
    std::array<float, 16> odd{};
    odd[0] = std::numeric_limits<float>::quiet_NaN();
    odd[5] = -0.0F;
    odd[15] = std::numeric_limits<float>::infinity();
    MaxBeginNode(host.session, Q7T("node"), odd.data());
    host.addTriangle(Q7T("m"));
    MaxEndNode(host.session);
    const auto saved = host.saved().instances.at(0).transform;
    EXPECT_EQ(std::memcmp(saved.data(), odd.data(), sizeof odd), 0);
}

TEST(AddTriangle, AddsOneTriangleInTheGivenOrder) {
    const Host host;
    const Soup soup(1);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangle(host.session, Q7T("m"), soup.positions.data(), soup.normals.data(),
                   soup.uvs.data());
    MaxEndNode(host.session);
    const auto mesh = host.saved().meshes.at(0);
    EXPECT_EQ(mesh.positions, soup.positions);
    EXPECT_EQ(mesh.normals, soup.normals);
    EXPECT_EQ(mesh.uvs, soup.uvs);
    EXPECT_TRUE(mesh.colors.empty());
    EXPECT_EQ(mesh.indices, (std::vector<int>{0, 1, 2}));
}

TEST(AddTriangles, WithoutNormalsThereAreNoneAndWithoutUvsThereAreZeroes) {
    const Host host;
    const Soup soup(2);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangles(host.session, Q7T("m"), 2, soup.positions.data(), nullptr, nullptr,
                    CoordOrder::XYZ);
    MaxEndNode(host.session);
    const auto mesh = host.saved().meshes.at(0);
    EXPECT_TRUE(mesh.normals.empty());
    EXPECT_EQ(mesh.uvs, Floats(12, 0.0F));
}

TEST(AddTriangles, EachOrderPermutesPositionsAndNormalsAndNotUvs) {
    const int rows[][4] = {{0, 0, 1, 2}, {1, 0, 2, 1}, {2, 1, 0, 2}, {3, 1, 2, 0},
                           {4, 2, 0, 1}, {5, 2, 1, 0}, {6, 0, 1, 2}, {-1, 0, 1, 2}};
    for (const int count : {1, 2, 100'000}) {
        const Soup soup(count);
        for (const auto& row : rows) {
            const Host host;
            MaxBeginNode(host.session, Q7T("node"), identity.data());
            MaxAddTriangles(host.session, Q7T("m"), count, soup.positions.data(),
                            soup.normals.data(), soup.uvs.data(), static_cast<CoordOrder>(row[0]));
            MaxEndNode(host.session);
            std::vector<float> positions;
            std::vector<float> normals;
            for (std::size_t i = 0; i < soup.positions.size(); ++i) {
                const std::size_t from = i - i % 3 + static_cast<std::size_t>(row[1 + i % 3]);
                positions.push_back(soup.positions[from]);
                normals.push_back(soup.normals[from]);
            }
            const auto mesh = host.saved().meshes.at(0);
            EXPECT_TRUE(mesh.positions == positions) << row[0] << ", " << count;
            EXPECT_TRUE(mesh.normals == normals) << row[0] << ", " << count;
            EXPECT_TRUE(mesh.uvs == soup.uvs) << row[0] << ", " << count;
        }
    }
}

TEST(AddTriangles, CallsForOneMaterialFollowEachOther) {
    const Host host;
    const Soup one(1);
    const Soup two(2);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangles(host.session, Q7T("m"), 2, two.positions.data(), two.normals.data(),
                    two.uvs.data(), CoordOrder::XYZ);
    MaxAddTriangles(host.session, Q7T("other"), 1, one.positions.data(), nullptr, nullptr,
                    CoordOrder::XYZ);
    MaxAddTriangles(host.session, Q7T("m"), 1, one.positions.data(), one.normals.data(),
                    one.uvs.data(), CoordOrder::XYZ);
    MaxEndNode(host.session);
    const auto mesh = host.saved().meshes.at(0);
    EXPECT_EQ(mesh.positions, two.positions + one.positions);
    EXPECT_EQ(mesh.normals, two.normals + one.normals);
    EXPECT_EQ(mesh.uvs, two.uvs + one.uvs);
}

TEST(AddIndexTriangles, AppendsIndicesWithNoOffset) {
    const Host host;
    const Soup soup(1);
    const int first[] = {0, 1, 2};
    const int second[] = {3, 4, 5, -7};
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddIndexTriangles(host.session, Q7T("m"), 1, soup.positions.data(), nullptr, nullptr, 3,
                         first, CoordOrder::XYZ);
    MaxAddIndexTriangles(host.session, Q7T("m"), 1, soup.positions.data(), nullptr, nullptr, 4,
                         second, CoordOrder::XYZ);
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().meshes.at(0).indices, (std::vector<int>{0, 1, 2, 3, 4, 5, -7}));
}

TEST(AddIndexTriangles, ANullIndexArrayIsNoneWhateverItsCount) {
    const Host host;
    const Soup soup(1);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddIndexTriangles(host.session, Q7T("m"), 1, soup.positions.data(), nullptr, nullptr, 77,
                         nullptr, CoordOrder::XYZ);
    MaxEndNode(host.session);
    EXPECT_EQ(host.saved().meshes.at(0).indices, (std::vector<int>{0, 1, 2}));
}

TEST(AddIndexTriangles, NoTrianglesMakeAMeshOfNothing) {
    const Host host;
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    MaxAddTriangles(host.session, Q7T("m"), 0, nullptr, nullptr, nullptr, CoordOrder::ZYX);
    MaxEndNode(host.session);
    const auto stream = host.saved();
    ASSERT_EQ(stream.meshes.size(), 1U);
    EXPECT_TRUE(stream.meshes[0].positions.empty());
    EXPECT_EQ(stream.instances.size(), 1U);
}

TEST(AddIndexTriangles, ANegativeCountThrowsAndChangesNothing) {
    const Host host;
    const Soup soup(1);
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    for (const int count : {-1, std::numeric_limits<int>::min()}) {
        for (const CoordOrder order : {CoordOrder::XYZ, CoordOrder::ZYX}) {
            try {
                MaxAddTriangles(host.session, Q7T("m"), count, soup.positions.data(), nullptr,
                                nullptr, order);
                FAIL();
            } catch (const std::length_error& error) {
                EXPECT_STREQ(error.what(), "vector too long");
            }
        }
    }
    MaxEndNode(host.session);
    EXPECT_TRUE(host.saved().meshes.empty());
}

TEST(AddIndexTriangles, CopiesBeforeItReturns) {
    const Host host;
    MaxBeginNode(host.session, Q7T("node"), identity.data());
    {
        auto soup = std::make_unique<Soup>(1);
        auto name = std::make_unique<HostString>(Q7T("m"));
        MaxAddTriangle(host.session, name->c_str(), soup->positions.data(), soup->normals.data(),
                       soup->uvs.data());
        *name = Q7T("x");
        soup->positions.assign(9, 0.0F);
    }
    MaxEndNode(host.session);
    const auto stream = host.saved();
    EXPECT_EQ(stream.meshes.at(0).positions, Soup(1).positions);
    EXPECT_EQ(stream.instances.at(0).material, u"m");
}

TEST(DuplicateNode, PlacesEachInstanceAgainWithTheGivenTransform) {
    const auto placed = translation(9, 8, 7);
    const auto source = translation(1, 1, 1);
    for (const bool withPath : {false, true}) {
        const Host host;
        MaxBeginNode(host.session, Q7T("node"), source.data());
        host.addTriangle(Q7T("a"));
        host.addTriangle(Q7T("b/c"));
        host.addTriangle(Q7T(""));
        MaxEndNode(host.session);
        if (withPath) {
            Q7DuplicateNode(host.session, Q7T("node"), Q7T("copy"), placed.data(), Q7T("p"));
        } else {
            MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), placed.data());
        }
        const auto stream = host.saved();
        EXPECT_EQ(stream.meshes.size(), 3U);
        EXPECT_EQ(stream.materials.size(), 3U);
        ASSERT_EQ(stream.instances.size(), 6U);
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_EQ(stream.instances[i].transform, source);
            EXPECT_EQ(stream.instances[i + 3].transform, placed);
            EXPECT_EQ(stream.instances[i + 3].mesh, stream.instances[i].mesh);
            EXPECT_EQ(stream.instances[i + 3].material, stream.instances[i].material);
        }
    }
}

TEST(DuplicateNode, ReadsTheTransformAtOnce) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("m")});
    auto transform = translation(1, 2, 3);
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), transform.data());
    transform = translation(0, 0, 0);
    EXPECT_EQ(host.saved().instances.at(1).transform, translation(1, 2, 3));
}

TEST(DuplicateNode, OntoItselfDoublesItsListOnce) {
    const Host host;
    host.addNode(Q7T("node"), {Q7T("a"), Q7T("b"), Q7T("c")});
    Q7DuplicateNode(host.session, Q7T("node"), Q7T("node"), identity.data(), Q7T(""));
    EXPECT_EQ(Q7InstanceCount(host.session), 6U);
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("node"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 12U);
}

TEST(DuplicateNode, OntoAKnownNodeAddsToItsList) {
    const Host host;
    host.addNode(Q7T("a"), {Q7T("m")});
    host.addNode(Q7T("b"), {Q7T("m")});
    MaxDuplicateNode(host.session, Q7T("a"), Q7T("b"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
    MaxDuplicateNode(host.session, Q7T("b"), Q7T("c"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 5U);
}

TEST(DuplicateNode, OfADuplicateWorks) {
    const Host host;
    host.addNode(Q7T("a"), {Q7T("m")});
    MaxDuplicateNode(host.session, Q7T("a"), Q7T("b"), identity.data());
    MaxDeleteNode(host.session, Q7T("a"));
    MaxDuplicateNode(host.session, Q7T("b"), Q7T("c"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 3U);
}

TEST(DuplicateNode, OfAnUnknownNodeAddsNoInstances) {
    const Host host;
    MaxDuplicateNode(host.session, Q7T("unknown"), Q7T("copy"), identity.data());
    Q7DuplicateNode(host.session, Q7T("unknown"), Q7T("copy"), nullptr, Q7T(""));
    EXPECT_EQ(Q7InstanceCount(host.session), 0U);
    MaxDuplicateNode(host.session, Q7T("copy"), Q7T("other"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 0U);
}

TEST(DuplicateNode, SkipsInstancesThatCouldNotBeMade) {
    const Host host;
    Q7SetMaterialVersion(host.session, 9);
    Q7AddMaterial(host.session, Q7T("known"));
    host.addNode(Q7T("node"), {Q7T("unknown"), Q7T("known")});
    EXPECT_EQ(Q7InstanceCount(host.session), 1U);
    MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
    EXPECT_EQ(Q7InstanceCount(host.session), 2U);
    MaxDeleteNode(host.session, Q7T("node"));
}

TEST(DeleteNode, EitherFormForgetsTheNodeAndKeepsTheModelUntilASend) {
    for (const auto remove : {MaxDeleteNode, Q7DeleteNode}) {
        const Host host;
        host.addNode(Q7T("node"), {Q7T("m")});
        const std::string before = host.savedBytes();
        remove(host.session, Q7T("unknown"));
        remove(host.session, Q7T("node"));
        remove(host.session, Q7T("node"));
        EXPECT_EQ(host.savedBytes(), before);
        MaxDuplicateNode(host.session, Q7T("node"), Q7T("copy"), identity.data());
        EXPECT_EQ(Q7InstanceCount(host.session), 1U);
    }
}

TEST(Nodes, ManyWithManyMaterialsKeepTheirOrder) {
    const Host host;
    std::vector<WideString> expected;
    for (int node = 0; node < 50; ++node) {
        const std::string digits = std::to_string(node * 37 % 50);
        const HostString name(digits.begin(), digits.end());
        MaxBeginNode(host.session, name.c_str(), identity.data());
        for (const auto* material : {Q7T("m"), Q7T("k"), Q7T("z")}) {
            host.addTriangle(material);
            expected.push_back(WideString(name.begin(), name.end()) + u"_" +
                               static_cast<char16_t>(material[0]));
        }
        MaxEndNode(host.session);
    }
    const auto stream = host.saved();
    EXPECT_EQ(namesOf(stream.meshes), expected);
    EXPECT_EQ(namesOf(stream.materials), (std::vector<WideString>{u"m", u"k", u"z"}));
}
