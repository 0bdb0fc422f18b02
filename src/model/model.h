// The library's picture of what the host has handed over: a table of materials, a table of meshes
// and a list of instances, each of them one placement of one mesh with one material.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "model/index_list.h"
#include "support/array.h"
#include "support/hash_map.h"
#include "support/number_set.h"
#include "support/text.h"

class Q7Material;

// A row vector on the left is multiplied with the four rows; the translation stands in 12 to 14.
using Transform = std::array<float, 16>;
inline constexpr Transform identityTransform = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

// The address of an instance, which is what nodes know it by.
using InstanceHandle = std::uint64_t;

// What an instance of a nameless material is made of; an ordinary material otherwise.
inline constexpr WideView fallbackMaterialName = u"No Material";

// The text of a material that the host never described. Its inner name is not the material's id.
inline constexpr WideView defaultMaterialXml =
    u"<Material><Name>DEFAULT</Name><Type>Custom</Type><Opacity>1.00</Opacity>"
    u"<DiffuseColor>#FFFFFF</DiffuseColor><EmissiveColor>#FFFFFF</EmissiveColor>"
    u"<EmissiveStrength>0</EmissiveStrength><TintColor>#FFFFFF</TintColor>"
    u"<Roughness>0.40</Roughness><BumpAmount>0.10</BumpAmount><Metallic>0</Metallic>"
    u"<Specular>0.30</Specular><IndexOfRefraction>1.52</IndexOfRefraction>"
    u"<IsSolidGlass>false</IsSolidGlass><TextureWidth>1.00</TextureWidth>"
    u"<TextureHeight>1.00</TextureHeight></Material>";

class IQ7Material {
  public:
    IQ7Material() = default;
    IQ7Material(const IQ7Material&) = delete;
    IQ7Material& operator=(const IQ7Material&) = delete;
    virtual ~IQ7Material() = default;
    virtual WideString getName() const = 0;
    virtual WideString toXml() const = 0;
};

// A material that the host hands over as a finished text.
struct Material : IQ7Material {
    Material(WideString materialName, WideString text)
        : name(std::move(materialName)), xml(std::move(text)) {}
    WideString getName() const override { return name; }
    WideString toXml() const override { return xml; }

    WideString name;
    WideString xml;
};

struct MeshArrays {
    Array<float> positions;
    Array<float> normals;
    Array<float> uvs;
    Array<unsigned char> colors;
    IndexList indices;
};

struct Mesh : MeshArrays {
    WideString name;
};

struct Instance {
    IQ7Material* material;
    Mesh* mesh;
    Transform transform;
    WideString path;

    InstanceHandle handle() const { return reinterpret_cast<InstanceHandle>(this); }
};

// "/" becomes "@"; nothing reverses it.
WideString normaliseMaterialName(WideView name);

// A copy shares its records with the model that it was made from.
class Model {
  public:
    std::int32_t modelVersion = 11;
    WideString textureFolder;
    // The key is the normalised name.
    HashMap<WideString, std::shared_ptr<IQ7Material>> materials;
    HashMap<WideString, std::shared_ptr<Mesh>> meshes;
    std::vector<std::shared_ptr<Instance>> instances;

    bool hasMesh(WideView name) const;
    // Null when there is none.
    Mesh* meshAt(WideView name) const;
    // Null, with nothing changed, when the name is taken or the counts do not fit each other.
    // Colours and indices are not looked at.
    Mesh* addMesh(WideView name, MeshArrays arrays);
    // Replaces the arrays of the mesh of that name, unchecked, or adds it as addMesh does.
    void setMesh(WideView name, MeshArrays arrays);

    // 0 when the mesh or the material is unknown. A null transform is the identity.
    InstanceHandle addInstance(WideView meshName, WideView materialKey, const float* transform,
                               WideView path);
    void removeInstances(const NumberSet& handles);
    // Drops the meshes that no instance uses.
    void pruneUnusedMeshes();

    // These three take a normalised name and return null when it is taken.
    Material* addMaterialXml(WideView name, WideString xml);
    Material* addDefaultMaterial(WideView name);
    Q7Material* addQ7Material(WideView name);

    // Replaces the text of the text material of that name, or adds it. A typed material stays.
    void setMaterialXml(WideView name, WideString xml);

    bool hasMaterial(WideView name) const;
    // Null when there is none.
    IQ7Material* findMaterial(WideView name) const;
};
