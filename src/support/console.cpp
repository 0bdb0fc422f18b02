#include "support/console.h"

#include <string>

#include "platform/standard_streams.h"

void printLine(std::string_view text) {
    platform::writeText(platform::StandardStream::Output, std::string(text) + '\n');
}

void printErrorLine(std::string_view text) {
    platform::writeText(platform::StandardStream::Error, std::string(text) + '\n');
}
