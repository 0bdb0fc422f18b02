#include "common/files.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <random>
#include <system_error>

#include "platform/files.h"
#include "support/text.h"

namespace q7tools {

namespace {

namespace fs = std::filesystem;

std::string because(const std::string& what, int error) {
    if (error == 0) return what;
    return what + ": " + std::generic_category().message(error);
}

// A path beside the target that nothing has taken.
fs::path temporaryBeside(const fs::path& target) {
    std::random_device random;
    for (;;) {
        fs::path candidate = target;
        candidate += "." + std::to_string(random()) + ".tmp";
        if (!fs::exists(candidate)) return candidate;
    }
}

void writeInto(const fs::path& reported, const fs::path& path,
               const std::function<void(std::ostream&)>& write) {
    errno = 0;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    if (!file) throw FileError(reported, because("cannot be written", errno));
    write(file);
    errno = 0;
    file.close();
    if (!file) throw FileError(reported, because("cannot be written to the end", errno));
}

// Removes the temporary unless it was renamed away.
class TemporaryFile {
  public:
    explicit TemporaryFile(fs::path path) : path_(std::move(path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        std::error_code ignored;
        if (!path_.empty()) fs::remove(path_, ignored);
    }

    const fs::path& path() const { return path_; }

    void renameTo(const fs::path& target) {
        std::error_code error;
        fs::rename(path_, target, error);
        if (error) throw FileError(target, "cannot be replaced: " + error.message());
        path_.clear();
    }

  private:
    fs::path path_;
};

}  // namespace

FileError::FileError(const fs::path& path, const std::string& reason)
    : std::runtime_error(reason), file_(pathToUtf8(path)) {}

fs::path pathFromUtf8(std::string_view text) {
    return platform::nativePath(utf8ToWide(text));
}

// Not by the path's own conversion, which throws for an unpaired surrogate.
std::string pathToUtf8(const fs::path& path) {
    const fs::path::string_type& text = path.native();
    if constexpr (sizeof(fs::path::value_type) == 1) {
        return {text.begin(), text.end()};
    } else {
        return wideToUtf8(WideString(text.begin(), text.end()));
    }
}

std::vector<std::byte> readWholeFile(const fs::path& path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) throw FileError(path, "is a folder, not a file");
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) throw FileError(path, because("cannot be opened", errno));

    std::vector<std::byte> bytes;
    const std::uintmax_t expected = fs::file_size(path, ignored);
    // One byte more than the size, so that the end is met without growing.
    std::size_t chunk = ignored ? 1 << 16 : static_cast<std::size_t>(expected) + 1;
    while (file) {
        const std::size_t used = bytes.size();
        bytes.resize(used + chunk);
        file.read(reinterpret_cast<char*>(bytes.data() + used),
                  static_cast<std::streamsize>(chunk));
        bytes.resize(used + static_cast<std::size_t>(file.gcount()));
        chunk = std::max<std::size_t>(bytes.size(), 1 << 16);
    }
    if (file.bad()) throw FileError(path, because("cannot be read to the end", errno));
    return bytes;
}

void writeWholeFile(const fs::path& path, const std::function<void(std::ostream&)>& write) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (fs::is_directory(status)) throw FileError(path, "is a folder, not a file");
    // A device or a pipe has no place for a temporary and nothing to lose.
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        writeInto(path, path, write);
        return;
    }
    // What a link points to is replaced, not the link.
    const fs::path target = fs::exists(status) ? fs::canonical(path, ignored) : path;
    TemporaryFile temporary(temporaryBeside(target.empty() ? path : target));
    writeInto(path, temporary.path(), write);
    temporary.renameTo(target.empty() ? path : target);
}

void writeWholeFile(const fs::path& path, std::string_view content) {
    writeWholeFile(path, [content](std::ostream& out) {
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
    });
}

}  // namespace q7tools
