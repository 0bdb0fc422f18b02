// The live link: start it, connect, send, disconnect, and look whether the scene can have arrived.
//
//   live PLUGIN_FILE
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

constexpr std::uint32_t statusLinked = 4;

void addTriangle(void* session) {
    const std::array<float, 16> place = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::array<float, 9> corners = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    Q7BeginNode(session, Q7_TEXT("Node"), place.data(), Q7_TEXT("/Node"));
    MaxAddTriangle(session, Q7_TEXT("Red"), corners.data(), nullptr, nullptr);
    Q7EndNode(session);
}

const char* meaningOf(std::uint32_t result) {
    switch (result) {
        case 1:
            return "no installation was found";
        case 3:
            return "the installed version is too old";
        case 4:
            return "the renderer takes no link now";
        case 5:
            return "the renderer's update runs";
        case 6:
            return "the renderer refused the plug-in file";
        case 8:
            return "the renderer has no port";
        default:
            return "the link failed";
    }
}

bool send(void* session) {
    // Everything but 0 is a refusal; a renderer that went away counts as connected.
    const int result = Q7RawSyncConnect(session);
    if (result != ConnectRet_Accepted) {
        std::fprintf(stderr, "live: the renderer refused the model (%d)\n", result);
        return false;
    }
    Q7SendRaw(session);
    DisConnect(session);
    // The only sign of a renderer that went away meanwhile.
    return GetQ7RenderStatus(nullptr) == statusLinked;
}

}  // namespace

int main(int argc, char** argv) try {
    if (argc != 2) return 2;
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    SetModelFilePath(session.get(), Q7_TEXT("triangle.model"));
    addTriangle(session.get());

    // Blocks until the renderer has started: a plug-in with a user interface calls it on a thread of
    // its own.
    const std::filesystem::path pluginFile = argv[1];
    const std::uint32_t result = StartLinkQ7Render(pluginFile.string<Q7Char>().c_str());
    if (result != 0) {
        std::fprintf(stderr, "live: %s (%u)\n", meaningOf(result), result);
        return 1;
    }
    const bool arrived = send(session.get());
    std::printf("live: %s\n", arrived ? "sent" : "the renderer is not linked any more");
    return arrived ? 0 : 1;
} catch (const std::exception& error) {
    // A version that is no version, or no memory: nothing is caught by the library.
    std::fprintf(stderr, "live: %s\n", error.what());
    return 1;
}
