// 8:1 decimation by a separable symmetric 32-tap low-pass filter.
#include <algorithm>
#include <cstddef>
#include <memory>

#include "platform/log.h"
#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace {

constexpr int ratio = 8;
constexpr int tapCount = 32;
// An output's span starts this many samples before its block, so that the two centres meet.
constexpr int lead = (tapCount - ratio) / 2;

// In 65536ths -15, -117, -275, ... 8115, together 65536, up to the last digit of a few of them; these
// decimals and not the fractions are the filter.
constexpr float taps[tapCount] = {-0.000228881996f, -0.00178527797f, -0.00419616699f, -0.00672912598f, -0.0086517334f,
                                  -0.00923156738f,  -0.00773620605f, -0.003433228f,   0.00483703613f,  0.0192718506f,
                                  0.0382232666f,    0.0594940186f,   0.0808868408f,   0.100204468f,    0.115249634f,
                                  0.123825073f,     0.123825073f,    0.115249634f,    0.100204468f,    0.0808868408f,
                                  0.0594940186f,    0.0382232666f,   0.0192718506f,   0.00483703613f,  -0.003433228f,
                                  -0.00773620605f,  -0.00923156738f, -0.0086517334f,  -0.00672912598f, -0.00419616699f,
                                  -0.00178527797f,  -0.000228881996f};

unsigned char toPixel(float sum) { return static_cast<unsigned char>(std::clamp(sum, 0.0f, 255.0f)); }

// Index of the sample under tap k of an output, the border replicated. 64-bit: the last spans reach
// past the axis.
std::ptrdiff_t spanIndex(int output, int k, int length) {
    return std::clamp<std::ptrdiff_t>(std::ptrdiff_t{output} * ratio - lead + k, 0, length - 1);
}

// float, products rounded before the add, taps ascending.
void decimateRow(const unsigned char* row, int width, unsigned char* out, int outWidth) {
    for (int j = 0; j < outWidth; ++j) {
        float sum = 0.0f;
        for (int k = 0; k < tapCount; ++k) sum += taps[k] * static_cast<float>(row[spanIndex(j, k, width)]);
        out[j] = toPixel(sum);
    }
}

// The same down the columns; the sums of a whole output row grow side by side.
void decimateColumns(const unsigned char* plane, int width, int height, float* sums, unsigned char* out, int outRow) {
    std::fill_n(sums, width, 0.0f);
    for (int k = 0; k < tapCount; ++k) {
        const unsigned char* const row = plane + spanIndex(outRow, k, height) * width;
        for (int x = 0; x < width; ++x) sums[x] += taps[k] * static_cast<float>(row[x]);
    }
    for (int x = 0; x < width; ++x) out[x] = toPixel(sums[x]);
}

}  // namespace

int TiltCorrection::bicubic8(unsigned char* src, unsigned char* dst, int width, int height) {
    SKYLEVEL_LOG_DEBUG("Enter bicubic8 successful!");
    if (src == nullptr || dst == nullptr || !skylevel::isPlane(width, height)) return -1;
    const int outWidth = width / ratio;
    const int outHeight = height / ratio;
    if (outWidth == 0 || outHeight == 0) return 0;

    const std::unique_ptr<unsigned char[]> rows(new unsigned char[std::size_t{1} * outWidth * height]);
    for (int y = 0; y < height; ++y)
        decimateRow(src + std::ptrdiff_t{y} * width, width, rows.get() + std::ptrdiff_t{y} * outWidth, outWidth);

    const std::unique_ptr<float[]> sums(new float[outWidth]);
    for (int i = 0; i < outHeight; ++i)
        decimateColumns(rows.get(), outWidth, height, sums.get(), dst + std::ptrdiff_t{i} * outWidth, i);
    return 0;
}
