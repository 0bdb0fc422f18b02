#include "inspect/archive_validate.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <unordered_map>
#include <unordered_set>

#include "common/model_notes.h"
#include "common/text_output.h"
#include "inspect/scene.h"
#include "inspect/validate.h"

namespace q7inspect {

using q7tools::counted;
using q7tools::inQuotes;
using q7tools::StreamInstance;
using q7tools::StreamModel;
using q7tools::ZipEntry;

namespace {

std::string quotedUtf8(std::string_view utf8) {
    return inQuotes(utf8ToWide(utf8));
}

// Of an instance's text in info.json: a material's name holds no slash.
std::string_view materialOf(std::string_view instanceId) {
    return instanceId.substr(instanceId.rfind('/') + 1);
}

std::string materialOf(const StreamInstance& instance) {
    return wideToUtf8(instance.material);
}

class IdChecker {
  public:
    IdChecker(const StreamModel& model, const std::vector<std::string>& ids,
              ArchiveFindings& findings)
        : model_(model), ids_(ids), findings_(findings) {}

    void run() {
        checkSeparators();
        if (ids_.size() < model_.instances.size()) {
            add("\"instanceIdArray\" has " + counted(ids_.size(), "element", "elements") +
                ", but the stream has " +
                counted(model_.instances.size(), "instance", "instances"));
        } else if (ids_.size() == model_.instances.size()) {
            checkPairs();
        } else {
            checkMerged();
        }
    }

  private:
    using Counts = std::unordered_map<std::string, std::uint64_t>;

    void add(std::string reason) {
        findings_.faults.push_back({std::string(infoEntry), std::nullopt, std::move(reason)});
    }

    void checkSeparators() {
        const auto bad = std::ranges::find_if(
            ids_, [](const std::string& id) { return id.find('/') == std::string::npos; });
        if (bad == ids_.end()) return;
        add(element(static_cast<std::size_t>(bad - ids_.begin())) + " is " + quotedUtf8(*bad) +
            ", which has no \"/\" before a material's name");
    }

    static std::string element(std::size_t place) {
        return "\"instanceIdArray\"[" + std::to_string(place) + "]";
    }

    void checkPairs() {
        std::uint64_t wrong = 0;
        std::size_t first = 0;
        for (std::size_t i = ids_.size(); i-- > 0;) {
            if (materialOf(ids_[i]) == materialOf(model_.instances[i])) continue;
            first = i;
            ++wrong;
        }
        if (wrong == 0) return;
        add(element(first) + " is " + quotedUtf8(ids_[first]) +
            ", but the instance's material is " + inQuotes(model_.instances[first].material) +
            (wrong == 1 ? "" : ", and " + counted(wrong - 1, "more differs", "more differ")));
    }

    // The array is that of the model before its instances were merged. Those that
    // were not merged keep their order; the others are missing, at least two of a
    // material, and their meshes are without instances.
    void checkMerged() {
        Counts left;
        for (const std::string& id : ids_)
            ++left[std::string(materialOf(id))];
        Counts merged;
        std::size_t at = 0;
        for (const StreamInstance& instance : model_.instances) {
            const std::string material = materialOf(instance);
            if (instance.mesh == instance.material + WideString(q7tools::mergedMeshSuffix)) {
                ++merged[material];
                continue;
            }
            while (at < ids_.size() && materialOf(ids_[at]) != material)
                ++at;
            if (at == ids_.size()) {
                add("\"instanceIdArray\" does not hold the stream's instances in their "
                    "order: "
                    "none is left for one with the material " +
                    inQuotes(instance.material));
                return;
            }
            ++at;
            --left[material];
        }
        checkLeft(left, merged);
    }

