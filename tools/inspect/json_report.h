// The report for programs.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string_view>

#include "common/stream_reader.h"
#include "inspect/instance_paths.h"
#include "support/text.h"

namespace q7inspect {

// One JSON object with everything but the meshes' arrays, of which it tells the counts:
// docs/formats/inspect_json.md. Each material, instance, mesh and note takes one line.
void printJson(std::ostream& out, std::string_view fileName, const q7tools::StreamModel& model,
               const InstancePaths& paths = {});

// What a material's text says: its "kind", "xml", and of a typed one "id", "type" and "properties", or
// a "fault".
nlohmann::ordered_json materialTextJson(WideView xml);

}  // namespace q7inspect
