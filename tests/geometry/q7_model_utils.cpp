#include "geometry/q7_model_utils.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <random>

#include "materials/q7_material.h"

namespace {

const Transform odd = {0.1F, 1.7F, -2.3F, 9, 3.3F, -0.7F, 0.9F, 8,
                       1.1F, 2.9F, -5.3F, 7, 10,   20,    30,   6};

// The sums as they are laid down, one operation at a time.
std::array<float, 3> worldPoint(const Transform& m, float x, float y, float z) {
    std::array<float, 3> out{};
    for (std::size_t i = 0; i < 3; ++i) {
        volatile float sum = m[4 + i] * y;
        volatile float term = x * m[i];
        sum = sum + term;
        term = m[8 + i] * z;
        sum = sum + term;
        out[i] = sum + m[12 + i];
    }
    return out;
}

std::array<float, 3> worldNormal(const Transform& m, float x, float y, float z) {
    const auto minor = [&](int a, int b, int c, int d) {
        volatile float first = m[static_cast<std::size_t>(a)] * m[static_cast<std::size_t>(b)];
        volatile float second = m[static_cast<std::size_t>(c)] * m[static_cast<std::size_t>(d)];
        return first - second;
    };
    const float cofactors[9] = {minor(10, 5, 9, 6), minor(8, 6, 4, 10), minor(4, 9, 8, 5),
                                minor(2, 9, 1, 10), minor(0, 10, 2, 8), minor(1, 8, 0, 9),
                                minor(1, 6, 2, 5),  minor(2, 4, 0, 6),  minor(0, 5, 1, 4)};
    std::array<float, 3> out{};
    for (std::size_t i = 0; i < 3; ++i) {
        volatile float sum = cofactors[3 + i] * y;
        volatile float term = x * cofactors[i];
        sum = sum + term;
        term = cofactors[6 + i] * z;
        out[i] = sum + term;
    }
    volatile float squares = out[0] * out[0];
    volatile float square = out[1] * out[1];
    squares = squares + square;
    square = out[2] * out[2];
    squares = squares + square;
    const float length = std::sqrt(squares);
    if (length != 0) {
        for (float& component : out)
            component /= length;
    }
    return out;
}

Array<float> randomFloats(std::size_t count, std::uint32_t seed = 7) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> values(-1000, 1000);
    Array<float> floats(count);
    for (float& value : floats)
        value = values(random);
    return floats;
}

bool sameBits(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

// A mesh of whole points; uvs fit, colours are the mesh's number.
Mesh* addMesh(Model& model, WideView name, Array<float> positions, bool withNormals = true) {
    MeshArrays arrays;
    arrays.positions = positions;
    if (withNormals) {
        for (std::size_t i = 0; i < positions.size() / 3; ++i) {
            for (const float component : {0.0F, 0.0F, 2.0F})
                append(arrays.normals, &component, 1);
        }
    }
    arrays.uvs = Array<float>(positions.size() / 3 * 2, static_cast<float>(model.meshes.size()));
    arrays.colors = Array<unsigned char>(1, static_cast<unsigned char>(model.meshes.size()));
    arrays.indices = Array<std::int32_t>(1, 99);
    return model.addMesh(name, std::move(arrays));
}

const Transform moved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1};

}  // namespace

TEST(CalcWorldVertex, SumsInTheLaidDownOrder) {
    const Array<float> points = randomFloats(3000);
    const Array<float> world = Q7ModelUtils::calcWorldVertex(points, odd);
    ASSERT_EQ(world.size(), points.size());
    for (std::size_t i = 0; i < points.size(); i += 3) {
        const auto expected = worldPoint(odd, points[i], points[i + 1], points[i + 2]);
        for (std::size_t j = 0; j < 3; ++j)
            ASSERT_TRUE(sameBits(world[i + j], expected[j]));
    }
}

TEST(CalcWorldVertex, TheIdentityGivesTheInputBack) {
    const Array<float> points = randomFloats(300);
    EXPECT_EQ(Q7ModelUtils::calcWorldVertex(points, identityTransform), points);
}

TEST(CalcWorldVertex, NeverReadsThePerspectiveElements) {
    Transform other = odd;
    for (const std::size_t i : {3U, 7U, 11U, 15U}) {
        other[i] = std::numeric_limits<float>::quiet_NaN();
    }
    const Array<float> points = randomFloats(9);
    EXPECT_EQ(Q7ModelUtils::calcWorldVertex(points, other),
              Q7ModelUtils::calcWorldVertex(points, odd));
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal(points, other),
              Q7ModelUtils::calcWorldNormal(points, odd));
}

