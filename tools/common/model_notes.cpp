#include "common/model_notes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "common/image_names.h"
#include "common/numbers.h"
#include "common/text_output.h"

namespace q7tools {

namespace {

// What the library adds to a model when a send is to carry all materials.
constexpr WideView generatorMesh = u"@g@m@q7_";

// The library's own material, for triangles without one.
constexpr WideView fallbackMaterial = u"No Material";

constexpr std::size_t noPlace = static_cast<std::size_t>(-1);

// A name may be as long as the file; a note is a line.
std::string shortQuotes(WideView name) {
    std::size_t units = 60;
    if (name.size() <= units) return inQuotes(name);
    const bool endsInPair = name[units - 1] >= 0xD800 && name[units - 1] <= 0xDBFF;
    if (endsInPair) --units;
    return inQuotes(WideString(name.substr(0, units)) + u"...");
}

// Records that are meant by one note.
class Meant {
  public:
    void add(std::uint64_t offset, WideView name) {
        if (begin(offset)) examples_.push_back(shortQuotes(name));
    }
    void addPair(std::uint64_t offset, WideView first, WideView second) {
        if (begin(offset)) examples_.push_back(shortQuotes(first) + " and " + shortQuotes(second));
    }

    std::uint64_t count() const { return count_; }

    // The text stands before the names.
    std::optional<ModelNote> note(std::string_view kind, const std::string& text) const {
        if (count_ == 0) return std::nullopt;
        ModelNote note{kind, offset_, count_, text};
        const char* separator = ": ";
        for (const std::string& example : examples_) {
            note.text += separator + example;
            separator = ", ";
        }
        if (count_ > examples_.size()) {
            note.text += " and " + std::to_string(count_ - examples_.size()) + " more";
        }
        return note;
    }

  private:
    // Whether there is room for one more example.
    bool begin(std::uint64_t offset) {
        constexpr std::uint64_t mostExamples = 5;
        if (count_ == 0) offset_ = offset;
        return ++count_ <= mostExamples;
    }

