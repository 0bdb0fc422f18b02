#include "send/transform.h"

namespace q7send {

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

}  // namespace q7send