TEST(CalcWorldVertex, TakesAnyLength) {
    EXPECT_TRUE(Q7ModelUtils::calcWorldVertex({}, odd).empty());
    EXPECT_EQ(Q7ModelUtils::calcWorldVertex({1, 2}, moved), (Array<float>{0, 0}));
    EXPECT_EQ(Q7ModelUtils::calcWorldVertex({1, 2, 3}, moved), (Array<float>{11, 22, 33}));
    EXPECT_EQ(Q7ModelUtils::calcWorldVertex({1, 2, 3, 4, 5}, moved),
              (Array<float>{11, 22, 33, 0, 0}));
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({1, 2}, moved), (Array<float>{0, 0}));
}

TEST(CalcWorldVertex, IsTheSameOnManyThreads) {
    const Array<float> points = randomFloats(3 * 200'001);
    const Array<float> world = Q7ModelUtils::calcWorldVertex(points, odd);
    const Array<float> normals = Q7ModelUtils::calcWorldNormal(points, odd);
    for (std::size_t i = 0; i < points.size(); i += 3 * 997) {
        const Array<float> one = {points[i], points[i + 1], points[i + 2]};
        const Array<float> worldOne = Q7ModelUtils::calcWorldVertex(one, odd);
        const Array<float> normalOne = Q7ModelUtils::calcWorldNormal(one, odd);
        for (std::size_t j = 0; j < 3; ++j) {
            ASSERT_TRUE(sameBits(world[i + j], worldOne[j]));
            ASSERT_TRUE(sameBits(normals[i + j], normalOne[j]));
        }
    }
}

TEST(CalcWorldNormal, SumsTheCofactorsInTheLaidDownOrder) {
    const Array<float> input = randomFloats(3000);
    const Array<float> world = Q7ModelUtils::calcWorldNormal(input, odd);
    ASSERT_EQ(world.size(), input.size());
    for (std::size_t i = 0; i < input.size(); i += 3) {
        const auto expected = worldNormal(odd, input[i], input[i + 1], input[i + 2]);
        for (std::size_t j = 0; j < 3; ++j)
            ASSERT_TRUE(sameBits(world[i + j], expected[j]));
    }
}

TEST(CalcWorldNormal, NormalisesAndTurnsWithTheTransform) {
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({0, 0, 5, 0, -3, 4}, identityTransform),
              (Array<float>{0, 0, 1, 0, -0.6F, 0.8F}));
    const Transform quarterTurn = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 5, 5, 1};
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({1, 0, 0}, quarterTurn), (Array<float>{0, 1, 0}));
    const Transform mirrored = {-1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({0, 0, 1}, mirrored), (Array<float>{0, 0, -1}));
    const Transform flattened = {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const Array<float> tilted = Q7ModelUtils::calcWorldNormal({1, 1, 0}, flattened);
    EXPECT_LT(tilted[0], tilted[1]);
}

TEST(CalcWorldNormal, AZeroLengthStaysZero) {
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({0, 0, 0}, odd), (Array<float>{0, 0, 0}));
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({1, 2, 3}, Transform{}), (Array<float>{0, 0, 0}));
}

TEST(CalcWorldNormal, ALengthThatComesOutAsZeroLeavesTheVector) {
    // The squares are too small for single precision.
    EXPECT_EQ(Q7ModelUtils::calcWorldNormal({1e-30F, 2e-30F, 0}, identityTransform),
              (Array<float>{1e-30F, 2e-30F, 0}));
}

