// The paths of a stream's instances, which are not part of it: an archive has them in info.json, and
// q7-standin keeps them beside a model that came with them.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "common/stream_reader.h"
#include "inspect/archive.h"

namespace q7inspect {

struct InstancePaths {
    std::string source;  // the name of what has them; empty when nothing has
    std::string fault;   // why they are left out
    std::vector<std::string>
        paths;  // one for each instance, in UTF-8; empty without any, or with a fault
};

// Of an archive's stream. An archive whose instances were merged tells those before that, so none then.
InstancePaths pathsInArchive(const Archive& archive);

// Of a stream file that is called as q7-standin calls it: NNNN-model.q7mesh has its paths in
// NNNN-instance-paths.json. Only a file in the same folder is read, no link and nothing else.
InstancePaths pathsBeside(const std::string& file, const q7tools::StreamModel& model);

// The same of the text of such a file.
InstancePaths readInstancePaths(std::span<const std::byte> bytes,
                                const q7tools::StreamModel& model);

}  // namespace q7inspect
