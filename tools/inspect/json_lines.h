// JSON objects of which each member, and each record of a list, takes one line.
#pragma once

#include <cstddef>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string_view>

namespace q7inspect {

inline void printMember(std::ostream& out, std::string_view key,
                        const nlohmann::ordered_json& value) {
    out << "  \"" << key << "\": " << value.dump() << ",\n";
}

// Record by record: a scene may have millions of them. `toJson` takes a record's place. No comma
// and no line end follow.
template <class Records, class ToJson>
void printRecords(std::ostream& out, std::string_view key, const Records& records,
                  const ToJson& toJson) {
    out << "  \"" << key << "\": [";
    for (std::size_t i = 0; i < records.size(); ++i) {
        out << (i == 0 ? "\n    " : ",\n    ") << toJson(i).dump();
    }
    out << (records.empty() ? "]" : "\n  ]");
}

}  // namespace q7inspect
