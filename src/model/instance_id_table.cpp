#include "model/instance_id_table.h"

void InstanceIdTable::deleteInstance(std::uint64_t id) {
    core->pendingDeletions.insert(ids.at(id));
}
