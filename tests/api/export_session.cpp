#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/host.h"

namespace {

nlohmann::json headerOf(const Host& host) {
    return nlohmann::json::parse(wideToUtf8(host.saved().headerText));
}

}  // namespace

TEST(CreateSession, GivesIndependentSessions) {
    const Host first;
    const Host second;
    EXPECT_NE(first.session, nullptr);
    EXPECT_NE(first.session, second.session);
    first.addNode(Q7T("node"), {Q7T("m")});
    EXPECT_EQ(Q7InstanceCount(first.session), 1U);
    EXPECT_EQ(Q7InstanceCount(second.session), 0U);
    EXPECT_TRUE(second.saved().materials.empty());
}

TEST(CreateSession, CanBeRepeated) {
    for (int i = 0; i < 100; ++i) {
        const Host host;
        host.addNode(Q7T("node"), {Q7T("a"), Q7T("b")});
    }
}

TEST(DestroySession, EndsASessionWithANodeOpenAndDeletionsPending) {
    const Host host;
    host.addNode(Q7T("gone"), {Q7T("m")});
    MaxDeleteNode(host.session, Q7T("gone"));
    Q7BeginNode(host.session, Q7T("open"), identity.data(), Q7T(""));
    host.addTriangle(Q7T("m"));
}

TEST(Q7GetPluginVersion, NeedsNoSession) {
    EXPECT_STREQ(Q7GetPluginVersion(), "0.5.7.0");
    EXPECT_EQ(Q7GetPluginVersion(), Q7GetPluginVersion());
}

TEST(HasConnected, IsFalseForANewSessionAndDisConnectDoesNothing) {
    const Host host;
    EXPECT_EQ(HasConnected(host.session), 0);
    DisConnect(host.session);
    DisConnect(host.session);
    EXPECT_EQ(HasConnected(host.session), 0);
}

TEST(SetTextureFolder, ShowsInTheHeaderAsItWasGiven) {
    const Host host;
    const Host other;
    SetTextureFolder(host.session, Q7T("C:\\tex\\..\\\u00E9/"));
    EXPECT_EQ(headerOf(host)["textureFolder"], "C:\\tex\\..\\\u00E9/");
    EXPECT_EQ(headerOf(other)["textureFolder"], "");
    SetTextureFolder(host.session, Q7T(""));
    EXPECT_EQ(headerOf(host)["textureFolder"], "");
}

TEST(Q7SetDccPluginInfo, IsSharedByAllSessions) {
    const Host first;
    const Host second;
    Q7SetDccPluginInfo(Q7T("one"));
    EXPECT_EQ(headerOf(first)["dccPluginInfo"], "one");
    Q7SetDccPluginInfo(Q7T("two \u4E2D"));
    EXPECT_EQ(headerOf(first)["dccPluginInfo"], "two \u4E2D");
    EXPECT_EQ(headerOf(second)["dccPluginInfo"], "two \u4E2D");
    Q7SetDccPluginInfo(Q7T(""));
    EXPECT_EQ(headerOf(second)["dccPluginInfo"], "");
}

TEST(Q7SetMaterialVersion, ShowsInTheHeaderPlusOne) {
    const Host host;
    const Host other;
    EXPECT_EQ(headerOf(host)["materialVersion"], 1);
    Q7SetMaterialVersion(host.session, 1);
    EXPECT_EQ(headerOf(host)["materialVersion"], 2);
    Q7SetMaterialVersion(host.session, 77);
    EXPECT_EQ(headerOf(host)["materialVersion"], 78);
    EXPECT_EQ(headerOf(other)["materialVersion"], 1);
    Q7SetMaterialVersion(host.session, 0xFFFFFFFF);
    EXPECT_EQ(headerOf(host)["materialVersion"], 0);
}

TEST(Settings, ChangeNothingElseInTheStream) {
    const Host plain;
    const Host host;
    SetModelFilePath(host.session, Q7T("a"));
    SetRelevantModelFilePath(host.session, Q7T("b"));
    SetGenMatInstances(host.session, 1);
    EXPECT_EQ(host.savedBytes(), plain.savedBytes());
}
