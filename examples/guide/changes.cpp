// Changes of a linked scene: move, rename, other geometry, another material, delete; and a file of it.
//
//   changes PLUGIN_FILE OUT.q7mesh
#include <array>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

using HostText = std::basic_string<Q7Char>;
using Transform = std::array<float, 16>;
using Session = std::unique_ptr<void, void (*)(void*)>;

// What the host knows of an object. The library hands out neither transform nor path of a node, and
// each change needs both again.
struct Object {
    Transform place;
    HostText path;
    float size;
};
using Scene = std::map<HostText, Object>;

Transform at(float x) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 0, 0, 1};
}

void buildNode(void* session, const HostText& name, const Object& object) {
    const float s = object.size;
    const std::array<float, 9> corners = {0, 0, 0, s, 0, 0, 0, s, 0};
    Q7BeginNode(session, name.c_str(), object.place.data(), object.path.c_str());
    MaxAddTriangle(session, Q7_TEXT("Oak"), corners.data(), nullptr, nullptr);
    Q7EndNode(session);
}

void setColor(void* session, const Q7Char* color) {
    Q7ResetMaterial(session, Q7_TEXT("Oak"));
    Q7SetMaterialStringProperty(session, Q7_TEXT("Oak"), Q7_TEXT("BaseColor"), color);
}

void fill(void* session, const Scene& scene, const Q7Char* color) {
    Q7SetMaterialVersion(session, 1);
    Q7AddMaterial(session, Q7_TEXT("Oak"));
    setColor(session, color);
    for (const auto& [name, object] : scene)
        buildNode(session, name, object);
}

// A name that no object of the host has.
const Q7Char* const aside = Q7_TEXT("@aside");

void moveNode(void* session, const HostText& name, const Object& object) {
    const float* const place = object.place.data();
    Q7DuplicateNode(session, name.c_str(), aside, place, object.path.c_str());
    Q7DeleteNode(session, name.c_str());
    Q7DuplicateNode(session, aside, name.c_str(), place, object.path.c_str());
    Q7DeleteNode(session, aside);
}

void renameNode(void* session, const HostText& name, const HostText& newName,
                const Object& object) {
    Q7DuplicateNode(session, name.c_str(), newName.c_str(), object.place.data(),
                    object.path.c_str());
    Q7DeleteNode(session, name.c_str());
}

void replaceGeometry(void* session, const HostText& name, const Object& object) {
    // Deleted first: the end of a node adds an instance to those that the name has.
    Q7DeleteNode(session, name.c_str());
    buildNode(session, name, object);
}

void change(void* session, Scene& scene) {
    Object& chair = scene.at(Q7_TEXT("Chair"));
    chair.place = at(5);
    moveNode(session, Q7_TEXT("Chair"), chair);

    auto table = scene.extract(Q7_TEXT("Table"));
    table.key() = Q7_TEXT("Desk");
    table.mapped().path = Q7_TEXT("/Room/Desk");
    renameNode(session, Q7_TEXT("Table"), table.key(), table.mapped());
    scene.insert(std::move(table));

    Object& shelf = scene.at(Q7_TEXT("Shelf"));
    shelf.size = 3;
    replaceGeometry(session, Q7_TEXT("Shelf"), shelf);

    Q7DeleteNode(session, Q7_TEXT("Lamp"));
    scene.erase(Q7_TEXT("Lamp"));
}

void tell(const char* what, void* session) {
    std::printf("%-24s%llu instances\n", what,
                static_cast<unsigned long long>(Q7InstanceCount(session)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    const std::filesystem::path pluginFile = argv[1];
    const std::uint32_t result = StartLinkQ7Render(pluginFile.string<Q7Char>().c_str());
    if (result != 0) {
        std::fprintf(stderr, "changes: no link (%u)\n", result);
        return 1;
    }
    Scene scene = {{Q7_TEXT("Chair"), {at(0), Q7_TEXT("/Room/Chair"), 1}},
                   {Q7_TEXT("Lamp"), {at(1), Q7_TEXT("/Room/Lamp"), 1}},
                   {Q7_TEXT("Shelf"), {at(2), Q7_TEXT("/Room/Shelf"), 1}},
                   {Q7_TEXT("Table"), {at(3), Q7_TEXT("/Room/Table"), 1}}};
    const Session session(CreateSession(), DestroySession);
    SetModelFilePath(session.get(), Q7_TEXT("room.model"));
    fill(session.get(), scene, Q7_TEXT("#808080"));
    if (Q7RawSyncConnect(session.get()) != ConnectRet_Accepted) return 1;
    tell("four objects:", session.get());
    Q7SendRaw(session.get());

    change(session.get(), scene);
    setColor(session.get(), Q7_TEXT("#803000"));
    tell("changed:", session.get());
    Q7SendRaw(session.get());
    tell("sent again:", session.get());
    DisConnect(session.get());

    // A save keeps what was deleted since the last send. A session of its own never has any of that.
    const Session forFile(CreateSession(), DestroySession);
    fill(forFile.get(), scene, Q7_TEXT("#803000"));
    const std::filesystem::path file = argv[2];
    Q7SaveRawToFile(forFile.get(), file.string<Q7Char>().c_str());
    return 0;
}
