// The live link: start it, connect, send, disconnect, and find out whether the scene arrived.
//
//   live PLUGIN_FILE
#include <array>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <random>
#include <string>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

using HostText = std::basic_string<Q7Char>;

constexpr std::uint32_t statusLinked = 4;
constexpr std::uint32_t metadata = 3;
constexpr std::uint32_t noMessageMayGo = 0xFFFFFFFF;

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

// While the connection for a model is open no message may go. One that broke is open no more.
bool holdsConnection(void* session) {
    return Q7GetMetaData(session, nullptr, 0) == noMessageMayGo &&
           GetQ7RenderStatus(nullptr) == statusLinked;
}

// Sends the metadata with a text which no earlier message had. The rest of the metadata goes with it, so
// nothing of it is lost.
HostText sendToken(void* session) {
    std::random_device random;
    const std::string number = std::to_string(random()) + '-' + std::to_string(random());
    HostText token(number.begin(), number.end());
    Q7SetEntityStringProperty(session, metadata, nullptr, Q7_TEXT("$q7SendToken"), token.c_str());
    Q7SendMetaData(session);
    return token;
}

// Sends nothing but the question: a renderer that was replaced must not learn the token.
bool holdsToken(void* session, const HostText& token) {
    // A longer answer is not stored, and counts as none.
    HostText answer(65536, Q7Char{});
    Q7GetMetaData(session, answer.data(), static_cast<std::uint32_t>(answer.size()));
    return answer.find(token) != HostText::npos;
}

enum class Arrival { Lost, Unknown, Confirmed };

Arrival send(void* session) {
    const HostText token = sendToken(session);
    // One that does not give it back before the send cannot be asked after it.
    const bool canBeAsked = holdsToken(session, token);
    // Everything but 0 is a refusal; a renderer that cannot be reached counts as connected.
    const int result = Q7RawSyncConnect(session);
    if (result != ConnectRet_Accepted) {
        std::fprintf(stderr, "live: the renderer refused the model (%d)\n", result);
        return Arrival::Lost;
    }
    Q7SendRaw(session);
    const bool held = holdsConnection(session);
    DisConnect(session);
    if (!held) return Arrival::Lost;
    if (!canBeAsked) return Arrival::Unknown;
    return holdsToken(session, token) ? Arrival::Confirmed : Arrival::Lost;
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
    switch (send(session.get())) {
        case Arrival::Confirmed:
            std::printf("live: sent\n");
            return 0;
        case Arrival::Unknown:
            std::printf("live: sent, but this renderer cannot be asked whether it arrived\n");
            return 0;
        case Arrival::Lost:
            break;
    }
    std::fprintf(stderr, "live: the scene may not have arrived, or only in part\n");
    return 1;
} catch (const std::exception& error) {
    // A version that is no version, or no memory: nothing is caught by the library.
    std::fprintf(stderr, "live: %s\n", error.what());
    return 1;
}
