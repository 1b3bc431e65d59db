// What every compiler, optimisation level and processor has to give: the one table of whole results, and
// a few results that the platform's maths library can move by its last bit.
#include <gtest/gtest.h>

#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/bits.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

constexpr double none = std::numeric_limits<double>::max();

// An angle behind the maths library may be off by one last bit of it, and so by one in each of the two
// roundings on the way to degrees.
void expectNearly(double angle, double stored, double lastBit) {
    EXPECT_NEAR(angle, stored, 3.0 * lastBit * std::fabs(stored));
}

// A colour picture of a scene, with a cast.
Picture coloured(const Picture& gray) {
    return paint(3 * gray.width, gray.height, 3 * gray.width,
                 [&](int r, int c) { return gray.at(r, c / 3) + 25 * (c % 3) - c / 9 % 7; });
}

std::uint64_t segmentsHash(const Bytes& edges, int width, int height) {
    HoughParams params = {1.0f, 0.017453292f, static_cast<float>(width / 10), static_cast<float>(width / 25), 8.0f};
    _Line* lines = nullptr;
    int count = 0;
    EXPECT_EQ(houghLine(edges.data(), width, height, &params.rho, lines, count), 0);
    const std::unique_ptr<_Line[]> owner(lines);
    return fnv1a(std::vector<_Line>(lines, lines + count), fnv1a(edges));
}

// Gray plane, decimated plane, every third pixel, reduced planes of all four turns, edge map of the gray
// plane, its segments with what they leave of the map.
std::string hashes(const Picture& picture) {
    const int width = picture.width, height = picture.height;
    TiltCorrection t(nullptr, 0, 0, 0);
    const Picture rgb = coloured(picture);
    const Bytes gray(width * height), small((width / 8) * (height / 8)),
        sampled(((width + 2) / 3) * ((height + 2) / 3));
    EXPECT_EQ(t.RGB2Gray(rgb.pixels.data(), gray.data(), width, height), 0);
    EXPECT_EQ(t.RGB2SmallGray(rgb.pixels.data(), small.data(), width, height, 8), 0);
    EXPECT_EQ(t.DownsampleGray(gray.data(), sampled.data(), width, height, width, 3), 0);
    std::uint64_t reduced = 0;
    for (const int turn : {0, 90, 180, 270}) {
        const Bytes plane((width / 4) * (height / 4));
        t.downsampleWithAngle(gray.data(), width, height, width, turn, plane.data(), width / 4, height / 4);
        reduced = fnv1a(plane, reduced);
    }
    const Bytes edges(width * height);
    EXPECT_EQ(Canny(gray.data(), width, height, 1.4142135f, 0.4f, 0.7f, edges.data()), 0);
    const std::uint64_t edgesHash = fnv1a(edges);
    std::string text;
    for (const std::uint64_t hash :
         {fnv1a(gray), fnv1a(small), fnv1a(sampled), reduced, edgesHash, segmentsHash(edges, width, height)}) {
        char word[20];
        std::snprintf(word, sizeof(word), "%s%016llx", text.empty() ? "" : " ", static_cast<unsigned long long>(hash));
        text += word;
    }
    return text;
}

// angles: what the decision finds in the four turns of the scene; at 90 and 270 it is stretched. The last bit
// of an angle counts in single precision, which segments have.
void expectGolden(int width, int height, Scene scene, std::array<double, 4> angles, const char* expected) {
    SCOPED_TRACE(testing::Message() << width << "x" << height);
    EXPECT_EQ(hashes(scene.picture(width, height, width)), expected);
    for (int turn = 0; turn < 4; ++turn) {
        const Picture picture = scene.picture(width, height, width, 90 * turn);
        TiltCorrection corrector(picture.pixels.data(), width, height, width);
        EXPECT_EQ(corrector.detectHorizon(90 * turn), 0);
        expectNearly(0.0 - corrector.getRotAngle(), angles[turn], static_cast<double>(FLT_EPSILON));
    }
}

