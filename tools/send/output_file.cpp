#include "send/output_file.h"

#include <cerrno>
#include <fstream>
#include <random>
#include <string>
#include <system_error>

#include "common/files.h"

namespace q7send {

namespace fs = std::filesystem;
using q7tools::FileError;

namespace {

void checkReplaceable(const fs::path& target) {
    std::error_code ignored;
    const fs::file_status status = fs::status(target, ignored);
    if (!fs::exists(status)) return;
    if (fs::is_directory(status)) throw FileError(target, "is a folder");
    if (!fs::is_regular_file(status)) throw FileError(target, "is not a file that can be replaced");
    constexpr fs::perms writable =
        fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write;
    if ((status.permissions() & writable) == fs::perms::none) {
        throw FileError(target, "is write-protected");
    }
}

void checkFolder(const fs::path& target, const fs::path& folder) {
    std::error_code ignored;
    const fs::file_status status = fs::status(folder, ignored);
    if (fs::is_directory(status)) return;
    const std::string name = q7tools::pathToUtf8(folder);
    throw FileError(target, fs::exists(status) ? name + " is not a folder"
                                               : "the folder " + name + " does not exist");
}

// Short, whatever the length of the target's name.
fs::path unusedName(const fs::path& folder) {
    std::random_device random;
    for (;;) {
        fs::path candidate = folder / (".q7-send-" + std::to_string(random()) + ".tmp");
        std::error_code ignored;
        if (!fs::exists(candidate, ignored)) return candidate;
    }
}

// Leaves no file behind: much may happen before the time to write has come.
void tryWriting(const fs::path& target, const fs::path& temporary) {
    errno = 0;
    if (!std::ofstream(temporary, std::ios::binary)) {
        throw FileError(target,
                        errno != 0 ? std::generic_category().message(errno) : "cannot be written");
    }
    fs::remove(temporary);
}

}  // namespace

OutputFile::OutputFile(const fs::path& target) : target_(target) {
    if (!target.has_filename()) throw FileError(target, "names no file");
    checkReplaceable(target);
    std::error_code error;
    const fs::path absolute = fs::absolute(target);
    place_ = fs::weakly_canonical(absolute, error);
    if (error) place_ = absolute;
    checkFolder(target, place_.parent_path());
    temporary_ = unusedName(place_.parent_path());
    tryWriting(target, temporary_);
}

OutputFile::~OutputFile() {
    std::error_code ignored;
    if (!temporary_.empty()) fs::remove(temporary_, ignored);
}

void OutputFile::commit() {
    std::error_code error;
    fs::rename(temporary_, place_, error);
    if (error) throw FileError(target_, error.message());
    temporary_.clear();
}

}  // namespace q7send
