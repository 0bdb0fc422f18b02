#include "model/model.h"

#include <gtest/gtest.h>

#include "materials/q7_material.h"

// What hosts can do with a model is tested through the exports; here are the results and the
// operations that reach them only later.

namespace {

MeshArrays arrays(std::size_t positions, std::size_t normals, std::size_t uvs) {
    MeshArrays made;
    made.positions = Array<float>(positions, 1.0F);
    made.normals = Array<float>(normals, 2.0F);
    made.uvs = Array<float>(uvs, 3.0F);
    return made;
}

}  // namespace

TEST(Model, StartsEmptyWithVersion11) {
    const Model model;
    EXPECT_EQ(model.modelVersion, 11);
    EXPECT_EQ(model.textureFolder, u"");
    EXPECT_TRUE(model.materials.empty());
    EXPECT_TRUE(model.meshes.empty());
    EXPECT_TRUE(model.instances.empty());
}

TEST(ModelAddMesh, GivesTheMeshUnderItsName) {
    Model model;
    const Mesh* const mesh = model.addMesh(u"m", arrays(9, 9, 6));
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->name, u"m");
    EXPECT_EQ(mesh->positions.size(), 9U);
    EXPECT_EQ(model.meshAt(u"m"), mesh);
    EXPECT_TRUE(model.hasMesh(u"m"));
    EXPECT_EQ(model.meshAt(u"other"), nullptr);
    EXPECT_FALSE(model.hasMesh(u"other"));
}

TEST(ModelAddMesh, RefusesWhatDoesNotFit) {
    Model model;
    EXPECT_EQ(model.addMesh(u"m", arrays(8, 0, 6)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(8, 0, 4)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(7, 7, 4)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(9, 3, 6)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(9, 10, 6)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(9, 9, 0)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(9, 9, 5)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(9, 9, 9)), nullptr);
    EXPECT_EQ(model.addMesh(u"m", arrays(0, 3, 0)), nullptr);
    EXPECT_TRUE(model.meshes.empty());
    EXPECT_NE(model.addMesh(u"none", arrays(0, 0, 0)), nullptr);
    EXPECT_NE(model.addMesh(u"no normals", arrays(9, 0, 6)), nullptr);
}

TEST(ModelAddMesh, DoesNotLookAtColoursAndIndices) {
    Model model;
    MeshArrays odd = arrays(9, 0, 6);
    odd.colors = Array<unsigned char>(5, 1);
    odd.indices = Array<std::int32_t>(2, 99);
    EXPECT_NE(model.addMesh(u"m", odd), nullptr);
}

TEST(ModelAddMesh, ATakenNameKeepsTheFirst) {
    Model model;
    const Mesh* const first = model.addMesh(u"m", arrays(9, 0, 6));
    EXPECT_EQ(model.addMesh(u"m", arrays(18, 0, 12)), nullptr);
    EXPECT_EQ(model.meshAt(u"m"), first);
    EXPECT_EQ(first->positions.size(), 9U);
}

TEST(ModelSetMesh, ReplacesUncheckedAndKeepsTheRecord) {
    Model model;
    const Mesh* const first = model.addMesh(u"m", arrays(9, 9, 6));
    model.setMesh(u"m", arrays(8, 1, 0));
    EXPECT_EQ(model.meshAt(u"m"), first);
    EXPECT_EQ(first->name, u"m");
    EXPECT_EQ(first->positions.size(), 8U);
    EXPECT_EQ(first->normals.size(), 1U);
    model.setMesh(u"new", arrays(8, 1, 0));
    EXPECT_FALSE(model.hasMesh(u"new"));
}

TEST(ModelAddInstance, NeedsItsMeshAndItsMaterial) {
    Model model;
    model.addMesh(u"mesh", arrays(9, 0, 6));
    model.addDefaultMaterial(u"material");
    EXPECT_EQ(model.addInstance(u"other", u"material", identityTransform.data(), u""), 0U);
    EXPECT_EQ(model.addInstance(u"mesh", u"other", identityTransform.data(), u""), 0U);
    EXPECT_TRUE(model.instances.empty());
    const Transform transform = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const InstanceHandle handle = model.addInstance(u"mesh", u"material", transform.data(), u"/p");
    ASSERT_EQ(model.instances.size(), 1U);
    const Instance& instance = *model.instances[0];
    EXPECT_EQ(handle, reinterpret_cast<std::uint64_t>(&instance));
    EXPECT_EQ(instance.mesh, model.meshAt(u"mesh"));
    EXPECT_EQ(instance.material, model.findMaterial(u"material"));
    EXPECT_EQ(instance.transform, transform);
    EXPECT_EQ(instance.path, u"/p");
}

TEST(ModelAddInstance, TakesTheMaterialsKeyAsItIs) {
    Model model;
    model.addMesh(u"mesh", arrays(9, 0, 6));
    model.addDefaultMaterial(u"a@b");
    EXPECT_EQ(model.addInstance(u"mesh", u"a/b", nullptr, u""), 0U);
    EXPECT_NE(model.addInstance(u"mesh", u"a@b", nullptr, u""), 0U);
}

