#include "send/material_reader.h"

#include <assimp/material.h>
#include <assimp/scene.h>

#include <optional>
#include <string>
#include <unordered_set>

#include "common/files.h"
#include "send/clean_text.h"
#include "send/material_properties.h"
#include "send/texture_paths.h"

namespace q7send {

namespace {

std::string_view view(const aiString& text) {
    return {text.C_Str()};
}

std::optional<float> number(const aiMaterial& source, const char* key) {
    float value = 0;
    if (source.Get(key, 0, 0, value) != aiReturn_SUCCESS) return std::nullopt;
    return value;
}

std::optional<aiColor3D> color(const aiMaterial& source, const char* key) {
    aiColor3D value;
    if (source.Get(key, 0, 0, value) != aiReturn_SUCCESS) return std::nullopt;
    return value;
}

void addColors(const aiMaterial& source, SceneMaterial& material) {
    std::optional<aiColor3D> base = color(source, "$clr.base");
    if (!base) base = color(source, "$clr.diffuse");
    if (base) addText(material, property::baseColor, colorText(base->r, base->g, base->b));
    const std::optional<aiColor3D> emission = color(source, "$clr.emissive");
    if (emission && !emission->IsBlack()) {
        addText(material, property::emission, colorText(emission->r, emission->g, emission->b));
    }
}

void addNumbers(const aiMaterial& source, SceneMaterial& material) {
    std::optional<float> roughness = number(source, "$mat.roughnessFactor");
    if (!roughness) {
        if (const auto shininess = number(source, "$mat.shininess")) {
            roughness = roughnessFromShininess(*shininess);
        }
    }
    if (const auto metalness = number(source, "$mat.metallicFactor")) {
        addFraction(material, property::metalness, *metalness);
    }
    if (roughness) addFraction(material, property::roughness, *roughness);
    if (const auto opacity = number(source, "$mat.opacity")) {
        addFraction(material, property::opacity, *opacity);
    }
}

struct TextureUse {
    aiTextureType type;
    const char16_t* name;
};

// Where two rows have one name, the first that the material has counts.
constexpr TextureUse textureUses[] = {
    {aiTextureType_BASE_COLOR, property::baseColorTexture},
    {aiTextureType_DIFFUSE, property::baseColorTexture},
    {aiTextureType_NORMALS, property::normalTexture},
    {aiTextureType_NORMAL_CAMERA, property::normalTexture},
    {aiTextureType_HEIGHT, property::bumpTexture},
    {aiTextureType_METALNESS, property::metalnessTexture},
    {aiTextureType_DIFFUSE_ROUGHNESS, property::roughnessTexture},
    {aiTextureType_UNKNOWN, property::metallicRoughnessTexture},
    {aiTextureType_SPECULAR, property::specularTexture},
    {aiTextureType_OPACITY, property::opacityTexture},
    {aiTextureType_AMBIENT_OCCLUSION, property::occlusionTexture},
    {aiTextureType_LIGHTMAP, property::occlusionTexture},
    {aiTextureType_EMISSION_COLOR, property::emissionTexture},
    {aiTextureType_EMISSIVE, property::emissionTexture},
};

bool hasProperty(const SceneMaterial& material, WideView name) {
    for (const MaterialProperty& property : material.properties) {
        if (property.name == name) return true;
    }
    return false;
}

bool isEmbedded(const SceneMaterial& material, WideView name) {
    for (const auto& [property, texture] : material.embedded) {
        if (property == name) return true;
    }
    return false;
}

class TextureReader {
  public:
    TextureReader(const aiScene& source, const std::filesystem::path& folder)
        : source_(source), paths_(folder) {}

    void addTextures(const aiMaterial& from, SceneMaterial& material) {
        for (const TextureUse& use : textureUses) {
            aiString path;
            if (from.GetTexture(use.type, 0, &path) != aiReturn_SUCCESS || path.length == 0)
                continue;
            if (hasProperty(material, use.name)) continue;
            if (isEmbedded(material, use.name)) continue;
            addTexture(path, use.name, material);
        }
    }

    std::size_t embeddedCount() const { return embedded_.size(); }
    std::size_t missingCount() const { return missing_.size(); }

  private:
    void addTexture(const aiString& path, const char16_t* name, SceneMaterial& material) {
        const std::string text(view(path));
        if (const auto file = paths_.find(text)) {
            addText(material, name, cleanText(q7tools::pathToUtf8(*file)));
            return;
        }
        const int index = source_.GetEmbeddedTextureAndIndex(path.C_Str()).second;
        if (text.starts_with('*') || index >= 0) {
            embedded_.insert(text);
            if (index >= 0) material.embedded.emplace_back(name, static_cast<std::size_t>(index));
            return;
        }
        missing_.insert(text);
        addText(material, name, cleanText(text));
    }

    const aiScene& source_;
    TexturePaths paths_;
    std::unordered_set<std::string> embedded_;
    std::unordered_set<std::string> missing_;
};

}  // namespace

void readMaterials(const aiScene& source, Scene& scene) {
    TextureReader textures(source, scene.textureFolder);
    scene.materials.reserve(source.mNumMaterials);
    for (unsigned i = 0; i < source.mNumMaterials; ++i) {
        const aiMaterial& from = *source.mMaterials[i];
        SceneMaterial& material = scene.materials.emplace_back();
        aiString name;
        if (from.Get(AI_MATKEY_NAME, name) == aiReturn_SUCCESS)
            material.name = cleanText(view(name));
        addColors(from, material);
        addNumbers(from, material);
        textures.addTextures(from, material);
    }
    scene.embeddedTextures = textures.embeddedCount();
    scene.missingTextures = textures.missingCount();
}

}  // namespace q7send
