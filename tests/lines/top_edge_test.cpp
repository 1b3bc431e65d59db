// The line through the top edge, and the mean of a map.
#include <gtest/gtest.h>

#include <limits>
#include <vector>

#include "skylevel/skylevel.h"
#include "tests/support/guarded.h"
#include "tests/support/log_capture.h"

namespace {

constexpr double noAngle = std::numeric_limits<double>::max();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class TopEdge : public testing::Test {
protected:
    LogCapture log;
    TiltCorrection corrector{nullptr, 0, 0, 0};
};

using Mean = TopEdge;

TEST_F(TopEdge, FitsThePrincipalAxis) {
    struct {
        std::vector<int> x, y;
        double angle, residual;
    } cases[] = {{{0, 1, 2, 3}, {7, 7, 7, 7}, 0.0, 0.0}, {{0, 2, 4, 6}, {5, 6, 7, 8}, 26.56505117707799, 0.0},
                 {{0, 1}, {1, 0}, -45.0, 0.0},           {{4, 4, 4, 4}, {0, 1, 2, 9}, 90.0, 3.0},
                 {{0, 1, 2, 3}, {0, 2, 2, 0}, 0.0, 1.0}, {{0, 100000, 200000}, {0, 100000, 200000}, 45.0, 0.0}};
    double angle = 0.0, residual = 0.0;
    for (auto& c : cases) {
        EXPECT_EQ(corrector.fitLine(c.x.data(), c.y.data(), static_cast<int>(c.x.size()), angle, residual), 0);
        EXPECT_DOUBLE_EQ(angle, c.angle);
        EXPECT_NEAR(residual, c.residual, 1e-9) << c.angle;
    }
    int x[] = {1, 2};
    angle = residual = 5.0;
    for (const int count : {1, 0, -1}) EXPECT_EQ(corrector.fitLine(x, x, count, angle, residual), -1);
    EXPECT_EQ(corrector.fitLine(nullptr, x, 2, angle, residual) + corrector.fitLine(x, nullptr, 2, angle, residual),
              -2);
    EXPECT_TRUE(angle == 5.0 && residual == 5.0);
    EXPECT_EQ(log.take(), Lines());
}

TEST_F(TopEdge, JudgesTheProfile) {
    // Edges in row `row` at the first `count` of 40 columns of a map 30 rows high, and a dot in column 0.
    const struct {
        const char* name;
        int count, row, dotRow, value;
        HorizonFitParams params;
        int status;
        double angle;
    } cases[] = {{"low and level", 40, 28, 29, 255, {0.25, 0.9, 16.0}, 0, 0.0},
                 {"254 is no edge", 40, 28, 29, 254, {0.25, 0.9, 16.0}, 0, noAngle},
                 {"as many columns as the limit", 10, 28, 29, 255, {0.25, 0.9, 16.0}, 0, noAngle},
                 {"one column more", 11, 28, 29, 255, {0.25, 0.9, 16.0}, 0, 0.0},
                 {"a row on the limit", 40, 27, 29, 255, {0.25, 0.9, 16.0}, 0, noAngle},
                 {"one dot too high", 40, 28, 5, 255, {0.25, 0.9, 16.0}, 0, noAngle},
                 {"a dot in the top row", 40, 28, 0, 255, {0.25, 0.0, 16.0}, 0, noAngle},
                 {"a residual at the limit", 40, 28, 29, 255, {0.25, 0.9, 0.0}, 0, noAngle},
                 {"a single point", 1, 28, 29, 255, {0.0, 0.9, 16.0}, -1, noAngle},
                 {"no column needed, none there", 0, 28, 29, 254, {0.0, 0.9, 16.0}, 0, noAngle},
                 {"not numbers", 40, 28, 29, 255, {nan, nan, 16.0}, 0, noAngle},
                 {"ratio below 0", 40, 28, 29, 255, {-1e-9, 0.9, 16.0}, -1, 5.0},
                 {"ratio below 0", 40, 28, 29, 255, {0.25, -1e-9, 16.0}, -1, 5.0},
                 {"ratio above 1", 40, 28, 29, 255, {1.000001, 0.9, 16.0}, -1, 5.0},
                 {"ratio above 1", 40, 28, 29, 255, {0.25, 1.000001, 16.0}, -1, 5.0}};
    for (const auto& c : cases) {
        Bytes map(40 * 30);
        std::fill(map.begin(), map.end(), 0);
        std::fill_n(&map[c.row * 40], c.count, static_cast<unsigned char>(c.value));
        map[c.dotRow * 40] = static_cast<unsigned char>(c.value);
        map.makeReadOnly();
        HorizonFitParams params = c.params;
        double angle = 5.0;
        EXPECT_EQ(corrector.horizonDetection(map.data(), 40, 30, &params.coverageRatio, angle), c.status) << c.name;
        EXPECT_EQ(angle, c.angle) << c.name;
        EXPECT_EQ(log.take(), Lines({"D Enter horizonDetection successful!"}));
    }
}

TEST_F(Mean, IsTakenInBlocks) {
    const int block = 8388608;
    std::vector<unsigned char> values(2 * block, 0);
    std::fill_n(values.begin(), block, 255);
    const struct {
        int start, count;
        double mean;
    } cases[] = {{0, 1, 255.0},
                 {block, 1000, 0.0},
                 {block - 100, 1000, 25.5},
                 {block - 1, block, 255.0 / block},
                 {0, block, 255.0},
                 {0, 2 * block, 127.5},
                 {0, block + 1, 255.0 * block / (block + 1)}};
    double mean = -1.0;
    EXPECT_EQ(
        corrector.mean(nullptr, 1, mean) + corrector.mean(&values[0], 0, mean) + corrector.mean(&values[0], -1, mean),
        -3);
    EXPECT_EQ(mean, -1.0);
    for (const auto& c : cases) {
        EXPECT_EQ(corrector.mean(&values[c.start], c.count, mean), 0);
        EXPECT_DOUBLE_EQ(mean, c.mean) << c.count;
    }
    EXPECT_EQ(log.take(), Lines(10, "D Enter mean successful!"));
}

}  // namespace
