// The command line of q7-standin.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "preview/preview.h"
#include "standin/behaviour.h"
#include "standin/connection.h"

namespace q7standin {

// What the renderer publishes, and when.
struct Publication {
    std::uint16_t status = 1;
    std::uint16_t flag = 0;
    // 4 without one, or the status stays as it is when the flag refuses the plug-in file.
    std::optional<std::uint16_t> statusAfterPlugin;
    std::optional<std::uint16_t> flagAfterPlugin;  // the flag stays as it is without one
    std::optional<std::uint16_t> port;             // instead of listening
    int startupDelay = 0;                          // milliseconds without any block
    int statusDelay = 0;                           // then so many with status 0
    int linkDelay = 0;                             // from the plug-in file to the status after it
};

// The windows that it shows. Titles count from 0: see window_names.h.
struct Window {
    int width = 0;  // of the viewport, in pixels
    int height = 0;
    std::size_t title = 0;
    std::size_t viewportTitle = 0;
};

struct Options {
    Publication publication;
    std::optional<Window> window;
    Answers answers;
    Misbehaviour misbehaviour;
    int patience = 5000;
    int idleTime = 3000;  // as in Services; no option of the command line
    bool checkArrays = true;
    bool quiet = false;
    std::optional<std::filesystem::path> out;
    std::optional<q7preview::PreviewOptions> preview;  // only with a folder
    std::optional<std::filesystem::path> transcript;
    std::optional<std::filesystem::path> readyFile;
    std::optional<std::uint64_t> connections;  // after which it ends
    std::optional<int> exitAfter;              // milliseconds
    std::optional<std::string> launchedWith;   // the plug-in file, when started as the launcher
};

struct HelpText {
    std::string text;
};
struct UsageError {
    std::string reason;
};

// The first argument with which the launcher of a renderer is started; the plug-in file follows,
// and may be split at its blanks.
bool isLaunch(const std::vector<std::string>& arguments);

// Options of a launched renderer, from a text: split at white space, but not inside double quotes.
std::vector<std::string> splitOptions(std::string_view text);

// `launchOptions` are those of a launch, whose command line has no room for any; ignored otherwise.
// Reads the file of --metadata @FILE and may throw q7tools::FileError for it.
std::variant<Options, HelpText, UsageError> parseOptions(
    const std::vector<std::string>& arguments, const std::vector<std::string>& launchOptions);

}  // namespace q7standin
