#include "common/stream_reader.h"

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_map>

#include "common/files.h"

namespace q7tools {

namespace {

constexpr std::size_t word = 4;
constexpr std::size_t smallestMaterial = 2 * word;
constexpr std::size_t smallestInstance = 2 * word + 64;
constexpr std::size_t smallestMesh = 6 * word;

StreamMaterial readMaterial(ByteReader& reader) {
    StreamMaterial material;
    material.offset = reader.offset();
    material.name = reader.readWideString("name");
    material.xmlOffset = reader.offset();
    material.xml = reader.readWideString("XML text");
    return material;
}

StreamInstance readInstance(ByteReader& reader) {
    StreamInstance instance;
    instance.offset = reader.offset();
    instance.mesh = reader.readWideString("mesh name");
    instance.materialOffset = reader.offset();
    instance.material = reader.readWideString("material name");
    instance.transformOffset = reader.offset();
    instance.transform = reader.readTransform("transform");
    return instance;
}

StreamMesh readMesh(ByteReader& reader) {
    StreamMesh mesh;
    mesh.offset = reader.offset();
    mesh.name = reader.readWideString("name");
    mesh.positionsOffset = reader.offset();
    mesh.positions = reader.readFloats("positions");
    mesh.normalsOffset = reader.offset();
    mesh.normals = reader.readFloats("normals");
    mesh.uvsOffset = reader.offset();
    mesh.uvs = reader.readFloats("uvs");
    mesh.colorsOffset = reader.offset();
    mesh.colors = reader.readBytes("colors");
    mesh.indicesOffset = reader.offset();
    mesh.indices = reader.readInts("indices");
    return mesh;
}

// No reserve: a record takes more memory than its smallest form takes bytes, so a count that is
// merely possible must not size anything.
template <class Record>
std::vector<Record> readRecords(ByteReader& reader, const std::string& kind, std::size_t smallest,
                                Record (*readOne)(ByteReader&)) {
    const std::uint32_t count = reader.readRecordCount(kind + " count", smallest);
    std::vector<Record> records;
    for (std::uint32_t i = 0; i < count; ++i) {
        try {
            records.push_back(readOne(reader));
        } catch (const FormatError& error) {
            throw FormatError(error.offset(), kind + " " + std::to_string(i + 1) + " of " +
                                                  std::to_string(count) + ": " + error.what());
        }
    }
    return records;
}

template <class Record>
const Record* findNamed(const std::vector<Record>& records, WideString Record::*field,
                        WideView name) {
    const auto found = std::ranges::find(records, name, field);
    return found == records.end() ? nullptr : &*found;
}

std::uint64_t sumOverInstances(const StreamModel& model,
                               std::size_t (StreamMesh::*countOf)() const) {
    std::unordered_map<WideView, std::uint64_t> counts;
    for (const StreamMesh& mesh : model.meshes)
        counts.emplace(mesh.name, std::invoke(countOf, mesh));
    std::uint64_t total = 0;
    for (const StreamInstance& instance : model.instances) {
        const auto found = counts.find(instance.mesh);
        if (found != counts.end()) total += found->second;
    }
    return total;
}

}  // namespace

bool StreamMesh::isMerged() const {
    if (!name.ends_with(mergedMeshSuffix) || indices.size() != positions.size()) return false;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (indices[i] != static_cast<std::int32_t>(i)) return false;
    }
    return true;
}

std::size_t StreamMesh::triangleCount() const {
    return isMerged() ? vertexCount() / 3 : countedTriangles();
}

const StreamMaterial* StreamModel::findMaterial(WideView name) const {
    return findNamed(materials, &StreamMaterial::name, name);
}

const StreamMesh* StreamModel::findMesh(WideView name) const {
    return findNamed(meshes, &StreamMesh::name, name);
}

const StreamInstance* StreamModel::findInstanceOf(WideView meshName) const {
    return findNamed(instances, &StreamInstance::mesh, meshName);
}

std::uint64_t StreamModel::placedTriangleCount() const {
    return sumOverInstances(*this, &StreamMesh::triangleCount);
}

std::uint64_t StreamModel::countedTriangleCount() const {
    return sumOverInstances(*this, &StreamMesh::countedTriangles);
}

StreamModel readStream(std::span<const std::byte> bytes) {
    ByteReader reader(bytes);
    StreamModel model;
    model.size = bytes.size();
    model.version = reader.readWord("version word");
    model.headerOffset = reader.offset();
    model.headerText = reader.readWideString("header");
    model.materialsOffset = reader.offset();
    model.materials = readRecords(reader, "material", smallestMaterial, readMaterial);
    model.instancesOffset = reader.offset();
    model.instances = readRecords(reader, "instance", smallestInstance, readInstance);
    model.meshesOffset = reader.offset();
    model.meshes = readRecords(reader, "mesh", smallestMesh, readMesh);
    model.end = reader.offset();
    return model;
}

StreamModel readStreamFile(const std::filesystem::path& path) {
    return readStream(readWholeFile(path));
}

}  // namespace q7tools
