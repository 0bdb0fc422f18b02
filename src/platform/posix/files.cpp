#include "platform/files.h"

namespace platform {

File openBinaryForWriting(const WideString& path) {
    return File(std::fopen(wideToUtf8(path).c_str(), "wb"));
}

File openTextForWriting(const WideString& path) {
    return openBinaryForWriting(path);
}

std::filesystem::path nativePath(const WideString& path) {
    return {wideToUtf8(path)};
}

}  // namespace platform
