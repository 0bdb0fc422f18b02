// The renderer that is stood in for: its blocks, its port, one connection after the other.
#pragma once

#include <functional>
#include <ostream>

#include "standin/options.h"

namespace q7standin {

enum ExitCode : int {
    exitGood = 0,
    exitFaults = 1,   // a breach of the protocol, or too few connections
    exitFailure = 2,  // bad usage, a renderer that runs already, or a file that cannot be written
    exitDied = 3,     // on request
};

// What the process around it provides.
struct Surroundings {
    std::ostream& out;
    std::ostream& errors;
    std::function<bool()> wasInterrupted;
    std::function<void()> die;
};

// Runs until it is to end, and tells how it went on `out` and `errors`.
int runRenderer(const Options& options, const Surroundings& surroundings);

}  // namespace q7standin
