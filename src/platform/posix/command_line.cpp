#include "platform/command_line.h"

namespace platform {

std::vector<std::string> commandLineArguments(int argc, const char* const* argv) {
    return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

}  // namespace platform
