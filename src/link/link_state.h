// What the whole process knows of the renderer, and the two blocks that the renderer publishes.
// Shared by all sessions, without protection.
#pragma once

#include <cstdint>

#include "support/text.h"

// Names of the renderer's blocks of shared memory.
inline constexpr WideView statusBlockName = u"E35404FC215ED0F65A4EC1CCBB898CC8";
inline constexpr WideView portBlockName = u"BD7A725E37C60EEFD473703CF7EC26DD";

// The renderer has a port block but no port.
inline constexpr std::uint16_t noPort = 65535;

// What the renderer says of itself. Any other value is a renderer that is not ready.
namespace RenderStatus {
inline constexpr std::int32_t notAvailable = 0;
inline constexpr std::int32_t waitsForPluginFile = 1;
inline constexpr std::int32_t takesNoLink = 2;
inline constexpr std::int32_t linked = 4;
}  // namespace RenderStatus

struct LinkState {
    // Folder of the installation; empty until a host or the system's records supply it.
    WideString renderPath;
    // The file that the last handshake handed over.
    WideString pluginFile;
    // The last path given for a main model, by any session.
    WideString modelFilePath;
    // Keeps its value when a read fails.
    std::uint16_t port = 0;
    std::int32_t status = RenderStatus::notAvailable;
    // As it stood before it was cleared.
    std::uint16_t linkFlag = 0;

    // Mirrors the status block, and clears its flag if asked to. Without a block the status becomes
    // 0, the flag stays, and the result is false.
    bool readStatus(bool clearFlag);
    // Mirrors the port block. Without a block prints "Port share mem error!" and gives false.
    bool readPort();

    // The status as the renderer shows it now. With a place for it, the low byte of the flag is stored
    // there and the flag is cleared.
    std::uint32_t renderStatus(std::uint8_t* flag);
};

LinkState& linkState();

// The library's only test for whether the renderer runs.
bool statusBlockExists();
