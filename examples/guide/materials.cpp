// Materials: typed ones with a texture, a finished text, and an archive that takes the texture along.
//
//   materials FOLDER      (it is made; brick.png, materials.xml and wall.q7a go into it)
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace fs = std::filesystem;

namespace {

using HostText = std::basic_string<Q7Char>;

void addMaterials(void* session, const HostText& texture) {
    // Before the first material: it also decides what a material becomes that only triangles name.
    Q7SetMaterialVersion(session, 1);

    const Q7Char* const brick = Q7_TEXT("Brick");
    Q7AddMaterial(session, brick);
    Q7SetMaterialType(session, brick, 0);
    Q7SetMaterialStringProperty(session, brick, Q7_TEXT("BaseColorTexture"), texture.c_str());
    Q7SetMaterialFloatProperty(session, brick, Q7_TEXT("Roughness"), 0.8F);
    Q7SetMaterialIntProperty(session, brick, Q7_TEXT("TwoSided"), 1);

    // A host that words its materials itself. The text goes to the renderer as it stands.
    AddMaterial(session, Q7_TEXT("Plaster"), Q7_TEXT("<Material><Name>Plaster</Name></Material>"));
}

void addWall(void* session) {
    const std::array<float, 16> place = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::array<float, 9> front = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    const std::array<float, 9> back = {0, 0, 1, 0, 1, 1, 1, 0, 1};
    const std::array<float, 6> uvs = {0, 0, 1, 0, 0, 1};
    Q7BeginNode(session, Q7_TEXT("Wall"), place.data(), Q7_TEXT("/House/Wall"));
    MaxAddTriangle(session, Q7_TEXT("Brick"), front.data(), nullptr, uvs.data());
    MaxAddTriangle(session, Q7_TEXT("Plaster"), back.data(), nullptr, uvs.data());
    // A name that no call has described: the material version decides what it becomes.
    MaxAddTriangle(session, Q7_TEXT("Mortar"), back.data(), nullptr, uvs.data());
    Q7EndNode(session);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    // Absolute, and with the separators of the system: an archive takes no others.
    const fs::path folder = fs::absolute(argv[1]).make_preferred();
    fs::create_directories(folder);
    const fs::path texture = folder / "brick.png";
    std::ofstream(texture, std::ios::binary) << "the bytes of an image";

    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    addMaterials(session.get(), texture.string<Q7Char>());
    addWall(session.get());
    Q7SaveMaterialToFile(session.get(), (folder / "materials.xml").string<Q7Char>().c_str());
    const fs::path archive = folder / "wall.q7a";
    if (Q7SaveRawToQ7a(session.get(), archive.string<Q7Char>().c_str()) == 1) return 0;
    std::fprintf(stderr, "materials: wall.q7a could not be made\n");
    return 1;
}
