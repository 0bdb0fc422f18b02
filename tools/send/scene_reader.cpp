#include "send/scene_reader.h"

#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <assimp/ProgressHandler.hpp>
#include <cerrno>
#include <cmath>
#include <fstream>
#include <iostream>
#include <span>
#include <string>
#include <system_error>

#include "common/files.h"
#include "send/camera_path_reader.h"
#include "send/camera_reader.h"
#include "send/clean_text.h"
#include "send/embedded_textures.h"
#include "send/ending_files.h"
#include "send/light_reader.h"
#include "send/material_reader.h"
#include "send/mesh_vertices.h"
#include "send/node_table.h"
#include "send/remark_reader.h"
#include "send/transform.h"

namespace q7send {

namespace fs = std::filesystem;
using q7tools::FileError;

namespace {

// Edges that are sharper stay visible where normals have to be made.
constexpr float smoothingAngle = 66.0F;

// None of these drops a triangle. Sorting by kind of primitive is not among them, since it refuses
// files with an empty mesh: points and lines are left out here.
constexpr unsigned processing =
    aiProcess_Triangulate | aiProcess_GenSmoothNormals | aiProcess_JoinIdenticalVertices;

// Readers and the libraries below them print to standard error on some files.
class SilentErrors {
  public:
    SilentErrors() : buffer_(std::cerr.rdbuf(nullptr)) {}
    SilentErrors(const SilentErrors&) = delete;
    SilentErrors& operator=(const SilentErrors&) = delete;
    // Setting the buffer also clears the state that writing to none has left.
    ~SilentErrors() { std::cerr.rdbuf(buffer_); }

