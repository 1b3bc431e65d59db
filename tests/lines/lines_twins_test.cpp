// The fast line finders against their definitions.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "lines/accumulator.h"
#include "skylevel/analysis.h"
#include "tests/plain/lines.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

constexpr float degree = 0.017453292f;

// One pixel in `of` is an edge; another in `of` has the nearest value that is none.
Bytes dots(int width, int height, int of, unsigned seed) {
    Random random(seed);
    Bytes map(width * height);
    for (auto& pixel : map) {
        const int value = random.below(of);
        pixel = static_cast<unsigned char>(value < 2 ? 255 - value : 0);
    }
    return map;
}

void expectTheDefinition(const Bytes& map, int width, int height, HoughParams p) {
    SCOPED_TRACE(testing::Message() << width << "x" << height << " rho " << p.rho << " theta " << p.theta);
    plain::Map left(map.begin(), map.end());
    const auto expected =
        plain::Hough(left, width, height, p).segments(static_cast<int>(p.threshold), static_cast<int>(p.lineLength));
    _Line* lines = nullptr;
    int count = -1;
    ASSERT_EQ(houghLine(map.data(), width, height, &p.rho, lines, count), 0);
    const std::unique_ptr<_Line[]> owner(lines);
    std::vector<plain::Segment> segments;
    for (const _Line* l = lines; l < lines + count; ++l)
        segments.push_back({l->x0, l->y0, l->x1, l->y1, l->pixelCount, l->edgeCount});
    EXPECT_EQ(segments, expected);
    EXPECT_TRUE(sameBits(map, left));
}

TEST(SegmentTwins, FindTheSame) {
    const HoughParams params[] = {{1, degree, 5, 3, 2}, {0.7f, 0.05f, 1, 0, 8}, {1.9f, 0.3f, 3, 2, 0}};
    for (int n = 1; n <= 67; ++n)
        for (const int of : {1, 3, 20, 5000}) expectTheDefinition(dots(n, 68 - n, of, n), n, 68 - n, params[n % 3]);
    // As many angles as the cells of a batch or a round of lookups, and around that.
    for (const int angles : {1, 2, 3, 5, 6, 7, 12, 13, 255, 256, 257, 511, 518})
        expectTheDefinition(dots(60, 50, 9, angles), 60, 50, {1, 3.1415927f / static_cast<float>(angles), 6, 4, 3});
    // Few distances, so that the bounds are told by all angles; and more than single precision can tell.
    expectTheDefinition(dots(20, 15, 4, 1), 20, 15, {4.1f, degree, 9, 3, 1});
    expectTheDefinition(dots(3, 2, 1, 1), 3, 2, {1.3e-6f, 3, 1, 1, 1});
}

// Both forms only ever step up, so they are the same where they agree on both sides of every step.
TEST(SegmentTwins, RoundAlike) {
    const auto expectSame = [](float v) {
        const int single = skylevel::distanceIndex<float>({v, 0.0f}, 1.0f, 0.0f);
        // An expectation each would take longer than all of the comparisons.
        if (single != static_cast<int>(static_cast<double>(v) + 0.5)) ADD_FAILURE() << v << " gives " << single;
    };
    constexpr float inf = std::numeric_limits<float>::infinity();
    for (int k = 1; k < skylevel::singleLimit; ++k)
        for (const float step : {static_cast<float>(k) - 0.5f, -static_cast<float>(k) - 0.5f}) {
            expectSame(std::nextafter(step, -inf));
            expectSame(step);
            expectSame(std::nextafter(step, inf));
        }
}

TEST(TopEdgeTwins, JudgeTheSame) {
    TiltCorrection corrector(nullptr, 0, 0, 0);
    Random random(7);
    for (int width = 1; width <= 67; ++width)
        for (int repeat = 0; repeat < 40; ++repeat) {
            const int height = 1 + random.below(90);
            const Bytes map = dots(width, height, 2 << random.below(12), width + 100 * repeat);
            std::fill_n(map.data(), width * random.below(height + 1), 254);
            HorizonFitParams params = {random.below(9) * 0.125, random.below(9) * 0.125, 4.0};

            auto [x, y] = plain::profile({map.begin(), map.end()}, width, height);
            const int count = static_cast<int>(x.size());
            const int top = y.empty() ? height : *std::min_element(y.begin(), y.end());
            int status = 0;
            double expected = std::numeric_limits<double>::max(), fitted = 0.0, residual = 0.0;
            if (count > width * params.coverageRatio && top > height * params.rowRatio) {
                status = corrector.fitLine(x.data(), y.data(), count, fitted, residual);
                if (status == 0 && residual < params.maxResidual) expected = fitted;
            }
            double angle = 5.0;
            EXPECT_EQ(corrector.horizonDetection(map.data(), width, height, &params.coverageRatio, angle), status);
            EXPECT_EQ(angle, expected) << width << "x" << height << ", " << count << " points from row " << top;
        }
}

}  // namespace
