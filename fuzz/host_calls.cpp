// Random sequences of calls, as no sane host makes them, on several sessions at once. What each session
// saves is compared with a plain model of what it is to hold. It ends at the first difference.
//
//   q7fuzz_host_calls [CALLS [SEED]]
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/stream_reader.h"
#include "fuzz/plain_model.h"
#include "q7plugin.h"
#include "tests/temporary_folder.h"

namespace {

using namespace q7fuzz;
using HostText = std::basic_string<Q7Char>;

HostText toHost(const Text& text) {
    return {text.begin(), text.end()};
}

// Short lists, so that calls meet what other calls have made.
const std::array<Text, 10> names = {u"",
                                    u"a",
                                    u"b_c",
                                    u"d/e",
                                    u"_",
                                    u"/",
                                    u"\u4E2D\U0001F600",
                                    u"a_m",
                                    u"No Material",
                                    u"a long name beyond any short buffer"};
// The last one for the axis order is none of the enumeration.
constexpr std::array<int, 8> orders = {0, 1, 2, 3, 4, 5, 6, -1};
// Where each stored component comes from.
constexpr std::array<std::array<std::size_t, 3>, 6> axes = {
    {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}};

class Difference : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

void require(bool holds, const std::string& what) {
    if (!holds) throw Difference(what);
}

class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}
    std::size_t below(std::size_t limit) { return static_cast<std::size_t>(engine_() % limit); }
    bool oneIn(std::size_t many) { return below(many) == 0; }
    const Text& name() { return names[below(names.size())]; }
    float number() { return static_cast<float>(below(2001)) - 1000; }
    std::vector<float> numbers(std::size_t count) {
        std::vector<float> made(count);
        for (float& each : made)
            each = number();
        return made;
    }
    template <class Number>
    std::vector<Number> whole(std::size_t count) {
        std::vector<Number> made(count);
        for (Number& each : made)
            each = static_cast<Number>(below(100));
        return made;
    }

  private:
    std::mt19937_64 engine_;
};

// A session of the library beside the plain one.
class Pair {
  public:
    Pair(Random& random, const std::filesystem::path& folder)
        : random_(random), file_(folder / "saved.q7mesh"), handle_(CreateSession()) {}
    ~Pair() { DestroySession(handle_); }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void call() {
        using Step = void (Pair::*)();
        static constexpr std::array<Step, 20> steps = {
            &Pair::begin,        &Pair::begin,        &Pair::addTriangles, &Pair::addTriangles,
            &Pair::addTriangles, &Pair::addTriangles, &Pair::end,          &Pair::end,
            &Pair::duplicate,    &Pair::duplicate,    &Pair::remove,       &Pair::addMesh,
            &Pair::addMaterial,  &Pair::addTyped,     &Pair::typedValues,  &Pair::settings,
            &Pair::entities,     &Pair::animation,    &Pair::count,        &Pair::refused};
        (this->*steps[random_.below(steps.size())])();
    }

    void compare() {
        count();
        if (random_.oneIn(4)) {
            // Merging works on a copy: what is saved behind it shows that nothing has changed.
            Q7SaveProcessedToFile(handle_, toHost(file_.u16string()).c_str());
            compareFile(plain_.merged());
        }
        Q7SaveRawToFile(handle_, toHost(file_.u16string()).c_str());
        compareFile(plain_);
    }

  private:
    void compareFile(const PlainSession& plain) const {
        const q7tools::StreamModel saved = q7tools::readStreamFile(file_);
        require(saved.trailingBytes() == 0, "bytes behind the stream");
        require(saved.version == 11, "version");
        compareMaterials(saved, plain);
        compareMeshes(saved, plain);
        compareInstances(saved, plain);
        compareHeader(saved, plain);
    }
    const Matrix* matrix() {
        if (random_.oneIn(8)) return nullptr;
        // The host's matrix lives until the node ends.
        matrices_.push_back(std::make_unique<Matrix>());
        for (float& each : *matrices_.back())
            each = random_.number();
        return matrices_.back().get();
    }

    void begin() {
        const Text& name = random_.name();
        const Matrix* const transform = matrix();
        const float* const numbers = transform ? transform->data() : nullptr;
        const HostText host = toHost(name);
        const auto hint = static_cast<std::uint32_t>(random_.below(3) * random_.below(200));
        switch (random_.below(4)) {
            case 0:
                MaxBeginNode(handle_, host.c_str(), numbers);
                break;
            case 1:
                MaxBeginNodeHint(handle_, host.c_str(), numbers, hint);
                break;
            case 2:
                Q7BeginNode(handle_, host.c_str(), numbers, toHost(random_.name()).c_str());
                break;
            default:
                Q7BeginNodeHint(handle_, host.c_str(), numbers, hint,
                                toHost(random_.name()).c_str());
        }
        plain_.begin(name, transform);
    }

