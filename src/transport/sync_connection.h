// The connection that a host opens before it sends a model.
#pragma once

#include <cstdint>

#include "link/render_socket.h"
#include "model/session_core.h"

// Raw sends: the renderer's version decides what is announced. Throws what IsVersionAtLeast throws.
SyncResult rawSyncConnect(SessionCore& core);
// Processed sends: for a part of the main model that one's path is told as well.
SyncResult processedSyncConnect(SessionCore& core);
SyncResult groupSyncConnect(SessionCore& core);

// Closes the session's connection. Nothing happens without one, even with a socket open.
void disconnect(SessionCore& core);

// Asks the renderer, on a connection of its own, how it wants the model of that name. 0 while the
// connection is in use; 0 for no answer and for a negative one.
std::int32_t askSendModelType(SessionCore& core, WideView name);
