// The command line of a program.
#pragma once

#include <string>
#include <vector>

namespace platform {

// The arguments after the program's name, in UTF-8 on every platform. Takes what main was given.
std::vector<std::string> commandLineArguments(int argc, const char* const* argv);

}  // namespace platform
