#include "archive/zip_folder.h"

#include <cstdint>
#include <limits>
#include <new>
#include <string>

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
    // The zip library could walk the folder itself, but copies paths into buffers of fixed sizes on the
    // way: 1024 bytes for a path, on Windows 320 for a folder and 256 for a name.
    bool addFolder(const WideString& folder) {
        return platform::walkFolder(folder, [this](const platform::FolderEntry& entry) {
            return add(entry.path, entry.name);
        });
    }
    bool close() { return library_.close(writer_) == MZ_OK; }

  private:
    bool add(const std::string& path, const std::string& name) {
        // A zip file counts the bytes of a name in 16 bits.
        return name.size() < std::numeric_limits<std::uint16_t>::max() &&
               library_.addFile(writer_, path.c_str(), name.c_str()) == MZ_OK;
    }

    const ZipLibrary& library_;
    void* writer_;
};

}  // namespace

bool zipFolder(const WideString& folder, const WideString& zipPath) {
    const ZipLibrary library;
    if (!library.isComplete()) return false;
    Writer writer(library);
    return writer.open(platform::pathInUtf8(zipPath)) && writer.addFolder(folder) && writer.close();
}
