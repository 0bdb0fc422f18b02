// Hands what a scene has beside its geometry to the library, as records of free properties.
#pragma once

#include <string_view>

#include "send/live.h"
#include "send/scene.h"
#include "send/scene_sender.h"

namespace q7send {

MessageCounts countMessages(const Scene& scene);

// Fills the session's metadata, camera, scenes, lights and camera animations. The path of the model
// must have been set.
void describeEntities(void* session, const Scene& scene, const SendTotals& totals,
                      std::string_view programVersion);

}  // namespace q7send
