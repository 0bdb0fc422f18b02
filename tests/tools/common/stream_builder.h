// Makes model streams by hand, byte by byte, sound ones and others.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace streamtest {

using Transform = std::array<float, 16>;

inline constexpr Transform identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

inline Transform movedBy(float x, float y, float z) {
    Transform transform = identity;
    transform[12] = x;
    transform[13] = y;
    transform[14] = z;
    return transform;
}

class StreamBuilder {
  public:
    std::uint64_t offset() const { return bytes_.size(); }
    std::span<const std::byte> bytes() const { return bytes_; }

    StreamBuilder& byte(std::uint8_t value) {
        bytes_.push_back(static_cast<std::byte>(value));
        return *this;
    }

    StreamBuilder& word(std::uint32_t value) {
        for (int shift = 0; shift < 32; shift += 8)
            byte(static_cast<std::uint8_t>(value >> shift));
        return *this;
    }

    StreamBuilder& text(std::u16string_view units) {
        word(static_cast<std::uint32_t>(units.size()));
        for (const char16_t unit : units) {
            byte(static_cast<std::uint8_t>(unit & 0xFF));
            byte(static_cast<std::uint8_t>(unit >> 8));
        }
        return *this;
    }

    StreamBuilder& floats(const std::vector<float>& values) {
        word(static_cast<std::uint32_t>(values.size()));
        for (const float value : values)
            word(std::bit_cast<std::uint32_t>(value));
        return *this;
    }

    StreamBuilder& ints(const std::vector<std::int32_t>& values) {
        word(static_cast<std::uint32_t>(values.size()));
        for (const std::int32_t value : values)
            word(static_cast<std::uint32_t>(value));
        return *this;
    }

    StreamBuilder& byteArray(const std::vector<std::uint8_t>& values) {
        word(static_cast<std::uint32_t>(values.size()));
        for (const std::uint8_t value : values)
            byte(value);
        return *this;
    }

    StreamBuilder& transform(const Transform& values) {
        for (const float value : values)
            word(std::bit_cast<std::uint32_t>(value));
        return *this;
    }

    StreamBuilder& material(std::u16string_view name, std::u16string_view xml) {
        return text(name).text(xml);
    }

    StreamBuilder& instance(std::u16string_view mesh, std::u16string_view materialName,
                            const Transform& placement = identity) {
        return text(mesh).text(materialName).transform(placement);
    }

  private:
    std::vector<std::byte> bytes_;
};

inline const std::u16string typedXml =
    u"<Material_2>\n"
    u"    <id>Lamp</id>\n"
    u"    <Type>/Game/MatLib2/Base/Base/Base_9/m.m</Type>\n"
    u"    <Mode>3</Mode>\n"
    u"    <Base--Map>C:\\a &amp; b.png</Base--Map>\n"
    u"    <Nothing/>\n"
    u"</Material_2>\n";

inline std::u16string headerText(unsigned triangles) {
    const std::string count = std::to_string(triangles);
    return u"{\"dccPluginInfo\":\"Sketcher 1.2\",\"materialVersion\":2,\"textureFolder\":"
           u"\"C:\\\\tex\",\"triangleCount\":" +
           std::u16string(count.begin(), count.end()) + u"}";
}

// The parts of a sound stream: two materials, three instances, a quad and a triangle. A test
// changes what it wants to see reported.
struct Scene {
    struct Material {
        std::u16string name;
        std::u16string xml;
    };
    struct Instance {
        std::u16string mesh;
        std::u16string material;
        Transform transform = identity;
    };
    struct Mesh {
        std::u16string name;
        std::vector<float> positions;
        std::vector<float> normals;
        std::vector<float> uvs;
        std::vector<std::uint8_t> colors;
        std::vector<std::int32_t> indices;
    };

    std::uint32_t version = 11;
    std::u16string header = headerText(5);
    std::vector<Material> materials{{u"Lamp", typedXml}, {u"Wall", u"<Material>any</Material>"}};
    std::vector<Instance> instances{{u"quad", u"Lamp"},
                                    {u"quad", u"Wall", movedBy(10, 20, 30)},
                                    {u"tri", u"Wall", movedBy(0, 0, -5)}};
    std::vector<Mesh> meshes{
        {u"quad",
         {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0},
         {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
         {0, 0, 1, 0, 1, 1, 0, 1},
         {1, 2, 3},
         {0, 1, 2, 0, 2, 3}},
        {u"tri", {0, 0, 0, 2, 0, 0, 0, 2, 0}, {}, {0, 0, 1, 0, 0, 1}, {}, {0, 1, 2}}};

    StreamBuilder build() const {
        StreamBuilder stream;
        stream.word(version).text(header);
        stream.word(static_cast<std::uint32_t>(materials.size()));
        for (const Material& material : materials)
            stream.material(material.name, material.xml);
        stream.word(static_cast<std::uint32_t>(instances.size()));
        for (const Instance& instance : instances) {
            stream.instance(instance.mesh, instance.material, instance.transform);
        }
        stream.word(static_cast<std::uint32_t>(meshes.size()));
        for (const Mesh& mesh : meshes) {
            stream.text(mesh.name).floats(mesh.positions).floats(mesh.normals).floats(mesh.uvs);
            stream.byteArray(mesh.colors).ints(mesh.indices);
        }
        return stream;
    }
};

// A scene with a merged mesh of two triangles, which was made from the sources "a" and "b" of one
// triangle each. Its header is right.
inline Scene mergedScene() {
    Scene scene;
    scene.header = headerText(6);
    scene.instances = {{u"Wall_q7_merged", u"Wall"}};
    scene.meshes = {{u"a", {0, 0, 0, 1, 0, 0, 0, 1, 0}, {}, {0, 0, 1, 0, 0, 1}, {}, {0, 1, 2}},
                    {u"b", {5, 0, 0, 6, 0, 0, 5, 1, 0}, {}, {0, 0, 1, 0, 0, 1}, {}, {2, 1, 0}},
                    {u"Wall_q7_merged",
                     {0, 0, 0, 1, 0, 0, 0, 1, 0, 5, 0, 0, 6, 0, 0, 5, 1, 0},
                     {},
                     {0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1},
                     {},
                     {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17}}};
    return scene;
}

}  // namespace streamtest
