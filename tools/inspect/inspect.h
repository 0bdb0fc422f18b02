// The program q7-inspect, without its process.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace q7inspect {

enum ExitCode : int {
    exitGood = 0,
    exitFaults = 1,   // the file is not valid, or two describe different scenes
    exitFailure = 2,  // bad usage, or a file that cannot be read or written
};

// Runs the program with the arguments behind its name, in UTF-8.
int inspectMain(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err);

}  // namespace q7inspect
