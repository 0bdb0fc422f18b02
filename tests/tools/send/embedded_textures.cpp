#include "send/embedded_textures.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "tests/tools/send/source_scene.h"

namespace q7send {

class EmbeddedTexturesTest : public testing::Test {
  protected:
    static aiTexture* texture(unsigned width, unsigned height, const char* hint) {
        auto* made = new aiTexture;
        made->mWidth = width;
        made->mHeight = height;
        std::snprintf(made->achFormatHint, HINTMAXTEXTURELEN, "%s", hint);
        const unsigned texels = height == 0 ? (width + 3) / 4 : width * height;
        made->pcData = new aiTexel[texels]();
        return made;
    }

    std::vector<SceneTexture> read(const std::vector<aiTexture*>& textures) {
        aiScene source;
        source.mNumTextures = static_cast<unsigned>(textures.size());
        source.mTextures = arrayOf(textures);
        Scene scene;
        scene.modelFile = u8"/models/häuser.glb";
        readTextures(source, scene);
        return scene.textures;
    }
};

TEST_F(EmbeddedTexturesTest, CompressedOnesAreTakenAsTheyAre) {
    aiTexture* png = texture(5, 0, "png");
    std::memcpy(png->pcData, "image", 5);
    const auto textures = read({texture(3, 0, "jpg"), png});
    ASSERT_EQ(textures.size(), 2U);
    EXPECT_EQ(textures[0].fileName, "h\xC3\xA4user-texture-0.jpg");
    EXPECT_EQ(textures[1].fileName, "h\xC3\xA4user-texture-1.png");
    ASSERT_EQ(textures[1].bytes.size(), 5U);
    EXPECT_EQ(std::memcmp(textures[1].bytes.data(), "image", 5), 0);
}

TEST_F(EmbeddedTexturesTest, HintsAreNoPartOfAPath) {
    const auto textures = read({texture(1, 0, "../x"), texture(1, 0, ""), texture(1, 0, "A b")});
    for (const SceneTexture& read : textures)
        EXPECT_TRUE(read.fileName.ends_with(".bin")) << read.fileName;
}

TEST_F(EmbeddedTexturesTest, PixelsBecomeATgaFile) {
    aiTexture* pixels = texture(2, 1, "rgba8888");
    pixels->pcData[0] = {1, 2, 3, 4};
    const auto textures = read({pixels});
    EXPECT_EQ(textures.at(0).fileName, "h\xC3\xA4user-texture-0.tga");
    const unsigned char expected[26] = {0, 0, 2, 0,  0,    0, 0, 0, 0, 0, 0, 0, 2,
                                        0, 1, 0, 32, 0x28, 1, 2, 3, 4, 0, 0, 0, 0};
    ASSERT_EQ(textures[0].bytes.size(), sizeof expected);
    EXPECT_EQ(std::memcmp(textures[0].bytes.data(), expected, sizeof expected), 0);
}

TEST_F(EmbeddedTexturesTest, TooLargeForATgaFile) {
    EXPECT_TRUE(read({texture(65536, 1, "")}).at(0).bytes.empty());
}

}  // namespace q7send
