// Which material of an archive uses which texture.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "common/zip_reader.h"
#include "inspect/material_file.h"
#include "support/text.h"

namespace q7inspect {

// The folder of an archive in which textures stand.
inline constexpr std::string_view textureFolder = "textures/";

struct TextureUse {
    WideString material;  // its id
    WideString property;  // the element's name
    WideString path;
    std::optional<std::size_t> entry;  // the texture's place in the archive's entries
    bool isImage = false;              // its name ends like that of an image
};

// The properties whose text names a file, by its looks: its last part, behind the last slash or
// backslash, is the name of a texture in the archive or ends like an image's, or the text has such
// a separator before a last part. A material file without a root has none, since its textures are
// not packed. Names are compared as they are, then without regard to the case of A to Z.
std::vector<TextureUse> findTextureUses(const MaterialFile& file,
                                        const std::vector<q7tools::ZipEntry>& entries);

// Of a path, for comparing: separators are slashes, "." and ".." are resolved, and A to Z small.
std::string comparablePath(WideView path);

// Each two uses of one texture whose paths are different: at most one of the files can be inside. A
// path is told once for each texture, against the first one.
std::vector<std::pair<std::size_t, std::size_t>> findCollisions(
    const std::vector<TextureUse>& uses);

}  // namespace q7inspect
