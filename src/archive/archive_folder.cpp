#include "archive/archive_folder.h"

#include "archive/zip_folder.h"
#include "env/file_utilities.h"
#include "materials/material_list.h"
#include "platform/files.h"
#include "platform/path_separator.h"
#include "support/console.h"
#include "support/hash_map.h"

namespace {

WideString pathIn(const WideString& folder, WideView name) {
    return folder + platform::pathSeparator + WideString(name);
}

}  // namespace

std::vector<WideString> collectTextureFiles(const Q7Material& material) {
    std::vector<WideString> files;
    HashSet<WideString> seen;
    for (const auto& [key, property] : material.properties) {
        if (property.type != PropertyType::Text) continue;
        const WideString path = property.text();
        if (platform::fileCanBeOpened(path) && seen.insert(path)) files.push_back(path);
    }
    return files;
}

bool copyMaterialTextures(const SessionCore& session, const WideString& folder) {
    if (session.materialVersion != 1) return true;
    for (const auto& [name, material] : session.model->materials) {
        const auto* const typed = dynamic_cast<const Q7Material*>(material.get());
        // A text material is finished: its textures stay where they are.
        if (!typed) continue;
        for (const WideString& file : collectTextureFiles(*typed)) {
            if (!copyFileToFolder(file, folder)) return false;
        }
    }
    return true;
}

ArchiveFolder::ArchiveFolder(const WideString& archive)
    : archive_(archive), folder_(pathIn(parentPath(archive), u"__q7_export_temp")) {}

WideString ArchiveFolder::file(WideView name) const {
    return pathIn(folder_, name);
}

bool ArchiveFolder::addTextures(const SessionCore& session) const {
    const WideString textures = file(u"textures");
    if (!createDirectories(textures)) return archiveFailed("create texture dir fail!");
    return copyMaterialTextures(session, textures) || archiveFailed("copy texture fail!");
}

bool ArchiveFolder::pack() const {
    if (!zipFolder(folder_, archive_)) return archiveFailed("compress file fail!");
    removeDirectoryTree(folder_);
    return true;
}

void ArchiveFolder::addMaterialList(const SessionCore& session) const {
    saveMaterialList(*session.model, session.materialVersion, file(u"q7material.xml"));
}

bool archiveFailed(std::string_view reason) {
    printErrorLine(reason);
    return false;
}
