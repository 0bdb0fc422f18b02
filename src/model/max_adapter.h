// Turns a host's axis order into the stored one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

// The letters tell where each stored component comes from.
enum class AxisOrder : std::int32_t { XYZ = 0, XZY = 1, YXZ = 2, YZX = 3, ZXY = 4, ZYX = 5 };

class MaxAdapter {
  public:
    // Whether the order changes anything: XYZ and unknown values do not.
    static bool permutes(AxisOrder order);

    // Writes `count` permuted triples to the destination, which does not overlap the source. Writes
    // nothing when the order does not permute, or the count is not positive.
    static void exchangeCoord(std::span<const float> source, std::span<float> destination,
                              std::ptrdiff_t count, AxisOrder order);
};
