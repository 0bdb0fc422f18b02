#include "materials/material_catalogue.h"

#include <gtest/gtest.h>

TEST(MaterialCatalogue, HasItsTenRowsInTheirPlaces) {
    ASSERT_EQ(MaterialCatalogue.size(), 10U);
    const int numbers[] = {9, 2, 5, 11, 6, 12, 13, 15, 17, 18};
    for (std::uint32_t type = 0; type < 10; ++type) {
        const std::string path =
            "/Game/MatLib2/Base/Base/Base_" + std::to_string(numbers[type]) + "/m.m";
        EXPECT_EQ(wideToUtf8(cataloguePath(type)), path);
    }
}

TEST(MaterialCatalogue, AnyOtherTypeGetsThePathOfTypeZero) {
    for (const std::uint32_t type : {10U, 11U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
        EXPECT_EQ(cataloguePath(type), cataloguePath(0));
    }
}
