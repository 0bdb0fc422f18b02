#include "inspect/inspect.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <new>
#include <optional>
#include <span>
#include <system_error>

#include "common/byte_reader.h"
#include "common/files.h"
#include "common/stream_reader.h"
#include "common/text_output.h"
#include "inspect/json_report.h"
#include "inspect/obj_export.h"
#include "inspect/summary.h"
#include "inspect/validate.h"

namespace q7inspect {

using q7tools::counted;
using q7tools::errorLine;
using q7tools::FileError;
using q7tools::FormatError;
using q7tools::StreamModel;

namespace {

constexpr std::string_view program = "q7-inspect";
constexpr std::size_t shownFaults = 100;

constexpr const char* examples = R"(Examples:
  q7-inspect scene.stream                    what is in it
  q7-inspect --all scene.stream              the same, with every row
  q7-inspect --validate scene.stream         is it sound? one line for each fault
  q7-inspect --json scene.stream             for programs
  q7-inspect --obj scene.obj scene.stream    look at it in any viewer

Exit status: 0 all is well; 1 the file is not a valid model stream;
2 bad usage, or a file that cannot be read or written.)";

struct Options {
    std::string file;
    bool all = false;
    bool json = false;
    bool validate = false;
    std::optional<std::string> obj;
};

// Parses the arguments. Gives an exit code instead when nothing is left to do.
std::optional<int> parseOptions(const std::vector<std::string>& arguments, Options& options,
                                std::ostream& out, std::ostream& err) {
    CLI::App app("Looks into a model stream file and tells what it holds.", std::string(program));
    // A path may start with a slash on every platform.
    app.allow_windows_style_options(false);
    app.footer(examples);
    app.add_option("FILE", options.file, "The model stream")->required();
    auto* json =
        app.add_flag("--json", options.json, "Print one JSON object with all but the arrays");
    auto* validate = app.add_flag("--validate", options.validate, "List every fault of the stream");
    auto* obj =
        app.add_option("--obj", options.obj, "Write the placed scene as a Wavefront OBJ file")
            ->type_name("OUT");
    app.add_flag("--all", options.all, "Print every row and every fault, however many");
    json->excludes(validate)->excludes(obj);
    validate->excludes(obj);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return exitGood;
    } catch (const CLI::ParseError& error) {
        err << errorLine(program, "usage", std::string(error.what()) + " (--help tells more)");
        return exitFailure;
    }
    return std::nullopt;
}

// A file of another kind would give a puzzling reason at a random place.
FormatError withBetterReason(const FormatError& error, std::span<const std::byte> bytes) {
    if (bytes.size() < sizeof(std::uint32_t)) {
        return {0, "not a model stream: the file has " + counted(bytes.size(), "byte", "bytes")};
    }
    const std::uint32_t version = q7tools::ByteReader(bytes).readWord("version word");
    if (version == q7tools::knownStreamVersion) return error;
    return {0, "not a model stream: it starts with the word " + std::to_string(version) +
                   ", not with " + std::to_string(q7tools::knownStreamVersion)};
}

StreamModel readModel(const std::string& file) {
    const std::vector<std::byte> bytes = q7tools::readWholeFile(q7tools::pathFromUtf8(file));
    try {
        return q7tools::readStream(bytes);
    } catch (const FormatError& error) {
        throw withBetterReason(error, bytes);
    }
}

void printFault(std::ostream& out, const std::string& file, const Fault& fault) {
    out << q7tools::printable(file) << ": " << q7tools::atByte(fault.offset, fault.reason) << '\n';
}

int runValidate(const Options& options, std::ostream& out) {
    std::vector<Fault> faults;
    StreamModel model;
    try {
        model = readModel(options.file);
        faults = findFaults(model);
    } catch (const FormatError& error) {
        faults.push_back({error.offset(), error.what()});
    }
    if (faults.empty()) {
        out << q7tools::printable(options.file)
            << ": valid: " << counted(model.materials.size(), "material", "materials") << ", "
            << counted(model.instances.size(), "instance", "instances") << ", "
            << counted(model.meshes.size(), "mesh", "meshes") << ", "
            << counted(model.placedTriangleCount(), "placed triangle", "placed triangles") << '\n';
        return exitGood;
    }
    const std::size_t shown = options.all ? faults.size() : std::min(faults.size(), shownFaults);
    for (std::size_t i = 0; i < shown; ++i)
        printFault(out, options.file, faults[i]);
    if (shown < faults.size()) {
        out << q7tools::printable(options.file) << ": ... and "
            << counted(faults.size() - shown, "more fault", "more faults") << '\n';
    }
    return exitFaults;
}

int runObj(const Options& options, std::ostream& out, std::ostream& err) {
    const auto target = q7tools::pathFromUtf8(*options.obj);
    std::error_code ignored;
    if (std::filesystem::equivalent(target, q7tools::pathFromUtf8(options.file), ignored)) {
        throw FileError(target, "is the stream itself and stays as it is");
    }
    const StreamModel model = readModel(options.file);
    ObjCounts counts;
    q7tools::writeWholeFile(target,
                            [&](std::ostream& stream) { counts = writeObj(stream, model); });
    out << q7tools::printable(*options.obj) << ": wrote "
        << counted(counts.objects, "object", "objects") << " with "
        << counted(counts.triangles, "triangle", "triangles") << '\n';
    if (counts.missingMeshes == 0 && counts.skippedTriangles == 0) return exitGood;
    err << errorLine(
        program, options.file,
        "left out: " + counted(counts.missingMeshes, "instance", "instances") +
            " of missing meshes, " +
            counted(counts.skippedTriangles, "unusable triangle", "unusable triangles") +
            " (--validate tells more)");
    return exitFaults;
}

int run(const Options& options, std::ostream& out, std::ostream& err) {
    if (options.validate) return runValidate(options, out);
    if (options.obj) return runObj(options, out, err);
    const StreamModel model = readModel(options.file);
    if (options.json) {
        printJson(out, options.file, model);
    } else {
        printSummary(out, options.file, model, options.all);
    }
    return exitGood;
}

}  // namespace

int inspectMain(const std::vector<std::string>& arguments, std::ostream& out, std::ostream& err) {
    Options options;
    if (const auto exitCode = parseOptions(arguments, options, out, err)) return *exitCode;
    int exitCode = exitFailure;
    try {
        exitCode = run(options, out, err);
        out.flush();
        if (!out) {
            err << errorLine(program, "standard output", "cannot be written to the end");
            return exitFailure;
        }
    } catch (const FileError& error) {
        err << errorLine(program, error.file(), error.what());
    } catch (const FormatError& error) {
        err << errorLine(program, options.file, q7tools::atByte(error.offset(), error.what()));
        return exitFaults;
    } catch (const std::bad_alloc&) {
        err << errorLine(program, options.file, "is too large for the memory of this machine");
    }
    return exitCode;
}

}  // namespace q7inspect
