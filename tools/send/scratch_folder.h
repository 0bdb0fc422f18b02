// A folder for what comes and goes during a run.
#pragma once

#include <filesystem>

namespace q7send {

// Made in another folder, under an unused name, and removed at the end with all that is in it.
class ScratchFolder {
  public:
    // Throws q7tools::FileError, which names `subject`.
    ScratchFolder(const std::filesystem::path& parent, const std::filesystem::path& subject);
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    ~ScratchFolder();

    const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

}  // namespace q7send
