// A folder that is there for one test.
#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <string>

class TemporaryFolder {
  public:
    TemporaryFolder() {
        static std::atomic<int> count = 0;
        const auto stamp = std::chrono::steady_clock::now().time_since_epoch().count();
        path_ = std::filesystem::temp_directory_path() /
                ("q7-test-" + std::to_string(stamp) + "-" + std::to_string(++count));
        std::filesystem::create_directories(path_);
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }
    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};
