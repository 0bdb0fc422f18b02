// Looks for everything in an archive that a receiver could stumble over.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inspect/archive.h"

namespace q7inspect {

struct ArchiveFault {
    std::string entry;  // its name in UTF-8; empty for the archive as a whole
    std::optional<std::uint64_t> offset = std::nullopt;  // inside the entry's data
    std::string reason;
};

struct ArchiveFindings {
    std::vector<ArchiveFault> faults;
    // What is unusual, but no harm to a receiver or not to be told apart from what is right.
    std::vector<ArchiveFault> notes;
};

// Unpacks every entry. Throws FormatError when the data of one are damaged.
ArchiveFindings checkArchive(const Archive& archive);

}  // namespace q7inspect