    std::uint64_t offset_ = 0;
    std::uint64_t count_ = 0;
    std::vector<std::string> examples_;
};

float floatAt(std::span<const std::byte> bytes, std::size_t place) {
    float value = 0;
    std::memcpy(&value, bytes.data() + place * sizeof value, sizeof value);
    return value;
}

bool isZero(std::span<const std::byte> floats) {
    const std::size_t count = floats.size() / sizeof(float);
    for (std::size_t i = 0; i < count; ++i) {
        if (floatAt(floats, i) != 0) return false;
    }
    return true;
}

// The text that the library gives to a material which the host never described. A typed one is without
// properties then, and of type 0; a host's own of another type without properties is described.
bool isDescription(WideView xml) {
    constexpr WideView textStart = u"<Material><Name>DEFAULT</Name>";
    constexpr WideView typedEnd =
        u"    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n</Material_2>\n";
    return !xml.empty() && !xml.starts_with(textStart) && !xml.ends_with(typedEnd);
}

// Whether an element's text ends like the name of an image.
bool namesImage(WideView xml) {
    std::size_t end = xml.find(u'<');
    while (end != WideView::npos) {
        const std::size_t begin = xml.find(u'>', end);
        if (begin == WideView::npos) return false;
        end = xml.find(u'<', begin);
        if (end != WideView::npos && isImageName(xml.substr(begin + 1, end - begin - 1)))
            return true;
    }
    return false;
}

bool isBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n' || unit == 0xA0;
}

char16_t smallLetter(char16_t unit) {
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

WideString withoutCaseAndBlanks(WideView name) {
    WideString key;
    for (const char16_t unit : name) {
        if (!isBlank(unit)) key += smallLetter(unit);
    }
    return key;
}

// Names that differ by the case of A to Z or by blanks alone, each told against the first of them.
template <class Record>
std::optional<ModelNote> alikeNames(const std::vector<Record>& records, std::string_view kind,
                                    const std::string& ofWhat) {
    // Sorted hashes take a fraction of the time and memory of a table.
    std::vector<std::pair<std::uint64_t, std::size_t>> keys;
    for (std::size_t i = 0; i < records.size(); ++i) {
        if (!records[i].isAdded) continue;
        keys.emplace_back(std::hash<WideString>()(withoutCaseAndBlanks(records[i].name)), i);
    }
    std::ranges::sort(keys);
    std::vector<std::pair<std::size_t, std::size_t>> pairs;  // the later one, and the first
    // The key of the first name is made once: the name may be long, and many may follow it.
    WideString key;
    for (std::size_t i = 1, first = 0; i < keys.size(); ++i) {
        if (keys[i].first != keys[first].first) {
            first = i;
            continue;
        }
        if (i == first + 1) key = withoutCaseAndBlanks(records[keys[first].second].name);
        if (withoutCaseAndBlanks(records[keys[i].second].name) == key) {
            pairs.emplace_back(keys[i].second, keys[first].second);
        }
    }
    std::ranges::sort(pairs);
    Meant meant;
    for (const auto& [later, first] : pairs)
        meant.addPair(records[later].offset, records[first].name, records[later].name);
    return meant.note(
        kind, counted(meant.count(), "pair of " + ofWhat + " has", "pairs of " + ofWhat + " have") +
                  " names that differ by case or blanks alone");
}

bool isDigit(char16_t unit) {
    return unit >= u'0' && unit <= u'9';
}

// Whether one unit more, one unit less, another unit in the place of one, or two units that are exchanged
// make one name of the other. Digits and a last letter tell things apart: those that differ are no
// misspelling. Nor are case and blanks, which have a note of their own.
bool isMisspelling(WideView a, WideView b) {
    if (a.size() > b.size()) std::swap(a, b);
    const auto [first, unused] = std::ranges::mismatch(a, b);
    const auto start = static_cast<std::size_t>(first - a.begin());
    const WideView restA = a.substr(start);
    const WideView restB = b.substr(start);
    if (restB.empty() || isDigit(restB.front())) return false;
    if (withoutCaseAndBlanks(a) == withoutCaseAndBlanks(b)) return false;
    if (a.size() < b.size()) return restA == restB.substr(1);
    if (restA.size() == 1 || isDigit(restA.front())) return false;
    if (restA.substr(1) == restB.substr(1)) return true;
    return restA[0] == restB[1] && restA[1] == restB[0] && restA.substr(2) == restB.substr(2);
}

// Calls `take` with the hash of the name and of each text that is left of it without one unit. Two names of
// which one is a misspelling of the other have one of these in common. The cost is that of the name's length.
template <class Take>
void forEachShortening(WideView name, const Take& take) {
    constexpr std::uint64_t base = 0x9E3779B97F4A7C15;
    std::array<std::uint64_t, 65> behind{};  // of the units from each place on
    std::array<std::uint64_t, 65> power{1};
    for (std::size_t i = name.size(); i-- > 0;) {
        const std::size_t length = name.size() - i;
        behind[i] = (name[i] + 1U) * power[length - 1] + behind[i + 1];
        power[length] = power[length - 1] * base;
    }
    take(behind[0]);
    std::uint64_t before = 0;
    for (std::size_t i = 0; i < name.size(); ++i) {
        const std::size_t length = name.size() - i - 1;
        take(before * power[length] + behind[i + 1]);
        before = before * base + name[i] + 1U;
    }
}

// Shorter names are often alike, longer ones are nobody's typing.
bool canBeMisspelt(WideView name) {
    return name.size() >= 4 && name.size() <= 64;
}

struct WorldBox {
    std::array<double, 3> lowest;
    std::array<double, 3> highest;
};

double sizeOf(const WorldBox& box) {
    double size = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        size = std::max(size, box.highest[axis] - box.lowest[axis]);
    return size;
}

// How far the nearest of its points is from the origin, along the axis that separates them most.
double distanceOf(const WorldBox& box) {
    double distance = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
        distance = std::max({distance, box.lowest[axis], -box.highest[axis]});
    return distance;
}

// The corner of a box, of which each bit chooses a side, in the world.
template <class Box>
std::array<double, 3> cornerOf(const Box& box, unsigned corner,
                               const std::array<float, 16>& transform) {
    std::array<double, 3> world{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        world[axis] = transform[12 + axis];
        for (std::size_t row = 0; row < 3; ++row) {
            const bool isHigh = (corner >> row & 1U) != 0;
            world[axis] += static_cast<double>(transform[4 * row + axis]) *
                           (isHigh ? box.highest[row] : box.lowest[row]);
        }
    }
    return world;
}

// Whether the translation stands where a transposed matrix has it. Inverting and multiplying matrices leaves
// tiny numbers there.
bool isTransposed(const std::array<float, 16>& transform) {
    if (transform[12] != 0 || transform[13] != 0 || transform[14] != 0) return false;
    float largest = 1;
    for (const std::size_t i : {0U, 1U, 2U, 4U, 5U, 6U, 8U, 9U, 10U})
        largest = std::max(largest, std::abs(transform[i]));
    return std::ranges::any_of(std::array{3U, 7U, 11U}, [&](std::size_t i) {
        return std::isfinite(transform[i]) && std::abs(transform[i]) > 1e-5F * largest;
    });
}

}  // namespace

template <class Record>
std::size_t ModelNotes::Records<Record>::placeOf(WideView name) {
    const auto [place, isNew] = places.emplace(name, list.size());
    if (isNew) {
        list.emplace_back();
        list.back().name = name;
    }
    return place->second;
}

template <class Record>
void ModelNotes::Records<Record>::reserve(std::size_t count) {
    list.reserve(count);
    places.reserve(count);
}

void ModelNotes::reserve(std::size_t materials, std::size_t instances, std::size_t meshes) {
    materials_.reserve(materials);
    meshes_.reserve(meshes);
    instances_.reserve(instances);
    added_.reserve(materials);
}

void ModelNotes::addMaterial(WideView name, WideView xml, std::uint64_t offset) {
    const std::size_t place = materials_.placeOf(name);
    Material& material = materials_.list[place];
    added_.push_back(material.isAdded ? noPlace : place);
    if (material.isAdded) return;
    material.isAdded = true;
    material.offset = offset;
    material.isDescribed = isDescription(xml);
    material.hasTexture = namesImage(xml);
}

void ModelNotes::addInstance(WideView mesh, WideView material,
                             const std::array<float, 16>& transform, std::uint64_t offset) {
    instances_.push_back({offset, meshes_.placeOf(mesh), materials_.placeOf(material), transform});
    Material& used = materials_.list[instances_.back().material];
    // A material without a record begins where it is named.
    if (used.uses++ == 0 && !used.isAdded) used.offset = offset;
}

void ModelNotes::addMesh(WideView name, std::span<const std::byte> positions,
                         std::uint64_t offset) {
    Mesh& mesh = meshes_.list[meshes_.placeOf(name)];
    // What the library adds for the link's sake is not the host's.
    if (mesh.isAdded || name == generatorMesh) return;
    mesh.isAdded = true;
    mesh.offset = offset;
    const std::size_t vertices = positions.size() / sizeof(float) / 3;
    for (std::size_t i = 0; i < vertices; ++i) {
        const std::array point{floatAt(positions, 3 * i), floatAt(positions, 3 * i + 1),
                               floatAt(positions, 3 * i + 2)};
        if (!std::ranges::all_of(point, [](float value) { return std::isfinite(value); })) continue;
        if (!mesh.box) mesh.box = Box{point, point};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            mesh.box->lowest[axis] = std::min(mesh.box->lowest[axis], point[axis]);
            mesh.box->highest[axis] = std::max(mesh.box->highest[axis], point[axis]);
        }
    }
}

