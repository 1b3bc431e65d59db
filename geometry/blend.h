// Bilinear blending of the pixels of a canvas row, side by side.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "geometry/row_span.h"
#include "platform/dispatch.h"

namespace skylevel {

inline constexpr std::ptrdiff_t channels = 3;

// Two source pixels that lie next to each other: six bytes, the left pixel's low, under the exponent of
// 2^52. As a double it is 2^52 plus the bytes read as one whole number.
using PixelPair = std::uint64_t;
static_assert(std::endian::native == std::endian::little);
inline constexpr auto exponent = std::bit_cast<std::uint64_t>(0x1p52);

// One byte of a pair times 256^index, by a mask and a subtraction.
template <int index>
SKYLEVEL_KERNEL double byteOf(PixelPair pair) {
    constexpr std::uint64_t mask = exponent | std::uint64_t{255} << 8 * index;
    return std::bit_cast<double>(pair & mask) - 0x1p52;
}

// The right pixel's bytes are 2^24 times too large as byteOf gives them, so its weights are as much
// too small.
struct Weights {
    double upperLeft;
    double upperRight;
    double lowerRight;
    double lowerLeft;
};

SKYLEVEL_KERNEL Weights weights(double fx, double fy) {
    const double right = fx * 0x1p-24;
    return {(1.0 - fx) * (1.0 - fy), right * (1.0 - fy), right * fy, (1.0 - fx) * fy};
}

// double, products rounded before the adds, the lower right neighbour before the lower left one,
// truncated. All of it is 256^channel times the plain sum, and a power of two changes no rounding; so the
// truncated byte comes out in its place within the pixel, with its fraction below it.
template <int channel>
SKYLEVEL_KERNEL std::uint32_t blendChannel(PixelPair upper, PixelPair lower, const Weights& w) {
    const double sum = ((byteOf<channel>(upper) * w.upperLeft + byteOf<channels + channel>(upper) * w.upperRight) +
                        byteOf<channels + channel>(lower) * w.lowerRight) +
                       byteOf<channel>(lower) * w.lowerLeft;
    return static_cast<std::uint32_t>(static_cast<int>(sum)) & 255U << 8 * channel;
}

inline constexpr int blockSize = 64;

// A few canvas pixels that all lie between four source pixels. The loops are apart so that each becomes
// vectors, and their length is rounded up so that no pixel is left to a scalar tail; what stands past
// count repeats the last pixel and is not stored.
SKYLEVEL_KERNEL void blendBlock(const unsigned char* src, int width, Axis x, Axis y, std::int64_t column, int count,
                                unsigned char* out) {
    constexpr int lanes = 8;
    const int padded = (count + lanes - 1) / lanes * lanes;
    std::uint32_t index[blockSize];  // of the upper left pixel; unsigned, for it may wrap past count
    double fractionX[blockSize];
    double fractionY[blockSize];
    const auto first = static_cast<double>(column);
    for (int i = 0; i < padded; ++i) {
        const double sx = x.at(first + i);
        const double sy = y.at(first + i);
        const int x0 = static_cast<int>(sx);
        const int y0 = static_cast<int>(sy);
        fractionX[i] = sx - x0;
        fractionY[i] = sy - y0;
        index[i] = static_cast<std::uint32_t>(y0) * static_cast<std::uint32_t>(width) + static_cast<std::uint32_t>(x0);
    }
    for (int i = count; i < padded; ++i) index[i] = index[count - 1];

    // Eight bytes from the upper pair on are still inside the picture, for a row follows. From the lower
    // pair on they may not be, so that one is read with the two bytes before it.
    PixelPair upper[blockSize];
    PixelPair lower[blockSize];
    const std::ptrdiff_t below = std::ptrdiff_t{width} * channels - 2;
    constexpr std::uint64_t sixBytes = (std::uint64_t{1} << 48) - 1;
    for (int i = 0; i < padded; ++i) {
        const unsigned char* const pair = src + std::ptrdiff_t{index[i]} * channels;
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, pair, sizeof(bytes));
        upper[i] = (bytes & sixBytes) | exponent;
        std::memcpy(&bytes, pair + below, sizeof(bytes));
        lower[i] = bytes >> 16 | exponent;
    }

    std::uint32_t blended[blockSize];
    for (int i = 0; i < padded; ++i) {
        const Weights w = weights(fractionX[i], fractionY[i]);
        blended[i] = blendChannel<0>(upper[i], lower[i], w) | blendChannel<1>(upper[i], lower[i], w) |
                     blendChannel<2>(upper[i], lower[i], w);
    }

    // Each store's fourth byte is the next one's first.
    for (int i = 0; i < count - 1; ++i) std::memcpy(out + i * channels, &blended[i], 4);
    std::memcpy(out + (count - 1) * channels, &blended[count - 1], channels);
}

// Writes the canvas pixels of the interval, all of which lie between four source pixels.
SKYLEVEL_KERNEL void blendPixels(const unsigned char* src, int width, Axis x, Axis y, Interval columns,
                                 unsigned char* out) {
    for (std::int64_t column = columns.begin; column < columns.end; column += blockSize) {
        const auto count = static_cast<int>(std::min<std::int64_t>(blockSize, columns.end - column));
        blendBlock(src, width, x, y, column, count, out);
        out += count * channels;
    }
}

}  // namespace skylevel
