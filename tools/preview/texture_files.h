// The texture files of a stream.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <vector>

#include "common/stream_reader.h"
#include "support/text.h"

namespace q7preview {

class TextureFiles {
  public:
    // streamFolder: where the stream's file is. The header's texture folder may be relative to it.
    TextureFiles(const q7tools::StreamModel& model, const std::filesystem::path& streamFolder);

    // The content of the file that a material calls by that path, or nothing when there is none that can be
    // read. It is looked for as it is and, when it is relative, in the texture folder; a backslash separates
    // folders too; then its last part is looked for in the texture folder. A stream may come from
    // anywhere: nothing but plain files is opened, and no path that names another machine.
    std::optional<std::vector<std::byte>> read(const WideString& path) const;

  private:
    std::filesystem::path folder_;
};

}  // namespace q7preview
