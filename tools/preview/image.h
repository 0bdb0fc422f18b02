// Pictures: their pixels, and the files they come from and go to.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace q7preview {

struct Size {
    int width = 0;
    int height = 0;

    bool operator==(const Size&) const = default;
};

// A picture that is drawn has at most so many pixels from side to side.
inline constexpr int mostDrawnPixels = 4096;

// "960x540"; nothing for any other text, and for numbers below 1 or above the limit.
std::optional<Size> readDrawnSize(std::string_view text);

// What to say of such a text, the value of an option.
std::string drawnSizeFault(std::string_view option, std::string_view text);

// Red, green and blue, as a screen takes them.
using Pixel = std::array<std::uint8_t, 3>;

class Image {
  public:
    Image() = default;
    // All black.
    explicit Image(Size size);

    Size size() const { return size_; }
    // From the left and from the top.
    Pixel pixel(int x, int y) const;
    void setPixel(int x, int y, const Pixel& pixel);
    std::span<const std::uint8_t> bytes() const { return bytes_; }

    bool operator==(const Image&) const = default;

  private:
    std::size_t place(int x, int y) const;

    Size size_;
    std::vector<std::uint8_t> bytes_;
};

// A file is no picture that can be read. what() is the reason.
class ImageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct ImageLimits {
    int side = 16384;
    std::int64_t pixels = std::int64_t{64} << 20;
    std::size_t bytes = std::size_t{256} << 20;  // of the file
};

// The file's bytes.
std::string pngOf(const Image& image);

// Reads PNG, JPEG, BMP and TGA; what is clear in them is not. The bytes may come from anywhere: what
// is beyond the limits is refused before memory is taken for it. Throws ImageError.
Image readImage(std::span<const std::byte> bytes, const ImageLimits& limits = {});

}  // namespace q7preview
