#include "inspect/compare.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "common/numbers.h"
#include "common/text_output.h"
#include "inspect/pairing.h"
#include "inspect/scene.h"

namespace q7inspect {

using q7tools::counted;
using q7tools::inQuotes;
using q7tools::shortestNumber;
using q7tools::StreamInstance;
using q7tools::StreamMaterial;
using q7tools::StreamMesh;
using q7tools::StreamModel;

namespace {

// The mesh that a sender adds, and places once for each material, so that materials without geometry
// arrive too.
constexpr WideView generatorMesh = u"@g@m@q7_";

// A part that is not to count is empty in all keys.
struct InstanceKey {
    WideView mesh;
    WideView material;
    std::string_view transformBits;

    bool operator==(const InstanceKey&) const = default;
};

struct KeyHash {
    std::size_t operator()(WideView name) const { return std::hash<WideView>()(name); }

    std::size_t operator()(const InstanceKey& key) const {
        std::size_t hash = (*this)(key.mesh);
        hash = hash * 31 + (*this)(key.material);
        return hash * 31 + std::hash<std::string_view>()(key.transformBits);
    }
};

std::string_view bitsOf(const Transform& transform) {
    return {reinterpret_cast<const char*>(transform.data()), sizeof transform};
}

InstanceKey wholeKey(const StreamInstance& instance) {
    return {instance.mesh, instance.material, bitsOf(instance.transform)};
}

InstanceKey keyWithoutMaterial(const StreamInstance& instance) {
    return {instance.mesh, {}, bitsOf(instance.transform)};
}

InstanceKey keyWithoutTransform(const StreamInstance& instance) {
    return {instance.mesh, instance.material, {}};
}

bool sameBits(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b);
}

bool sameBits(std::int32_t a, std::int32_t b) {
    return a == b;
}

bool sameBits(std::uint8_t a, std::uint8_t b) {
    return a == b;
}

std::string numberText(float value) {
    return shortestNumber(value);
}

std::string numberText(std::int32_t value) {
    return std::to_string(value);
}

std::string numberText(std::uint8_t value) {
    return std::to_string(value);
}

std::string inBoth(const std::string& a, const std::string& b) {
    return a + " in A, " + b + " in B";
}

// Where the arrays, of one size, first differ and how often; nothing when they are equal.
template <class Array>
std::optional<std::string> elementDifference(std::string_view name, const Array& a,
                                             const Array& b) {
    std::size_t first = a.size();
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (sameBits(a[i], b[i])) continue;
        if (count++ == 0) first = i;
    }
    if (count == 0) return std::nullopt;
    std::string text = std::string(name) + '[' + std::to_string(first) + "] is " +
                       inBoth(numberText(a[first]), numberText(b[first]));
    if (count > 1) text += ", and " + counted(count - 1, "more differs", "more differ");
    return text;
}

std::string excerpt(WideView text) {
    constexpr std::size_t longest = 60;
    if (text.size() <= longest) return inQuotes(text);
    return inQuotes(text.substr(0, longest)) + "...";
}

struct TextLine {
    std::size_t start = 0;
    WideView text;
};

TextLine lineAround(WideView text, std::size_t place) {
    const std::size_t before = text.substr(0, place).rfind(u'\n');
    const std::size_t start = before == WideView::npos ? 0 : before + 1;
    return {start, text.substr(start, text.find(u'\n', start) - start)};
}

// Tells the lines in which texts that are not equal first differ.
std::string textDifference(WideView a, WideView b) {
    const auto place = static_cast<std::size_t>(std::ranges::mismatch(a, b).in1 - a.begin());
    const auto number = std::ranges::count(a.substr(0, place), u'\n') + 1;
    const TextLine lineA = lineAround(a, place);
    const TextLine lineB = lineAround(b, place);
    if (lineA.text == lineB.text) {
        return "the text ends with line " + std::to_string(number) + " in only one of A and B";
    }
    const std::string text = "the text differs in line " + std::to_string(number);
    // Long lines from where they differ on.
    const std::size_t skipped = place - lineA.start > 40 ? place - lineA.start : 0;
    return text + ": " +
           inBoth(excerpt(lineA.text.substr(skipped)), excerpt(lineB.text.substr(skipped)));
}

std::string placeText(const StreamInstance& instance) {
    return '(' + shortestNumber(instance.transform[12]) + ", " +
           shortestNumber(instance.transform[13]) + ", " + shortestNumber(instance.transform[14]) +
           ')';
}

std::string instanceText(const StreamInstance& instance) {
    return "mesh " + inQuotes(instance.mesh) + ", material " + inQuotes(instance.material) +
           ", at " + placeText(instance);
}

std::string numbered(std::size_t place) {
    return "instance " + std::to_string(place + 1);
}

