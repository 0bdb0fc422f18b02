#include "inspect/validate.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>
#include <unordered_map>

#include "common/material_xml.h"
#include "common/numbers.h"
#include "common/text_output.h"
#include "inspect/scene.h"

namespace q7inspect {

using q7tools::counted;
using q7tools::inQuotes;
using q7tools::shortestNumber;
using q7tools::StreamInstance;
using q7tools::StreamMaterial;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

// A count word comes before the elements or units that it counts.
constexpr std::uint64_t countSize = 4;

using NameOffsets = std::unordered_map<WideView, std::uint64_t>;

std::string element(std::string_view array, std::size_t place) {
    return std::string(array) + '[' + std::to_string(place) + ']';
}

class Validator {
  public:
    explicit Validator(const StreamModel& model) : model_(model) {}

    std::vector<Fault> run() {
        if (model_.version != q7tools::knownStreamVersion) {
            add(0, "the version word is " + std::to_string(model_.version) + ", not " +
                       std::to_string(q7tools::knownStreamVersion));
        }
        checkHeader();
        const NameOffsets materials = checkNames("material", model_.materials);
        const NameOffsets meshes = checkNames("mesh", model_.meshes);
        for (const StreamMaterial& material : model_.materials)
            checkText(material);
        for (const StreamInstance& instance : model_.instances) {
            checkReferences(instance, meshes, materials);
            checkTransform(instance);
        }
        for (const StreamMesh& mesh : model_.meshes)
            checkMesh(mesh);
        if (model_.trailingBytes() != 0) {
            add(model_.end, counted(model_.trailingBytes(), "byte follows", "bytes follow") +
                                " the end of the stream");
        }
        std::ranges::stable_sort(faults_, {}, &Fault::offset);
        return std::move(faults_);
    }

  private:
    void add(std::uint64_t offset, std::string reason) {
        faults_.push_back({offset, std::move(reason)});
    }

    void addHeaderFault(const std::string& reason) {
        add(model_.headerOffset, "header: " + reason);
    }

    void checkHeader() {
        const auto header = parseHeader(model_.headerText);
        if (!header) {
            addHeaderFault("the text is not a JSON object");
            return;
        }
        checkMember(*header, "dccPluginInfo", "a string", &nlohmann::json::is_string);
        checkMember(*header, "materialVersion", "an unsigned number",
                    &nlohmann::json::is_number_unsigned);
        checkMember(*header, "textureFolder", "a string", &nlohmann::json::is_string);
        if (checkMember(*header, "triangleCount", "an unsigned number",
                        &nlohmann::json::is_number_unsigned)) {
            checkTriangleCount(header->at("triangleCount").get<std::uint64_t>());
        }
        for (const auto& member : header->items())
            checkKey(member.key());
    }

    bool checkMember(const nlohmann::json& header, const std::string& key, const std::string& kind,
                     bool (nlohmann::json::*isOfKind)() const noexcept) {
        const auto member = header.find(key);
        if (member == header.end()) {
            addHeaderFault("the key \"" + key + "\" is missing");
            return false;
        }
        if (((*member).*isOfKind)()) return true;
        addHeaderFault("\"" + key + "\" is not " + kind);
        return false;
    }

    void checkKey(const std::string& key) {
        constexpr std::array known{"dccPluginInfo", "materialVersion", "textureFolder",
                                   "triangleCount"};
        if (std::ranges::find(known, key) != known.end()) return;
        addHeaderFault("unknown key " + inQuotes(utf8ToWide(key)));
    }

    void checkTriangleCount(std::uint64_t told) {
        const std::uint64_t expected = model_.countedTriangleCount();
        if (told == expected) return;
        const bool isPlain = expected == model_.placedTriangleCount();
        addHeaderFault("\"triangleCount\" is " + std::to_string(told) +
                       ", but the instances place " + std::to_string(expected) +
                       (isPlain ? "" : ", of merged meshes the points"));
    }

    template <class Record>
    NameOffsets checkNames(const std::string& kind, const std::vector<Record>& records) {
        NameOffsets offsets;
        offsets.reserve(records.size());
        for (const Record& record : records) {
            const auto [first, isNew] = offsets.emplace(record.name, record.offset);
            if (isNew) continue;
            add(record.offset, "a second " + kind + " has the name " + inQuotes(record.name) +
                                   "; the first is at byte " + std::to_string(first->second));
        }
        return offsets;
    }

