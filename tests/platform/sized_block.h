// A named block of any size at all, where the system makes such blocks.
#pragma once

#if !defined(_WIN32)

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/types.h>
#include <unistd.h>

#include <string>

#include "support/text.h"

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

  private:
    std::string name_;
};

#endif
