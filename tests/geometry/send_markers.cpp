#include "geometry/send_markers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "geometry/q7_model_utils.h"
#include "materials/q7_material.h"

namespace {

const Transform shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};

Transform scaled(float x, float y, float z) {
    return {x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1};
}

struct Scene {
    Scene() {
        MeshArrays arrays;
        arrays.positions = {1, 2, 3, 4, 5, 6, 7, 8, 9};
        arrays.normals = {0, 0, 1, 0, 1, 0, 1, 0, 0};
        arrays.uvs = {0, 0, 1, 0, 0, 1};
        arrays.colors = {1, 2};
        arrays.indices = {2, 1, 0};
        core.model->addMesh(u"mesh", arrays);
        core.model->addDefaultMaterial(u"m");
    }
    Instance& place(const Transform& transform) {
        core.model->addInstance(u"mesh", u"m", transform.data(), u"path");
        return *core.model->instances.back();
    }
    bool isFixed(const Transform& transform) {
        Instance& instance = place(transform);
        fixDegenerateTransforms(core, *core.model);
        const bool fixed = !core.fixedInstances.empty();
        EXPECT_EQ(fixed, instance.mesh != core.model->meshAt(u"mesh"));
        restoreFixedInstances(core);
        core.model->instances.clear();
        core.model->pruneUnusedMeshes();
        *this = Scene();
        return fixed;
    }
    SessionCore core;
};

}  // namespace

