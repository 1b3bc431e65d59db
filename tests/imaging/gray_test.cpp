// Colour to gray, subsampling, the decimation filter, and the orientation from gravity.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <vector>

#include "skylevel/skylevel.h"
#include "tests/support/bits.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

using Plane = std::vector<unsigned char>;

struct Imaging : testing::Test {
    Plane decimated(const Picture& src) {
        const Bytes out((src.width / 8) * (src.height / 8));
        EXPECT_EQ(corrector.bicubic8(src.pixels.data(), out.data(), src.width, src.height), 0);
        EXPECT_EQ(log.take(), Lines({"D Enter bicubic8 successful!"}));
        return {out.begin(), out.end()};
    }

    LogCapture log;
    TiltCorrection corrector{nullptr, 0, 0, 0};
};

TEST_F(Imaging, GrayTruncatesTheWeightedSum) {
    // Red, green, blue, a mixture, and all grays: 65 of them land just below their value.
    unsigned char rgb[3 * 260] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 200, 100, 50};
    for (int v = 0; v < 256; ++v) std::fill_n(rgb + 12 + 3 * v, 3, static_cast<unsigned char>(v));
    const Bytes gray(260);
    EXPECT_EQ(corrector.RGB2Gray(rgb, gray.data(), 20, 13), 0);
    EXPECT_EQ(Plane(gray.begin(), gray.begin() + 4), (Plane{76, 149, 29, 124}));
    int missing = 0;
    for (int v = 0; v < 256; ++v) missing += v - gray[4 + v];
    EXPECT_EQ(missing, 65);
    EXPECT_TRUE(gray[4 + 1] == 0 && gray[4 + 2] == 1 && gray[4 + 100] == 100 && gray[4 + 128] == 127);
    EXPECT_EQ(corrector.RGB2SmallGray(rgb, gray.data(), 20, 13, 8), 0);
    EXPECT_EQ(log.take(), Lines({"D Enter RGB2Gray successful!", "D Enter RGB2SmallGray successful!",
                                 "D Enter RGB2Gray successful!", "D Enter bicubic8 successful!"}));
}

TEST_F(Imaging, SubsamplingPicksSinglePixels) {
    const Picture src = paint(10, 5, 13, [](int r, int c) { return 10 * r + c; });
    const std::pair<int, Plane> cases[] = {{4, {0, 4, 8, 40, 44, 48}}, {9, {0, 9}}, {INT_MAX, {0}}};
    for (const auto& [step, expected] : cases) {
        const Bytes out(expected.size());
        EXPECT_EQ(corrector.DownsampleGray(src.pixels.data(), out.data(), 10, 5, 13, step), 0);
        EXPECT_TRUE(sameBits(out, expected)) << "step " << step;
    }
    EXPECT_EQ(log.take(), Lines());
}

constexpr float taps[16] = {-0.000228881996f, -0.00178527797f, -0.00419616699f, -0.00672912598f,
                            -0.0086517334f,   -0.00923156738f, -0.00773620605f, -0.003433228f,
                            0.00483703613f,   0.0192718506f,   0.0382232666f,   0.0594940186f,
                            0.0808868408f,    0.100204468f,    0.115249634f,    0.123825073f};

// One output of the filter over length samples, `pitch` apart.
unsigned char filtered(const unsigned char* samples, int length, int pitch, int output) {
    float sum = 0.0f;
    for (int k = 0; k < 32; ++k) {
        const int i = std::clamp(8 * output - 12 + k, 0, length - 1);
        sum = sum + taps[std::min(k, 31 - k)] * static_cast<float>(samples[i * pitch]);
    }
    return static_cast<unsigned char>(std::clamp(sum, 0.0f, 255.0f));
}

TEST_F(Imaging, DecimationFollowsTheTapsAtEverySize) {
    std::vector<std::pair<int, int>> sizes = {{8, 8}, {9, 15}, {16, 40}, {33, 8}, {7, 64}, {64, 7}, {1, 1}, {271, 130}};
    // Every number of lines that is left over from groups of eight, every border of groups of 64 pixels.
    for (int n = 1; n <= 67; ++n) sizes.emplace_back(60 + n, 75 - n);
    for (const auto& [width, height] : sizes)
        for (const int top : {255, 1}) {  // two levels only: sums go beyond 0 and 255
            Random random(17);
            const Picture src =
                paint(width, height, width, [&](int, int) { return random.below(top + 1) * 255 / top; });
            Plane rows, expected;
            for (int y = 0; y < height; ++y)
                for (int j = 0; j < width / 8; ++j)
                    rows.push_back(filtered(&src.pixels[y * src.width], src.width, 1, j));
            for (int i = 0; i < height / 8; ++i)
                for (int x = 0; x < width / 8; ++x)
                    expected.push_back(filtered(&rows[x], src.height, src.width / 8, i));
            EXPECT_EQ(decimated(src), expected) << width << "x" << height;
        }
    EXPECT_EQ(decimated(paint(16, 8, 16, [](int, int c) { return c < 8 ? 0 : 255; })), (Plane{20, 234}));
    EXPECT_EQ(decimated(paint(32, 8, 32, [](int, int c) { return 8 * c; })), (Plane{27, 91, 156, 220}));
    for (int v = 0; v < 256; ++v) {
        const int level = v == 247 || v == 251 || v == 255 ? v - 1 : v;
        EXPECT_EQ(decimated(paint(8, 8, 8, [v](int, int) { return v; })), Plane(1, static_cast<unsigned char>(level)));
    }
}

TEST_F(Imaging, OrientationIsTheNearestQuarterTurn) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const auto angleOf = [&](float x, float y, float z) {
        int angle = -1;
        EXPECT_EQ(corrector.computeImageRotation(x, y, z, angle), 0);
        EXPECT_EQ(log.take(), Lines({"I enter computeImageRotation()"}));
        return angle;
    };
    const struct {
        float x, y, z;
        int angle;
    } cases[] = {{0, 9.8f, 9.0f, 90},   {0, 9.8f, 9.01f, 0}, {-5, -5, inf, 0},  {-9.8f, 0, 0, 180},
                 {0, -9.8f, 0, 270},    {1e-5f, 0, 0, 0},    {0, 2e-4f, 0, 90}, {-2e-5f, 0, 0, 180},
                 {-1, 1, 0, 180},       {-1, -1, 0, 270},    {nan, 1, 0, 0},    {1, nan, 0, 0},
                 {inf, 1, 0, 0},        {-inf, -1, 0, 0},    {inf, inf, 0, 0},  {0, -1.1e-4f, nan, 270},
                 {-1e-5f, 1e-4f, 0, 0}, {1, inf, 0, 0},      {1, -inf, 0, 0},   {1, 3e38f, 0, 90}};
    for (const auto& c : cases) EXPECT_EQ(angleOf(c.x, c.y, c.z), c.angle) << c.x << " " << c.y << " " << c.z;
    // Half a degree off the diagonals the turn changes; degrees are minus the direction of (x, y).
    const std::pair<double, int> bounds[] = {{-134.51, 180}, {-134.49, 90}, {-44.51, 90},  {-44.49, 0},
                                             {45.49, 0},     {45.51, 270},  {135.49, 270}, {135.51, 180}};
    for (const auto& [degrees, angle] : bounds) {
        const double t = -degrees * 3.141592653589793 / 180.0;
        EXPECT_EQ(angleOf(static_cast<float>(9.8 * cos(t)), static_cast<float>(9.8 * sin(t)), 0), angle) << degrees;
    }
}

}  // namespace
