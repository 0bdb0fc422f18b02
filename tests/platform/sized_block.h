// Named blocks as their makers should not make them: of any size at all, cut while they are in use, or
// not to be had.
#pragma once

#include <string>

#include "support/text.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#endif

#if defined(_WIN32)

// The name is that of something else.
class NameOfAnotherObject {
  public:
    explicit NameOfAnotherObject(WideView name)
        : event_(CreateEventW(nullptr, FALSE, FALSE,
                              std::wstring(name.begin(), name.end()).c_str())) {}
    ~NameOfAnotherObject() { CloseHandle(event_); }
    NameOfAnotherObject(const NameOfAnotherObject&) = delete;
    NameOfAnotherObject& operator=(const NameOfAnotherObject&) = delete;

  private:
    HANDLE event_;
};

// A block that nobody may write to.
class ReadOnlyBlock {
  public:
    explicit ReadOnlyBlock(WideView name)
        : name_(name.begin(), name.end()),
          mapping_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READONLY, 0, 4096,
                                      name_.c_str())) {}
    ~ReadOnlyBlock() { CloseHandle(mapping_); }
    ReadOnlyBlock(const ReadOnlyBlock&) = delete;
    ReadOnlyBlock& operator=(const ReadOnlyBlock&) = delete;

    bool wasMade() const { return mapping_ != nullptr; }
    // Under Wine those who open it may write all the same.
    bool isKeptByTheSystem() const {
        HANDLE const opened = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, name_.c_str());
        void* const view = MapViewOfFile(opened, FILE_MAP_WRITE, 0, 0, 0);
        if (view != nullptr) UnmapViewOfFile(view);
        CloseHandle(opened);
        return view == nullptr;
    }

  private:
    std::wstring name_;
    HANDLE mapping_;
};

#else

// Where the system keeps the blocks.
inline std::filesystem::path blockPath(WideView name) {
    return std::filesystem::path("/dev/shm") / wideToUtf8(name);
}

// The name is that of something else.
class NameOfAnotherObject {
  public:
    explicit NameOfAnotherObject(WideView name) : path_(blockPath(name)) {
        std::filesystem::create_directory(path_);
    }
    ~NameOfAnotherObject() { std::filesystem::remove(path_); }
    NameOfAnotherObject(const NameOfAnotherObject&) = delete;
    NameOfAnotherObject& operator=(const NameOfAnotherObject&) = delete;

  private:
    std::filesystem::path path_;
};

// Makes this process one to which the blocks of others are closed, and so are those that it closes itself.
inline bool becomesAStranger() {
    constexpr uid_t nobody = 65534;
    return geteuid() != 0 || setuid(nobody) == 0;
}

// No address space has room for so much, and the memory is never taken.
inline constexpr off_t sizeThatCannotBeMapped = off_t{1} << 60;

class SizedBlock {
  public:
    SizedBlock(WideView name, off_t size) : name_("/" + wideToUtf8(name)) {
        const int block = shm_open(name_.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
        EXPECT_GE(block, 0) << name_;
        EXPECT_EQ(ftruncate(block, size), 0) << name_;
        close(block);
    }
    ~SizedBlock() { shm_unlink(name_.c_str()); }
    SizedBlock(const SizedBlock&) = delete;
    SizedBlock& operator=(const SizedBlock&) = delete;

    // As a user's own that is closed to everybody.
    void closeToAll() const { EXPECT_EQ(chmod(("/dev/shm" + name_).c_str(), 0), 0); }

  private:
    std::string name_;
};

#endif
