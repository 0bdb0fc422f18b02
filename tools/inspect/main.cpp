#include <iostream>

#include "inspect/inspect.h"
#include "platform/command_line.h"
#include "platform/standard_streams.h"
#include "platform/terminal.h"

int main(int argc, char** argv) {
    platform::useBinaryStandardStreams();
    platform::prepareTerminalForUtf8();
    return q7inspect::inspectMain(platform::commandLineArguments(argc, argv), std::cout, std::cerr);
}
