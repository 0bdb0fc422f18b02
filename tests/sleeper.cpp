// A process that is there for as long as a file is, for tests of what else runs on the machine.
#include <chrono>
#include <filesystem>
#include <thread>

int main(int argc, char** argv) {
    using namespace std::chrono_literals;
    const auto end = std::chrono::steady_clock::now() + 60s;
    std::error_code ignored;
    while (argc > 1 && std::filesystem::exists(argv[1], ignored) &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(10ms);
    }
    return 0;
}
