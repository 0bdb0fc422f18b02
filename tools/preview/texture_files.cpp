#include "preview/texture_files.h"

#include <nlohmann/json.hpp>
#include <string>
#include <system_error>

#include "common/files.h"
#include "common/json_depth.h"
#include "common/text_output.h"
#include "preview/image.h"

namespace q7preview {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {

std::string textureFolderOf(const q7tools::StreamModel& model) {
    constexpr std::size_t deepest = 16;
    const std::string text = q7tools::allToUtf8(model.headerText);
    if (q7tools::jsonDepth(text) > deepest) return {};
    const json header = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (!header.is_object()) return {};
    const auto folder = header.find("textureFolder");
    return folder != header.end() && folder->is_string() ? folder->get<std::string>()
                                                         : std::string();
}

bool isForeign(const std::string& path) {
    return path.starts_with("//") || path.find('\0') != std::string::npos;
}

std::string withSlashes(std::string path) {
    for (char& letter : path) {
        if (letter == '\\') letter = '/';
    }
    return path;
}

bool isReadable(const fs::path& path) {
    std::error_code error;
    if (!fs::is_regular_file(path, error)) return false;
    const std::uintmax_t size = fs::file_size(path, error);
    return !error && size <= ImageLimits().bytes;
}

}  // namespace

TextureFiles::TextureFiles(const q7tools::StreamModel& model, const fs::path& streamFolder)
    : folder_(streamFolder) {
    const std::string told = withSlashes(textureFolderOf(model));
    if (!told.empty() && !isForeign(told)) folder_ /= q7tools::pathFromUtf8(told);
}

std::optional<std::vector<std::byte>> TextureFiles::read(const WideString& path) const {
    const std::string text = q7tools::allToUtf8(path);
    const std::string slashed = withSlashes(text);
    if (text.empty() || isForeign(slashed)) return std::nullopt;
    const fs::path asGiven = q7tools::pathFromUtf8(text);
    const fs::path inFolders = q7tools::pathFromUtf8(slashed);
    for (const fs::path& candidate : {asGiven, inFolders, inFolders.filename()}) {
        const fs::path file = folder_ / candidate;
        if (!isReadable(file)) continue;
        try {
            return q7tools::readWholeFile(file);
        } catch (const q7tools::FileError&) {
            continue;
        }
    }
    return std::nullopt;
}

}  // namespace q7preview
