// Pictures in memory, and how their stored pixels are made upright.
#pragma once

#include <cstddef>
#include <memory>

namespace skylevel {

// Packed 8-bit rows of 1 (gray) or 3 (red, green, blue) bytes a pixel; 2 and 4 are these with alpha after them.
struct Picture {
    int width = 0;
    int height = 0;
    int channels = 0;
    std::unique_ptr<unsigned char[]> pixels;

    std::size_t rowBytes() const { return static_cast<std::size_t>(width) * static_cast<std::size_t>(channels); }
    unsigned char* row(int y) { return pixels.get() + rowBytes() * static_cast<std::size_t>(y); }
    const unsigned char* row(int y) const { return pixels.get() + rowBytes() * static_cast<std::size_t>(y); }
};

// Pixels without defined content. The sides and channels must be at least 1.
Picture makePicture(int width, int height, int channels);

// What makes stored pixels upright: a mirroring from left to right, then a clockwise turn.
struct Orientation {
    bool mirrored = false;
    int turn = 0;  // degrees: 0, 90, 180 or 270

    bool exchangesSides() const { return turn == 90 || turn == 270; }
};

// Of an EXIF orientation value; anything outside 1 to 8 counts as 1.
Orientation orientationFromExif(unsigned value);

void mirror(Picture& picture);
Picture turned(const Picture& picture, int turn);
Picture madeUpright(Picture picture, const Orientation& orientation);

// Lays a picture of 2 or 4 channels over white, in place; one channel less is left.
void layOverWhite(Picture& picture);

// A copy of the given size; every pixel is the mean of those it covers, or the nearest one.
Picture resized(const Picture& picture, int width, int height);

}  // namespace skylevel
