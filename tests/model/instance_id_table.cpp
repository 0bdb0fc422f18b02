#include "model/instance_id_table.h"

#include <gtest/gtest.h>

TEST(InstanceIdTable, MarksTheInstanceOfAKnownId) {
    SessionCore core;
    InstanceIdTable table(core);
    EXPECT_TRUE(table.ids.empty());
    table.ids[7] = 42;
    table.deleteInstance(7);
    EXPECT_TRUE(core.pendingDeletions.contains(42));
    EXPECT_THROW(table.deleteInstance(8), std::out_of_range);
    EXPECT_EQ(core.pendingDeletions.size(), 1U);
}
