#include "archive/zip_folder.h"

#include <cstdint>
#include <memory>
#include <new>
#include <string>

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
    const Writer writer = makeWriter();
    return openFile(writer, wideToUtf8(zipPath)) && addFolder(writer, wideToUtf8(folder)) &&
           mz_zip_writer_close(writer.get()) == MZ_OK;
}