    void addTriangles() {
        const Text& material = random_.name();
        const std::size_t triangles = random_.below(5);
        const std::vector<float> positions = random_.numbers(9 * triangles + 1);
        const std::vector<float> normals = random_.numbers(9 * triangles + 1);
        const std::vector<float> uvs = random_.numbers(6 * triangles + 1);
        const auto indices = random_.whole<std::int32_t>(random_.below(8) + 1);
        const std::size_t indexCount = random_.oneIn(3) ? indices.size() - 1 : 0;
        const bool hasNormals = !random_.oneIn(3);
        const bool hasUvs = !random_.oneIn(3);
        const int order = orders[random_.below(orders.size())];
        MaxAddIndexTriangles(handle_, toHost(material).c_str(), static_cast<int>(triangles),
                             positions.data(), hasNormals ? normals.data() : nullptr,
                             hasUvs ? uvs.data() : nullptr, static_cast<std::uint32_t>(indexCount),
                             indexCount != 0 ? indices.data() : nullptr,
                             static_cast<CoordOrder>(order));
        PlainMesh& mesh = plain_.part(material);
        const auto& from = axes[order >= 0 && order < 6 ? static_cast<std::size_t>(order) : 0];
        for (std::size_t i = 0; i < 9 * triangles; ++i) {
            const std::size_t source = i / 3 * 3 + from[i % 3];
            mesh.positions.push_back(positions[source]);
            if (hasNormals) mesh.normals.push_back(normals[source]);
        }
        for (std::size_t i = 0; i < 6 * triangles; ++i)
            mesh.uvs.push_back(hasUvs ? uvs[i] : 0);
        mesh.indices.insert(mesh.indices.end(), indices.begin(),
                            indices.begin() + static_cast<std::ptrdiff_t>(indexCount));
    }

    void end() {
        if (random_.oneIn(2)) {
            Q7EndNode(handle_);
        } else {
            MaxEndNode(handle_);
        }
        plain_.end();
    }

    void duplicate() {
        const Text& source = random_.name();
        const Text& copy = random_.name();
        // Doubling a node onto itself again and again grows without bound.
        if (plain_.instances.size() > mostInstances) return;
        const Matrix* const given = matrix();
        const float* const transform = given ? given->data() : nullptr;
        if (random_.oneIn(2)) {
            MaxDuplicateNode(handle_, toHost(source).c_str(), toHost(copy).c_str(), transform);
        } else {
            Q7DuplicateNode(handle_, toHost(source).c_str(), toHost(copy).c_str(), transform,
                            toHost(random_.name()).c_str());
        }
        plain_.duplicate(source, copy, given ? *given : identity);
    }

    void remove() {
        const Text& node = random_.name();
        if (random_.oneIn(2)) {
            Q7DeleteNode(handle_, toHost(node).c_str());
        } else {
            MaxDeleteNode(handle_, toHost(node).c_str());
        }
        plain_.remove(node);
    }

    void addMesh() {
        // Sometimes the name of a mesh that a node has made.
        const Text name =
            random_.oneIn(2) ? random_.name() : random_.name() + u'_' + random_.name();
        PlainMesh mesh;
        const std::size_t vertices = random_.below(6);
        mesh.positions = random_.numbers(3 * vertices);
        mesh.normals = random_.numbers(random_.oneIn(4) ? random_.below(9) : 3 * vertices);
        mesh.uvs = random_.numbers(random_.oneIn(4) ? random_.below(9) : 2 * vertices);
        mesh.colors = random_.whole<std::uint8_t>(random_.below(9));
        mesh.indices = random_.whole<std::int32_t>(random_.below(9));
        PlainMesh given = mesh;
        const auto size = [](const auto& numbers) { return static_cast<int>(numbers.size()); };
        AddMesh(handle_, toHost(name).c_str(), given.positions.data(), size(given.positions),
                given.normals.data(), size(given.normals), given.uvs.data(), size(given.uvs),
                given.colors.data(), size(given.colors), given.indices.data(), size(given.indices));
        plain_.setMesh(name, std::move(mesh));
    }

    void addMaterial() {
        const Text& name = random_.name();
        const Text text = u"<m>" + random_.name() + u"</m>";
        AddMaterial(handle_, toHost(name).c_str(), toHost(text).c_str());
        plain_.addText(name, text);
    }

    void addTyped() {
        const Text& name = random_.name();
        Q7AddMaterial(handle_, toHost(name).c_str());
        plain_.addTyped(name);
    }

