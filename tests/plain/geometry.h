// A turn by its definition: what the fast form is held against.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

namespace plain {

struct Turned {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels = {};
};

// One byte at a time.
inline Turned turn(const unsigned char* rgb, int width, int height, double angle) {
    const double t = (angle / 180.0) * 3.141592653589793;
    const double c = std::cos(t);
    const double s = std::sin(t);
    const int w1 = width - 1;
    const int h1 = height - 1;
    const auto whole = [](double value) { return static_cast<int>(value); };
    const auto [left, right] = std::minmax({0, whole(w1 * c), whole((1 - height) * s), whole(w1 * c - h1 * s)});
    const auto [top, bottom] = std::minmax({0, whole(w1 * s), whole(h1 * c), whole(h1 * c + w1 * s)});
    Turned out = {right - left + 1, bottom - top + 1};
    for (int i = 0; i < 3 * out.width * out.height; ++i) {
        const int x = left + i / 3 % out.width;
        const int y = top + i / 3 / out.width;
        const double sx = s * y + c * x;
        const double sy = c * y - s * x;
        double value = 0.0;
        if (sx >= 0 && sy < height && sy >= 0 && sx < width) {
            const int x0 = whole(sx);
            const int y0 = whole(sy);
            const auto p = [&](int dx, int dy) { return rgb[3 * ((y0 + dy) * width + x0 + dx) + i % 3]; };
            const double fx = sx - x0;
            const double fy = sy - y0;
            value = p(0, 0);
            if (x0 != w1 && y0 != h1)
                value = ((p(0, 0) * ((1 - fx) * (1 - fy)) + p(1, 0) * (fx * (1 - fy))) + p(1, 1) * (fx * fy)) +
                        p(0, 1) * ((1 - fx) * fy);
        }
        out.pixels.push_back(static_cast<unsigned char>(value));
    }
    return out;
}

}  // namespace plain
