#include "send/remark_reader.h"

#include <gtest/gtest.h>

namespace q7send {

TEST(RemarkReader, TakesTexts) {
    aiScene source;
    source.mMetaData = aiMetadata::Alloc(2);
    source.mMetaData->Set(0, "Author", aiString("J\xC3\xB6rg\n"));
    source.mMetaData->Set(1, "Version", 7);
    Scene scene;
    readRemarks(source, scene);
    ASSERT_EQ(scene.remarks.size(), 1U);
    EXPECT_EQ(scene.remarks[0].first, u"Author");
    EXPECT_EQ(scene.remarks[0].second, u"Jörg ");
}

TEST(RemarkReader, FilesMayTellNothing) {
    const aiScene source;
    Scene scene;
    readRemarks(source, scene);
    EXPECT_TRUE(scene.remarks.empty());
}

}  // namespace q7send
