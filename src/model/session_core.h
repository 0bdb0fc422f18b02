// The state of a session, but for the node under construction: what all operations work on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "entities/entity.h"
#include "model/model.h"
#include "support/hash_map.h"
#include "support/text.h"

// A scene record of the older interface; the library carries it and never looks inside.
struct LegacyScene {
    WideString name;
    WideString label;
    std::array<std::byte, 36> sceneData;
    std::uint32_t value;
};

// What an instance was before a send gave it a baked mesh.
struct FixedInstance {
    Instance* instance;
    Mesh* mesh;
    Transform transform;
};

// Instances marked for removal at the next live send.
using PendingDeletions = HashSet<InstanceHandle>;

class SessionCore {
  public:
    bool connected = false;
    WideString modelFilePath;
    // The second text of a connection for a part of the main model.
    WideString proxyParent;
    // Set when the path names a part of the main model, whose path the process remembers.
    bool relevantPath = false;
    std::unique_ptr<Model> model = std::make_unique<Model>();
    std::unique_ptr<Q7Entity> metaEntity = std::make_unique<Q7Entity>();
    std::unique_ptr<Q7Entity> cameraEntity = std::make_unique<Q7Entity>();
    std::vector<LegacyScene> legacyScenes;
    // The renderer's last answer to how it wants a model.
    std::int32_t sendModelType = 0;
    PendingDeletions pendingDeletions;
    // Which kind of material an unknown name becomes: 0 text, 1 typed, any other none.
    std::uint32_t materialVersion = 0;
    // Both are empty outside of a send.
    std::vector<Instance*> generatedInstances;
    std::vector<FixedInstance> fixedInstances;

    // sceneData holds 36 bytes.
    void addScene(WideView name, WideView label, const void* sceneData, std::uint32_t value);
    // Takes the marked instances out of the model.
    void applyPendingDeletes();
};
