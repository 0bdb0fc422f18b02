// What a session is to hold after any calls, in the plainest form: what the library is compared with.
// It shares no code with the library.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace q7fuzz {

using Text = std::u16string;
using Matrix = std::array<float, 16>;

inline constexpr Matrix identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct PlainMesh {
    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<float> uvs;
    std::vector<std::uint8_t> colors;
    std::vector<std::int32_t> indices;

    bool countsFit() const {
        return positions.size() % 3 == 0 &&
               (normals.empty() || normals.size() == positions.size()) &&
               3 * uvs.size() == 2 * positions.size();
    }
};

struct PlainInstance {
    Text mesh;
    Text material;
    Matrix transform;
    std::uint64_t number = 0;  // no other instance of the session has it
};

// The names of what a send adds.
inline const Text fixedPrefix = u"@q7fix@";
inline const Text generatorName = u"@g@m@q7_";

class PlainSession {
  public:
    Text textureFolder;
    std::uint32_t materialVersion = 0;
    // Nothing for a typed material: what it is printed as is another test's.
    std::map<Text, std::optional<Text>> materials;
    std::map<Text, PlainMesh> meshes;
    std::vector<PlainInstance> instances;

    void begin(const Text& name, const Matrix* matrix) {
        if (name.empty()) return;
        nodes_.try_emplace(name);
        openNode_ = name;
        transform_ = matrix;
    }
    // What the triangles of a material become. It has the name that the node had at the first of them.
    PlainMesh& part(const Text& material) {
        for (Part& each : parts_) {
            if (each.material == material) return each.mesh;
        }
        const Text name = replaced(openNode_, u'_', u'@') + u'_' + material;
        return parts_.emplace_back(Part{material, name, {}}).mesh;
    }
    void end() {
        for (auto& [material, name, mesh] : parts_) {
            complete(mesh);
            setMesh(name, std::move(mesh));
            const Text key =
                material.empty() ? Text(u"No Material") : replaced(material, u'/', u'@');
            if (!materials.contains(key) && materialVersion == 0) materials[key] = defaultText;
            if (!materials.contains(key) && materialVersion == 1) materials[key] = std::nullopt;
            if (materials.contains(key)) {
                place({name, key, transform_ ? *transform_ : identity}, openNode_);
            } else {
                nodes_[openNode_];
            }
        }
        parts_.clear();
        openNode_.clear();
    }
    void duplicate(const Text& source, const Text& copy, const Matrix& matrix) {
        nodes_.try_emplace(copy);
        if (!nodes_.contains(source)) return;
        const std::vector<std::uint64_t> placed = nodes_[source];
        for (const std::uint64_t number : placed) {
            const PlainInstance* const original = find(number);
            place({original->mesh, original->material, matrix}, copy);
        }
    }
    // What was placed stays until the next live send.
    void remove(const Text& node) {
        const auto at = nodes_.find(node);
        if (at == nodes_.end()) return;
        pending_.insert(at->second.begin(), at->second.end());
        nodes_.erase(at);
    }
    void applyDeletions() {
        std::erase_if(instances,
                      [this](const PlainInstance& each) { return pending_.contains(each.number); });
        pending_.clear();
    }
    void dropUnusedMeshes() {
        std::erase_if(meshes, [this](const auto& entry) { return uses(entry.first) == 0; });
    }

    // What the renderer gets of it. Positions and normals of what is added for the send have no values.
    PlainSession sent(bool withGenerated) const {
        PlainSession result = *this;
        std::size_t counter = 0;
        for (PlainInstance& instance : result.instances) {
            if (isHealthy(instance.transform)) continue;
            const std::string number = std::to_string(counter++);
            const Text name = fixedPrefix + Text(number.begin(), number.end()) + instance.mesh;
            PlainMesh baked = result.meshes.at(instance.mesh);
            if (baked.normals.size() < 3) baked.normals.clear();
            if (!baked.countsFit()) continue;
            result.meshes[name] = std::move(baked);
            instance.mesh = name;
            instance.transform = identity;
        }
        if (withGenerated) result.addGenerated();
        result.dropUnusedMeshes();
        for (auto& [name, mesh] : result.meshes)
            mesh.colors.clear();
        return result;
    }

