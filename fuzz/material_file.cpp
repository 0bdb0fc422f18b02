// The texts beside the stream in an archive: the material list and info.json.
#include <cstring>

#include "common/material_xml.h"
#include "fuzz/target.h"
#include "inspect/info_json.h"
#include "inspect/json_report.h"
#include "inspect/material_file.h"
#include "inspect/texture_uses.h"

namespace {

using namespace q7fuzz;

void readList(std::span<const std::byte> bytes) {
    const q7inspect::MaterialFile file = q7inspect::readMaterialFile(bytes);
    for (const q7inspect::Fault& fault : file.faults)
        requireReason(fault.offset, bytes.size(), fault.reason);
    for (const q7inspect::ListedMaterial& material : file.materials) {
        require(material.offset < bytes.size(), "a material starts behind the end");
        requireJson(q7inspect::materialTextJson(material.xml).dump());
    }
    static const std::vector<q7tools::ZipEntry> entries{
        {.name = "textures/"}, {.name = "textures/a.png"}, {.name = "textures/B.PNG"}};
    const auto uses = q7inspect::findTextureUses(file, entries);
    for (const auto& [first, second] : q7inspect::findCollisions(uses))
        require(uses[first].entry == uses[second].entry, "textures collide that are two");
}

// A material's text in a stream is UTF-16 of any content.
void readText(const std::uint8_t* data, std::size_t size) {
    WideString text(size / sizeof(char16_t), u'\0');
    if (!text.empty()) std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
    requireJson(q7inspect::materialTextJson(text).dump());
    try {
        q7tools::readTypedMaterial(text);
    } catch (const q7tools::FormatError& error) {
        requireReason(error.offset(), size, error.what());
    }
}

void readInfo(std::span<const std::byte> bytes) {
    const q7inspect::InfoJson info = q7inspect::readInfoJson(bytes);
    for (const q7inspect::Fault& fault : info.faults)
        requireReason(fault.offset, bytes.size(), fault.reason);
    const bool isWhole = info.productId && info.productId->size() == 32;
    require(isWhole || !info.faults.empty(), "an information without an id has no fault");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readList(asBytes(data, size));
    readText(data, size);
    readInfo(asBytes(data, size));
    return 0;
}
