#include "send/archive_output.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <system_error>

#include "common/byte_reader.h"
#include "common/files.h"
#include "common/zip_reader.h"
#include "send/verify.h"

namespace q7send {

namespace fs = std::filesystem;
using q7tools::FileError;
using q7tools::ZipReader;

namespace {

fs::path checkedPackedFile(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (!fs::exists(status)) {
        throw FileError(path, std::make_error_code(std::errc::no_such_file_or_directory).message());
    }
    if (fs::is_directory(status)) throw FileError(path, "is a folder");
    if (!fs::is_regular_file(status)) throw FileError(path, "is not a file that can be packed");
    return fs::absolute(path).lexically_normal().make_preferred();
}

// As the library names the packed file: behind the last point of its name, or all of it.
std::string packedEntryName(const fs::path& packed) {
    const std::string name = q7tools::pathToUtf8(packed.filename());
    return "1." + name.substr(name.rfind('.') + 1);
}

const q7tools::ZipEntry& entryOf(const ZipReader& zip, const std::string& name,
                                 const fs::path& target) {
    const q7tools::ZipEntry* entry = zip.find(name);
    if (entry == nullptr) throw FileError(target, name + " is missing in the archive");
    return *entry;
}

void verifyTextures(const ZipReader& zip, const TextureSizes& textures, const fs::path& target) {
    for (const auto& [name, sizes] : textures) {
        const q7tools::ZipEntry& entry = entryOf(zip, "textures/" + name, target);
        if (std::find(sizes.begin(), sizes.end(), entry.size) == sizes.end()) {
            throw FileError(target, entry.name + " is not whole in the archive");
        }
        zip.check(entry);
    }
}

}  // namespace

ArchiveOutput::ArchiveOutput(const fs::path& target, std::optional<fs::path> packed)
    : file_(target), scratch_(file_.temporary().parent_path(), target), packed_(std::move(packed)) {
    if (packed_) packed_ = checkedPackedFile(*packed_);
}

void ArchiveOutput::placeTextures(const Scene& scene) {
    for (const SceneTexture& texture : scene.textures)
        placeTexture(texture);
    for (const SceneMaterial& material : scene.materials)
        lookUpTextures(material);
}

void ArchiveOutput::placeTexture(const SceneTexture& texture) {
    fs::path& place = placed_.emplace_back();
    if (texture.bytes.empty()) return;
    place = scratch_.path() / q7tools::pathFromUtf8(texture.fileName);
    const auto* text = reinterpret_cast<const char*>(texture.bytes.data());
    q7tools::writeWholeFile(place, std::string_view(text, texture.bytes.size()));
}

void ArchiveOutput::lookUpTextures(const SceneMaterial& material) {
    std::vector<fs::path> paths;
    for (const MaterialProperty& property : material.properties) {
        const auto* text = std::get_if<WideString>(&property.value);
        if (text != nullptr) paths.push_back(q7tools::pathFromUtf8(wideToUtf8(*text)));
    }
    for (const auto& [property, index] : material.embedded)
        paths.push_back(placed_.at(index));
    for (const fs::path& path : paths) {
        std::error_code ignored;
        if (!path.is_absolute() || !fs::is_regular_file(path, ignored)) continue;
        if (!std::ifstream(path, std::ios::binary)) continue;
        auto& sizes = textures_[q7tools::pathToUtf8(path.filename())];
        const std::uintmax_t size = fs::file_size(path, ignored);
        sizes.push_back(size);
        paths_.insert(path);
    }
}

std::size_t ArchiveOutput::displacedTextureCount() const {
    return paths_.size() - textures_.size();
}

void ArchiveOutput::save(SceneSender& sender, const Scene& scene, StreamForm form) {
    sender.setEmbeddedTextures(scene, placed_);
    const fs::path made = fs::absolute(scratch_.path() / "made.q7a").make_preferred();
    const bool isMade =
        packed_ ? sender.saveArchiveOf(*packed_, made) : sender.saveArchive(made, form);
    if (!isMade) throw FileError(target(), "the library could not make the archive");
    std::error_code error;
    fs::rename(made, file_.temporary(), error);
    if (error) throw FileError(target(), error.message());
}

std::uintmax_t ArchiveOutput::verify(const SendTotals& sent, StreamForm form) const {
    const auto bytes = q7tools::readWholeFile(file_.temporary());
    try {
        const ZipReader zip(bytes,
                            {.always = std::numeric_limits<std::uint64_t>::max(), .ratio = 1});
        if (packed_) {
            const auto& entry = entryOf(zip, packedEntryName(*packed_), target());
            if (zip.read(entry) != q7tools::readWholeFile(*packed_)) {
                throw FileError(target(), entry.name + " is not whole in the archive");
            }
        } else {
            const auto model = zip.read(entryOf(zip, "1.q7mesh", target()));
            verifyStream(q7tools::readStream(model), target(), sent, form);
        }
        verifyMaterials(zip.read(entryOf(zip, "q7material.xml", target())), target());
        verifyTextures(zip, textures_, target());
    } catch (const q7tools::FormatError& error) {
        throw FileError(target(), std::string("is not whole: ") + error.what());
    }
    return bytes.size();
}

void ArchiveOutput::commit() {
    file_.commit();
}

}  // namespace q7send
