// The small messages that keep the renderer's camera and the model's metadata in step with the host.
// docs/formats/link_protocol.md tells their layout. None goes when no message may go.
#pragma once

#include <cstddef>
#include <optional>

#include "model/session_core.h"
#include "support/text.h"

inline constexpr std::size_t cameraTransformSize = 36;

// The transform's bytes are the host's and the renderer's own matter.
void sendCameraTransformFov(const SessionCore& core, const void* transform, float fov);
void sendCamera(const SessionCore& core);
void sendMetaData(const SessionCore& core);

// What the renderer holds as metadata of the session's model, empty when it gives no answer. None
// when no message may go.
std::optional<WideString> askMetaData(const SessionCore& core);
