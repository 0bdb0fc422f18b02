#include "send/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "common/files.h"
#include "send/clean_text.h"
#include "send/entity_properties.h"
#include "send/material_properties.h"

namespace q7send {

namespace {

constexpr char purpose[] =
    "Hands a 3D file to the Q7Plugin library, as a plug-in hands over its scene, and sends what\n"
    "the library makes of it to the renderer, or writes it. Reads every kind of file that Assimp\n"
    "reads: glTF, FBX, COLLADA, OBJ, STL, PLY, 3DS, IFC and many more.";

constexpr char guide[] = R"text(Examples:
  q7-send engine.glb --stream engine.q7mesh
      The whole scene as a model stream. Look into it with: q7-inspect engine.q7mesh

  q7-send house.ifc --materials house.xml
      Only the list of materials.

  q7-send engine.glb --processed --stream engine.q7mesh
      The scene with fewer meshes: those of one material that are placed once become one.

  q7-send engine.glb --live
      The whole scene to the renderer, which is started when it does not run. To try it without
      one, start q7-standin first.

  q7-send engine.glb --live --processed --gen-materials
      Merged, and with an instance for each material, so that the renderer also learns of those
      that nothing uses.

  q7-send car.fbx --q7a car.q7a
      An archive: the stream, the list of materials and the texture files, in one file.

  q7-send car.fbx --q7a car.q7a --pack car.fbx
      The same, with the file itself in the place of the stream.

  q7-send car.fbx --stream out/car.q7mesh --materials out/car.xml
      Both. The folder "out" must exist; files that are there are replaced.

What becomes of the scene:
  Polygons become triangles that share vertices, with smooth normals where the file has none.
  Nodes keep their place in the world and their path from the root. Nodes with the same meshes are
  handed over once and then duplicated. Names that would become one in the library get a number:
  "Wheel", "Wheel (2)". Points and lines are left out. Textures that the file holds itself become
  files of an archive and are left out elsewhere. Cameras, lights and camera animations go to the
  renderer, not into files. With --processed, triangles share vertices only in meshes of several nodes, since merging drops
  the indices; the meshes that were merged stay in the stream, without instances.

With --live the library prints what it does while it starts the renderer and links to it. That lasts
as long as the renderer needs. --group opens the connection for a group of models; they are merged, as
with --processed. It is an error when the renderer cannot be reached, refuses the scene, unlinks or
ends, or when the connection to it breaks. Whether it lives on after the last message is known from
metadata, which it is asked to give back before and after; for one that does not, a note says so. A
connection that breaks at one of the last three acknowledgements does not show. A renderer that does
not answer is waited for without a limit.

Before the scene goes its metadata, and once more at the end; then follow, as messages of their own: the first camera as the view,
the lights, every camera as a scene (a named view), and the camera animations. What the file has none of
is not sent. A camera moves with its node and those above it: a frame holds its place in the world at
the time of each key, in seconds. Handles of the curves are absolute, a third of the way to the
neighbouring frames. Groups of lights are the nodes above them.

An archive is complete, or not made at all. When the library cannot make it, it says so in a line of
its own.

Materials are of type 0 and have these properties, as far as the file tells them:
)text";

constexpr char entityGuide[] = R"(
The messages have these properties: c the camera, s scenes, l lights, a camera animations, whose frames
have Position, Direction and Up, and m the metadata, which also has what the file tells of itself:
)";

constexpr char closing[] = R"(
Texture files are looked for in the model's folder; those that are not found keep the path that the
file gives.

Exit status: 0 when all was written and sent, 1 when a file cannot be read or written or the renderer
did not take the scene, 2 when the command line is wrong. A run that fails leaves all files as they were.
)";

void addTable(std::string& text, WideView name, const std::string& meaning) {
    std::string cell = wideToUtf8(name);
    cell.resize(26, ' ');
    text += "  " + cell + meaning + '\n';
}

std::string footer() {
    std::string text = guide;
    for (const PropertyDescription& property : propertyDescriptions)
        addTable(text, property.name, property.meaning);
    text += entityGuide;
    for (const EntityPropertyDescription& property : entityPropertyDescriptions) {
        std::string owners = property.owners;
        owners.resize(7, ' ');
        addTable(text, property.name, owners + property.meaning);
    }
    return text + closing;
}

std::optional<std::filesystem::path> optionalPath(const std::string& text) {
    if (text.empty()) return std::nullopt;
    return q7tools::pathFromUtf8(text);
}

struct Chosen {
    bool live = false;
    bool raw = false;
    bool processed = false;
    bool group = false;
    bool genMaterials = false;
};

