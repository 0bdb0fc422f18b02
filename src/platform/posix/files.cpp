#include "platform/files.h"

namespace platform {

File openBinaryForWriting(const WideString& path) {
    return File(std::fopen(wideToUtf8(path).c_str(), "wb"));
}

File openTextForWriting(const WideString& path) {
    return openBinaryForWriting(path);
}

bool fileCanBeOpened(const WideString& path) {
    // A folder opens here too, but has nothing to read.
    const File file(std::fopen(wideToUtf8(path).c_str(), "rb"));
    return file && (std::fgetc(file.get()) != EOF || std::ferror(file.get()) == 0);
}

std::filesystem::path nativePath(const WideString& path) {
    return {pathInUtf8(path)};
}

std::string pathInUtf8(const WideString& path) {
    return wideToUtf8(path);
}

}  // namespace platform
