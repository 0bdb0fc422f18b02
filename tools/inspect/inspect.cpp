#include "inspect/inspect.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <limits>
#include <new>
#include <optional>
#include <set>
#include <system_error>

#include "common/byte_reader.h"
#include "common/files.h"
#include "common/model_notes.h"
#include "common/stream_reader.h"
#include "common/text_output.h"
#include "common/version.h"
#include "inspect/archive_report.h"
#include "inspect/archive_validate.h"
#include "inspect/compare.h"
#include "inspect/input.h"
#include "inspect/instance_paths.h"
#include "inspect/json_report.h"
#include "inspect/obj_export.h"
#include "inspect/preview.h"
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
constexpr std::size_t shownLines = 100;

constexpr const char* examples = R"(Examples:
  q7-inspect scene.q7mesh                    what is in it
  q7-inspect scene.q7a                       the same for an archive, and for the stream inside
  q7-inspect --all scene.q7mesh              the same, with every row
  q7-inspect --validate scene.q7a            is it sound? one line for each fault
  q7-inspect --json scene.q7mesh             for programs
  q7-inspect --obj scene.obj scene.q7mesh    look at it in any viewer
  q7-inspect --preview scene.png scene.q7a   a picture of it, with its textures
  q7-inspect --compare a.q7mesh b.q7a        the same scene? one line for each difference
  q7-inspect --compare --link saved.q7mesh received.q7mesh
                                             the same, but for what the link leaves out

Two streams describe the same scene when they have the same header, the same materials and meshes
by name, and the same instances, each as often. The link leaves out the meshes that no instance
uses and all colors, and adds a mesh "@g@m@q7_" with instances that carry the materials. Of an
archive, --obj and --compare look at the stream inside alone.

A property of a material in an archive names a texture when its text's last part, behind the last
slash or backslash, ends like an image's name or is the name of a texture inside. What a "note:"
tells is unusual, or most likely a mistake of who made the file, but no fault.

Paths of instances are those of an archive's info.json or, of a file NNNN-model.q7mesh that q7-standin
kept, of NNNN-instance-paths.json beside it.

The picture shows all of the scene, from in front of it, the right and a little above, or what the
camera of --preview-camera sees of it: a JSON text as q7-standin keeps it, with Position and Direction and,
if they are there, Up, FieldOfView, AspectRatio, OrthographicWidth and NearPlane. The look of a
material is read from its text: the colour "#RRGGBB" of BaseColor, DiffuseColor or the like, the
image of BaseColorTexture or the like, and Opacity. (0, 0) of the uvs is an image's lower left
corner. Images (PNG, JPEG, BMP, TGA) come out of the archive; those of a stream are files where the
material says or in the stream's texture folder. What tells no colour gets one by its name.

Exit status: 0 all is well; 1 the file is neither a valid model stream nor a valid archive, or the
two that are compared differ; 2 bad usage, or a file that cannot be read or written.)";

struct Options {
    std::string file;
    bool all = false;
    bool json = false;
    bool validate = false;
    bool compare = false;
    bool link = false;
    bool order = false;
    std::optional<std::string> other;
    std::optional<std::string> obj;
    std::optional<std::string> preview;
    std::optional<std::string> previewCamera;
    q7preview::PreviewOptions previewOptions;
};

void addCompareOptions(CLI::App& app, Options& options) {
    auto* compare = app.add_flag("--compare", options.compare,
                                 "Tell whether FILE and OTHER describe the same scene");
    app.add_flag("--link", options.link,
                 "With --compare: FILE was saved, OTHER is the same as received "
                 "over the link")
        ->needs(compare);
    app.add_flag("--order", options.order, "With --compare: the order of instances counts")
        ->needs(compare);
    auto* other =
        app.add_option("OTHER", options.other, "With --compare: the other model stream or archive");
    other->needs(compare);
    compare->needs(other)->excludes("--json")->excludes("--validate")->excludes("--obj");
}

void addPreviewOptions(CLI::App& app, Options& options) {
    auto* preview = app.add_option("--preview", options.preview, "Draw the placed scene as a PNG")
                        ->type_name("OUT.png");
    preview->excludes("--json")->excludes("--validate")->excludes("--obj")->excludes("--compare");
    const auto takeSize = [&options](const std::string& text) {
        const auto size = q7preview::readDrawnSize(text);
        if (!size) throw CLI::ValidationError(q7preview::drawnSizeFault("--preview-size", text));
        options.previewOptions.size = *size;
    };
    app.add_option_function<std::string>(
           "--preview-size", takeSize,
           "With --preview: its size in pixels, 960x540 if not given, at most 4096x4096")
        ->type_name("WIDTHxHEIGHT")
        ->needs(preview);
    app.add_option("--preview-camera", options.previewCamera,
                   "With --preview: what this camera sees")
        ->type_name("FILE")
        ->needs(preview);
    app.add_option_function<std::string>(
           "--preview-up",
           [&options](const std::string& text) {
               options.previewOptions.up = text == "z" ? q7preview::Axis::z : q7preview::Axis::y;
           },
           "With --preview: which axis is up, y (if not given) or z")
        ->type_name("AXIS")
        ->needs(preview)
        ->check(CLI::IsMember(std::set<std::string>{"y", "z"}).description(""));
}

