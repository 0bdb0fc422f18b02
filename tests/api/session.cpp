#include "api/session.h"

#include <gtest/gtest.h>

#include "link/link_state.h"

TEST(Session, SettingsStartWithTheirDefaults) {
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

TEST(Session, DisconnectClearsTheConnection) {
    Session session;
    session.core->connected = true;
    session.disconnect();
    EXPECT_FALSE(session.core->connected);
    session.disconnect();
    EXPECT_FALSE(session.core->connected);
}
