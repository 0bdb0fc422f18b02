// A folder of its own as the user's local application data, for the time of a test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <windows.h>

#include "tests/platform/registry_permission.h"
#endif

class LocalAppData {
  public:
    LocalAppData() {
#if defined(_WIN32)
        needRegistry();
#endif
        before_ = current();
        set(folder_.path());
    }
    ~LocalAppData() {
#if !defined(_WIN32)
        if (home_) setenv("HOME", home_->c_str(), 1);
#endif
        if (before_) {
            set(*before_);
        } else {
            unset();
        }
    }
    LocalAppData(const LocalAppData&) = delete;
    LocalAppData& operator=(const LocalAppData&) = delete;

    const std::filesystem::path& path() const {
        return folder_.path();
    }
    // The system has none for the rest of the test.
    void hide() {
#if defined(_WIN32)
        set(folder_ / "missing");
#else
        unset();
        const char* const home = std::getenv("HOME");
        home_ = home ? home : "";
        setenv("HOME", "", 1);
#endif
    }
    std::filesystem::path operator/(const std::filesystem::path& child) const {
        return folder_ / child;
    }

#if defined(_WIN32)
    static void set(const std::filesystem::path& folder) {
        const std::wstring text = folder.native();
        RegSetKeyValueW(HKEY_CURRENT_USER, key, name, REG_EXPAND_SZ, text.c_str(),
                        static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    }

  private:
    static constexpr wchar_t key[] =
        L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
    static constexpr wchar_t name[] = L"Local AppData";

    static std::optional<std::filesystem::path> current() {
        std::wstring text(1024, L'\0');
        DWORD size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
        if (RegGetValueW(HKEY_CURRENT_USER, key, name, RRF_RT_ANY | RRF_NOEXPAND, nullptr,
                         text.data(), &size) != ERROR_SUCCESS) {
            return std::nullopt;
        }
        return text.substr(0, text.find(L'\0'));
    }
    static void unset() {
        RegDeleteKeyValueW(HKEY_CURRENT_USER, key, name);
    }
#else
    static void set(const std::filesystem::path& folder) {
        setenv("XDG_DATA_HOME", folder.c_str(), 1);
    }

  private:
    static std::optional<std::filesystem::path> current() {
        const char* const value = std::getenv("XDG_DATA_HOME");
        return value ? std::optional<std::filesystem::path>(value) : std::nullopt;
    }
    static void unset() {
        unsetenv("XDG_DATA_HOME");
    }
#endif

    TemporaryFolder folder_;
    std::optional<std::filesystem::path> before_;
#if !defined(_WIN32)
    std::optional<std::string> home_;
#endif
};