// Parses the arguments. Gives an exit code instead when nothing is left to do.
std::optional<int> parseOptions(const std::vector<std::string>& arguments, Options& options,
                                std::ostream& out, std::ostream& err) {
    CLI::App app("Looks into a model stream file or an archive and tells what it holds.",
                 std::string(program));
    // A path may start with a slash on every platform.
    app.allow_windows_style_options(false);
    app.footer(examples);
    app.add_option("FILE", options.file, "The model stream or archive")->required();
    auto* json =
        app.add_flag("--json", options.json, "Print one JSON object with all but the arrays");
    auto* validate = app.add_flag("--validate", options.validate, "List every fault of the file");
    auto* obj =
        app.add_option("--obj", options.obj, "Write the placed scene as a Wavefront OBJ file")
            ->type_name("OUT");
    app.add_flag("--all", options.all, "Print every row, fault and difference, however many");
    json->excludes(validate)->excludes(obj);
    validate->excludes(obj);
    app.set_version_flag("--version", q7tools::versionText(program), "Print the version and exit");
    addCompareOptions(app, options);
    addPreviewOptions(app, options);
    try {
        app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    } catch (const CLI::CallForHelp&) {
        out << app.help();
        return exitGood;
    } catch (const CLI::CallForVersion& call) {
        out << call.what() << '\n';
        return exitGood;
    } catch (const CLI::ParseError& error) {
        err << errorLine(program, "usage", std::string(error.what()) + " (--help tells more)");
        return exitFailure;
    }
    return std::nullopt;
}

std::string mergedText(const StreamModel& model) {
    const auto merged = std::ranges::count_if(model.meshes, &q7tools::StreamMesh::isMerged);
    return merged == 0 ? std::string() : " (" + std::to_string(merged) + " merged)";
}

std::string modelText(const StreamModel& model) {
    return counted(model.materials.size(), "material", "materials") + ", " +
           counted(model.instances.size(), "instance", "instances") + ", " +
           counted(model.meshes.size(), "mesh", "meshes") + mergedText(model) + ", " +
           counted(model.placedTriangleCount(), "placed triangle", "placed triangles");
}

// Prints as many lines as may be shown.
void printFaults(const Options& options, const std::vector<std::string>& lines, std::ostream& out) {
    const std::size_t shown = options.all ? lines.size() : std::min(lines.size(), shownLines);
    for (std::size_t i = 0; i < shown; ++i)
        out << lines[i] << '\n';
    if (shown < lines.size()) {
        out << q7tools::printable(options.file) << ": ... and "
            << counted(lines.size() - shown, "more fault", "more faults") << '\n';
    }
}

std::vector<std::string> faultLines(const std::string& file, const std::vector<Fault>& faults) {
    std::vector<std::string> lines;
    lines.reserve(faults.size());
    for (const Fault& fault : faults) {
        lines.push_back(q7tools::printable(file) + ": " +
                        q7tools::atByte(fault.offset, fault.reason));
    }
    return lines;
}

std::vector<std::string> faultLines(const std::string& subject,
                                    const std::vector<ArchiveFault>& faults) {
    std::vector<std::string> lines;
    lines.reserve(faults.size());
    for (const ArchiveFault& fault : faults) {
        const std::string place =
            fault.entry.empty() ? subject : entrySubject(subject, fault.entry);
        lines.push_back(
            q7tools::printable(place) + ": " +
            (fault.offset ? q7tools::atByte(*fault.offset, fault.reason) : fault.reason));
    }
    return lines;
}

std::string archiveText(const Archive& archive) {
    const auto textures = static_cast<std::uint64_t>(
        std::ranges::count(archive.entries(), EntryRole::texture,
                           [&archive](const auto& entry) { return archive.role(entry); }));
    const std::string text = "archive of " + std::string(kindName(archive.kind())) + ", " +
                             counted(archive.entries().size(), "entry", "entries") + ", " +
                             counted(textures, "texture", "textures");
    return archive.model() ? text + "; " + modelText(*archive.model()) : text;
}

int validateArchive(const Options& options, const Archive& archive, std::ostream& out) {
    const ArchiveFindings findings = checkArchive(archive);
    std::vector<std::string> lines = faultLines(options.file, findings.faults);
    if (lines.empty()) {
        out << q7tools::printable(options.file) << ": valid: " << archiveText(archive) << '\n';
    }
    for (std::string& line : faultLines(options.file + ": note", findings.notes))
        lines.push_back(std::move(line));
    printFaults(options, lines, out);
    return findings.faults.empty() ? exitGood : exitFaults;
}

int validateStream(const Options& options, const StreamModel& model, std::ostream& out) {
    const std::string file = q7tools::printable(options.file);
    const std::vector<std::string> lines = faultLines(options.file, findFaults(model));
    printFaults(options, lines, out);
    if (lines.empty()) out << file << ": valid: " << modelText(model) << '\n';
    for (const q7tools::ModelNote& note : q7tools::notesOf(model).notes())
        out << file << ": note: " << q7tools::atByte(note.offset, note.text) << '\n';
    return lines.empty() ? exitGood : exitFaults;
}

