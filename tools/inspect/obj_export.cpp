#include "inspect/obj_export.h"

#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "common/numbers.h"
#include "common/text_output.h"
#include "inspect/scene.h"

namespace q7inspect {

using q7tools::shortestNumber;
using q7tools::StreamInstance;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

// Readers end a name at the first blank, and take a line's last backslash as "goes on below".
std::string objName(WideView name) {
    std::string text = q7tools::printable(name);
    for (char& letter : text) {
        if (letter == ' ' || letter == '\\' || letter == '#') letter = '_';
    }
    return text.empty() ? "unnamed" : text;
}

bool isFinite(const Point& point) {
    return std::isfinite(static_cast<float>(point[0])) &&
           std::isfinite(static_cast<float>(point[1])) &&
           std::isfinite(static_cast<float>(point[2]));
}

void appendLine(std::string& text, std::string_view keyword, std::initializer_list<double> values) {
    text += keyword;
    for (const double value : values) {
        text += ' ';
        const auto rounded = static_cast<float>(value);
        text += shortestNumber(std::isfinite(rounded) ? rounded : 0.0F);
    }
    text += '\n';
}

class ObjWriter {
  public:
    explicit ObjWriter(std::ostream& out) : out_(out) {}

    void writeInstance(const StreamInstance& instance, const StreamMesh& mesh) {
        hasNormals_ = !mesh.normals.empty() && mesh.normals.size() == mesh.positions.size();
        hasUvs_ = !mesh.uvs.empty() && mesh.uvs.size() == mesh.vertexCount() * 2;
        ++counts_.objects;
        text_ = "o " + objName(mesh.name) + "\ng " + objName(mesh.name) + '\n';
        appendVertices(instance.transform, mesh);
        if (hasUvs_) appendUvs(mesh);
        if (hasNormals_) appendNormals(instance.transform, mesh);
        text_ += "usemtl " + objName(instance.material) + '\n';
        appendTriangles(mesh, determinant(instance.transform) < 0);
        out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));

        firstVertex_ += mesh.vertexCount();
        if (hasUvs_) firstUv_ += mesh.vertexCount();
        if (hasNormals_) firstNormal_ += mesh.vertexCount();
    }

    void countMissingMesh() { ++counts_.missingMeshes; }
    const ObjCounts& counts() const { return counts_; }

  private:
    void appendVertices(const Transform& transform, const StreamMesh& mesh) {
        usable_.assign(mesh.vertexCount(), true);
        for (std::size_t i = 0; i < mesh.vertexCount(); ++i) {
            const Point point = toWorld(transform, &mesh.positions[3 * i]);
            usable_[i] = isFinite(point);
            appendLine(text_, "v", {point[0], point[1], point[2]});
        }
    }

    void appendUvs(const StreamMesh& mesh) {
        for (std::size_t i = 0; i + 2 <= mesh.uvs.size(); i += 2) {
            appendLine(text_, "vt", {mesh.uvs[i], mesh.uvs[i + 1]});
        }
    }

    void appendNormals(const Transform& transform, const StreamMesh& mesh) {
        for (std::size_t i = 0; i + 3 <= mesh.normals.size(); i += 3) {
            const Point normal = normalToWorld(transform, &mesh.normals[i]);
            const double length = std::hypot(normal[0], normal[1], normal[2]);
            const double scale = length > 0 ? 1 / length : 0;
            appendLine(text_, "vn", {normal[0] * scale, normal[1] * scale, normal[2] * scale});
        }
    }

    void appendTriangles(const StreamMesh& mesh, bool mirrored) {
        // The first indices of a merged mesh are its vertices in their order.
        const std::size_t used = 3 * mesh.triangleCount();
        for (std::size_t i = 0; i < used; i += 3) {
            std::array corners{mesh.indices[i], mesh.indices[i + 1], mesh.indices[i + 2]};
            if (!isUsable(corners)) {
                ++counts_.skippedTriangles;
                continue;
            }
            if (mirrored) std::swap(corners[1], corners[2]);
            text_ += 'f';
            for (const std::int32_t corner : corners)
                appendCorner(static_cast<std::size_t>(corner));
            text_ += '\n';
            ++counts_.triangles;
        }
    }

    bool isUsable(const std::array<std::int32_t, 3>& corners) const {
        for (const std::int32_t corner : corners) {
            if (corner < 0 || static_cast<std::size_t>(corner) >= usable_.size()) return false;
            if (!usable_[static_cast<std::size_t>(corner)]) return false;
        }
        return true;
    }

    void appendCorner(std::size_t corner) {
        text_ += ' ' + std::to_string(firstVertex_ + corner);
        if (hasUvs_) text_ += '/' + std::to_string(firstUv_ + corner);
        if (hasNormals_) text_ += (hasUvs_ ? "/" : "//") + std::to_string(firstNormal_ + corner);
    }

    std::ostream& out_;
    ObjCounts counts_;
    std::string text_;
    std::vector<bool> usable_;
    bool hasNormals_ = false;
    bool hasUvs_ = false;
    std::size_t firstVertex_ = 1;
    std::size_t firstUv_ = 1;
    std::size_t firstNormal_ = 1;
};

}  // namespace

ObjCounts writeObj(std::ostream& out, const StreamModel& model) {
    const MeshLookup lookup(model);
    ObjWriter writer(out);
    for (const StreamInstance& instance : model.instances) {
        if (const auto place = lookup.find(instance.mesh)) {
            writer.writeInstance(instance, model.meshes[*place]);
        } else {
            writer.countMissingMesh();
        }
    }
    return writer.counts();
}

}  // namespace q7inspect
