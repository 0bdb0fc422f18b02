// Paths of any length, for the services of this system.
#pragma once

#include <string>

namespace platform {

// The whole path in the form that may be longer than 260 characters.
std::wstring extendedLengthPath(const std::wstring& path);

}  // namespace platform
