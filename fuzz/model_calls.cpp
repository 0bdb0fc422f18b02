#include "fuzz/model_calls.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <limits>
#include <set>
#include <string>

#include "common/stream_reader.h"
#include "common/zip_reader.h"
#include "fuzz/plain_records.h"

namespace q7fuzz {

namespace {

// The last ones for the axis order are none of the enumeration.
constexpr std::array<int, 8> orders = {0, 1, 2, 3, 4, 5, 6, -1};
// Where each stored component comes from.
constexpr std::array<std::array<std::size_t, 3>, 6> axes = {
    {{0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0}}};
// Comparing takes as long as there are many.
constexpr std::size_t mostInstances = 150;

// Where such a mesh lies in the world is another test's.
bool isMade(const Text& mesh) {
    return mesh.ends_with(u"_q7_merged") || mesh.starts_with(fixedPrefix) || mesh == generatorName;
}

void compareMaterials(const q7tools::StreamModel& saved, const PlainSession& plain) {
    require(saved.materials.size() == plain.materials.size(), "number of materials");
    for (const auto& [name, text] : plain.materials) {
        const auto* const found = saved.findMaterial(name);
        require(found != nullptr, "a material is missing");
        require(!text || found->xml == *text, "text of a material");
    }
}

void compareMeshes(const q7tools::StreamModel& saved, const PlainSession& plain) {
    require(saved.meshes.size() == plain.meshes.size(), "number of meshes");
    for (const auto& [name, mesh] : plain.meshes) {
        const auto* const found = saved.findMesh(name);
        require(found != nullptr, "a mesh is missing");
        const bool hasValues = !isMade(name);
        require(found->positions.size() == mesh.positions.size(), "count of positions");
        require(found->normals.size() == mesh.normals.size(), "count of normals");
        require(!hasValues || found->positions == mesh.positions, "positions");
        require(!hasValues || found->normals == mesh.normals, "normals");
        require(found->uvs == mesh.uvs, "uvs");
        require(found->colors == mesh.colors, "colors");
        require(found->indices == mesh.indices, "indices");
    }
}

// Bit by bit: not every transform is a number.
bool same(const Matrix& a, const Matrix& b) {
    return std::memcmp(a.data(), b.data(), sizeof a) == 0;
}

void compareInstances(const q7tools::StreamModel& saved, const PlainSession& plain) {
    require(saved.instances.size() == plain.instances.size(), "number of instances");
    // The generated ones are in the order of the materials, of which the plain model knows nothing.
    std::multiset<Text> generated;
    for (std::size_t i = 0; i < saved.instances.size(); ++i) {
        const auto& one = saved.instances[i];
        const PlainInstance& other = plain.instances[i];
        require(one.mesh == other.mesh, "mesh of an instance");
        require(same(one.transform, other.transform), "transform of an instance");
        if (other.mesh == generatorName) {
            generated.insert(one.material);
        } else {
            require(one.material == other.material, "material of an instance");
        }
    }
    for (const PlainInstance& other : plain.instances) {
        if (other.mesh == generatorName)
            require(generated.erase(other.material) == 1, "material of a generated instance");
    }
}

void compareHeader(const q7tools::StreamModel& saved, const PlainSession& plain) {
    std::uint64_t triangles = 0;
    for (const PlainInstance& instance : plain.instances)
        triangles += plain.meshes.at(instance.mesh).indices.size() / 3;
    const json header = json::parse(saved.headerText);
    require(header.at("triangleCount") == triangles, "triangle count of the header");
    require(header.at("materialVersion") == plain.materialVersion + 1, "material version");
    require(header.at("textureFolder") == utf8(plain.textureFolder), "texture folder");
}

void compareModel(const q7tools::StreamModel& saved, const PlainSession& plain) {
    require(saved.trailingBytes() == 0, "bytes behind the stream");
    require(saved.version == 11, "version");
    compareMaterials(saved, plain);
    compareMeshes(saved, plain);
    compareInstances(saved, plain);
    compareHeader(saved, plain);
}

}  // namespace

ModelCalls::ModelCalls(Random& random, void* session, const std::filesystem::path& folder)
    : random_(random), session_(session), folder_(folder) {}

// The host's matrix lives until the node ends.
const Matrix* ModelCalls::matrix() {
    if (random_.oneIn(8)) return nullptr;
    constexpr float quietNan = std::numeric_limits<float>::quiet_NaN();
    constexpr std::array<float, 8> scales = {1, 2, 99, 101, 0.002F, 0.0009F, -3, quietNan};
    Matrix& made = *matrices_.emplace_back(std::make_unique<Matrix>(identity));
    if (random_.oneIn(3)) {
        for (float& each : made)
            each = random_.number();
        return &made;
    }
    for (const std::size_t axis : {0U, 5U, 10U})
        made[axis] = scales[random_.below(random_.oneIn(3) ? scales.size() : 2)];
    for (const std::size_t axis : {12U, 13U, 14U})
        made[axis] = random_.number();
    return &made;
}

void ModelCalls::begin() {
    const Text& name = random_.name();
    const Matrix* const transform = matrix();
    const float* const numbers = transform ? transform->data() : nullptr;
    const HostText host = toHost(name);
    const auto hint = static_cast<std::uint32_t>(random_.below(3) * random_.below(200));
    switch (random_.below(4)) {
        case 0:
            MaxBeginNode(session_, host.c_str(), numbers);
            break;
        case 1:
            MaxBeginNodeHint(session_, host.c_str(), numbers, hint);
            break;
        case 2:
            Q7BeginNode(session_, host.c_str(), numbers, toHost(random_.name()).c_str());
            break;
        default:
            Q7BeginNodeHint(session_, host.c_str(), numbers, hint, toHost(random_.name()).c_str());
    }
    plain_.begin(name, transform);
}

void ModelCalls::addTriangles() {
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
    MaxAddIndexTriangles(session_, toHost(material).c_str(), static_cast<int>(triangles),
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

void ModelCalls::end() {
    if (random_.oneIn(2)) {
        Q7EndNode(session_);
    } else {
        MaxEndNode(session_);
    }
    plain_.end();
}

void ModelCalls::duplicate() {
    const Text& source = random_.name();
    const Text& copy = random_.name();
    // Doubling a node onto itself again and again grows without bound.
    if (plain_.instances.size() > mostInstances) return;
    const Matrix* const given = matrix();
    const float* const transform = given ? given->data() : nullptr;
    if (random_.oneIn(2)) {
        MaxDuplicateNode(session_, toHost(source).c_str(), toHost(copy).c_str(), transform);
    } else {
        Q7DuplicateNode(session_, toHost(source).c_str(), toHost(copy).c_str(), transform,
                        toHost(random_.name()).c_str());
    }
    plain_.duplicate(source, copy, given ? *given : identity);
}

void ModelCalls::remove() {
    const Text& node = random_.name();
    if (random_.oneIn(2)) {
        Q7DeleteNode(session_, toHost(node).c_str());
    } else {
        MaxDeleteNode(session_, toHost(node).c_str());
    }
    plain_.remove(node);
}

void ModelCalls::addMesh() {
    // Sometimes the name of a mesh that a node has made.
    const Text name = random_.oneIn(2) ? random_.name() : random_.name() + u'_' + random_.name();
    PlainMesh mesh;
    const std::size_t vertices = random_.below(6);
    mesh.positions = random_.numbers(3 * vertices);
    mesh.normals = random_.numbers(random_.oneIn(4) ? random_.below(9) : 3 * vertices);
    mesh.uvs = random_.numbers(random_.oneIn(4) ? random_.below(9) : 2 * vertices);
    mesh.colors = random_.whole<std::uint8_t>(random_.below(9));
    mesh.indices = random_.whole<std::int32_t>(random_.below(9));
    PlainMesh given = mesh;
    const auto size = [](const auto& numbers) { return static_cast<int>(numbers.size()); };
    AddMesh(session_, toHost(name).c_str(), given.positions.data(), size(given.positions),
            given.normals.data(), size(given.normals), given.uvs.data(), size(given.uvs),
            given.colors.data(), size(given.colors), given.indices.data(), size(given.indices));
    plain_.setMesh(name, std::move(mesh));
}

void ModelCalls::addMaterial() {
    const Text& name = random_.name();
    const Text text = u"<m>" + random_.name() + u"</m>";
    AddMaterial(session_, toHost(name).c_str(), toHost(text).c_str());
    plain_.addText(name, text);
}

void ModelCalls::addTyped() {
    const Text& name = random_.name();
    Q7AddMaterial(session_, toHost(name).c_str());
    plain_.addTyped(name);
}

void ModelCalls::typedValues() {
    const HostText name = toHost(random_.name());
    const HostText property = toHost(random_.name());
    Q7SetMaterialType(session_, name.c_str(), static_cast<std::uint32_t>(random_.below(12)));
    Q7SetMaterialIntProperty(session_, name.c_str(), property.c_str(), -7);
    Q7SetMaterialFloatProperty(session_, name.c_str(), toHost(random_.name()).c_str(),
                               random_.number());
    Q7SetMaterialStringProperty(session_, name.c_str(), toHost(random_.name()).c_str(),
                                property.c_str());
    if (random_.oneIn(2)) {
        Q7RemoveMaterialProperty(session_, name.c_str(), property.c_str());
    } else {
        Q7ResetMaterial(session_, name.c_str());
    }
}

void ModelCalls::settings() {
    plain_.materialVersion = static_cast<std::uint32_t>(random_.below(3));
    Q7SetMaterialVersion(session_, plain_.materialVersion);
    plain_.textureFolder = random_.name();
    SetTextureFolder(session_, toHost(plain_.textureFolder).c_str());
    generates_ = random_.oneIn(2);
    SetGenMatInstances(session_, generates_ ? 2 : 0);
}

void ModelCalls::count() const {
    require(Q7InstanceCount(session_) == plain_.instances.size(), "count of instances");
}

void ModelCalls::refused() {
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
                MaxAddTriangles(session_, toHost(random_.name()).c_str(), -1, some.data(), nullptr,
                                nullptr, CoordOrder::XYZ);
            }),
            "a negative count was taken");
    require(throws([&] { Q7DeleteInstance(session_, random_.below(100)); }),
            "an unknown instance was deleted");
}

