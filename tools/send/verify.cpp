#include "send/verify.h"

#include <algorithm>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>

#include "common/byte_reader.h"
#include "common/files.h"
#include "common/stream_reader.h"

namespace q7send {

namespace fs = std::filesystem;
using q7tools::FileError;

namespace {

constexpr std::string_view endOfMaterials = "</Q7Materials_2>";

FileError incomplete(const fs::path& target, const fs::path& place) {
    std::error_code error;
    const fs::space_info space = fs::space(place, error);
    const bool isFull = !error && space.available == 0;
    return {target, isFull ? "the disk is full" : "could not be written to its end"};
}

void expectEqual(const fs::path& target, const char* what, std::uint64_t sent,
                 std::uint64_t written) {
    if (sent == written) return;
    throw FileError(target, std::to_string(sent) + ' ' + what + " were sent, but " +
                                std::to_string(written) + " were written");
}

// How many instances there were before merging. Each source of a merged mesh had one and is without
// any now; the library keeps no other meshes that are not placed.
std::uint64_t instancesBefore(const q7tools::StreamModel& model) {
    std::unordered_map<WideView, std::uint64_t> uses;
    for (const q7tools::StreamInstance& instance : model.instances)
        ++uses[instance.mesh];
    std::uint64_t count = 0;
    for (const q7tools::StreamMesh& mesh : model.meshes) {
        const auto used = uses.find(mesh.name);
        if (used == uses.end()) {
            ++count;
        } else if (!mesh.isMerged()) {
            count += used->second;
        }
    }
    return count;
}

std::string lastBytes(const fs::path& path, std::size_t count) {
    std::ifstream stream(path, std::ios::binary | std::ios::ate);
    const auto size = static_cast<std::size_t>(std::max<std::streamoff>(stream.tellg(), 0));
    std::string bytes(std::min(size, count), '\0');
    stream.seekg(static_cast<std::streamoff>(size - bytes.size()));
    stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return bytes;
}

}  // namespace

void verifyStream(const q7tools::StreamModel& model, const fs::path& target, const SendTotals& sent,
                  StreamForm form) {
    expectEqual(target, "materials", sent.materials, model.materials.size());
    expectEqual(target, "instances", sent.instances,
                form == StreamForm::raw ? model.instances.size() : instancesBefore(model));
    expectEqual(target, "triangles", sent.triangles, model.placedTriangleCount());
}

std::uintmax_t verifyStream(const OutputFile& file, const SendTotals& sent, StreamForm form) {
    if (!fs::exists(file.temporary())) throw FileError(file.target(), "could not be written");
    try {
        const q7tools::StreamModel model = q7tools::readStreamFile(file.temporary());
        verifyStream(model, file.target(), sent, form);
        return model.size;
    } catch (const q7tools::FormatError&) {
        throw incomplete(file.target(), file.temporary());
    }
}

void verifyMaterials(std::span<const std::byte> content, const fs::path& target) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    if (text.ends_with('\n') && text.rfind(endOfMaterials) != std::string_view::npos) return;
    throw incomplete(target, target.parent_path());
}

std::uintmax_t verifyMaterials(const OutputFile& file) {
    if (!fs::exists(file.temporary())) throw FileError(file.target(), "could not be written");
    const std::string tail = lastBytes(file.temporary(), endOfMaterials.size() + 2);
    const std::size_t found = tail.find(endOfMaterials);
    if (found == std::string::npos || tail.back() != '\n') {
        throw incomplete(file.target(), file.temporary());
    }
    return fs::file_size(file.temporary());
}

}  // namespace q7send
