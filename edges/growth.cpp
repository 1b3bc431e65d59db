// Growth of edges through candidates.
#include "edges/growth.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "edges/lanes.h"
#include "skylevel/analysis.h"

namespace skylevel {
namespace {

static_assert(std::endian::native == std::endian::little, "the first byte of a word is its low one");
static_assert(edge == 255 && candidate == 128 && noEdge == 0, "the low bit tells edges, the high one the others");

// The high bit of each byte that is a candidate.
std::uint32_t candidatesIn(std::uint32_t bytes) { return bytes & ~(bytes << 7) & 0x80808080; }

// A pixel's neighbours, three bytes a row from the left one on.
struct Neighbours {
    std::uint32_t above;
    std::uint32_t beside;  // with the pixel itself in the middle
    std::uint32_t below;

    Neighbours(const unsigned char* pixel, std::ptrdiff_t width)
        : above(loadFrom<std::uint32_t>(pixel - width - 1) & threeBytes),
          beside(loadFrom<std::uint32_t>(pixel - 1) & threeBytes),
          // From one byte before, for past the last neighbour the map may end.
          below(loadFrom<std::uint32_t>(pixel + width - 2) >> 8) {}

    bool haveEdge() const { return ((above | beside | below) & 0x010101) != 0; }

private:
    static constexpr std::uint32_t threeBytes = 0xffffff;
};

// The pixels from map on, with the candidates beside an edge turned into edges.
SKYLEVEL_KERNEL Pixels spreadInto(const unsigned char* map, std::ptrdiff_t width) {
    Pixels around = {};
    for (const std::ptrdiff_t row : {-width, std::ptrdiff_t{0}, width})
        around |= loadFrom<Pixels>(map + row - 1) | loadFrom<Pixels>(map + row) | loadFrom<Pixels>(map + row + 1);
    const auto here = loadFrom<Pixels>(map);
    return here | ((here < 0) & -(around & 1));
}

// Vector by vector down the map and up again. That leaves little to grow one by one. Each result is stored
// after the next one is loaded, for a load that takes in a part of what was just stored has to wait long.
SKYLEVEL_KERNEL void spreadOnce(unsigned char* first, unsigned char* end, std::ptrdiff_t width) {
    const std::ptrdiff_t vectors = (end - first) / vectorBytes;
    for (const std::ptrdiff_t step : {std::ptrdiff_t{vectorBytes}, std::ptrdiff_t{-vectorBytes}}) {
        unsigned char* at = step > 0 ? first : end - vectorBytes;
        Pixels result = spreadInto(at, width);
        for (std::ptrdiff_t i = 1; i < vectors; ++i, at += step) {
            const Pixels next = spreadInto(at + step, width);
            store(result, at);
            result = next;
        }
        store(result, at);
    }
}

// The first vector from `from` on with a candidate beside an edge; end if there is none. The last vector
// ends at end.
SKYLEVEL_KERNEL const unsigned char* findSpread(const unsigned char* from, const unsigned char* end,
                                                std::ptrdiff_t width) {
    for (; from < end; from += vectorBytes) {
        from = std::min(from, end - vectorBytes);
        if (isAnySet(spreadInto(from, width) ^ loadFrom<Pixels>(from))) break;
    }
    return std::min(from, end);
}

// The eight neighbours in the order of growth: right, then clockwise as seen on the screen.
constexpr int neighbourCount = 8;
constexpr int stepX[neighbourCount] = {1, 1, 0, -1, -1, -1, 0, 1};
constexpr int stepY[neighbourCount] = {0, 1, 1, 1, 0, -1, -1, -1};

// Grows from one pixel, which may lie anywhere, to the pixels that isOpen(index) joins to it. Depth first,
// without a stack: a pixel that growth has entered holds the number of the step that led there until
// growth leaves it, which is all that the way back needs.
template <typename IsOpen>
void walk(unsigned char* map, int width, int height, int row, int col, IsOpen isOpen) {
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
            if (isOpen(y * width + x)) break;
        }
        if (k < neighbourCount) {
            col += stepX[k];
            row += stepY[k];
            map[std::ptrdiff_t{row} * width + col] = static_cast<unsigned char>(entered + k);
            ++depth;
            k = 0;
        } else if (depth > 0) {
            unsigned char& here = map[std::ptrdiff_t{row} * width + col];
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

// Growth over a whole map. Far faster than the walk, which only takes over where too many pixels wait.
class Growth {
public:
    // cppcheck-suppress uninitMemberVar ; of m_waiting only what was entered is read, and filling it costs
    Growth(unsigned char* map, int width, int height) : m_map(map), m_width(width), m_height(height) {}

    // From the candidates beside an edge that are found from first on, before end.
    void growWithin(unsigned char* first, unsigned char* end) {
        for (unsigned char* pixel = first; pixel < end; ++pixel)
            if (*pixel == candidate && Neighbours(pixel, m_width).haveEdge()) {
                enter(pixel);
                while (m_left != m_entered) spread(m_waiting[m_left++ % waitingLimit]);
            }
    }

private:
    void enter(unsigned char* pixel) {
        *pixel = edge;
        if (m_entered - m_left < waitingLimit)
            m_waiting[m_entered++ % waitingLimit] = pixel;
        else
            walk(m_map, m_width, m_height, static_cast<int>((pixel - m_map) / m_width),
                 static_cast<int>((pixel - m_map) % m_width),
                 [this](std::ptrdiff_t i) { return m_map[i] == candidate; });
    }

    void spread(unsigned char* pixel) {
        // One bit for each neighbour: a byte for each column, in it from bit 5 on the three rows.
        const Neighbours around(pixel, m_width);
        std::uint32_t found =
            candidatesIn(around.above) >> 2 | candidatesIn(around.beside) >> 1 | candidatesIn(around.below);
        for (; found != 0; found &= found - 1) {
            const int bit = std::countr_zero(found);
            unsigned char* const next = pixel + (bit % 8 - 6) * std::ptrdiff_t{m_width} + bit / 8 - 1;
            if (*next == candidate) enter(next);
        }
    }

    static constexpr unsigned waitingLimit = 256;
    unsigned char* m_map;
    int m_width;
    int m_height;
    unsigned m_entered = 0;
    unsigned m_left = 0;
    unsigned char* m_waiting[waitingLimit];
};

}  // namespace

void growEdges(unsigned char* map, int width, int height) {
    Growth growth(map, width, height);
    unsigned char* const first = map + width + 1;
    unsigned char* const end = map + std::ptrdiff_t{width} * (height - 1) - 1;
    if (end - first < vectorBytes) return growth.growWithin(first, end);

    vectorised<spreadOnce>(first, end, std::ptrdiff_t{width});
    for (unsigned char* at = first; at < end; at += vectorBytes) {
        at += vectorised<findSpread>(at, end, std::ptrdiff_t{width}) - at;
        if (at == end) return;
        growth.growWithin(at, at + vectorBytes);
    }
}

}  // namespace skylevel

void TraceEdge(int row, int col, float& low, unsigned char*& edges, float*& magnitude, int& width, int& height) {
    skylevel::walk(edges, width, height, row, col,
                   [&](std::ptrdiff_t i) { return edges[i] == skylevel::candidate && magnitude[i] >= low; });
}
