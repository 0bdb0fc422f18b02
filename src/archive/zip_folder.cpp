#include "archive/zip_folder.h"

#include <cstdint>
#include <new>
#include <optional>
#include <string>

#include "archive/zip_library.h"
#include "platform/folders.h"

namespace {

// The zip library puts paths together in 1024 bytes, and runs past their end with longer ones. Some room
// is left for what it adds.
constexpr std::size_t longestPath = 900;

// Whether the library can take the folder with all that is in it.
bool allPathsFit(const WideString& folder) {
    const std::optional<std::size_t> longest = platform::longestPathIn(folder);
    return longest && *longest <= longestPath;
}

// Without a password; the library itself marks entry names as UTF-8.
class Writer {
  public:
    explicit Writer(const ZipLibrary& library) : library_(library), writer_(library.create()) {
        if (writer_ == nullptr) throw std::bad_alloc();
        library_.setMethod(writer_, MZ_COMPRESS_METHOD_DEFLATE);
        library_.setLevel(writer_, MZ_COMPRESS_LEVEL_BEST);
    }
    ~Writer() { library_.destroy(&writer_); }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    bool open(const std::string& path) {
        constexpr std::int64_t noSplitting = 0;
        constexpr std::uint8_t append = 0;
        return library_.open(writer_, path.c_str(), noSplitting, append) == MZ_OK;
    }
    bool addFolder(const std::string& folder) {
        constexpr std::uint8_t includePath = 0;
        constexpr std::uint8_t recursive = 1;
        return library_.addPath(writer_, folder.c_str(), folder.c_str(), includePath, recursive) ==
               MZ_OK;
    }
    bool close() { return library_.close(writer_) == MZ_OK; }

  private:
    const ZipLibrary& library_;
    void* writer_;
};

}  // namespace

bool zipFolder(const WideString& folder, const WideString& zipPath) {
    const std::string archive = wideToUtf8(zipPath);
    if (!allPathsFit(folder) || archive.size() > longestPath) return false;
    const ZipLibrary library;
    if (!library.isComplete()) return false;
    Writer writer(library);
    return writer.open(archive) && writer.addFolder(wideToUtf8(folder)) && writer.close();
}
