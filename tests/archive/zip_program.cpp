// Packs a folder: FOLDER ZIP. The exit code is 1 when that fails.

#include <string>
#include <vector>

#include "archive/zip_folder.h"
#include "platform/command_line.h"

int main(int argc, char** argv) {
    const std::vector<std::string> arguments = platform::commandLineArguments(argc, argv);
    if (arguments.size() != 2) return 2;
    return zipFolder(utf8ToWide(arguments[0]), utf8ToWide(arguments[1])) ? 0 : 1;
}
