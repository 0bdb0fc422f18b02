// The command line of q7-send.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "send/scene_sender.h"

namespace q7send {

struct Options {
    std::filesystem::path model;
    std::optional<std::filesystem::path> stream;
    StreamForm form = StreamForm::raw;
    std::optional<std::filesystem::path> materials;
    std::optional<std::filesystem::path> archive;
    std::optional<std::filesystem::path> packed;  // goes into the archive in the model's place
    std::optional<LiveForm> live;
    bool genMaterials = false;
};

// The text that was asked for instead of work.
struct HelpText {
    std::string text;
};

// The command line cannot be understood: the reason, in one line.
struct UsageError {
    std::string reason;
};

// Takes the arguments after the program's name, in UTF-8.
std::variant<Options, HelpText, UsageError> parseOptions(std::vector<std::string> arguments,
                                                         const std::string& version);

}  // namespace q7send
