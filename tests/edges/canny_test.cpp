// Thresholds, suppression, growth, and the whole edge detector.
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

using Map = std::vector<unsigned char>;
using Plane = std::vector<float>;

constexpr float inf = std::numeric_limits<float>::infinity();
constexpr float nan = std::numeric_limits<float>::quiet_NaN();

TEST(Thresholds, ComeFromTheHistogram) {
    Plane values = {0.0f, 0.49f, 0.5f, 1.49f, 62.5f, 63.0f, 64.0f, inf, -3.0f, -inf, nan};
    std::vector<int> counts(64, 5), expected(64, 5);
    EXPECT_EQ(imHist(values.data(), 63.0f, 11, 64, counts.data()), 0);
    expected[0] += 5;  // 0, 0.49, the negative ones and NaN
    expected[1] += 2;
    expected[63] += 4;
    EXPECT_EQ(counts, expected);

    Plane ramp, spike(100, 0.0f);
    for (int i = 0; i < 64; ++i) ramp.push_back(static_cast<float>(i));
    spike[41] = 50.0f;
    struct {
        Plane values;
        float high, low;
    } cases[] = {{ramp, 44.296875f, 17.71875f},
                 {spike, 0.78125f, 0.3125f},
                 {Plane(10, 1.0f), 1.0f, 0.4f},
                 {Plane(7, 0.0f), FLT_MIN / 64, FLT_MIN / 64 * 0.4f},
                 {{nan, 2.0f, nan, 0.0f, 2.0f}, 2.0f, 0.8f}};
    for (auto& c : cases) {
        float high = 0.0f, low = 0.0f;
        EXPECT_EQ(selectThresholds(c.values.data(), static_cast<int>(c.values.size()), high, low, 0.7f, 0.4f), 0);
        EXPECT_EQ(high, c.high);
        EXPECT_FLOAT_EQ(low, c.low);
    }
}

TEST(Thresholds, RefuseBadParameters) {
    float v[] = {1.0f, 2.0f};
    int bins[64] = {};
    EXPECT_EQ(imHist(nullptr, 63, 2, 64, bins) + imHist(v, 63, 2, 64, nullptr) + imHist(v, 63, 1, 64, bins), -3);
    EXPECT_EQ(imHist(v, 0, 2, 64, bins) + imHist(v, -1, 2, 64, bins) + imHist(v, 63, 2, 1, bins), -3);
    EXPECT_EQ(std::count(bins, bins + 64, 0), 64);
    float h = -5.0f, l = -6.0f;
    for (const int count : {-1, 0, 1}) EXPECT_EQ(selectThresholds(v, count, h, l, 0.7f, 0.4f), -1);
    EXPECT_EQ(selectThresholds(nullptr, 2, h, l, 0.7f, 0.4f), -1);

    unsigned char pixels[16] = {};
    const Bytes out(128);
    auto* const grad = reinterpret_cast<float*>(out.data());
    for (const float ratio : {0.0f, 1.0f, -0.1f, 1.1f}) {
        EXPECT_EQ(selectThresholds(v, 2, h, l, ratio, 0.4f) + selectThresholds(v, 2, h, l, 0.7f, ratio), -2) << ratio;
        EXPECT_EQ(Canny(pixels, 4, 4, 1, ratio, 0.7f, out.data()) + Canny(pixels, 4, 4, 1, 0.4f, ratio, out.data()),
                  -2);
    }
    EXPECT_EQ(Canny(pixels, 4, 4, 1, nan, 0.7f, out.data()) + Canny(pixels, 1, 1, 1, 0.4f, 0.7f, out.data()), -2);
    for (const float sigma : {0.0f, -1.0f, nan, -inf, inf, 268435456.0f}) {
        float* kernel = nullptr;
        int size = -7;
        EXPECT_EQ(MakeGauss(sigma, kernel, size), -1) << sigma;
        EXPECT_TRUE(kernel == nullptr && size == -7);
        EXPECT_EQ(SmoothGradient(pixels, 4, 4, sigma, grad, grad + 16), -1) << sigma;
        EXPECT_EQ(Canny(pixels, 4, 4, sigma, 0.4f, 0.7f, out.data()), -1) << sigma;
    }
    EXPECT_TRUE(out.untouched() && h == -5.0f && l == -6.0f);
}

