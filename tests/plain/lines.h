// The line finders by their definitions, one value at a time: what the fast forms are held against.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <utility>
#include <vector>

#include "skylevel/analysis.h"

namespace plain {

using Map = std::vector<unsigned char>;
using Segment = std::array<int, 6>;

// The accumulator, and the segments found by it. Walks are addressed by the number of steps from the
// drawn pixel; parameters are whole or truncate to what the transform uses.
class Hough {
public:
    Hough(Map& map, int width, int height, const HoughParams& p)
        : m_map(map), m_width(width), m_height(height), m_gap(static_cast<int>(p.lineGap)) {
        const double theta = static_cast<double>(p.theta);
        const float distances = static_cast<float>(2 * (width + height) + 1) / p.rho;
        const int angleCount = static_cast<int>(3.141592653589793 / theta + 0.5);
        m_distanceCount = static_cast<int>(static_cast<double>(distances) + 0.5);
        m_votes.resize(std::size_t(angleCount) * m_distanceCount);
        const double scale = static_cast<double>(1.0f / p.rho);
        for (int n = 0; n < angleCount; ++n)
            m_table.push_back(
                {static_cast<float>(scale * std::cos(n * theta)), static_cast<float>(scale * std::sin(n * theta))});
    }

    std::vector<Segment> segments(int threshold, int lineLength) {
        std::vector<Point> points;
        for (int y = 0; y < m_height; ++y)
            for (int x = 0; x < m_width; ++x)
                if (m_map[y * m_width + x] == 255) points.push_back({x, y});
        std::vector<Segment> found;
        for (std::uint64_t state = 4294967295; !points.empty();) {
            Point& drawn = points[rng(state, static_cast<int>(points.size()))];
            const Point start = std::exchange(drawn, points.back());
            points.pop_back();
            if (m_map[start.y * m_width + start.x] != 255) continue;
            int most = 1, winner = 0;
            for (std::size_t n = 0; n < m_table.size(); ++n)
                if (const int votes = ++counter(n, start); votes > most) most = votes, winner = static_cast<int>(n);
            if (most < threshold) continue;

            const int ends[] = {reach(start, winner, 1), reach(start, winner, -1)};
            const Point first = walk(start, winner, ends[0]), last = walk(start, winner, -ends[1]);
            const bool good = std::max(std::abs(first.x - last.x), std::abs(first.y - last.y)) >= lineLength;
            int edgeCount = 0;
            for (int k = -ends[1]; k <= ends[0]; ++k) edgeCount += consume(walk(start, winner, k), good);
            if (good) found.push_back({first.x, first.y, last.x, last.y, ends[0] + ends[1] + 2, edgeCount});
        }
        return found;
    }

private:
    struct Point {
        int x, y;
    };
    struct Direction {
        float c, s;
    };

    int& counter(std::size_t n, Point p) {
        const float distance = static_cast<float>(p.x) * m_table[n].c + static_cast<float>(p.y) * m_table[n].s;
        const int index = static_cast<int>(static_cast<double>(distance) + 0.5) + (m_distanceCount - 1) / 2;
        return m_votes.at(n * m_distanceCount + index);
    }

    Point walk(Point start, int n, int k) const {
        const auto [c, s] = m_table[n];
        const bool level = std::fabs(s) > std::fabs(c);
        const float ratio = level ? (c * -65536.0f) / s : (s * 65536.0f) / std::fabs(c);
        const auto slope = static_cast<std::int64_t>(static_cast<double>(ratio) + 0.5);
        const std::int64_t across = (level ? start.y : start.x) * std::int64_t{65536} + 32768 + k * slope;
        const int other = static_cast<int>(across >> 16);
        return level ? Point{start.x + k, other} : Point{other, start.y + (c < 0.0f ? k : -k)};
    }

    // Steps to the last edge pixel in a direction.
    int reach(Point start, int n, int direction) const {
        int end = 0;
        for (int k = 0, missed = 0; missed <= m_gap; ++k) {
            const Point p = walk(start, n, k * direction);
            if (p.x < 0 || p.y < 0 || p.x >= m_width || p.y >= m_height) break;
            missed = m_map[p.y * m_width + p.x] == 255 ? 0 : missed + 1;
            if (missed == 0) end = k;
        }
        return end;
    }

    int consume(Point p, bool good) {
        if (m_map[p.y * m_width + p.x] != 255) return 0;
        for (std::size_t n = 0; good && n < m_table.size(); ++n) --counter(n, p);
        m_map[p.y * m_width + p.x] = 0;
        return 1;
    }

    Map& m_map;
    int m_width, m_height, m_gap, m_distanceCount;
    std::vector<int> m_votes;
    std::vector<Direction> m_table;
};

// The columns and the rows of the top-edge profile.
inline std::pair<std::vector<int>, std::vector<int>> profile(const Map& map, int width, int height) {
    std::pair<std::vector<int>, std::vector<int>> points;
    for (int c = 0; c < width; ++c)
        for (int r = 0; r < height; ++r)
            if (map[r * width + c] == 255) {
                points.first.push_back(c);
                points.second.push_back(r);
                break;
            }
    return points;
}

}  // namespace plain
