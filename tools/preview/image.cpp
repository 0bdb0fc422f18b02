#include "preview/image.h"

#include <zlib.h>

#include <charconv>
#include <cstdlib>
#include <memory>
#include <new>

namespace {

// A damaged file asks for more than its picture needs, and its gaps must not show what lay in memory.
constexpr std::size_t mostAtOnce = std::size_t{512} << 20;

void* takeCleared(std::size_t size) {
    return size > mostAtOnce ? nullptr : std::calloc(1, size);
}

void* takeMore(void* old, std::size_t size) {
    return size > mostAtOnce ? nullptr : std::realloc(old, size);
}

// stb's own packing makes files that are half as large again. Gives null when there is no memory.
unsigned char* packed(const unsigned char* data, int size, int* packedSize) {
    uLongf length = compressBound(static_cast<uLong>(size));
    auto* out = static_cast<unsigned char*>(std::malloc(length));
    if (out == nullptr) return nullptr;
    if (compress2(out, &length, data, static_cast<uLong>(size), Z_BEST_COMPRESSION) != Z_OK) {
        std::free(out);
        return nullptr;
    }
    *packedSize = static_cast<int>(length);
    return out;
}

}  // namespace

// The other formats that it reads are rare as textures, and their readers are known for faults.
#define STBI_ONLY_PNG
#define STBI_ONLY_JPEG
#define STBI_ONLY_BMP
#define STBI_ONLY_TGA
#define STBI_NO_STDIO
#define STBI_WRITE_NO_STDIO
#define STBIW_ZLIB_COMPRESS(data, size, packedSize, quality) packed(data, size, packedSize)
#define STBI_MALLOC(size) takeCleared(size)
#define STBI_REALLOC(old, size) takeMore(old, size)
#define STBI_FREE(old) std::free(old)
#define STB_IMAGE_STATIC
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#define STB_IMAGE_WRITE_IMPLEMENTATION
#if __has_include(<stb/stb_image.h>)
#include <stb/stb_image.h>
#include <stb/stb_image_write.h>
#else
#include <stb_image.h>
#include <stb_image_write.h>
#endif

namespace q7preview {

namespace {

constexpr int channels = 3;

std::string sizeText(int width, int height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

}  // namespace

std::optional<Size> readDrawnSize(std::string_view text) {
    Size size;
    const char* last = text.data() + text.size();
    const auto [middle, error] = std::from_chars(text.data(), last, size.width);
    if (error != std::errc() || middle == last || *middle != 'x') return std::nullopt;
    const auto [end, second] = std::from_chars(middle + 1, last, size.height);
    if (second != std::errc() || end != last) return std::nullopt;
    const auto fits = [](int pixels) { return pixels >= 1 && pixels <= mostDrawnPixels; };
    if (!fits(size.width) || !fits(size.height)) return std::nullopt;
    return size;
}

std::string drawnSizeFault(std::string_view option, std::string_view text) {
    return std::string(option) + ": \"" + std::string(text) +
           "\" is no WIDTHxHEIGHT with numbers from 1 to " + std::to_string(mostDrawnPixels);
}

Image::Image(Size size)
    : size_(size),
      bytes_(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height) *
             channels) {}

std::size_t Image::place(int x, int y) const {
    return (static_cast<std::size_t>(y) * static_cast<std::size_t>(size_.width) +
            static_cast<std::size_t>(x)) *
           channels;
}

Pixel Image::pixel(int x, int y) const {
    const std::size_t first = place(x, y);
    return {bytes_[first], bytes_[first + 1], bytes_[first + 2]};
}

void Image::setPixel(int x, int y, const Pixel& pixel) {
    const std::size_t first = place(x, y);
    for (std::size_t i = 0; i < pixel.size(); ++i)
        bytes_[first + i] = pixel[i];
}

std::string pngOf(const Image& image) {
    std::string png;
    const auto append = [](void* context, void* data, int size) {
        static_cast<std::string*>(context)->append(static_cast<const char*>(data),
                                                   static_cast<std::size_t>(size));
    };
    const Size size = image.size();
    if (stbi_write_png_to_func(append, &png, size.width, size.height, channels,
                               image.bytes().data(), size.width * channels) == 0) {
        throw std::bad_alloc();
    }
    return png;
}

Image readImage(std::span<const std::byte> bytes, const ImageLimits& limits) {
    if (bytes.size() > limits.bytes) {
        throw ImageError("more than " + std::to_string(limits.bytes) + " bytes");
    }
    const auto* data = reinterpret_cast<const stbi_uc*>(bytes.data());
    const int length = static_cast<int>(bytes.size());
    int width = 0;
    int height = 0;
    int found = 0;
    if (stbi_info_from_memory(data, length, &width, &height, &found) == 0) {
        throw ImageError(std::string("no picture: ") + stbi_failure_reason());
    }
    if (width < 1 || height < 1 || width > limits.side || height > limits.side ||
        std::int64_t{width} * height > limits.pixels) {
        throw ImageError(sizeText(width, height) + " pixels are not drawn");
    }
    const std::unique_ptr<stbi_uc, void (*)(void*)> pixels(
        stbi_load_from_memory(data, length, &width, &height, &found, channels), stbi_image_free);
    if (!pixels) throw ImageError(std::string("damaged: ") + stbi_failure_reason());
    Image image(Size{width, height});
    const stbi_uc* from = pixels.get();
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x, from += channels)
            image.setPixel(x, y, {from[0], from[1], from[2]});
    }
    return image;
}

}  // namespace q7preview
