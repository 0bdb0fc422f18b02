// A process that is there for as long as a file is, for tests of what else runs on the machine. Started
// as a launcher it writes down its arguments in its folder and ends.
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

int main(int argc, char** argv) {
    using namespace std::chrono_literals;
    if (argc > 1 && std::string(argv[1]).starts_with("-pluginFile=")) {
        {
            std::ofstream file("launched.part", std::ios::binary);
            for (int i = 1; i < argc; ++i)
                file << argv[i] << '\n';
        }
        std::filesystem::rename("launched.part", "launched.txt");
        return 0;
    }
    const auto end = std::chrono::steady_clock::now() + 60s;
    std::error_code ignored;
    while (argc > 1 && std::filesystem::exists(argv[1], ignored) &&
           std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(10ms);
    }
    return 0;
}
