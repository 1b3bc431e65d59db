// Colour to gray, and plain subsampling.
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "platform/log.h"
#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace {

// double, products rounded before the adds, red and green first, truncated.
void convertToGray(const unsigned char* rgb, unsigned char* gray, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const double red = rgb[3 * i] * 0.299;
        const double green = rgb[3 * i + 1] * 0.587;
        const double blue = rgb[3 * i + 2] * 0.114;
        gray[i] = static_cast<unsigned char>((red + green) + blue);
    }
}

}  // namespace

int TiltCorrection::RGB2Gray(unsigned char* rgb, unsigned char* gray, int width, int height) {
    SKYLEVEL_LOG_DEBUG("Enter RGB2Gray successful!");
    if (rgb == nullptr || gray == nullptr) return -1;
    // Only the product counts: two negative sides make a positive one.
    const std::int64_t count = std::int64_t{width} * height;
    if (count < 1 || count > std::numeric_limits<int>::max()) return -1;
    convertToGray(rgb, gray, static_cast<std::size_t>(count));
    return 0;
}

int TiltCorrection::RGB2SmallGray(unsigned char* rgb, unsigned char* dst, int width, int height, int ratio) {
    if (rgb == nullptr || dst == nullptr || !skylevel::isPlane(width, height) || ratio < 1) return -1;
    SKYLEVEL_LOG_DEBUG("Enter RGB2SmallGray successful!");
    if (ratio != 8) return -2;

    const std::unique_ptr<unsigned char[]> gray(new unsigned char[std::size_t{1} * width * height]);
    if (RGB2Gray(rgb, gray.get(), width, height) != 0) return -1;
    return bicubic8(gray.get(), dst, width, height) == 0 ? 0 : -1;
}

int TiltCorrection::DownsampleGray(unsigned char* src, unsigned char* dst, int width, int height, int stride,
                                   int step) {
    if (src == nullptr || dst == nullptr || !skylevel::isPlane(width, height)) return -1;
    if (stride < width || step < 1) return -1;
    // 64-bit, so that the last step past the edge cannot wrap.
    for (std::int64_t y = 0; y < height; y += step) {
        const unsigned char* const row = src + y * stride;
        for (std::int64_t x = 0; x < width; x += step) *dst++ = row[x];
    }
    return 0;
}
