// Builds meshes and instances from nodes: a begin call, triangles that name a material each, an end
// call. Also places, duplicates and forgets whole nodes by name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "model/max_adapter.h"
#include "model/session_core.h"
#include "support/hash_map.h"
#include "support/text.h"

// A host's triangles as they come in. Counts are in vertices / 3 and in indices.
struct TriangleBatch {
    std::int32_t triangleCount = 0;
    const float* positions = nullptr;  // 9 floats a triangle
    const float* normals = nullptr;    // 9 floats a triangle, or null
    const float* uvs = nullptr;        // 6 floats a triangle, or null for zeroes
    const std::int32_t* indices = nullptr;
    std::uint32_t indexCount = 0;
    AxisOrder order = AxisOrder::XYZ;
};

class NodeBuilder {
  public:
    explicit NodeBuilder(SessionCore& sessionCore) : core(&sessionCore) {}

    // Opens the node, or renames the one that is open. Nothing happens when the name is empty.
    void begin(WideView nodeName, const float* nodeTransform, WideView path);
    // As above, and takes the hint even when the name is empty.
    void begin(WideView nodeName, const float* nodeTransform, std::uint32_t hint, WideView path);
    // Throws std::length_error "vector too long" for a negative count.
    void addTriangles(WideView materialName, const TriangleBatch& batch);
    void end();

    // Nothing but an empty entry for the new node comes of an unknown source.
    void duplicate(WideView sourceNode, WideView newNode, const float* newTransform, WideView path);
    void remove(WideView node);

    SessionCore* core;
    // Empty when no node is open.
    WideString currentNode;
    WideString instancePath;
    // The host's own matrix, not a copy: it stays the host's until the node ends.
    const float* transform = nullptr;
    // By material name. They join the model when the node ends.
    HashMap<WideString, std::shared_ptr<Mesh>> subMeshes;
    // Every node that was begun or made by duplication, and not removed. The handle 0 stands for an instance that could not
    // be made.
    HashMap<WideString, std::vector<InstanceHandle>> nodeInstances;
    // Triangles to expect in each sub-mesh of the open node.
    std::uint32_t triangleHint = 0;

  private:
    std::shared_ptr<Mesh> makeSubMesh(WideView materialName) const;
    InstanceHandle addInstance(WideView meshName, WideView materialName,
                               const float* instanceTransform, WideView path);
};
