#include "bench/assimp_scene.h"

#include <string>

namespace {

using bench::Shape;
using bench::Triangles;

aiMesh* newMesh(const Shape& shape, const Triangles& triangles, std::size_t number) {
    const std::size_t vertices = 3 * shape.trianglesEach;
    auto* mesh = new aiMesh;
    mesh->mName = "mesh" + std::to_string(number);
    mesh->mMaterialIndex = static_cast<unsigned>(number % shape.materials);
    mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
    mesh->mNumVertices = static_cast<unsigned>(vertices);
    mesh->mVertices = new aiVector3D[vertices];
    mesh->mNormals = new aiVector3D[vertices];
    mesh->mTextureCoords[0] = new aiVector3D[vertices];
    mesh->mNumUVComponents[0] = 2;
    shape.forEachVertex(triangles,
                        [&](std::size_t i, const float* p, const float* n, const float* uv) {
                            mesh->mVertices[i] = {p[0], p[1], p[2]};
                            mesh->mNormals[i] = {n[0], n[1], n[2]};
                            mesh->mTextureCoords[0][i] = {uv[0], uv[1], 0};
                        });
    mesh->mNumFaces = static_cast<unsigned>(shape.trianglesEach);
    mesh->mFaces = new aiFace[shape.trianglesEach];
    for (unsigned i = 0; i < mesh->mNumFaces; ++i) {
        mesh->mFaces[i].mNumIndices = 3;
        mesh->mFaces[i].mIndices = new unsigned[3]{3 * i, 3 * i + 1, 3 * i + 2};
    }
    return mesh;
}

// Its matrices have the vector on the right.
aiMatrix4x4 columnMatrix(const std::array<float, 16>& m) {
    return {m[0], m[4], m[8],  m[12], m[1], m[5], m[9],  m[13],
            m[2], m[6], m[10], m[14], m[3], m[7], m[11], m[15]};
}

void addMaterials(aiScene& scene, std::size_t count) {
    scene.mNumMaterials = static_cast<unsigned>(count);
    scene.mMaterials = new aiMaterial*[count];
    for (std::size_t i = 0; i < count; ++i) {
        const aiString name("material" + std::to_string(i));
        scene.mMaterials[i] = new aiMaterial;
        scene.mMaterials[i]->AddProperty(&name, AI_MATKEY_NAME);
    }
}

}  // namespace

void bench::fillScene(aiScene& scene, const Shape& shape) {
    addMaterials(scene, shape.materials);
    const auto meshes = static_cast<unsigned>(shape.meshes);
    scene.mMeshes = new aiMesh*[meshes];
    scene.mRootNode = new aiNode("root");
    auto** children = new aiNode*[meshes];
    const Triangles triangles(shape.batch);
    for (unsigned i = 0; i < meshes; ++i) {
        scene.mMeshes[i] = newMesh(shape, triangles, i);
        children[i] = new aiNode("node" + std::to_string(i));
        children[i]->mParent = scene.mRootNode;
        children[i]->mTransformation = columnMatrix(shape.transform);
        children[i]->mNumMeshes = 1;
        children[i]->mMeshes = new unsigned[1]{i};
    }
    scene.mNumMeshes = meshes;
    scene.mRootNode->mChildren = children;
    scene.mRootNode->mNumChildren = meshes;
}
