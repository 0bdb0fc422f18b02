#include "send/scene_names.h"

#include <gtest/gtest.h>

namespace q7send {

Scene sceneOf(const std::vector<SceneNode>& nodes,
              const std::vector<SceneMaterial>& materials = {}) {
    Scene scene;
    scene.nodes = nodes;
    scene.materials = materials;
    return scene;
}

TEST(SceneNames, MaterialsThatTheLibraryWouldMerge) {
    const Scene scene =
        sceneOf({}, {{u"a/b", {}}, {u"a@b", {}}, {u"", {}}, {u"", {}}, {u"a_b", {}}});
    const SceneNames names(scene);
    EXPECT_EQ(names.material(0), u"a/b");
    EXPECT_EQ(names.material(1), u"a@b (2)");
    EXPECT_EQ(names.material(2), u"Material");
    EXPECT_EQ(names.material(3), u"Material (2)");
    EXPECT_EQ(names.material(4), u"a_b");
}

TEST(SceneNames, NodesThatTheLibraryWouldMerge) {
    const Scene scene = sceneOf(
        {{u"a_b", {}, {}, {}}, {u"a@b", {}, {}, {}}, {u"a/b", {}, {}, {}}, {u"", {}, {}, {}}});
    const SceneNames names(scene);
    EXPECT_EQ(names.node(0), u"a_b");
    EXPECT_EQ(names.node(1), u"a@b (2)");
    EXPECT_EQ(names.node(2), u"a/b");
    EXPECT_EQ(names.node(3), u"Node");
}

TEST(SceneNames, PartsDoNotTakeTheNamesOfNodes) {
    const Scene scene = sceneOf({{u"car", {}, {}, {}}, {u"car.door", {}, {}, {}}});
    SceneNames names(scene);
    EXPECT_EQ(names.claimPart(0, u"door"), u"car.door (2)");
    EXPECT_EQ(names.claimPart(0, u"roof"), u"car.roof");
    EXPECT_EQ(names.claimPart(0, u""), u"car.Mesh");
    EXPECT_EQ(names.claimPart(0, u""), u"car.Mesh (2)");
}

TEST(SceneNames, PathsLeadFromTheRoot) {
    const Scene scene = sceneOf(
        {{u"root", {}, {}, {}}, {u"a/b", 0, {}, {}}, {u"leaf", 1, {}, {}}, {u"leaf", 0, {}, {}}});
    const SceneNames names(scene);
    EXPECT_EQ(names.path(0), u"/root");
    EXPECT_EQ(names.path(2), u"/root/a@b/leaf");
    EXPECT_EQ(names.path(3), u"/root/leaf (2)");
}

}  // namespace q7send
