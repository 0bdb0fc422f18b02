// The record of an installation for all users of the machine, for the time of a test.
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

#if defined(_WIN32)

class MachineRecord {
  public:
    explicit MachineRecord(const std::string& icon) {
        needRegistry();
        DWORD disposition = 0;
        const LSTATUS result = RegCreateKeyExA(HKEY_LOCAL_MACHINE, path, 0, nullptr, 0,
                                               KEY_READ | KEY_WRITE, nullptr, &key_, &disposition);
        if (result != ERROR_SUCCESS) {
            key_ = nullptr;
            problem_ = "the key cannot be written, error " + std::to_string(result);
        } else if (disposition != REG_CREATED_NEW_KEY) {
            RegCloseKey(key_);
            key_ = nullptr;
            problem_ = "the machine has a real record, which stays as it is";
        } else {
            RegSetValueExA(key_, "DisplayIcon", 0, REG_SZ,
                           reinterpret_cast<const BYTE*>(icon.c_str()),
                           static_cast<DWORD>(icon.size() + 1));
        }
    }
    ~MachineRecord() {
        if (key_ == nullptr) return;
        RegCloseKey(key_);
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, path);
    }
    MachineRecord(const MachineRecord&) = delete;
    MachineRecord& operator=(const MachineRecord&) = delete;

    // Why there is none; empty when there is one.
    const std::string& problem() const { return problem_; }

  private:
    static constexpr char path[] =
        "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Q7 Render";
    HKEY key_ = nullptr;
    std::string problem_;
};

#else

class MachineRecord {
  public:
    explicit MachineRecord(const std::string& icon) {
        if (const char* const value = std::getenv("XDG_DATA_DIRS")) before_ = value;
        std::filesystem::create_directories(folder_ / "q7_render");
        std::ofstream(folder_ / "q7_render" / "install.ini")
            << "[Q7 Render]\nDisplayIcon=" << icon << "\n";
        setenv("XDG_DATA_DIRS", folder_.path().c_str(), 1);
    }
    ~MachineRecord() {
        if (before_) {
            setenv("XDG_DATA_DIRS", before_->c_str(), 1);
        } else {
            unsetenv("XDG_DATA_DIRS");
        }
    }
    MachineRecord(const MachineRecord&) = delete;
    MachineRecord& operator=(const MachineRecord&) = delete;

    // Why there is none; empty when there is one.
    static std::string problem() { return {}; }

  private:
    TemporaryFolder folder_;
    std::optional<std::string> before_;
};

#endif
