// Threads with little stack, as hosts have for their workers.
#pragma once

#include <cstddef>
#include <functional>

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

inline constexpr std::size_t smallStack = std::size_t{256} << 10;

// Runs the work on a thread of its own with a small stack, and waits for its end. The threads that the
// work starts have no larger one: on Windows since the program is linked so.
inline bool runOnSmallStack(std::function<void()> work) {
#if defined(_WIN32)
    const auto run = [](void* argument) -> DWORD {
        (*static_cast<std::function<void()>*>(argument))();
        return 0;
    };
    HANDLE const thread =
        CreateThread(nullptr, smallStack, run, &work, STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    if (thread == nullptr) return false;
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
    return true;
#else
    const auto run = [](void* argument) -> void* {
        (*static_cast<std::function<void()>*>(argument))();
        return nullptr;
    };
    pthread_attr_t before;
    pthread_attr_t attributes;
    pthread_t thread;
    pthread_getattr_default_np(&before);
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, smallStack);
    // For the threads of the library.
    bool done = pthread_setattr_default_np(&attributes) == 0;
    done = done && pthread_create(&thread, &attributes, run, &work) == 0;
    done = done && pthread_join(thread, nullptr) == 0;
    pthread_setattr_default_np(&before);
    pthread_attr_destroy(&attributes);
    pthread_attr_destroy(&before);
    return done;
#endif
}