void ModelCalls::save() {
    count();
    const auto file = folder_ / "saved.q7mesh";
    const HostText path = toHost(file.u16string());
    if (random_.oneIn(4)) {
        // Merging works on a copy: what is saved behind it shows that nothing has changed.
        Q7SaveProcessedToFile(session_, path.c_str());
        compareModel(q7tools::readStreamFile(file), plain_.merged());
    }
    if (random_.oneIn(2)) {
        Q7SaveRawToFile(session_, path.c_str());
    } else {
        SaveToFile(session_, path.c_str());
    }
    compareModel(q7tools::readStreamFile(file), plain_);
}

void ModelCalls::saveArchive() {
    const auto file = folder_ / "saved.q7a";
    const HostText path = toHost(file.u16string());
    const HostText external = toHost((folder_ / "saved.q7mesh").u16string());
    const HostText materials = toHost((folder_ / "saved.xml").u16string());
    Q7SaveMaterialToFile(session_, materials.c_str());
    require(std::filesystem::file_size(folder_ / "saved.xml") > 0 || plain_.materials.empty(),
            "materials in a file");
    require(Q7SaveRawToQ7a(session_, path.c_str()) == 1, "a raw archive");
    require(Q7SaveProcessedToQ7a(session_, path.c_str()) == 1, "a processed archive");
    Q7SaveRawToFile(session_, external.c_str());
    require(Q7SaveExtToQ7a(session_, external.c_str(), path.c_str()) == 1, "an archive of a file");
    require(Q7SaveExtToQ7a(session_, toHost(u"none").c_str(), path.c_str()) == 1,
            "an archive of no file");
}

