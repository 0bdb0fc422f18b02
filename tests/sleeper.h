// The sleeper under other names: a process that tests want to run, and a launcher that ends.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "platform/processes.h"
#include "tests/platform/installation.h"
#include "tests/temporary_folder.h"

inline void copySleeper(const std::filesystem::path& target) {
    std::filesystem::remove(target);
    std::filesystem::copy_file(Q7_SLEEPER, target);
    std::filesystem::permissions(target, std::filesystem::perms::owner_all);
}

// A process of that name, until this goes.
class RunningProcess {
  public:
    explicit RunningProcess(const char* name) : name_(name) {
        copySleeper(folder_ / name);
        std::ofstream(folder_ / "lives") << "x";
        EXPECT_TRUE(platform::launchProgram((folder_ / name).u16string(), u"lives",
                                            folder_.path().u16string()));
        waitUntil(true);
    }
    ~RunningProcess() {
        std::filesystem::remove(folder_ / "lives");
        waitUntil(false);
    }
    RunningProcess(const RunningProcess&) = delete;
    RunningProcess& operator=(const RunningProcess&) = delete;

  private:
    void waitUntil(bool runs) const {
        for (int i = 0; i < 2000 && platform::isProcessRunning(name_) != runs; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        EXPECT_EQ(platform::isProcessRunning(name_), runs) << name_;
    }

    const char* name_;
    TemporaryFolder folder_;
};

// A launcher that tells with what it was started, and ends.
inline void installLauncher(const Installation& installation) {
    copySleeper(installation.path("q7_launcher.exe"));
}