TEST(Canny, GivesAFramedMapForRatiosInEitherOrder) {
    const struct {
        int width, height;
        Scene scene;
    } cases[] = {{1, 2, {1, 0, 1, 99}},  {2, 1, {1, 0, 1, 99}},   {3, 40, {9, 1, 3, 99}},
                 {40, 3, {9, 1, 3, 99}}, {30, 20, {99, 0, 1, 0}}, {250, 187, {80, 1, 7, 12}}};
    for (const auto& [width, height, scene] : cases) {
        SCOPED_TRACE(testing::Message() << width << "x" << height);
        const Picture src = scene.picture(width, height, width);
        const Bytes edges(width * height), swapped(width * height);
        EXPECT_EQ(Canny(src.pixels.data(), width, height, 1.4142135f, 0.4f, 0.7f, edges.data()), 0);
        EXPECT_EQ(Canny(src.pixels.data(), width, height, 1.4142135f, 0.7f, 0.4f, swapped.data()), 0);
        EXPECT_TRUE(sameBits(edges, swapped));
        for (int i = 0; i < width * height; ++i) {
            const bool frame = i < width || i % width == 0 || i % width == width - 1 || i >= width * (height - 1);
            EXPECT_TRUE(edges[i] == 0 || (edges[i] == 255 && !frame)) << i;
        }
    }
}

TEST(Suppression, IsTheSameEverywhere) {
    // Few levels, so that ties, exact diagonals and magnitudes equal to a threshold abound.
    const float levels[] = {0.0f, FLT_EPSILON, 2 * FLT_EPSILON, 1.0f, 1.5f, 2.0f};
    std::uint64_t hash = 0;
    Random random(41);
    for (int round = 0; round < 200; ++round) {
        const int width = 1 + random.below(24);
        const int height = 1 + random.below(24);
        const Floats x(width * height), y(width * height), m(width * height);
        const float scale = round % 8 == 0 ? 1e-30f : 0.5f;  // products that vanish have no sign
        for (std::size_t i = 0; i < m.size(); ++i) {
            x[i] = static_cast<float>(random.below(9) - 4) * scale;
            y[i] = static_cast<float>(random.below(9) - 4) * scale;
            m[i] = levels[random.below(6)];
        }
        const Bytes edges(width * height);
        const float high = round % 3 == 0 ? 0.0f : 1.5f, low = std::min(high, 1.0f);
        EXPECT_EQ(thinAndThrehold(edges.data(), x.data(), y.data(), m.data(), width, height, high, low), 0);
        hash = fnv1a(edges, hash);
    }
    EXPECT_EQ(hash, 0x101bc9871249aba5);
}

// Growth as it is defined: recursive, neighbours clockwise from the right.
void grow(int row, int col, float low, Map& map, const Floats& magnitude, int width, int height) {
    const int steps[][2] = {{1, 0}, {1, 1}, {0, 1}, {-1, 1}, {-1, 0}, {-1, -1}, {0, -1}, {1, -1}};
    for (const auto& [dx, dy] : steps) {
        const int x = col + dx, y = row + dy;
        if (x < 0 || y < 0 || x >= width || y >= height) continue;
        if (map[y * width + x] != 128 || !(magnitude[y * width + x] >= low)) continue;
        map[y * width + x] = 255;
        grow(y, x, low, map, magnitude, width, height);
    }
}

TEST(Growth, ReachesWhatRecursionReaches) {
    Random random(43);
    for (int round = 0; round < 60; ++round) {
        int width = 1 + random.below(30), height = 1 + random.below(30);
        const Bytes edges(width * height);
        Floats magnitude(width * height);
        for (auto& pixel : edges) pixel = "\x80\x80\x80\0\xff\x01\x07\x7f"[random.below(8)];
        for (auto& m : magnitude) m = static_cast<float>(random.below(4));
        magnitude.makeReadOnly();
        Map expected(edges.begin(), edges.end());
        // One start in four lies just outside the plane; its neighbours inside still count.
        const int row = round % 4 != 0 ? random.below(height) : -1;
        const int col = random.below(width);
        float low = 1.0f;
        unsigned char* map = edges.data();
        float* m = magnitude.data();
        grow(row, col, low, expected, magnitude, width, height);
        TraceEdge(row, col, low, map, m, width, height);
        EXPECT_TRUE(sameBits(edges, expected)) << "round " << round;
    }
}

TEST(Growth, FollowsAChainOfAnyLength) {
    // A serpentine: every other row, joined at alternating ends; half a million pixels.
    int width = 1000, height = 1001;
    Map map(width * height, 0);
    for (int i = 0; i < width * height; ++i)
        if (i / width % 2 == 0 || i % width == (i / width % 4 == 1 ? width - 1 : 0)) map[i] = 128;
    const auto chain = std::count(map.begin(), map.end(), 128);
    Plane magnitude(map.size(), 1.0f);
    unsigned char* edges = map.data();
    float* m = magnitude.data();
    float low = 1.0f;
    TraceEdge(INT_MAX, INT_MIN, low, edges, m, width, height);  // a start far outside reaches nothing
    TraceEdge(0, 0, low, edges, m, width, height);
    EXPECT_EQ(std::count(map.begin(), map.end(), 255), chain);
}

}  // namespace
