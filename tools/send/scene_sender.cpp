#include "send/scene_sender.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "common/files.h"
#include "q7plugin.h"
#include "send/host_text.h"
#include "send/mesh_sharing.h"
#include "send/scene_entities.h"
#include "send/scene_names.h"

namespace q7send {

namespace {

WideString wide(const std::filesystem::path& path) {
    return utf8ToWide(q7tools::pathToUtf8(path));
}

const float* orNull(const std::vector<float>& values) {
    return values.empty() ? nullptr : values.data();
}

std::uint64_t geometryBytes(const SceneMesh& mesh) {
    const std::size_t floats = mesh.positions.size() + mesh.normals.size() + mesh.uvs.size();
    return floats * sizeof(float) + mesh.indices.size() * sizeof(int);
}

class SceneDescription {
  public:
    SceneDescription(void* session, const Scene& scene)
        : session_(session), scene_(scene), names_(scene) {}

    void addHeader(std::string_view programVersion) {
        Q7SetDccPluginInfo(HostText(u"q7-send " + utf8ToWide(programVersion)));
        SetModelFilePath(session_, HostText(wide(scene_.modelFile)));
        SetTextureFolder(session_, HostText(wide(scene_.textureFolder)));
        Q7SetMaterialVersion(session_, 1);
    }

    void addMaterials() {
        for (std::size_t i = 0; i < scene_.materials.size(); ++i)
            addMaterial(i);
        totals_.materials = scene_.materials.size();
    }

    void addNodes(const std::function<void(double)>& progress) {
        const std::vector<Placement> placements =
            planPlacements(scene_.nodes, scene_.meshes.size());
        originalNames_.resize(placements.size());
        for (std::size_t i = 0; i < placements.size(); ++i) {
            addPlacement(placements[i], originalNames_[i]);
            progress(static_cast<double>(i + 1) / static_cast<double>(placements.size()));
        }
    }

    const SendTotals& totals() const { return totals_; }

  private:
    void addMaterial(std::size_t index) {
        const HostText name(names_.material(index));
        Q7AddMaterial(session_, name);
        for (const MaterialProperty& property : scene_.materials[index].properties) {
            const HostText propertyName(property.name);
            if (const float* number = std::get_if<float>(&property.value)) {
                Q7SetMaterialFloatProperty(session_, name, propertyName, *number);
            } else {
                Q7SetMaterialStringProperty(session_, name, propertyName,
                                            HostText(std::get<WideString>(property.value)));
            }
        }
    }

    void addPlacement(const Placement& placement, WideString& name) {
        name = placement.isPart
                   ? names_.claimPart(placement.node, scene_.meshes[placement.meshes.front()].name)
                   : names_.node(placement.node);
        const HostText path(names_.path(placement.node));
        const float* transform = scene_.nodes[placement.node].world.data();
        if (placement.original) {
            Q7DuplicateNode(session_, HostText(originalNames_[*placement.original]), HostText(name),
                            transform, path);
            ++totals_.duplicates;
        } else {
            Q7BeginNodeHint(session_, HostText(name), transform, triangleHint(placement), path);
            addMeshes(placement);
            Q7EndNode(session_);
        }
        countPlacement(placement);
    }

    // The library reserves the hint for every material of the node: with several, that is too much.
    std::uint32_t triangleHint(const Placement& placement) const {
        if (materialsOf(placement).size() > 1) return 0;
        std::size_t vertices = 0;
        for (const std::size_t mesh : placement.meshes)
            vertices += scene_.meshes[mesh].vertexCount();
        return static_cast<std::uint32_t>(vertices / 3);
    }

    void addMeshes(const Placement& placement) {
        std::unordered_map<std::size_t, std::size_t> verticesOfMaterial;
        for (const std::size_t number : placement.meshes) {
            const SceneMesh& mesh = scene_.meshes[number];
            std::size_t& firstVertex = verticesOfMaterial[mesh.material];
            addMesh(mesh, firstVertex);
            firstVertex += mesh.vertexCount();
        }
    }

    void addMesh(const SceneMesh& mesh, std::size_t firstVertex) {
        totals_.geometryBytes += geometryBytes(mesh);
        const int* indices = mesh.indices.data();
        if (firstVertex > 0) {
            const int offset = static_cast<int>(firstVertex);
            movedIndices_.resize(mesh.indices.size());
            std::transform(mesh.indices.begin(), mesh.indices.end(), movedIndices_.begin(),
                           [offset](int index) { return index + offset; });
            indices = movedIndices_.data();
        }
        MaxAddIndexTriangles(session_, HostText(names_.material(mesh.material)),
                             static_cast<int>(mesh.vertexCount() / 3), mesh.positions.data(),
                             orNull(mesh.normals), orNull(mesh.uvs),
                             static_cast<std::uint32_t>(mesh.indices.size()), indices,
                             CoordOrder::XYZ);
    }

    void countPlacement(const Placement& placement) {
        ++totals_.nodes;
        totals_.instances += materialsOf(placement).size();
        for (const std::size_t mesh : placement.meshes) {
            totals_.triangles += scene_.meshes[mesh].triangleCount();
        }
    }

    std::unordered_set<std::size_t> materialsOf(const Placement& placement) const {
        std::unordered_set<std::size_t> materials;
        for (const std::size_t mesh : placement.meshes) {
            materials.insert(scene_.meshes[mesh].material);
        }
        return materials;
    }

    void* session_;
    const Scene& scene_;
    SceneNames names_;
    std::vector<WideString> originalNames_;
    std::vector<int> movedIndices_;
    SendTotals totals_;
};

}  // namespace

SceneSender::SceneSender() : session_(CreateSession()) {}

SceneSender::~SceneSender() {
    DestroySession(session_);
}

SendTotals SceneSender::describe(const Scene& scene, std::string_view programVersion,
                                 const std::function<void(double)>& progress) {
    SceneDescription description(session_, scene);
    description.addHeader(programVersion);
    description.addMaterials();
    description.addNodes(progress);
    describeEntities(session_, scene, description.totals(), programVersion);
    return description.totals();
}

void SceneSender::saveStream(const std::filesystem::path& path, StreamForm form) {
    const auto save = form == StreamForm::raw ? Q7SaveRawToFile : Q7SaveProcessedToFile;
    save(session_, HostText(wide(path)));
}

SentLive SceneSender::sendLive(LiveForm form, bool genMaterials, const MessageCounts& messages) {
    return q7send::sendLive(session_, form, genMaterials, messages);
}

void SceneSender::saveMaterials(const std::filesystem::path& path) {
    Q7SaveMaterialToFile(session_, HostText(wide(path)));
}

void SceneSender::setEmbeddedTextures(const Scene& scene,
                                      const std::vector<std::filesystem::path>& files) {
    const SceneNames names(scene);
    for (std::size_t i = 0; i < scene.materials.size(); ++i) {
        for (const auto& [property, texture] : scene.materials[i].embedded) {
            if (files.at(texture).empty()) continue;
            Q7SetMaterialStringProperty(session_, HostText(names.material(i)), HostText(property),
                                        HostText(wide(files[texture])));
        }
    }
}

bool SceneSender::saveArchive(const std::filesystem::path& path, StreamForm form) {
    const auto save = form == StreamForm::raw ? Q7SaveRawToQ7a : Q7SaveProcessedToQ7a;
    return save(session_, HostText(wide(path))) != 0;
}

bool SceneSender::saveArchiveOf(const std::filesystem::path& packed,
                                const std::filesystem::path& path) {
    return Q7SaveExtToQ7a(session_, HostText(wide(packed)), HostText(wide(path))) != 0;
}

}  // namespace q7send
