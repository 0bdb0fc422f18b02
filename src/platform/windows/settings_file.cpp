#include "platform/settings_file.h"

#include <windows.h>

#include <array>
#include <string>

namespace platform {
namespace {

std::wstring native(const WideString& text) {
    return {text.begin(), text.end()};
}

}  // namespace

WideString readSetting(const WideString& path, const WideString& section, const WideString& key) {
    std::array<wchar_t, 260> value = {};
    const DWORD length =
        GetPrivateProfileStringW(native(section).c_str(), native(key).c_str(), L"", value.data(),
                                 static_cast<DWORD>(value.size()), native(path).c_str());
    return {value.begin(), value.begin() + length};
}

}  // namespace platform
