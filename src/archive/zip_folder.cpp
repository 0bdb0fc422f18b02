#include "archive/zip_folder.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "archive/zip_library.h"
#include "platform/files.h"
#include "platform/folders.h"

namespace {

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
    bool add(const platform::FolderEntry& entry) {
        // A zip file counts the bytes of a name in 16 bits. Only paths of Windows can be that long.
        return entry.name.size() < std::numeric_limits<std::uint16_t>::max() &&
               library_.addFile(writer_, entry.path.c_str(), entry.name.c_str()) == MZ_OK;
    }
    bool close() { return library_.close(writer_) == MZ_OK; }

  private:
    const ZipLibrary& library_;
    void* writer_;
};

}  // namespace

bool zipFolder(const WideString& folder, const WideString& zipPath) {
    // The zip library could walk the folder itself, but copies paths into buffers of fixed sizes on the
    // way: 1024 bytes for a path, on Windows 320 for a folder and 256 for a name. A folder that cannot be
    // read leaves an older archive alone.
    std::vector<platform::FolderEntry> entries;
    const auto keep = [&entries](const platform::FolderEntry& entry) {
        entries.push_back(entry);
        return true;
    };
    if (!platform::walkFolder(folder, keep)) return false;
    const ZipLibrary library;
    if (!library.isComplete()) return false;
    Writer writer(library);
    return writer.open(platform::pathInUtf8(zipPath)) &&
           std::all_of(entries.begin(), entries.end(),
                       [&writer](const auto& entry) { return writer.add(entry); }) &&
           writer.close();
}
