#include "api/session.h"

#include <gtest/gtest.h>

#include "api/q7plugin.h"
#include "link/link_state.h"
#include "tests/host_text.h"

TEST(Session, SettingsStartWithTheirDefaults) {
    EXPECT_EQ(dccPluginInfo(), u"");
    const Session session;
    EXPECT_FALSE(session.genMatInstances);
    EXPECT_EQ(session.nodeBuilder->core, session.core.get());
    EXPECT_EQ(session.instanceIds->core, session.core.get());
}

TEST(Session, ThePathOfTheMainModelIsRemembered) {
    Session session;
    session.setModelFilePath(u"a");
    EXPECT_EQ(session.core->modelFilePath, u"a");
    EXPECT_EQ(session.core->cameraEntity->modelFilePath, u"a");
    EXPECT_EQ(session.core->metaEntity->modelFilePath, u"a");
    EXPECT_EQ(linkState().modelFilePath, u"a");
    EXPECT_FALSE(session.core->relevantPath);
}

TEST(Session, ARelevantPathLeavesTheProcessWideOne) {
    Session session;
    session.setModelFilePath(u"a");
    session.setRelevantModelFilePath(u"b");
    EXPECT_EQ(session.core->modelFilePath, u"b");
    EXPECT_EQ(session.core->cameraEntity->modelFilePath, u"b");
    EXPECT_EQ(session.core->metaEntity->modelFilePath, u"b");
    EXPECT_EQ(linkState().modelFilePath, u"a");
    EXPECT_TRUE(session.core->relevantPath);
    session.setModelFilePath(u"c");
    EXPECT_FALSE(session.core->relevantPath);
}

TEST(Session, AnEmptyPathIsStoredAsSuch) {
    Session session;
    session.setModelFilePath(u"a");
    session.setRelevantModelFilePath(u"");
    EXPECT_EQ(session.core->modelFilePath, u"");
    EXPECT_TRUE(session.core->relevantPath);
    session.setModelFilePath(u"");
    EXPECT_EQ(linkState().modelFilePath, u"");
    EXPECT_FALSE(session.core->relevantPath);
}

TEST(Session, TheLaterPathWinsForAllSessions) {
    Session first;
    Session second;
    first.setModelFilePath(u"first");
    second.setModelFilePath(u"second");
    EXPECT_EQ(linkState().modelFilePath, u"second");
    EXPECT_EQ(first.core->modelFilePath, u"first");
}

TEST(Session, ProcessWideValuesOutliveSessions) {
    {
        Session session;
        session.setModelFilePath(u"main");
        dccPluginInfo() = u"info";
    }
    EXPECT_EQ(linkState().modelFilePath, u"main");
    EXPECT_EQ(dccPluginInfo(), u"info");
    DestroySession(CreateSession());
    EXPECT_EQ(linkState().modelFilePath, u"main");
    EXPECT_EQ(dccPluginInfo(), u"info");
    dccPluginInfo().clear();
}

// What the exports hand on and no file shows.

namespace {

const float triangle[9] = {};
const float matrix[16] = {2};

void endNodeOfOneTriangle(Session& session) {
    MaxAddTriangle(&session, Q7T("m"), triangle, nullptr, nullptr);
    Q7EndNode(&session);
}

}  // namespace

TEST(ExportsOnSession, TheQ7FormsSetTheInstancePathAndTheMaxFormsClearIt) {
    Session session;
    const auto& instances = session.core->model->instances;
    Q7BeginNode(&session, Q7T("node"), matrix, Q7T("plain"));
    endNodeOfOneTriangle(session);
    Q7BeginNodeHint(&session, Q7T("node"), matrix, 1, Q7T("hinted"));
    endNodeOfOneTriangle(session);
    Q7BeginNode(&session, Q7T("open"), matrix, Q7T("stale"));
    MaxBeginNode(&session, Q7T("node"), matrix);
    endNodeOfOneTriangle(session);
    Q7BeginNode(&session, Q7T("open"), matrix, Q7T("stale"));
    MaxBeginNodeHint(&session, Q7T("node"), matrix, 1);
    endNodeOfOneTriangle(session);
    ASSERT_EQ(instances.size(), 4U);
    EXPECT_EQ(instances[0]->path, u"plain");
    EXPECT_EQ(instances[1]->path, u"hinted");
    EXPECT_EQ(instances[2]->path, u"");
    EXPECT_EQ(instances[3]->path, u"");
}

