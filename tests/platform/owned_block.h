// Blocks of a process that may be killed, made without the library's own code.
#pragma once

#if !defined(_WIN32)

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/text.h"
#include "tests/platform/child_process.h"

// Its name for shm_open.
inline std::string objectName(WideView name) {
    return "/" + wideToUtf8(name);
}

static inline struct flock first_byte(void) {
    struct flock range;
    memset(&range, 0, sizeof range);
    range.l_type = F_WRLCK;
    range.l_whence = SEEK_SET;
    range.l_len = 1;
    return range;
}

/* The descriptor, which holds the lock until it is closed; -1 when there is no such block to be had. */
static inline int make_block(const char* name, const void* content, size_t size) {
    struct flock lock = first_byte();
    shm_unlink(name); /* left by a renderer that was killed */
    int block = shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0600);
    if (block < 0) return -1;
    if (ftruncate(block, (off_t)size) == 0 && fcntl(block, F_OFD_SETLK, &lock) == 0 &&
        fchmod(block, 0600 | S_ISVTX) == 0 && pwrite(block, content, size, 0) == (ssize_t)size) {
        return block;
    }
    shm_unlink(name);
    close(block);
    return -1;
}

// A process that does the work and then holds what it has until it is killed, for a minute at most.
class HoldingProcess {
  public:
    template <typename Work>
    explicit HoldingProcess(Work work) {
        int ready[2] = {};
        EXPECT_EQ(pipe(ready), 0);
        process_ = startChild([&] {
            const char result = work() ? 'y' : 'n';
            if (write(ready[1], &result, 1) != 1) return 1;
            alarm(60);
            return pause();
        });
        close(ready[1]);
        char result = 0;
        EXPECT_EQ(read(ready[0], &result, 1), 1);
        EXPECT_EQ(result, 'y');
        close(ready[0]);
    }
    ~HoldingProcess() { kill(); }
    HoldingProcess(const HoldingProcess&) = delete;
    HoldingProcess& operator=(const HoldingProcess&) = delete;

    void kill() {
        if (process_ < 0) return;
        ::kill(process_, SIGKILL);
        EXPECT_EQ(exitCodeOf(process_), -1);
        process_ = -1;
    }

  private:
    pid_t process_ = -1;
};

#endif
