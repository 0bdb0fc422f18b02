// Threads: scenes are built at the same time, one session to a thread, and delivered one by one.
//
//   threads OUT_1.q7mesh OUT_2.q7mesh
#include <array>
#include <filesystem>
#include <memory>
#include <mutex>
#include <thread>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

// Guards what the process has one of: the connection above all, and what SetModelFilePath and
// Q7SetDccPluginInfo leave behind.
std::mutex shared;

void buildAndSave(const std::filesystem::path& path) {
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    const std::array<float, 16> place = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::array<float, 9> corners = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    Q7BeginNode(session.get(), Q7_TEXT("Node"), place.data(), Q7_TEXT("/Node"));
    for (int i = 0; i < 1000; ++i)
        MaxAddTriangle(session.get(), Q7_TEXT("Red"), corners.data(), nullptr, nullptr);
    Q7EndNode(session.get());

    const std::lock_guard lock(shared);
    SetModelFilePath(session.get(), path.string<Q7Char>().c_str());
    Q7SaveRawToFile(session.get(), path.string<Q7Char>().c_str());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    std::thread first(buildAndSave, argv[1]);
    std::thread second(buildAndSave, argv[2]);
    first.join();
    second.join();
    return 0;
}
