#include "fuzz/stream_checks.h"

#include <sstream>

#include "fuzz/target.h"
#include "inspect/compare.h"
#include "inspect/json_report.h"
#include "inspect/obj_export.h"
#include "inspect/scene.h"
#include "inspect/summary.h"
#include "inspect/validate.h"
#include "tests/tools/common/stream_builder.h"

namespace q7fuzz {

using q7tools::StreamModel;

namespace {

// A file that is placed often is written often: that is not tried here.
constexpr std::uint64_t mostPlacedVertices = 100'000;

std::uint64_t placedVertices(const StreamModel& model) {
    const q7inspect::MeshLookup lookup(model);
    std::uint64_t sum = 0;
    for (const q7tools::StreamInstance& instance : model.instances) {
        if (const auto place = lookup.find(instance.mesh)) {
            sum += model.meshes[*place].vertexCount();
        }
    }
    return sum;
}

void report(const StreamModel& model) {
    for (const bool all : {false, true}) {
        std::ostringstream summary;
        q7inspect::printSummary(summary, "input.q7mesh", model, all);
        requireLines(summary.str());
    }
    std::ostringstream json;
    q7inspect::printJson(json, "input.q7mesh", model);
    requireJson(json.str());
}

void validate(const StreamModel& model) {
    for (const q7inspect::Fault& fault : q7inspect::findFaults(model))
        requireReason(fault.offset, model.size, fault.reason);
}

void compare(const StreamModel& model) {
    static const StreamModel other = q7tools::readStream(streamtest::Scene{}.build().bytes());
    const auto differences = [](const StreamModel& a, const StreamModel& b, bool link) {
        const auto found =
            q7inspect::compareStreams(a, b, {.link = link, .order = true, .shown = 100});
        for (const std::string& line : found.differences)
            requireLines(line);
        return found.differenceCount;
    };
    require(differences(model, model, false) == 0, "a model differs from itself");
    const bool isSame = differences(model, other, false) == 0;
    require(isSame == (differences(other, model, false) == 0), "a comparison depends on the side");
    differences(model, other, true);
    differences(other, model, true);
}

void exportObj(const StreamModel& model) {
    if (placedVertices(model) > mostPlacedVertices) return;
    std::ostringstream obj;
    const q7inspect::ObjCounts counts = q7inspect::writeObj(obj, model);
    requireLines(obj.str());
    require(counts.objects + counts.missingMeshes == model.instances.size(),
            "an instance is neither written nor missing");
}

}  // namespace

void inspectStream(const StreamModel& model) {
    report(model);
    validate(model);
    compare(model);
    exportObj(model);
}

}  // namespace q7fuzz
