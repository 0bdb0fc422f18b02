#include "archive/zip_folder.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <system_error>

#include "platform/files.h"

// Each of these needs the types of those before it.
#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>
#include <mz_zip_rw.h>

namespace {

struct WriterDeleter {
    void operator()(void* writer) const { mz_zip_writer_delete(&writer); }
};
using Writer = std::unique_ptr<void, WriterDeleter>;

// The zip library puts paths together in 1024 bytes, and runs past their end with longer ones. Some room
// is left for what it adds.
constexpr std::size_t longestPath = 900;

bool fits(const std::filesystem::path& path) {
    return wideToUtf8(path.u16string()).size() <= longestPath;
}

// Whether the library can take the folder with all that is in it.
bool allPathsFit(const std::filesystem::path& folder) {
    if (!fits(folder)) return false;
    std::error_code failed;
    for (std::filesystem::recursive_directory_iterator entry(folder, failed), end;
         !failed && entry != end; entry.increment(failed)) {
        if (!fits(entry->path())) return false;
    }
    return !failed;
}

// Without a password; the library itself marks entry names as UTF-8.
Writer makeWriter() {
    Writer writer(mz_zip_writer_create());
    if (writer == nullptr) throw std::bad_alloc();
    mz_zip_writer_set_compress_method(writer.get(), MZ_COMPRESS_METHOD_DEFLATE);
    mz_zip_writer_set_compress_level(writer.get(), MZ_COMPRESS_LEVEL_BEST);
    return writer;
}

bool openFile(const Writer& writer, const std::string& path) {
    constexpr std::int64_t noSplitting = 0;
    constexpr std::uint8_t append = 0;
    return mz_zip_writer_open_file(writer.get(), path.c_str(), noSplitting, append) == MZ_OK;
}

bool addFolder(const Writer& writer, const std::string& folder) {
    constexpr std::uint8_t includePath = 0;
    constexpr std::uint8_t recursive = 1;
    return mz_zip_writer_add_path(writer.get(), folder.c_str(), folder.c_str(), includePath,
                                  recursive) == MZ_OK;
}

}  // namespace

bool zipFolder(const WideString& folder, const WideString& zipPath) {
    if (!allPathsFit(platform::nativePath(folder)) || !fits(platform::nativePath(zipPath)))
        return false;
    const Writer writer = makeWriter();
    return openFile(writer, wideToUtf8(zipPath)) && addFolder(writer, wideToUtf8(folder)) &&
           mz_zip_writer_close(writer.get()) == MZ_OK;
}
