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

// Angles whose counters are found, in vectors, well before they are looked up.
constexpr int batchAngles = 256;

// Calls visit for a point's counters of all angles in order, several a round, which saves a fifth of the
// time. After each batch, endBatch gets its first angle and the places of its counters.
template <typename Real, typename Visit, typename EndBatch>
SKYLEVEL_KERNEL void forEachCounter(const Cells& cells, Point point, Visit visit, EndBatch endBatch) {
    constexpr int round = 12;
    const auto x = static_cast<float>(point.x);
    const auto y = static_cast<float>(point.y);
    for (int first = 0; first < cells.angleCount;) {
        const int count = std::min(batchAngles, cells.angleCount - first);
        int at[batchAngles];
        for (int k = 0; k < count; ++k) {
            const int n = first + k;
            at[k] = cells.origins[n] + tileAngles * distanceIndex<Real>({cells.cosines[n], cells.sines[n]}, x, y);
        }
        int k = 0;
        for (; k + round <= count; k += round)
            for (int i = k; i < k + round; ++i) visit(cells.counters[at[i]], i);
        for (; k < count; ++k) visit(cells.counters[at[k]], k);
        endBatch(first, at);
        first += count;
    }
}

// Adds votes to counters that started at spare. The winner is the first angle of those whose counters
// have passed 0 by the most votes, if these are more than one; otherwise noAngle. Such counters, one in a
// thousand, are read again after the batch, so that a vote is a subtraction in memory and no more.
template <typename Real>
SKYLEVEL_KERNEL int addVotes(Cells cells, Point point, int spare) {
    int most = 1;
    int winner = Accumulator::noAngle;
    int passed[batchAngles];
    int passedCount = 0;
    const auto vote = [&](int& counter, int k) {
        if (--counter < 0) [[unlikely]] {
            passed[passedCount] = k;
            ++passedCount;
        }
    };
    const auto judge = [&](int first, const int* at) {
        for (int i = 0; i < passedCount; ++i) {
            const int votes = spare - cells.counters[at[passed[i]]];
            if (votes > most) {
                most = votes;
                winner = first + passed[i];
            }
        }
        passedCount = 0;
    };
    forEachCounter<Real>(cells, point, vote, judge);
    return winner;
}

template <typename Real>
SKYLEVEL_KERNEL void takeBack(Cells cells, Point point) {
    forEachCounter<Real>(
        cells, point, [](int& counter, int) { ++counter; }, [](int, const int*) {});
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
            // The form that votes: in another rounding mode they would not agree.
            const auto column = static_cast<float>(x);
            const auto row = static_cast<float>(y);
            const int index = isSingle() ? distanceIndex<float>(d, column, row) : distanceIndex<double>(d, column, row);
            range = {std::min(range.first, index), std::max(range.last, index)};
        }
    return range;
}

// Whether every pixel of the map votes inside its row.
bool Grid::holdsMap() const {
    const int offset = (distanceCount - 1) / 2;
    // No distance is longer than both sides together. That settles most rho below 2 without the sines
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
    if (angleCount < 1) return false;
    // Tiles round the angles up. Their distances are as many as those of one angle, and a few more: the halves on
    // both sides of a middle that was truncated may each be one longer than those of another angle.
    const std::int64_t counters = (std::int64_t{angleCount} + tileAngles) * (std::int64_t{distanceCount} + tileAngles);
    if (counters > intLimit) return false;
    grid = {width, height, angleCount, distanceCount, theta, static_cast<double>(1.0f / parameters.rho)};
    return grid.holdsMap();
}

Accumulator::Accumulator(const Grid& grid, int threshold)
    : m_angleCount(grid.angleCount),
      m_spare(std::max(threshold, 1) - 1),
      m_single(grid.isSingle()),
      m_cosines(new float[grid.angleCount]),
      m_sines(new float[grid.angleCount]),
      m_origins(new int[grid.angleCount]) {
    int size = 0;
    for (int tile = 0; tile < m_angleCount; tile += tileAngles) {
        const int end = std::min(tile + tileAngles, m_angleCount);
        IndexRange fromMiddle = {intLimit, -intLimit};
        int middles[tileAngles] = {};
        for (int n = tile; n < end; ++n) {
            const Direction d = grid.direction(n);
            m_cosines[n] = d.c;
            m_sines[n] = d.s;
            const IndexRange range = grid.indices(d);
            const int middle = (range.first + range.last) / 2;
            fromMiddle = {std::min(fromMiddle.first, range.first - middle),
                          std::max(fromMiddle.last, range.last - middle)};
            middles[n - tile] = middle;
        }
        for (int n = tile; n < end; ++n)
            m_origins[n] = size + tileAngles * (-middles[n - tile] - fromMiddle.first) + (n - tile);
        size += tileAngles * (fromMiddle.last - fromMiddle.first + 1);
    }
    m_counters.reset(new int[size]);
    std::fill_n(m_counters.get(), size, m_spare);
}

Cells Accumulator::cells() const {
    return {m_cosines.get(), m_sines.get(), m_origins.get(), m_angleCount, m_counters.get()};
}

int Accumulator::vote(Point point) {
    const int winner = m_single ? vectorised<addVotes<float>>(cells(), point, m_spare)
                                : vectorised<addVotes<double>>(cells(), point, m_spare);
    return m_spare == 0 && winner == noAngle ? 0 : winner;
}

void Accumulator::giveBack(Point point) {
    if (m_single)
        vectorised<takeBack<float>>(cells(), point);
    else
        vectorised<takeBack<double>>(cells(), point);
}

}  // namespace skylevel
