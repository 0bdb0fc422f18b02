#include "send/embedded_textures.h"

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

#include "common/files.h"

namespace q7send {

namespace {

constexpr unsigned mostTgaPixels = 0xFFFF;

bool isCompressed(const aiTexture& texture) {
    return texture.mHeight == 0;
}

// The hint is what would stand behind the "." of a file's name, and comes from the file.
std::string extensionOf(const aiTexture& texture) {
    if (!isCompressed(texture)) return "tga";
    const std::string_view all(texture.achFormatHint, HINTMAXTEXTURELEN);
    const std::string_view hint = all.substr(0, std::min(all.find('\0'), all.size()));
    const auto isPlain = [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); };
    const bool isUsable = !hint.empty() && std::all_of(hint.begin(), hint.end(), isPlain);
    return isUsable ? std::string(hint) : "bin";
}

void append(std::vector<std::byte>& bytes, const void* data, std::size_t size) {
    const auto* first = static_cast<const std::byte*>(data);
    bytes.insert(bytes.end(), first, first + size);
}

// Its pixels are those of a texture: blue, green, red, alpha, from the upper left corner.
std::vector<std::byte> tgaFile(const aiTexture& texture) {
    const auto low = [](unsigned value) { return static_cast<unsigned char>(value & 0xFFU); };
    const auto high = [](unsigned value) { return static_cast<unsigned char>(value >> 8U); };
    const unsigned width = texture.mWidth;
    const unsigned height = texture.mHeight;
    const unsigned char header[18] = {
        0,  0,   2, 0, 0, 0, 0, 0, 0, 0, 0, 0, low(width), high(width), low(height), high(height),
        32, 0x28};
    std::vector<std::byte> bytes;
    append(bytes, header, sizeof header);
    append(bytes, texture.pcData, std::size_t{width} * height * sizeof(aiTexel));
    return bytes;
}

std::vector<std::byte> contentOf(const aiTexture& texture) {
    std::vector<std::byte> bytes;
    if (texture.pcData == nullptr) return bytes;
    if (isCompressed(texture)) {
        append(bytes, texture.pcData, texture.mWidth);
    } else if (texture.mWidth <= mostTgaPixels && texture.mHeight <= mostTgaPixels) {
        bytes = tgaFile(texture);
    }
    return bytes;
}

}  // namespace

void readTextures(const aiScene& source, Scene& scene) {
    const std::string model = q7tools::pathToUtf8(scene.modelFile.stem());
    scene.textures.reserve(source.mNumTextures);
    for (unsigned i = 0; i < source.mNumTextures; ++i) {
        const aiTexture& from = *source.mTextures[i];
        scene.textures.push_back(
            {model + "-texture-" + std::to_string(i) + '.' + extensionOf(from), contentOf(from)});
    }
}

}  // namespace q7send
