// A host as small as tests need it: a session through the exported interface, and what it saves.
#pragma once

#include <array>
#include <filesystem>
#include <initializer_list>
#include <span>
#include <string>
#include <vector>

#include "common/stream_reader.h"
#include "q7plugin.h"
#include "tests/host_text.h"
#include "tests/read_file.h"
#include "tests/temporary_folder.h"

using HostString = std::basic_string<Q7Char>;

inline HostString hostPath(const std::filesystem::path& path) {
    const std::u16string wide = path.u16string();
    return {wide.begin(), wide.end()};
}

inline constexpr std::array<float, 16> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline constexpr std::array<float, 16> translation(float x, float y, float z) {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1};
}

// One triangle with normals and uvs.
struct Triangle {
    std::array<float, 9> positions = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    std::array<float, 9> normals = {0, 0, 1, 0, 1, 0, 1, 0, 0};
    std::array<float, 6> uvs = {0, 0, 1, 0, 0, 1};
};

class Host {
  public:
    Host() : session(CreateSession()) {}
    ~Host() { DestroySession(session); }
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void addTriangle(const Q7Char* material) const {
        const Triangle t;
        MaxAddTriangle(session, material, t.positions.data(), t.normals.data(), t.uvs.data());
    }

    // A node of one triangle for each of the materials.
    void addNode(const Q7Char* node, std::initializer_list<const Q7Char*> materials,
                 const Q7Char* path = Q7T("path")) const {
        Q7BeginNode(session, node, identity.data(), path);
        for (const Q7Char* material : materials)
            addTriangle(material);
        Q7EndNode(session);
    }

    std::string savedBytes() const {
        const TemporaryFolder folder;
        Q7SaveRawToFile(session, hostPath(folder / "saved.q7mesh").c_str());
        return readFile(folder / "saved.q7mesh");
    }

    // What the library holds, as a stream shows it.
    q7tools::StreamModel saved() const {
        const std::string bytes = savedBytes();
        return q7tools::readStream(std::as_bytes(std::span(bytes)));
    }

    // The material file's bytes.
    std::string savedMaterials() const {
        const TemporaryFolder folder;
        Q7SaveMaterialToFile(session, hostPath(folder / "saved.xml").c_str());
        return readFile(folder / "saved.xml");
    }

    void* const session;
};

inline std::vector<WideString> namesOf(const std::vector<q7tools::StreamMesh>& meshes) {
    std::vector<WideString> names;
    for (const auto& mesh : meshes)
        names.push_back(mesh.name);
    return names;
}

inline std::vector<WideString> namesOf(const std::vector<q7tools::StreamMaterial>& materials) {
    std::vector<WideString> names;
    for (const auto& material : materials)
        names.push_back(material.name);
    return names;
}
