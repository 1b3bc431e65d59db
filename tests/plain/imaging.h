// Plain forms of the imaging room's kernels, to compare with bit for bit.
#pragma once

#include <cstddef>

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

}  // namespace plain
