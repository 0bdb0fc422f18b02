#include "platform/guid.h"

#include <sys/random.h>

namespace platform {

std::optional<Guid> newGuid() {
    Guid guid;
    // So few bytes come all at once, and no signal breaks in.
    if (getrandom(guid.data(), guid.size(), 0) != static_cast<ssize_t>(guid.size()))
        return std::nullopt;
    // Version 4, of random numbers, and the usual variant.
    guid[6] = static_cast<std::uint8_t>((guid[6] & 0x0F) | 0x40);
    guid[8] = static_cast<std::uint8_t>((guid[8] & 0x3F) | 0x80);
    return guid;
}

}  // namespace platform
