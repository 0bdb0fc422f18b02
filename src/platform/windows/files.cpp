#include "platform/files.h"

namespace platform {

std::filesystem::path nativePath(const WideString& path) {
    return {std::wstring(path.begin(), path.end())};
}

bool fileCanBeOpened(const WideString& path) {
    return File(_wfopen(nativePath(path).c_str(), L"rb")) != nullptr;
}

File openBinaryForWriting(const WideString& path) {
    std::FILE* file = nullptr;
    _wfopen_s(&file, nativePath(path).c_str(), L"wb");
    return File(file);
}

File openTextForWriting(const WideString& path) {
    return File(_wfopen(nativePath(path).c_str(), L"w"));
}

}  // namespace platform
