#include "platform/executable_path.h"

#include <system_error>

namespace platform {

std::filesystem::path executablePath() {
    std::error_code ignored;
    return std::filesystem::read_symlink("/proc/self/exe", ignored);
}

}  // namespace platform
