// An installation of the renderer, as a test lays it out in the records of the system.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "tests/temporary_folder.h"

#if defined(_WIN32)
#include <windows.h>

#include "tests/platform/registry_permission.h"
#endif

class Installation {
  public:
    // Registered, with a version unless it is empty, and with the three programs.
    explicit Installation(const std::string& version = "2.5.0", bool registered = true) {
#if defined(_WIN32)
        needRegistry();
#endif
        setVersion(version);
        std::filesystem::create_directories(engineFolder());
        for (const auto& program : {folder_ / "q7_launcher.exe", folder_ / "q7_view.exe",
                                    engineFolder() / "q7_engine.exe"}) {
            std::ofstream(program) << "x";
        }
        if (registered) {
            registerIcon(folder() + separator() + "q7_launcher.exe");
        } else {
            unregister();
        }
    }
    ~Installation() {
        unregister();
#if !defined(_WIN32)
        if (dataHome_) {
            setenv("XDG_DATA_HOME", dataHome_->c_str(), 1);
        } else {
            unsetenv("XDG_DATA_HOME");
        }
#endif
    }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    std::string folder() const {
        return folder_.path().string();
    }
    std::filesystem::path path(const char* name) const {
        return folder_ / name;
    }
    std::filesystem::path engineFolder() const {
        return folder_ / "q7_engine" / "Binaries" / "Win64";
    }
    static std::string separator() {
        return std::string(1, static_cast<char>(std::filesystem::path::preferred_separator));
    }

    void setVersion(const std::string& version) {
        std::ofstream config(folder_ / "config.ini");
        if (!version.empty()) config << "[Version]\nInstallerVersion=" << version << "\n";
    }

#if defined(_WIN32)
    static constexpr char key[] =
        "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Q7 Render";
    void registerIcon(const std::string& icon) {
        HKEY opened = nullptr;
        RegCreateKeyExA(HKEY_CURRENT_USER, key, 0, nullptr, 0, KEY_WRITE, nullptr, &opened,
                        nullptr);
        RegSetValueExA(opened, "DisplayIcon", 0, REG_SZ,
                       reinterpret_cast<const BYTE*>(icon.c_str()),
                       static_cast<DWORD>(icon.size() + 1));
        RegCloseKey(opened);
    }
    void unregister() {
        RegDeleteKeyA(HKEY_CURRENT_USER, key);
    }
#else
    void registerIcon(const std::string& icon) {
        std::filesystem::create_directories(records_ / "q7_render");
        std::ofstream(records_ / "q7_render" / "install.ini")
            << "[Q7 Render]\nDisplayIcon=" << icon << "\n";
        setenv("XDG_DATA_HOME", records_.path().c_str(), 1);
    }
    void unregister() {
        std::filesystem::remove_all(records_ / "q7_render");
        setenv("XDG_DATA_HOME", records_.path().c_str(), 1);
    }
#endif

  private:
    static std::optional<std::string> currentDataHome() {
        const char* const value = std::getenv("XDG_DATA_HOME");
        return value ? std::optional<std::string>(value) : std::nullopt;
    }

    TemporaryFolder folder_;
    TemporaryFolder records_;
    std::optional<std::string> dataHome_ = currentDataHome();
};
