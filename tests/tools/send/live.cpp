#include "send/live.h"

#include <gtest/gtest.h>

#include <set>

#include "q7plugin.h"

namespace q7send {

TEST(LinkFault, HasATextOfItsOwnForEachResult) {
    EXPECT_EQ(linkFault(0), "");
    EXPECT_EQ(linkFault(1), "does not run, and no installation of it was found");
    std::set<std::string> texts;
    for (const std::uint32_t result : {1U, 3U, 4U, 5U, 6U, 7U, 8U, 9U})
        texts.insert(linkFault(result));
    EXPECT_EQ(texts.size(), 8U);
    EXPECT_EQ(linkFault(9), "the link failed with the unknown result 9");
}

TEST(ConnectFault, NamesTheReplyOfTheRenderer) {
    EXPECT_EQ(connectFault(ConnectRet_Accepted), "");
    EXPECT_EQ(connectFault(ConnectRet_RefusedByReply1), "refused the scene with its reply 1");
    EXPECT_EQ(connectFault(ConnectRet_RefusedByReply2), "refused the scene with its reply 2");
    EXPECT_EQ(connectFault(ConnectRet_RefusedByReply3), "refused the scene with its reply 3");
    EXPECT_EQ(connectFault(ConnectRet_Failed),
              "gave no answer to the connection, or an unknown one");
    EXPECT_EQ(connectFault(5), "the connection failed with the unknown result 5");
}

TEST(LiveForm, HasItsOptionAsItsName) {
    EXPECT_STREQ(nameOf(LiveForm::raw), "raw");
    EXPECT_STREQ(nameOf(LiveForm::processed), "processed");
    EXPECT_STREQ(nameOf(LiveForm::group), "group");
}

}  // namespace q7send
