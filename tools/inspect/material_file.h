// The list of materials in a file of its own: docs/formats/material_xml.md.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "common/material_xml.h"
#include "inspect/validate.h"
#include "support/text.h"

namespace q7inspect {

struct ListedMaterial {
    std::uint64_t offset = 0;  // in the file
    WideString xml;
    // Nothing for free text, of which several that follow each other cannot be
    // told apart, and for a typed material that is not well formed.
    std::optional<q7tools::TypedMaterial> typed;
};

struct MaterialFile {
    bool hasRoot = false;       // so the material version is 1
    bool hasCarriages = false;  // lines end with CR LF
    std::vector<ListedMaterial> materials;
    std::vector<Fault> faults;
};

// Never throws for what the text holds. Line ends of the file's form become
// line feeds.
MaterialFile readMaterialFile(std::span<const std::byte> bytes);

}  // namespace q7inspect
