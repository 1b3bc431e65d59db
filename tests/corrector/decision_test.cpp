// Whole decisions on pictures whose answer is known.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "corrector/horizon_decision.h"
#include "skylevel/skylevel.h"
#include "tests/support/bits.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

using skylevel::Verdict;

constexpr double noAngle = std::numeric_limits<double>::max();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// The angle that a decision leaves, 77 when it leaves the one before; expects its status.
double decided(const Picture& p, int imageAngle, double threshold, int status) {
    TiltCorrection corrector(p.pixels.data(), p.width, p.height, p.stride);
    corrector.setRotAngle(77.0);
    corrector.setRotAngleThresh(threshold);
    EXPECT_EQ(corrector.detectHorizon(imageAngle), status);
    bool flag = status != 0;
    EXPECT_EQ(HorizonDetectionProcess(p.pixels.data(), p.width, p.height, p.stride, &flag, imageAngle, threshold),
              status == 0 ? 0 : 1);
    EXPECT_EQ(flag, status != 0 || corrector.getHasHorizon());
    return 0.0 - corrector.getRotAngle();
}

TEST(Decision, FindsALevelLineAtEverySizeAndTurn) {
    const LogCapture log;
    std::vector<std::pair<int, int>> sizes = {{4000, 120}, {200, 200}, {401, 203}};
    for (const int side : {1020, 1023, 1024, 1027, 1028, 1030}) sizes.insert(sizes.end(), {{side, 320}, {320, side}});
    for (const auto& [width, height] : sizes)
        for (const int imageAngle : {0, 90, 180, 270}) {
            const Scene scene = {(imageAngle % 180 == 0 ? height : width) / 2, 0, 1, 0};
            const int stride = width + imageAngle / 90;
            EXPECT_EQ(decided(scene.picture(width, height, stride, imageAngle), imageAngle, 1.0, 0), 0.0)
                << width << "x" << height << " at " << imageAngle;
        }
}

TEST(Decision, FindsNoAngleButThatOfTheLine) {
    const LogCapture log;
    for (const auto& [fall, over] :
         {std::pair{1, 50}, {1, 20}, {1, 7}, {1, 4}, {2, 1}, {-1, 20}, {-1, 7}, {-1, 3}, {-1, 1}})
        for (const int side : {400, 513})
            for (const int imageAngle : {0, 90, 180, 270}) {
                const Picture picture = Scene{side / 2, fall, over, 0}.picture(side, side, side, imageAngle);
                const double tilt = std::atan(static_cast<double>(fall) / over) * 180.0 / 3.141592653589793;
                const double angle = decided(picture, imageAngle, 10.0, 0);
                // The steps of a tilted line can be too short to count.
                const bool none = tilt > 13.0 || angle == noAngle;
                EXPECT_NEAR(angle, none ? noAngle : tilt, 1.3) << fall << "/" << over << " at " << imageAngle;
            }
}

