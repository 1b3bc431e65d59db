// Pictures for the tests: integer arithmetic only, the same on every machine.
#pragma once

#include <algorithm>
#include <random>

#include "tests/support/guarded.h"

// A plane with guarded bounds: the last row ends at its last pixel.
struct Picture {
    int width;
    int height;
    int stride;
    Bytes pixels;

    unsigned char at(int row, int column) const { return pixels[row * stride + column]; }
};

// value(row, column) for every pixel, clamped to 0 to 255; read-only from then on.
template <typename Value>
Picture paint(int width, int height, int stride, Value value) {
    Picture picture{width, height, stride, Bytes(stride * (height - 1) + width)};
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            picture.pixels[r * stride + c] = static_cast<unsigned char>(std::clamp<int>(value(r, c), 0, 255));
    picture.pixels.makeReadOnly();
    return picture;
}

// No library distribution, for they differ from library to library.
class Random {
public:
    explicit Random(unsigned seed) : m_engine(seed) {}
    int below(int limit) { return static_cast<int>(m_engine() % static_cast<unsigned>(limit)); }

private:
    std::mt19937 m_engine;
};

inline Picture noise(int width, int height, int stride, unsigned seed) {
    Random random(seed);
    return paint(width, height, stride, [&](int, int) { return random.below(256); });
}

// A bright sky over dark ground, with noise of amplitude `grain`. Upright, their border passes through
// row midRow at the centre column and falls by fall rows over `over` columns to the right.
struct Scene {
    int midRow;
    int fall;
    int over;
    int grain;

    // The picture that a clockwise quarter turn by imageAngle makes upright.
    Picture picture(int width, int height, int stride, int imageAngle = 0) const {
        Random random(61);
        const int centre = (imageAngle % 180 == 0 ? width : height) / 2;
        return paint(width, height, stride, [&](int r, int c) {
            const int upRow[] = {r, c, height - 1 - r, width - 1 - c};
            const int upColumn[] = {c, height - 1 - r, width - 1 - c, r};
            const int turn = imageAngle / 90;
            const bool sky = (upRow[turn] - midRow) * over < (upColumn[turn] - centre) * fall;
            return (sky ? 190 : 70) + (grain > 0 ? random.below(2 * grain + 1) - grain : 0);
        });
    }
};