class Comparer {
  public:
    Comparer(const StreamModel& a, const StreamModel& b, const CompareOptions& options)
        : a_(a), b_(b), options_(options) {
        if (options.link) findGenerated();
    }

    Comparison run() {
        if (a_.version != b_.version) {
            add("version word: " + inBoth(std::to_string(a_.version), std::to_string(b_.version)));
        }
        compareHeaders();
        compareMaterials();
        compareInstances();
        compareMeshes();
        return std::move(result_);
    }

  private:
    void add(std::string line) {
        if (result_.differenceCount++ < options_.shown) {
            result_.differences.push_back(std::move(line));
        }
    }

    bool isGenerated(WideView mesh) const {
        return result_.allowed.hasGenerator && mesh == generatorMesh;
    }

    void findGenerated() {
        const StreamMesh* mesh = b_.findMesh(generatorMesh);
        if (mesh == nullptr) return;
        result_.allowed.hasGenerator = true;
        const auto count = std::ranges::count(b_.instances, generatorMesh, &StreamInstance::mesh);
        result_.allowed.generatedInstances = static_cast<std::uint64_t>(count);
        generatedTriangles_ = result_.allowed.generatedInstances * mesh->countedTriangles();
    }

    void compareHeaders() {
        const auto a = parseHeader(a_.headerText);
        auto b = parseHeader(b_.headerText);
        if (!a || !b) {
            if (a_.headerText == b_.headerText) return;
            const auto kind = [](bool isObject) {
                return std::string(isObject ? "a JSON object" : "no JSON object");
            };
            add("header: " + inBoth(kind(a.has_value()), kind(b.has_value())));
            return;
        }
        takeGeneratedOut(*b);
        for (const auto& member : a->items())
            compareMember(member.key(), member.value(), *b);
        for (const auto& member : b->items()) {
            if (!a->contains(member.key())) addLoneMember(member.key(), "B");
        }
    }

    void takeGeneratedOut(nlohmann::json& header) const {
        const auto count = header.find("triangleCount");
        if (count == header.end() || !count->is_number_unsigned()) return;
        const auto told = count->get<std::uint64_t>();
        if (told >= generatedTriangles_) *count = told - generatedTriangles_;
    }

    static std::string memberName(const std::string& key) {
        return "header: " + inQuotes(utf8ToWide(key));
    }

    void addLoneMember(const std::string& key, std::string_view side) {
        add(memberName(key) + " is only in " + std::string(side));
    }

    void compareMember(const std::string& key, const nlohmann::json& value,
                       const nlohmann::json& headerB) {
        const auto other = headerB.find(key);
        if (other == headerB.end()) return addLoneMember(key, "A");
        if (*other == value) return;
        const auto text = [](const nlohmann::json& json) {
            return q7tools::printable(json.dump());
        };
        add(memberName(key) + " is " + inBoth(text(value), text(*other)));
    }

    template <class Record>
    void addLone(std::string_view kind, const Record& record, std::string_view side) {
        add(std::string(kind) + ' ' + inQuotes(record.name) + ": only in " + std::string(side));
    }

    template <class Record>
    static Pairs pairByName(const std::vector<Record>& a, const std::vector<Record>& b,
                            Places& restA, Places& restB) {
        restA = allPlaces(a.size());
        restB = allPlaces(b.size());
        return pairUp<KeyHash>(
            restA, restB, [&a](std::size_t i) { return WideView(a[i].name); },
            [&b](std::size_t i) { return WideView(b[i].name); });
    }

    void compareMaterials() {
        Places restA;
        Places restB;
        for (const auto& [i, j] : pairByName(a_.materials, b_.materials, restA, restB)) {
            const StreamMaterial& material = a_.materials[i];
            if (material.xml == b_.materials[j].xml) continue;
            add("material " + inQuotes(material.name) + ": " +
                textDifference(material.xml, b_.materials[j].xml));
        }
        for (const std::size_t i : restA)
            addLone("material", a_.materials[i], "A");
        for (const std::size_t j : restB)
            addLone("material", b_.materials[j], "B");
    }

    void compareMeshes() {
        Places restA;
        Places restB;
        for (const auto& [i, j] : pairByName(a_.meshes, b_.meshes, restA, restB)) {
            if (!isGenerated(a_.meshes[i].name)) compareArrays(a_.meshes[i], b_.meshes[j]);
        }
        addMeshesOnlyInA(restA);
        for (const std::size_t j : restB) {
            if (!isGenerated(b_.meshes[j].name)) addLone("mesh", b_.meshes[j], "B");
        }
    }

