// The scenes that are measured, handed over as a host does it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "q7plugin.h"
#include "tests/host_text.h"

namespace bench {

using HostText = std::basic_string<Q7Char>;

class Session {
  public:
    Session() : handle(CreateSession()) {}
    ~Session() { DestroySession(handle); }
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    void* const handle;
};

inline constexpr std::array<float, 16> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
// A rotation about the z axis, and a translation.
inline constexpr std::array<float, 16> turned = {0.6F, 0.8F, 0, 0, -0.8F, 0.6F, 0,  0,
                                                 0,    0,    1, 0, 10,    20,   30, 1};

// Names of one length, so that no size is favoured.
inline HostText numbered(const char* prefix, std::size_t number) {
    const std::string text = prefix + std::to_string(100000000 + number);
    return {text.begin(), text.end()};
}

// A strip of triangles that all differ, with normals of length 1; 9, 9 and 6 floats a triangle.
struct Triangles {
    explicit Triangles(std::size_t count)
        : positions(9 * count), normals(9 * count), uvs(6 * count) {
        for (std::size_t i = 0; i < positions.size(); ++i) {
            positions[i] = static_cast<float>(i % 9973) * 0.01F;
            normals[i] = i % 3 == 2 ? 1.0F : 0.0F;
        }
        for (std::size_t i = 0; i < uvs.size(); ++i)
            uvs[i] = static_cast<float>(i % 101) * 0.01F;
    }
    int count() const { return static_cast<int>(positions.size() / 9); }

    std::vector<float> positions;
    std::vector<float> normals;
    std::vector<float> uvs;
};

inline void addTriangles(const Session& session, const Q7Char* material, const Triangles& triangles,
                         std::size_t count, CoordOrder order = CoordOrder::XYZ) {
    const auto batch = static_cast<std::size_t>(triangles.count());
    for (std::size_t done = 0; done < count; done += batch) {
        const std::size_t left = count - done;
        MaxAddTriangles(session.handle, material, static_cast<int>(left < batch ? left : batch),
                        triangles.positions.data(), triangles.normals.data(), triangles.uvs.data(),
                        order);
    }
}

inline void largeMesh(const Session& session, std::size_t count,
                      const std::array<float, 16>& transform = identity) {
    const Triangles batch(1000);
    MaxBeginNodeHint(session.handle, Q7T("large"), transform.data(),
                     static_cast<std::uint32_t>(count));
    addTriangles(session, Q7T("m"), batch, count);
    MaxEndNode(session.handle);
}

inline void manyMeshes(const Session& session, std::size_t meshes, std::size_t trianglesEach,
                       std::size_t materials, const std::array<float, 16>& transform = identity) {
    const Triangles all(trianglesEach);
    std::vector<HostText> names;
    for (std::size_t i = 0; i < materials; ++i)
        names.push_back(numbered("material", i));
    for (std::size_t i = 0; i < meshes; ++i) {
        MaxBeginNode(session.handle, numbered("node", i).c_str(), transform.data());
        addTriangles(session, names[i % materials].c_str(), all, trianglesEach);
        MaxEndNode(session.handle);
    }
}

// One mesh of 12 triangles in many places.
inline void manyInstances(const Session& session, std::size_t instances) {
    manyMeshes(session, 1, 12, 1);
    const HostText source = numbered("node", 0);
    for (std::size_t i = 1; i < instances; ++i)
        MaxDuplicateNode(session.handle, source.c_str(), numbered("node", i).c_str(),
                         turned.data());
}

}  // namespace bench
