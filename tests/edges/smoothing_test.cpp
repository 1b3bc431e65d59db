#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/plain/edges.h"

namespace {

constexpr float sqrt2 = 1.4142135f;

using plain::Plane;

TEST(Smoothing, HasItsTapsAroundTheCentre) {
    const std::pair<float, std::size_t> sizes[] = {{0.3f, 8},  {1.0f, 8},  {1.01f, 16},
                                                   {2.0f, 16}, {2.5f, 24}, {100.0f, 800}};
    for (const auto& [sigma, size] : sizes) {
        const Plane taps = plain::gaussTaps(sigma);
        EXPECT_EQ(taps.size(), size) << sigma;
        EXPECT_NEAR(std::accumulate(taps.begin(), taps.end(), 0.0), 1.0, 1e-5) << sigma;
    }
    const Plane gauss = plain::gaussTaps(sqrt2);
    ASSERT_EQ(gauss.size(), 16u);
    const Plane derivative = plain::derivativeTaps(gauss);
    const std::pair<float, float> known[] = {
        {gauss[7], 0.282095f},     {gauss[6], 0.219696f},      {gauss[8], 0.219696f},      {gauss[0], 1.34985e-06f},
        {gauss[15], 3.17455e-08f}, {derivative[6], 0.355342f}, {derivative[8], -0.355362f}};
    for (const auto& [tap, value] : known) EXPECT_NEAR(tap / value, 1.0f, 4e-6f) << value;
    EXPECT_EQ(derivative[7], 0.0f);
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
