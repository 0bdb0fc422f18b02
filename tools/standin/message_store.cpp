#include "standin/message_store.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <random>
#include <system_error>
#include <utility>

#include "common/files.h"

namespace q7standin {

namespace fs = std::filesystem;
using q7tools::FileError;

namespace {

std::string because(const std::string& what, int error) {
    if (error == 0) return what;
    return what + ": " + std::generic_category().message(error);
}

fs::path unusedName(const fs::path& folder) {
    std::random_device random;
    for (;;) {
        fs::path candidate = folder / (".q7-standin-" + std::to_string(random()) + ".tmp");
        std::error_code ignored;
        if (!fs::exists(candidate, ignored)) return candidate;
    }
}

// The number that a name starts with, or 0.
std::uint64_t numberOf(const std::string& name) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumbered = error == std::errc() && end != name.data() + name.size() && *end == '-';
    return isNumbered ? number : 0;
}

std::uint64_t highestNumberIn(const fs::path& folder) {
    std::uint64_t highest = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        highest = std::max(highest, numberOf(q7tools::pathToUtf8(entry.path().filename())));
    }
    return highest;
}

}  // namespace

KeptFile::KeptFile(const fs::path& folder) : path_(unusedName(folder)) {
    errno = 0;
    file_.open(path_, std::ios::binary | std::ios::trunc);
    if (!file_) throw FileError(folder, because("no file can be written there", errno));
}

KeptFile::~KeptFile() {
    file_.close();
    std::error_code ignored;
    if (!path_.empty()) fs::remove(path_, ignored);
}

void KeptFile::write(const void* data, std::size_t size) {
    errno = 0;
    file_.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    if (!file_) throw FileError(path_, because("cannot be written to the end", errno));
}

void KeptFile::renameTo(const fs::path& target) {
    errno = 0;
    file_.close();
    if (!file_) throw FileError(target, because("cannot be written to the end", errno));
    std::error_code error;
    fs::rename(path_, target, error);
    if (error) throw FileError(target, "cannot be written: " + error.message());
    path_.clear();
}

MessageStore::MessageStore(std::optional<fs::path> folder) : folder_(std::move(folder)) {
    if (!folder_) return;
    std::error_code error;
    fs::create_directories(*folder_, error);
    std::error_code ignored;
    if (!fs::is_directory(*folder_, ignored)) {
        const bool isFile = fs::exists(*folder_, ignored);
        throw FileError(*folder_,
                        isFile ? "is not a folder" : "cannot be made: " + error.message());
    }
    number_ = highestNumberIn(*folder_);
}

std::string MessageStore::keep(std::string_view kind, std::string_view extension,
                               std::string_view content) {
    if (!folder_) return {};
    ++number_;
    return keepBeside(kind, extension, content);
}

std::string MessageStore::keepBeside(std::string_view kind, std::string_view extension,
                                     std::string_view content) {
    if (!folder_) return {};
    std::string name = nameOf(kind, extension);
    keepAs(name, content);
    return name;
}

void MessageStore::keepAs(const std::string& name, std::string_view content) const {
    KeptFile file(*folder_);
    file.write(content.data(), content.size());
    file.renameTo(pathOf(name));
}

std::string MessageStore::commit(KeptFile& file, std::string_view kind,
                                 std::string_view extension) {
    ++number_;
    std::string name = nameOf(kind, extension);
    file.renameTo(pathOf(name));
    return name;
}

std::string MessageStore::nameOf(std::string_view kind, std::string_view extension) const {
    std::string digits = std::to_string(number_);
    if (digits.size() < 4) digits.insert(0, 4 - digits.size(), '0');
    return digits + '-' + std::string(kind) + '.' + std::string(extension);
}

fs::path MessageStore::pathOf(const std::string& name) const {
    return *folder_ / name;
}

}  // namespace q7standin
