// The messages of scenes, lights and camera animations. docs/formats/link_protocol.md tells their
// layout. None goes when no message may go.
#pragma once

#include "model/session_core.h"
#include "support/text.h"

// These leave the stores as they are.
void sendScenes(const SessionCore& core);
void sendLights(const SessionCore& core);

// Sends the scene records of the older interface and drops them, also when the send fails. With an
// empty text nothing is sent and they stay.
void sendLegacyScenes(SessionCore& core, WideView text);

void sendLightsDataXml(WideView first, WideView second);

// Sends the camera animations and drops them, also when the send fails.
void sendCameraAnimations(SessionCore& core);
