// Whole files, read and written at once.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace q7tools {

// A file cannot be read or written. what() is the reason alone, without the file's name.
class FileError : public std::runtime_error {
  public:
    FileError(const std::filesystem::path& path, const std::string& reason);

    // The path's text in UTF-8.
    const std::string& file() const { return file_; }

  private:
    std::string file_;
};

// The path that a command-line argument names, and back.
std::filesystem::path pathFromUtf8(std::string_view text);
std::string pathToUtf8(const std::filesystem::path& path);

// Throws FileError.
std::vector<std::byte> readWholeFile(const std::filesystem::path& path);

// Writes through a temporary file in the same folder that takes the place of `path` only when all
// was written: a failure leaves what was there before, and no temporary. Throws FileError; what the
// function throws passes on.
void writeWholeFile(const std::filesystem::path& path,
                    const std::function<void(std::ostream&)>& write);
void writeWholeFile(const std::filesystem::path& path, std::string_view content);

}  // namespace q7tools
