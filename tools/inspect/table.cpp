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

}  // namespace q7inspect
