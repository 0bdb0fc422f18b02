#include "send/transform.h"

#include <cmath>

namespace q7send {

namespace {

// The fourth row, which moves, counts for points only.
Vector transformed(const Vector& vector, const Transform& matrix, bool isPoint) {
    Vector result;
    for (std::size_t column = 0; column < 3; ++column) {
        result[column] = isPoint ? matrix[12 + column] : 0.0F;
        for (std::size_t row = 0; row < 3; ++row)
            result[column] += vector[row] * matrix[4 * row + column];
    }
    return result;
}

bool normalize(Vector& vector) {
    const float length = std::hypot(vector[0], vector[1], vector[2]);
    if (!std::isfinite(length) || length <= 0) return false;
    for (float& element : vector)
        element /= length;
    return true;
}

}  // namespace

Transform transposed(const Transform& matrix) {
    Transform result;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            result[4 * column + row] = matrix[4 * row + column];
        }
    }
    return result;
}

Transform worldTransform(const Transform& local, const Transform& parentWorld) {
    Transform result;
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            float sum = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                sum += local[4 * row + i] * parentWorld[4 * i + column];
            }
            result[4 * row + column] = sum;
        }
    }
    return result;
}

std::optional<Pose> worldPose(const Pose& local, const Transform& world) {
    Pose pose{transformed(local.position, world, true), transformed(local.direction, world, false),
              transformed(local.up, world, false)};
    for (const float element : pose.position) {
        if (!std::isfinite(element)) return std::nullopt;
    }
    if (!normalize(pose.direction) || !normalize(pose.up)) return std::nullopt;
    return pose;
}

}  // namespace q7send
