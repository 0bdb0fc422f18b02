#include "inspect/json_report.h"

#include <nlohmann/json.hpp>
#include <string>

#include "common/material_xml.h"
#include "common/model_notes.h"
#include "common/text_output.h"
#include "inspect/json_lines.h"
#include "inspect/scene.h"

namespace q7inspect {

using nlohmann::ordered_json;
using q7tools::allToUtf8;
using q7tools::StreamInstance;
using q7tools::StreamMaterial;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

ordered_json propertiesJson(const q7tools::TypedMaterial& typed) {
    ordered_json properties = ordered_json::array();
    for (const q7tools::MaterialProperty& property : typed.properties) {
        ordered_json text;
        if (property.hasText) text = allToUtf8(property.text);
        properties.push_back({{"element", allToUtf8(property.element)}, {"text", text}});
    }
    return properties;
}

ordered_json materialJson(const StreamMaterial& material, std::uint64_t uses) {
    ordered_json json{
        {"offset", material.offset}, {"name", allToUtf8(material.name)}, {"uses", uses}};
    json.update(materialTextJson(material.xml));
    return json;
}

// Invalid UTF-8 gets replacement characters.
ordered_json orNull(bool isThere, std::string_view utf8) {
    return isThere ? ordered_json(allToUtf8(utf8ToWide(utf8))) : ordered_json();
}

ordered_json instanceJson(const StreamInstance& instance, const ordered_json& path) {
    return {{"offset", instance.offset},
            {"mesh", allToUtf8(instance.mesh)},
            {"material", allToUtf8(instance.material)},
            {"path", path},
            {"transform", instance.transform}};
}

ordered_json noteJson(const q7tools::ModelNote& note) {
    return {
        {"kind", note.kind}, {"offset", note.offset}, {"count", note.count}, {"text", note.text}};
}

ordered_json meshJson(const StreamMesh& mesh, std::uint64_t uses) {
    return {{"offset", mesh.offset},
            {"name", allToUtf8(mesh.name)},
            {"vertices", mesh.vertexCount()},
            {"triangles", mesh.triangleCount()},
            {"uses", uses},
            {"merged", mesh.isMerged()},
            {"positions", mesh.positions.size()},
            {"normals", mesh.normals.size()},
            {"uvs", mesh.uvs.size()},
            {"colors", mesh.colors.size()},
            {"indices", mesh.indices.size()}};
}

ordered_json boundsJson(const StreamModel& model, const MeshLookup& lookup) {
    const auto bounds = worldBounds(model, lookup);
    if (!bounds) return nullptr;
    return {{"lowest", bounds->lowest}, {"highest", bounds->highest}, {"exact", bounds->exact}};
}

}  // namespace

ordered_json materialTextJson(WideView xml) {
    const bool typed = q7tools::isTypedMaterial(xml);
    ordered_json json{{"kind", typed ? "typed" : "text"}, {"xml", allToUtf8(xml)}};
    if (!typed) return json;
    try {
        const q7tools::TypedMaterial content = q7tools::readTypedMaterial(xml);
        json["id"] = allToUtf8(content.id);
        json["type"] = allToUtf8(content.type);
        json["properties"] = propertiesJson(content);
    } catch (const q7tools::FormatError& error) {
        json["fault"] = error.what();
    }
    return json;
}

void printJson(std::ostream& out, std::string_view fileName, const StreamModel& model,
               const InstancePaths& paths) {
    const q7tools::ModelNotes notes = q7tools::notesOf(model);
    const std::vector<q7tools::ModelNote> told = notes.notes();
    const std::vector<std::uint64_t> materialUses = notes.materialUses();
    const bool hasPaths = !paths.paths.empty();
    const MeshLookup lookup(model);
    const std::vector<std::uint64_t> uses = meshUses(model, lookup);
    const auto header = parseHeader(model.headerText);

    out << "{\n";
    printMember(out, "file", allToUtf8(utf8ToWide(fileName)));
    printMember(out, "size", model.size);
    printMember(out, "trailingBytes", model.trailingBytes());
    printMember(out, "version", model.version);
    printMember(out, "header", header ? ordered_json(*header) : ordered_json(nullptr));
    printMember(out, "headerText", allToUtf8(model.headerText));
    printMember(out, "placedTriangles", model.placedTriangleCount());
    printMember(out, "countedTriangles", model.countedTriangleCount());
    printMember(out, "worldBounds", boundsJson(model, lookup));
    printMember(out, "instancePathsIn", orNull(hasPaths, paths.source));
    printRecords(out, "notes", told, [&](std::size_t i) { return noteJson(told[i]); });
    out << ",\n";
    printRecords(out, "materials", model.materials,
                 [&](std::size_t i) { return materialJson(model.materials[i], materialUses[i]); });
    out << ",\n";
    printRecords(out, "instances", model.instances, [&](std::size_t i) {
        return instanceJson(model.instances[i], orNull(hasPaths, hasPaths ? paths.paths[i] : ""));
    });
    out << ",\n";
    printRecords(out, "meshes", model.meshes,
                 [&](std::size_t i) { return meshJson(model.meshes[i], uses[i]); });
    out << "\n}\n";
}

}  // namespace q7inspect
