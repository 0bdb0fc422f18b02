#include "common/version.h"

namespace q7tools {

std::string versionText(std::string_view program) {
    return std::string(program) + " " Q7_VERSION;
}

}  // namespace q7tools