int runValidate(const Options& options, std::ostream& out) {
    try {
        const Input input = readInput(options.file);
        return input.archive ? validateArchive(options, *input.archive, out)
                             : validateStream(options, *input.stream, out);
    } catch (const FormatError& error) {
        const InputError told = archiveError(options.file, error);
        out << q7tools::printable(told.subject()) << ": " << told.what() << '\n';
    } catch (const InputError& error) {
        out << q7tools::printable(error.subject()) << ": " << error.what() << '\n';
    }
    return exitFaults;
}

// The path of an output.
std::filesystem::path targetOf(const std::string& output, const std::string& input) {
    auto target = q7tools::pathFromUtf8(output);
    std::error_code ignored;
    if (std::filesystem::equivalent(target, q7tools::pathFromUtf8(input), ignored)) {
        throw FileError(target, "is the input itself and stays as it is");
    }
    return target;
}

int runObj(const Options& options, std::ostream& out, std::ostream& err) {
    const auto target = targetOf(*options.obj, options.file);
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

int runPreview(const Options& options, std::ostream& out, std::ostream& err) {
    const auto target = targetOf(*options.preview, options.file);
    q7preview::PreviewOptions chosen = options.previewOptions;
    if (options.previewCamera) chosen.camera = readCameraFile(*options.previewCamera);
    const q7preview::Preview preview = drawInput(options.file, chosen);
    q7tools::writeWholeFile(target, q7preview::pngOf(preview.image));
    out << q7tools::printable(*options.preview) << ": " << q7preview::previewText(preview) << '\n';
    const std::string leftOut = q7preview::leftOutText(preview);
    if (leftOut.empty()) return exitGood;
    err << errorLine(program, options.file, leftOut + " (--validate tells more)");
    return exitFaults;
}

std::string allowedText(const LinkAllowances& allowed) {
    std::string text;
    const auto add = [&text](bool present, const std::string& what) {
        if (present) text += (text.empty() ? "; allowed: " : ", ") + what;
    };
    add(allowed.unusedMeshes != 0,
        counted(allowed.unusedMeshes, "unused mesh", "unused meshes") + " not received");
    add(allowed.uncoloredMeshes != 0,
        "colors of " + counted(allowed.uncoloredMeshes, "mesh", "meshes") + " not received");
    add(allowed.hasGenerator,
        "the generated mesh and " +
            counted(allowed.generatedInstances, "generated instance", "generated instances") +
            " ignored");
    return text;
}

std::string verdict(const Comparison& comparison, const StreamModel& a) {
    if (comparison.differenceCount == 0) {
        return "the same scene: " + counted(a.materials.size(), "material", "materials") + ", " +
               counted(a.instances.size(), "instance", "instances") + ", " +
               counted(a.meshes.size(), "mesh", "meshes");
    }
    const std::string text = counted(comparison.differenceCount, "difference", "differences");
    const std::uint64_t hidden = comparison.differenceCount - comparison.differences.size();
    return hidden == 0 ? text : text + " (" + std::to_string(hidden) + " not shown: --all)";
}

int runCompare(const Options& options, std::ostream& out) {
    const StreamModel a = readModel(options.file);
    const StreamModel b = readModel(*options.other);
    const std::size_t shown = options.all ? std::numeric_limits<std::size_t>::max() : shownLines;
    const Comparison comparison =
        compareStreams(a, b, {.link = options.link, .order = options.order, .shown = shown});
    for (const std::string& difference : comparison.differences)
        out << difference << '\n';
    out << q7tools::printable(options.file) << " (A) and " << q7tools::printable(*options.other)
        << " (B): " << verdict(comparison, a) << allowedText(comparison.allowed) << '\n';
    return comparison.differenceCount == 0 ? exitGood : exitFaults;
}

int run(const Options& options, std::ostream& out, std::ostream& err) {
    if (options.compare) return runCompare(options, out);
    if (options.validate) return runValidate(options, out);
    if (options.obj) return runObj(options, out, err);
    if (options.preview) return runPreview(options, out, err);
    const Input input = readInput(options.file);
    if (input.archive && options.json) {
        printArchiveJson(out, options.file, *input.archive);
    } else if (input.archive) {
        printArchiveSummary(out, options.file, *input.archive, options.all);
    } else if (options.json) {
        printJson(out, options.file, *input.stream, pathsBeside(options.file, *input.stream));
    } else {
        printSummary(out, options.file, *input.stream, options.all,
                     pathsBeside(options.file, *input.stream));
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
    } catch (const InputError& error) {
        err << errorLine(program, error.subject(), error.what());
        return exitFaults;
    } catch (const std::bad_alloc&) {
        const std::string files = options.file + (options.other ? " and " + *options.other : "");
        err << errorLine(program, files, "too large for the memory of this machine");
    }
    return exitCode;
}

}  // namespace q7inspect
