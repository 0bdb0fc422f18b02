#include "standin/options.h"

#include <CLI/CLI.hpp>
#include <charconv>
#include <limits>
#include <set>

#include "common/files.h"
#include "common/version.h"
#include "standin/window_names.h"

namespace q7standin {

namespace {

constexpr std::string_view launchStart = "-pluginFile=";
constexpr std::uint64_t mostMetadata = 1U << 28;
// What the size of a viewport has room for is more, but no window system does.
constexpr int mostPixels = 32767;

constexpr char description[] =
    "Stands in for the renderer, so that a plug-in can be tried without it. It publishes what a\n"
    "renderer publishes, takes every message that a plug-in sends, tells what came in, and says\n"
    "exactly where a message is not as it should be.";

constexpr char guide[] = R"text(
Examples:
  q7-standin
      Waits for a plug-in until Ctrl+C. Start it, then let the plug-in link and send.

  q7-standin --out received
      The same, and keeps each message as a file in the folder "received": models as 0001-model.q7mesh
      and so on, for q7-inspect; all else as JSON.

  q7-standin --out received --preview
      The same, and draws the last model that came with each path, 0001-model.png and so on, when no
      client is connected or waits: a send in several forms gives one picture, and is not slowed down.
      The picture shows all of the model, or what its camera sees (FieldOfView, Position, Direction and
      so on, as q7-send tells them); a camera that comes later draws it again. Images of materials are
      read from their files.

  q7-standin --quiet --connections 2 --exit-after 60000 --out received
      For a test: takes the plug-in file and one model, says only what was wrong, and ends; after a
      minute in any case.

  q7-standin --status 4
      A renderer that is linked already. With --status 2 one that takes no link, with
      --flag-after-plugin 1 one that refuses the plug-in file, with --port 65535 one without a port.

  q7-standin --window 1920x1080 --viewport-title 2
      On Windows: shows a window as the renderer's is, for plug-ins that measure its viewport.

  q7-standin --close-at-ack 3 --abort
      Breaks the connection in the middle of the first model. --die-at-ack 3 ends like a crash.

Notes:
  Behind a model it notes what is most likely a mistake in it, such as a transposed matrix; and once of
  a connection that stays open, and idle, after its model: nothing else gets through until it is closed.
  They are not errors, and not told with --quiet.

As the launcher:
  Copied to the place of a renderer's launcher and started with -pluginFile=FILE, it behaves as the
  renderer that the launcher starts: it is slow to publish its blocks, has status 0, then 1, takes the
  plug-in file and has status 4. Its options then come from the file q7-standin.options beside the
  program and from the environment variable Q7_STANDIN_OPTIONS, which has the last word; options are
  split at blanks and line ends, "double quotes" keep blanks.

Exit status:
  0  all messages were right
  1  a message was against the protocol, or fewer connections came than --connections asked for
  2  bad usage, another renderer runs, or a file cannot be written
  3  ended by --die-at-ack or --die-at-word
)text";

// Without the name that it puts into the help.
CLI::Validator notNegative() {
    return CLI::Validator(CLI::NonNegativeNumber).description("");
}

// A number of 32 bits, negative ones included, or "none".
std::optional<std::uint32_t> answerOf(const std::string& text) {
    if (text == "none") return std::nullopt;
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    if (!isNumber || number < std::numeric_limits<std::int32_t>::min() ||
        number > std::numeric_limits<std::uint32_t>::max()) {
        throw CLI::ValidationError("\"" + text + "\" is neither a 32-bit number nor \"none\"");
    }
    return static_cast<std::uint32_t>(number);
}

std::string metadataOf(const std::string& text) {
    if (text.starts_with('@')) {
        const auto bytes = q7tools::readWholeFile(q7tools::pathFromUtf8(text.substr(1)));
        return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
    }
    constexpr std::string_view sizeStart = "size:";
    if (!text.starts_with(sizeStart)) return text;
    std::uint64_t size = 0;
    const char* last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + sizeStart.size(), last, size);
    if (error != std::errc() || end != last || size > mostMetadata) {
        throw CLI::ValidationError("--metadata: \"" + text + "\" needs a number up to " +
                                   std::to_string(mostMetadata));
    }
    return std::string(static_cast<std::size_t>(size), 'x');
}

void optionalPath(CLI::App& app, const std::string& name, const std::string& type,
                  std::optional<std::filesystem::path>& path, const std::string& help) {
    app.add_option_function<std::string>(
           name, [&path](const std::string& text) { path = q7tools::pathFromUtf8(text); }, help)
        ->type_name(type);
}

// What the options of the pictures say, which may come in any order.
struct ChosenPreview {
    bool isWanted = false;
    std::optional<std::string> size;
    std::optional<std::string> up;
};

