#include "send/texture_paths.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "common/files.h"

namespace q7send {

namespace fs = std::filesystem;

namespace {

bool isFile(const fs::path& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

}  // namespace

std::optional<fs::path> TexturePaths::find(std::string_view text) const {
    std::string slashed(text);
    std::replace(slashed.begin(), slashed.end(), '\\', '/');
    const fs::path asGiven = q7tools::pathFromUtf8(text);
    const fs::path withSlashes = q7tools::pathFromUtf8(slashed);
    // A backslash may also be part of a name, so the text as it stands comes first.
    for (const fs::path& path : {asGiven, withSlashes, withSlashes.filename()}) {
        if (path.empty()) continue;
        const fs::path candidate = (modelFolder_ / path).lexically_normal();
        if (isFile(candidate)) return candidate;
    }
    return std::nullopt;
}

}  // namespace q7send
