#include "inspect/table.h"

#include <algorithm>

#include "common/text_output.h"

namespace q7inspect {

void Table::print(std::ostream& out) const {
    constexpr std::size_t widest = 48;
    std::vector<std::string> titles;
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < columns_.size(); ++c) {
        titles.push_back(columns_[c].title);
        std::size_t width = q7tools::displayWidth(columns_[c].title);
        for (const auto& row : rows_)
            width = std::max(width, q7tools::displayWidth(row[c]));
        widths.push_back(std::min(width, widest));
    }

    const auto printRow = [&](const std::vector<std::string>& row) {
        std::string line;
        for (std::size_t c = 0; c < row.size(); ++c) {
            line += "  ";
            line += columns_[c].align == Align::left ? q7tools::padRight(row[c], widths[c])
                                                     : q7tools::padLeft(row[c], widths[c]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << '\n';
    };
    printRow(titles);
    for (const auto& row : rows_)
        printRow(row);
}

void printFact(std::ostream& out, std::string_view name, std::string_view value) {
    out << "  " << q7tools::padRight(name, 18)
        << (value.empty() ? "(empty)" : q7tools::printable(value)) << '\n';
}

std::size_t beginTable(std::ostream& out, std::string_view title, std::size_t rows, bool all) {
    constexpr std::size_t shownRows = 20;
    out << '\n' << title << " (" << std::to_string(rows) << ")\n";
    return all ? rows : std::min(rows, shownRows);
}

void endTable(std::ostream& out, const Table& table, std::size_t rows, std::size_t shown) {
    if (rows != 0) table.print(out);
    if (shown < rows) out << "  ... and " << std::to_string(rows - shown) << " more\n";
}

}  // namespace q7inspect
