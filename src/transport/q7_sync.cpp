#include "transport/q7_sync.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "geometry/q7_model_utils.h"
#include "link/render_socket.h"
#include "platform/files.h"
#include "support/json.h"
#include "transport/frames.h"

static_assert(std::endian::native == std::endian::little,
              "numbers are written as they lie in memory");

namespace {

// Gathers small pieces, since each call of a file's sink costs about as much as writing 100 bytes.
class Gathered {
  public:
    explicit Gathered(const ByteWriter& target) : target_(target), gathered_(room) {}

    void operator()(const void* data, std::size_t size) {
        if (size > room - used_) {
            flush();
            if (size > room) return target_(data, size);
        }
        // An empty array has no address to give.
        if (size != 0) std::memcpy(gathered_.data() + used_, data, size);
        used_ += size;
    }
    void flush() {
        if (used_ != 0) target_(gathered_.data(), used_);
        used_ = 0;
    }

  private:
    static constexpr std::size_t room = 1U << 19;

    const ByteWriter& target_;
    Array<char> gathered_;
    std::size_t used_ = 0;
};

}  // namespace

ByteWriter Q7Sync::toFile(std::FILE* file) {
    return [file](const void* data, std::size_t size) {
        // An empty array has no address to give.
        if (size != 0) std::fwrite(data, 1, size, file);
    };
}

ByteWriter Q7Sync::toShareMem(std::span<std::byte>& cursor) {
    return [&cursor](const void* data, std::size_t size) {
        const std::size_t taken = std::min(size, cursor.size());
        if (taken != 0) std::memcpy(cursor.data(), data, taken);
        cursor = cursor.subspan(taken);
    };
}

ByteWriter Q7Sync::toSocket() {
    return [](const void* data, std::size_t size) { SendBytes(renderSocket(), data, size); };
}

void Q7Sync::writeWord(std::uint64_t value, ByteWriter writer) {
    frameWord(value, writer);
}

void Q7Sync::writeWideString(const WideString& text, ByteWriter writer) {
    frameText(text, writer);
}

void Q7Sync::writeFloatArray(const Array<float>& numbers, ByteWriter writer) {
    frameArray(numbers, writer);
}

void Q7Sync::writeIntArray(const IndexList& indices, ByteWriter writer) {
    frameIndices(indices, writer);
}

void Q7Sync::writeByteArray(const Array<unsigned char>& bytes, ByteWriter writer) {
    frameArray(bytes, writer);
}

void Q7Sync::writeMaterial(const IQ7Material& material, ByteWriter writer) {
    frameMaterial(material, writer);
}

void Q7Sync::writeInstance(const Instance& instance, ByteWriter writer) {
    frameInstance(instance, instance.material->getName(), writer);
}

void Q7Sync::writeMesh(const Mesh& mesh, ByteWriter writer) {
    frameMesh(mesh, writer);
}

WideString Q7Sync::headerJson(const Model& model, const StreamSettings& settings) {
    std::uint64_t triangles = 0;
    for (const auto& instance : model.instances)
        triangles += instance->mesh->indices.size() / 3;
    const std::uint32_t writtenVersion = settings.materialVersion + 1;
    Json header;
    header["dccPluginInfo"] = wideToUtf8(settings.dccPluginInfo);
    header["materialVersion"] = writtenVersion;
    header["textureFolder"] = wideToUtf8(model.textureFolder);
    header["triangleCount"] = triangles;
    return utf8ToWide(header.dump());
}

void Q7Sync::writeModel(const Model& model, const StreamSettings& settings, ByteWriter writer) {
    Gathered out(writer);
    frameWord(static_cast<std::uint32_t>(model.modelVersion), out);
    frameText(headerJson(model, settings), out);
    frameWord(model.materials.size(), out);
    for (const auto& [name, material] : model.materials)
        frameMaterial(*material, out);
    frameWord(model.instances.size(), out);
    frameInstances(model, out);
    frameWord(model.meshes.size(), out);
    for (const auto& [name, mesh] : model.meshes)
        frameMesh(*mesh, out);
    out.flush();
}

void Q7Sync::saveRaw(const Model& model, const StreamSettings& settings, const WideString& path) {
    const platform::File file = platform::openBinaryForWriting(path);
    if (file) writeModel(model, settings, toFile(file.get()));
}

void Q7Sync::saveProcessed(const Model& model, const StreamSettings& settings,
                           const WideString& path) {
    const platform::File file = platform::openBinaryForWriting(path);
    if (!file) return;
    Model merged = model;
    Q7ModelUtils::MergeSingleInstancedMesh(merged);
    writeModel(merged, settings, toFile(file.get()));
}
