// Non-maximum suppression and hysteresis.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

constexpr unsigned char noEdge = 0;
constexpr unsigned char candidate = 128;
constexpr unsigned char edge = 255;

// The eight neighbours in the order of growth: right, then clockwise as seen on the screen.
constexpr int neighbourCount = 8;
constexpr int stepX[neighbourCount] = {1, 1, 0, -1, -1, -1, 0, 1};
constexpr int stepY[neighbourCount] = {0, 1, 1, 1, 0, -1, -1, -1};

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

// Whether m[0] is a maximum along its gradient (gx, gy). The gradient's line crosses the neighbours
// one step away along its dominant axis; the magnitude there is interpolated between an axis and a
// diagonal neighbour. A plateau counts as a maximum. float, products rounded before the add.
bool isMaximum(const float* m, std::ptrdiff_t width, float gx, float gy) {
    const float absX = std::fabs(gx);
    const float absY = std::fabs(gy);
    const bool vertical = absY > absX;
    // The product itself, for it can underflow to 0 where the signs alone would tell them apart.
    const bool sameSign = gx * gy > 0.0f;
    const std::ptrdiff_t axis = vertical ? width : 1;
    const std::ptrdiff_t across = vertical ? 1 : width;
    const std::ptrdiff_t diagonal = sameSign ? axis + across : axis - across;
    const float weight = vertical ? absX / absY : absY / absX;
    const float rest = 1.0f - weight;
    const float ahead = rest * m[axis] + weight * m[diagonal];
    const float behind = rest * m[-axis] + weight * m[-diagonal];
    return m[0] >= ahead && m[0] >= behind;
}

void suppressNonMaxima(unsigned char* edges, const float* gradX, const float* gradY, const float* magnitude, int width,
                       int height) {
    for (int r = 1; r < height - 1; ++r) {
        const std::ptrdiff_t row = std::ptrdiff_t{r} * width;
        for (std::ptrdiff_t i = row + 1; i < row + width - 1; ++i) {
            const bool kept = !(magnitude[i] <= FLT_EPSILON) && isMaximum(magnitude + i, width, gradX[i], gradY[i]);
            edges[i] = kept ? candidate : noEdge;
        }
    }
}

}  // namespace

int thinAndThrehold(unsigned char* edges, float* gradX, float* gradY, float* magnitude, int width, int height,
                    float high, float low) {
    if (edges == nullptr || gradX == nullptr || gradY == nullptr || magnitude == nullptr) return -1;
    if (!skylevel::isPlane(width, height)) return -1;

    clearFrame(edges, width, height);
    suppressNonMaxima(edges, gradX, gradY, magnitude, width, height);
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c) {
            const std::ptrdiff_t i = std::ptrdiff_t{r} * width + c;
            if (edges[i] != candidate || !(magnitude[i] >= high)) continue;
            edges[i] = edge;
            TraceEdge(r, c, low, edges, magnitude, width, height);
        }
    std::replace_if(
        edges, edges + std::ptrdiff_t{width} * height, [](unsigned char v) { return v != edge; }, noEdge);
    return 0;
}

// Depth first, without a stack: a pixel that growth has entered holds the number of the step that led
// there until growth leaves it, which is all that the way back needs.
void TraceEdge(int row, int col, float& low, unsigned char*& edges, float*& magnitude, int& width, int& height) {
    constexpr unsigned char entered = 1;  // plus the step's number; below candidate
    static_assert(entered + neighbourCount - 1 < candidate);

    int depth = 0;  // at most one for each pixel of the plane
    int k = 0;
    for (;;) {
        for (; k < neighbourCount; ++k) {
            // 64-bit: the start may lie anywhere.
            const std::int64_t x = std::int64_t{col} + stepX[k];
            const std::int64_t y = std::int64_t{row} + stepY[k];
            if (x < 0 || y < 0 || x >= width || y >= height) continue;
            const std::ptrdiff_t i = y * width + x;
            if (edges[i] == candidate && magnitude[i] >= low) break;
        }
        if (k < neighbourCount) {
            col += stepX[k];
            row += stepY[k];
            edges[std::ptrdiff_t{row} * width + col] = static_cast<unsigned char>(entered + k);
            ++depth;
            k = 0;
        } else if (depth > 0) {
            unsigned char& here = edges[std::ptrdiff_t{row} * width + col];
            const int cameBy = here - entered;
            here = edge;
            col -= stepX[cameBy];
            row -= stepY[cameBy];
            --depth;
            k = cameBy + 1;
        } else {
            return;
        }
    }
}
