#include "inspect/archive.h"

#include <algorithm>

#include "inspect/known_stream.h"

namespace q7inspect {

using q7tools::ZipEntry;
using q7tools::ZipReader;

namespace {

constexpr std::string_view externalStart = "1.";
constexpr std::string_view textureFolderName = "textures";

bool isAtTop(const ZipEntry& entry) {
    return entry.name.find('/') == std::string::npos;
}

ArchiveKind kindOf(const ZipReader& zip) {
    if (zip.find(infoEntry) != nullptr) return ArchiveKind::model;
    const bool hasFile = std::ranges::any_of(zip.entries(), [](const ZipEntry& entry) {
        return isAtTop(entry) && entry.name.starts_with(externalStart);
    });
    return hasFile ? ArchiveKind::externalFile : ArchiveKind::model;
}

q7tools::StreamModel readStreamEntry(const ZipReader& zip, const ZipEntry& entry) {
    const std::vector<std::byte> data = zip.read(entry);
    try {
        return readKnownStream(data);
    } catch (const q7tools::FormatError& error) {
        throw EntryError(entry.name, error);
    }
}

}  // namespace

bool isArchive(std::string_view fileName, std::span<const std::byte> bytes) {
    const auto startsWith = [bytes](std::string_view start) {
        return bytes.size() >= start.size() &&
               std::ranges::equal(bytes.first(start.size()), start, {}, {},
                                  [](char c) { return static_cast<std::byte>(c); });
    };
    if (startsWith("PK\x03\x04") || startsWith("PK\x05\x06")) return true;
    constexpr std::string_view ending = ".q7a";
    if (fileName.size() < ending.size()) return false;
    return std::ranges::equal(fileName.substr(fileName.size() - ending.size()), ending, {},
                              [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
}

Archive::Archive(std::vector<std::byte> bytes)
    : bytes_(std::move(bytes)), zip_(bytes_), kind_(kindOf(zip_)) {
    if (const ZipEntry* entry = zip_.find(streamEntry)) model_ = readStreamEntry(zip_, *entry);
    if (const ZipEntry* entry = zip_.find(infoEntry)) info_ = readInfoJson(zip_.read(*entry));
    if (const ZipEntry* entry = zip_.find(materialsEntry)) {
        const std::vector<std::byte> data = zip_.read(*entry);
        materials_ = readMaterialFile(data);
        materialText_.assign(reinterpret_cast<const char*>(data.data()), data.size());
        uses_ = findTextureUses(*materials_, zip_.entries());
    }
}

EntryRole Archive::role(const ZipEntry& entry) const {
    const std::string_view name = entry.name;
    if (name == streamEntry) return EntryRole::stream;
    if (name == materialsEntry) return EntryRole::materials;
    if (name == infoEntry) return EntryRole::info;
    if (name == textureFolder) return EntryRole::folder;
    // Some writers mark a folder by its attributes alone.
    if (name == textureFolderName && entry.size == 0) return EntryRole::folder;
    if (name.starts_with(textureFolder)) {
        const bool isInside = name.find('/', textureFolder.size()) != std::string_view::npos;
        return isInside ? EntryRole::unknown : EntryRole::texture;
    }
    if (kind_ == ArchiveKind::externalFile && isAtTop(entry) && name.starts_with(externalStart)) {
        return EntryRole::externalFile;
    }
    return EntryRole::unknown;
}

std::string_view roleName(EntryRole role) {
    switch (role) {
        case EntryRole::stream:
            return "model stream";
        case EntryRole::externalFile:
            return "external file";
        case EntryRole::materials:
            return "materials";
        case EntryRole::info:
            return "information";
        case EntryRole::folder:
            return "texture folder";
        case EntryRole::texture:
            return "texture";
        case EntryRole::unknown:
            break;
    }
    return "unknown";
}

std::string_view kindName(ArchiveKind kind) {
    return kind == ArchiveKind::model ? "model" : "external file";
}

}  // namespace q7inspect
