#include "inspect/summary.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string>

#include "common/material_xml.h"
#include "common/model_notes.h"
#include "common/numbers.h"
#include "common/text_output.h"
#include "inspect/scene.h"
#include "inspect/table.h"

namespace q7inspect {

using q7tools::counted;
using q7tools::printable;
using q7tools::roundedNumber;
using q7tools::StreamInstance;
using q7tools::StreamMaterial;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

std::string memberText(const nlohmann::json& header, const char* key) {
    const auto member = header.find(key);
    if (member == header.end()) return "(missing)";
    return member->is_string() ? member->get<std::string>() : member->dump();
}

void printHeader(std::ostream& out, const StreamModel& model) {
    const auto header = parseHeader(model.headerText);
    if (!header) {
        printFact(out, "header", "(not a JSON object)");
        return;
    }
    printFact(out, "plug-in info", memberText(*header, "dccPluginInfo"));
    printFact(out, "material version", memberText(*header, "materialVersion"));
    printFact(out, "texture folder", memberText(*header, "textureFolder"));
    printFact(out, "triangle count", memberText(*header, "triangleCount"));
}

std::string pointText(const Point& point) {
    return "(" + roundedNumber(point[0]) + ", " + roundedNumber(point[1]) + ", " +
           roundedNumber(point[2]) + ")";
}

void printBounds(std::ostream& out, const StreamModel& model, const MeshLookup& lookup) {
    const auto bounds = worldBounds(model, lookup);
    if (!bounds) {
        printFact(out, "world bounds", "none: no vertex is placed");
        return;
    }
    Point size;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        size[axis] = bounds->highest[axis] - bounds->lowest[axis];
    }
    printFact(out, bounds->exact ? "world bounds" : "bounds at most",
              pointText(bounds->lowest) + " to " + pointText(bounds->highest));
    printFact(out, "world size", pointText(size));
}

std::string propertyCount(const StreamMaterial& material) {
    try {
        return std::to_string(q7tools::readTypedMaterial(material.xml).properties.size());
    } catch (const q7tools::FormatError&) {
        return "?";
    }
}

// The header's count would seem wrong beside that of the placed triangles.
void printMerged(std::ostream& out, const StreamModel& model) {
    const auto merged = std::ranges::count_if(model.meshes, &StreamMesh::isMerged);
    if (merged == 0) return;
    printFact(out, "merged meshes",
              std::to_string(merged) +
                  ": unindexed triangles, of which \"triangle count\" counts the points");
}

void printPathSource(std::ostream& out, const InstancePaths& paths) {
    if (paths.source.empty()) return;
    printFact(
        out, "instance paths",
        paths.fault.empty() ? "in " + paths.source : "none: " + paths.source + ' ' + paths.fault);
}

void printMaterials(std::ostream& out, const std::vector<StreamMaterial>& materials,
                    const std::vector<std::uint64_t>& uses, bool all) {
    const std::size_t shown = beginTable(out, "Materials", materials.size(), all);
    Table table({{"name"},
                 {"kind"},
                 {"uses", Align::right},
                 {"properties", Align::right},
                 {"units of text", Align::right}});
    for (std::size_t i = 0; i < shown; ++i) {
        const StreamMaterial& material = materials[i];
        const bool typed = q7tools::isTypedMaterial(material.xml);
        table.add({printable(material.name), typed ? "typed" : "text", std::to_string(uses[i]),
                   typed ? propertyCount(material) : "-", std::to_string(material.xml.size())});
    }
    endTable(out, table, materials.size(), shown);
}

std::string arrayNames(const StreamMesh& mesh) {
    std::string names;
    const auto add = [&names](bool present, std::string_view name) {
        if (!present) return;
        if (!names.empty()) names += ", ";
        names += name;
    };
    add(!mesh.positions.empty(), "positions");
    add(!mesh.normals.empty(), "normals");
    add(!mesh.uvs.empty(), "uvs");
    add(!mesh.colors.empty(), "colors");
    add(!mesh.indices.empty(), mesh.isMerged() ? "no indices (merged)" : "indices");
    return names.empty() ? "none" : names;
}

void printMeshes(std::ostream& out, const StreamModel& model, const MeshLookup& lookup, bool all) {
    const std::size_t shown = beginTable(out, "Meshes", model.meshes.size(), all);
    const std::vector<std::uint64_t> uses = meshUses(model, lookup);
    Table table({{"name"},
                 {"vertices", Align::right},
                 {"triangles", Align::right},
                 {"uses", Align::right},
                 {"arrays"}});
    for (std::size_t i = 0; i < shown; ++i) {
        const StreamMesh& mesh = model.meshes[i];
        table.add({printable(mesh.name), std::to_string(mesh.vertexCount()),
                   std::to_string(mesh.triangleCount()), std::to_string(uses[i]),
                   arrayNames(mesh)});
    }
    endTable(out, table, model.meshes.size(), shown);
}

void printInstances(std::ostream& out, const std::vector<StreamInstance>& instances,
                    const std::vector<std::string>& paths, bool all) {
    const std::size_t shown = beginTable(out, "Instances", instances.size(), all);
    // A column without a title or text is not seen.
    Table table({{"mesh"}, {"material"}, {"position"}, {paths.empty() ? "" : "path"}});
    for (std::size_t i = 0; i < shown; ++i) {
        const StreamInstance& instance = instances[i];
        const Transform& transform = instance.transform;
        table.add({printable(instance.mesh), printable(instance.material),
                   pointText({transform[12], transform[13], transform[14]}),
                   paths.empty() ? "" : printable(paths[i])});
    }
    endTable(out, table, instances.size(), shown);
}

void printNotes(std::ostream& out, const std::vector<q7tools::ModelNote>& notes) {
    if (notes.empty()) return;
    out << "\nNotes (" << std::to_string(notes.size()) << ")\n";
    for (const q7tools::ModelNote& note : notes)
        out << "  " << note.text << '\n';
}

}  // namespace

void printSummary(std::ostream& out, std::string_view fileName, const StreamModel& model, bool all,
                  const InstancePaths& paths) {
    const q7tools::ModelNotes notes = q7tools::notesOf(model);
    const MeshLookup lookup(model);
    out << printable(fileName) << '\n';
    printFact(out, "size", counted(model.size, "byte", "bytes"));
    printFact(out, "stream version", std::to_string(model.version));
    printHeader(out, model);
    printFact(out, "placed triangles", std::to_string(model.placedTriangleCount()));
    printMerged(out, model);
    printBounds(out, model, lookup);
    if (model.trailingBytes() != 0) {
        printFact(out, "trailing bytes", std::to_string(model.trailingBytes()));
    }
    printPathSource(out, paths);
    printMaterials(out, model.materials, notes.materialUses(), all);
    printMeshes(out, model, lookup, all);
    printInstances(out, model.instances, paths.paths, all);
    printNotes(out, notes.notes());
}

}  // namespace q7inspect
