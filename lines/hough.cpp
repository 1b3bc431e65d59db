// Progressive probabilistic Hough transform: edge pixels vote one at a time in random order; as soon
// as a line has enough votes, its segment is traced, consumed and, if long enough, reported.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "lines/accumulator.h"
#include "lines/walk.h"
#include "platform/log.h"
#include "skylevel/analysis.h"

namespace skylevel {
namespace {

// A 16.16 start coordinate of a map below this size fits 32 bits.
constexpr int sideLimit = 32768;
constexpr std::uint64_t firstState = 4294967295;
constexpr std::uint64_t multiplier = 4164903690;
constexpr int firstPointCapacity = 15000;
constexpr int firstLineCapacity = 100;
constexpr int drawnAhead = 16;

std::uint32_t nextRandom(std::uint64_t& state) {
    state = (state & 0xffffffffU) * multiplier + (state >> 32);
    return static_cast<std::uint32_t>(state);
}

int saturatedInt(float value) {
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    if (value != value) return 0;
    if (static_cast<double>(value) >= most) return most;
    if (static_cast<double>(value) <= least) return least;
    return static_cast<int>(value);
}

// Doubles a full array, keeping its records; the new half is zero-filled.
template <typename Record>
Record* doubled(const Record* records, int& capacity) {
    auto* const grown = new Record[2 * static_cast<std::size_t>(capacity)]();
    std::copy_n(records, capacity, grown);
    capacity *= 2;
    return grown;
}

// The edge pixels that have not been drawn yet.
class PointList {
public:
    PointList(const unsigned char* edges, int width, int height) : m_points(new Point[firstPointCapacity]()) {
        int capacity = firstPointCapacity;
        for (int y = 0; y < height; ++y, edges += width)
            for (int x = nextEdge(edges, 0, width); x < width; x = nextEdge(edges, x + 1, width)) {
                if (m_count == capacity) m_points.reset(doubled(m_points.get(), capacity));
                m_points[m_count] = {x, y};
                ++m_count;
            }
    }

    int count() const { return m_count; }

    // Draws the point that the random word names; the last one takes its place.
    Point draw(std::uint32_t word) {
        Point& drawn = m_points[word % static_cast<std::uint32_t>(m_count)];
        const Point point = drawn;
        --m_count;
        drawn = m_points[m_count];
        return point;
    }

private:
    // The column of the next edge pixel of a row, from column x on; width if there is none.
    static int nextEdge(const unsigned char* row, int x, int width) {
        const void* const found = std::memchr(row + x, edgePixel, static_cast<std::size_t>(width - x));
        return found == nullptr ? width : static_cast<int>(static_cast<const unsigned char*>(found) - row);
    }

    std::unique_ptr<Point[]> m_points;
    int m_count = 0;
};

// What makes a segment, in pixels.
struct SegmentLimits {
    int length;
    int gap;
};

// Consumes the edge pixels from a walk's start to its end, both included, and counts them in line.
// The votes of a reported segment's pixels are given back, whether or not they were ever cast.
void consume(Walk walk, Point end, bool reported, unsigned char* edges, int width, Accumulator& accumulator,
             _Line& line) {
    for (;; walk.advance()) {
        const Point here = {static_cast<int>(walk.x()), static_cast<int>(walk.y())};
        unsigned char& pixel = edges[std::ptrdiff_t{here.y} * width + here.x];
        ++line.pixelCount;
        if (pixel == edgePixel) {
            ++line.edgeCount;
            if (reported) accumulator.giveBack(here);
            pixel = 0;
        }
        if (here.x == end.x && here.y == end.y) return;
    }
}

// Casts the votes of an edge pixel and, when a line has enough of them, traces and consumes its segment.
// returns whether that is one to report; then it is in line
bool findSegment(Point point, unsigned char* edges, int width, int height, SegmentLimits limits,
                 Accumulator& accumulator, _Line& line) {
    const int winner = accumulator.vote(point);
    if (winner == Accumulator::noAngle) return false;
    const Walk forward(point, accumulator.direction(winner));
    const Walk backward = forward.reversed();
    const Point first = findEnd(forward, edges, width, height, limits.gap);
    const Point last = findEnd(backward, edges, width, height, limits.gap);
    const bool reported = std::abs(first.x - last.x) >= limits.length || std::abs(first.y - last.y) >= limits.length;
    line = {first.x, first.y, last.x, last.y, 0, 0};
    consume(forward, first, reported, edges, width, accumulator, line);
    consume(backward, last, reported, edges, width, accumulator, line);
    return reported;
}

}  // namespace
}  // namespace skylevel

unsigned int rng(std::uint64_t& state, int n) {
    const std::uint32_t word = skylevel::nextRandom(state);
    return n == 0 ? 0 : word % static_cast<std::uint32_t>(n);
}

int houghLine(unsigned char* edges, int width, int height, float* parameters, _Line*& lines, int& count) {
    using namespace skylevel;
    if (edges == nullptr || width < 1 || height < 1 || parameters == nullptr) return -1;
    if (width >= sideLimit || height >= sideLimit) return -1;
    const auto& wanted = *reinterpret_cast<const HoughParams*>(parameters);
    Grid grid = {};
    if (!makeGrid(wanted, width, height, grid)) return -1;
    const int threshold = saturatedInt(wanted.threshold);
    const SegmentLimits limits = {saturatedInt(wanted.lineLength), saturatedInt(wanted.lineGap)};
    SKYLEVEL_LOG_DEBUG("rho is : %f,  theta is : %f,  threashold is : %d,  lineLength is : %d, lineGap is: %d",
                       static_cast<double>(wanted.rho), static_cast<double>(wanted.theta), threshold, limits.length,
                       limits.gap);
    SKYLEVEL_LOG_DEBUG("numangle is : %d,  numrho is : %d", grid.angleCount, grid.distanceCount);

    Accumulator accumulator(grid, threshold);
    PointList points(edges, width, height);
    int capacity = firstLineCapacity;
    lines = new _Line[firstLineCapacity]();
    count = 0;
    SKYLEVEL_LOG_DEBUG("edge point count is : %d", points.count());

    const auto isEdge = [&](Point point) { return edges[std::ptrdiff_t{point.y} * width + point.x] == edgePixel; };
    std::uint64_t state = firstState;
    while (points.count() > 0) {
        // Drawn ahead and sifted without a branch, which the processor would predict wrongly for a third of the points.
        Point drawn[drawnAhead];
        int drawnCount = 0;
        for (int k = std::min(drawnAhead, points.count()); k > 0; --k) {
            drawn[drawnCount] = points.draw(nextRandom(state));
            drawnCount += static_cast<int>(isEdge(drawn[drawnCount]));
        }
        for (int k = 0; k < drawnCount; ++k) {
            _Line line = {};
            if (!isEdge(drawn[k]) || !findSegment(drawn[k], edges, width, height, limits, accumulator, line)) continue;
            if (count == capacity) {
                _Line* const grown = doubled(lines, capacity);
                delete[] lines;
                lines = grown;
            }
            lines[count] = line;
            ++count;
        }
    }
    return 0;
}
