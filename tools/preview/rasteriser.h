// Draws triangles, in any order and number: what is nearest stays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "preview/camera.h"
#include "preview/texture.h"

namespace q7preview {

struct Surface {
    Color color;
    const Texture* texture = nullptr;  // in the place of the colour
    double opacity = 1;
    unsigned number = 0;  // so that what is clear behind each other is not clear in the same places
};

// In a view; see View.
struct Corner {
    Vector position;
    Vector normal;  // of any length; zero for none, which is that of the whole triangle
    double u = 0;
    double v = 0;
};

struct ViewTriangle {
    std::array<Corner, 3> corners;
    const Surface* surface = nullptr;
};

enum class Threads { all, one };

// What is left of a triangle for the pixels: numbers that are linear over the picture.
struct ScreenTriangle {
    // The share of a corner at a place of the picture.
    struct Share {
        double x = 0;
        double y = 0;
        double rest = 0;
        double at(double toRight, double downwards) const {
            return x * toRight + y * downwards + rest;
        }
    };
    struct Attributes {
        double nearness = 0;  // larger is nearer
        double weight = 0;    // how much of the corner is seen, because of the perspective
        Vector normal;
        double u = 0;
        double v = 0;
    };

    std::array<Share, 3> shares;
    std::array<Attributes, 3> corners;
    Vector faceNormal;
    const Surface* surface = nullptr;
    std::size_t level = 0;  // of the texture
    // The pixels that it may touch.
    int left = 0;
    int right = 0;
    int top = 0;
    int bottom = 0;
};

class Rasteriser {
  public:
    // Each pixel is looked at in so many places.
    static constexpr std::size_t samples = 8;

    // sky: the direction that is up, in the view.
    Rasteriser(const View& view, Size size, const Vector& sky, Threads threads = Threads::all);

    // Appends what of the triangle may be in the picture: up to two triangles, since the near plane
    // cuts off corners; none when it has no area or a corner that is not finite. May be called by
    // several threads.
    void project(const ViewTriangle& triangle, std::vector<ScreenTriangle>& projected) const;

    // Each triangle's surface must still be there. Of two at the same place the first stays.
    void draw(std::span<const std::vector<ScreenTriangle>> batches);

    // Whether nothing has been drawn.
    bool isEmpty() const;
    Image finish() const;

  private:
    using Samples = std::array<Pixel, samples>;
    struct Coverage {
        unsigned mask = 0;  // the places that are inside of the triangle and not behind another
        double toRight = 0;
        double downwards = 0;
    };

    void projectFront(const std::array<Corner, 3>& corners, const ViewTriangle& whole,
                      std::vector<ScreenTriangle>& projected) const;
    void inRows(const std::function<void(int first, int last)>& body) const;
    void drawRows(const ScreenTriangle& triangle, int first, int last);
    void drawPixel(const ScreenTriangle& triangle, int x, int y);
    Coverage cover(const ScreenTriangle& triangle, int x, int y);
    Pixel shadePixel(const ScreenTriangle& triangle, double toRight, double downwards) const;
    Vector viewerFrom(double toRight, double downwards) const;
    Pixel blend(std::size_t place, const Pixel& behind) const;

    View view_;
    Size size_;
    Vector sky_;
    Threads threads_;
    std::vector<std::array<float, samples>> nearness_;
    std::vector<Samples> colors_;
    std::vector<std::uint8_t> drawn_;  // a bit for each place of a pixel
};

}  // namespace q7preview
