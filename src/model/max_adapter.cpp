#include "model/max_adapter.h"

#include "support/parallel_for.h"

namespace {

// Below this a second thread costs more to start than it saves.
constexpr std::size_t smallestPiece = 1U << 16;

template <std::size_t first, std::size_t second, std::size_t third>
void permute(const float* source, float* destination, std::size_t count) {
    const auto range = [=](std::size_t begin, std::size_t end) {
        for (std::size_t i = 3 * begin; i < 3 * end; i += 3) {
            destination[i] = source[i + first];
            destination[i + 1] = source[i + second];
            destination[i + 2] = source[i + third];
        }
    };
    if (count == 1) {
        range(0, 1);
    } else {
        ParallelFor(count, smallestPiece, range);
    }
}

}  // namespace

bool MaxAdapter::permutes(AxisOrder order) {
    return order >= AxisOrder::XZY && order <= AxisOrder::ZYX;
}

void MaxAdapter::exchangeCoord(std::span<const float> source, std::span<float> destination,
                               std::ptrdiff_t count, AxisOrder order) {
    if (!permutes(order) || count <= 0) return;
    const auto triples = static_cast<std::size_t>(count);
    switch (order) {
        case AxisOrder::XYZ:
            break;
        case AxisOrder::XZY:
            return permute<0, 2, 1>(source.data(), destination.data(), triples);
        case AxisOrder::YXZ:
            return permute<1, 0, 2>(source.data(), destination.data(), triples);
        case AxisOrder::YZX:
            return permute<1, 2, 0>(source.data(), destination.data(), triples);
        case AxisOrder::ZXY:
            return permute<2, 0, 1>(source.data(), destination.data(), triples);
        case AxisOrder::ZYX:
            return permute<2, 1, 0>(source.data(), destination.data(), triples);
    }
}