TEST(ModelAddInstance, ANullTransformIsTheIdentity) {
    Model model;
    model.addMesh(u"mesh", arrays(9, 0, 6));
    model.addDefaultMaterial(u"material");
    model.addInstance(u"mesh", u"material", nullptr, u"");
    EXPECT_EQ(model.instances.at(0)->transform, identityTransform);
}

TEST(ModelRemoveInstances, KeepsTheOrderOfTheRest) {
    Model model;
    model.addMesh(u"mesh", arrays(9, 0, 6));
    model.addDefaultMaterial(u"material");
    std::vector<InstanceHandle> handles;
    for (int i = 0; i < 5; ++i) {
        handles.push_back(model.addInstance(u"mesh", u"material", nullptr, u""));
    }
    NumberSet removed;
    removed.insert(handles[3]);
    removed.insert(handles[1]);
    removed.insert(0);
    removed.insert(12345);  // names nothing that exists
    model.removeInstances(removed);
    ASSERT_EQ(model.instances.size(), 3U);
    EXPECT_EQ(model.instances[0]->handle(), handles[0]);
    EXPECT_EQ(model.instances[1]->handle(), handles[2]);
    EXPECT_EQ(model.instances[2]->handle(), handles[4]);
}

TEST(ModelPruneUnusedMeshes, DropsWhatNoInstanceUsesAndNoMaterial) {
    Model model;
    for (const auto* name : {u"a", u"b", u"c"})
        model.addMesh(name, arrays(9, 0, 6));
    model.addDefaultMaterial(u"material");
    model.addDefaultMaterial(u"unused");
    model.addInstance(u"b", u"material", nullptr, u"");
    model.pruneUnusedMeshes();
    EXPECT_EQ(model.meshes.size(), 1U);
    EXPECT_TRUE(model.hasMesh(u"b"));
    EXPECT_EQ(model.materials.size(), 2U);
}

TEST(ModelMaterials, AreAddedOnceUnderTheNameAsGiven) {
    Model model;
    const Material* const added = model.addMaterialXml(u"m", u"text");
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->getName(), u"m");
    EXPECT_EQ(added->toXml(), u"text");
    EXPECT_EQ(model.addMaterialXml(u"m", u"other"), nullptr);
    EXPECT_EQ(model.addDefaultMaterial(u"m"), nullptr);
    EXPECT_EQ(added->toXml(), u"text");
    EXPECT_EQ(model.addDefaultMaterial(u"d")->toXml(), defaultMaterialXml);
}

TEST(ModelSetMaterialXml, ReplacesTheTextAndKeepsTheRecord) {
    Model model;
    Material* const material = model.addDefaultMaterial(u"a@b");
    model.setMaterialXml(u"a/b", u"x");
    EXPECT_EQ(model.findMaterial(u"a@b"), material);
    EXPECT_EQ(material->xml, u"x");
    EXPECT_EQ(model.materials.size(), 1U);
}

TEST(ModelMaterials, AreFoundByTheirNormalisedName) {
    Model model;
    IQ7Material* const added = model.addMaterialXml(u"a@b", u"");
    EXPECT_EQ(model.findMaterial(u"a/b"), added);
    EXPECT_TRUE(model.hasMaterial(u"a/b"));
    EXPECT_FALSE(model.hasMaterial(u"a"));
    EXPECT_EQ(model.findMaterial(u"a"), nullptr);
}

TEST(ModelMaterials, TheDefaultTextIsTheKnownLine) {
    EXPECT_EQ(defaultMaterialXml.size(), 473U);
    EXPECT_EQ(defaultMaterialXml.find(u'\n'), WideString::npos);
}

TEST(NormaliseMaterialName, TurnsEverySlash) {
    EXPECT_EQ(normaliseMaterialName(u"/a/b//"), u"@a@b@@");
    EXPECT_EQ(normaliseMaterialName(u"a\\b@c"), u"a\\b@c");
}

TEST(ModelCopy, SharesItsRecords) {
    Model model;
    model.modelVersion = 12;
    model.textureFolder = u"folder";
    model.addMesh(u"mesh", arrays(9, 0, 6));
    model.addQ7Material(u"material");
    model.addInstance(u"mesh", u"material", nullptr, u"");
    Model copy = model;
    EXPECT_EQ(copy.modelVersion, 12);
    EXPECT_EQ(copy.textureFolder, u"folder");
    EXPECT_EQ(copy.meshAt(u"mesh"), model.meshAt(u"mesh"));
    EXPECT_EQ(copy.findMaterial(u"material"), model.findMaterial(u"material"));
    EXPECT_EQ(copy.instances, model.instances);
    copy.instances.clear();
    copy.pruneUnusedMeshes();
    EXPECT_TRUE(model.hasMesh(u"mesh"));
    EXPECT_EQ(model.instances.size(), 1U);
}
