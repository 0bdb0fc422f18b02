// A model on its way to the renderer: counts and names over the socket, the bulk through a block of
// shared memory, one array after the other. docs/formats/link_protocol.md tells the exchange.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

#include "model/model.h"
#include "support/text.h"
#include "transport/q7_sync.h"

inline constexpr WideView modelBlockName = u"84FB12B2EBCB82AB1DEDE669D1309DB6";

// An object with the path, "/" and the material of each instance, in instance order.
WideString instancePathsJson(const Model& model);

// The bytes of the largest thing that goes through the block at once, cut to 32 bits.
std::uint32_t modelBlockSize(const Model& model);

// The bytes that the block has now: another process may cut it between two steps.
using BlockView = std::function<std::span<std::byte>()>;

// The two exchanges, on the process's connection. Whatever the block does not hold is not written; a
// broken connection does not end them.
using LinkForm = void (*)(const Model& model, const StreamSettings& settings,
                          const BlockView& block);
void sendModelRaw(const Model& model, const StreamSettings& settings, const BlockView& block);
void sendModelWithPaths(const Model& model, const StreamSettings& settings, const BlockView& block);

// Makes the block, runs the exchange and closes the block, also when the exchange throws. Nothing
// happens for a model without instances.
void sendThroughBlock(const Model& model, const StreamSettings& settings, LinkForm form);
