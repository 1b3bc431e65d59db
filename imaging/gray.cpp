// Colour to gray, at full size and reduced, and plain subsampling.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "imaging/decimation.h"
#include "imaging/gray_conversion.h"
#include "imaging/take_every.h"
#include "platform/dispatch.h"
#include "platform/log.h"
#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace {

void subsampleRow(const unsigned char* row, int step, unsigned char* out, int count) {
    switch (step) {
        case 2:
            return skylevel::vectorised<skylevel::takeEvery<2>>(row, out, count);
        case 3:
            return skylevel::vectorised<skylevel::takeEvery<3>>(row, out, count);
        case 4:
            return skylevel::vectorised<skylevel::takeEvery<4>>(row, out, count);
        default:
            for (int i = 0; i < count; ++i) out[i] = row[std::ptrdiff_t{i} * step];
    }
}

}  // namespace

int TiltCorrection::RGB2Gray(unsigned char* rgb, unsigned char* gray, int width, int height) {
    SKYLEVEL_LOG_DEBUG("Enter RGB2Gray successful!");
    if (rgb == nullptr || gray == nullptr) return -1;
    // Only the product counts: two negative sides make a positive one.
    const std::int64_t count = std::int64_t{width} * height;
    if (count < 1 || count > std::numeric_limits<int>::max()) return -1;
    skylevel::convertToGray(rgb, gray, static_cast<std::size_t>(count));
    return 0;
}

int TiltCorrection::RGB2SmallGray(unsigned char* rgb, unsigned char* dst, int width, int height, int ratio) {
    using namespace skylevel;
    if (rgb == nullptr || dst == nullptr || !isPlane(width, height) || ratio < 1) return -1;
    SKYLEVEL_LOG_DEBUG("Enter RGB2SmallGray successful!");
    if (ratio != decimationRatio) return -2;

    // The lines of the two operations that are done here in one, band by band: what the first writes is
    // still in the cache when the second reads it.
    SKYLEVEL_LOG_DEBUG("Enter RGB2Gray successful!");
    SKYLEVEL_LOG_DEBUG("Enter bicubic8 successful!");
    const int outWidth = width / ratio;
    const int outHeight = height / ratio;
    if (outWidth == 0 || outHeight == 0) return 0;

    const std::unique_ptr<unsigned char[]> band(new unsigned char[std::size_t{decimatedLines} * width]);
    const std::unique_ptr<unsigned char[]> rows(new unsigned char[std::size_t{1} * outWidth * height]);
    for (int y = 0; y < height; y += decimatedLines) {
        const int count = std::min(decimatedLines, height - y);
        convertToGray(rgb + std::ptrdiff_t{3} * y * width, band.get(), std::size_t{1} * count * width);
        decimateLines(band.get(), width, count, rows.get() + y, height);
    }
    decimateTransposed(rows.get(), height, outWidth, dst);
    return 0;
}

int TiltCorrection::DownsampleGray(unsigned char* src, unsigned char* dst, int width, int height, int stride,
                                   int step) {
    if (src == nullptr || dst == nullptr || !skylevel::isPlane(width, height)) return -1;
    if (stride < width || step < 1) return -1;
    const int outWidth = (width - 1) / step + 1;
    // 64-bit, so that the last step past the edge cannot wrap.
    for (std::int64_t y = 0; y < height; y += step, dst += outWidth)
        subsampleRow(src + y * stride, step, dst, outWidth);
    return 0;
}
