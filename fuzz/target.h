// What a fuzz target is, and how it tells that something is wrong.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <string_view>

#include "common/text_output.h"

// Does everything that the tools do with a file or a connection of that content. Returns 0: bad
// content is no finding. What is one ends the program. libFuzzer brings its own main; replay_main.cpp
// is the other one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace q7fuzz {

inline std::span<const std::byte> asBytes(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const std::byte*>(data), size};
}

inline void require(bool holds, std::string_view what) {
    if (holds) return;
    std::fprintf(stderr, "finding: %.*s\n", static_cast<int>(what.size()), what.data());
    std::abort();
}

// For people: UTF-8 lines that leave their terminal alone.
inline void requireLines(std::string text) {
    for (char& c : text) {
        if (c == '\n') c = ' ';
    }
    require(q7tools::printable(std::string_view(text)) == text, "a text is not printable");
}

inline void requireJson(const std::string& text) {
    require(nlohmann::json::accept(text), "a report is not JSON");
}

// One error, as a tool tells it: a place inside the content, and a reason in one line. Reasons are
// made printable only when they are told.
inline void requireReason(std::uint64_t offset, std::uint64_t size, std::string_view reason) {
    require(offset <= size, "an error's place is behind the end");
    require(!reason.empty(), "an error has no reason");
}

}  // namespace q7fuzz
