#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

constexpr float sqrt2 = 1.4142135f;

using Plane = std::vector<float>;

Plane gaussTaps(float sigma) {
    float* taps = nullptr;
    int size = 0;
    EXPECT_EQ(MakeGauss(sigma, taps, size), 0);
    const std::unique_ptr<float[]> owner(taps);
    return {taps, taps + size};
}

Plane derivativeTaps(const Plane& gauss) {
    const int n = static_cast<int>(gauss.size());
    Plane taps(n);
    float positive = 0.0f;
    float rest = 0.0f;
    for (int i = 0; i < n; ++i) {
        taps[i] = gauss[std::min(i + 1, n - 1)] - gauss[std::max(i - 1, 0)];
        if (i > 0 && i < n - 1) taps[i] = taps[i] * 0.5f;
        (taps[i] > 0.0f ? positive : rest) += taps[i];
    }
    for (float& tap : taps) tap = tap / (tap > 0.0f ? positive : std::fabs(rest));
    return taps;
}

// One pass of reversed taps along the rows or down the columns, one sum at a time.
Plane pass(const Plane& in, int width, int height, Plane taps, bool down) {
    std::reverse(taps.begin(), taps.end());
    const int n = static_cast<int>(taps.size());
    Plane out;
    for (int i = 0; i < width * height; ++i) {
        float sum = 0.0f;
        for (int t = -(n - 1) / 2; t <= n / 2; ++t) {
            const int row = down ? std::clamp(i / width + t, 0, height - 1) : i / width;
            const int column = down ? i % width : std::clamp(i % width + t, 0, width - 1);
            sum = sum + in[row * width + column] * taps[t + (n - 1) / 2];
        }
        out.push_back(sum);
    }
    return out;
}

TEST(Smoothing, HasItsTapsAroundTheCentre) {
    const std::pair<float, std::size_t> sizes[] = {{0.3f, 8},  {1.0f, 8},  {1.01f, 16},
                                                   {2.0f, 16}, {2.5f, 24}, {100.0f, 800}};
    for (const auto& [sigma, size] : sizes) {
        const Plane taps = gaussTaps(sigma);
        EXPECT_EQ(taps.size(), size) << sigma;
        EXPECT_NEAR(std::accumulate(taps.begin(), taps.end(), 0.0), 1.0, 1e-5) << sigma;
    }
    const Plane gauss = gaussTaps(sqrt2);
    ASSERT_EQ(gauss.size(), 16u);
    const Plane derivative = derivativeTaps(gauss);
    const std::pair<float, float> known[] = {
        {gauss[7], 0.282095f},     {gauss[6], 0.219696f},      {gauss[8], 0.219696f},      {gauss[0], 1.34985e-06f},
        {gauss[15], 3.17455e-08f}, {derivative[6], 0.355342f}, {derivative[8], -0.355362f}};
    for (const auto& [tap, value] : known) EXPECT_NEAR(tap / value, 1.0f, 4e-6f) << value;
    EXPECT_EQ(derivative[7], 0.0f);
}

TEST(Smoothing, IsItsDefinitionToTheBit) {
    const struct {
        int width, height;
        float sigma;
    } cases[] = {{1, 1, sqrt2}, {1, 2, sqrt2},   {2, 1, sqrt2},   {1, 40, sqrt2},  {40, 1, sqrt2},
                 {3, 5, 0.5f},  {7, 8, 1.01f},   {15, 9, sqrt2},  {16, 16, sqrt2}, {17, 31, sqrt2},
                 {33, 6, 2.5f}, {64, 19, sqrt2}, {67, 43, sqrt2}, {5, 4, 12.0f},   {90, 70, 3.0f}};
    for (const auto& [width, height, sigma] : cases) {
        SCOPED_TRACE(testing::Message() << width << "x" << height << " sigma " << sigma);
        const Picture src = noise(width, height, width, 31);
        const Floats x(width * height), y(width * height), length(width * height);
        EXPECT_EQ(SmoothGradient(src.pixels.data(), width, height, sigma, x.data(), y.data()), 0);
        const Plane plane(src.pixels.begin(), src.pixels.end());
        const Plane gauss = gaussTaps(sigma);
        const Plane derivative = derivativeTaps(gauss);
        EXPECT_TRUE(sameBits(x, pass(pass(plane, width, height, gauss, true), width, height, derivative, false)));
        EXPECT_TRUE(sameBits(y, pass(pass(plane, width, height, gauss, false), width, height, derivative, true)));
        EXPECT_EQ(GradMagnitude(x.data(), y.data(), width, height, length.data()), 0);
        Plane lengths;
        for (std::size_t i = 0; i < x.size(); ++i) lengths.push_back(std::sqrt(x[i] * x[i] + y[i] * y[i]));
        EXPECT_TRUE(sameBits(length, lengths));
    }
}

TEST(Flip, ReversesInPlace) {
    for (int n = -1; n <= 9; ++n) {
        Plane values(10);
        std::iota(values.begin(), values.end(), 0.0f);
        Plane expected = values;
        std::reverse(expected.begin(), expected.begin() + std::max(n, 0));
        flip(values.data(), n);
        EXPECT_EQ(values, expected) << n;
    }
}

}  // namespace
