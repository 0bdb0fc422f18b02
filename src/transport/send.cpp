#include "transport/send.h"

#include "geometry/q7_model_utils.h"
#include "geometry/send_markers.h"
#include "link/render_install.h"
#include "transport/model_link.h"

namespace {

void addGenerated(SessionCore& core, Model& model) {
    const Mesh& generator = *addGeneratorMesh(model);
    for (const auto& [name, material] : model.materials) {
        addMaterialInstance(core, model, *material, generator);
    }
}

// Instances belong to the session even where the model is a copy, so they are put right again also
// when the send throws.
void sendWithAdditions(SessionCore& core, Model& model, const SendSettings& settings,
                       LinkForm form) {
    try {
        fixDegenerateTransforms(core, model);
        if (settings.genMatInstances) addGenerated(core, model);
        sendThroughBlock(model, settings.stream, form);
    } catch (...) {
        restoreFixedInstances(core);
        removeGeneratedInstances(core, model);
        throw;
    }
    removeGeneratedInstances(core, model);
    restoreFixedInstances(core);
}

void sendSessionModel(SessionCore& core, const SendSettings& settings, LinkForm form) {
    core.applyPendingDeletes();
    if (core.model->instances.empty()) return;
    sendWithAdditions(core, *core.model, settings, form);
    core.model->pruneUnusedMeshes();
}

}  // namespace

void sendRaw(SessionCore& core, const SendSettings& settings) {
    // Both passes are wanted: the second one is what an older renderer gets alone.
    if (IsVersionAtLeast(ReadInstalledVersion(), versionWithPaths)) {
        sendSessionModel(core, settings, sendModelWithPaths);
    }
    sendSessionModel(core, settings, sendModelRaw);
}

void sendProcessed(SessionCore& core, const SendSettings& settings) {
    core.applyPendingDeletes();
    if (core.model->instances.empty()) return;
    Model merged = *core.model;
    Q7ModelUtils::MergeSingleInstancedMesh(merged);
    sendWithAdditions(core, merged, settings, sendModelRaw);
    core.model->pruneUnusedMeshes();
}
