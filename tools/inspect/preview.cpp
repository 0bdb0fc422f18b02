#include "inspect/preview.h"

#include <unordered_map>
#include <vector>

#include "common/files.h"
#include "inspect/input.h"
#include "preview/texture_files.h"

namespace q7inspect {

using q7preview::TextureSource;

namespace {

TextureSource texturesOf(const Archive& archive) {
    std::unordered_map<WideString, std::size_t> entries;
    for (const TextureUse& use : archive.textureUses()) {
        if (use.entry) entries.emplace(use.path, *use.entry);
    }
    return [&archive, entries = std::move(entries)](
               const WideString& path) -> std::optional<std::vector<std::byte>> {
        const auto entry = entries.find(path);
        if (entry == entries.end()) return std::nullopt;
        try {
            return archive.zip().read(archive.entries()[entry->second]);
        } catch (const q7tools::FormatError&) {
            return std::nullopt;
        }
    };
}

}  // namespace

q7preview::SceneCamera readCameraFile(const std::string& file) {
    const auto path = q7tools::pathFromUtf8(file);
    const auto bytes = q7tools::readWholeFile(path);
    const auto camera =
        q7preview::readCamera({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    if (!camera) {
        throw q7tools::FileError(
            path, "is no camera, which is a JSON object with Position and Direction");
    }
    return *camera;
}

q7preview::Preview drawInput(const std::string& file, const q7preview::PreviewOptions& options) {
    const Input input = readInput(file);
    const q7tools::StreamModel& model = modelOf(file, input);
    if (input.archive) return drawPreview(model, options, texturesOf(*input.archive));
    const q7preview::TextureFiles files(model, q7tools::pathFromUtf8(file).parent_path());
    return drawPreview(model, options, [&](const WideString& path) { return files.read(path); });
}

}  // namespace q7inspect
