#include "model/index_list.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>
#include <vector>

namespace {

std::vector<std::int32_t> piecesOf(const IndexList& list, std::size_t& pieces) {
    std::vector<std::int32_t> all;
    list.forEachPiece([&](const std::int32_t* piece, std::size_t count) {
        all.insert(all.end(), piece, piece + count);
        ++pieces;
    });
    return all;
}

}  // namespace

TEST(IndexList, OfAHostIsOnePiece) {
    const std::int32_t indices[] = {3, -1};
    IndexList list;
    list.makeRoomFor(3);
    list.add(indices, 2);
    list.add(indices, 1);
    EXPECT_EQ(list.size(), 3U);
    EXPECT_EQ(list[1], -1);
    std::size_t pieces = 0;
    EXPECT_EQ(piecesOf(list, pieces), (std::vector<std::int32_t>{3, -1, 3}));
    EXPECT_EQ(pieces, 1U);
}

TEST(IndexList, WithoutIndicesIsOneEmptyPiece) {
    std::size_t pieces = 0;
    EXPECT_TRUE(piecesOf({}, pieces).empty());
    EXPECT_EQ(pieces, 1U);
    EXPECT_TRUE(IndexList().empty());
    EXPECT_TRUE(IndexList::running(0).empty());
}

TEST(IndexList, RunsFromZeroThroughAllItsPieces) {
    for (const std::size_t size : {1U, 2047U, 2048U, 2049U, 10000U}) {
        const IndexList list = IndexList::running(size);
        EXPECT_EQ(list.size(), size);
        std::size_t pieces = 0;
        const std::vector<std::int32_t> all = piecesOf(list, pieces);
        ASSERT_EQ(all.size(), size);
        for (std::size_t i = 0; i < size; ++i) {
            ASSERT_EQ(all[i], static_cast<std::int32_t>(i));
            ASSERT_EQ(list[i], static_cast<std::int32_t>(i));
        }
        EXPECT_EQ(pieces, (size + 2047) / 2048);
    }
}

TEST(IndexList, WrapsRoundBeyondTheRangeOfAnIndex) {
    const IndexList list = IndexList::running(std::size_t{1} << 32);
    EXPECT_EQ(list.size(), std::size_t{1} << 32);
    EXPECT_EQ(list[std::size_t{1} << 31], std::numeric_limits<std::int32_t>::min());
    EXPECT_EQ(list[(std::size_t{1} << 32) - 1], -1);
}

TEST(IndexList, IsEmptyWhenMovedFrom) {
    IndexList list = IndexList::running(3);
    const IndexList moved = std::move(list);
    EXPECT_EQ(moved.size(), 3U);
    // NOLINTNEXTLINE(bugprone-use-after-move)
    EXPECT_TRUE(list.empty());
}

TEST(IndexList, ARunningListGivesWayToIndicesOfAHost) {
    const std::int32_t index = 7;
    IndexList list = IndexList::running(3);
    list.add(&index, 1);
    EXPECT_EQ(list, IndexList{7});
    list = IndexList::running(3);
    list.makeRoomFor(1);
    EXPECT_TRUE(list.empty());
}

TEST(IndexList, EqualsAnotherOfTheSameIndices) {
    EXPECT_EQ(IndexList::running(3), (IndexList{0, 1, 2}));
    EXPECT_NE(IndexList::running(3), (IndexList{0, 1, 3}));
    EXPECT_NE(IndexList::running(3), (IndexList{0, 1}));
    EXPECT_EQ(IndexList(Array<std::int32_t>{5}), IndexList{5});
}
