// The accumulator of the Hough transform: a counter for every angle and distance that a line can have,
// and the votes that pixels cast for the lines through them.
#pragma once

#include <memory>

#include "platform/dispatch.h"
#include "skylevel/analysis.h"

namespace skylevel {

struct Point {
    int x;
    int y;
};

// cos and sin of one angle, divided by rho.
struct Direction {
    float c;
    float s;
};

// What is added to a distance before it is truncated. In single precision the sum would round up to a
// whole number just below a half; with the float below it, the sum truncates as the double one does for
// every distance up to 2^23, past which floats have no room for a half.
template <typename Real>
inline constexpr Real almostHalf = 0.5;
template <>
inline constexpr float almostHalf<float> = 0x1.fffffep-2f;
inline constexpr int singleLimit = 1 << 23;

// Not rounding to nearest for negative distances: everything between -1.5 and 0.5 is index 0.
// float, products rounded before the add.
template <typename Real>
SKYLEVEL_KERNEL int distanceIndex(Direction d, float x, float y) {
    const float distance = x * d.c + y * d.s;
    return static_cast<int>(static_cast<Real>(distance) + almostHalf<Real>);
}

// The indices of all pixels of a map for one angle.
struct IndexRange {
    int first;
    int last;
};

// The angles and distances of the lines through the pixels of a map.
struct Grid {
    int width;
    int height;
    int angleCount;
    int distanceCount;
    double theta;
    double scale;  // 1 / rho

    // Whether distances are small enough for single precision.
    bool isSingle() const { return distanceCount <= singleLimit; }
    Direction direction(int n) const;
    IndexRange indices(Direction d) const;
    bool holdsMap() const;
};

// returns false, with grid of no use, when the parameters give no accumulator or one that some pixel of
// the map would vote outside of.
bool makeGrid(const HoughParams& parameters, int width, int height, Grid& grid);

// What the vote kernels work on: an accumulator's arrays.
struct Cells {
    const float* cosines;
    const float* sines;
    const int* origins;
    int angleCount;
    int* counters;
};

// Counters run down: each holds the votes that its line can still get without reaching the threshold, and
// is below 0 from then on. Only distances that some pixel of the map has take memory, but for the padding of
// tiles.
//
// In a tile, four angles have their counters of a distance side by side, and distances count from the
// middle of the map, where they change least from one angle to the next: so a point's counters share cache
// lines, which saves 2 % of the search on a map of 256x192 and 5 % on one of 400x224.
class Accumulator {
public:
    static constexpr int noAngle = -1;

    Accumulator(const Grid& grid, int threshold);

    Direction direction(int n) const { return {m_cosines[n], m_sines[n]}; }

    // Adds a point's votes.
    // returns the angle of the line through the point that has the most votes, the first of equals, or
    //         noAngle while that is fewer than the threshold. A single vote wins for angle 0 only.
    int vote(Point point);

    // Takes a point's votes away, whether or not they were ever cast.
    void giveBack(Point point);

private:
    Cells cells() const;

    int m_angleCount;
    int m_spare;    // what counters start at
    bool m_single;  // as of the grid
    std::unique_ptr<float[]> m_cosines;
    std::unique_ptr<float[]> m_sines;
    std::unique_ptr<int[]> m_origins;  // for each angle, where the counter of distance index 0 is or would be
    std::unique_ptr<int[]> m_counters;
};

}  // namespace skylevel