void ModelNotes::addUvs(WideView mesh, std::span<const std::byte> uvs) {
    if (mesh == generatorMesh) return;
    meshes_.list[meshes_.placeOf(mesh)].hasZeroUvs = !uvs.empty() && isZero(uvs);
}

std::vector<ModelNote> ModelNotes::notes() const {
    std::vector<ModelNote> notes;
    for (std::optional<ModelNote>& note :
         std::array{transposed(), bounds(), zeroUvs(), undescribed(), unused(), misspelt(),
                    alikeNames(materials_.list, "materialNames", "materials"),
                    alikeNames(meshes_.list, "meshNames", "meshes")}) {
        if (note) notes.push_back(std::move(*note));
    }
    return notes;
}

std::vector<std::uint64_t> ModelNotes::materialUses() const {
    std::vector<std::uint64_t> uses;
    uses.reserve(added_.size());
    for (const std::size_t place : added_)
        uses.push_back(place == noPlace ? 0 : materials_.list[place].uses);
    return uses;
}

std::optional<ModelNote> ModelNotes::transposed() const {
    Meant meant;
    for (const Instance& instance : instances_) {
        if (isTransposed(instance.transform)) {
            meant.add(instance.offset, meshes_.list[instance.mesh].name);
        }
    }
    return meant.note(
        "transposed",
        counted(meant.count(), "instance has its", "instances have their") +
            " translation in elements 3, 7 and 11 of the transform, and none in 12 to "
            "14: the matrix is transposed; of the mesh");
}

