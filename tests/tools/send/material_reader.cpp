#include "send/material_reader.h"

#include <assimp/material.h>
#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <fstream>
#include <initializer_list>

#include "common/files.h"
#include "send/material_properties.h"
#include "tests/temporary_folder.h"

namespace q7send {

// A scene of some materials. Assimp's record deletes them.
class MaterialReader : public testing::Test {
  protected:
    aiMaterial& addSource(const char* name) {
        sources_.push_back(new aiMaterial);
        const aiString text(name);
        sources_.back()->AddProperty(&text, AI_MATKEY_NAME);
        return *sources_.back();
    }

    static void setTexture(aiMaterial& material, aiTextureType type, const char* path) {
        const aiString text(path);
        material.AddProperty(&text, AI_MATKEY_TEXTURE(type, 0));
    }

    Scene read() {
        aiScene source;
        source.mNumMaterials = static_cast<unsigned>(sources_.size());
        source.mMaterials = new aiMaterial*[sources_.size()];
        std::copy(sources_.begin(), sources_.end(), source.mMaterials);
        Scene scene;
        scene.textureFolder = folder.path();
        readMaterials(source, scene);
        return scene;
    }

    using Properties = std::vector<MaterialProperty>;
    TemporaryFolder folder;

  private:
    std::vector<aiMaterial*> sources_;
};

TEST_F(MaterialReader, ColorsAndNumbers) {
    aiMaterial& source = addSource("Blech");
    const aiColor3D diffuse(1, 0, 0);
    const aiColor3D emissive(0, 0, 1);
    const float half = 0.5F;
    const float shininess = 6;
    source.AddProperty(&diffuse, 1, AI_MATKEY_COLOR_DIFFUSE);
    source.AddProperty(&emissive, 1, AI_MATKEY_COLOR_EMISSIVE);
    source.AddProperty(&half, 1, AI_MATKEY_METALLIC_FACTOR);
    source.AddProperty(&half, 1, AI_MATKEY_OPACITY);
    source.AddProperty(&shininess, 1, AI_MATKEY_SHININESS);
    const Scene scene = read();
    ASSERT_EQ(scene.materials.size(), 1U);
    EXPECT_EQ(scene.materials[0].name, u"Blech");
    const Properties expected{{property::baseColor, WideString(u"#FF0000")},
                              {property::emission, WideString(u"#0000FF")},
                              {property::metalness, 0.5F},
                              {property::roughness, 0.5F},
                              {property::opacity, 0.5F}};
    EXPECT_EQ(scene.materials[0].properties, expected);
}

TEST_F(MaterialReader, BaseColorAndRoughnessComeBeforeTheirSubstitutes) {
    aiMaterial& source = addSource("");
    const aiColor3D diffuse(1, 0, 0);
    const aiColor3D base(0, 1, 0);
    const aiColor3D black(0, 0, 0);
    const float roughness = 0.25F;
    const float shininess = 6;
    source.AddProperty(&diffuse, 1, AI_MATKEY_COLOR_DIFFUSE);
    source.AddProperty(&base, 1, AI_MATKEY_BASE_COLOR);
    source.AddProperty(&black, 1, AI_MATKEY_COLOR_EMISSIVE);
    source.AddProperty(&roughness, 1, AI_MATKEY_ROUGHNESS_FACTOR);
    source.AddProperty(&shininess, 1, AI_MATKEY_SHININESS);
    const Properties expected{{property::baseColor, WideString(u"#00FF00")},
                              {property::roughness, 0.25F}};
    EXPECT_EQ(read().materials.at(0).properties, expected);
}

TEST_F(MaterialReader, TexturesAreFoundMissingOrEmbedded) {
    std::ofstream(folder / "wood.png") << "image";
    aiMaterial& source = addSource("Holz");
    setTexture(source, aiTextureType_DIFFUSE, ".\\wood.png");
    setTexture(source, aiTextureType_NORMALS, "C:\\elsewhere\\normals.png");
    setTexture(source, aiTextureType_EMISSIVE, "*0");
    setTexture(source, aiTextureType_OPACITY, "*1");
    setTexture(addSource("Wieder"), aiTextureType_DIFFUSE, "*0");
    const Scene scene = read();
    const Properties expected{
        {property::baseColorTexture, utf8ToWide(q7tools::pathToUtf8(folder / "wood.png"))},
        {property::normalTexture, WideString(u"C:\\elsewhere\\normals.png")}};
    EXPECT_EQ(scene.materials.at(0).properties, expected);
    EXPECT_TRUE(scene.materials.at(1).properties.empty());
    EXPECT_EQ(scene.missingTextures, 1U);
    EXPECT_EQ(scene.embeddedTextures, 2U);
}

TEST_F(MaterialReader, EmbeddedTexturesKeepTheirPurpose) {
    aiScene source;
    source.mNumTextures = 2;
    source.mTextures = new aiTexture* [2] { new aiTexture, new aiTexture };
    auto* material = new aiMaterial;
    setTexture(*material, aiTextureType_BASE_COLOR, "*1");
    setTexture(*material, aiTextureType_DIFFUSE, "*0");
    setTexture(*material, aiTextureType_NORMALS, "*2");
    source.mNumMaterials = 1;
    source.mMaterials = new aiMaterial* [1] { material };
    Scene scene;
    scene.textureFolder = folder.path();
    readMaterials(source, scene);
    ASSERT_EQ(scene.materials.at(0).embedded.size(), 1U);
    EXPECT_EQ(WideView(scene.materials[0].embedded[0].first), property::baseColorTexture);
    EXPECT_EQ(scene.materials[0].embedded[0].second, 1U);
    EXPECT_EQ(scene.embeddedTextures, 2U);
}

TEST_F(MaterialReader, OneTextureForEachPurpose) {
    aiMaterial& source = addSource("");
    setTexture(source, aiTextureType_DIFFUSE, "diffuse.png");
    setTexture(source, aiTextureType_BASE_COLOR, "base.png");
    const Properties expected{{property::baseColorTexture, WideString(u"base.png")}};
    EXPECT_EQ(read().materials.at(0).properties, expected);
}

}  // namespace q7send