TEST(Decision, EndsEachWay) {
    const LogCapture log;
    const struct {
        const char* name;
        int width, height;
        Scene scene;
        int imageAngle;
        double threshold;
        int status;
        double angle;
        Verdict verdict;
        std::uint64_t hash;  // of all log lines
    } cases[] = {
        {"no column", 0, 480, {0, 0, 1, 0}, 0, 10, -2, 77, Verdict::noSegment, 0},
        {"3 columns", 3, 40, {20, 0, 1, 0}, 45, 10, -6, 77, Verdict::noSegment, 0x951802e3ba20e974},
        {"one pixel when reduced", 5, 5, {2, 0, 1, 0}, 0, 10, -6, 77, Verdict::noSegment, 0x0b71a57f3daa3392},
        {"no quarter turn", 640, 480, {240, 0, 1, 0}, 45, 10, -4, 77, Verdict::noSegment, 0x9371ef273b55d013},
        {"a single edge column", 12, 84, {79, -1, 2, 0}, 0, 10, -7, noAngle, Verdict::noSegment, 0x722380747251f36a},
        {"too wide", 131072, 44, {22, 0, 1, 0}, 0, 10, -9, noAngle, Verdict::noSegment, 0xc643d42e616093e3},
        {"no inside", 4, 8, {4, 0, 1, 0}, 0, 10, 0, noAngle, Verdict::noSegment, 0x337cf48968b62ed9},
        {"a low, level top edge", 640, 480, {460, 0, 1, 0}, 0, 0, 0, 0, Verdict::topEdge, 0x7ff168749709cd50},
        {"a low, falling top edge", 640, 480, {460, 1, 60, 0}, 0, 10, 0, 0.99, Verdict::topEdge, 0x7ff168749709cd50},
        {"too tilted a top edge", 640, 480, {460, 1, 60, 0}, 0, 0, 0, noAngle, Verdict::tooShort, 0x01df823831dcd54a},
        {"not a number as threshold", 640, 480, {460, 0, 1, 0}, 0, nan, 0, 0, Verdict::tooTilted, 0x846fb89d1bdb816d},
        {"a segment", 640, 480, {240, 1, 12, 0}, 0, 10, 0, 4.64, Verdict::segment, 0xcb66685eaf9c0fb0},
        {"a little too tilted", 320, 240, {80, 1, 5, 0}, 0, 10, 0, 10.44, Verdict::tooTilted, 0x4a9d2e2d98333fa5},
        {"far too tilted", 320, 240, {120, 1, 3, 0}, 0, 10, 0, noAngle, Verdict::noFlat, 0x6cdc733dcbfbfcf8},
        {"a broken line", 640, 480, {240, 1, 7, 0}, 0, 10, 0, noAngle, Verdict::noDense, 0x38a0d941f01ea7a6},
        {"a short line", 320, 240, {120, 1, 12, 0}, 0, 10, 0, noAngle, Verdict::tooShort, 0x5e21adff0963cb08},
        {"a busy scene", 640, 480, {240, 0, 1, 60}, 270, 10, 0, noAngle, Verdict::busyScene, 0xc8c6b5f8bdab8c1f},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Picture picture = c.scene.picture(c.width, c.height, c.width);
        EXPECT_NEAR(decided(picture, c.imageAngle, c.threshold, c.status), c.angle, 0.5);
        log.take();
        TiltCorrection corrector(picture.pixels.data(), c.width, c.height, c.width);
        corrector.setRotAngleThresh(c.threshold);
        corrector.detectHorizon(c.imageAngle);
        std::uint64_t hash = 0;
        for (const std::string& line : log.take()) hash = fnv1a(line, hash);
        EXPECT_EQ(hash, c.hash);
#ifndef SKYLEVEL_PUBLIC_ONLY
        skylevel::HorizonEvidence evidence;
        double angle = 77.0;
        EXPECT_EQ(skylevel::decideHorizon(corrector, {picture.pixels.data(), c.width, c.height, c.width}, c.imageAngle,
                                          c.threshold, angle, &evidence),
                  c.status);
        EXPECT_NEAR(angle, c.angle, 0.5);
        EXPECT_EQ(evidence.verdict, c.verdict);
#endif
    }
}

TEST(Decision, TellsWhatItDoes) {
    const LogCapture log;
    const Picture picture = Scene{240, 1, 12, 0}.picture(640, 480, 640);
    EXPECT_EQ(TiltCorrection(picture.pixels.data(), 640, 480, 640).detectHorizon(0), 0);
    const auto marked = [](const std::string& s) { return "D " + std::string(13, '!') + s + std::string(14, '!'); };
    EXPECT_EQ(
        log.take(),
        Lines({marked("Enter detectRotAngle sucessful"), marked("Enter detectRotAngle 1 sucessful"),
               "D smallWidth is: 640, smallHeight is: 480, imageAngle is: 0", "I enter downsampleWithAngle()",
               marked("RGB2SmallGray sucessful end "), marked("Canny sucessful end "),
               "D Enter horizonDetection successful!", "D Enter mean successful!", "D mean value of edge image: 2.10",
               "D rho is : 1.000000,  theta is : 0.017453,  threashold is : 16,  lineLength is : 6, lineGap is: 8",
               "D numangle is : 180,  numrho is : 561", "D edge point count is : 158",
               "D line 0: (155,65)->(7,53); length:148.49; density: 0.83; angle: 4.64",
               "D rot angle: 4.64; longest line is 0-th line (155,65)->(7,53) lenght(148.49);",
               "D input rot angle: 4.64: [148,160]=0.93"}));
}

}  // namespace