std::optional<ModelNote> ModelNotes::bounds() const {
    constexpr double furthest = 1e9;
    constexpr double smallest = 1e-6;
    constexpr double mostSizesAway = 1e4;

    std::optional<WorldBox> world;
    Meant beyond;
    for (const Instance& instance : instances_) {
        const Mesh& mesh = meshes_.list[instance.mesh];
        if (!mesh.box) continue;
        bool isBeyond = false;
        for (unsigned corner = 0; corner < 8; ++corner) {
            const auto point = cornerOf(*mesh.box, corner, instance.transform);
            if (!std::ranges::all_of(point, [](double value) { return std::isfinite(value); })) {
                continue;
            }
            if (!world) world = WorldBox{point, point};
            for (std::size_t axis = 0; axis < 3; ++axis) {
                world->lowest[axis] = std::min(world->lowest[axis], point[axis]);
                world->highest[axis] = std::max(world->highest[axis], point[axis]);
                isBeyond = isBeyond || std::abs(point[axis]) > furthest;
            }
        }
        if (isBeyond) beyond.add(instance.offset, mesh.name);
    }
    if (!world) return std::nullopt;
    if (beyond.count() != 0) {
        return beyond.note("bounds",
                           counted(beyond.count(), "instance reaches", "instances reach") +
                               " further than 1e+09 from the origin; of the mesh");
    }
    const double size = sizeOf(*world);
    const double distance = distanceOf(*world);
    const auto note = [this](const std::string& text) {
        return ModelNote{"bounds", instances_.front().offset, instances_.size(), text};
    };
    if (size == 0) return note("all vertices are placed at one point");
    if (size < smallest) {
        return note("the scene is only " + roundedNumber(size) + " in size");
    }
    if (distance > mostSizesAway * size) {
        const double step = distance * std::numeric_limits<float>::epsilon();
        return note(
            "the scene is " + roundedNumber(size) + " in size and " + roundedNumber(distance) +
            " from the origin, where single precision has steps of about " + roundedNumber(step));
    }
    return std::nullopt;
}

std::optional<ModelNote> ModelNotes::zeroUvs() const {
    Meant meant;
    std::vector<bool> isTold(meshes_.list.size(), false);
    for (const Instance& instance : instances_) {
        const Mesh& mesh = meshes_.list[instance.mesh];
        if (!mesh.hasZeroUvs || isTold[instance.mesh]) continue;
        if (!materials_.list[instance.material].hasTexture) continue;
        isTold[instance.mesh] = true;
        meant.add(mesh.offset, mesh.name);
    }
    return meant.note("uvs", counted(meant.count(), "mesh has", "meshes have") +
                                 " a material with a texture, and uvs that are all 0");
}

