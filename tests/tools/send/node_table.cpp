#include "send/node_table.h"

#include <gtest/gtest.h>

namespace q7send {

TEST(NodeTable, TheFirstOfANameCounts) {
    const aiNode first("a");
    const aiNode second("b");
    const aiNode third("a");
    NodeTable table;
    table.add(first);
    table.add(second);
    table.add(third);
    EXPECT_EQ(table.find(aiString("a")), 0U);
    EXPECT_EQ(table.find(aiString("b")), 1U);
    EXPECT_EQ(table.find(aiString("c")), std::nullopt);
    EXPECT_EQ(&table[2], &third);
}

TEST(NodeTable, APlaceCountsOnce) {
    aiNode node("a");
    const aiVector3D given(1, 2, 3);
    EXPECT_EQ(placeInNode(given, node), (Vector{1, 2, 3}));
    aiMatrix4x4::Translation(given, node.mTransformation);
    EXPECT_EQ(placeInNode(given, node), Vector{});
}

TEST(NodeTable, TransformsAreForRowVectors) {
    aiMatrix4x4 matrix;
    aiMatrix4x4::Translation({1, 2, 3}, matrix);
    EXPECT_EQ(transformOf(matrix), (Transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1}));
}

}  // namespace q7send
