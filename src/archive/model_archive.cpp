#include "archive/model_archive.h"

#include <cstdio>
#include <string>

#include "archive/archive_folder.h"
#include "env/guid_text.h"
#include "platform/files.h"
#include "support/json.h"

namespace {

std::string infoJson(const Model& model) {
    Json info;
    info["productID"] = newGuidText();
    for (const auto& instance : model.instances) {
        info["instanceIdArray"].push_back(
            wideToUtf8(instance->path + u"/" + instance->material->getName()));
    }
    return info.dump();
}

}  // namespace

void writeInfoJson(const SessionCore& session, const WideString& path) {
    const platform::File file = platform::openTextForWriting(path);
    if (!file) return;
    const std::string text = infoJson(*session.model);
    std::fwrite(text.data(), 1, text.size(), file.get());
}

bool saveToQ7a(const SessionCore& session, const StreamSettings& settings,
               const WideString& archive, bool processed) {
    const ArchiveFolder folder(archive);
    if (!folder.addTextures(session)) return false;
    const auto save = processed ? Q7Sync::saveProcessed : Q7Sync::saveRaw;
    save(*session.model, settings, folder.file(u"1.q7mesh"));
    folder.addMaterialList(session);
    writeInfoJson(session, folder.file(u"info.json"));
    return folder.pack();
}
