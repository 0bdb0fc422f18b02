// A scene of Assimp's, put together by a test. Assimp's record deletes what is added.
#pragma once

#include <assimp/scene.h>

#include <algorithm>
#include <string>
#include <vector>

#include "send/node_table.h"
#include "send/scene.h"
#include "send/transform.h"

namespace q7send {

template <class Element>
Element** arrayOf(const std::vector<Element*>& elements) {
    auto** array = new Element*[elements.size()];
    std::copy(elements.begin(), elements.end(), array);
    return array;
}

// The nodes "root", "arm" and "hand", each below the one before. The arm stands at (1, 2, 3), the
// hand at (10, 0, 0) from there.
class SourceScene {
  public:
    SourceScene() {
        source.mRootNode = node("root", {});
        aiNode* arm = node("arm", {1, 2, 3});
        aiNode* hand = node("hand", {10, 0, 0});
        source.mRootNode->addChildren(1, &arm);
        arm->addChildren(1, &hand);
    }

    // As the scene's reader does it before it comes to cameras and lights.
    void placeNodes() {
        std::optional<std::size_t> parent;
        for (const aiNode* at = source.mRootNode; at != nullptr;
             at = at->mNumChildren > 0 ? at->mChildren[0] : nullptr) {
            SceneNode& placed = scene.nodes.emplace_back();
            const std::string name = at->mName.C_Str();
            placed.name = utf8ToWide(name);
            placed.parent = parent;
            placed.world = transformOf(at->mTransformation);
            if (parent) placed.world = worldTransform(placed.world, scene.nodes[*parent].world);
            nodes.add(*at);
            parent = scene.nodes.size() - 1;
        }
    }

    void setCameras(const std::vector<aiCamera*>& cameras) {
        source.mNumCameras = static_cast<unsigned>(cameras.size());
        source.mCameras = arrayOf(cameras);
    }
    void setLights(const std::vector<aiLight*>& lights) {
        source.mNumLights = static_cast<unsigned>(lights.size());
        source.mLights = arrayOf(lights);
    }
    void setAnimations(const std::vector<aiAnimation*>& animations) {
        source.mNumAnimations = static_cast<unsigned>(animations.size());
        source.mAnimations = arrayOf(animations);
    }

    aiScene source;
    NodeTable nodes;
    Scene scene;

  private:
    static aiNode* node(const char* name, const aiVector3D& place) {
        auto* made = new aiNode(name);
        aiMatrix4x4::Translation(place, made->mTransformation);
        return made;
    }
};

inline aiCamera* sourceCamera(const char* name) {
    auto* camera = new aiCamera;
    camera->mName = name;
    camera->mLookAt = {0, 0, -2};
    return camera;
}

}  // namespace q7send
