// The one connection to the renderer, and the words and strings that go over it. Nothing here reports
// a failure of the link: a broken connection is closed, and what follows goes nowhere.
#pragma once

#include <cstddef>
#include <cstdint>

#include "model/session_core.h"
#include "platform/socket.h"
#include "support/text.h"

// The first word of each message.
enum class CommandWord : std::uint32_t {
    PluginFile = 3,
    LegacyScenes = 4,
    CameraTransformFov = 5,
    LightsDataXml = 6,
    PlainSync = 7,
    GroupSync = 8,
    SendModelType = 9,
    GetMetaData = 10,
    RawSyncWithPaths = 11,
    Camera = 12,
    Scenes = 13,
    Lights = 14,
    MetaData = 15,
    RelevantSync = 17,
    CameraAnimations = 18,
};

// How a connection for a model ended, as hosts know it.
enum class SyncResult : std::int32_t {
    Accepted = 0,
    RefusedByReply3 = 2,
    RefusedByReply2 = 4,
    RefusedByReply1 = 6,
    Failed = 7,
};

struct RenderSocket {
    RenderSocket();
    ~RenderSocket();
    RenderSocket(const RenderSocket&) = delete;
    RenderSocket& operator=(const RenderSocket&) = delete;

    platform::SocketHandle socket = platform::noSocket;
    const char* address = "127.0.0.1";
    // From a successful connect or send until the next failure or CloseLink; messages also take it
    // for "in use".
    bool connected = false;
};

// One for the process, made on first use.
RenderSocket& renderSocket();

// False when the connection cannot be made; the port is then read again, so that the next attempt
// follows a renderer that moved.
bool SocketConnect(RenderSocket& link, std::uint16_t port);
void CloseLink(RenderSocket& link);

// On a failure these close the connection and read the port again; on a closed one they do nothing.
void SendBytes(RenderSocket& link, const void* data, std::size_t size);
void SendWord(RenderSocket& link, std::uint32_t word);
void SendString(RenderSocket& link, WideView text);
// The same bytes as a string and a word, if they are few in one piece: each piece wakes the renderer.
void SendStringAndWord(RenderSocket& link, WideView text, std::uint32_t word);

// One read of four bytes into a word that starts at 0. False when nothing came.
bool ReceiveWord(RenderSocket& link, std::uint32_t& word);
// A count of UTF-8 bytes, then those bytes, as far as one read brings them; the rest of the count
// becomes zeros. Empty when nothing came, or a count that is not positive or absurdly large.
WideString ReceiveString(RenderSocket& link);

// Whether a message may go now; if so, the connection for it is open, or was tried.
bool SendGate(RenderSocket& link);

// Opens a connection for a model. A renderer that cannot be reached counts as one that accepted.
SyncResult SyncRequest(SessionCore& session, std::uint16_t port, CommandWord word);
