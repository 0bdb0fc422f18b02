#include "send/live.h"

#include <chrono>
#include <exception>
#include <random>

#include "common/files.h"
#include "q7plugin.h"
#include "send/entity_properties.h"
#include "send/host_text.h"

namespace q7send {

namespace {

constexpr std::uint32_t statusLinked = 4;
constexpr std::uint32_t metadataType = 3;
constexpr std::uint32_t noMessageMayGo = 0xFFFFFFFF;
constexpr std::size_t longestMetadata = 1 << 20;  // characters

class Disconnecting {
  public:
    explicit Disconnecting(void* session) : session_(session) {}
    Disconnecting(const Disconnecting&) = delete;
    Disconnecting& operator=(const Disconnecting&) = delete;
    ~Disconnecting() { DisConnect(session_); }

  private:
    void* session_;
};

ConnectRet connect(void* session, LiveForm form) {
    switch (form) {
        case LiveForm::raw:
            return Q7RawSyncConnect(session);
        case LiveForm::processed:
            return Q7ProcessedSyncConnect(session);
        case LiveForm::group:
            break;
    }
    return Q7GroupSyncConnect(session);
}

void connectOrThrow(void* session, LiveForm form) {
    std::string fault;
    try {
        fault = connectFault(connect(session, form));
    } catch (const std::logic_error&) {
        fault = "its installed version is not made of numbers and dots";
    }
    if (!fault.empty()) throw RendererError(fault);
}

void expectLinked(const std::string& when) {
    const std::uint32_t status = GetQ7RenderStatus(nullptr);
    if (status == statusLinked) return;
    throw RendererError(when + " it was " +
                        (status == 0 ? std::string("gone")
                                     : "no longer linked (status " + std::to_string(status) + ')') +
                        ", so the scene went nowhere or arrived in part");
}

// Sends the metadata with a text that no earlier message had.
HostText sendToken(void* session) {
    std::random_device random;
    HostText token(utf8ToWide(std::to_string(random()) + '-' + std::to_string(random())));
    Q7SetEntityStringProperty(session, metadataType, nullptr, HostText(entity::sendToken), token);
    Q7SendMetaData(session);
    return token;
}

// Sends nothing but the question: a renderer that was replaced must not learn the token. Only one that
// gives the token back before a send can be asked after it.
bool holdsToken(void* session, const HostText& token) {
    // A longer answer is not stored.
    std::basic_string<Q7Char> answer(longestMetadata, Q7Char{});
    Q7GetMetaData(session, answer.data(), static_cast<std::uint32_t>(answer.size()));
    return answer.find(token) != std::basic_string<Q7Char>::npos;
}

// The library lets no message go while a connection for a model is open, and one that broke is not.
// Without a renderer none goes either: see expectLinked.
void expectHeld(void* session) {
    if (Q7GetMetaData(session, nullptr, 0) == noMessageMayGo) return;
    throw RendererError(
        "could not be reached, or the connection to it broke: the scene may not have arrived, or "
        "only in part");
}

double sendScene(void* session, LiveForm form) {
    connectOrThrow(session, form);
    const Disconnecting atTheEnd(session);
    const auto start = std::chrono::steady_clock::now();
    if (form == LiveForm::raw) {
        Q7SendRaw(session);
    } else {
        Q7SendProcessed(session);
    }
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    expectLinked("after the send");
    expectHeld(session);
    return time.count();
}

void sendMessages(void* session, const MessageCounts& messages) {
    if (messages.cameras > 0) Q7SendCamera(session);
    if (messages.lights > 0) Q7SendLights(session);
    if (messages.cameras > 0) Q7SendScenes(session);
    if (messages.animations > 0) Q7SendCameraAnims(session);
}

}  // namespace

const char* nameOf(LiveForm form) {
    switch (form) {
        case LiveForm::raw:
            return "raw";
        case LiveForm::processed:
            return "processed";
        case LiveForm::group:
            break;
    }
    return "group";
}

std::string linkFault(std::uint32_t result) {
    switch (result) {
        case 0:
            return {};
        case 1:
            return "does not run, and no installation of it was found";
        case 3:
            return "its installed version is too old: it must be above 1.7.1";
        case 4:
            return "takes no link";
        case 5:
            return "its update runs";
        case 6:
            return "refused the plug-in file";
        case 7:
            return "the link failed, in two attempts";
        case 8:
            return "has no port, or cannot be connected to";
        default:
            return "the link failed with the unknown result " + std::to_string(result);
    }
}

std::string connectFault(std::int32_t result) {
    switch (result) {
        case ConnectRet_Accepted:
            return {};
        case ConnectRet_RefusedByReply3:
            return "refused the scene with its reply 3";
        case ConnectRet_RefusedByReply2:
            return "refused the scene with its reply 2";
        case ConnectRet_RefusedByReply1:
            return "refused the scene with its reply 1";
        case ConnectRet_Failed:
            return "gave no answer to the connection, or an unknown one";
        default:
            return "the connection failed with the unknown result " + std::to_string(result);
    }
}

void linkRenderer(const std::filesystem::path& pluginFile) {
    const HostText file(utf8ToWide(q7tools::pathToUtf8(pluginFile)));
    const std::string fault = linkFault(StartLinkQ7Render(file));
    if (!fault.empty()) throw RendererError(fault);
}

SentLive sendLive(void* session, LiveForm form, bool genMaterials, const MessageCounts& messages) {
    SetGenMatInstances(session, genMaterials ? 1 : 0);
    const HostText token = sendToken(session);
    const bool canBeAsked = holdsToken(session, token);
    expectLinked("before the connection");
    const double seconds = sendScene(session, form);
    sendMessages(session, messages);
    expectLinked("after the messages");
    if (canBeAsked && !holdsToken(session, token)) {
        throw RendererError("does not answer any more, or was replaced, so what was sent is lost");
    }
    return {seconds, canBeAsked};
}

}  // namespace q7send
