#include "lines/accumulator.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace skylevel {
namespace {

constexpr double pi = 3.141592653589793;
constexpr int intLimit = std::numeric_limits<int>::max();

// Angles whose counters lie side by side.
constexpr int tileAngles = 4;

// What the vote kernels work on.
struct Cells {
    const float* cosines;
    const float* sines;
    const int* origins;
    int angleCount;
    int* counters;
};

// Angles whose counters are found, in vectors, well before they are looked up.
constexpr int batchAngles = 256;

// Where a point's counters are for count angles from the first.
template <typename Real>
SKYLEVEL_KERNEL void findCounters(const Cells& cells, Point point, int first, int count, int* at) {
    const auto x = static_cast<float>(point.x);
    const auto y = static_cast<float>(point.y);
    for (int k = 0; k < count; ++k) {
        const int n = first + k;
        at[k] = cells.origins[n] + tileAngles * distanceIndex<Real>({cells.cosines[n], cells.sines[n]}, x, y);
    }
}

// Calls visit(0) to visit(count - 1); several calls a round save a fifth of the time.
template <typename Visit>
SKYLEVEL_KERNEL void inRounds(int count, Visit visit) {
    constexpr int round = 12;
    int k = 0;
    for (; k + round <= count; k += round)
        for (int i = k; i < k + round; ++i) visit(i);
    for (; k < count; ++k) visit(k);
}

// Adds votes to counters that started at spare. The winner is the first angle of those whose counters
// have passed 0 by the most votes, if these are more than one; otherwise noAngle. Such counters, one in a
// thousand, are read again later, so that a vote is a subtraction in memory and no more.
template <typename Real>
SKYLEVEL_KERNEL int addVotes(Cells cells, Point point, int spare) {
    int most = 1;
    int winner = Accumulator::noAngle;
    for (int first = 0; first < cells.angleCount;) {
        const int count = std::min(batchAngles, cells.angleCount - first);
        int at[batchAngles];
        findCounters<Real>(cells, point, first, count, at);
        int passed[batchAngles];
        int passedCount = 0;
        inRounds(count, [&](int k) {
            if (--cells.counters[at[k]] < 0) [[unlikely]] {
                passed[passedCount] = k;
                ++passedCount;
            }
        });
        for (int i = 0; i < passedCount; ++i)
            if (const int votes = spare - cells.counters[at[passed[i]]]; votes > most) {
                most = votes;
                winner = first + passed[i];
            }
        first += count;
    }
    return winner;
}

template <typename Real>
SKYLEVEL_KERNEL void takeBack(Cells cells, Point point) {
    for (int first = 0; first < cells.angleCount;) {
        const int count = std::min(batchAngles, cells.angleCount - first);
        int at[batchAngles];
        findCounters<Real>(cells, point, first, count, at);
        inRounds(count, [&](int k) { ++cells.counters[at[k]]; });
        first += count;
    }
}

}  // namespace

Direction Grid::direction(int n) const {
    const double angle = n * theta;
    return {static_cast<float>(scale * std::cos(angle)), static_cast<float>(scale * std::sin(angle))};
}

// The index grows or falls with each coordinate, so the four corners decide.
IndexRange Grid::indices(Direction d) const {
    IndexRange range = {intLimit, -intLimit};
    for (const int x : {0, width - 1})
        for (const int y : {0, height - 1}) {
            const int index = distanceIndex<double>(d, static_cast<float>(x), static_cast<float>(y));
            range = {std::min(range.first, index), std::max(range.last, index)};
        }
    return range;
}

// Whether every pixel of the map votes inside its row.
bool Grid::holdsMap() const {
    const int offset = (distanceCount - 1) / 2;
    // No distance is longer than both sides together. That settles every rho below 2 without the sines
    // of all angles; the factor leaves room for the rounding of the distance.
    if ((width - 1.0 + height - 1.0) * scale * 1.000001 < offset) return true;
    for (int n = 0; n < angleCount; ++n) {
        const IndexRange range = indices(direction(n));
        if (range.first + offset < 0 || range.last + offset >= distanceCount) return false;
    }
    return true;
}

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
    if (angleCount < 1 ||
        (std::int64_t{angleCount} + tileAngles) * (std::int64_t{distanceCount} + tileAngles) > intLimit)
        return false;
    grid = {width, height, angleCount, distanceCount, theta, static_cast<double>(1.0f / parameters.rho)};
    return grid.holdsMap();
}

Accumulator::Accumulator(const Grid& grid, int threshold)
    : m_angleCount(grid.angleCount),
      m_spare(std::max(threshold, 1) - 1),
      m_single(grid.distanceCount <= singleLimit),
      m_cosines(new float[grid.angleCount]),
      m_sines(new float[grid.angleCount]),
      m_origins(new int[grid.angleCount]) {
    int size = 0;
    for (int tile = 0; tile < m_angleCount; tile += tileAngles) {
        const int end = std::min(tile + tileAngles, m_angleCount);
        IndexRange fromMiddle = {intLimit, -intLimit};
        for (int n = tile; n < end; ++n) {
            const Direction d = grid.direction(n);
            m_cosines[n] = d.c;
            m_sines[n] = d.s;
            const IndexRange range = grid.indices(d);
            const int middle = (range.first + range.last) / 2;
            fromMiddle = {std::min(fromMiddle.first, range.first - middle),
                          std::max(fromMiddle.last, range.last - middle)};
            m_origins[n] = -middle;
        }
        for (int n = tile; n < end; ++n)
            m_origins[n] = size + tileAngles * (m_origins[n] - fromMiddle.first) + (n - tile);
        size += tileAngles * (fromMiddle.last - fromMiddle.first + 1);
    }
    m_counters.reset(new int[size]);
    std::fill_n(m_counters.get(), size, m_spare);
}

int Accumulator::vote(Point point) {
    const Cells cells = {m_cosines.get(), m_sines.get(), m_origins.get(), m_angleCount, m_counters.get()};
    const int winner = m_single ? vectorised<addVotes<float>>(cells, point, m_spare)
                                : vectorised<addVotes<double>>(cells, point, m_spare);
    return m_spare == 0 && winner == noAngle ? 0 : winner;
}

void Accumulator::giveBack(Point point) {
    const Cells cells = {m_cosines.get(), m_sines.get(), m_origins.get(), m_angleCount, m_counters.get()};
    if (m_single)
        vectorised<takeBack<float>>(cells, point);
    else
        vectorised<takeBack<double>>(cells, point);
}

}  // namespace skylevel