TEST(ExportsOnSession, DuplicatesTakeTheirPathOrASlash) {
    Session session;
    const auto& instances = session.core->model->instances;
    Q7BeginNode(&session, Q7T("node"), matrix, Q7T("source"));
    endNodeOfOneTriangle(session);
    MaxDuplicateNode(&session, Q7T("node"), Q7T("max"), matrix);
    Q7DuplicateNode(&session, Q7T("node"), Q7T("q7"), matrix, Q7T("given"));
    ASSERT_EQ(instances.size(), 3U);
    EXPECT_EQ(instances[1]->path, u"/");
    EXPECT_EQ(instances[2]->path, u"given");
}

TEST(ExportsOnSession, TheHintFormsStoreTheirHintAndTheOthersLeaveIt) {
    Session session;
    const NodeBuilder& builder = *session.nodeBuilder;
    Q7BeginNodeHint(&session, Q7T("node"), matrix, 10, Q7T(""));
    EXPECT_EQ(builder.triangleHint, 10U);
    MaxBeginNodeHint(&session, Q7T("node"), matrix, 20);
    EXPECT_EQ(builder.triangleHint, 20U);
    MaxBeginNodeHint(&session, Q7T(""), matrix, 30);
    EXPECT_EQ(builder.triangleHint, 30U);
    Q7BeginNode(&session, Q7T("node"), matrix, Q7T(""));
    MaxBeginNode(&session, Q7T("node"), matrix);
    EXPECT_EQ(builder.triangleHint, 30U);
    MaxEndNode(&session);
    EXPECT_EQ(builder.triangleHint, 0U);
}

TEST(ExportsOnSession, AddSceneHandsOnEachArgument) {
    Session session;
    unsigned char data[36] = {};
    data[0] = 7;
    data[35] = 9;
    AddScene(&session, Q7T("name"), Q7T("label"), data, 42);
    ASSERT_EQ(session.core->legacyScenes.size(), 1U);
    const LegacyScene& scene = session.core->legacyScenes[0];
    EXPECT_EQ(scene.name, u"name");
    EXPECT_EQ(scene.label, u"label");
    EXPECT_EQ(scene.sceneData[0], std::byte{7});
    EXPECT_EQ(scene.sceneData[35], std::byte{9});
    EXPECT_EQ(scene.value, 42U);
}

TEST(ExportsOnSession, SettingsReachTheirFields) {
    Session session;
    SetModelFilePath(&session, Q7T("main"));
    SetRelevantModelFilePath(&session, Q7T("part"));
    EXPECT_EQ(session.core->modelFilePath, u"part");
    EXPECT_TRUE(session.core->relevantPath);
    EXPECT_EQ(linkState().modelFilePath, u"main");
    for (const int flag : {1, 0, 2, 128, 0, 255}) {
        SetGenMatInstances(&session, static_cast<std::uint8_t>(flag));
        EXPECT_EQ(session.genMatInstances, flag != 0);
    }
    session.core->connected = true;
    EXPECT_EQ(HasConnected(&session), 1);
    DisConnect(&session);
    EXPECT_EQ(HasConnected(&session), 0);
}

TEST(ExportsOnSession, TextIsCopiedBeforeTheCallReturns) {
    Session session;
    std::basic_string<Q7Char> text = Q7T("kept");
    Q7BeginNode(&session, text.c_str(), matrix, text.c_str());
    SetModelFilePath(&session, text.c_str());
    SetTextureFolder(&session, text.c_str());
    Q7SetDccPluginInfo(text.c_str());
    AddMaterial(&session, text.c_str(), text.c_str());
    MaxAddTriangle(&session, text.c_str(), triangle, nullptr, nullptr);
    text.assign(4, Q7Char('x'));
    EXPECT_EQ(session.nodeBuilder->currentNode, u"kept");
    EXPECT_EQ(session.nodeBuilder->instancePath, u"kept");
    EXPECT_EQ(session.core->modelFilePath, u"kept");
    EXPECT_EQ(session.core->model->textureFolder, u"kept");
    EXPECT_EQ(dccPluginInfo(), u"kept");
    EXPECT_EQ(session.core->model->findMaterial(u"kept")->toXml(), u"kept");
    EXPECT_TRUE(session.nodeBuilder->subMeshes.contains(u"kept"));
    dccPluginInfo().clear();
}

TEST(ExportsOnSession, DeletingANodeMarksItsInstances) {
    Session session;
    MaxBeginNode(&session, Q7T("node"), matrix);
    endNodeOfOneTriangle(session);
    Q7DeleteNode(&session, Q7T("node"));
    EXPECT_TRUE(
        session.core->pendingDeletions.contains(session.core->model->instances[0]->handle()));
}
