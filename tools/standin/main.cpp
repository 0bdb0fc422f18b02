// q7-standin: a program in the renderer's place.
#include <cstdlib>
#include <iostream>
#include <string>
#include <system_error>
#include <variant>
#include <vector>

#include "common/files.h"
#include "common/text_output.h"
#include "platform/ansi_text.h"
#include "platform/command_line.h"
#include "platform/executable_path.h"
#include "platform/interrupts.h"
#include "platform/standard_streams.h"
#include "platform/terminal.h"
#include "standin/options.h"
#include "standin/renderer.h"
#include "support/text.h"

namespace {

using namespace q7standin;

int fail(const std::string& subject, const std::string& reason) {
    std::cerr << q7tools::errorLine("q7-standin", subject, reason);
    return exitFailure;
}

// The command line of a launch is the host's; options come from elsewhere.
std::vector<std::string> launchOptions() {
    std::vector<std::string> options;
    const auto add = [&options](const std::string& text) {
        for (std::string& option : splitOptions(text))
            options.push_back(std::move(option));
    };
    const auto file = platform::executablePath().replace_filename("q7-standin.options");
    std::error_code ignored;
    if (std::filesystem::exists(file, ignored)) {
        const auto bytes = q7tools::readWholeFile(file);
        add(std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
    }
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread runs yet.
    if (const char* text = std::getenv("Q7_STANDIN_OPTIONS")) {
        add(wideToUtf8(platform::ansiToWide(text)));
    }
    return options;
}

int run(const std::vector<std::string>& arguments) {
    const auto parsed =
        parseOptions(arguments, isLaunch(arguments) ? launchOptions() : std::vector<std::string>());
    if (const auto* help = std::get_if<HelpText>(&parsed)) {
        std::cout << help->text;
        return exitGood;
    }
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        return fail("usage", error->reason + " (--help tells more)");
    }
    platform::watchInterrupts();
    return runRenderer(std::get<Options>(parsed),
                       {.out = std::cout,
                        .errors = std::cerr,
                        .wasInterrupted = platform::wasInterrupted,
                        // Without any cleaning up: the blocks stay where the system keeps them.
                        .die = [] { std::_Exit(exitDied); }});
}

}  // namespace

int main(int argc, char** argv) {
    platform::useBinaryStandardStreams();
    platform::prepareTerminalForUtf8();
    try {
        return run(platform::commandLineArguments(argc, argv));
    } catch (const q7tools::FileError& error) {
        return fail(error.file(), error.what());
    } catch (const std::exception& error) {
        return fail("failed", error.what());
    }
}
