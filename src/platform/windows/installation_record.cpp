#include "platform/installation_record.h"

#include <windows.h>

#include <cstring>
#include <memory>
#include <string_view>
#include <type_traits>

#include "platform/ansi_text.h"

namespace platform {
namespace {

struct KeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

Key openUninstallKey(HKEY root) {
    HKEY key = nullptr;
    const LSTATUS result =
        RegOpenKeyExW(root, L"Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Q7 Render",
                      0, KEY_READ, &key);
    return Key(result == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

std::optional<WideString> installedDisplayIcon(InstallationRoot root) {
    const Key key = openUninstallKey(root == InstallationRoot::CurrentUser ? HKEY_CURRENT_USER
                                                                           : HKEY_LOCAL_MACHINE);
    if (key == nullptr) return std::nullopt;
    std::array<char, 260> value = {};
    DWORD type = REG_SZ;
    DWORD size = static_cast<DWORD>(value.size());
    const LSTATUS result = RegQueryValueExA(key.get(), "DisplayIcon", nullptr, &type,
                                            reinterpret_cast<BYTE*>(value.data()), &size);
    if (result != ERROR_SUCCESS) return std::nullopt;
    return ansiToWide(std::string_view(value.data(), strnlen(value.data(), value.size())));
}

}  // namespace platform
