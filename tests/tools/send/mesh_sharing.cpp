#include "send/mesh_sharing.h"

#include <gtest/gtest.h>

namespace q7send {

std::vector<Placement> plan(const std::vector<std::vector<std::size_t>>& lists) {
    std::vector<SceneNode> nodes(lists.size());
    for (std::size_t i = 0; i < lists.size(); ++i)
        nodes[i].meshes = lists[i];
    return planPlacements(nodes, 10);
}

using Placements = std::vector<Placement>;

TEST(PlanPlacements, NodesWithoutMeshesHaveNoPlace) {
    EXPECT_EQ(plan({{}, {}}), Placements{});
    EXPECT_EQ(plan({{}, {4}, {}}), (Placements{{1, {4}, {}, false}}));
}

TEST(PlanPlacements, EqualListsAreDuplicates) {
    EXPECT_EQ(plan({{1, 2}, {3}, {1, 2}, {3}, {1, 2}}), (Placements{{0, {1, 2}, {}, false},
                                                                    {1, {3}, {}, false},
                                                                    {2, {1, 2}, 0, false},
                                                                    {3, {3}, 1, false},
                                                                    {4, {1, 2}, 0, false}}));
}

TEST(PlanPlacements, ListsThatShareSomeMeshesAreTakenApart) {
    EXPECT_EQ(
        plan({{1, 2}, {2}, {5, 6}}),
        (Placements{
            {0, {1}, {}, true}, {0, {2}, {}, true}, {1, {2}, 1, false}, {2, {5, 6}, {}, false}}));
}

TEST(PlanPlacements, OtherOrdersAreOtherLists) {
    EXPECT_EQ(
        plan({{1, 2}, {2, 1}}),
        (Placements{{0, {1}, {}, true}, {0, {2}, {}, true}, {1, {2}, 1, true}, {1, {1}, 0, true}}));
}

TEST(PlanPlacements, AMeshTwiceInOneList) {
    EXPECT_EQ(plan({{3, 3}}), (Placements{{0, {3, 3}, {}, false}}));
    EXPECT_EQ(plan({{3, 3}, {3}}),
              (Placements{{0, {3}, {}, true}, {0, {3}, 0, true}, {1, {3}, 0, false}}));
}

TEST(PlanPlacements, EveryMeshIsHandedOverOnce) {
    std::vector<bool> seen(10, false);
    for (const Placement& placement : plan({{1, 2, 3}, {3, 4}, {4}, {1, 2, 3}, {7, 8}, {7, 8}})) {
        if (placement.original) continue;
        for (const std::size_t mesh : placement.meshes) {
            EXPECT_FALSE(seen[mesh]) << mesh;
            seen[mesh] = true;
        }
    }
}

}  // namespace q7send
