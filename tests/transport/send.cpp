#include "transport/send.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "geometry/send_markers.h"
#include "link/link_state.h"
#include "link/render_socket.h"
#include "tests/fake_renderer.h"
#include "tests/platform/installation.h"
#include "transport/model_link.h"

namespace {

const Transform shear = {1, 1, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};

void addMesh(Model& model, WideView name) {
    MeshArrays arrays;
    arrays.positions = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    arrays.uvs = {0, 0, 1, 0, 0, 1};
    arrays.indices = {0, 1, 2};
    model.addMesh(name, std::move(arrays));
}

struct Scene {
    Scene() {
        addMesh(*core.model, u"a");
        addMesh(*core.model, u"b");
        core.model->addDefaultMaterial(u"m");
        core.model->addDefaultMaterial(u"unused");
        core.model->addInstance(u"a", u"m", identityTransform.data(), u"/a");
        core.model->addInstance(u"b", u"m", shear.data(), u"/b");
    }
    SessionCore core;
};

using Send = void (*)(SessionCore&, const SendSettings&);

// What a renderer of that version gets on one connection.
std::vector<ReceivedModel> received(Scene& scene, Send send, const std::vector<bool>& forms,
                                    bool genMatInstances = false) {
    FakeRenderer renderer;
    std::vector<ReceivedModel> models;
    renderer.serve({[&](Peer& peer) {
        for (const bool withPaths : forms)
            models.push_back(ModelReceiver(peer).receive(withPaths));
        EXPECT_TRUE(peer.atEnd());
    }});
    SocketConnect(renderSocket(), renderer.port());
    send(scene.core, {{}, genMatInstances});
    CloseLink(renderSocket());
    renderer.finish();
    return models;
}

}  // namespace

TEST(SendRaw, MakesBothPassesForARendererThatTakesPaths) {
    for (const char* version : {"2.4", "2.10", ""}) {
        const Installation installation(version);
        Scene scene;
        const auto models = received(scene, sendRaw, {true, false});
        ASSERT_EQ(models.size(), 2U);
        EXPECT_EQ(models[0].pathsJson, u"{\"instance_paths\":[\"/a/m\",\"/b/m\"]}");
        EXPECT_EQ(models[0].model.instances, models[1].model.instances);
        EXPECT_EQ(models[0].model.meshes.size(), 2U);
    }
}

TEST(SendRaw, MakesThePlainPassForAnOlderOne) {
    for (const char* version : {"2.3", "1.9"}) {
        const Installation installation(version);
        Scene scene;
        EXPECT_EQ(received(scene, sendRaw, {false}).size(), 1U);
    }
}

TEST(SendRaw, BakesUnhealthyTransformsForTheSendOnly) {
    const Installation installation("1.9");
    Scene scene;
    const auto models = received(scene, sendRaw, {false});
    EXPECT_EQ(models.at(0).model.instances.at(1).mesh, u"@q7fix@0b");
    EXPECT_EQ(models[0].model.instances[1].transform, identityTransform);
    EXPECT_EQ(models[0].model.findMesh(u"@q7fix@0b")->positions[0], 6.0F);
    EXPECT_EQ(models[0].model.findMesh(u"b"), nullptr);
    EXPECT_EQ(scene.core.model->instances[1]->mesh, scene.core.model->meshAt(u"b"));
    EXPECT_EQ(scene.core.model->instances[1]->transform, shear);
    EXPECT_EQ(scene.core.model->meshes.size(), 2U);
    EXPECT_TRUE(scene.core.fixedInstances.empty());
}

TEST(SendRaw, TheGeneratorCarriesEveryMaterialForTheSendOnly) {
    const Installation installation("2.4");
    Scene scene;
    const auto before = scene.core.model->instances;
    const auto models = received(scene, sendRaw, {true, false}, true);
    for (const ReceivedModel& model : models) {
        ASSERT_EQ(model.model.instances.size(), 4U);
        EXPECT_EQ(model.model.instances[2].mesh, u"@g@m@q7_");
        EXPECT_EQ(model.model.instances[2].material, u"m");
        EXPECT_EQ(model.model.instances[3].material, u"unused");
        EXPECT_EQ(model.model.findMesh(u"@g@m@q7_")->positions[0], 1.0F);
        // Two meshes of one triangle, and the generator twice.
        EXPECT_NE(model.model.headerText.find(u"\"triangleCount\":4}"), WideString::npos);
    }
    EXPECT_EQ(models[0].pathsJson,
              u"{\"instance_paths\":[\"/a/m\",\"/b/m\",\"@q7@gen@/m\",\"@q7@gen@/unused\"]}");
    EXPECT_EQ(scene.core.model->instances, before);
    EXPECT_FALSE(scene.core.model->hasMesh(u"@g@m@q7_"));
    EXPECT_TRUE(scene.core.generatedInstances.empty());
}

TEST(SendRaw, TheGeneratorWithoutMaterialsAddsNoInstance) {
    const Installation installation("1.9");
    Scene scene;
    const auto kept = scene.core.model->materials;
    scene.core.model->materials.clear();
    const auto models = received(scene, sendRaw, {false}, true);
    EXPECT_EQ(models.at(0).model.instances.size(), 2U);
    EXPECT_FALSE(scene.core.model->hasMesh(u"@g@m@q7_"));
}

TEST(SendRaw, AppliesDeletionsFirstAndPrunesAfterwards) {
    const Installation installation("2.4");
    Scene scene;
    scene.core.pendingDeletions.insert(scene.core.model->instances[1]->handle());
    addMesh(*scene.core.model, u"unused");
    const auto models = received(scene, sendRaw, {true, false});
    EXPECT_EQ(models.at(0).model.instances.size(), 1U);
    EXPECT_EQ(models.at(1).model.instances.size(), 1U);
    EXPECT_TRUE(scene.core.pendingDeletions.empty());
    EXPECT_EQ(scene.core.model->instances.size(), 1U);
    EXPECT_EQ(scene.core.model->meshes.size(), 1U);
    EXPECT_EQ(scene.core.model->materials.size(), 2U);
}

