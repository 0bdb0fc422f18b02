#include "send/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>

#include "common/files.h"
#include "send/clean_text.h"
#include "send/material_properties.h"

namespace q7send {

namespace {

constexpr char description[] =
    "Hands a 3D file to the Q7Plugin library, as a plug-in hands over its scene, and writes what\n"
    "the library makes of it. Reads every kind of file that Assimp reads: glTF, FBX, COLLADA, "
    "OBJ,\n"
    "STL, PLY, 3DS, IFC and many more.";

constexpr char guide[] = R"text(Examples:
  q7-send engine.glb --stream engine.q7mesh
      The whole scene as a model stream. Look into it with: q7-inspect engine.q7mesh

  q7-send house.ifc --materials house.xml
      Only the list of materials.

  q7-send engine.glb --processed --stream engine.q7mesh
      The scene with fewer meshes: those of one material that are placed once become one.

  q7-send car.fbx --stream out/car.q7mesh --materials out/car.xml
      Both. The folder "out" must exist; files that are there are replaced.

What becomes of the scene:
  Polygons become triangles that share vertices, with smooth normals where the file has none.
  Nodes keep their place in the world and their path from the root. Nodes with the same meshes are
  handed over once and then duplicated. Names that would become one in the library get a number:
  "Wheel", "Wheel (2)". Points and lines, embedded textures, cameras, lights and animation are left
  out. With --processed, triangles share vertices only in meshes of several nodes, since merging drops
  the indices; the meshes that were merged stay in the stream, without instances.

Materials are of type 0 and have these properties, as far as the file tells them:
)text";

constexpr char closing[] = R"(
Texture files are looked for in the model's folder; those that are not found keep the path that the
file gives.

Exit status: 0 when all was written, 1 when a file cannot be read or written, 2 when the command line
is wrong. A run that fails leaves all files as they were.
)";

std::string footer() {
    std::string text = guide;
    for (const PropertyDescription& property : propertyDescriptions) {
        std::string name = wideToUtf8(property.name);
        name.resize(26, ' ');
        text += "  " + name + property.meaning + '\n';
    }
    return text + closing;
}

std::optional<std::filesystem::path> optionalPath(const std::string& text) {
    if (text.empty()) return std::nullopt;
    return q7tools::pathFromUtf8(text);
}

}  // namespace

std::variant<Options, HelpText, UsageError> parseOptions(std::vector<std::string> arguments,
                                                         const std::string& version) {
    CLI::App app(description, "q7-send");
    std::string model;
    std::string stream;
    std::string materials;
    app.add_option("MODEL", model, "The 3D file to read")->required()->type_name("");
    app.add_option("--stream", stream, "Write the scene as a model stream")
        ->type_name("OUT.q7mesh");
    bool processed = false;
    app.add_flag("--processed", processed, "Write the stream in its merged form");
    app.add_option("--materials", materials, "Write the list of materials")->type_name("OUT.xml");
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
    if (stream.empty() && materials.empty()) {
        return UsageError{"nothing to write: give --stream, --materials or both"};
    }
    if (processed && stream.empty()) return UsageError{"--processed is of use with --stream only"};
    Options options{q7tools::pathFromUtf8(model), optionalPath(stream),
                    processed ? StreamForm::processed : StreamForm::raw, optionalPath(materials)};
    if (options.stream && options.materials &&
        options.stream->lexically_normal() == options.materials->lexically_normal()) {
        return UsageError{"--stream and --materials name the same file"};
    }
    return options;
}

}  // namespace q7send
