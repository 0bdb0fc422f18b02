// The functions of the zip library that make an archive.
#pragma once

#include <cstdint>

// Each of these needs the types of those before it.
#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>
#include <mz_zip_rw.h>

#if defined(Q7_ZIP_LIBRARY)
#include "platform/private_library.h"
#endif

// Loaded from the file that the build names as Q7_ZIP_LIBRARY, for as long as the object lives, so that a
// host's own zip library is not called instead; where the build names none, linked.
struct ZipLibrary {
#if defined(Q7_ZIP_LIBRARY)
    explicit ZipLibrary(const char* fileName = Q7_ZIP_LIBRARY) : file(fileName) {}

    // Whether all functions are there, and call their own kind.
    bool isComplete() const {
        return create && destroy && setMethod && setLevel && open && addFile && close &&
               file.reaches({"mz_zip_writer_create", "mz_zip_writer_add_file", "mz_zip_create",
                             "mz_zip_entry_write_open", "mz_stream_open", "mz_stream_write",
                             "mz_stream_os_create", "mz_os_is_dir", "mz_os_get_file_attribs",
                             "deflateInit2_", "deflate", "deflateEnd", "crc32"});
    }

    const platform::PrivateLibrary file;
#define Q7_ZIP_FUNCTION(name) file.find<decltype(name)>(#name)
#else
    bool isComplete() const {
        return create != nullptr;
    }
#define Q7_ZIP_FUNCTION(name) name
#endif

    decltype(&mz_zip_writer_create) const create = Q7_ZIP_FUNCTION(mz_zip_writer_create);
    decltype(&mz_zip_writer_delete) const destroy = Q7_ZIP_FUNCTION(mz_zip_writer_delete);
    decltype(&mz_zip_writer_set_compress_method) const setMethod =
        Q7_ZIP_FUNCTION(mz_zip_writer_set_compress_method);
    decltype(&mz_zip_writer_set_compress_level) const setLevel =
        Q7_ZIP_FUNCTION(mz_zip_writer_set_compress_level);
    decltype(&mz_zip_writer_open_file) const open = Q7_ZIP_FUNCTION(mz_zip_writer_open_file);
    decltype(&mz_zip_writer_add_file) const addFile = Q7_ZIP_FUNCTION(mz_zip_writer_add_file);
    decltype(&mz_zip_writer_close) const close = Q7_ZIP_FUNCTION(mz_zip_writer_close);
#undef Q7_ZIP_FUNCTION
};
