#include "common/image_names.h"

#include <gtest/gtest.h>

namespace {

using q7tools::isImageName;

TEST(ImageNames, areKnownByTheirEndings) {
    for (const WideView name :
         {u"a.png", u"C:\\tex\\wood.JPG", u"/tex/a.b.Jpeg", u"\u00e4.tiff", u" .webp"}) {
        EXPECT_TRUE(isImageName(name)) << wideToUtf8(name);
    }
}

TEST(ImageNames, othersAreNone) {
    for (const WideView name : {u"", u"png", u".png", u"tex/.png", u"tex\\.png", u"a.png/b", u"a.",
                                u"a.pngx", u"a.pn", u"0.5", u"a.png "}) {
        EXPECT_FALSE(isImageName(name)) << wideToUtf8(name);
    }
}

}  // namespace