    // What a processed save writes. Positions and normals of merged meshes have no values.
    PlainSession merged() const {
        PlainSession result = *this;
        std::vector<PlainInstance> kept;
        std::vector<std::pair<Text, std::vector<Text>>> groups;
        for (const PlainInstance& instance : instances) {
            if (uses(instance.mesh) == 1) {
                auto group = groups.begin();
                while (group != groups.end() && group->first != instance.material)
                    ++group;
                if (group == groups.end()) group = groups.insert(group, {instance.material, {}});
                group->second.push_back(instance.mesh);
            }
        }
        const auto isMerged = [&](const PlainInstance& instance) {
            for (const auto& [material, sources] : groups) {
                if (material == instance.material && sources.size() > 1)
                    return uses(instance.mesh) == 1;
            }
            return false;
        };
        for (const PlainInstance& instance : instances) {
            if (!isMerged(instance)) kept.push_back(instance);
        }
        for (const auto& [material, sources] : groups) {
            if (sources.size() < 2) continue;
            const Text name = material + u"_q7_merged";
            if (!meshes.contains(name)) result.setMesh(name, joined(sources));
            if (result.meshes.contains(name)) kept.push_back({name, material, identity});
        }
        result.instances = std::move(kept);
        return result;
    }

    void setMesh(const Text& name, PlainMesh mesh) {
        if (meshes.contains(name) || mesh.countsFit()) meshes[name] = std::move(mesh);
    }
    void addText(const Text& name, const Text& text) {
        auto& material = materials.try_emplace(replaced(name, u'/', u'@'), text).first->second;
        if (material) material = text;
    }
    void addTyped(const Text& name) { materials.try_emplace(replaced(name, u'/', u'@')); }

    static Text replaced(Text text, char16_t from, char16_t to) {
        for (char16_t& unit : text) {
            if (unit == from) unit = to;
        }
        return text;
    }

    // The text of a material that nobody described.
    static inline Text defaultText;

  private:
    // Neither sheared nor scaled beyond 0.001 to 100.
    static bool isHealthy(const Matrix& m) {
        if (m == identity) return true;
        const auto product = [&m](std::size_t a, std::size_t b) {
            return m[a] * m[b] + m[a + 1] * m[b + 1] + m[a + 2] * m[b + 2];
        };
        for (const std::size_t row : {0U, 4U, 8U}) {
            const float length = std::sqrt(product(row, row));
            if (!(length >= 0.001F && length <= 100)) return false;
        }
        const auto square = [&](std::size_t a, std::size_t b) {
            return std::fabs(product(a, b)) < 1e-5F;
        };
        return square(0, 4) && square(0, 8) && square(4, 8);
    }
    void addGenerated() {
        PlainMesh triangle;
        triangle.positions.resize(9);
        triangle.normals.resize(9);
        triangle.uvs = {1, 0, 1, 0, 1, 0};
        triangle.indices = {0, 1, 2};
        meshes[generatorName] = triangle;
        const Matrix transform = instances.empty() ? identity : instances.front().transform;
        for (const auto& [name, text] : materials)
            instances.push_back({generatorName, name, transform});
    }
    const PlainInstance* find(std::uint64_t number) const {
        for (const PlainInstance& each : instances) {
            if (each.number == number) return &each;
        }
        return nullptr;
    }
    struct Part {
        Text material;
        Text name;
        PlainMesh mesh;
    };

    std::size_t uses(const Text& mesh) const {
        std::size_t count = 0;
        for (const PlainInstance& instance : instances)
            count += instance.mesh == mesh ? 1 : 0;
        return count;
    }
    PlainMesh joined(const std::vector<Text>& sources) const {
        PlainMesh all;
        for (const Text& source : sources) {
            const PlainMesh& mesh = meshes.at(source);
            all.positions.resize(all.positions.size() + mesh.positions.size());
            all.normals.resize(all.normals.size() + mesh.normals.size());
            all.uvs.insert(all.uvs.end(), mesh.uvs.begin(), mesh.uvs.end());
            all.colors.insert(all.colors.end(), mesh.colors.begin(), mesh.colors.end());
        }
        // One for each float.
        for (std::size_t i = 0; i < all.positions.size(); ++i)
            all.indices.push_back(static_cast<std::int32_t>(i));
        return all;
    }
    static void complete(PlainMesh& mesh) {
        if (mesh.normals.size() != mesh.positions.size()) mesh.normals.clear();
        if (!mesh.indices.empty()) return;
        for (std::size_t i = 0; i < mesh.positions.size() / 3; ++i)
            mesh.indices.push_back(static_cast<std::int32_t>(i));
    }
    void place(PlainInstance instance, const Text& node) {
        instance.number = ++placed_;
        nodes_[node].push_back(instance.number);
        instances.push_back(std::move(instance));
    }

    std::map<Text, std::vector<std::uint64_t>> nodes_;
    std::set<std::uint64_t> pending_;
    std::uint64_t placed_ = 0;
    Text openNode_;
    const Matrix* transform_ = nullptr;
    std::vector<Part> parts_;
};

}  // namespace q7fuzz
