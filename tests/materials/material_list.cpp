#include "materials/material_list.h"

#include <gtest/gtest.h>

#include "materials/q7_material.h"

TEST(MaterialList, HasARootForTheTypedVersionOnly) {
    const Model empty;
    EXPECT_EQ(materialList(empty, 0), u"");
    EXPECT_EQ(materialList(empty, 1), u"<Q7Materials_2>\n</Q7Materials_2>\n");
    EXPECT_EQ(materialList(empty, 2), u"");
}

TEST(MaterialList, RunsTheTextsTogetherInTheOrderOfTheModel) {
    Model model;
    model.addMaterialXml(u"z", u"<z/>");
    model.addQ7Material(u"a");
    model.addMaterialXml(u"b", u"no xml");
    const WideString typed = model.findMaterial(u"a")->toXml();
    EXPECT_EQ(materialList(model, 0), u"<z/>" + typed + u"no xml");
    EXPECT_EQ(materialList(model, 1),
              u"<Q7Materials_2>\n<z/>" + typed + u"no xml</Q7Materials_2>\n");
}