void ModelCalls::compareArrived(StandIn& renderer, const PlainSession& plain) const {
    const std::filesystem::path copy = folder_ / "arrived.q7mesh";
    std::ofstream(copy, std::ios::binary) << renderer.nextText("model");
    compareModel(q7tools::readStreamFile(copy), plain.sent(generates_));
}

void ModelCalls::send(StandIn& renderer) {
    require(HasConnected(session_) == 0, "connected without a connect call");
    if (random_.oneIn(2)) {
        sendRaw(renderer);
    } else {
        sendProcessed(renderer);
    }
    count();
}

void ModelCalls::sendRaw(StandIn& renderer) {
    const bool isConnected =
        (random_.oneIn(2) ? Connect(session_) : Q7RawSyncConnect(session_)) == 0;
    require(isConnected && HasConnected(session_) == 1, "no raw connection");
    if (random_.oneIn(2)) {
        Q7SendRaw(session_);
    } else {
        SendModel(session_);
    }
    DisConnect(session_);
    // To a renderer whose version nobody knows, all goes twice.
    for (int pass = 0; pass < 2; ++pass) {
        plain_.applyDeletions();
        if (plain_.instances.empty()) return;
        compareArrived(renderer, plain_);
        plain_.dropUnusedMeshes();
    }
}

void ModelCalls::sendProcessed(StandIn& renderer) {
    require(Q7ProcessedSyncConnect(session_) == 0, "no processed connection");
    Q7SendProcessed(session_);
    DisConnect(session_);
    plain_.applyDeletions();
    if (plain_.instances.empty()) return;
    const PlainSession merged = plain_.merged();
    // Meshes that do not fit each other lose their instances when they are merged, maybe all.
    if (!merged.sent(generates_).instances.empty()) compareArrived(renderer, merged);
    plain_.dropUnusedMeshes();
}

}  // namespace q7fuzz
