// The archive of a whole model: its stream, its materials with their textures, and what tells it from
// others.
#pragma once

#include "model/session_core.h"
#include "support/text.h"
#include "transport/q7_sync.h"

// Writes the JSON text that names the instances and gives the archive a new id. Nothing happens when
// the file cannot be opened.
void writeInfoJson(const SessionCore& session, const WideString& path);

// Makes the archive, of the model as it stands or of a merged copy; the session stays as it is. When a
// folder is missing above it, that is made. False, with a line on standard error, when it could not be
// made; a stream, list or information that cannot be written is just not in it.
bool saveToQ7a(const SessionCore& session, const StreamSettings& settings,
               const WideString& archive, bool processed);
