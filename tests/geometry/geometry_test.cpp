// Turning, the crop rectangle, and the corrector's life through both.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <memory>
#include <vector>

#include "skylevel/skylevel.h"
#include "tests/plain/geometry.h"
#include "tests/support/bits.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

using Pixels = std::vector<unsigned char>;
using Bounds = std::vector<int>;
using plain::Turned;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

Turned turn(const Bytes& rgb, int width, int height, double angle) {
    TiltCorrection corrector(nullptr, 0, 0, 0);
    unsigned char* dst = nullptr;
    Turned out;
    EXPECT_EQ(corrector.rotateImage(rgb.data(), width, height, dst, out.width, out.height, angle), 0);
    const std::unique_ptr<unsigned char[]> owner(dst);
    out.pixels.assign(dst, dst + 3 * out.width * out.height);
    return out;
}

TEST(Rotation, IsItsDefinitionToTheBit) {
    // The last two cross more source rows than one strip of the canvas takes.
    std::vector<std::pair<int, int>> sizes = {{1, 1}, {1, 8}, {8, 1}, {2, 2}, {30, 901}, {901, 30}};
    for (int n = 2; n <= 67; ++n) sizes.emplace_back(n, 69 - n);
    for (const auto& [width, height] : sizes)
        for (const double angle : {1e-15, 10.0, -10.0, 30.5, 45.0, -89.9, 90.0, -90.0, 123.0, 180.0, -180.0}) {
            // Every other picture is full: there the blend stands on the edge between two values.
            const auto value = [even = width % 2 == 0](int, int c) { return even ? 255 : (c * 2654435761U) >> 24; };
            const Bytes rgb = paint(3 * width * height, 1, 3 * width * height, value).pixels;
            const Turned turned = turn(rgb, width, height, angle);
            const Turned plain = plain::turn(rgb.data(), width, height, angle);
            EXPECT_TRUE(turned.width == plain.width && turned.height == plain.height);
            EXPECT_TRUE(sameBits(turned.pixels, plain.pixels)) << width << "x" << height << " by " << angle;
            EXPECT_TRUE(sameBits(turn(rgb, width, height, 1e-16).pixels, rgb)) << "too small an angle is none";
        }
}

TEST(Rotation, GivesTheKnownResults) {
    const int cases[][5] = {// width, height, angle: the turned size
                            {100, 50, 30, 110, 92},   {640, 480, 10, 713, 583},   {640, 480, -10, 713, 582},
                            {100, 100, 45, 141, 141}, {1000, 100, 90, 100, 1000}, {4, 3, 180, 4, 3}};
    for (const auto& [width, height, angle, turnedWidth, turnedHeight] : cases) {
        const Turned turned = turn(noise(3 * width, height, 3 * width, 3).pixels, width, height, angle);
        EXPECT_TRUE(turned.width == turnedWidth && turned.height == turnedHeight) << width << " by " << angle;
    }
    // Half a turn misses the grid by a hair: row 0 ends in a black pixel.
    const Pixels half = turn(paint(12, 3, 12, [](int r, int c) { return 4 * r + c / 3 + 1; }).pixels, 4, 3, 180).pixels;
    EXPECT_EQ((Pixels{half[0], half[3], half[6], half[9]}), (Pixels{11, 10, 9, 0}));
    // Truncated weights: one blended pixel of a uniform picture falls short.
    const Pixels uniform = turn(paint(27, 1, 27, [](int, int) { return 90; }).pixels, 3, 3, 45).pixels;
    EXPECT_EQ(std::count(uniform.begin(), uniform.end(), 89), 3);

    unsigned char pixel[3] = {};
    unsigned char* dst = pixel;
    int w = -5, h = -6;
    TiltCorrection t(nullptr, 0, 0, 0);
    for (const double a : {180.0000001, -180.0000001, nan}) EXPECT_EQ(t.rotateImage(pixel, 1, 1, dst, w, h, a), -1);
    EXPECT_EQ(t.rotateImage(pixel, 65536, 32768, dst, w, h, 0), -1);
    EXPECT_EQ(t.rotateImage(pixel, 40000, 40000, dst, w, h, 45), -1) << "the result alone is beyond int";
    EXPECT_TRUE(dst == pixel && w == -5 && h == -6);
}

