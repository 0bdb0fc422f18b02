// Notes on a model: what a receiver can take, but is most likely a mistake of the host.
// docs/formats/model_stream.md tells each kind.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "common/stream_reader.h"
#include "support/text.h"

namespace q7tools {

struct ModelNote {
    // One of "transposed", "bounds", "uvs", "undescribed", "unused", "misspelt", "materialNames" and
    // "meshNames".
    std::string_view kind;
    std::uint64_t offset = 0;  // of the first record that is meant, as it was added
    std::uint64_t count = 0;   // of the records, or pairs of them, that are meant
    std::string text;          // names the first of them
};

// Takes the records of a model, the three kinds in any order. Keeps neither arrays nor texts: about 100
// bytes for a record. The time is in proportion to the bytes of the records, and there is at most one
// note of each kind, whatever the records say.
class ModelNotes {
  public:
    // Room for records that are there, which saves time and memory when there are many.
    void reserve(std::size_t materials, std::size_t instances, std::size_t meshes);

    // The names must outlive this. Of several materials or meshes of one name the first counts.
    void addMaterial(WideView name, WideView xml, std::uint64_t offset = 0);
    void addInstance(WideView mesh, WideView material, const std::array<float, 16>& transform,
                     std::uint64_t offset = 0);
    // Arrays of floats, little-endian, of which a sender may have one at a time. The uvs of a mesh come
    // after it, or not at all.
    void addMesh(WideView name, std::span<const std::byte> positions, std::uint64_t offset = 0);
    void addUvs(WideView mesh, std::span<const std::byte> uvs);

    std::vector<ModelNote> notes() const;

    // How many instances have each material, in the order in which the materials were added; 0 for a
    // second one of a name.
    std::vector<std::uint64_t> materialUses() const;

  private:
    struct Box {
        std::array<float, 3> lowest;
        std::array<float, 3> highest;
    };
    struct Material {
        WideView name;
        std::uint64_t offset = 0;
        std::uint64_t uses = 0;
        bool isAdded = false;  // and not only named by an instance
        bool isDescribed = false;
        bool hasTexture = false;
    };
    struct Mesh {
        WideView name;
        std::uint64_t offset = 0;
        bool isAdded = false;
        bool hasZeroUvs = false;  // it has uvs, and all of them are 0
        std::optional<Box> box;   // of its finite positions
    };
    struct Instance {
        std::uint64_t offset;
        std::size_t mesh;
        std::size_t material;
        std::array<float, 16> transform;
    };
    template <class Record>
    struct Records {
        std::vector<Record> list;
        std::unordered_map<WideView, std::size_t> places;

        std::size_t placeOf(WideView name);
        void reserve(std::size_t count);
    };

    std::optional<ModelNote> transposed() const;
    std::optional<ModelNote> bounds() const;
    std::optional<ModelNote> zeroUvs() const;
    std::optional<ModelNote> unused() const;
    std::optional<ModelNote> undescribed() const;
    std::optional<ModelNote> misspelt() const;

    Records<Material> materials_;
    Records<Mesh> meshes_;
    std::vector<Instance> instances_;
    std::vector<std::size_t> added_;  // the place of each added material, or noPlace
};

// The records of a stream, with their offsets. The model must outlive the notes.
ModelNotes notesOf(const StreamModel& model);

}  // namespace q7tools
