#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/guarded.h"
#include "tests/support/log_capture.h"

namespace {

constexpr float degree = 0.017453292f;
constexpr float square = 1.5707964f;  // two angles only: upright and level
constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr HoughParams usual = {1.0f, degree, 16.0f, 6.4f, 8.0f};

using Record = std::vector<int>;

std::vector<Record> segmentsOf(const Bytes& map, int width, int height, HoughParams params) {
    _Line* lines = nullptr;
    int count = -1;
    EXPECT_EQ(houghLine(map.data(), width, height, &params.rho, lines, count), 0);
    const std::unique_ptr<_Line[]> owner(lines);
    std::vector<Record> records;
    for (const _Line* l = lines; l < lines + count; ++l)
        records.push_back({l->x0, l->y0, l->x1, l->y1, l->pixelCount, l->edgeCount});
    // The array holds 100 records or doubles of that; those not in use are zero.
    for (int i = count; i < (count > 100 ? 200 : 100); ++i)
        EXPECT_EQ(lines[i].x0 | lines[i].y1 | lines[i].edgeCount, 0);
    return records;
}

TEST(Generator, MultipliesWithCarry) {
    std::uint64_t state = 4294967295;
    EXPECT_EQ(rng(state, 10), 6u);
    EXPECT_EQ(static_cast<std::uint32_t>(state), 130063606u);
    EXPECT_EQ(rng(state, -1), 3003295397u) << "the bound is unsigned";
    EXPECT_EQ(rng(state, 0), 0u) << "and the state advances";
    EXPECT_EQ(static_cast<std::uint32_t>(state), 3870020839u);
    EXPECT_EQ(rng(state, 1), 0u);
    EXPECT_EQ(static_cast<std::uint32_t>(state), 1350273629u);
}

TEST(Segments, OfPlainRuns) {
    struct Run {
        int row, column, length;
        bool upright = false;
    };
    const struct {
        const char* name;
        std::vector<Run> runs;
        HoughParams params;
        std::vector<Record> segments;
        int left;  // edge pixels still in the map
    } cases[] = {
        {"nothing", {}, usual, {}, 0},
        {"level", {{100, 20, 100}}, usual, {{119, 100, 20, 100, 101, 100}}, 0},
        {"upright", {{10, 50, 100, true}}, usual, {{50, 10, 50, 109, 101, 100}}, 0},
        {"a gap of 8", {{100, 20, 40}, {100, 68, 40}}, usual, {{107, 100, 20, 100, 89, 80}}, 0},
        // The other run's votes are gone with the first one's.
        {"a gap of 9", {{100, 20, 40}, {100, 69, 40}}, {1, square, 16, 6, 8}, {{108, 100, 69, 100, 41, 40}}, 40},
        {"no gap", {{10, 50, 30, true}, {41, 50, 30, true}}, {1, square, 16, 6, 0.9f}, {{50, 41, 50, 70, 31, 30}}, 30},
        {"fewer pixels than votes", {{100, 20, 15}}, usual, {}, 15},
        {"too short to report", {{100, 20, 20}}, {1, square, 16, 20.9f, 8}, {}, 0},
        {"just long enough", {{100, 20, 21}}, {1, square, 16, 20.9f, 8}, {{40, 100, 20, 100, 22, 21}}, 0},
        {"a dot", {{60, 70, 1}}, {1, degree, 1, 1, 8}, {}, 0},
        {"a dot, any length", {{60, 70, 1}}, {1, degree, 0, 0, 8}, {{70, 60, 70, 60, 2, 1}}, 0},
        {"limits not numbers", {{60, 70, 1}}, {1, degree, nan, nan, nan}, {{70, 60, 70, 60, 2, 1}}, 0},
        {"limits beyond int", {{60, 70, 9}}, {1, degree, inf, inf, inf}, {}, 9},
        {"limits below int", {{60, 70, 1}}, {1, degree, -inf, -inf, -inf}, {{70, 60, 70, 60, 2, 1}}, 0},
    };
    for (const auto& c : cases) {
        Bytes map(160 * 120);
        std::fill(map.begin(), map.end(), 254);  // the nearest value that is no edge
        for (const Run& run : c.runs)
            for (int k = 0; k < run.length; ++k) map[run.row * 160 + run.column + k * (run.upright ? 160 : 1)] = 255;
        EXPECT_EQ(segmentsOf(map, 160, 120, c.params), c.segments) << c.name;
        EXPECT_EQ(std::count(map.begin(), map.end(), 255), c.left) << c.name;
    }
    Bytes dots(220 * 110);
    std::fill(dots.begin(), dots.end(), 0);
    for (int i = 0; i < 101; ++i) dots[(2 * (i / 11) + 1) * 220 + 20 * (i % 11)] = 255;
    EXPECT_EQ(segmentsOf(dots, 220, 110, {1, degree, 1, 0, 0}).size(), 101u) << "the list has grown";
}

TEST(Segments, AreLoggedAndRefused) {
    const LogCapture log;
    Bytes map(160 * 120);
    std::fill(map.begin(), map.end(), 0);
    map[7] = map[700] = 255;
    segmentsOf(map, 160, 120, usual);
    EXPECT_EQ(
        log.take(),
        Lines({"D rho is : 1.000000,  theta is : 0.017453,  threashold is : 16,  lineLength is : 6, lineGap is: 8",
               "D numangle is : 180,  numrho is : 561", "D edge point count is : 2"}));
    const struct {
        int width, height;
        float rho, theta;
    } cases[] = {{32768, 1, 1, degree}, {1, 32768, 1, degree}, {4, 4, 0, degree},     {4, 4, -1, degree},
                 {4, 4, nan, degree},   {4, 4, inf, degree},   {4, 4, 1, 0},          {4, 4, 1, -degree},
                 {4, 4, 1, nan},        {4, 4, 1, inf},        {4, 4, 1, 6.3f},       {4, 4, 1e-8f, degree},
                 {4, 4, 1, 1e-9f},      {4, 4, 40, degree},    {4, 4, 1e30f, degree}, {4, 4, 1e-40f, degree}};
    for (const auto& c : cases) {
        unsigned char pixels[16] = {255, 255, 255, 255};
        HoughParams params = {c.rho, c.theta, 1, 1, 8};
        _Line* lines = nullptr;
        int count = -5;
        EXPECT_EQ(houghLine(pixels, c.width, c.height, &params.rho, lines, count), -1)
            << c.width << "x" << c.height << " rho " << c.rho << " theta " << c.theta;
        EXPECT_TRUE(lines == nullptr && count == -5 && pixels[0] == 255);
    }
    EXPECT_EQ(log.take(), Lines());
}

}  // namespace
