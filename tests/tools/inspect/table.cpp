#include "inspect/table.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using q7inspect::Align;
using q7inspect::Table;

TEST(InspectTable, columnsLineUp) {
    Table table({{"name"}, {"count", Align::right}, {"rest"}});
    table.add({"a", "1", ""});
    table.add({"\xe6\xa8\xa1\xe5\x9e\x8b", "123456", "x"});
    table.add({"caf\xc3\xa9", "12", "y"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(),
              "  name   count  rest\n"
              "  a          1\n"
              "  \xe6\xa8\xa1\xe5\x9e\x8b  123456  x\n"
              "  caf\xc3\xa9      12  y\n");
}

TEST(InspectTable, aVeryWideCellMovesItsOwnRowOnly) {
    Table table({{"name"}, {"x"}});
    table.add({std::string(60, 'w'), "1"});
    table.add({"n", "2"});
    std::ostringstream out;
    table.print(out);
    EXPECT_EQ(out.str(), "  name" + std::string(46, ' ') + "x\n  " + std::string(60, 'w') +
                             "  1\n  n" + std::string(49, ' ') + "2\n");
}

TEST(InspectTable, frameTellsWhatIsLeftOut) {
    std::ostringstream out;
    EXPECT_EQ(q7inspect::beginTable(out, "Rows", 30, true), 30U);
    EXPECT_EQ(q7inspect::beginTable(out, "Rows", 30, false), 20U);
    Table table({{"a"}});
    table.add({"x"});
    q7inspect::endTable(out, table, 30, 20);
    q7inspect::endTable(out, table, 0, 0);
    q7inspect::printFact(out, "size", "5");
    q7inspect::printFact(out, "name", "");
    EXPECT_EQ(out.str(),
              "\nRows (30)\n\nRows (30)\n  a\n  x\n  ... and 10 more\n"
              "  size              5\n  name              (empty)\n");
}

}  // namespace