    void typedValues() {
        const HostText name = toHost(random_.name());
        const HostText property = toHost(random_.name());
        Q7SetMaterialType(handle_, name.c_str(), static_cast<std::uint32_t>(random_.below(12)));
        Q7SetMaterialIntProperty(handle_, name.c_str(), property.c_str(), -7);
        Q7SetMaterialFloatProperty(handle_, name.c_str(), toHost(random_.name()).c_str(),
                                   random_.number());
        Q7SetMaterialStringProperty(handle_, name.c_str(), toHost(random_.name()).c_str(),
                                    property.c_str());
        if (random_.oneIn(2)) {
            Q7RemoveMaterialProperty(handle_, name.c_str(), property.c_str());
        } else {
            Q7ResetMaterial(handle_, name.c_str());
        }
    }

    void settings() {
        plain_.materialVersion = static_cast<std::uint32_t>(random_.below(3));
        Q7SetMaterialVersion(handle_, plain_.materialVersion);
        plain_.textureFolder = random_.name();
        SetTextureFolder(handle_, toHost(plain_.textureFolder).c_str());
        SetModelFilePath(handle_, toHost(random_.name()).c_str());
        SetRelevantModelFilePath(handle_, toHost(random_.name()).c_str());
        SetGenMatInstances(handle_, static_cast<std::uint8_t>(random_.below(2)));
    }

    void entities() {
        const HostText name = toHost(random_.name());
        const HostText property = toHost(random_.name());
        const auto type = static_cast<std::uint32_t>(random_.below(6));
        const std::vector<float> values = random_.numbers(3);
        switch (random_.below(8)) {
            case 0:
                Q7AddScene(handle_, name.c_str());
                Q7AddLight(handle_, property.c_str());
                break;
            case 1:
                Q7DeleteScene(handle_, name.c_str());
                Q7DeleteLight(handle_, name.c_str());
                break;
            case 2:
                Q7SetPathElementName(handle_, name.c_str(), property.c_str());
                break;
            case 3:
                Q7DeletePathElementName(handle_, name.c_str());
                break;
            case 4:
                Q7SetEntityIntProperty(handle_, type, name.c_str(), property.c_str(), 1);
                Q7SetEntityFloatArrayProperty(handle_, type, name.c_str(), property.c_str(),
                                              values.data(), static_cast<int>(random_.below(4)));
                break;
            case 5:
                Q7SetEntityFloatProperty(handle_, type, name.c_str(), property.c_str(), 0.1F);
                Q7SetEntityStringProperty(handle_, type, name.c_str(), property.c_str(),
                                          name.c_str());
                break;
            case 6:
                Q7ResetEntityProperty(handle_, type, name.c_str());
                break;
            default:
                Q7DeleteEntityProperty(handle_, type, name.c_str(), property.c_str());
        }
        if (random_.oneIn(50)) {
            Q7ClearScenes(handle_);
            Q7ClearLights(handle_);
            Q7ClearPathElementNames(handle_);
        }
    }

    void animation() {
        const HostText name = toHost(random_.name());
        const auto frame = static_cast<std::int32_t>(random_.below(6)) - 2;
        const auto type = static_cast<std::int32_t>(random_.below(3)) + 3;
        const double time = static_cast<double>(random_.below(4));
        switch (random_.below(6)) {
            case 0:
                Q7AddCameraAnims(handle_, name.c_str());
                break;
            case 1:
                Q7DeleteCameraAnims(handle_, name.c_str());
                break;
            case 2:
                Q7AddAnimEntityFrame(handle_, type, name.c_str(), time);
                Q7FindAnimEntityFrame(handle_, type, name.c_str(), time);
                break;
            case 3:
                Q7DeleteAnimEntityFrame(handle_, type, name.c_str(), frame);
                break;
            case 4:
                Q7ResetAnimProperty(handle_, type, name.c_str(), frame);
                break;
            default:
                Q7ClearAnimEntityFrames(handle_, type, name.c_str());
        }
    }

    void count() {
        require(Q7InstanceCount(handle_) == plain_.instances.size(), "count of instances");
    }

    // Calls that throw leave everything as it was.
    void refused() {
        const std::vector<float> some(9);
        const auto throws = [](const std::function<void()>& call) {
            try {
                call();
            } catch (const std::exception&) {
                return true;
            }
            return false;
        };
        require(throws([&] {
                    MaxAddTriangles(handle_, toHost(random_.name()).c_str(), -1, some.data(),
                                    nullptr, nullptr, CoordOrder::XYZ);
                }),
                "a negative count was taken");
        require(throws([&] { Q7DeleteInstance(handle_, random_.below(100)); }),
                "an unknown instance was deleted");
    }

