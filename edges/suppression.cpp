// Non-maximum suppression and hysteresis.
#include <algorithm>
#include <bit>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "edges/growth.h"
#include "edges/lanes.h"
#include "platform/dispatch.h"
#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

using namespace skylevel;

void clearFrame(unsigned char* edges, int width, int height) {
    const std::ptrdiff_t lastRow = std::ptrdiff_t{height - 1} * width;
    std::memset(edges, noEdge, static_cast<std::size_t>(width));
    std::memset(edges + lastRow, noEdge, static_cast<std::size_t>(width));
    for (int r = 0; r < height; ++r) {
        unsigned char* const row = edges + std::ptrdiff_t{r} * width;
        row[0] = noEdge;
        row[width - 1] = noEdge;
    }
}

SKYLEVEL_KERNEL Lanes absolute(Lanes v) { return std::bit_cast<Lanes>(std::bit_cast<Mask>(v) & 0x7fffffff); }

// The marks of a few pixels from m on: maxima along their gradient (gx, gy) are edges from the high
// threshold on, candidates from the low one on. The gradient's line crosses the neighbours one step away
// along its dominant axis; the magnitude there is interpolated between an axis and a diagonal neighbour.
// A plateau counts as a maximum. float, products rounded before the add.
SKYLEVEL_KERNEL Mask marks(const float* m, std::ptrdiff_t width, Lanes gx, Lanes gy, float high, float low) {
    const Lanes absX = absolute(gx);
    const Lanes absY = absolute(gy);
    const Mask vertical = absY > absX;
    // The product itself, for it can underflow to 0 where the signs alone would tell them apart.
    const Mask sameSign = gx * gy > 0.0f;
    const Lanes weight = (vertical ? absX : absY) / (vertical ? absY : absX);
    const Lanes rest = 1.0f - weight;
    const Lanes upRight = load(m - width + 1);
    const Lanes downLeft = load(m + width - 1);
    const Lanes axisAhead = vertical ? load(m + width) : load(m + 1);
    const Lanes axisBehind = vertical ? load(m - width) : load(m - 1);
    const Lanes diagonalAhead = sameSign ? load(m + width + 1) : vertical ? downLeft : upRight;
    const Lanes diagonalBehind = sameSign ? load(m - width - 1) : vertical ? upRight : downLeft;
    const Lanes ahead = rest * axisAhead + weight * diagonalAhead;
    const Lanes behind = rest * axisBehind + weight * diagonalBehind;
    const Lanes here = load(m);
    const Mask isMaximum = (here > FLT_EPSILON) & (here >= ahead) & (here >= behind);
    return isMaximum & (((here >= low) & candidate) | ((here >= high) & edge));
}

// Marks count pixels, at least as many as fit a block. Where none of a block reaches a threshold nothing is
// computed, which saves up to a tenth.
constexpr int blockPixels = 4 * laneCount;
SKYLEVEL_KERNEL void markBlocks(const float* gradX, const float* gradY, const float* magnitude, std::ptrdiff_t width,
                                std::ptrdiff_t count, float high, float low, unsigned char* edges) {
    for (std::ptrdiff_t i = 0; i < count; i += blockPixels) {
        i = std::min(i, count - blockPixels);  // the last block may take pixels of the one before again
        Mask reaching = {};
        for (int k = 0; k < blockPixels; k += laneCount) {
            const Lanes m = load(magnitude + i + k);
            reaching |= (m >= low) | (m >= high);
        }
        std::int32_t block[blockPixels] = {};
        if (isAnySet(reaching))
            for (int k = 0; k < blockPixels; k += laneCount)
                store(marks(magnitude + i + k, width, load(gradX + i + k), load(gradY + i + k), high, low), block + k);
        for (int k = 0; k < blockPixels; ++k) edges[i + k] = static_cast<unsigned char>(block[k]);
    }
}

// Marks every pixel but those of the first and last row and one more at either end: some of the frame too,
// by neighbours that are none.
void markPixels(const float* gradX, const float* gradY, const float* magnitude, int width, int height, float high,
                float low, unsigned char* edges) {
    const std::ptrdiff_t first = std::ptrdiff_t{width} + 1;
    const std::ptrdiff_t count = std::ptrdiff_t{width} * (height - 2) - 2;
    if (count >= blockPixels)
        return vectorised<markBlocks>(gradX + first, gradY + first, magnitude + first, std::ptrdiff_t{width}, count,
                                      high, low, edges + first);

    // Too few for a block: on a copy with room after it. A plane of 3 rows is the longest of these.
    constexpr int roomy = 3 * (blockPixels + 2) + blockPixels;
    float copies[3][roomy] = {};
    unsigned char marked[blockPixels];
    const std::ptrdiff_t pixels = std::ptrdiff_t{width} * height;
    std::copy_n(gradX, pixels, copies[0]);
    std::copy_n(gradY, pixels, copies[1]);
    std::copy_n(magnitude, pixels, copies[2]);
    vectorised<markBlocks>(copies[0] + first, copies[1] + first, copies[2] + first, std::ptrdiff_t{width},
                           std::ptrdiff_t{blockPixels}, high, low, marked);
    std::copy_n(marked, count, edges + first);
}

SKYLEVEL_KERNEL void keepEdges(unsigned char* map, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) map[i] = map[i] == edge ? edge : noEdge;
}

}  // namespace

int thinAndThrehold(unsigned char* edges, float* gradX, float* gradY, float* magnitude, int width, int height,
                    float high, float low) {
    if (edges == nullptr || gradX == nullptr || gradY == nullptr || magnitude == nullptr) return -1;
    if (!isPlane(width, height)) return -1;

    if (width < 3 || height < 3) {
        std::fill_n(edges, std::ptrdiff_t{width} * height, noEdge);
        return 0;
    }
    markPixels(gradX, gradY, magnitude, width, height, high, low, edges);
    clearFrame(edges, width, height);
    growEdges(edges, width, height);
    vectorised<keepEdges>(edges, std::ptrdiff_t{width} * height);
    return 0;
}
