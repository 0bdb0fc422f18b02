#include "env/client_id.h"

#include <filesystem>
#include <fstream>
#include <system_error>

#include "env/directories.h"
#include "env/file_utilities.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"

namespace {

std::string firstLine(const WideString& path) {
    std::ifstream file(platform::nativePath(path));
    std::string line;
    // Only so does a lack of memory reach the caller, and not an id that is cut short.
    file.exceptions(std::ios::badbit);
    try {
        std::getline(file, line);
    } catch (const std::ios_base::failure&) {
        // What could be read is the line.
    }
    return line;
}

// A file that could not be written to its end goes again: what is in it would be the id from then on.
void store(const std::string& id, const WideString& path) {
    const std::filesystem::path file = platform::nativePath(path);
    std::ofstream stream(file);
    if (!stream) return;
    stream << id;
    stream.close();
    std::error_code ignored;
    if (!stream) std::filesystem::remove(file, ignored);
}

}  // namespace

std::string loadClientId(const WideString& folder, std::string (*newId)()) {
    const WideString path = folder + platform::pathSeparator + u"cid.dat";
    if (platform::fileCanBeOpened(path)) return firstLine(path);
    std::string id = newId();
    if (!platform::isFolder(folder)) createDirectories(folder);
    store(id, path);
    return id;
}

const std::string& clientId() {
    static const std::string id = loadClientId(launcherDataPath());
    return id;
}
