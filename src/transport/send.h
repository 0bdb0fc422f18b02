// A live send: what is added to the model, sent, and taken out again.
#pragma once

#include "model/session_core.h"
#include "transport/q7_sync.h"

// What both sends take beside the session.
struct SendSettings {
    StreamSettings stream;
    // Each material gets an instance of its own.
    bool genMatInstances = false;
};

// Sends the session's model: to a renderer that takes instance paths twice in a row, with them and
// without, to an older one without. Nothing is sent of a model without instances. Throws what
// IsVersionAtLeast throws.
void sendRaw(SessionCore& core, const SendSettings& settings);

// Sends a copy of the model in which single-instanced meshes are merged, without instance paths.
void sendProcessed(SessionCore& core, const SendSettings& settings);
