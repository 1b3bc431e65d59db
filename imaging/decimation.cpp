// 8:1 decimation by a separable symmetric 32-tap low-pass filter.
#include "imaging/decimation.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/dispatch.h"
#include "platform/log.h"
#include "platform/sizes.h"
#include "skylevel/skylevel.h"

namespace skylevel {
namespace {

static_assert(std::endian::native == std::endian::little, "the first byte of a word is its low one");

constexpr int tapCount = 32;
// An output's span starts this many samples before its block, so that the two centres meet.
constexpr int lead = (tapCount - decimationRatio) / 2;

// In 65536ths -15, -117, -275, ... 8115, together 65536, up to the last digit of a few of them; these
// decimals and not the fractions are the filter.
constexpr float taps[tapCount] = {-0.000228881996f, -0.00178527797f, -0.00419616699f, -0.00672912598f, -0.0086517334f,
                                  -0.00923156738f,  -0.00773620605f, -0.003433228f,   0.00483703613f,  0.0192718506f,
                                  0.0382232666f,    0.0594940186f,   0.0808868408f,   0.100204468f,    0.115249634f,
                                  0.123825073f,     0.123825073f,    0.115249634f,    0.100204468f,    0.0808868408f,
                                  0.0594940186f,    0.0382232666f,   0.0192718506f,   0.00483703613f,  -0.003433228f,
                                  -0.00773620605f,  -0.00923156738f, -0.0086517334f,  -0.00672912598f, -0.00419616699f,
                                  -0.00178527797f,  -0.000228881996f};

// The pixels at one position of all the lines. Plain floats, or else GCC takes vectors apart to write them.
using Column = float[decimatedLines];
using Sums = float __attribute__((vector_size(sizeof(Column))));
// Outputs along a line that are summed together, so that their additions fill each other's latency.
constexpr int groupOutputs = 8;
constexpr int groupColumns = groupOutputs * decimationRatio;
// What the spans of a group reach beyond its own columns.
constexpr int overlap = tapCount - decimationRatio;

// Positions off the lines repeat their ends.
SKYLEVEL_KERNEL void copyWithBorder(const unsigned char* const* lines, int length, std::ptrdiff_t x,
                                    unsigned char (*copies)[groupColumns]) {
    for (int k = 0; k < groupColumns; ++k) {
        const auto inside = std::clamp<std::ptrdiff_t>(x + k, 0, length - 1);
        for (int i = 0; i < decimatedLines; ++i) copies[i][k] = lines[i][inside];
    }
}

// Spreads groupColumns pixels of each line, from x on, into columns.
SKYLEVEL_KERNEL void loadColumns(const unsigned char* const* lines, int length, std::ptrdiff_t x, Column* columns) {
    unsigned char copies[decimatedLines][groupColumns];
    const bool isInside = x >= 0 && x + groupColumns <= length;
    if (!isInside) copyWithBorder(lines, length, x, copies);
    const unsigned char* at[decimatedLines];
    for (int i = 0; i < decimatedLines; ++i) at[i] = isInside ? lines[i] + x : copies[i];
    // By way of words of four pixels, which are cheaper to gather than bytes.
    alignas(sizeof(Column)) std::uint32_t words[groupColumns / 4][decimatedLines];
    for (int k = 0; k < groupColumns / 4; ++k)
        for (int i = 0; i < decimatedLines; ++i) std::memcpy(&words[k][i], at[i] + std::ptrdiff_t{4} * k, 4);
    for (int k = 0; k < groupColumns / 4; ++k)
        for (int byte = 0; byte < 4; ++byte)
            for (int i = 0; i < decimatedLines; ++i)
                columns[4 * k + byte][i] = static_cast<float>(static_cast<int>(words[k][i] >> 8 * byte & 255));
}

// float, products rounded before the add, taps ascending.
SKYLEVEL_KERNEL void filterGroup(const Column* columns, unsigned char (*pixels)[decimatedLines]) {
    Sums sums[groupOutputs] = {};
    for (int k = 0; k < tapCount; ++k)
        for (int j = 0; j < groupOutputs; ++j) {
            Sums samples;
            std::memcpy(&samples, columns[decimationRatio * j + k], sizeof(samples));
            sums[j] += taps[k] * samples;
        }
    Column results[groupOutputs];
    std::memcpy(results, sums, sizeof(results));
    for (int j = 0; j < groupOutputs; ++j)
        for (int i = 0; i < decimatedLines; ++i)
            pixels[j][i] = static_cast<unsigned char>(std::clamp(static_cast<int>(results[j][i]), 0, 255));
}

SKYLEVEL_KERNEL void decimateEight(const unsigned char* const* lines, int length, int count, unsigned char* out,
                                   std::ptrdiff_t pitch) {
    const int outLength = length / decimationRatio;
    alignas(sizeof(Column)) Column columns[overlap + groupColumns];
    loadColumns(lines, length, overlap - lead - groupColumns, columns + overlap);
    for (int j = 0; j < outLength; j += groupOutputs) {
        std::memcpy(columns, columns + groupColumns, overlap * sizeof(Column));
        loadColumns(lines, length, std::ptrdiff_t{j} * decimationRatio + overlap - lead, columns + overlap);
        unsigned char pixels[groupOutputs][decimatedLines];
        filterGroup(columns, pixels);
        for (int k = 0; k < std::min(groupOutputs, outLength - j); ++k) {
            unsigned char* const to = out + (j + k) * pitch;
            if (count == decimatedLines)
                std::memcpy(to, pixels[k], decimatedLines);  // a single store
            else
                std::copy_n(pixels[k], count, to);
        }
    }
}

}  // namespace

void decimateLines(const unsigned char* lines, int length, int count, unsigned char* out, std::ptrdiff_t pitch) {
    // Lines that are not there repeat the last one; nothing of them is written.
    const unsigned char* starts[decimatedLines];
    // cppcheck-suppress [uninitvar, legacyUninitvar] ; misreads the braces, and so what is on the left
    for (int i = 0; i < decimatedLines; ++i) starts[i] = lines + std::ptrdiff_t{std::min(i, count - 1)} * length;
    vectorised<decimateEight>(static_cast<const unsigned char* const*>(starts), length, count, out, pitch);
}

void decimateTransposed(const unsigned char* plane, int length, int lineCount, unsigned char* out) {
    for (int i = 0; i < lineCount; i += decimatedLines)
        decimateLines(plane + std::ptrdiff_t{i} * length, length, std::min(decimatedLines, lineCount - i), out + i,
                      lineCount);
}

}  // namespace skylevel

int TiltCorrection::bicubic8(unsigned char* src, unsigned char* dst, int width, int height) {
    SKYLEVEL_LOG_DEBUG("Enter bicubic8 successful!");
    if (src == nullptr || dst == nullptr || !skylevel::isPlane(width, height)) return -1;
    const int outWidth = width / skylevel::decimationRatio;
    const int outHeight = height / skylevel::decimationRatio;
    if (outWidth == 0 || outHeight == 0) return 0;

    const std::unique_ptr<unsigned char[]> rows(new unsigned char[std::size_t{1} * outWidth * height]);
    skylevel::decimateTransposed(src, width, height, rows.get());
    skylevel::decimateTransposed(rows.get(), height, outWidth, dst);
    return 0;
}
