#include "tools/straight_crop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "skylevel/skylevel.h"

using skylevel::Cut;
using skylevel::TurnedCanvas;

namespace {

constexpr double pi = 3.141592653589793;

// A white picture turned: bytes of 254 or 255 where it covers the canvas, 0 elsewhere.
class WhiteTurned {
public:
    WhiteTurned(int sourceWidth, int sourceHeight, double angle) {
        std::vector<unsigned char> white(3 * sourceWidth * sourceHeight, 255);
        TiltCorrection corrector(white.data(), sourceWidth, sourceHeight, sourceWidth);
        unsigned char* turned = nullptr;
        EXPECT_EQ(corrector.rotateImage(white.data(), sourceWidth, sourceHeight, turned, width, height, angle), 0);
        pixels.reset(turned);
    }
    bool covers(int x, int y) const {
        return x >= 0 && y >= 0 && x < width && y < height && pixels[3 * (y * width + x)] >= 254;
    }
    int uncoveredIn(int left, int top, int right, int bottom) const {
        int count = 0;
        for (int y = top; y <= bottom; ++y)
            for (int x = left; x <= right; ++x) count += covers(x, y) ? 0 : 1;
        return count;
    }

    int width = 0;
    int height = 0;

private:
    std::unique_ptr<unsigned char[]> pixels;
};

std::vector<double> manyAngles() {
    std::vector<double> angles = {1e-17, 1e-15, -1e-15, 1e-9, -1e-9, 0.01, -0.01, 89.999, -90.001, 179.999, -179.999};
    for (double angle = -180.0; angle <= 180.0; angle += 7.5) angles.push_back(angle);
    for (double angle = -14.3; angle <= 15.0; angle += 1.7) angles.push_back(angle);
    return angles;
}

// Longer side of the largest rectangle of these proportions in the turned one, in the continuous plane.
double idealLongerSide(int width, int height, double angle) {
    const double c = std::fabs(std::cos(angle * pi / 180.0));
    const double s = std::fabs(std::sin(angle * pi / 180.0));
    return std::max(width, height) * std::min(width / (width * c + height * s), height / (width * s + height * c));
}

TEST(StraightCut, IsFullAndAsLargeAsCanBe) {
    const int sizes[][2] = {{2, 2},   {2, 3},   {3, 2},   {4, 3},   {5, 5},   {7, 31},   {31, 7},   {40, 30},
                            {30, 40}, {41, 29}, {64, 64}, {3, 101}, {101, 2}, {160, 90}, {90, 161}, {333, 222}};
    for (const auto& [width, height] : sizes)
        for (const double angle : manyAngles()) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << " by " << angle);
            const WhiteTurned white(width, height, angle);
            const Cut cut = skylevel::straightCut(width, height, angle);
            const int right = cut.left + cut.width - 1;
            const int bottom = cut.top + cut.height - 1;

            ASSERT_GE(cut.width, 1);
            ASSERT_EQ(white.uncoveredIn(cut.left, cut.top, right, bottom), 0);
            // A pixel more on each side does not fit; whole pixels cost less than one and a half of the shorter side.
            ASSERT_GT(white.uncoveredIn(cut.left - 1, cut.top - 1, right + 1, bottom + 1), 0);
            const double ideal = idealLongerSide(width, height, angle);
            const double thinness = static_cast<double>(std::max(width, height)) / std::min(width, height);
            ASSERT_GT(std::max(cut.width, cut.height), ideal - 1.5 * thinness);
            // The proportions hold to the nearest pixel of the shorter side, the middle to a pixel.
            const double scale = static_cast<double>(std::max(cut.width, cut.height)) / std::max(width, height);
            ASSERT_LE(std::fabs(cut.width - std::max(width * scale, 1.0)), 0.5);
            ASSERT_LE(std::fabs(cut.height - std::max(height * scale, 1.0)), 0.5);
            const TurnedCanvas canvas(width, height, angle);
            ASSERT_LE(std::fabs((cut.left + right) / 2.0 - canvas.middleColumn()), 1.0);
            ASSERT_LE(std::fabs((cut.top + bottom) / 2.0 - canvas.middleRow()), 1.0);
        }
    const Cut whole = skylevel::straightCut(101, 51, 0.0);
    EXPECT_TRUE(whole.left == 0 && whole.top == 0 && whole.width == 101 && whole.height == 51);
    EXPECT_EQ(skylevel::straightCut(1, 4, -108.0).width, 0) << "no pixel near the middle of so thin a picture";
}

TEST(TurnedCanvas, CoversWhatTheTurnCovers) {
    for (const auto& [width, height] : {std::pair{1, 1}, {1, 9}, {9, 1}, {2, 2}, {17, 12}, {57, 80}})
        for (const double angle : manyAngles()) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << " by " << angle);
            const WhiteTurned white(width, height, angle);
            const TurnedCanvas canvas(width, height, angle);
            ASSERT_EQ(canvas.width(), white.width);
            ASSERT_EQ(canvas.height(), white.height);
            for (int y = -1; y <= white.height; ++y)
                for (int x = -1; x <= white.width; ++x) ASSERT_EQ(canvas.covers(x, y), white.covers(x, y));
        }
}

}  // namespace
