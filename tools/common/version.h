// What the tools' --version prints.
#pragma once

#include <string>
#include <string_view>

namespace q7tools {

// The program's name and the version of the project, such as "q7-inspect 1.2.3.0".
std::string versionText(std::string_view program);

}  // namespace q7tools
