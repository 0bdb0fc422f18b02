#include "transport/q7_sync.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <nlohmann/json.hpp>

#include "geometry/q7_model_utils.h"
#include "link/render_socket.h"
#include "platform/files.h"

static_assert(std::endian::native == std::endian::little,
              "numbers are written as they lie in memory");

namespace {

template <class Number>
void writeArray(const Array<Number>& numbers, const ByteWriter& writer) {
    Q7Sync::writeWord(numbers.size(), writer);
    writer(numbers.data(), numbers.size() * sizeof(Number));
}

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
    const auto word = static_cast<std::uint32_t>(value);
    writer(&word, sizeof word);
}

void Q7Sync::writeWideString(const WideString& text, ByteWriter writer) {
    writeWord(text.size(), writer);
    writer(text.data(), text.size() * sizeof(char16_t));
}

void Q7Sync::writeFloatArray(const Array<float>& numbers, ByteWriter writer) {
    writeArray(numbers, writer);
}

void Q7Sync::writeIntArray(const Array<std::int32_t>& numbers, ByteWriter writer) {
    writeArray(numbers, writer);
}

void Q7Sync::writeByteArray(const Array<unsigned char>& bytes, ByteWriter writer) {
    writeArray(bytes, writer);
}

void Q7Sync::writeMaterial(const IQ7Material& material, ByteWriter writer) {
    writeWideString(material.getName(), writer);
    writeWideString(material.toXml(), writer);
}

void Q7Sync::writeInstance(const Instance& instance, ByteWriter writer) {
    writeWideString(instance.mesh->name, writer);
    writeWideString(instance.material->getName(), writer);
    writer(instance.transform.data(), sizeof instance.transform);
}

void Q7Sync::writeMesh(const Mesh& mesh, ByteWriter writer) {
    writeWideString(mesh.name, writer);
    writeFloatArray(mesh.positions, writer);
    writeFloatArray(mesh.normals, writer);
    writeFloatArray(mesh.uvs, writer);
    writeByteArray(mesh.colors, writer);
    writeIntArray(mesh.indices, writer);
}

WideString Q7Sync::headerJson(const Model& model, const StreamSettings& settings) {
    std::uint64_t triangles = 0;
    for (const auto& instance : model.instances)
        triangles += instance->mesh->indices.size() / 3;
    const std::uint32_t writtenVersion = settings.materialVersion + 1;
    nlohmann::json header;
    header["dccPluginInfo"] = wideToUtf8(settings.dccPluginInfo);
    header["materialVersion"] = writtenVersion;
    header["textureFolder"] = wideToUtf8(model.textureFolder);
    header["triangleCount"] = triangles;
    return utf8ToWide(header.dump());
}

void Q7Sync::writeModel(const Model& model, const StreamSettings& settings, ByteWriter writer) {
    writeWord(static_cast<std::uint32_t>(model.modelVersion), writer);
    writeWideString(headerJson(model, settings), writer);
    writeWord(model.materials.size(), writer);
    for (const auto& [name, material] : model.materials)
        writeMaterial(*material, writer);
    writeWord(model.instances.size(), writer);
    for (const auto& instance : model.instances)
        writeInstance(*instance, writer);
    writeWord(model.meshes.size(), writer);
    for (const auto& [name, mesh] : model.meshes)
        writeMesh(*mesh, writer);
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
