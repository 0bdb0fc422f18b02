/* The zip library for the Windows programs of the build under Wine: a DLL that is itself a Linux library
 * and hands each call on to the system's own one. Windows paths become the system's on the way. */

#include <stdint.h>
#include <string.h>
#include <windows.h>

/* Each of these needs the types of those before it. */
#include <mz.h>
#include <mz_strm.h>
#include <mz_zip.h>
#include <mz_zip_rw.h>

/* The system's path in memory of the process heap, or null for a path that the system does not have. */
static char* unixPath(const char* path) {
    const int length = MultiByteToWideChar(CP_UTF8, 0, path, -1, NULL, 0);
    WCHAR* wide = HeapAlloc(GetProcessHeap(), 0, (SIZE_T)length * sizeof(WCHAR));
    char* translated = NULL;
    if (wide == NULL) return NULL;
    MultiByteToWideChar(CP_UTF8, 0, path, -1, wide, length);
    translated = wine_get_unix_file_name(wide);
    HeapFree(GetProcessHeap(), 0, wide);
    return translated;
}

static void freePath(char* path) {
    if (path != NULL) HeapFree(GetProcessHeap(), 0, path);
}

void* CDECL bridgedCreate(void) {
    return mz_zip_writer_create();
}

void CDECL bridgedDelete(void** handle) {
    mz_zip_writer_delete(handle);
}

void CDECL bridgedSetCompressMethod(void* handle, uint16_t method) {
    mz_zip_writer_set_compress_method(handle, method);
}

void CDECL bridgedSetCompressLevel(void* handle, int16_t level) {
    mz_zip_writer_set_compress_level(handle, level);
}

int32_t CDECL bridgedOpenFile(void* handle, const char* path, int64_t diskSize, uint8_t append) {
    char* file = unixPath(path);
    const int32_t result =
        file == NULL ? MZ_OPEN_ERROR : mz_zip_writer_open_file(handle, file, diskSize, append);
    freePath(file);
    return result;
}

int32_t CDECL bridgedAddFile(void* handle, const char* path, const char* name) {
    char* file = unixPath(path);
    /* On Windows the library itself writes the separators of names so. */
    const size_t length = strlen(name);
    char* entry = HeapAlloc(GetProcessHeap(), 0, length + 1);
    int32_t result = MZ_MEM_ERROR;
    if (file == NULL) {
        result = MZ_OPEN_ERROR;
    } else if (entry != NULL) {
        for (size_t i = 0; i <= length; ++i)
            entry[i] = name[i] == '\\' ? '/' : name[i];
        result = mz_zip_writer_add_file(handle, file, entry);
    }
    freePath(entry);
    freePath(file);
    return result;
}

int32_t CDECL bridgedClose(void* handle) {
    return mz_zip_writer_close(handle);
}