TEST(CropLocation, IsCentredInTheInputFrame) {
    const double cases[][7] = {
        // width, height, angle: left, right, top, bottom
        {640, 480, 0, 0, 639, 0, 479},    {640, 480, 10, 34, 605, 26, 453},    {640, 480, -10, 34, 605, 26, 453},
        {640, 480, 30, 63, 576, 48, 431}, {640, 480, 45, 62, 577, 47, 432},    {101, 51, 0, 0, 99, 0, 49},
        {640, 1, 0, 0, 639, 0, -1},       {640, 480, 90, -106, 745, -79, 558}, {640, 480, 180, 640, -1, 0, 479}};
    TiltCorrection corrector(nullptr, 0, 0, 0);
    _Rect r = {1, 2, 3, 4};
    for (const auto& [width, height, angle, left, right, top, bottom] : cases) {
        EXPECT_EQ(corrector.calCropLoc(static_cast<int>(width), static_cast<int>(height), angle, r), 0);
        EXPECT_TRUE(r.left == left && r.right == right && r.top == top && r.bottom == bottom)
            << width << " at " << angle;
    }
    r = {1, 2, 3, 4};
    EXPECT_EQ(corrector.calCropLoc(0, 480, 0, r) + corrector.calCropLoc(640, 0, 0, r), -2);
    EXPECT_EQ(corrector.calCropLoc(640, 480, nan, r) + corrector.calCropLoc(640, 480, inf, r), -2);
    EXPECT_EQ(corrector.calCropLoc(640, 640, 135, r) + corrector.calCropLoc(2147483647, 1, 60, r), -2) << "beyond int";
    EXPECT_TRUE(r.left == 1 && r.right == 2 && r.top == 3 && r.bottom == 4);
}

TEST(Correction, LivesThroughTurnsAndFailures) {
    LogCapture log;
    const Picture rgb = noise(3 * 64, 48, 3 * 64, 53);
    TiltCorrection corrector(rgb.pixels.data(), 64, 48, 7);
    const struct {
        double angle;
        int status, width, height, sizeStatus;
        Bounds crop;  // the crop rectangle afterwards
        int cropStatus;
    } steps[] = {{200.0, -1, 0, 0, -1, {0, 0, 0, 0}, 0},       {0.0, 0, 64, 48, 0, {0, 63, 0, 47}, 0},
                 {10.0, 0, 71, 58, 0, {4, 59, 3, 44}, 0},      {-200.0, -1, 0, 0, -1, {4, 59, 3, 44}, 0},
                 {90.0, 0, 48, 64, -1, {-10, 73, -7, 54}, -2}, {180.0, 0, 64, 48, 0, {64, -1, 0, 47}, 0}};
    for (const auto& s : steps) {
        SCOPED_TRACE(s.angle);
        EXPECT_EQ(corrector.manuCorrection(s.angle), s.status);
        EXPECT_EQ(log.take(), s.status == 0 ? Lines() : Lines({"D TiltCorrection: ratate image error\n"}));
        EXPECT_EQ(corrector.getRotAngle(), 0.0 - s.angle);
        EXPECT_EQ(corrector.getRotImage() == nullptr, s.status != 0);
        int width = -1, height = -1;
        EXPECT_EQ(corrector.getRotImageSize(width, height), s.sizeStatus);
        EXPECT_EQ(Bounds({width, height}), Bounds({s.width, s.height}));
        // The rectangle's pixels, rows packed; nothing for an empty rectangle or one outside.
        Pixels expected;
        for (int y = s.crop[2]; s.cropStatus == 0 && y <= s.crop[3]; ++y)
            for (int x = 3 * s.crop[0]; x < 3 * (s.crop[1] + 1); ++x) expected.push_back(rgb.at(y, x));
        Bytes out(expected.size());
        EXPECT_EQ(corrector.crop(out.data()), s.cropStatus);
        EXPECT_TRUE(sameBits(out, expected));
    }
}

TEST(Correction, NeedsAnImage) {
    unsigned char pixel[3] = {};
    const Bytes out(3);
    const std::pair<int, int> sizes[] = {{0, 1}, {1, 0}, {-1, 1}, {1, 1}};
    for (const auto& [width, height] : sizes) {
        TiltCorrection corrector(width * height == 1 ? nullptr : pixel, width, height, 1);
        EXPECT_EQ(corrector.manuCorrection(5.0) + corrector.crop(out.data()), -2);
        EXPECT_EQ(corrector.getRotAngle(), -1.7976931348623157e308);
    }
    EXPECT_EQ(TiltCorrection(pixel, 1, 1, 1).crop(nullptr), -1);
    EXPECT_TRUE(out.untouched());
}

}  // namespace
