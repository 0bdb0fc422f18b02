// Calls that signals interrupt, where the system has such signals.
#pragma once

#if !defined(_WIN32)

#include <pthread.h>
#include <signal.h>

#include <chrono>
#include <future>
#include <thread>

// Makes the call on another thread, with signals to it while it waits, then lets `release` give it
// what it waits for. The result is the call's.
template <typename Call, typename Release>
auto callInterrupted(Call call, Release release) {
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    auto task = std::packaged_task<decltype(call())()>(call);
    auto result = task.get_future();
    std::thread thread(std::move(task));
    for (int i = 0; i < 50; ++i) {
        pthread_kill(thread.native_handle(), SIGUSR1);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    release();
    thread.join();
    sigaction(SIGUSR1, &before, nullptr);
    return result.get();
}

#endif