    void checkLeft(const Counts& left, const Counts& merged) {
        const MeshLookup lookup(model_);
        const std::vector<std::uint64_t> uses = meshUses(model_, lookup);
        const auto unplaced = static_cast<std::uint64_t>(std::ranges::count(uses, 0U));
        std::uint64_t sum = 0;
        std::uint64_t lost = 0;
        for (const std::string& id : ids_) {
            const std::string material(materialOf(id));
            const auto found = left.find(material);
            if (found->second == 1 || (merged.contains(material) && found->second < 2)) {
                add("\"instanceIdArray\" and the stream do not have the same instances "
                    "with the "
                    "material " +
                    quotedUtf8(material));
                return;
            }
            if (found->second == 0 || !counted_.insert(material).second) continue;
            sum += found->second;
            if (!merged.contains(material)) lost += found->second;
        }
        if (sum > unplaced) {
            add("\"instanceIdArray\" has " + counted(sum, "element", "elements") +
                " without an instance in the stream, which can have been merged from "
                "at most " +
                counted(unplaced, "mesh", "meshes") + " without instances");
        } else if (lost != 0) {
            findings_.notes.push_back(
                {std::string(infoEntry), std::nullopt,
                 counted(lost, "instance has", "instances have") +
                     " no counterpart in the stream: their meshes did not fit for "
                     "merging"});
        }
    }

    const StreamModel& model_;
    const std::vector<std::string>& ids_;
    ArchiveFindings& findings_;
    std::unordered_set<std::string> counted_;
};

class ArchiveChecker {
  public:
    explicit ArchiveChecker(const Archive& archive) : archive_(archive) {}

    ArchiveFindings run() {
        checkContainer();
        checkPresence();
        for (const ZipEntry& entry : archive_.entries())
            checkEntry(entry);
        checkStream();
        checkInfo();
        checkMaterials();
        checkTextures();
        return std::move(findings_);
    }

  private:
    void fault(std::string_view entry, std::string reason) {
        findings_.faults.push_back({std::string(entry), std::nullopt, std::move(reason)});
    }

    void faults(std::string_view entry, const std::vector<Fault>& found) {
        for (const Fault& one : found)
            findings_.faults.push_back({std::string(entry), one.offset, one.reason});
    }

    void note(std::string_view entry, std::string reason) {
        findings_.notes.push_back({std::string(entry), std::nullopt, std::move(reason)});
    }

    bool isModel() const { return archive_.kind() == ArchiveKind::model; }

    std::uint64_t countOf(EntryRole role) const {
        return static_cast<std::uint64_t>(
            std::ranges::count(archive_.entries(), role,
                               [this](const ZipEntry& entry) { return archive_.role(entry); }));
    }

    void checkContainer() {
        const std::uint64_t loose = archive_.zip().looseBytes();
        if (loose != 0) {
            note("", counted(loose, "byte belongs", "bytes belong") + " to no entry");
        }
        const std::uint64_t comment = archive_.zip().commentSize();
        if (comment != 0) {
            note("", "the archive has a comment of " + counted(comment, "byte", "bytes"));
        }
    }

    void checkPresence() {
        const auto require = [this](EntryRole role, std::string_view name) {
            if (countOf(role) == 0) fault("", "the entry " + quotedUtf8(name) + " is missing");
        };
        require(EntryRole::materials, materialsEntry);
        require(EntryRole::folder, "textures");
        if (isModel()) {
            require(EntryRole::stream, streamEntry);
            require(EntryRole::info, infoEntry);
            return;
        }
        const std::uint64_t files = countOf(EntryRole::externalFile) + countOf(EntryRole::stream);
        if (files > 1) {
            fault("", "it holds " + std::to_string(files) +
                          " external files, of which only one can be meant");
        } else if (archive_.model()) {
            note("",
                 "\"info.json\" is missing: the archive is taken for one with a "
                 "stream as "
                 "its external file");
        }
    }

    void checkEntry(const ZipEntry& entry) {
        const EntryRole role = archive_.role(entry);
        if (!entry.hasUtf8Flag()) fault(entry.name, "the name is not marked as UTF-8");
        if (entry.isStored() && entry.size != 0) fault(entry.name, "is stored, not deflated");
        if (role == EntryRole::unknown) {
            note(entry.name,
                 "is no part of an archive; it was left in the folder "
                 "that was packed");
        }
        if (role == EntryRole::externalFile && entry.size == 0) {
            note(entry.name, "is empty, as when the file to pack could not be read");
        }
        archive_.zip().check(entry);
    }

