#include "archive/external_archive.h"

#include "archive/archive_folder.h"

namespace {

WideString extensionOf(const WideString& name) {
    return name.substr(name.rfind(u'.') + 1);
}

}  // namespace

bool saveExtToQ7a(const SessionCore& session, const WideString& externalFile,
                  const WideString& archive,
                  bool (*copy)(const WideString& source, const WideString& target)) {
    const ArchiveFolder folder(archive);
    if (!folder.addTextures(session)) return false;
    const WideString entry = u"1." + extensionOf(fileName(externalFile));
    if (!copy(externalFile, folder.file(entry))) return archiveFailed("copy file fail!");
    folder.addMaterialList(session);
    return folder.pack();
}
