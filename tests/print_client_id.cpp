// A host of its own process that asks for the client id from several threads at once and prints what
// each of them got.
#include <array>
#include <atomic>
#include <cstdio>
#include <string>
#include <thread>

#include "q7plugin.h"

int main() {
    std::array<std::array<char, 1000>, 8> ids = {};
    std::array<std::thread, ids.size()> threads;
    std::atomic<bool> started = false;
    for (std::size_t i = 0; i < threads.size(); ++i) {
        threads[i] = std::thread([&, i] {
            started.wait(false);
            Q7GetCid(ids[i].data(), static_cast<uint32_t>(ids[i].size()));
        });
    }
    started = true;
    started.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& id : ids)
        std::puts(id.data());
    return 0;
}
