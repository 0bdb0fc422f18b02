// Work that a test has done by a process of its own, where the system can copy a process.
#pragma once

#if !defined(_WIN32)

#include <sys/wait.h>
#include <unistd.h>

// Starts a copy of this process that does the work and exits with what it returns. No destructors
// of the copy run.
template <typename Work>
pid_t startChild(Work work) {
    const pid_t child = fork();
    if (child == 0) _exit(work());
    return child;
}

// Its exit code, or -1 when it did not exit by itself.
inline int exitCodeOf(pid_t child) {
    int status = 0;
    if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

#endif
