// Files that come into being whole or not at all, whoever writes them.
#pragma once

#include <filesystem>

namespace q7send {

class OutputFile {
  public:
    // Chooses a temporary file in the target's folder, for others to write. Throws
    // q7tools::FileError, which names the target, when no file can be written there.
    explicit OutputFile(const std::filesystem::path& target);
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;
    // Removes the temporary file, if there is one, unless it has been committed.
    ~OutputFile();

    // The path as it was given.
    const std::filesystem::path& target() const { return target_; }
    const std::filesystem::path& temporary() const { return temporary_; }

    // Puts the temporary file in the target's place. Throws q7tools::FileError.
    void commit();

  private:
    std::filesystem::path target_;
    std::filesystem::path place_;  // the target, or what it links to
    std::filesystem::path temporary_;
};

}  // namespace q7send
