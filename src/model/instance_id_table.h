// Ids by which a host may name an instance.
#pragma once

#include <cstdint>

#include "model/session_core.h"
#include "support/hash_map.h"

class InstanceIdTable {
  public:
    explicit InstanceIdTable(SessionCore& sessionCore) : core(&sessionCore) {}

    // Marks the instance of the id for removal. Throws std::out_of_range
    // "invalid unordered_map<K, T> key" for an id that is not in the table.
    void deleteInstance(std::uint64_t id);

    SessionCore* core;
    // No operation fills it: hosts delete by node.
    HashMap<std::uint64_t, InstanceHandle> ids;
};
