// Nodes: two materials in one node, a copy of it, a change of its geometry, and its end.
//
//   nodes OUT.q7mesh
#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>

#include "q7plugin.h"

#ifdef _WIN32
#define Q7_TEXT(literal) L##literal
#else
#define Q7_TEXT(literal) u##literal
#endif

namespace {

using Transform = std::array<float, 16>;

// Points are row vectors: the last row moves them.
Transform at(float x, float y, float z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

// A square of two triangles that share vertices. The arrays hold vertices by threes, so the four are
// followed by two that no index names.
void addSquare(void* session, const Q7Char* material, float z) {
    const std::array<float, 18> positions = {0, 0, z, 1, 0, z, 1, 1, z, 0, 1, z, 0, 0, z, 0, 0, z};
    const std::array<float, 18> normals = {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1};
    const std::array<float, 12> uvs = {0, 0, 1, 0, 1, 1, 0, 1, 0, 0, 0, 0};
    const std::array<int, 6> indices = {0, 1, 2, 0, 2, 3};
    MaxAddIndexTriangles(session, material, 2, positions.data(), normals.data(), uvs.data(),
                         indices.size(), indices.data(), CoordOrder::XYZ);
}

void addBoard(void* session, float thickness) {
    // Kept by its address until the node ends.
    const Transform place = at(0, 0, 0);
    Q7BeginNode(session, Q7_TEXT("Board"), place.data(), Q7_TEXT("/Shelf/Board"));
    addSquare(session, Q7_TEXT("Oak"), 0);
    addSquare(session, Q7_TEXT("Varnish"), thickness);
    Q7EndNode(session);
}

void tell(const char* what, void* session) {
    std::printf("%-28s%llu instances\n", what,
                static_cast<unsigned long long>(Q7InstanceCount(session)));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 2;
    const std::unique_ptr<void, void (*)(void*)> session(CreateSession(), DestroySession);
    Q7SetDccPluginInfo(Q7_TEXT("guide 1.0"));
    SetModelFilePath(session.get(), Q7_TEXT("shelf.model"));

    addBoard(session.get(), 0.1F);
    tell("a node of two materials:", session.get());

    // Shares the meshes of the first: it costs no geometry.
    Q7DuplicateNode(session.get(), Q7_TEXT("Board"), Q7_TEXT("Upper board"), at(0, 0, 1).data(),
                    Q7_TEXT("/Shelf/Upper board"));
    tell("and its copy:", session.get());

    // The same name with other geometry. Deleted first, or the old instances would stay. The meshes
    // are updated in place, so the copy changes too.
    Q7DeleteNode(session.get(), Q7_TEXT("Board"));
    addBoard(session.get(), 0.2F);
    tell("old ones wait for a send:", session.get());

    const std::filesystem::path path = argv[1];
    std::filesystem::remove(path);
    Q7SaveRawToFile(session.get(), path.string<Q7Char>().c_str());
    // The library does not tell that it could not write.
    if (std::filesystem::exists(path)) return 0;
    std::fprintf(stderr, "nodes: %s cannot be written\n", argv[1]);
    return 1;
}
