// What is in an archive.
#pragma once

#include <filesystem>
#include <map>
#include <span>
#include <string>

#include "common/zip_reader.h"
#include "tests/read_file.h"

// The entries' names with their unpacked data.
inline std::map<std::string, std::string> archiveContents(const std::filesystem::path& archive) {
    const std::string bytes = readFile(archive);
    const q7tools::ZipReader reader(std::as_bytes(std::span(bytes)));
    std::map<std::string, std::string> contents;
    for (const q7tools::ZipEntry& entry : reader.entries()) {
        const auto data = reader.read(entry);
        contents[entry.name].assign(reinterpret_cast<const char*>(data.data()), data.size());
    }
    return contents;
}
