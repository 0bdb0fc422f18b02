// Files as tests compare them.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

// All bytes, with no conversion of line ends.
inline std::string readFile(const std::filesystem::path& path) {
    // In blocks: byte by byte took most of the time of tests with large meshes.
    std::ifstream file(path, std::ios::binary);
    std::ostringstream all;
    all << file.rdbuf();
    return all.str();
}

// The line end that the library's text files have on this platform.
#if defined(_WIN32)
inline constexpr char textLineEnd[] = "\r\n";
#else
inline constexpr char textLineEnd[] = "\n";
#endif

// The text with each "\n" turned into the platform's line end.
inline std::string asTextFile(const std::string& text) {
    std::string out;
    for (const char c : text) {
        if (c == '\n') {
            out += textLineEnd;
        } else {
            out += c;
        }
    }
    return out;
}
