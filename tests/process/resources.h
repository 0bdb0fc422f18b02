// What a process has of the system's things, for comparing before with after.
#pragma once

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>

#if defined(_WIN32)
#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>
#else
#include <malloc.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

struct Resources {
    std::size_t threads = 0;
    // Descriptors or handles.
    std::size_t handles = 0;
    // Mappings or modules.
    std::size_t mappings = 0;
    // Memory that was asked for and not given back.
    std::size_t memory = 0;

    static Resources now() {
        return {countThreads(), countHandles(), countMappings(), countMemory()};
    }

    friend std::ostream& operator<<(std::ostream& out, const Resources& r) {
        return out << r.threads << " threads, " << r.handles << " handles, " << r.mappings
                   << " mappings, " << r.memory << " bytes";
    }

#if defined(_WIN32)
    static std::size_t countHandles() {
        DWORD count = 0;
        GetProcessHandleCount(GetCurrentProcess(), &count);
        if (count != 0) return count;
        // Wine does not count them, but gives the lowest number that is free.
        HANDLE const next = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        CloseHandle(next);
        return reinterpret_cast<std::size_t>(next) / 4;
    }

  private:
    static std::size_t countThreads() {
        HANDLE const list = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
        THREADENTRY32 thread = {};
        thread.dwSize = sizeof thread;
        std::size_t count = 0;
        for (BOOL more = Thread32First(list, &thread); more; more = Thread32Next(list, &thread))
            count += thread.th32OwnerProcessID == GetCurrentProcessId();
        CloseHandle(list);
        return count;
    }
    static std::size_t countMappings() {
        DWORD size = 0;
        HMODULE none = nullptr;
        K32EnumProcessModules(GetCurrentProcess(), &none, sizeof none, &size);
        return size / sizeof none;
    }
    static std::size_t countMemory() {
        HANDLE heaps[64];
        const DWORD count = GetProcessHeaps(64, heaps);
        std::size_t bytes = 0;
        for (DWORD i = 0; i < std::min<DWORD>(count, 64); ++i) {
            PROCESS_HEAP_ENTRY block = {};
            HeapLock(heaps[i]);
            while (HeapWalk(heaps[i], &block)) {
                if ((block.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += block.cbData;
            }
            HeapUnlock(heaps[i]);
        }
        return bytes;
    }
#else
    static std::size_t countHandles() {
        return entriesOf("/proc/self/fd");
    }

  private:
    static std::size_t entriesOf(const char* folder) {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder),
                                                      std::filesystem::directory_iterator()));
    }
    static std::size_t countThreads() {
        return entriesOf("/proc/self/task");
    }
    // Of files: those of memory alone are counted as memory.
    static std::size_t countMappings() {
        std::ifstream maps("/proc/self/maps");
        std::size_t count = 0;
        for (std::string line; std::getline(maps, line);)
            count += line.find(" /") != std::string::npos;
        return count;
    }
    static std::size_t countMemory() {
#if defined(__SANITIZE_ADDRESS__)
        return __sanitizer_get_current_allocated_bytes();
#else
        const struct mallinfo2 memory = mallinfo2();
        return memory.uordblks + memory.hblkhd;
#endif
    }
#endif
};