TEST(SendRaw, OfAModelWithoutInstancesSendsNothingAndPrunesNothing) {
    const Installation installation("2.4");
    for (const Send send : {sendRaw, sendProcessed}) {
        Scene scene;
        for (const auto& instance : scene.core.model->instances) {
            scene.core.pendingDeletions.insert(instance->handle());
        }
        EXPECT_TRUE(received(scene, send, {}, true).empty());
        EXPECT_TRUE(scene.core.model->instances.empty());
        EXPECT_EQ(scene.core.model->meshes.size(), 2U);
    }
}

TEST(SendRaw, IntoAClosedLinkLeavesTheModelAsItWas) {
    const Installation installation("2.4");
    Scene scene;
    const auto before = scene.core.model->instances;
    sendRaw(scene.core, {{}, true});
    sendProcessed(scene.core, {{}, true});
    EXPECT_EQ(scene.core.model->instances, before);
    EXPECT_EQ(scene.core.model->instances[1]->transform, shear);
    EXPECT_EQ(scene.core.model->meshes.size(), 2U);
}

TEST(SendRaw, AVersionThatIsNoneThrowsBeforeAnythingHappens) {
    const Installation installation("x");
    Scene scene;
    scene.core.pendingDeletions.insert(1);
    EXPECT_THROW(sendRaw(scene.core, {}), std::invalid_argument);
    EXPECT_EQ(scene.core.pendingDeletions.size(), 1U);
}

TEST(SendProcessed, SendsAMergedCopyWithoutPaths) {
    const Installation installation("2.4");
    Scene scene;
    addMesh(*scene.core.model, u"twice");
    for (int i = 0; i < 2; ++i)
        scene.core.model->addInstance(u"twice", u"m", shear.data(), u"/t");
    const auto before = scene.core.model->instances;
    const auto models = received(scene, sendProcessed, {false}, true);
    const auto& model = models.at(0).model;
    ASSERT_EQ(model.instances.size(), 5U);
    EXPECT_EQ(model.instances[0].mesh, u"@q7fix@0twice");
    EXPECT_EQ(model.instances[1].mesh, u"@q7fix@1twice");
    EXPECT_EQ(model.instances[2].mesh, u"m_q7_merged");
    EXPECT_EQ(model.instances[3].mesh, u"@g@m@q7_");
    EXPECT_EQ(model.findMesh(u"a"), nullptr);
    EXPECT_EQ(model.findMesh(u"m_q7_merged")->positions.size(), 18U);
    // The shear of b is in the merged mesh.
    EXPECT_EQ(model.findMesh(u"m_q7_merged")->positions[9], 6.0F);
    EXPECT_EQ(scene.core.model->instances, before);
    EXPECT_EQ(scene.core.model->instances[2]->transform, shear);
    EXPECT_EQ(scene.core.model->instances[2]->mesh, scene.core.model->meshAt(u"twice"));
    EXPECT_EQ(scene.core.model->meshes.size(), 3U);
}

TEST(SendProcessed, PrunesTheSessionsModel) {
    Scene scene;
    addMesh(*scene.core.model, u"unused");
    received(scene, sendProcessed, {false});
    EXPECT_EQ(scene.core.model->meshes.size(), 2U);
    EXPECT_TRUE(scene.core.model->hasMesh(u"a"));
}

TEST(SendProcessed, AGroupThatDoesNotFitIsNotSent) {
    for (const bool generate : {false, true}) {
        Scene scene;
        scene.core.model->meshAt(u"a")->normals = Array<float>(9, 1.0F);
        addMesh(*scene.core.model, u"unused");
        if (generate) {
            const auto models = received(scene, sendProcessed, {false}, true);
            ASSERT_EQ(models.at(0).model.instances.size(), 2U);
            EXPECT_EQ(models[0].model.instances[0].transform, identityTransform);
            EXPECT_EQ(models[0].model.meshes.at(0).positions[0], 0.0F);
        } else {
            received(scene, sendProcessed, {});
        }
        EXPECT_EQ(scene.core.model->instances.size(), 2U);
        EXPECT_EQ(scene.core.model->meshes.size(), 2U);
    }
}

TEST(SendProcessed, DoesNotAskForTheVersion) {
    const Installation installation("x");
    Scene scene;
    EXPECT_NO_THROW(sendProcessed(scene.core, {}));
}

namespace {

struct ThrowingMaterial : IQ7Material {
    WideString getName() const override { return u"throws"; }
    WideString toXml() const override { throw std::runtime_error("no text"); }
};

}  // namespace

TEST(Sends, ThatThrowLeaveTheSessionAsItWas) {
    const Installation installation("2.4");
    for (const Send send : {sendRaw, sendProcessed}) {
        Scene scene;
        scene.core.model->materials[u"throws"] = std::make_shared<ThrowingMaterial>();
        const auto before = scene.core.model->instances;
        EXPECT_THROW(send(scene.core, {{}, true}), std::runtime_error);
        EXPECT_EQ(scene.core.model->instances, before);
        EXPECT_EQ(before[1]->transform, shear);
        EXPECT_EQ(before[1]->mesh, scene.core.model->meshAt(u"b"));
        EXPECT_TRUE(scene.core.fixedInstances.empty());
        EXPECT_TRUE(scene.core.generatedInstances.empty());
        EXPECT_EQ(scene.core.model->meshes.size(), 2U);
    }
}