std::optional<q7preview::PreviewOptions> previewOf(const ChosenPreview& chosen, bool isKeeping) {
    if (!chosen.isWanted) {
        if (!chosen.size && !chosen.up) return std::nullopt;
        throw CLI::ValidationError(
            "the size and the axis of pictures are of use with --preview only");
    }
    if (!isKeeping) throw CLI::ValidationError("--preview needs --out");
    q7preview::PreviewOptions options;
    if (chosen.size) {
        const auto size = q7preview::readDrawnSize(*chosen.size);
        if (!size) {
            throw CLI::ValidationError(q7preview::drawnSizeFault("--preview-size", *chosen.size));
        }
        options.size = *size;
    }
    if (chosen.up == "z") options.up = q7preview::Axis::z;
    return options;
}

void addOutput(CLI::App& app, Options& options, ChosenPreview& chosen) {
    const std::string group = "What it keeps and says";
    app.option_defaults()->group(group);
    optionalPath(app, "--out", "DIR", options.out, "Keep each message as a file in this folder");
    app.add_flag("--preview", chosen.isWanted,
                 "With --out: draw models as NNNN-model.png when idle");
    app.add_option("--preview-size", chosen.size,
                   "Its size in pixels, 960x540 if not given, at most 4096x4096")
        ->type_name("WIDTHxHEIGHT");
    app.add_option("--preview-up", chosen.up, "Which axis is up in it, y (if not given) or z")
        ->type_name("AXIS")
        ->check(CLI::IsMember(std::set<std::string>{"y", "z"}).description(""));
    optionalPath(app, "--transcript", "FILE", options.transcript,
                 "Write every byte that was received and sent, and the used bytes of the block, as "
                 "text");
    app.add_flag("--quiet,-q", options.quiet, "Say only what is wrong, and the closing line");
    app.add_flag_callback(
        "--unchecked", [&options] { options.checkArrays = false; },
        "Do not look into the arrays of meshes: for measuring");
    optionalPath(app, "--ready-file", "FILE", options.readyFile,
                 "Write the port into this file as soon as the renderer is up");
}

void addLifetime(CLI::App& app, Options& options) {
    app.option_defaults()->group("When it ends");
    app.add_option("--connections", options.connections, "End after so many connections")
        ->type_name("N");
    app.add_option("--exit-after", options.exitAfter, "End after so many milliseconds")
        ->type_name("MS")
        ->check(notNegative());
}

void addPublication(CLI::App& app, Publication& publication) {
    app.option_defaults()->group("What it publishes");
    const auto number = [&app](const std::string& name, auto& value, const std::string& help) {
        app.add_option(name, value, help)->type_name("N");
    };
    number("--status", publication.status, "The status at first, 1 if not given");
    number(
        "--status-after-plugin", publication.statusAfterPlugin,
        "The status after the plug-in file has come; if not given 4, or with a raised flag the one "
        "before it");
    number("--flag", publication.flag, "The flag at first, 0 if not given");
    number("--flag-after-plugin", publication.flagAfterPlugin,
           "Raise the flag when the plug-in file has come, which refuses each link");
    number("--port", publication.port, "Publish this port and do not listen");
    const auto delay = [&app](const std::string& name, int& value, const std::string& help) {
        app.add_option(name, value, help)->type_name("MS")->check(notNegative());
    };
    delay("--startup-delay", publication.startupDelay, "Publish nothing for so long");
    delay("--status-delay", publication.statusDelay, "Then publish the status 0 for so long");
    delay("--link-delay", publication.linkDelay,
          "Wait so long between the plug-in file and the status after it");
}

// "WIDTHxHEIGHT".
void sizeOf(const std::string& text, Window& window) {
    const char* last = text.data() + text.size();
    const auto [middle, error] = std::from_chars(text.data(), last, window.width);
    bool isSize = error == std::errc() && middle != last && *middle == 'x';
    if (isSize) {
        const auto [end, second] = std::from_chars(middle + 1, last, window.height);
        isSize = second == std::errc() && end == last;
    }
    const auto fits = [](int pixels) { return pixels >= 1 && pixels <= mostPixels; };
    if (isSize && fits(window.width) && fits(window.height)) return;
    throw CLI::ValidationError("--window: \"" + text +
                               "\" is no WIDTHxHEIGHT with numbers from 1 to " +
                               std::to_string(mostPixels));
}

// What the options of the window say, which may come in any order.
struct ChosenWindow {
    std::optional<std::string> size;
    std::size_t title = 1;
    std::size_t viewportTitle = 1;
    bool hasTitle = false;
};

void addWindow(CLI::App& app, ChosenWindow& chosen) {
    app.option_defaults()->group("Its window, on Windows only");
    app.add_option("--window", chosen.size, "Show a window with a viewport of this size in pixels")
        ->type_name("WIDTHxHEIGHT");
    const auto title = [&](const std::string& name, std::size_t& value, std::size_t most,
                           const std::string& help) {
        const auto choose = [&value, &chosen](std::size_t number) {
            value = number;
            chosen.hasTitle = true;
        };
        const auto range = CLI::Range(std::size_t{1}, most);
        app.add_option_function<std::size_t>(name, choose, help)->type_name("N")->check(range);
    };
    title("--window-title", chosen.title, topWindowTitles.size(),
          "Which title it has: 1 English (if not given), 2 Chinese");
    title("--viewport-title", chosen.viewportTitle, viewportTitles.size(),
          "Which title the viewport has: 1 to 6, those of the renderer's builds; 1 if not given");
}

