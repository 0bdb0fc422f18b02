// A host that connects to the renderer and, as its argument says, then unloads the library or just ends. On
// Windows it prints a line when the library ends the socket library.
#include <cstdlib>
#include <string_view>

#include "api/q7plugin.h"
#include "tests/host_text.h"
#include "tests/platform/loaded_library.h"

#if defined(_WIN32)

#include <winsock2.h>

#include <cstdint>
#include <cstring>

namespace {

int WSAAPI printCleanup() {
    constexpr char line[] = "WSACleanup\n";
    DWORD written = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), line, sizeof line - 1, &written, nullptr);
    return WSACleanup();
}

// Puts the function in the place of the one that the library imports under that name; false when it
// imports none.
bool replaceImport(const wchar_t* library, const char* name, void* function) {
    auto* const base = reinterpret_cast<char*>(GetModuleHandleW(library));
    const auto* const file = reinterpret_cast<IMAGE_DOS_HEADER*>(base);
    const auto* const image = reinterpret_cast<IMAGE_NT_HEADERS*>(base + file->e_lfanew);
    const auto& table = image->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* from = reinterpret_cast<IMAGE_IMPORT_DESCRIPTOR*>(base + table.VirtualAddress);
         from->Name != 0; ++from) {
        const auto* names = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->OriginalFirstThunk);
        auto* address = reinterpret_cast<IMAGE_THUNK_DATA*>(base + from->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++address) {
            const bool hasName = !IMAGE_SNAP_BY_ORDINAL(names->u1.Ordinal);
            const auto* const import =
                reinterpret_cast<IMAGE_IMPORT_BY_NAME*>(base + names->u1.AddressOfData);
            if (!hasName || std::strcmp(import->Name, name) != 0) continue;
            DWORD before = 0;
            VirtualProtect(&address->u1.Function, sizeof(void*), PAGE_READWRITE, &before);
            address->u1.Function = reinterpret_cast<std::uintptr_t>(function);
            return true;
        }
    }
    return false;
}

bool watchCleanup() {
    return replaceImport(L"Q7Plugin.dll", "WSACleanup", reinterpret_cast<void*>(printCleanup));
}

}  // namespace

#else

namespace {

bool watchCleanup() {
    return true;
}

}  // namespace

#endif

int main(int argc, char** argv) {
    LoadedLibrary library(Q7_LIBRARY);
    auto* const createSession = library.find<decltype(CreateSession)>("CreateSession");
    auto* const startLink = library.find<decltype(StartLinkQ7Render)>("StartLinkQ7Render");
    auto* const connect = library.find<decltype(Q7ProcessedSyncConnect)>("Q7ProcessedSyncConnect");
    if (!createSession || !startLink || !connect || argc != 2 || !watchCleanup()) return 1;
    // Static, so that no search for leaks finds one in it.
    static void* const session = createSession();
    if (startLink(Q7T("")) != 0 || connect(session) != ConnectRet_Accepted) return 2;
    if (std::string_view(argv[1]) == "unload") library.unload();
    // Without the destructor that unloads the library.
    std::exit(7);
}