std::optional<ModelNote> ModelNotes::undescribed() const {
    Meant meant;
    for (const Material& material : materials_.list) {
        const bool isMissing = material.isAdded && material.uses != 0 && !material.isDescribed;
        if (isMissing && material.name != fallbackMaterial) {
            meant.add(material.offset, material.name);
        }
    }
    return meant.note("undescribed", counted(meant.count(), "material is", "materials are") +
                                         " used, but described by nothing");
}

std::optional<ModelNote> ModelNotes::unused() const {
    // Many scenes carry materials that wait for their use. Beside one that is used and described by nothing
    // they may be what was meant.
    if (std::ranges::all_of(materials_.list, [](const Material& material) {
            return material.uses == 0 || material.isDescribed;
        })) {
        return std::nullopt;
    }
    Meant meant;
    for (const Material& material : materials_.list) {
        const bool isWaiting = material.isDescribed && material.uses == 0;
        if (isWaiting) meant.add(material.offset, material.name);
    }
    return meant.note("unused", counted(meant.count(), "material is", "materials are") +
                                    " described, but used by no instance");
}

std::optional<ModelNote> ModelNotes::misspelt() const {
    // A name that is used and described by nothing may be meant for another. Only so many of them are
    // looked at, and so many for each shortening, so that names that are all alike cost no more than others.
    constexpr std::size_t mostLookedAt = 1000;
    constexpr std::size_t mostAlike = 8;
    std::unordered_map<std::uint64_t, std::vector<std::size_t>> suspects;
    std::size_t lookedAt = 0;
    for (std::size_t i = 0; i < materials_.list.size() && lookedAt < mostLookedAt; ++i) {
        const Material& material = materials_.list[i];
        const bool isSuspect = material.uses != 0 && !material.isDescribed;
        if (!isSuspect || !canBeMisspelt(material.name)) continue;
        ++lookedAt;
        forEachShortening(material.name, [&](std::uint64_t hash) {
            std::vector<std::size_t>& alike = suspects[hash];
            if (alike.size() < mostAlike) alike.push_back(i);
        });
    }
    if (suspects.empty()) return std::nullopt;

    Meant meant;
    std::vector<bool> isTold(materials_.list.size(), false);
    for (const Material& material : materials_.list) {
        if (!material.isDescribed || !canBeMisspelt(material.name)) continue;
        forEachShortening(material.name, [&](std::uint64_t hash) {
            const auto alike = suspects.find(hash);
            if (alike == suspects.end()) return;
            for (const std::size_t place : alike->second) {
                const Material& suspect = materials_.list[place];
                if (isTold[place] || !isMisspelling(suspect.name, material.name)) continue;
                isTold[place] = true;
                meant.addPair(suspect.offset, suspect.name, material.name);
            }
        });
    }
    return meant.note("misspelt",
                      counted(meant.count(), "material without a description has nearly the name",
                              "materials without a description have nearly the names") +
                          " of one with it");
}

ModelNotes notesOf(const StreamModel& model) {
    ModelNotes notes;
    notes.reserve(model.materials.size(), model.instances.size(), model.meshes.size());
    for (const StreamMaterial& material : model.materials)
        notes.addMaterial(material.name, material.xml, material.offset);
    for (const StreamInstance& instance : model.instances)
        notes.addInstance(instance.mesh, instance.material, instance.transform, instance.offset);
    for (const StreamMesh& mesh : model.meshes) {
        notes.addMesh(mesh.name, std::as_bytes(std::span(mesh.positions)), mesh.offset);
        notes.addUvs(mesh.name, std::as_bytes(std::span(mesh.uvs)));
    }
    return notes;
}

}  // namespace q7tools
