// Prints how many triangles Assimp sees in a 3D file when every node shows its meshes: the count
// that a stream of the same file must have. Exits with 1 when Assimp refuses the file.
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#include <cstdint>
#include <iostream>
#include <vector>

namespace {

std::uint64_t trianglesOf(const aiMesh& mesh) {
    std::uint64_t count = 0;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        if (mesh.mFaces[i].mNumIndices == 3) ++count;
    }
    return count;
}

std::uint64_t trianglesOf(const aiScene& scene) {
    std::uint64_t count = 0;
    std::vector<const aiNode*> pending{scene.mRootNode};
    while (!pending.empty()) {
        const aiNode* node = pending.back();
        pending.pop_back();
        // Some readers announce more children than they make.
        if (node == nullptr) continue;
        for (unsigned i = 0; i < node->mNumMeshes; ++i) {
            count += trianglesOf(*scene.mMeshes[node->mMeshes[i]]);
        }
        pending.insert(pending.end(), node->mChildren, node->mChildren + node->mNumChildren);
    }
    return count;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: count_triangles MODEL\n";
        return 2;
    }
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(argv[1], aiProcess_Triangulate);
    if (scene == nullptr) {
        std::cerr << importer.GetErrorString() << '\n';
        return 1;
    }
    std::cout << trianglesOf(*scene) << '\n';
    return 0;
}
