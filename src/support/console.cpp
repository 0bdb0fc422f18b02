#include "support/console.h"

#include <cstdio>
#include <string>

void printLine(std::string_view text) {
    const std::string line = std::string(text) + '\n';
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}
