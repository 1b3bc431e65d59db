// Progressive probabilistic Hough transform: edge pixels vote one at a time in random order; as soon
// as a line has enough votes, its segment is traced, consumed and, if long enough, reported.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>

#include "platform/log.h"
#include "skylevel/analysis.h"

namespace {

constexpr unsigned char edge = 255;
constexpr double pi = 3.141592653589793;
constexpr int intLimit = std::numeric_limits<int>::max();
// A 16.16 start coordinate of a map below this size fits 32 bits.
constexpr int sideLimit = 32768;
constexpr int fixedShift = 16;
constexpr int fixedOne = 1 << fixedShift;

constexpr std::uint64_t firstState = 4294967295;
constexpr std::uint64_t multiplier = 4164903690;
constexpr int firstPointCapacity = 15000;
constexpr int firstLineCapacity = 100;

struct Point {
    int x;
    int y;
};

// cos and sin of one angle of the accumulator, divided by rho.
struct Direction {
    float c;
    float s;
};

// Doubles a full array, keeping its records; the new half is zero-filled.
template <typename Record>
Record* doubled(const Record* records, int& capacity) {
    auto* const grown = new Record[2 * static_cast<std::size_t>(capacity)]();
    std::copy_n(records, capacity, grown);
    capacity *= 2;
    return grown;
}

std::uint32_t nextRandom(std::uint64_t& state) {
    state = (state & 0xffffffffU) * multiplier + (state >> 32);
    return static_cast<std::uint32_t>(state);
}

int saturatedInt(float value) {
    if (value != value) return 0;
    if (static_cast<double>(value) >= intLimit) return intLimit;
    if (static_cast<double>(value) <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// The (angle, distance) accumulator's shape.
struct Grid {
    int angleCount;
    int distanceCount;
    int distanceOffset;
    double theta;
    double scale;  // 1 / rho

    Direction direction(int n) const {
        const double angle = n * theta;
        return {static_cast<float>(scale * std::cos(angle)), static_cast<float>(scale * std::sin(angle))};
    }

    // Not rounding to nearest for negative distances: everything between -1.5 and 0.5 is index 0
    // before the offset. float, products rounded before the add.
    int distanceIndex(const Direction& d, int x, int y) const {
        const float distance = static_cast<float>(x) * d.c + static_cast<float>(y) * d.s;
        return static_cast<int>(static_cast<double>(distance) + 0.5) + distanceOffset;
    }

    bool holdsIndex(const Direction& d, int x, int y) const {
        const int index = distanceIndex(d, x, y);
        return index >= 0 && index < distanceCount;
    }

    // Whether every pixel of a map votes inside its row. The index grows and falls with each
    // coordinate, so the four corners decide.
    bool holdsMap(int width, int height) const {
        for (int n = 0; n < angleCount; ++n) {
            const Direction d = direction(n);
            if (!holdsIndex(d, 0, 0) || !holdsIndex(d, width - 1, 0) || !holdsIndex(d, 0, height - 1) ||
                !holdsIndex(d, width - 1, height - 1))
                return false;
        }
        return true;
    }
};

// returns false when the parameters give no usable accumulator for the map.
bool makeGrid(const HoughParams& parameters, int width, int height, Grid& grid) {
    const bool usable = parameters.rho > 0.0f && std::isfinite(parameters.rho) && parameters.theta > 0.0f &&
                        std::isfinite(parameters.theta);
    if (!usable) return false;
    const double theta = static_cast<double>(parameters.theta);
    const double angles = pi / theta + 0.5;
    const double distances = static_cast<double>(static_cast<float>(2 * (width + height) + 1) / parameters.rho) + 0.5;
    if (!(angles < intLimit) || !(distances < intLimit)) return false;
    const int angleCount = static_cast<int>(angles);
    const int distanceCount = static_cast<int>(distances);
    if (angleCount < 1 || std::int64_t{angleCount} * distanceCount > intLimit) return false;
    grid = {angleCount, distanceCount, (distanceCount - 1) / 2, theta, static_cast<double>(1.0f / parameters.rho)};
    return grid.holdsMap(width, height);
}

// The edge pixels that have not been drawn yet.
class PointList {
public:
    PointList(const unsigned char* edges, int width, int height) : m_points(new Point[firstPointCapacity]()) {
        int capacity = firstPointCapacity;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                if (edges[std::ptrdiff_t{y} * width + x] != edge) continue;
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
    std::unique_ptr<Point[]> m_points;
    int m_count = 0;
};

// One counter for each angle and distance; counters may fall below 0.
class Accumulator {
public:
    explicit Accumulator(const Grid& grid)
        : m_grid(grid),
          m_counters(new int[static_cast<std::size_t>(grid.angleCount) * grid.distanceCount]()),
          m_directions(new Direction[grid.angleCount]) {
        for (int n = 0; n < grid.angleCount; ++n) m_directions[n] = grid.direction(n);
    }

    const Direction& direction(int n) const { return m_directions[n]; }

    // Adds a point's votes. The winner is the angle whose counter is the largest afterwards, the first
    // of equals; a counter must pass 1 to win over angle 0.
    int vote(Point point, int& winner) {
        int most = 1;
        winner = 0;
        for (int n = 0; n < m_grid.angleCount; ++n) {
            const int votes = ++counter(n, point);
            if (votes > most) {
                most = votes;
                winner = n;
            }
        }
        return most;
    }

    void giveBack(Point point) {
        for (int n = 0; n < m_grid.angleCount; ++n) --counter(n, point);
    }

private:
    int& counter(int n, Point point) {
        return m_counters[std::ptrdiff_t{n} * m_grid.distanceCount +
                          m_grid.distanceIndex(m_directions[n], point.x, point.y)];
    }

    Grid m_grid;
    std::unique_ptr<int[]> m_counters;
    std::unique_ptr<Direction[]> m_directions;
};

// A walk along a line, pixel by pixel: one coordinate steps by one, the other in 16.16 fixed point,
// which 64 bits hold beyond every edge of the map.
struct Walk {
    bool columnSteps;
    std::int64_t step;      // +1 or -1
    std::int64_t slope;     // fixed point, per step
    std::int64_t stepping;  // the stepping coordinate
    std::int64_t fixed;     // the other one

    Walk(Point start, const Direction& d) {
        columnSteps = std::fabs(d.s) > std::fabs(d.c);
        const float ratio = columnSteps ? d.c * -static_cast<float>(fixedOne) / d.s
                                        : d.s * static_cast<float>(fixedOne) / std::fabs(d.c);
        slope = static_cast<std::int64_t>(static_cast<double>(ratio) + 0.5);
        step = columnSteps || d.c < 0.0f ? 1 : -1;
        stepping = columnSteps ? start.x : start.y;
        fixed = std::int64_t{columnSteps ? start.y : start.x} * fixedOne + fixedOne / 2;
    }

    Walk reversed() const {
        Walk walk = *this;
        walk.step = -step;
        walk.slope = -slope;
        return walk;
    }

    std::int64_t x() const { return columnSteps ? stepping : fixed >> fixedShift; }
    std::int64_t y() const { return columnSteps ? fixed >> fixedShift : stepping; }

    void advance() {
        stepping += step;
        fixed += slope;
    }
};

// The last edge pixel that a walk reaches without crossing more than gap other pixels in a row.
Point findEnd(Walk walk, const unsigned char* edges, int width, int height, int gap) {
    Point end = {};
    for (int missed = 0;; walk.advance()) {
        const std::int64_t x = walk.x();
        const std::int64_t y = walk.y();
        if (y >= height || x >= width || y < 0 || x < 0) return end;
        if (edges[y * width + x] == edge) {
            missed = 0;
            end = {static_cast<int>(x), static_cast<int>(y)};
        } else {
            if (missed >= gap) return end;
            ++missed;
        }
    }
}

// Consumes the edge pixels from a walk's start to its end, both included, and counts them in line.
// The votes of a reported segment's pixels are given back, whether or not they were ever cast.
void consume(Walk walk, Point end, bool reported, unsigned char* edges, int width, Accumulator& accumulator,
             _Line& line) {
    for (;; walk.advance()) {
        const Point here = {static_cast<int>(walk.x()), static_cast<int>(walk.y())};
        unsigned char& pixel = edges[std::ptrdiff_t{here.y} * width + here.x];
        ++line.pixelCount;
        if (pixel == edge) {
            ++line.edgeCount;
            if (reported) accumulator.giveBack(here);
            pixel = 0;
        }
        if (here.x == end.x && here.y == end.y) return;
    }
}

}  // namespace

unsigned int rng(std::uint64_t& state, int n) {
    const std::uint32_t word = nextRandom(state);
    return n == 0 ? 0 : word % static_cast<std::uint32_t>(n);
}

int houghLine(unsigned char* edges, int width, int height, float* parameters, _Line*& lines, int& count) {
    if (edges == nullptr || width < 1 || height < 1 || parameters == nullptr) return -1;
    if (width >= sideLimit || height >= sideLimit) return -1;
    const auto& wanted = *reinterpret_cast<const HoughParams*>(parameters);
    Grid grid = {};
    if (!makeGrid(wanted, width, height, grid)) return -1;
    const int threshold = saturatedInt(wanted.threshold);
    const int lineLength = saturatedInt(wanted.lineLength);
    const int lineGap = saturatedInt(wanted.lineGap);
    SKYLEVEL_LOG_DEBUG("rho is : %f,  theta is : %f,  threashold is : %d,  lineLength is : %d, lineGap is: %d",
                       static_cast<double>(wanted.rho), static_cast<double>(wanted.theta), threshold, lineLength,
                       lineGap);
    SKYLEVEL_LOG_DEBUG("numangle is : %d,  numrho is : %d", grid.angleCount, grid.distanceCount);

    Accumulator accumulator(grid);
    PointList points(edges, width, height);
    int capacity = firstLineCapacity;
    lines = new _Line[firstLineCapacity]();
    count = 0;
    SKYLEVEL_LOG_DEBUG("edge point count is : %d", points.count());

    std::uint64_t state = firstState;
    while (points.count() > 0) {
        const Point point = points.draw(nextRandom(state));
        if (edges[std::ptrdiff_t{point.y} * width + point.x] != edge) continue;
        int winner = 0;
        if (accumulator.vote(point, winner) < threshold) continue;

        const Walk forward(point, accumulator.direction(winner));
        const Walk backward = forward.reversed();
        const Point first = findEnd(forward, edges, width, height, lineGap);
        const Point last = findEnd(backward, edges, width, height, lineGap);
        const bool reported = std::abs(first.x - last.x) >= lineLength || std::abs(first.y - last.y) >= lineLength;
        _Line line = {first.x, first.y, last.x, last.y, 0, 0};
        consume(forward, first, reported, edges, width, accumulator, line);
        consume(backward, last, reported, edges, width, accumulator, line);
        if (!reported) continue;

        if (count == capacity) {
            _Line* const grown = doubled(lines, capacity);
            delete[] lines;
            lines = grown;
        }
        lines[count] = line;
        ++count;
    }
    return 0;
}
