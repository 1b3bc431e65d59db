// Walks along a line of an edge map, pixel by pixel.
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "lines/accumulator.h"

namespace skylevel {

inline constexpr unsigned char edgePixel = 255;

// A position on a line through a start pixel: one coordinate steps by one, the other in 16.16 fixed
// point, which 64 bits hold beyond every edge of the map.
struct Walk {
    static constexpr int fixedShift = 16;
    static constexpr int fixedOne = 1 << fixedShift;

    bool columnSteps;
    std::int64_t step;      // +1 or -1
    std::int64_t slope;     // fixed point, per step
    std::int64_t stepping;  // the stepping coordinate
    std::int64_t fixed;     // the other one

    Walk(Point start, Direction d) {
        columnSteps = std::fabs(d.s) > std::fabs(d.c);
        const float ratio = columnSteps ? d.c * -static_cast<float>(fixedOne) / d.s
                                        : d.s * static_cast<float>(fixedOne) / std::fabs(d.c);
        slope = static_cast<std::int64_t>(static_cast<double>(ratio) + 0.5);
        step = columnSteps || d.c < 0.0f ? 1 : -1;
        stepping = columnSteps ? start.x : start.y;
        fixed = std::int64_t{columnSteps ? start.y : start.x} * fixedOne + fixedOne / 2;
    }

    Walk reversed() const {
        Walk walk = *this;
        walk.step = -step;
        walk.slope = -slope;
        return walk;
    }

    std::int64_t x() const { return columnSteps ? stepping : fixed >> fixedShift; }
    std::int64_t y() const { return columnSteps ? fixed >> fixedShift : stepping; }

    void advance() {
        stepping += step;
        fixed += slope;
    }
};

// The last edge pixel that a walk reaches without crossing more than gap other pixels in a row.
inline Point findEnd(Walk walk, const unsigned char* edges, int width, int height, int gap) {
    Point end = {};
    for (int missed = 0;; walk.advance()) {
        const std::int64_t x = walk.x();
        const std::int64_t y = walk.y();
        if (y >= height || x >= width || y < 0 || x < 0) return end;
        if (edges[y * width + x] == edgePixel) {
            missed = 0;
            end = {static_cast<int>(x), static_cast<int>(y)};
        } else {
            if (missed >= gap) return end;
            ++missed;
        }
    }
}

}  // namespace skylevel
