#include "inspect/archive_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/text_output.h"
#include "inspect/instance_paths.h"
#include "inspect/json_lines.h"
#include "inspect/json_report.h"
#include "inspect/summary.h"
#include "inspect/table.h"

namespace q7inspect {

using nlohmann::ordered_json;
using q7tools::allToUtf8;
using q7tools::counted;
using q7tools::printable;
using q7tools::ZipEntry;

namespace {

std::string methodName(const ZipEntry& entry) {
    return entry.isStored() ? "stored" : "deflated";
}

// Of names that are not marked as UTF-8 nothing is known.
std::string nameText(std::string_view name) {
    return allToUtf8(utf8ToWide(name));
}

std::string faultsText(std::string_view text, const std::vector<Fault>& faults) {
    if (faults.empty()) return std::string(text);
    return std::string(text) + " (" + counted(faults.size(), "fault", "faults") + ": --validate)";
}

void printInfo(std::ostream& out, const Archive& archive) {
    if (!archive.info()) return;
    const InfoJson& info = *archive.info();
    printFact(out, "product id",
              faultsText(info.productId ? *info.productId : "(missing)", info.faults));
    printFact(out, "instance ids",
              info.instanceIds ? std::to_string(info.instanceIds->size()) : "none");
}

void printMaterialFile(std::ostream& out, const Archive& archive) {
    if (!archive.materials()) return;
    const MaterialFile& file = *archive.materials();
    const auto typed = static_cast<std::uint64_t>(std::ranges::count_if(
        file.materials, [](const ListedMaterial& material) { return material.typed.has_value(); }));
    std::string text = counted(typed, "typed material", "typed materials");
    if (typed != file.materials.size()) text += " and free text";
    text += file.hasRoot ? ", with a root" : ", without a root";
    text += file.hasCarriages ? ", lines end with CR LF" : "";
    printFact(out, "material file", faultsText(text, file.faults));
}

void printEntries(std::ostream& out, const Archive& archive, bool all) {
    const std::vector<ZipEntry>& entries = archive.entries();
    const std::size_t shown = beginTable(out, "Entries", entries.size(), all);
    Table table(
        {{"name"}, {"what"}, {"packed", Align::right}, {"unpacked", Align::right}, {"method"}});
    for (std::size_t i = 0; i < shown; ++i) {
        const ZipEntry& entry = entries[i];
        table.add({printable(entry.name), std::string(roleName(archive.role(entry))),
                   std::to_string(entry.packedSize), std::to_string(entry.size),
                   methodName(entry)});
    }
    endTable(out, table, entries.size(), shown);
}

void printTextures(std::ostream& out, const Archive& archive, bool all) {
    const std::vector<TextureUse>& uses = archive.textureUses();
    const std::size_t shown = beginTable(out, "Texture uses", uses.size(), all);
    Table table({{"entry"}, {"material"}, {"property"}, {"path"}});
    for (std::size_t i = 0; i < shown; ++i) {
        const TextureUse& use = uses[i];
        table.add({use.entry ? printable(archive.entries()[*use.entry].name) : "(not inside)",
                   printable(use.material), printable(use.property), printable(use.path)});
    }
    endTable(out, table, uses.size(), shown);
}

// Element by element, as all lists that may be long.
template <class Records, class ToJson>
void printList(std::ostream& out, const Records& records, const ToJson& toJson) {
    const char* separator = "";
    out << '[';
    for (const auto& record : records) {
        out << separator << toJson(record).dump();
        separator = ",";
    }
    out << ']';
}

ordered_json faultJson(const Fault& fault) {
    return {{"offset", fault.offset}, {"reason", fault.reason}};
}

ordered_json listedJson(const ListedMaterial& material) {
    ordered_json json{{"offset", material.offset}};
    json.update(materialTextJson(material.xml));
    return json;
}

void printInfoJson(std::ostream& out, const Archive& archive) {
    out << "  \"info\": ";
    if (!archive.info()) {
        out << "null,\n";
        return;
    }
    const InfoJson& info = *archive.info();
    out << "{\"productID\":" << (info.productId ? ordered_json(*info.productId) : ordered_json());
    out << ",\"instanceIdArray\":";
    if (info.instanceIds) {
        printList(out, *info.instanceIds, [](const std::string& id) { return ordered_json(id); });
    } else {
        out << "null";
    }
    out << ",\"faults\":";
    printList(out, info.faults, faultJson);
    out << "},\n";
}

void printMaterialFileJson(std::ostream& out, const Archive& archive) {
    out << "  \"materialFile\": ";
    if (!archive.materials()) {
        out << "null,\n";
        return;
    }
    const MaterialFile& file = *archive.materials();
    out << "{\"root\":" << (file.hasRoot ? "true" : "false") << ",\"lineEnd\":\""
        << (file.hasCarriages ? "CR LF" : "LF") << "\",\"materials\":";
    printList(out, file.materials, listedJson);
    out << ",\"faults\":";
    printList(out, file.faults, faultJson);
    out << "},\n";
}

ordered_json entryJson(const Archive& archive, const ZipEntry& entry) {
    return {{"name", nameText(entry.name)}, {"what", roleName(archive.role(entry))},
            {"packed", entry.packedSize},   {"unpacked", entry.size},
            {"method", methodName(entry)},  {"utf8", entry.hasUtf8Flag()},
            {"offset", entry.headerOffset}};
}

ordered_json useJson(const Archive& archive, const TextureUse& use) {
    ordered_json entry;
    if (use.entry) entry = nameText(archive.entries()[*use.entry].name);
    return {{"entry", entry},
            {"material", allToUtf8(use.material)},
            {"property", allToUtf8(use.property)},
            {"path", allToUtf8(use.path)}};
}

}  // namespace

std::string entrySubject(std::string_view fileName, std::string_view entry) {
    return std::string(fileName) + ": " + std::string(entry);
}

void printArchiveSummary(std::ostream& out, std::string_view fileName, const Archive& archive,
                         bool all) {
    out << printable(fileName) << '\n';
    printFact(out, "size", counted(archive.zip().size(), "byte", "bytes"));
    printFact(out, "archive of", kindName(archive.kind()));
    printInfo(out, archive);
    printMaterialFile(out, archive);
    printEntries(out, archive, all);
    printTextures(out, archive, all);
    if (!archive.model()) return;
    out << '\n';
    printSummary(out, entrySubject(fileName, streamEntry), *archive.model(), all,
                 pathsInArchive(archive));
}

void printArchiveJson(std::ostream& out, std::string_view fileName, const Archive& archive) {
    out << "{\n";
    printMember(out, "file", nameText(fileName));
    printMember(out, "size", archive.zip().size());
    printMember(out, "archiveOf", kindName(archive.kind()));
    printInfoJson(out, archive);
    printMaterialFileJson(out, archive);
    printRecords(out, "entries", archive.entries(),
                 [&](std::size_t i) { return entryJson(archive, archive.entries()[i]); });
    out << ",\n";
    printRecords(out, "textureUses", archive.textureUses(),
                 [&](std::size_t i) { return useJson(archive, archive.textureUses()[i]); });
    out << ",\n  \"stream\": ";
    if (archive.model()) {
        printJson(out, entrySubject(fileName, streamEntry), *archive.model(),
                  pathsInArchive(archive));
    } else {
        out << "null\n";
    }
    out << "}\n";
}

}  // namespace q7inspect
