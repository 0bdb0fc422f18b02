// An archive and what its entries hold: docs/formats/archive.md.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "common/stream_reader.h"
#include "common/zip_reader.h"
#include "inspect/info_json.h"
#include "inspect/material_file.h"
#include "inspect/texture_uses.h"

namespace q7inspect {

inline constexpr std::string_view streamEntry = "1.q7mesh";
inline constexpr std::string_view materialsEntry = "q7material.xml";
inline constexpr std::string_view infoEntry = "info.json";

enum class ArchiveKind { model, externalFile };
enum class EntryRole { stream, externalFile, materials, info, folder, texture, unknown };

// Whether bytes are meant as an archive: they start as a zip file does, or the file's name ends
// with ".q7a".
bool isArchive(std::string_view fileName, std::span<const std::byte> bytes);

// The data of an entry are not what its name says. what() is the reason; the offset is inside the
// entry's data.
class EntryError : public q7tools::FormatError {
  public:
    EntryError(std::string entry, const q7tools::FormatError& error)
        : FormatError(error), entry_(std::move(entry)) {}

    const std::string& entry() const { return entry_; }

  private:
    std::string entry_;
};

class Archive {
  public:
    // Reads the directory and all entries but textures and an external file. Throws FormatError for
    // what the zip format or the limits forbid, EntryError when the stream cannot be read.
    explicit Archive(std::vector<std::byte> bytes);
    Archive(Archive&&) = default;
    Archive& operator=(Archive&&) = default;
    Archive(const Archive&) = delete;
    Archive& operator=(const Archive&) = delete;
    ~Archive() = default;

    const q7tools::ZipReader& zip() const { return zip_; }
    const std::vector<q7tools::ZipEntry>& entries() const { return zip_.entries(); }

    ArchiveKind kind() const { return kind_; }
    EntryRole role(const q7tools::ZipEntry& entry) const;

    // Each empty when the archive has no such entry.
    const std::optional<q7tools::StreamModel>& model() const { return model_; }
    const std::optional<InfoJson>& info() const { return info_; }
    const std::optional<MaterialFile>& materials() const { return materials_; }
    // The material file as it is.
    std::string_view materialText() const { return materialText_; }

    const std::vector<TextureUse>& textureUses() const { return uses_; }

  private:
    std::vector<std::byte> bytes_;
    q7tools::ZipReader zip_;
    ArchiveKind kind_;
    std::optional<q7tools::StreamModel> model_;
    std::optional<InfoJson> info_;
    std::optional<MaterialFile> materials_;
    std::string materialText_;
    std::vector<TextureUse> uses_;
};

std::string_view roleName(EntryRole role);
std::string_view kindName(ArchiveKind kind);

}  // namespace q7inspect
