// The version resource of the DLL, read as Windows' own windows and installers do.

#include <windows.h>

#include <cstdio>
#include <string>
#include <vector>

#include "q7plugin.h"

namespace {

class VersionResource {
  public:
    explicit VersionResource(const wchar_t* file) : bytes_(GetFileVersionInfoSizeW(file, nullptr)) {
        const auto size = static_cast<DWORD>(bytes_.size());
        if (size == 0 || !GetFileVersionInfoW(file, 0, size, bytes_.data())) bytes_.clear();
    }

    // Four numbers of 16 bits, as a text.
    std::string number(bool ofProduct) const {
        void* value = nullptr;
        UINT size = 0;
        if (bytes_.empty() || !VerQueryValueW(bytes_.data(), L"\\", &value, &size)) return {};
        const auto& fixed = *static_cast<const VS_FIXEDFILEINFO*>(value);
        const DWORD high = ofProduct ? fixed.dwProductVersionMS : fixed.dwFileVersionMS;
        const DWORD low = ofProduct ? fixed.dwProductVersionLS : fixed.dwFileVersionLS;
        std::string text;
        for (const DWORD word : {high >> 16, high & 0xFFFF, low >> 16, low & 0xFFFF})
            text += (text.empty() ? "" : ".") + std::to_string(word);
        return text;
    }

    std::wstring text(const std::wstring& name) const {
        void* value = nullptr;
        UINT size = 0;
        const std::wstring key = L"\\StringFileInfo\\040904B0\\" + name;
        if (bytes_.empty() || !VerQueryValueW(bytes_.data(), key.c_str(), &value, &size)) return {};
        return static_cast<const wchar_t*>(value);
    }

  private:
    std::vector<char> bytes_;
};

int failures = 0;

void check(bool holds, const char* what) {
    if (holds) return;
    std::fprintf(stderr, "failed: %s\n", what);
    ++failures;
}

}  // namespace

int main() {
    const std::string version = Q7GetPluginVersion();
    const std::wstring wideVersion(version.begin(), version.end());
    const VersionResource resource(L"Q7Plugin.dll");
    check(resource.number(false) == version, "the file's version");
    check(resource.number(true) == version, "the product's version");
    check(resource.text(L"FileVersion") == wideVersion, "FileVersion");
    check(resource.text(L"ProductVersion") == wideVersion, "ProductVersion");
    check(resource.text(L"OriginalFilename") == L"Q7Plugin.dll", "OriginalFilename");
    check(resource.text(L"InternalName") == L"Q7Plugin", "InternalName");
    check(resource.text(L"ProductName") == L"Q7Plugin", "ProductName");
    check(resource.text(L"CompanyName") == L"Q7Plugin", "CompanyName");
    check(!resource.text(L"FileDescription").empty(), "FileDescription");
    return failures == 0 ? 0 : 1;
}
