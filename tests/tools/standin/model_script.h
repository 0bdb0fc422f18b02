// Scripts of clients that send the sample scene of the stream tests.
#pragma once

#include "tests/tools/common/stream_builder.h"
#include "tests/tools/standin/scripted_client.h"

namespace standintest {

using streamtest::Scene;

// Blocks in a test are larger than what lies in them, as real ones are.
inline StreamBuilder padded(StreamBuilder builder, std::size_t size = 2048) {
    while (builder.bytes().size() < size)
        builder.byte(0xEE);
    return builder;
}

inline StreamBuilder floatsAlone(const std::vector<float>& values) {
    StreamBuilder builder;
    for (const float value : values)
        builder.word(std::bit_cast<std::uint32_t>(value));
    return padded(builder);
}

inline StreamBuilder intsAlone(const std::vector<std::int32_t>& values) {
    StreamBuilder builder;
    for (const std::int32_t value : values)
        builder.word(static_cast<std::uint32_t>(value));
    return padded(builder);
}

inline std::uint32_t countOf(const auto& list) {
    return static_cast<std::uint32_t>(list.size());
}

inline void scriptMesh(ScriptedClient& client, const Scene::Mesh& mesh) {
    client.text(mesh.name);
    client.awaitAnswer(0).fillBlock(floatsAlone(mesh.positions)).word(countOf(mesh.positions));
    client.awaitAnswer().fillBlock(floatsAlone(mesh.normals)).word(countOf(mesh.normals));
    client.awaitAnswer().fillBlock(floatsAlone(mesh.uvs)).word(countOf(mesh.uvs));
    client.awaitAnswer().word(0);
    client.awaitAnswer().fillBlock(intsAlone(mesh.indices)).word(countOf(mesh.indices));
    client.awaitAnswer();
}

// Up to the acknowledgement of the last mesh.
inline void scriptModel(ScriptedClient& client, const Scene& scene) {
    StreamBuilder materials;
    for (const Scene::Material& material : scene.materials)
        materials.material(material.name, material.xml);
    StreamBuilder instances;
    for (const Scene::Instance& instance : scene.instances)
        instances.instance(instance.mesh, instance.material, instance.transform);
    client.word(scene.version).text(scene.header);
    client.awaitAnswer(0).fillBlock(padded(materials)).word(countOf(scene.materials));
    client.awaitAnswer().fillBlock(padded(instances)).word(countOf(scene.instances));
    client.awaitAnswer().word(countOf(scene.meshes));
    for (const Scene::Mesh& mesh : scene.meshes)
        scriptMesh(client, mesh);
}

inline void scriptPlainModel(ScriptedClient& client, const Scene& scene = {}) {
    scriptModel(client, scene);
    client.awaitAnswer();
}

inline const std::u16string samplePaths =
    u"{\"instance_paths\":[\"a/quad/Lamp\",\"b/Wall\",\"c/Wall\"]}";

inline void scriptModelWithPaths(ScriptedClient& client, const Scene& scene = {},
                                 const std::u16string& paths = samplePaths) {
    scriptModel(client, scene);
    client.fillBlock(padded(StreamBuilder().text(paths))).word(1);
    client.awaitAnswer().awaitAnswer();
}

// A connect word and its path, up to the reply.
inline void scriptConnect(ScriptedClient& client, std::uint32_t word) {
    client.word(word).text(u"C:\\a.skp");
    if (word == 17) client.text(u"proxyparent=C:\\b.skp");
    client.awaitAnswer();
}

// What arrives of a scene: the link carries no colours.
inline Scene withoutColors(Scene scene) {
    for (Scene::Mesh& mesh : scene.meshes)
        mesh.colors.clear();
    return scene;
}

}  // namespace standintest
