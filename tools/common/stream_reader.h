// Reads model streams: the file form of a model, docs/formats/model_stream.md.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <vector>

#include "common/byte_reader.h"
#include "support/text.h"

namespace q7tools {

// The version word of every stream of the kind that this reader knows.
constexpr std::uint32_t knownStreamVersion = 11;

// The end of the name of each mesh that merging made.
constexpr WideView mergedMeshSuffix = u"_q7_merged";

// Each record keeps the offset in the file at which it starts, and those of its parts, so that
// whoever finds a fault in it can say where. An array's offset is that of its count word.

struct StreamMaterial {
    std::uint64_t offset = 0;
    WideString name;
    std::uint64_t xmlOffset = 0;
    WideString xml;

    bool operator==(const StreamMaterial&) const = default;
};

struct StreamInstance {
    std::uint64_t offset = 0;
    WideString mesh;
    std::uint64_t materialOffset = 0;
    WideString material;
    std::uint64_t transformOffset = 0;
    std::array<float, 16> transform{};

    bool operator==(const StreamInstance&) const = default;
};

struct StreamMesh {
    std::uint64_t offset = 0;
    WideString name;
    std::uint64_t positionsOffset = 0;
    std::vector<float> positions;
    std::uint64_t normalsOffset = 0;
    std::vector<float> normals;
    std::uint64_t uvsOffset = 0;
    std::vector<float> uvs;
    std::uint64_t colorsOffset = 0;
    std::vector<std::uint8_t> colors;
    std::uint64_t indicesOffset = 0;
    std::vector<std::int32_t> indices;

    std::size_t vertexCount() const { return positions.size() / 3; }

    // Whether it has the name and the index array of a merged mesh: 0, 1, 2 and so on, one entry
    // for each float of the positions. Its vertices are then triangles, three by three, and its
    // indices number no vertices. Looks at every index of a mesh with such a name.
    bool isMerged() const;

    // As they are to be drawn.
    std::size_t triangleCount() const;
    // As the header counts them, which for a merged mesh is the number of its vertices.
    std::size_t countedTriangles() const { return indices.size() / 3; }

    bool operator==(const StreamMesh&) const = default;
};

struct StreamModel {
    std::uint32_t version = 0;
    std::uint64_t headerOffset = 0;
    WideString headerText;  // JSON
    std::uint64_t materialsOffset = 0;
    std::vector<StreamMaterial> materials;
    std::uint64_t instancesOffset = 0;
    std::vector<StreamInstance> instances;
    std::uint64_t meshesOffset = 0;
    std::vector<StreamMesh> meshes;
    std::uint64_t end = 0;   // where the last record ends
    std::uint64_t size = 0;  // of all that was given to the reader

    std::uint64_t trailingBytes() const { return size - end; }

    // The first record of that name, or null.
    const StreamMaterial* findMaterial(WideView name) const;
    const StreamMesh* findMesh(WideView name) const;
    const StreamInstance* findInstanceOf(WideView meshName) const;

    // The triangles of all instances, as they are to be drawn.
    std::uint64_t placedTriangleCount() const;
    // The number that a right header tells. Without merged meshes it is the same.
    std::uint64_t countedTriangleCount() const;
};

// Reads one stream from the start of the bytes. Bytes behind its end are no fault here: see
// trailingBytes. What the records say is not judged either, neither the version word nor the header
// text nor names and indices. Throws FormatError when the bytes end before the stream does; memory
// is taken only for what the bytes do hold, whatever their counts say.
StreamModel readStream(std::span<const std::byte> bytes);

// The same for a file. Throws FileError when it cannot be read.
StreamModel readStreamFile(const std::filesystem::path& path);

}  // namespace q7tools