std::optional<Window> windowOf(const ChosenWindow& chosen) {
    if (!chosen.size) {
        if (!chosen.hasTitle) return std::nullopt;
        throw CLI::ValidationError("a title is of use with --window only");
    }
    Window window;
    sizeOf(*chosen.size, window);
    window.title = chosen.title - 1;
    window.viewportTitle = chosen.viewportTitle - 1;
    return window;
}

void addAnswers(CLI::App& app, Options& options) {
    app.option_defaults()->group("What it answers");
    Answers& answers = options.answers;
    app.add_option_function<std::string>(
           "--reply", [&answers](const std::string& text) { answers.reply = answerOf(text); },
           "The reply to a connect: 0 accepts; \"none\" closes without a reply")
        ->type_name("N");
    app.add_option_function<std::string>(
           "--send-type",
           [&answers](const std::string& text) { answers.sendModelType = answerOf(text); },
           "The answer to the question which way to send a model, or \"none\"")
        ->type_name("N");
    app.add_option_function<std::string>(
           "--metadata",
           [&answers](const std::string& text) { answers.metadata = metadataOf(text); },
           "The answer to every request for metadata: TEXT, @FILE or size:N. Without it, those "
           "that "
           "came last with the model's path")
        ->type_name("TEXT");
    app.add_option("--metadata-count", answers.metadataCount,
                   "Give this count for it instead of the true one")
        ->type_name("N");
    app.add_option("--patience", options.patience,
                   "How long to wait for instance paths before taking a model for one of the plain "
                   "form, 5000 if not given")
        ->type_name("MS")
        ->check(notNegative());
}

void addMisbehaviour(CLI::App& app, Misbehaviour& misbehaviour) {
    app.option_defaults()->group("How it misbehaves");
    app.add_option("--close-at-ack", misbehaviour.closeAtAcknowledgement,
                   "Close the connection in place of the N-th acknowledgement of the run")
        ->type_name("N");
    app.add_option("--die-at-ack", misbehaviour.dieAtAcknowledgement,
                   "End at once in place of the N-th acknowledgement, like a crash")
        ->type_name("N");
    app.add_option("--close-at-word", misbehaviour.closeAtWord,
                   "Close the connection when this command word has come")
        ->type_name("W");
    app.add_option("--die-at-word", misbehaviour.dieAtWord,
                   "End at once when this command word has come")
        ->type_name("W");
    app.add_option("--delay-ack", misbehaviour.acknowledgementDelay,
                   "Wait so long before each acknowledgement")
        ->type_name("MS")
        ->check(notNegative());
    app.add_flag("--pieces", misbehaviour.inPieces,
                 "Send every answer byte by byte. Faults that follow on a connection count neither "
                 "as protocol errors nor as remarks");
    app.add_flag("--abort", misbehaviour.withReset, "Reset the connection where it is closed");
}

Options launchedOptions(const std::vector<std::string>& arguments) {
    Options options;
    std::string file = arguments.front().substr(launchStart.size());
    for (std::size_t i = 1; i < arguments.size(); ++i)
        file += ' ' + arguments[i];
    options.launchedWith = file;
    options.publication.startupDelay = 500;
    options.publication.statusDelay = 300;
    return options;
}

}  // namespace

bool isLaunch(const std::vector<std::string>& arguments) {
    return !arguments.empty() && arguments.front().starts_with(launchStart);
}

std::vector<std::string> splitOptions(std::string_view text) {
    std::vector<std::string> options;
    bool isInside = false;
    bool isQuoted = false;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (isBlank && !isQuoted) {
            isInside = false;
            continue;
        }
        if (!isInside) options.emplace_back();
        isInside = true;
        if (c == '"') {
            isQuoted = !isQuoted;
        } else {
            options.back() += c;
        }
    }
    return options;
}

std::variant<Options, HelpText, UsageError> parseOptions(
    const std::vector<std::string>& arguments, const std::vector<std::string>& launchOptions) {
    const bool launched = isLaunch(arguments);
    Options options = launched ? launchedOptions(arguments) : Options();
    const std::vector<std::string>& given = launched ? launchOptions : arguments;

    CLI::App app(description, "q7-standin");
    app.allow_windows_style_options(false);
    app.option_defaults()->take_last();
    app.set_help_flag("--help,-h", "Print this help and exit");
    app.set_version_flag("--version", q7tools::versionText("q7-standin"),
                         "Print the version and exit");
    app.footer(guide);
    ChosenPreview preview;
    addOutput(app, options, preview);
    addLifetime(app, options);
    addPublication(app, options.publication);
    addAnswers(app, options);
    addMisbehaviour(app, options.misbehaviour);
    ChosenWindow window;
    addWindow(app, window);
    try {
        app.parse(std::vector<std::string>(given.rbegin(), given.rend()));
        options.window = windowOf(window);
        options.preview = previewOf(preview, options.out.has_value());
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::CallForVersion& call) {
        return HelpText{std::string(call.what()) + '\n'};
    } catch (const CLI::ParseError& error) {
        return UsageError{error.what()};
    }
    return options;
}

}  // namespace q7standin
