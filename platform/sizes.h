// The one rule for plane sizes: a pixel count that leaves the int range is a bad argument.
#pragma once

#include <cstdint>
#include <limits>

namespace skylevel {

// Whether width x height is at least one pixel and its count fits an int.
inline bool isPlane(int width, int height) {
    return width >= 1 && height >= 1 && std::int64_t{width} * height <= std::numeric_limits<int>::max();
}

}  // namespace skylevel