  private:
    std::streambuf* buffer_;
};

constexpr Transform identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

bool isFinite(const Transform& transform) {
    return std::all_of(transform.begin(), transform.end(),
                       [](float element) { return std::isfinite(element); });
}

bool isFinite(const aiVector3D& v) {
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

class ProgressForwarder : public Assimp::ProgressHandler {
  public:
    explicit ProgressForwarder(const ProgressFunction& progress) : progress_(progress) {}

    bool Update(float fraction) override {
        if (fraction >= 0) progress_(static_cast<double>(fraction));
        return true;
    }

  private:
    const ProgressFunction& progress_;
};

void checkReadable(const fs::path& path) {
    std::error_code error;
    const fs::file_status status = fs::status(path, error);
    if (error) throw FileError(path, error.message());
    if (fs::is_directory(status)) throw FileError(path, "is a folder");
    errno = 0;
    if (!std::ifstream(path, std::ios::binary)) {
        throw FileError(path,
                        errno != 0 ? std::generic_category().message(errno) : "cannot be opened");
    }
}

class SceneBuilder {
  public:
    SceneBuilder(const aiScene& source, const fs::path& path) : source_(source), path_(path) {}

    Scene build() {
        scene_.modelFile = fs::absolute(path_).lexically_normal();
        scene_.textureFolder = scene_.modelFile.parent_path();
        readMaterials(source_, scene_);
        readMeshes();
        if (source_.mRootNode != nullptr) readNodes(*source_.mRootNode);
        readRemarks(source_, scene_);
        readCameras(source_, nodeTable_, scene_);
        readLights(source_, nodeTable_, scene_);
        readCameraPaths(source_, nodeTable_, scene_);
        return std::move(scene_);
    }

  private:
    void readMeshes() {
        meshNumbers_.reserve(source_.mNumMeshes);
        for (unsigned i = 0; i < source_.mNumMeshes; ++i) {
            SceneMesh mesh = readMesh(*source_.mMeshes[i]);
            meshNumbers_.push_back(mesh.indices.empty() ? std::nullopt
                                                        : std::optional(scene_.meshes.size()));
            if (!mesh.indices.empty()) scene_.meshes.push_back(std::move(mesh));
        }
    }

    SceneMesh readMesh(const aiMesh& source) {
        SceneMesh mesh;
        mesh.name = cleanText(source.mName.C_Str());
        readIndices(source, mesh);
        if (mesh.indices.empty()) return mesh;
        mesh.material = knownMaterial(source.mMaterialIndex);
        readVertices(source, mesh);
        dropUnusedVertices(mesh);
        padToWholeTriangles(mesh);
        return mesh;
    }

    void readIndices(const aiMesh& source, SceneMesh& mesh) {
        mesh.indices.reserve(std::size_t{3} * source.mNumFaces);
        for (unsigned i = 0; i < source.mNumFaces; ++i) {
            const aiFace& face = source.mFaces[i];
            if (face.mNumIndices != 3) {
                ++scene_.pointsAndLines;
                continue;
            }
            for (unsigned corner = 0; corner < 3; ++corner) {
                const unsigned index = face.mIndices[corner];
                if (index >= source.mNumVertices) throw badVertex(source, index);
                mesh.indices.push_back(static_cast<int>(index));
            }
        }
    }

    void readVertices(const aiMesh& source, SceneMesh& mesh) {
        const std::size_t count = source.mNumVertices;
        scene_.unplaced += appendVectors({source.mVertices, count}, 3, mesh.positions);
        if (source.HasNormals()) appendVectors({source.mNormals, count}, 3, mesh.normals);
        if (source.HasTextureCoords(0)) {
            appendVectors({source.mTextureCoords[0], count}, 2, mesh.uvs);
        }
    }

    // Vectors that are not finite become zero; their number is returned.
    static std::size_t appendVectors(std::span<const aiVector3D> vectors, std::size_t width,
                                     std::vector<float>& values) {
        std::size_t bad = 0;
        values.reserve(width * (vectors.size() + 2));
        for (const aiVector3D& given : vectors) {
            const bool isGood = isFinite(given);
            if (!isGood) ++bad;
            const aiVector3D vector = isGood ? given : aiVector3D();
            values.push_back(vector.x);
            values.push_back(vector.y);
            if (width == 3) values.push_back(vector.z);
        }
        return bad;
    }

    // Files may leave the material of a mesh out.
    std::size_t knownMaterial(std::size_t index) {
        if (index < source_.mNumMaterials) return index;
        if (scene_.materials.size() == source_.mNumMaterials) scene_.materials.emplace_back();
        return source_.mNumMaterials;
    }

    void readNodes(const aiNode& root) {
        struct Pending {
            const aiNode* node;
            std::optional<std::size_t> parent;
        };
        // Not recursive: files may nest deeper than the stack goes.
        std::vector<Pending> pending{{&root, std::nullopt}};
        while (!pending.empty()) {
            const auto [node, parent] = pending.back();
            pending.pop_back();
            addNode(*node, parent);
            const std::size_t self = scene_.nodes.size() - 1;
            for (unsigned i = node->mNumChildren; i > 0; --i) {
                // Some readers announce more children than they make.
                const aiNode* child = node->mChildren[i - 1];
                if (child != nullptr) pending.push_back({child, self});
            }
        }
    }

    void addNode(const aiNode& source, std::optional<std::size_t> parent) {
        SceneNode node;
        node.name = cleanText(source.mName.C_Str());
        node.parent = parent;
        node.world = transformOf(source.mTransformation);
        if (parent) node.world = worldTransform(node.world, scene_.nodes[*parent].world);
        if (!isFinite(node.world)) {
            node.world = identity;
            ++scene_.unplaced;
        }
        for (unsigned i = 0; i < source.mNumMeshes; ++i) {
            const unsigned mesh = source.mMeshes[i];
            if (mesh >= meshNumbers_.size()) {
                throw FileError(path_, "a node has mesh " + std::to_string(mesh) + " of " +
                                           std::to_string(meshNumbers_.size()));
            }
            if (meshNumbers_[mesh]) node.meshes.push_back(*meshNumbers_[mesh]);
        }
        scene_.nodes.push_back(std::move(node));
        nodeTable_.add(source);
    }

    FileError badVertex(const aiMesh& mesh, unsigned index) const {
        return {path_, "mesh \"" + singleLine(mesh.mName.C_Str()) +
                           "\" has a triangle with vertex " + std::to_string(index) + " of " +
                           std::to_string(mesh.mNumVertices)};
    }

    const aiScene& source_;
    const fs::path& path_;
    Scene scene_;
    std::vector<std::optional<std::size_t>> meshNumbers_;
    NodeTable nodeTable_;
};

}  // namespace

Scene readScene(const fs::path& path, const ProgressFunction& progress, EmbeddedTextures embedded) {
    checkReadable(path);
    Assimp::Importer importer;
    // The importer deletes its handler.
    importer.SetProgressHandler(new ProgressForwarder(progress));
    // And its files.
    importer.SetIOHandler(new EndingFiles());
    importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, smoothingAngle);
    const aiScene* source = nullptr;
    {
        const SilentErrors silence;
        source = importer.ReadFile(q7tools::pathToUtf8(path), processing);
    }
    if (source == nullptr) throw FileError(path, refusalReason(importer.GetErrorString()));
    Scene scene = SceneBuilder(*source, path).build();
    if (embedded == EmbeddedTextures::read) readTextures(*source, scene);
    return scene;
}

}  // namespace q7send
