#include "env/client_id.h"

#include <cstdio>
#include <filesystem>
#include <system_error>

#include "env/directories.h"
#include "env/file_utilities.h"
#include "platform/files.h"
#include "platform/folders.h"
#include "platform/path_separator.h"

namespace {

std::string firstLine(const WideString& path) {
    const platform::File file = platform::openTextForReading(path);
    std::string line;
    // What could be read is the line.
    for (int c = EOF; file && (c = std::fgetc(file.get())) != EOF && c != '\n';)
        line += static_cast<char>(c);
    return line;
}

// A file that could not be written to its end goes again: what is in it would be the id from then on.
void store(const std::string& id, const WideString& path) {
    platform::File file = platform::openTextForWriting(path);
    if (!file) return;
    const bool isTaken = std::fputs(id.c_str(), file.get()) >= 0;
    const bool isWritten = std::fclose(file.release()) == 0;
    std::error_code ignored;
    if (!isTaken || !isWritten) std::filesystem::remove(platform::nativePath(path), ignored);
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
