// The parts of reports for people: facts, and rows of text in columns that line up.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace q7inspect {

enum class Align { left, right };

class Table {
  public:
    struct Column {
        std::string title;
        Align align = Align::left;
    };

    explicit Table(std::initializer_list<Column> columns) : columns_(columns) {}

    // One printable text for each column.
    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

    // A cell wider than 48 columns moves the rest of its own row only.
    void print(std::ostream& out) const;

  private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

// One line with a name and a value.
void printFact(std::ostream& out, std::string_view name, std::string_view value);

// The title of a table. Gives the number of its rows to add: all of them if asked for.
std::size_t beginTable(std::ostream& out, std::string_view title, std::size_t rows, bool all);

// The table itself, and how many rows it leaves out.
void endTable(std::ostream& out, const Table& table, std::size_t rows, std::size_t shown);

}  // namespace q7inspect
