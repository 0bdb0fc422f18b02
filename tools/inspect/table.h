// Rows of text in columns that line up.
#pragma once

#include <initializer_list>
#include <ostream>
#include <string>
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

}  // namespace q7inspect
