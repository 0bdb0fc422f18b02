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

// Does the second thing after the first, also when the first throws.
template <class Body, class After>
void runThen(const Body& body, const After& after) {
    try {
        body();
    } catch (...) {
        after();
        throw;
    }
    after();
}

// Instances belong to the session even where the model is a copy, so they are put right again also
// when the send throws; first, since taking out the generated ones needs memory.
void sendWithAdditions(SessionCore& core, Model& model, const SendSettings& settings,
                       LinkForm form) {
    runThen(
        [&] {
            fixDegenerateTransforms(core, model);
            if (settings.genMatInstances) addGenerated(core, model);
            sendThroughBlock(model, settings.stream, form);
        },
        [&] {
            restoreFixedInstances(core);
            removeGeneratedInstances(core, model);
        });
}

void sendSessionModel(SessionCore& core, const SendSettings& settings, LinkForm form) {
    core.applyPendingDeletes();
    if (core.model->instances.empty()) return;
    runThen([&] { sendWithAdditions(core, *core.model, settings, form); },
            [&] { core.model->pruneUnusedMeshes(); });
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
    runThen([&] { sendWithAdditions(core, merged, settings, sendModelRaw); },
            [&] { core.model->pruneUnusedMeshes(); });
}