    void addMeshesOnlyInA(const Places& places) {
        std::unordered_set<WideView> used;
        for (const StreamInstance& instance : a_.instances)
            used.insert(instance.mesh);
        for (const std::size_t i : places) {
            if (options_.link && !used.contains(a_.meshes[i].name)) {
                ++result_.allowed.unusedMeshes;
            } else {
                addLone("mesh", a_.meshes[i], "A");
            }
        }
    }

    void compareArrays(const StreamMesh& a, const StreamMesh& b) {
        const std::string subject = "mesh " + inQuotes(a.name) + ": ";
        compareArray(subject, "positions", a.positions, b.positions);
        compareArray(subject, "normals", a.normals, b.normals);
        compareArray(subject, "uvs", a.uvs, b.uvs);
        if (options_.link && b.colors.empty()) {
            if (!a.colors.empty()) ++result_.allowed.uncoloredMeshes;
        } else {
            compareArray(subject, "colors", a.colors, b.colors);
        }
        compareArray(subject, "indices", a.indices, b.indices);
    }

    template <class Array>
    void compareArray(const std::string& subject, const std::string& name, const Array& a,
                      const Array& b) {
        if (a.size() != b.size()) {
            add(subject + "the number of " + name + " is " +
                inBoth(std::to_string(a.size()), std::to_string(b.size())));
        } else if (const auto difference = elementDifference(name, a, b)) {
            add(subject + *difference);
        }
    }

    Places instancesOfB() const {
        Places places = allPlaces(b_.instances.size());
        std::erase_if(places, [this](std::size_t j) { return isGenerated(b_.instances[j].mesh); });
        return places;
    }

    Pairs pairInstances(Places& a, Places& b, InstanceKey (*keyOf)(const StreamInstance&)) const {
        return pairUp<KeyHash>(
            a, b, [&](std::size_t i) { return keyOf(a_.instances[i]); },
            [&](std::size_t j) { return keyOf(b_.instances[j]); });
    }

    // What has no equal is told beside what comes nearest to it.
    void compareInstances() {
        Places restA = allPlaces(a_.instances.size());
        Places restB = instancesOfB();
        const Pairs equal = pairInstances(restA, restB, wholeKey);
        for (const auto& pair : pairInstances(restA, restB, keyWithoutMaterial))
            addMaterialDifference(pair);
        for (const auto& pair : pairInstances(restA, restB, keyWithoutTransform))
            addTransformDifference(pair);
        for (const std::size_t i : restA)
            add(numbered(i) + " of A (" + instanceText(a_.instances[i]) + "): not in B");
        for (const std::size_t j : restB)
            add(numbered(j) + " of B (" + instanceText(b_.instances[j]) + "): not in A");
        if (options_.order) compareOrder(equal);
    }

    static std::string pairText(const Pairs::value_type& pair, const StreamInstance& instance) {
        return numbered(pair.first) + " of A, " + std::to_string(pair.second + 1) + " of B (mesh " +
               inQuotes(instance.mesh);
    }

    void addMaterialDifference(const Pairs::value_type& pair) {
        const StreamInstance& a = a_.instances[pair.first];
        const StreamInstance& b = b_.instances[pair.second];
        add(pairText(pair, a) + ", at " + placeText(a) + "): the material is " +
            inBoth(inQuotes(a.material), inQuotes(b.material)));
    }

    void addTransformDifference(const Pairs::value_type& pair) {
        const StreamInstance& a = a_.instances[pair.first];
        const StreamInstance& b = b_.instances[pair.second];
        add(pairText(pair, a) + ", material " + inQuotes(a.material) + "): " +
            elementDifference("transform", a.transform, b.transform).value_or(std::string()));
    }

    // Of the instances that both have, the first that is another one in the same place.
    void compareOrder(const Pairs& equal) {
        Places placesB;
        for (const auto& pair : equal)
            placesB.push_back(pair.second);
        std::ranges::sort(placesB);
        for (std::size_t n = 0; n < equal.size(); ++n) {
            const std::size_t i = equal[n].first;
            const std::size_t j = placesB[n];
            const StreamInstance& a = a_.instances[i];
            const StreamInstance& b = b_.instances[j];
            if (wholeKey(a) == wholeKey(b)) continue;
            add("the order of instances differs from " + numbered(i) + " of A (" + instanceText(a) +
                ") and " + std::to_string(j + 1) + " of B (" + instanceText(b) + ") on");
            return;
        }
    }

    const StreamModel& a_;
    const StreamModel& b_;
    CompareOptions options_;
    Comparison result_;
    std::uint64_t generatedTriangles_ = 0;
};

}  // namespace

Comparison compareStreams(const StreamModel& a, const StreamModel& b,
                          const CompareOptions& options) {
    return Comparer(a, b, options).run();
}

}  // namespace q7inspect
