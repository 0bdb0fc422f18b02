#include "send/unique_names.h"

#include <gtest/gtest.h>

namespace q7send {

TEST(UniqueNames, KeepsNamesThatDiffer) {
    UniqueNames names(u'_', u'@');
    EXPECT_EQ(names.claim(u"wheel", u"x"), u"wheel");
    EXPECT_EQ(names.claim(u"Wheel", u"x"), u"Wheel");
    EXPECT_EQ(names.claim(u"wheel ", u"x"), u"wheel ");
}

TEST(UniqueNames, NumbersThoseThatRepeat) {
    UniqueNames names(u'_', u'@');
    EXPECT_EQ(names.claim(u"w", u"x"), u"w");
    EXPECT_EQ(names.claim(u"w", u"x"), u"w (2)");
    EXPECT_EQ(names.claim(u"w", u"x"), u"w (3)");
}

TEST(UniqueNames, ComparesWhatTheLibraryMakesOfThem) {
    UniqueNames names(u'_', u'@');
    EXPECT_EQ(names.claim(u"a_b", u"x"), u"a_b");
    EXPECT_EQ(names.claim(u"a@b", u"x"), u"a@b (2)");
    EXPECT_EQ(names.claim(u"a_b", u"x"), u"a_b (3)");
}

TEST(UniqueNames, PassesOverNumbersThatAreTaken) {
    UniqueNames names(u'_', u'@');
    EXPECT_EQ(names.claim(u"w (2)", u"x"), u"w (2)");
    EXPECT_EQ(names.claim(u"w", u"x"), u"w");
    EXPECT_EQ(names.claim(u"w", u"x"), u"w (3)");
    EXPECT_EQ(names.claim(u"w (2)", u"x"), u"w (2) (2)");
}

TEST(UniqueNames, NamesTheNameless) {
    UniqueNames names(u'/', u'@');
    EXPECT_EQ(names.claim(u"", u"Node"), u"Node");
    EXPECT_EQ(names.claim(u"Node", u"Node"), u"Node (2)");
    EXPECT_EQ(names.claim(u"", u"Node"), u"Node (3)");
}

}  // namespace q7send
