#include "platform/guid.h"

#include <windows.h>

#include <objbase.h>

#include <algorithm>
#include <iterator>

namespace platform {

std::optional<Guid> newGuid() {
    GUID made;
    if (CoCreateGuid(&made) != S_OK) return std::nullopt;
    const auto part = [](std::uint32_t number, int shift) {
        return static_cast<std::uint8_t>(number >> shift);
    };
    Guid guid = {part(made.Data1, 24), part(made.Data1, 16), part(made.Data1, 8),
                 part(made.Data1, 0),  part(made.Data2, 8),  part(made.Data2, 0),
                 part(made.Data3, 8),  part(made.Data3, 0)};
    std::copy(std::begin(made.Data4), std::end(made.Data4), guid.begin() + 8);
    return guid;
}

}  // namespace platform
