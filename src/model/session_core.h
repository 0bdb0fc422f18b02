// The state of a session, but for the node under construction: what all operations work on.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "animation/animation_entity.h"
#include "entities/entity.h"
#include "model/model.h"
#include "support/hash_map.h"
#include "support/number_set.h"
#include "support/text.h"

// A scene record of the older interface; the library carries it and never looks inside.
struct LegacyScene {
    WideString name;
    WideString label;
    std::array<std::byte, 36> sceneData;
    std::uint32_t value;
};

// The numbers by which hosts tell which record they mean. Lights, scenes and camera animations are
// found by name; there is one camera and one metadata record.
enum class EntityType : std::uint32_t {
    Camera = 0,
    Light = 1,
    Scene = 2,
    MetaData = 3,
    CameraAnimation = 4,
};

using EntityStore = HashMap<WideString, std::unique_ptr<Q7Entity>>;

// What an instance was before a send gave it a baked mesh.
struct FixedInstance {
    Instance* instance;
    Mesh* mesh;
    Transform transform;
};

// Instances marked for removal at the next live send.
using PendingDeletions = NumberSet;

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
    EntityStore scenes;
    EntityStore lights;
    HashMap<WideString, std::unique_ptr<Q7AnimationEntity>> cameraAnims;
    // From id to name: the groups of the lights message.
    HashMap<WideString, WideString> pathElementNames;
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
    // An empty camera animation that knows its name, in place of any that has it.
    void addCameraAnimation(const WideString& name);
    // Null when there is no such record, or the type is unknown. The name matters for types that
    // have several.
    Q7Entity* findEntity(EntityType type, WideView name);
    // Null when the type has no key frames, or no record has the name.
    Q7AnimationEntity* findAnimation(EntityType type, WideView name);
    // Takes the marked instances out of the model.
    void applyPendingDeletes();
};

// Puts an empty record under the name; one that has it gives way with all its properties.
void addEntity(EntityStore& store, WideView name);

// Whether the type has several records, told apart by their names.
bool isNamed(EntityType type);