TEST(Golden, PlanesAreTheSameEverywhere) {
    const LogCapture log;
    expectGolden(
        400, 300, {150, 0, 1, 0}, {0, 0, 0, 0},
        "1268f402ebe0e1b5 521568eadf1b06b1 b347e2f63a4a649d 2ec8d479fe1d901c cab6a88968ced502 54682783a9be7541");
    expectGolden(
        643, 481, {240, -1, 12, 0}, {-4.85660410, -2.91700745, -4.82521677, -2.14758539},
        "92cf965819333727 fae03e81696257cc 21cf13a10139f093 ea27e0d110898fe8 7d0da500b5d65e1d 4efae29a11cca41c");
    expectGolden(
        320, 240, {80, 1, 5, 0}, {10.4374752, 5.93152714, 11.3099327, none},
        "654cc4ef903c3865 f4851a4a80fb243b ceb2bec55a72980d ae339cdd20193fb8 859d4fdcb0fe7b29 98dfba8656c0c9e8");
    expectGolden(
        480, 480, {455, 1, 60, 0}, {0.877573625, 0.877573625, 0.858743411, 1.05957914},
        "8d40c5903f07ed05 9f88a76fa3f9c9ee 095d79c948697155 a9926da32cb54780 c79f0e242395024c f7322cd4a6ef8983");
    expectGolden(
        250, 187, {93, -3, 2, 40}, {none, none, none, none},
        "5744b542a508cf56 9e3222b7c2cd141c 07f172de158eed6f 998c1521df67b8d4 8ad0d33ebcaea318 0ab66389b717e343");
    expectGolden(
        351, 286, {93, 1, 20, 120}, {none, none, none, none},
        "ad5f39170c2d0828 cc6e7b559abd7ce5 b2cebc08c20495cd b8ccee4f28eea946 d336f8fa12934c94 1187fc369a814bc6");
    expectGolden(
        67, 35, {9, 1, 3, 99}, {none, none, none, none},
        "b5097425b5f58dba 8e6cfbdbe8e919db 41254c275e984109 b8bc8ef2b7f934aa 9b498cbe8831dee4 4a08698e9072c960");
    expectGolden(
        64, 67, {99, 0, 1, 0}, {none, none, none, none},
        "31a173aa3874686a b3c23c6852c61925 0d023a28c954ed30 1fd15641c0faf700 d07b266e1018171c c0da8bb25ebda476");
}

TEST(Golden, LinesAndTurnsAreTheSameButForALastBit) {
    TiltCorrection t(nullptr, 0, 0, 0);
    const struct {
        int bend;
        double angle, residual;
    } fits[] = {{30, 64.250248267233673, 7.9855350809863106},
                {-40, -57.152787888572611, 6.1321534837894376},
                {1000, 3.1520207842179446, 1.7523697174732122}};
    for (const auto& fit : fits) {
        std::vector<int> x, y;
        for (int i = 0; i < 60; ++i) {
            x.push_back(i + i % 3);
            y.push_back(i * i / fit.bend + i % 7);
        }
        double angle = 0.0, residual = 0.0;
        EXPECT_EQ(t.fitLine(x.data(), y.data(), 60, angle, residual), 0);
        expectNearly(angle, fit.angle, DBL_EPSILON);
        // A mean distance. The last bits of the angle and of its tangent tilt the line, at most 2.1 steep, by
        // 8 epsilon, which is 120 at the columns' mean distance; three roundings of a distance below 128
        // make 192, those of a mean of 60, whose sum is below 512, another 256.
        EXPECT_NEAR(residual, fit.residual, 600.0 * DBL_EPSILON);
    }

    // A last bit of the sine can move a value across the whole number that it is truncated to.
    const Picture rgb = paint(3 * 7, 5, 3 * 7, [](int r, int c) { return 90 + 7 * r + 8 * (c / 3) + 3 * (c % 3); });
    const int stored[] = {0,   0,   0,   0, 0,   0,   138, 90,  99,  108, 117, 126, 135, 144, 0,   104, 113, 122,
                          131, 140, 150, 0, 110, 119, 128, 137, 146, 155, 0,   115, 124, 133, 142, 151, 161};
    int width = 0, height = 0;
    unsigned char* turned = nullptr;
    ASSERT_EQ(t.rotateImage(rgb.pixels.data(), 7, 5, turned, width, height, -10.0), 0);
    const std::unique_ptr<unsigned char[]> owner(turned);
    ASSERT_EQ(width * height, static_cast<int>(std::size(stored)));
    for (int i = 0; i < 3 * width * height; ++i)
        EXPECT_NEAR(turned[i], stored[i / 3] == 0 ? 0 : stored[i / 3] + 3 * (i % 3), 1) << i;
}

// A last bit of the direction is less than the thousandth of a degree that these are off where the turn changes.
TEST(Golden, QuarterTurnsAreTheSameEverywhere) {
    const LogCapture log;
    TiltCorrection t(nullptr, 0, 0, 0);
    const struct {
        float x, y;
        int turn;
    } readings[] = {{-6.86903286f, 6.98973465f, 180},  {-6.86878872f, 6.9899745f, 90},  {6.98973465f, 6.86903286f, 90},
                    {6.9899745f, 6.86878872f, 0},      {6.86903286f, -6.98973465f, 0},  {6.86878872f, -6.9899745f, 270},
                    {-6.98973465f, -6.86903286f, 270}, {-6.9899745f, -6.86878872f, 180}};
    for (const auto& reading : readings) {
        int turn = -1;
        t.computeImageRotation(reading.x, reading.y, 1.0f, turn);
        EXPECT_EQ(turn, reading.turn) << reading.x << " " << reading.y;
    }
}

}  // namespace
