// Turning an RGB image by any angle into a new canvas.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>

#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace {

constexpr double pi = 3.141592653589793;
constexpr int channels = 3;

struct Rotation {
    double c;
    double s;
};

// The canvas: the bounding box of the turned corner pixels, (0, 0) being the pivot.
struct Canvas {
    std::int64_t left;
    std::int64_t top;
    std::int64_t width;
    std::int64_t height;
};

std::size_t byteCount(std::int64_t width, std::int64_t height) {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * channels;
}

// Corner coordinates are truncated toward zero, not floored: a turn and its opposite can differ by a
// row. 64-bit: a turned corner of the largest pictures leaves the int range.
Canvas turnedCanvas(int width, int height, const Rotation& turn) {
    const double lastX = width - 1;
    const double lastY = height - 1;
    const auto truncated = [](double value) { return static_cast<std::int64_t>(value); };
    const auto [left, right] = std::minmax({std::int64_t{0}, truncated(lastX * turn.c), truncated(-lastY * turn.s),
                                            truncated(lastX * turn.c - lastY * turn.s)});
    const auto [top, bottom] = std::minmax({std::int64_t{0}, truncated(lastX * turn.s), truncated(lastY * turn.c),
                                            truncated(lastY * turn.c + lastX * turn.s)});
    return {left, top, right - left + 1, bottom - top + 1};
}

bool fitsInt(const Canvas& canvas) {
    constexpr std::int64_t limit = std::numeric_limits<int>::max();
    return canvas.width <= limit && canvas.height <= limit && canvas.width * canvas.height <= limit;
}

// One pixel between four neighbours. double, products rounded before the adds, the lower right
// neighbour before the lower left one, truncated.
void blend(const unsigned char* upper, const unsigned char* lower, double fx, double fy, unsigned char* out) {
    const double w00 = (1.0 - fx) * (1.0 - fy);
    const double w10 = fx * (1.0 - fy);
    const double w11 = fx * fy;
    const double w01 = (1.0 - fx) * fy;
    for (int k = 0; k < channels; ++k) {
        const double sum = ((upper[k] * w00 + upper[channels + k] * w10) + lower[channels + k] * w11) + lower[k] * w01;
        out[k] = static_cast<unsigned char>(sum);
    }
}

// One canvas row at height y above the pivot; pixels outside the source stay as they are.
void turnRow(const unsigned char* src, int width, int height, const Rotation& turn, std::int64_t left, std::int64_t y,
             unsigned char* out, std::int64_t outWidth) {
    const std::ptrdiff_t pitch = std::ptrdiff_t{width} * channels;
    const auto row = static_cast<double>(y);
    for (std::int64_t i = 0; i < outWidth; ++i, out += channels) {
        const auto column = static_cast<double>(left + i);
        const double sx = turn.s * row + turn.c * column;
        const double sy = turn.c * row - turn.s * column;
        if (sx < 0.0 || sy >= height || sy < 0.0 || sx >= width) continue;
        const int x0 = static_cast<int>(sx);
        const int y0 = static_cast<int>(sy);
        const unsigned char* const pixel = src + y0 * pitch + std::ptrdiff_t{x0} * channels;
        if (x0 == width - 1 || y0 == height - 1)
            std::memcpy(out, pixel, channels);
        else
            blend(pixel, pixel + pitch, sx - x0, sy - y0, out);
    }
}

}  // namespace

int TiltCorrection::rotateImage(unsigned char* src, int width, int height, unsigned char*& dst, int& dstWidth,
                                int& dstHeight, double angle) {
    if (!(angle <= 180.0) || src == nullptr || !skylevel::isPlane(width, height) || !(angle >= -180.0)) return -1;

    if (std::fabs(angle) <= std::numeric_limits<double>::epsilon()) {
        std::unique_ptr<unsigned char[]> copy(new unsigned char[byteCount(width, height)]);
        std::memcpy(copy.get(), src, byteCount(width, height));
        dstWidth = width;
        dstHeight = height;
        dst = copy.release();
        return 0;
    }

    const double radians = angle / 180.0 * pi;
    const Rotation turn = {std::cos(radians), std::sin(radians)};
    const Canvas canvas = turnedCanvas(width, height, turn);
    if (!fitsInt(canvas)) return -1;
    std::unique_ptr<unsigned char[]> turned(new unsigned char[byteCount(canvas.width, canvas.height)]());
    for (std::int64_t j = 0; j < canvas.height; ++j)
        turnRow(src, width, height, turn, canvas.left, canvas.top + j, turned.get() + byteCount(canvas.width, j),
                canvas.width);
    dstWidth = static_cast<int>(canvas.width);
    dstHeight = static_cast<int>(canvas.height);
    dst = turned.release();
    return 0;
}
