// Plain forms of the imaging room's kernels, to compare with bit for bit.
#pragma once

#include <cstddef>
#include <vector>

namespace plain {

// double, products rounded before the adds, red and green first, truncated.
inline unsigned char gray(const unsigned char* rgb) {
    const double red = rgb[0] * 0.299;
    const double green = rgb[1] * 0.587;
    const double blue = rgb[2] * 0.114;
    return static_cast<unsigned char>((red + green) + blue);
}

inline void convertToGray(const unsigned char* rgb, unsigned char* gray, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) gray[i] = plain::gray(rgb + 3 * i);
}

// The sampling rule of the reductions, pixel by pixel, without the copy of a plane that stays as it is.
inline std::vector<unsigned char> reduced(const unsigned char* src, int width, int height, std::ptrdiff_t stride,
                                          int angle, int smallWidth, int smallHeight) {
    const bool exchanged = angle == 90 || angle == 270;
    const int tableLength = exchanged ? smallHeight : smallWidth;
    const float columnStep = static_cast<float>(width) / static_cast<float>(tableLength);
    const float rowStep = static_cast<float>(height) / static_cast<float>(exchanged ? smallWidth : smallHeight);
    std::vector<int> columns;
    float position = angle >= 180 ? static_cast<float>(width - 1) : 0.0f;
    for (int k = 0; k < tableLength; ++k) {
        columns.push_back(static_cast<int>(position) / 2 * 2);
        position = angle >= 180 ? position - columnStep : position + columnStep;
    }
    std::vector<unsigned char> out;
    for (int r = 0; r < smallHeight; ++r)
        for (int c = 0; c < smallWidth; ++c) {
            const int down = static_cast<int>(static_cast<float>(exchanged ? c : r) * rowStep);
            const int row = angle == 90 || angle == 180 ? height - 1 - down : down;
            out.push_back(src[row * stride + columns[exchanged ? r : c]]);
        }
    return out;
}

}  // namespace plain