    void checkText(const StreamMaterial& material) {
        if (!q7tools::isTypedMaterial(material.xml)) return;
        const std::string subject = "material " + inQuotes(material.name) + ": ";
        try {
            const q7tools::TypedMaterial typed = q7tools::readTypedMaterial(material.xml);
            if (typed.id == material.name) return;
            add(material.xmlOffset, subject + "its text has the id " + inQuotes(typed.id));
        } catch (const q7tools::FormatError& error) {
            add(material.xmlOffset + countSize + error.offset(), subject + error.what());
        }
    }

    void checkReferences(const StreamInstance& instance, const NameOffsets& meshes,
                         const NameOffsets& materials) {
        if (!meshes.contains(instance.mesh)) {
            add(instance.offset, "an instance of the mesh " + inQuotes(instance.mesh) +
                                     ", which the stream does not hold");
        }
        if (!materials.contains(instance.material)) {
            add(instance.materialOffset, "an instance with the material " +
                                             inQuotes(instance.material) +
                                             ", which the stream does not hold");
        }
    }

    void checkTransform(const StreamInstance& instance) {
        checkFinite(instance.transformOffset,
                    "an instance of the mesh " + inQuotes(instance.mesh) + ": ", "transform",
                    instance.transform);
    }

    // One fault for an array, however many of its elements are bad: it names the first of them.
    template <class Array>
    void checkFinite(std::uint64_t offset, const std::string& subject, std::string_view name,
                     const Array& values) {
        const auto isBad = [](float value) { return !std::isfinite(value); };
        const auto bad = std::ranges::find_if(values, isBad);
        if (bad == values.end()) return;
        const auto place = static_cast<std::size_t>(bad - values.begin());
        const auto count = std::count_if(bad, values.end(), isBad);
        add(offset + place * sizeof(float),
            subject + element(name, place) + " is " + shortestNumber(*bad) +
                andMore(static_cast<std::uint64_t>(count), "is not finite", "are not finite"));
    }

    static std::string andMore(std::uint64_t count, std::string_view one, std::string_view many) {
        if (count == 1) return {};
        return ", and " +
               counted(count - 1, "more " + std::string(one), "more " + std::string(many));
    }

    void checkMesh(const StreamMesh& mesh) {
        const std::string subject = "mesh " + inQuotes(mesh.name) + ": ";
        const std::size_t positions = mesh.positions.size();
        if (positions % 3 != 0) {
            add(mesh.positionsOffset,
                subject + std::to_string(positions) + " position values are not whole triples");
        }
        if (!mesh.normals.empty() && mesh.normals.size() != positions) {
            add(mesh.normalsOffset, subject + std::to_string(mesh.normals.size()) +
                                        " normal values for " + std::to_string(positions) +
                                        " position values");
        }
        if (mesh.uvs.size() != mesh.vertexCount() * 2) {
            add(mesh.uvsOffset, subject + std::to_string(mesh.uvs.size()) + " uv values for " +
                                    counted(mesh.vertexCount(), "vertex", "vertices"));
        }
        checkFinite(mesh.positionsOffset + countSize, subject, "positions", mesh.positions);
        checkIndices(mesh, subject);
    }

    void checkIndices(const StreamMesh& mesh, const std::string& subject) {
        if (mesh.isMerged()) return;
        if (mesh.indices.size() % 3 != 0) {
            add(mesh.indicesOffset,
                subject + std::to_string(mesh.indices.size()) + " indices are not whole triangles");
        }
        const auto isBad = [vertices = mesh.vertexCount()](std::int32_t index) {
            return index < 0 || static_cast<std::size_t>(index) >= vertices;
        };
        const auto bad = std::ranges::find_if(mesh.indices, isBad);
        if (bad == mesh.indices.end()) return;
        const auto place = static_cast<std::size_t>(bad - mesh.indices.begin());
        const auto count = std::count_if(bad, mesh.indices.end(), isBad);
        add(mesh.indicesOffset + countSize + place * sizeof(std::int32_t),
            subject + element("indices", place) + " is " + std::to_string(*bad) +
                ", but the mesh has " + counted(mesh.vertexCount(), "vertex", "vertices") +
                andMore(static_cast<std::uint64_t>(count), "is out of range", "are out of range"));
    }

    const StreamModel& model_;
    std::vector<Fault> faults_;
};

}  // namespace

std::vector<Fault> findFaults(const StreamModel& model) {
    return Validator(model).run();
}

}  // namespace q7inspect
