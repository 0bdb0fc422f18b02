#include "preview/shading.h"

#include <algorithm>
#include <cmath>

namespace q7preview {

namespace {

// Over the viewer's left shoulder.
constexpr double lampDistance = 1.2747548783981961;
constexpr Vector lamp{-0.45 / lampDistance, 0.65 / lampDistance, -1 / lampDistance};
constexpr double lampLight = 0.8;
constexpr double skyLight = 0.36;
constexpr double groundLight = 0.1;
constexpr double gloss = 0.12;

constexpr Pixel top{250, 251, 253};
constexpr Pixel bottom{196, 205, 216};

double glossOf(double towards) {
    const double squared = towards * towards;
    const double fourth = squared * squared;
    const double sixteenth = fourth * fourth * fourth * fourth;
    return sixteenth * sixteenth;
}

}  // namespace

Color shade(const Color& base, const Vector& normal, const Vector& toViewer, const Vector& sky) {
    const double upwards = (dot(normal, sky) + 1) / 2;
    const double around = groundLight + (skyLight - groundLight) * upwards;
    const double light = around + lampLight * std::max(0.0, dot(normal, lamp));
    const double shine = gloss * glossOf(std::max(0.0, dot(normal, unit(lamp + toViewer))));
    return {base.red * light + shine, base.green * light + shine, base.blue * light + shine};
}

Pixel background(double down) {
    Pixel pixel{};
    for (std::size_t i = 0; i < pixel.size(); ++i) {
        pixel[i] = static_cast<std::uint8_t>(std::lround(top[i] + (bottom[i] - top[i]) * down));
    }
    return pixel;
}

}  // namespace q7preview