    void checkStream() {
        if (!archive_.model()) return;
        faults(streamEntry, findFaults(*archive_.model()));
        for (q7tools::ModelNote& note : q7tools::notesOf(*archive_.model()).notes()) {
            findings_.notes.push_back(
                {std::string(streamEntry), note.offset, std::move(note.text)});
        }
    }

    void checkInfo() {
        if (!archive_.info()) return;
        const InfoJson& info = *archive_.info();
        faults(infoEntry, info.faults);
        if (!archive_.model()) return;
        if (info.instanceIds) {
            IdChecker(*archive_.model(), *info.instanceIds, findings_).run();
        } else if (info.faults.empty() && !archive_.model()->instances.empty()) {
            fault(infoEntry,
                  "\"instanceIdArray\" is missing, but the stream has " +
                      counted(archive_.model()->instances.size(), "instance", "instances"));
        }
    }

    void checkMaterials() {
        if (!archive_.materials()) return;
        faults(materialsEntry, archive_.materials()->faults);
        if (archive_.model() && isModel()) checkSameMaterials(*archive_.model());
    }

    void checkSameMaterials(const StreamModel& model) {
        const auto header = parseHeader(model.headerText);
        if (!header) return;
        const auto version = header->find("materialVersion");
        if (version == header->end() || !version->is_number_unsigned()) return;
        // The header tells one more than the host gave.
        const bool hasRoot = version->get<std::uint64_t>() == 2;
        WideString list = hasRoot ? u"<Q7Materials_2>\n" : u"";
        for (const q7tools::StreamMaterial& material : model.materials)
            list += material.xml;
        if (hasRoot) list += u"</Q7Materials_2>\n";
        compareMaterials(wideToUtf8(list));
    }

    void compareMaterials(const std::string& expected) {
        const std::string_view text = archive_.materialText();
        std::string withCarriages;
        for (const char c : expected) {
            if (c == '\n') withCarriages += '\r';
            withCarriages += c;
        }
        if (text == expected || text == withCarriages) return;
        const auto common = [text](const std::string& other) {
            return static_cast<std::uint64_t>(std::ranges::mismatch(text, other).in1 -
                                              text.begin());
        };
        findings_.faults.push_back({std::string(materialsEntry),
                                    std::max(common(expected), common(withCarriages)),
                                    "differs from the materials of the stream"});
    }

    static std::string useText(const TextureUse& use) {
        return inQuotes(use.path) + " (material " + inQuotes(use.material) + ", " +
               inQuotes(use.property) + ")";
    }

    void checkTextures() {
        const std::vector<TextureUse>& uses = archive_.textureUses();
        std::unordered_set<std::size_t> used;
        for (const TextureUse& use : uses) {
            if (use.entry) {
                used.insert(*use.entry);
            } else if (use.isImage) {
                fault(materialsEntry, useText(use) + ": the texture is not in the archive");
            } else {
                note(materialsEntry,
                     useText(use) + ": looks like a file, and is not in the archive");
            }
        }
        for (const auto& [first, second] : findCollisions(uses)) {
            fault(archive_.entries()[*uses[first].entry].name,
                  useText(uses[first]) + " and " + useText(uses[second]) +
                      " have one file name: at most one of them is inside");
        }
        checkUnused(used);
    }

    void checkUnused(const std::unordered_set<std::size_t>& used) {
        for (std::size_t i = 0; i < archive_.entries().size(); ++i) {
            const ZipEntry& entry = archive_.entries()[i];
            if (archive_.role(entry) == EntryRole::texture && !used.contains(i)) {
                note(entry.name, "is used by no material");
            }
        }
    }

    const Archive& archive_;
    ArchiveFindings findings_;
};

}  // namespace

ArchiveFindings checkArchive(const Archive& archive) {
    return ArchiveChecker(archive).run();
}

}  // namespace q7inspect
