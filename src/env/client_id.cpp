#include "env/client_id.h"

#include <fstream>

#include "env/directories.h"
#include "env/file_utilities.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"

namespace {

std::string firstLine(const WideString& path) {
    std::ifstream file(platform::nativePath(path));
    std::string line;
    std::getline(file, line);
    return line;
}

}  // namespace

std::string loadClientId(const WideString& folder, std::string (*newId)()) {
    const WideString path = folder + platform::pathSeparator + u"cid.dat";
    if (platform::fileCanBeOpened(path)) return firstLine(path);
    std::string id = newId();
    if (!platform::isFolder(folder)) createDirectories(folder);
    std::ofstream(platform::nativePath(path)) << id;
    return id;
}

const std::string& clientId() {
    static const std::string id = loadClientId(launcherDataPath());
    return id;
}
