// Where the running program is.
#pragma once

#include <filesystem>

namespace platform {

// The program's own file; empty when the system does not tell.
std::filesystem::path executablePath();

}  // namespace platform
