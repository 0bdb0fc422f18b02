// Keeps messages as files: NNNN-KIND.EXTENSION, numbered in the order in which they were complete.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>

namespace q7standin {

// A file that is being received. Without a commit nothing of it is left.
class KeptFile {
  public:
    // Throws q7tools::FileError, as all here do.
    explicit KeptFile(const std::filesystem::path& folder);
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;
    ~KeptFile();

    void write(const void* data, std::size_t size);
    void renameTo(const std::filesystem::path& target);

  private:
    std::filesystem::path path_;
    std::ofstream file_;
};

class MessageStore {
  public:
    // Nothing is kept without a folder. A folder that is not there is made; numbers go on behind
    // those of the files that are in it.
    explicit MessageStore(std::optional<std::filesystem::path> folder);

    bool isKeeping() const { return folder_.has_value(); }

    // The file of a message, under the next number. All give the file's name, empty when nothing is
    // kept.
    std::string keep(std::string_view kind, std::string_view extension, std::string_view content);
    // One more file for the message before.
    std::string keepBeside(std::string_view kind, std::string_view extension,
                           std::string_view content);

    // The following are only for a store that keeps.

    // A file under any name, in the place of one that is there.
    void keepAs(const std::string& name, std::string_view content) const;
    // The path of a file that is kept, by its name.
    std::filesystem::path pathOf(const std::string& name) const;
    void begin(std::optional<KeptFile>& file) const { file.emplace(*folder_); }
    std::string commit(KeptFile& file, std::string_view kind, std::string_view extension);

  private:
    std::string nameOf(std::string_view kind, std::string_view extension) const;

    std::optional<std::filesystem::path> folder_;
    std::uint64_t number_ = 0;
};

}  // namespace q7standin
