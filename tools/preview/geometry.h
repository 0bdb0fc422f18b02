// Vectors of the preview. Everything here is additions, multiplications, divisions and square roots,
// which every build rounds alike, so that a picture is the same bytes everywhere.
#pragma once

#include <cmath>

namespace q7preview {

struct Vector {
    double x = 0;
    double y = 0;
    double z = 0;

    bool operator==(const Vector&) const = default;
};

inline Vector operator+(const Vector& a, const Vector& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector operator-(const Vector& a, const Vector& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vector operator*(const Vector& a, double factor) {
    return {a.x * factor, a.y * factor, a.z * factor};
}

inline double dot(const Vector& a, const Vector& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vector cross(const Vector& a, const Vector& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline bool isFinite(const Vector& a) {
    return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

// Of the length 1; zero when there is no direction in it, or none that numbers can hold.
inline Vector unit(const Vector& a) {
    const double length = std::sqrt(dot(a, a));
    if (!(length > 0) || !std::isfinite(length)) return {};
    return a * (1 / length);
}

}  // namespace q7preview