TEST(FixDegenerateTransforms, HealthyOnesAreLeftAlone) {
    Scene scene;
    const float s = std::sqrt(0.5F);
    EXPECT_FALSE(scene.isFixed(identityTransform));
    EXPECT_FALSE(scene.isFixed({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1e6F, -5, 3, 1}));
    EXPECT_FALSE(scene.isFixed({2 * s, 2 * s, 0, 0, -2 * s, 2 * s, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1}));
    EXPECT_FALSE(scene.isFixed(scaled(1, 2, 3)));
    EXPECT_FALSE(scene.isFixed(scaled(-1, 1, 1)));
    // Rows count, not columns.
    EXPECT_FALSE(scene.isFixed({2 * s, 2 * s, 0, 0, -3 * s, 3 * s, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_TRUE(scene.isFixed({2 * s, -3 * s, 0, 0, 2 * s, 3 * s, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    // The translation is not looked at.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(scene.isFixed({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, nan, 0, 0, 1}));
    EXPECT_FALSE(scene.isFixed(scaled(0.001F, 0.001F, 0.001F)));
    EXPECT_FALSE(scene.isFixed(scaled(100, 100, 100)));
    EXPECT_FALSE(scene.isFixed({1, 0, 0, 7, 0, 1, 0, 7, 0, 0, 1, 7, 0, 0, 0, 7}));
}

TEST(FixDegenerateTransforms, UnhealthyOnesAreFixed) {
    Scene scene;
    const float nan = std::numeric_limits<float>::quiet_NaN();
    EXPECT_TRUE(scene.isFixed(shear));
    EXPECT_TRUE(scene.isFixed({1, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_TRUE(scene.isFixed({1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    for (const float scale : {0.0009F, 100.1F, 0.0F, nan, std::numeric_limits<float>::infinity()}) {
        EXPECT_TRUE(scene.isFixed(scaled(scale, 1, 1))) << scale;
        EXPECT_TRUE(scene.isFixed(scaled(1, scale, 1))) << scale;
        EXPECT_TRUE(scene.isFixed(scaled(1, 1, scale))) << scale;
    }
    // 1e-5 itself is too much, less is not.
    EXPECT_TRUE(scene.isFixed({1, 1e-5F, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
    EXPECT_FALSE(scene.isFixed({1, 0.9e-5F, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}));
}

TEST(FixDegenerateTransforms, BakesAMeshOfItsOwnForEachInstance) {
    Scene scene;
    Model& model = *scene.core.model;
    const Instance& healthy = scene.place(scaled(2, 2, 2));
    const Instance& first = scene.place(shear);
    const Instance& second = scene.place(scaled(1000, 1, 1));
    const Mesh& source = *healthy.mesh;
    fixDegenerateTransforms(scene.core, model);
    EXPECT_EQ(healthy.mesh, &source);
    EXPECT_EQ(first.mesh, model.meshAt(u"@q7fix@0mesh"));
    EXPECT_EQ(second.mesh, model.meshAt(u"@q7fix@1mesh"));
    EXPECT_EQ(first.transform, identityTransform);
    EXPECT_EQ(first.mesh->positions, Q7ModelUtils::calcWorldVertex(source.positions, shear));
    EXPECT_EQ(first.mesh->normals, Q7ModelUtils::calcWorldNormal(source.normals, shear));
    EXPECT_EQ(first.mesh->uvs, source.uvs);
    EXPECT_EQ(first.mesh->colors, source.colors);
    EXPECT_EQ(first.mesh->indices, source.indices);
    EXPECT_EQ(scene.core.fixedInstances.size(), 2U);
    restoreFixedInstances(scene.core);
    EXPECT_TRUE(scene.core.fixedInstances.empty());
    EXPECT_EQ(first.mesh, &source);
    EXPECT_EQ(first.transform, shear);
    EXPECT_TRUE(model.hasMesh(u"@q7fix@0mesh"));
    model.pruneUnusedMeshes();
    EXPECT_EQ(model.meshes.size(), 1U);
}

TEST(FixDegenerateTransforms, AMeshWithoutNormalsIsBakedWithout) {
    Scene scene;
    const Instance& instance = scene.place(shear);
    instance.mesh->normals.clear();
    fixDegenerateTransforms(scene.core, *scene.core.model);
    EXPECT_EQ(instance.mesh->name, u"@q7fix@0mesh");
    EXPECT_TRUE(instance.mesh->normals.empty());
    restoreFixedInstances(scene.core);
    scene.core.model->pruneUnusedMeshes();
    instance.mesh->normals = {1, 2};
    fixDegenerateTransforms(scene.core, *scene.core.model);
    EXPECT_EQ(instance.mesh->name, u"@q7fix@0mesh");
    EXPECT_TRUE(instance.mesh->normals.empty());
    restoreFixedInstances(scene.core);
}

TEST(FixDegenerateTransforms, ARefusedMeshLeavesTheInstanceAsItIs) {
    Scene scene;
    Model& model = *scene.core.model;
    model.addMesh(u"@q7fix@0mesh", {});
    const Instance& taken = scene.place(shear);
    const Instance& next = scene.place(shear);
    fixDegenerateTransforms(scene.core, model);
    EXPECT_EQ(taken.mesh, model.meshAt(u"mesh"));
    EXPECT_EQ(taken.transform, shear);
    EXPECT_EQ(next.mesh, model.meshAt(u"@q7fix@1mesh"));
    restoreFixedInstances(scene.core);

    next.mesh->uvs.clear();
    model.meshes.erase(u"@q7fix@0mesh");
    model.meshes.erase(u"@q7fix@1mesh");
    fixDegenerateTransforms(scene.core, model);
    EXPECT_TRUE(scene.core.fixedInstances.empty());
    EXPECT_EQ(next.mesh, model.meshAt(u"mesh"));
}

TEST(FixDegenerateTransforms, OnACopyTheSessionsInstancesAreRestored) {
    Scene scene;
    const Instance& instance = scene.place(shear);
    {
        Model copy = *scene.core.model;
        fixDegenerateTransforms(scene.core, copy);
        EXPECT_EQ(instance.mesh, copy.meshAt(u"@q7fix@0mesh"));
        EXPECT_FALSE(scene.core.model->hasMesh(u"@q7fix@0mesh"));
        restoreFixedInstances(scene.core);
    }
    EXPECT_EQ(instance.mesh, scene.core.model->meshAt(u"mesh"));
}

TEST(AddGeneratorMesh, IsATinyTriangleBesideTheFirstPoint) {
    Scene scene;
    scene.place(identityTransform);
    const Mesh* const mesh = addGeneratorMesh(*scene.core.model);
    ASSERT_EQ(mesh, scene.core.model->meshAt(u"@g@m@q7_"));
    const float d = 0.00512052F;
    EXPECT_EQ(mesh->positions, (Array<float>{1, 2, 3, 1 + d, 2, 3, 1, 2 + d, 3}));
    EXPECT_EQ(mesh->normals, (Array<float>{1, 0, 0, 1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(mesh->uvs, (Array<float>{1, 0, 1, 0, 1, 0}));
    EXPECT_TRUE(mesh->colors.empty());
    EXPECT_EQ(mesh->indices, (Array<std::int32_t>{0, 1, 2}));
}

TEST(AddGeneratorMesh, GrowsFarFromTheOrigin) {
    Scene scene;
    Instance& instance = scene.place(identityTransform);
    for (const float far : {1e6F, -1e6F, 1e8F, 3e38F, -3e38F}) {
        instance.mesh->positions[0] = far;
        instance.mesh->positions[1] = 2;
        const Mesh* const mesh = addGeneratorMesh(*scene.core.model);
        EXPECT_GE(mesh->positions[3] - far, 0.002F);
        EXPECT_EQ(mesh->positions[7], 2 + 0.00512052F);
    }
    // At a million the step doubles until the sum moves: 0.00512, then 0.01, 0.02 and 0.04.
    instance.mesh->positions[0] = 1e6F;
    EXPECT_EQ(addGeneratorMesh(*scene.core.model)->positions[3], 1e6F + 0.0625F);
    for (const float odd :
         {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        instance.mesh->positions[0] = odd;
        EXPECT_NE(addGeneratorMesh(*scene.core.model), nullptr);
    }
}

TEST(AddGeneratorMesh, WithoutAPointItStandsAtTheOrigin) {
    const float d = 0.00512052F;
    const Array<float> atOrigin = {0, 0, 0, d, 0, 0, 0, d, 0};
    SessionCore empty;
    EXPECT_EQ(addGeneratorMesh(*empty.model)->positions, atOrigin);
    Scene scene;
    scene.place(identityTransform).mesh->positions.clear();
    EXPECT_EQ(addGeneratorMesh(*scene.core.model)->positions, atOrigin);
}

TEST(AddGeneratorMesh, RenewsTheOneThatIsThere) {
    Scene scene;
    Instance& instance = scene.place(identityTransform);
    const Mesh* const first = addGeneratorMesh(*scene.core.model);
    instance.mesh->positions[2] = 50;
    EXPECT_EQ(addGeneratorMesh(*scene.core.model), first);
    EXPECT_EQ(first->positions[2], 50);
}

TEST(MaterialInstances, StandWhereTheFirstInstanceIsAndGoAgain) {
    Scene scene;
    Model& model = *scene.core.model;
    scene.place(scaled(2, 3, 4));
    scene.place(identityTransform);
    model.addQ7Material(u"unused");
    const auto before = model.instances;
    const Mesh& generator = *addGeneratorMesh(model);
    for (const auto& [name, material] : model.materials) {
        addMaterialInstance(scene.core, model, *material, generator);
    }
    ASSERT_EQ(model.instances.size(), 4U);
    for (const std::size_t i : {2U, 3U}) {
        EXPECT_EQ(model.instances[i]->mesh, &generator);
        EXPECT_EQ(model.instances[i]->transform, scaled(2, 3, 4));
        EXPECT_EQ(model.instances[i]->path, u"@q7@gen@");
        EXPECT_EQ(scene.core.generatedInstances[i - 2], model.instances[i].get());
    }
    EXPECT_EQ(model.instances[2]->material, model.findMaterial(u"m"));
    EXPECT_EQ(model.instances[3]->material, model.findMaterial(u"unused"));
    removeGeneratedInstances(scene.core, model);
    EXPECT_EQ(model.instances, before);
    EXPECT_TRUE(scene.core.generatedInstances.empty());
}

TEST(MaterialInstances, InAnEmptyModelTheyStandAtTheIdentity) {
    SessionCore core;
    core.model->addDefaultMaterial(u"m");
    const Mesh& generator = *addGeneratorMesh(*core.model);
    addMaterialInstance(core, *core.model, *core.model->findMaterial(u"m"), generator);
    EXPECT_EQ(core.model->instances.at(0)->transform, identityTransform);
    removeGeneratedInstances(core, *core.model);
    EXPECT_TRUE(core.model->instances.empty());
}

TEST(MaterialInstances, TheLastInstanceTakesThePlaceOfOneRemoved) {
    Scene scene;
    Model& model = *scene.core.model;
    for (int i = 0; i < 6; ++i)
        scene.place(identityTransform);
    const auto all = model.instances;
    scene.core.generatedInstances = {all[1].get(), all[5].get(), all[0].get()};
    removeGeneratedInstances(scene.core, model);
    // 1 goes: 0 5 2 3 4. 5 goes: 0 4 2 3. 0 goes: 3 4 2.
    ASSERT_EQ(model.instances.size(), 3U);
    EXPECT_EQ(model.instances[0], all[3]);
    EXPECT_EQ(model.instances[1], all[4]);
    EXPECT_EQ(model.instances[2], all[2]);
}

TEST(MaterialInstances, OneThatIsNotInTheModelIsPassedOver) {
    Scene scene;
    Model& model = *scene.core.model;
    scene.place(identityTransform);
    scene.place(identityTransform);
    scene.place(identityTransform);
    Model other = model;
    scene.core.generatedInstances = {model.instances[0].get(), model.instances[2].get(),
                                     model.instances[1].get()};
    other.instances.erase(other.instances.begin() + 2);
    removeGeneratedInstances(scene.core, other);
    EXPECT_TRUE(scene.core.generatedInstances.empty());
    EXPECT_TRUE(other.instances.empty());
    EXPECT_EQ(model.instances.size(), 3U);
}
