// Stands for a build of the library by MSVC: a DLL of that ABI with the exports that msvc_handler.cpp
// calls, declared by the header, and an exception of that ABI.

#include "q7plugin.h"

// Named by each thrown type. It belongs to MSVC's C++ library, and catch (...) does not look into it.
extern "C" const void* const typeInfoTable[] __asm__("??_7type_info@@6B@");
const void* const typeInfoTable[] = {nullptr};

void* CreateSession() {
    static int session;
    return &session;
}

void MaxAddTriangles(void*, const Q7Char*, int triangleCount, const float*, const float*,
                     const float*, CoordOrder) {
    if (triangleCount < 0) throw triangleCount;
}

extern "C" int start() {
    return 1;
}