TEST(Merge, IsTheSameOnManyThreads) {
    Model model;
    model.addDefaultMaterial(u"m");
    for (const auto* name : {u"a", u"b"}) {
        MeshArrays arrays;
        arrays.positions = randomFloats(3 * 40'000);
        arrays.normals = randomFloats(3 * 40'000);
        arrays.uvs = Array<float>(2 * 40'000, 0.0F);
        model.addMesh(name, std::move(arrays));
        model.addInstance(name, u"m", odd.data(), u"");
    }
    const Mesh& source = *model.meshAt(u"a");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    const Mesh& merged = *model.meshAt(u"m_q7_merged");
    Array<float> positions = Q7ModelUtils::calcWorldVertex(source.positions, odd);
    Array<float> normals = Q7ModelUtils::calcWorldNormal(source.normals, odd);
    for (Array<float>* array : {&positions, &normals}) {
        const Array<float> once = *array;
        append(*array, once.data(), once.size());
    }
    EXPECT_TRUE(merged.positions == positions);
    EXPECT_TRUE(merged.normals == normals);
    ASSERT_EQ(merged.indices.size(), 240'000U);
    for (std::size_t i = 0; i < merged.indices.size(); ++i) {
        ASSERT_EQ(merged.indices[i], static_cast<std::int32_t>(i));
    }
}

TEST(Merge, IsTheSameWhereverThePiecesOfTheThreadsMeet) {
    // Totals that leave each remainder when they are divided.
    for (const std::uint32_t meshes : {398U, 399U, 400U, 401U, 402U}) {
        Model model;
        model.addDefaultMaterial(u"m");
        MeshArrays expected;
        for (std::uint32_t i = 0; i < meshes; ++i) {
            const std::size_t points = 3 * (1 + i * 7 % 501);
            MeshArrays arrays;
            arrays.positions = randomFloats(3 * points, 3 * i);
            arrays.normals = randomFloats(3 * points, 3 * i + 1);
            arrays.uvs = randomFloats(2 * points, 3 * i + 2);
            arrays.colors = Array<unsigned char>(i % 1000, static_cast<unsigned char>(i));
            const WideString name = utf8ToWide(std::to_string(i));
            const Mesh& mesh = *model.addMesh(name, std::move(arrays));
            const bool asIs = i % 50 == 0;
            model.addInstance(name, u"m", asIs ? nullptr : odd.data(), u"");
            const Array<float> world =
                asIs ? mesh.positions : Q7ModelUtils::calcWorldVertex(mesh.positions, odd);
            const Array<float> turned =
                asIs ? mesh.normals : Q7ModelUtils::calcWorldNormal(mesh.normals, odd);
            append(expected.positions, world.data(), world.size());
            append(expected.normals, turned.data(), turned.size());
            append(expected.uvs, mesh.uvs.data(), mesh.uvs.size());
            append(expected.colors, mesh.colors.data(), mesh.colors.size());
        }
        Q7ModelUtils::MergeSingleInstancedMesh(model);
        const Mesh& merged = *model.meshAt(u"m_q7_merged");
        EXPECT_TRUE(merged.positions == expected.positions) << meshes;
        EXPECT_TRUE(merged.normals == expected.normals) << meshes;
        EXPECT_TRUE(merged.uvs == expected.uvs) << meshes;
        EXPECT_TRUE(merged.colors == expected.colors) << meshes;
    }
}

TEST(Merge, ManyColorsAreJoinedInPieces) {
    Model model;
    model.addDefaultMaterial(u"m");
    Array<unsigned char> expected;
    for (const auto* name : {u"a", u"b"}) {
        Mesh* const mesh = addMesh(model, name, {1, 2, 3});
        mesh->colors.resize(300'001);
        for (std::size_t i = 0; i < mesh->colors.size(); ++i)
            mesh->colors[i] = static_cast<unsigned char>(i * i / 7);
        append(expected, mesh->colors.data(), mesh->colors.size());
        model.addInstance(name, u"m", moved.data(), u"");
    }
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    EXPECT_TRUE(model.meshAt(u"m_q7_merged")->colors == expected);
}

TEST(Merge, AnEmptyArrayBetweenOthersAddsNothing) {
    for (const Transform& transform : {identityTransform, moved}) {
        Model model;
        model.addDefaultMaterial(u"m");
        addMesh(model, u"a", {1, 2, 3});
        model.addMesh(u"empty", {});
        addMesh(model, u"b", {4, 5, 6});
        for (const auto* name : {u"a", u"empty", u"b"})
            model.addInstance(name, u"m", transform.data(), u"");
        Q7ModelUtils::MergeSingleInstancedMesh(model);
        ASSERT_EQ(model.instances.size(), 1U);
        const Mesh& merged = *model.instances[0]->mesh;
        EXPECT_EQ(merged.positions, Q7ModelUtils::calcWorldVertex({1, 2, 3, 4, 5, 6}, transform));
        EXPECT_EQ(merged.colors, (Array<unsigned char>{0, 2}));
    }
}

TEST(Merge, WhatIsNoWholePointIsZeroed) {
    Model model;
    model.addDefaultMaterial(u"m");
    Mesh* const a = addMesh(model, u"a", {1, 2, 3});
    Mesh* const b = addMesh(model, u"b", {1, 2, 3, 4, 5, 6});
    a->positions.resize(4, 7);
    a->normals.resize(4, 7);
    b->positions.resize(5);
    b->normals.resize(5);
    model.addInstance(u"a", u"m", moved.data(), u"");
    model.addInstance(u"b", u"m", moved.data(), u"");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    ASSERT_EQ(model.instances.size(), 1U);
    const Mesh& merged = *model.instances[0]->mesh;
    EXPECT_EQ(merged.positions, (Array<float>{11, 22, 33, 0, 11, 22, 33, 0, 0}));
    EXPECT_EQ(merged.normals, (Array<float>{0, 0, 1, 0, 0, 0, 1, 0, 0}));
}

TEST(Merge, JoinsTheSingleInstancedMeshesOfOneMaterial) {
    Model model;
    model.addQ7Material(u"m");
    addMesh(model, u"a", {1, 2, 3, 4, 5, 6, 7, 8, 9});
    addMesh(model, u"b", {0, 0, 0, 1, 1, 1, 2, 2, 2});
    model.addInstance(u"a", u"m", identityTransform.data(), u"pa");
    model.addInstance(u"b", u"m", moved.data(), u"pb");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    ASSERT_EQ(model.instances.size(), 1U);
    const Instance& instance = *model.instances[0];
    EXPECT_EQ(instance.mesh, model.meshAt(u"m_q7_merged"));
    EXPECT_EQ(instance.material, model.findMaterial(u"m"));
    EXPECT_EQ(instance.transform, identityTransform);
    EXPECT_EQ(instance.path, u"");
    const Mesh& mesh = *instance.mesh;
    EXPECT_EQ(mesh.positions,
              (Array<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 20, 30, 11, 21, 31, 12, 22, 32}));
    // At the identity normals are taken as they are, otherwise they come out normalised.
    EXPECT_EQ(mesh.normals, (Array<float>{0, 0, 2, 0, 0, 2, 0, 0, 2, 0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(mesh.uvs, (Array<float>{0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1}));
    EXPECT_EQ(mesh.colors, (Array<unsigned char>{0, 1}));
    ASSERT_EQ(mesh.indices.size(), mesh.positions.size());
    for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
        EXPECT_EQ(mesh.indices[i], static_cast<std::int32_t>(i));
    }
    EXPECT_TRUE(model.hasMesh(u"a"));
    EXPECT_TRUE(model.hasMesh(u"b"));
}

TEST(Merge, LeavesMeshesWithSeveralInstancesAndLoneMeshes) {
    Model model;
    model.addDefaultMaterial(u"m");
    model.addDefaultMaterial(u"n");
    addMesh(model, u"twice", {1, 2, 3});
    addMesh(model, u"alone", {1, 2, 3});
    addMesh(model, u"unused", {1, 2, 3});
    model.addInstance(u"twice", u"m", moved.data(), u"");
    model.addInstance(u"twice", u"m", moved.data(), u"");
    model.addInstance(u"alone", u"n", moved.data(), u"");
    const auto instances = model.instances;
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    EXPECT_EQ(model.instances, instances);
    EXPECT_EQ(model.instances[2]->transform, moved);
    EXPECT_EQ(model.meshes.size(), 3U);
}

TEST(Merge, AMeshUsedTwiceWithTwoMaterialsStays) {
    Model model;
    model.addDefaultMaterial(u"m");
    model.addDefaultMaterial(u"n");
    addMesh(model, u"shared", {1, 2, 3});
    addMesh(model, u"single", {1, 2, 3});
    model.addInstance(u"shared", u"m", nullptr, u"");
    model.addInstance(u"shared", u"n", nullptr, u"");
    model.addInstance(u"single", u"m", nullptr, u"");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    EXPECT_EQ(model.instances.size(), 3U);
    EXPECT_FALSE(model.hasMesh(u"m_q7_merged"));
}

TEST(Merge, PutsTheMergedInstancesBehindTheRestInMaterialOrder) {
    Model model;
    for (const auto* material : {u"m", u"n"})
        model.addDefaultMaterial(material);
    for (const auto* mesh : {u"n1", u"kept", u"m1", u"n2", u"m2"})
        addMesh(model, mesh, {1, 2, 3});
    model.addInstance(u"n1", u"n", nullptr, u"");
    model.addInstance(u"kept", u"n", nullptr, u"first");
    model.addInstance(u"m1", u"m", nullptr, u"");
    model.addInstance(u"kept", u"n", nullptr, u"second");
    model.addInstance(u"n2", u"n", nullptr, u"");
    model.addInstance(u"m2", u"m", nullptr, u"");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    ASSERT_EQ(model.instances.size(), 4U);
    EXPECT_EQ(model.instances[0]->path, u"first");
    EXPECT_EQ(model.instances[1]->path, u"second");
    EXPECT_EQ(model.instances[2]->mesh->name, u"n_q7_merged");
    EXPECT_EQ(model.instances[3]->mesh->name, u"m_q7_merged");
}

TEST(Merge, AGroupThatDoesNotFitDisappears) {
    Model model;
    model.addDefaultMaterial(u"m");
    addMesh(model, u"with", {1, 2, 3});
    addMesh(model, u"without", {1, 2, 3}, false);
    model.addInstance(u"with", u"m", nullptr, u"");
    model.addInstance(u"without", u"m", nullptr, u"");
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    EXPECT_TRUE(model.instances.empty());
    EXPECT_FALSE(model.hasMesh(u"m_q7_merged"));
    EXPECT_EQ(model.meshes.size(), 2U);
}

TEST(Merge, EachCountIsChecked) {
    for (const int wrong : {0, 1, 2}) {
        Model model;
        model.addDefaultMaterial(u"m");
        addMesh(model, u"a", {1, 2, 3});
        Mesh* const b = addMesh(model, u"b", {1, 2, 3});
        if (wrong == 0) {
            b->positions.resize(b->positions.size() + 1, 4);
            b->normals.resize(b->normals.size() + 1, 4);
        }
        if (wrong == 1) b->normals.resize(b->normals.size() + 1, 4);
        if (wrong == 2) b->uvs.resize(b->uvs.size() + 1, 4);
        model.addInstance(u"a", u"m", moved.data(), u"");
        model.addInstance(u"b", u"m", moved.data(), u"");
        Q7ModelUtils::MergeSingleInstancedMesh(model);
        EXPECT_TRUE(model.instances.empty()) << wrong;
    }
}

TEST(Merge, AMeshOfTheMergedNameIsKept) {
    Model model;
    model.addDefaultMaterial(u"m");
    const Mesh* const old = addMesh(model, u"m_q7_merged", {5, 5, 5});
    for (const auto* mesh : {u"a", u"b"}) {
        addMesh(model, mesh, {1, 2, 3});
        model.addInstance(mesh, u"m", moved.data(), u"p");
    }
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    ASSERT_EQ(model.instances.size(), 1U);
    EXPECT_EQ(model.instances[0]->mesh, old);
    EXPECT_EQ(model.instances[0]->transform, identityTransform);
    EXPECT_EQ(old->positions, (Array<float>{5, 5, 5}));
}

TEST(Merge, WhatIsNotANumberIsNotTheIdentity) {
    Model model;
    model.addDefaultMaterial(u"m");
    Transform broken = identityTransform;
    broken[3] = std::numeric_limits<float>::quiet_NaN();
    for (const auto* mesh : {u"a", u"b"}) {
        addMesh(model, mesh, {1, 2, 3});
        model.addInstance(mesh, u"m", broken.data(), u"");
    }
    Q7ModelUtils::MergeSingleInstancedMesh(model);
    // Baked: the normals of length 2 are normalised.
    EXPECT_EQ(model.meshAt(u"m_q7_merged")->normals, (Array<float>{0, 0, 1, 0, 0, 1}));
}

TEST(Merge, OnACopyLeavesTheSource) {
    Model model;
    model.addDefaultMaterial(u"m");
    for (const auto* mesh : {u"a", u"b"}) {
        addMesh(model, mesh, {1, 2, 3});
        model.addInstance(mesh, u"m", moved.data(), u"");
    }
    const auto instances = model.instances;
    Model copy = model;
    Q7ModelUtils::MergeSingleInstancedMesh(copy);
    EXPECT_EQ(copy.instances.size(), 1U);
    EXPECT_EQ(model.instances, instances);
    EXPECT_EQ(model.instances[0]->transform, moved);
    EXPECT_EQ(model.meshes.size(), 2U);
}
