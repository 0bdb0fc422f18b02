// Whether programs that this process starts get what it has open.
#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "platform/socket.h"

#if defined(_WIN32)
#include <io.h>
#include <windows.h>
#else
#include <fcntl.h>
#endif

#if defined(_WIN32)

// True as well for what is not open.
inline bool isInherited(platform::SocketHandle handle) {
    DWORD flags = HANDLE_FLAG_INHERIT;
    GetHandleInformation(reinterpret_cast<HANDLE>(handle), &flags);
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}
inline bool isInherited(std::FILE* file) {
    return isInherited(platform::SocketHandle{_get_osfhandle(_fileno(file))});
}

#else

inline bool isInherited(platform::SocketHandle descriptor) {
    const int flags = fcntl(static_cast<int>(descriptor), F_GETFD);
    return flags < 0 || (flags & FD_CLOEXEC) == 0;
}
inline bool isInherited(std::FILE* file) {
    return isInherited(platform::SocketHandle{fileno(file)});
}

struct OpenFiles {
    std::size_t open = 0;
    std::size_t inherited = 0;
};

// Those of this process in a folder.
inline OpenFiles openFilesIn(const std::filesystem::path& folder) {
    OpenFiles files;
    std::error_code failed;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", failed)) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path(), ignored).parent_path() != folder) continue;
        ++files.open;
        if (isInherited(platform::SocketHandle{std::stoi(entry.path().filename())}))
            ++files.inherited;
    }
    return files;
}

#endif
