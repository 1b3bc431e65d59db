// Whole decisions on pictures whose answer is known.
#include <gtest/gtest.h>

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

// The angle that a decision leaves, 77 when it leaves the one before; expects its status, and the same
// answer from the entry point.
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
        {"no column", 0, 480, {0, 0, 1, 0}, 0, 10, -2, 77, Verdict::noSegment, 0x4d228aeea078c650},
        {"3 columns", 3, 40, {20, 0, 1, 0}, 45, 10, -6, 77, Verdict::noSegment, 0xe0119c3f15d99e88},
        {"one pixel when reduced", 5, 5, {2, 0, 1, 0}, 0, 10, -6, 77, Verdict::noSegment, 0xbc8fa8ee731f7348},
        {"no quarter turn", 640, 480, {240, 0, 1, 0}, 45, 10, -4, 77, Verdict::noSegment, 0xda3c921de39bd0b6},
        {"a single edge column", 12, 84, {79, -1, 2, 0}, 0, 10, -7, noAngle, Verdict::noSegment, 0xdd82f13bbded88fc},
        {"too wide", 131072, 44, {22, 0, 1, 0}, 0, 10, -9, noAngle, Verdict::noSegment, 0x7596b46c122411bc},
        {"no inside", 4, 8, {4, 0, 1, 0}, 0, 10, 0, noAngle, Verdict::noSegment, 0x62427a3ea7a1e2da},
        {"a low, level top edge", 640, 480, {460, 0, 1, 0}, 0, 0, 0, 0, Verdict::topEdge, 0x115e83b35ac74af0},
        {"a low, falling top edge", 640, 480, {460, 1, 60, 0}, 0, 10, 0, 0.99, Verdict::topEdge, 0x115e83b35ac74af0},
        {"too tilted a top edge", 640, 480, {460, 1, 60, 0}, 0, 0, 0, noAngle, Verdict::tooShort, 0xd0e3b8040eb08604},
        {"not a number as threshold", 640, 480, {460, 0, 1, 0}, 0, nan, 0, 0, Verdict::tooTilted, 0xdfded013f388975c},
        {"a segment", 640, 480, {240, 1, 12, 0}, 0, 10, 0, 4.64, Verdict::segment, 0x9382b365bf611970},
        {"a little too tilted", 320, 240, {80, 1, 5, 0}, 0, 10, 0, 10.44, Verdict::tooTilted, 0x62d24c1cf82247e4},
        {"far too tilted", 320, 240, {120, 1, 3, 0}, 0, 10, 0, noAngle, Verdict::noFlat, 0xd5b9a9900fc6ee60},
        {"a broken line", 640, 480, {240, 1, 7, 0}, 0, 10, 0, noAngle, Verdict::noDense, 0x664efbf9ce057a3c},
        {"a short line", 320, 240, {120, 1, 12, 0}, 0, 10, 0, noAngle, Verdict::tooShort, 0x8061167be5686f20},
        {"a mean of exactly 50", 204, 120, {60, 1, 3, 120}, 0, 10, 0, noAngle, Verdict::tooShort, 0xfa48afbac743daf0},
        {"half a pixel short", 204, 160, {53, 1, 20, 0}, 0, 10, 0, noAngle, Verdict::tooShort, 0xc8939e61ca29d3d4},
        {"level, threshold 0", 640, 480, {240, 0, 1, 0}, 0, 0, 0, noAngle, Verdict::noFlat, 0x3ae84d409eaffc30},
        {"within the margin", 640, 480, {240, 1, 12, 0}, 0, 3.7, 0, 4.64, Verdict::tooTilted, 0x9382b365bf611970},
        {"not low enough", 640, 480, {420, 0, 1, 0}, 0, 10, 0, 0, Verdict::segment, 0x435a7e6653759160},
        {"few edge columns", 640, 480, {498, -1, 6, 0}, 0, 10, 0, -9.5, Verdict::topEdge, 0x115e83b35ac74af0},
        {"too few edge columns", 640, 480, {509, -1, 5, 0}, 0, 10, 0, noAngle, Verdict::tooShort, 0x0af3b19db2a992f6},
        {"a busy scene", 640, 480, {240, 0, 1, 60}, 270, 10, 0, noAngle, Verdict::busyScene, 0x60b96ed2eaf1e29c},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Picture picture = c.scene.picture(c.width, c.height, c.width);
        log.take();
        EXPECT_NEAR(decided(picture, c.imageAngle, c.threshold, c.status), c.angle, 0.5);
        std::uint64_t hash = 0;
        for (const std::string& line : log.take()) hash = fnv1a(line, hash);
        EXPECT_EQ(hash, c.hash);
#ifndef SKYLEVEL_PUBLIC_ONLY
        skylevel::HorizonEvidence evidence;
        double angle = 77.0;
        TiltCorrection stages(nullptr, 0, 0, 0);
        EXPECT_EQ(skylevel::decideHorizon(stages, {picture.pixels.data(), c.width, c.height, c.width}, c.imageAngle,
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
    const auto marked = [](const std::string& s) { return "D !!!!!!!!!!!!!" + s + "!!!!!!!!!!!!!!"; };
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