    static void compareMaterials(const q7tools::StreamModel& saved, const PlainSession& plain) {
        require(saved.materials.size() == plain.materials.size(), "number of materials");
        for (const auto& [name, text] : plain.materials) {
            const auto* const found = saved.findMaterial(name);
            require(found != nullptr, "a material is missing");
            require(!text || found->xml == *text, "text of a material");
        }
    }

    static void compareMeshes(const q7tools::StreamModel& saved, const PlainSession& plain) {
        require(saved.meshes.size() == plain.meshes.size(), "number of meshes");
        for (const auto& [name, mesh] : plain.meshes) {
            const auto* const found = saved.findMesh(name);
            require(found != nullptr, "a mesh is missing");
            // Where a merged mesh lies in the world is another test's.
            const bool hasValues = !name.ends_with(u"_q7_merged");
            require(found->positions.size() == mesh.positions.size(), "count of positions");
            require(found->normals.size() == mesh.normals.size(), "count of normals");
            require(!hasValues || found->positions == mesh.positions, "positions");
            require(!hasValues || found->normals == mesh.normals, "normals");
            require(found->uvs == mesh.uvs, "uvs");
            require(found->colors == mesh.colors, "colors");
            require(found->indices == mesh.indices, "indices");
        }
    }

    static void compareInstances(const q7tools::StreamModel& saved, const PlainSession& plain) {
        require(saved.instances.size() == plain.instances.size(), "number of instances");
        for (std::size_t i = 0; i < saved.instances.size(); ++i) {
            require(saved.instances[i].mesh == plain.instances[i].mesh, "mesh of an instance");
            require(saved.instances[i].material == plain.instances[i].material,
                    "material of an instance");
            require(saved.instances[i].transform == plain.instances[i].transform,
                    "transform of an instance");
        }
    }

    static void compareHeader(const q7tools::StreamModel& saved, const PlainSession& plain) {
        std::uint64_t triangles = 0;
        for (const PlainInstance& instance : plain.instances)
            triangles += plain.meshes.at(instance.mesh).indices.size() / 3;
        const auto header = nlohmann::json::parse(saved.headerText);
        require(header.at("triangleCount") == triangles, "triangle count of the header");
        require(header.at("materialVersion") == plain.materialVersion + 1, "material version");
        require(nlohmann::json::parse(u"\"" + plain.textureFolder + u"\"") ==
                    header.at("textureFolder"),
                "texture folder");
    }

    static constexpr std::size_t mostInstances = 3000;

    Random& random_;
    std::filesystem::path file_;
    void* handle_;
    PlainSession plain_;
    std::vector<std::unique_ptr<Matrix>> matrices_;
};

// The library's own text, of which the plain model knows nothing.
Text defaultMaterialText(const std::filesystem::path& folder) {
    void* const session = CreateSession();
    const std::array<float, 9> corner = {};
    MaxAddTriangle(session, toHost(u"m").c_str(), corner.data(), nullptr, nullptr);
    MaxEndNode(session);
    const auto file = folder / "default.q7mesh";
    Q7SaveRawToFile(session, toHost(file.u16string()).c_str());
    DestroySession(session);
    return q7tools::readStreamFile(file).materials.at(0).xml;
}

void run(std::uint64_t calls, std::uint64_t seed) {
    constexpr std::size_t sessions = 3;
    constexpr std::size_t callsBetweenComparisons = 40;
    const TemporaryFolder folder;
    PlainSession::defaultText = defaultMaterialText(folder.path());
    Random random(seed);
    std::vector<std::unique_ptr<Pair>> pairs(sessions);
    for (std::uint64_t done = 0; done < calls; ++done) {
        auto& pair = pairs[random.below(sessions)];
        if (!pair || random.oneIn(2000)) pair = std::make_unique<Pair>(random, folder.path());
        try {
            pair->call();
            if (random.oneIn(callsBetweenComparisons)) pair->compare();
        } catch (const std::exception& error) {
            throw Difference(std::string(error.what()) + " after call " + std::to_string(done) +
                             " of seed " + std::to_string(seed));
        }
    }
    std::printf("%llu calls of seed %llu: no difference\n", static_cast<unsigned long long>(calls),
                static_cast<unsigned long long>(seed));
}

}  // namespace

int main(int argc, char** argv) {
    const auto number = [&](int argument, std::uint64_t otherwise) {
        return argc > argument ? std::strtoull(argv[argument], nullptr, 10) : otherwise;
    };
    const std::uint64_t calls = number(1, 1000000);
    if (argc > 3 || calls == 0) {
        std::fprintf(stderr, "usage: q7fuzz_host_calls [CALLS [SEED]]\n");
        return 2;
    }
    try {
        run(calls, number(2, std::random_device()()));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "host_calls: %s\n", error.what());
        return 1;
    }
    return 0;
}
