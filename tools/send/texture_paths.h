// Where the texture files of a model are.
#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace q7send {

class TexturePaths {
  public:
    explicit TexturePaths(std::filesystem::path modelFolder)
        : modelFolder_(std::move(modelFolder)) {}

    // The file that a model calls by that text, in UTF-8, or nothing when there is none. Relative
    // paths start at the model's folder, "\" separates folders like "/", and a path of another
    // machine is taken for a file beside the model.
    std::optional<std::filesystem::path> find(std::string_view text) const;

  private:
    std::filesystem::path modelFolder_;
};

}  // namespace q7send
