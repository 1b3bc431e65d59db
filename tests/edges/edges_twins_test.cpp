// The fast edge detector against its definitions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <limits>

#include "skylevel/analysis.h"
#include "tests/plain/edges.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

using plain::Plane;

constexpr float sqrt2 = 1.4142135f;
constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

// One NaN is as good as another.
Plane oneNan(Plane values) {
    for (float& v : values)
        if (std::isnan(v)) v = nan;
    return values;
}

Plane copyOf(const Floats& values) { return {values.begin(), values.end()}; }

void expectTheGradients(const Picture& src, float sigma) {
    const int width = src.width, height = src.height;
    SCOPED_TRACE(testing::Message() << width << "x" << height << " sigma " << sigma);
    const Floats x(width * height), y(width * height), length(width * height);
    ASSERT_EQ(SmoothGradient(src.pixels.data(), width, height, sigma, x.data(), y.data()), 0);
    ASSERT_EQ(GradMagnitude(x.data(), y.data(), width, height, length.data()), 0);
    const auto expected = plain::gradients({src.pixels.begin(), src.pixels.end()}, width, height, sigma);
    EXPECT_TRUE(sameBits(oneNan(copyOf(x)), oneNan(expected.first)));
    EXPECT_TRUE(sameBits(oneNan(copyOf(y)), oneNan(expected.second)));
    Plane lengths;
    for (std::size_t i = 0; i < x.size(); ++i) lengths.push_back(std::sqrt(x[i] * x[i] + y[i] * y[i]));
    EXPECT_TRUE(sameBits(oneNan(copyOf(length)), oneNan(lengths)));
}

TEST(EdgeTwins, SmoothAlike) {
    const auto flat = [](int width, int height, int value) {
        return paint(width, height, width, [=](int, int) { return value; });
    };
    // 8, 16, 24 and 96 taps; with the last one all of the derivative's are NaN.
    const float sigmas[] = {0.5f, sqrt2, 2.5f, 12.0f, 1e-30f};
    for (int n = 1; n <= 67; ++n)
        for (const int other : {1, 5, 68 - n}) {
            expectTheGradients(noise(n, other, n, n), sigmas[n % 5]);
            expectTheGradients(noise(other, n, other, n), sqrt2);
            expectTheGradients(flat(n, other, n % 2 * 255), sqrt2);
        }
    expectTheGradients(noise(130, 150, 130, 1), sqrt2);
    expectTheGradients(noise(65, 200, 65, 2), 4.5f);
}

TEST(EdgeTwins, TakeTheSameLengthsAndThresholds) {
    const float odd[] = {nan, inf, -inf, -1.0f, -0.0f, FLT_MIN, 1e-40f, 3e38f, 63.0f};
    Random random(3);
    for (int round = 0; round < 1500; ++round) {
        const int count = round < 800 ? 2 + round : 2 + random.below(2000);
        const Floats values(count), zeros(count), lengths(count);
        // Mostly whole numbers, which lie on the borders of bins when the largest of them is 63.
        const float scale = round % 3 == 0 ? 1.0f : static_cast<float>(1 + random.below(1000)) / 77.0f;
        for (float& v : values)
            v = round % 4 == 0 && random.below(9) == 0 ? odd[random.below(round % 8 == 0 ? 9 : 7)]
                                                       : static_cast<float>(random.below(64)) * scale;
        std::fill(zeros.begin(), zeros.end(), 0.0f);
        const float highRatio = static_cast<float>(1 + random.below(99)) / 100.0f;
        const auto expected = plain::thresholds(copyOf(values), highRatio, 0.4f);
        float high = 0.0f, low = 0.0f;
        ASSERT_EQ(selectThresholds(values.data(), count, high, low, highRatio, 0.4f), 0);
        EXPECT_TRUE(high == expected.first && low == expected.second) << count << " values, " << high << ' ' << low;

        ASSERT_EQ(GradMagnitude(values.data(), zeros.data(), count, 1, lengths.data()), 0);
        Plane roots;
        for (const float v : values) roots.push_back(std::sqrt(v * v));
        EXPECT_TRUE(sameBits(oneNan(copyOf(lengths)), oneNan(roots))) << count;
    }
}

// Few levels, so that ties, exact diagonals and magnitudes equal to a threshold abound.
TEST(EdgeTwins, SuppressAndGrowAlike) {
    const float levels[] = {0.0f, FLT_EPSILON, 2 * FLT_EPSILON, 1.0f, 1.5f, 2.0f, 2.0f, nan, inf};
    const struct {
        float high, low;
    } thresholds[] = {{1.5f, 1.0f}, {2.0f, 0.5f}, {1.0f, 1.5f}, {2.5f, 0.0f}, {-1.0f, 9.0f}, {1.5f, nan}, {nan, 1.0f}};
    Random random(41);
    for (int round = 0; round < 3000; ++round) {
        const int width = 1 + round % 67;
        const int height = round % 5 == 0 ? 1 + random.below(4) : 1 + random.below(24);
        const Floats x(width * height), y(width * height), m(width * height);
        const Bytes map(width * height);
        const float scale = round % 8 == 0 ? 1e-30f : 0.5f;  // products that vanish have no sign
        const int least = round % 3 * 2;                     // dense maps grow far
        const int most = round % 7 == 0 ? 9 : 7;
        for (std::size_t i = 0; i < m.size(); ++i) {
            x[i] = static_cast<float>(random.below(9) - 4) * scale;
            y[i] = static_cast<float>(random.below(9) - 4) * scale;
            m[i] = levels[least + random.below(most - least)];
            if (round % 11 == 0 && random.below(20) == 0) x[i] = random.below(2) == 0 ? nan : inf;
        }
        const auto [high, low] = thresholds[random.below(7)];
        ASSERT_EQ(thinAndThrehold(map.data(), x.data(), y.data(), m.data(), width, height, high, low), 0);
        EXPECT_TRUE(sameBits(map, plain::edges(copyOf(x), copyOf(y), copyOf(m), width, height, high, low)))
            << "round " << round << ", " << width << "x" << height << " high " << high << " low " << low;
    }
}

// A corridor from the only edge to a plateau of candidates, where growth soon has more pixels in front of it
// than it lists.
TEST(EdgeTwins, GrowOverPlateausAlike) {
    const int width = 500, height = 400, corridor = 200;
    const Floats x(width * height), y(width * height), m(width * height);
    const Bytes map(width * height);
    Random random(5);
    for (const int holes : {4, 100000}) {
        for (int i = 0; i < width * height; ++i) {
            const bool inCorridor = i / width == corridor;
            x[i] = inCorridor ? 0.0f : 1.0f;
            y[i] = 1.0f - x[i];
            m[i] = inCorridor || (i % width > 100 && random.below(holes) != 0) ? 1.0f : 0.0f;
        }
        m[corridor * width + 1] = 2.0f;
        thinAndThrehold(map.data(), x.data(), y.data(), m.data(), width, height, 2.0f, 1.0f);
        const auto expected = plain::edges(copyOf(x), copyOf(y), copyOf(m), width, height, 2.0f, 1.0f);
        EXPECT_GT(std::count(expected.begin(), expected.end(), 255), width * height / 3);
        EXPECT_TRUE(sameBits(map, expected)) << holes;
    }
}

}  // namespace