void addForms(CLI::App& app, Chosen& chosen) {
    app.add_flag("--live", chosen.live, "Send the scene to the renderer");
    app.add_flag("--raw", chosen.raw, "As it is, which is the default");
    app.add_flag("--processed", chosen.processed, "Merged, to the renderer and into the stream");
    app.add_flag("--group", chosen.group, "With --live: merged, as one of a group of models");
    app.add_flag("--gen-materials", chosen.genMaterials,
                 "With --live: an instance for each material too");
}

// What is wrong with the choice, or nothing. hasStream: whether a file takes the scene in a form.
std::string faultOf(const Chosen& chosen, bool hasStream) {
    if (int{chosen.raw} + int{chosen.processed} + int{chosen.group} > 1) {
        return "--raw, --processed and --group exclude each other";
    }
    if (chosen.live) return {};
    if (chosen.group) return "--group is of use with --live only";
    if (chosen.genMaterials) return "--gen-materials is of use with --live only";
    if (hasStream) return {};
    if (chosen.raw) return "--raw is of use with --live, --stream or --q7a only";
    if (chosen.processed) return "--processed is of use with --live, --stream or --q7a only";
    return {};
}

std::optional<LiveForm> liveFormOf(const Chosen& chosen) {
    if (!chosen.live) return std::nullopt;
    if (chosen.group) return LiveForm::group;
    return chosen.processed ? LiveForm::processed : LiveForm::raw;
}

// Two outputs that would be one file, or nothing.
std::string clashOf(const Options& options) {
    const std::pair<const char*, const std::optional<std::filesystem::path>*> outputs[] = {
        {"--stream", &options.stream},
        {"--materials", &options.materials},
        {"--q7a", &options.archive}};
    for (std::size_t i = 1; i < std::size(outputs); ++i) {
        for (std::size_t j = 0; j < i; ++j) {
            const auto& [name, path] = outputs[i];
            const auto& [otherName, other] = outputs[j];
            if (*path && *other && (*path)->lexically_normal() == (*other)->lexically_normal()) {
                return std::string(otherName) + " and " + name + " name the same file";
            }
        }
    }
    return {};
}

}  // namespace

std::variant<Options, HelpText, UsageError> parseOptions(std::vector<std::string> arguments,
                                                         const std::string& version) {
    CLI::App app(purpose, "q7-send");
    std::string model;
    std::string stream;
    std::string materials;
    std::string archive;
    std::string packed;
    Chosen chosen;
    app.add_option("MODEL", model, "The 3D file to read")->required()->type_name("");
    app.add_option("--stream", stream, "Write the scene as a model stream")
        ->type_name("OUT.q7mesh");
    addForms(app, chosen);
    app.add_option("--materials", materials, "Write the list of materials")->type_name("OUT.xml");
    app.add_option("--q7a", archive,
                   "Write the scene with its materials and textures as an archive")
        ->type_name("OUT.q7a");
    app.add_option("--pack", packed, "With --q7a: this file in the place of the scene")
        ->type_name("FILE");
    app.set_version_flag("--version", "q7-send " + version, "Print the version and exit");
    app.set_help_flag("--help,-h", "Print this help and exit");
    app.footer(footer());

    // The parser takes them from the back.
    std::reverse(arguments.begin(), arguments.end());
    try {
        app.parse(arguments);
    } catch (const CLI::CallForHelp&) {
        return HelpText{app.help()};
    } catch (const CLI::CallForVersion& call) {
        return HelpText{std::string(call.what()) + '\n'};
    } catch (const CLI::ParseError& error) {
        return UsageError{singleLine(error.what())};
    }
    if (model.empty()) return UsageError{"MODEL is empty"};
    if (stream.empty() && materials.empty() && archive.empty() && !chosen.live) {
        return UsageError{"nothing to do: give --live, --stream, --materials or --q7a"};
    }
    if (archive.empty() && !packed.empty()) return UsageError{"--pack is of use with --q7a only"};
    const bool archivesScene = !archive.empty() && packed.empty();
    const std::string fault = faultOf(chosen, !stream.empty() || archivesScene);
    if (!fault.empty()) return UsageError{fault};
    const Options options{
        .model = q7tools::pathFromUtf8(model),
        .stream = optionalPath(stream),
        .form = chosen.processed || chosen.group ? StreamForm::processed : StreamForm::raw,
        .materials = optionalPath(materials),
        .archive = optionalPath(archive),
        .packed = optionalPath(packed),
        .live = liveFormOf(chosen),
        .genMaterials = chosen.genMaterials};
    const std::string clash = clashOf(options);
    if (!clash.empty()) return UsageError{clash};
    return options;
}

}  // namespace q7send
