#include "platform/files.h"

#include <cerrno>
#include <new>

namespace platform {
namespace {

// A caller must not take a lack of memory for a missing file.
File open(const WideString& path, const char* mode) {
    File file(std::fopen(wideToUtf8(path).c_str(), mode));
    if (!file && errno == ENOMEM) throw std::bad_alloc();
    return file;
}

}  // namespace

File openBinaryForReading(const WideString& path) {
    return open(path, "rbe");
}

File openTextForReading(const WideString& path) {
    return openBinaryForReading(path);
}

File openBinaryForWriting(const WideString& path) {
    return open(path, "wbe");
}

File openSharedForWriting(const WideString& path) {
    return openBinaryForWriting(path);
}

File openTextForWriting(const WideString& path) {
    return openBinaryForWriting(path);
}

bool fileCanBeOpened(const WideString& path) {
    // A folder opens here too, but has nothing to read.
    const File file = openBinaryForReading(path);
    return file && (std::fgetc(file.get()) != EOF || std::ferror(file.get()) == 0);
}

std::filesystem::path nativePath(const WideString& path) {
    return {pathInUtf8(path)};
}

std::string pathInUtf8(const WideString& path) {
    return wideToUtf8(path);
}

}  // namespace platform
