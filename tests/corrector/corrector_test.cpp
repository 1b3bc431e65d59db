// The object and its accessors, the entry points' checks, and the rotation-angle requests.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "skylevel/skylevel.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

constexpr double noAngle = 1.7976931348623157e308;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// The object's layout, which callers compiled against the header rely on.
struct Fields {
    explicit Fields(const TiltCorrection& corrector) { std::memcpy(this, &corrector, sizeof(*this)); }
    bool sameCrop(const _Rect& r) const { return std::memcmp(&crop, &r, sizeof(r)) == 0; }

    unsigned char* image;
    int width, height, stride;
    unsigned char* turned;
    int turnedWidth, turnedHeight;
    _Rect crop;
    double angle, threshold;
};
static_assert(sizeof(Fields) == sizeof(TiltCorrection) && std::is_standard_layout_v<TiltCorrection>);
static_assert(!std::is_copy_constructible_v<TiltCorrection> && !std::is_copy_assignable_v<TiltCorrection>);

TEST(Corrector, StartsWithoutAnAngle) {
    unsigned char pixel = 7;
    TiltCorrection corrector(&pixel, 3, 2, 5);
    const Fields f(corrector);
    EXPECT_TRUE(f.image == &pixel && f.width == 3 && f.height == 2 && f.stride == 5 && f.sameCrop({0, 0, 0, 0}));
    EXPECT_TRUE(!corrector.getHasHorizon() && corrector.getRotAngle() == -noAngle);
    EXPECT_TRUE(corrector.getRotAngleThresh() == 10.0 && corrector.getRotImage() == nullptr);
    int width = 5, height = 6;
    EXPECT_EQ(corrector.getRotImageSize(width, height), -1);
    EXPECT_TRUE(width == 0 && height == 0);
}

TEST(Corrector, ComparesSignedAnglesWithTheThreshold) {
    const struct {
        double angle, threshold;
        bool horizon;
    } cases[] = {{-30.0, 10.0, true}, {10.0, 10.0, true}, {10.000001, 10.0, false}, {nan, 10.0, false},
                 {-30.0, nan, false}, {-0.0, 0.0, true},  {0.0, 0.0, true},         {noAngle, inf, true}};
    TiltCorrection corrector(nullptr, 0, 0, 0);
    for (const auto& c : cases) {
        corrector.setRotAngle(c.angle);
        corrector.setRotAngleThresh(c.threshold);
        EXPECT_EQ(corrector.getHasHorizon(), c.horizon) << c.angle << " against " << c.threshold;
        EXPECT_TRUE(corrector.getRotAngle() == -c.angle || std::isnan(c.angle)) << c.angle;
        EXPECT_FALSE(c.angle == 0.0 && std::signbit(corrector.getRotAngle()));
    }
}

TEST(Corrector, ReportsAndCopiesTheCropOnlyWithinTheImage) {
    const struct {
        _Rect rect;
        int location, size, crop;
    } cases[] = {{{0, 0, 0, 0}, -1, 0, 0},   {{0, 9, 0, 7}, 0, 0, 0},
                 {{2, 3, 4, 5}, 0, 0, 0},    {{-1, 5, 0, 5}, -1, 0, -2},
                 {{1, 10, 0, 5}, -1, 0, -2}, {{0, 10, 0, 5}, -1, -1, -2},
                 {{0, 5, -1, 5}, -1, 0, -2}, {{4, 4, 0, 5}, -1, 0, 0},
                 {{5, 4, 0, 5}, -1, -1, 0},  {{0, 5, 1, 8}, -1, 0, -2},
                 {{0, 5, 0, 8}, -1, -1, -2}, {{0, 5, 3, 3}, -1, 0, 0},
                 {{0, 5, 4, 3}, -1, -1, 0},  {{INT_MIN, INT_MAX, 0, 1}, -1, -1, -2}};
    const Picture rgb = noise(30, 8, 30, 5);
    TiltCorrection corrector(rgb.pixels.data(), 10, 8, 10);
    for (const auto& [rect, location, size, crop] : cases) {
        SCOPED_TRACE(testing::Message() << rect.left << " " << rect.right << " " << rect.top << " " << rect.bottom);
        std::memcpy(reinterpret_cast<char*>(&corrector) + offsetof(Fields, crop), &rect, sizeof(rect));
        _Rect r = {90, 91, 92, 93};
        const _Rect expected = location == 0 ? rect : r;
        EXPECT_EQ(corrector.getCropImageLoc(r.left, r.right, r.top, r.bottom), location);
        EXPECT_EQ(std::memcmp(&r, &expected, sizeof(r)), 0);
        int width = 90, height = 91;
        EXPECT_EQ(corrector.getCropImageSize(width, height), size);
        EXPECT_EQ(width, size == 0 ? rect.right - rect.left + 1 : 90);
        EXPECT_EQ(height, size == 0 ? rect.bottom - rect.top + 1 : 91);
        const Bytes out(240);
        EXPECT_EQ(corrector.crop(out.data()), crop);
        EXPECT_EQ(out.untouched(), crop != 0 || rect.right < rect.left || rect.bottom < rect.top);
    }
}

TEST(HorizonEntry, ChecksItsArguments) {
    const LogCapture log;
    unsigned char p[4] = {};
    const struct {
        unsigned char* picture;
        int width, height, stride;
        double threshold;
        int status;
    } cases[] = {{nullptr, 2, 2, 2, 10, -1}, {p, -1, 2, 2, 10, -1},
                 {p, 2, -1, 2, 10, -1},      {p, 3, 2, 2, 10, -1},
                 {p, 0, 0, -1, 10, -1},      {p, 2, 2, 2, inf, -1},
                 {p, 2, 2, 2, -1e-300, -1},  {p, 2, 2, 2, std::nextafter(90, 91), -1},
                 {p, 0, 0, 0, 10, 1},        {p, 0, 5, 0, 10, 1},
                 {p, 2, 2, 2, 90, 1},        {p, 2, 2, 2, -0.0, 1},
                 {p, 2, 2, 2, nan, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height << "/" << c.stride << " at " << c.threshold);
        bool flag = true;
        // Accepted ones fail later, for the picture is too small; the flag then keeps its value.
        EXPECT_EQ(HorizonDetectionProcess(c.picture, c.width, c.height, c.stride, &flag, 0, c.threshold), c.status);
        EXPECT_EQ(flag, c.status == 1);
        const Lines lines = log.take();
        EXPECT_EQ(lines[0], "D version 2.0");
        char text[100];
        std::snprintf(text, sizeof(text), "E args input error: pGrayImage=%p, size=[%d,%d,%d], fAngleThresh=%.2f",
                      static_cast<void*>(c.picture), c.width, c.height, c.stride, c.threshold);
        EXPECT_EQ(lines.back() == text, c.status == -1) << lines.back();
    }
}

TEST(AngleRequest, IsRefusedAndLeavesTheRest) {
    const LogCapture log;
    const std::string many(24, '!'), few(13, '!');
    const auto start = [&](const std::string& n) {
        return "D " + many + "TiltCorrection " + n + "start" + many + "!!!!!";
    };
    const auto enter = [&](const std::string& n) {
        return "D " + few + "Enter detectRotAngle " + n + "sucessful" + few + "!";
    };
    const Lines refusal = {"D Enter RGB2SmallGray successful!", "D TiltCorrection: RGB2SmallGray error\n"};
    const Lines ratio = {"D TiltCorrection: downsample ratio error\n"};
    const Bytes rgb = noise(3 * 64, 1, 3 * 64, 3).pixels;
    const struct {
        unsigned char* image;
        int width, height, status, entryStatus;  // of detectRotAngle and of the entry point
        Lines lines;                             // of autoCorrection
    } cases[] = {{rgb.data(), 4, 8, -4, 1, refusal}, {rgb.data(), 6, 8, -4, 1, ratio}, {rgb.data(), 8, 7, -4, 1, ratio},
                 {rgb.data(), 0, 8, -2, 1, {}},      {rgb.data(), 8, -4, -2, -1, {}},  {nullptr, 8, 8, -2, -1, {}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << "x" << c.height);
        Lines expected = {start("")};
        if (c.entryStatus == 1) expected.insert(expected.end(), {start("1 "), start("2 ")});
        const std::string sizes = std::to_string(c.width) + ", smallHeight is: " + std::to_string(c.height);
        if (c.status == -4)
            expected.insert(expected.end(),
                            {enter(""), enter("1 "), "D smallWidth is: " + sizes, refusal[0], refusal[1]});
        double angle = 5.5;
        EXPECT_EQ(TiltCorrectionProcess(c.image, c.width, c.height, &angle, nan), c.entryStatus);
        EXPECT_EQ(angle, 5.5);
        EXPECT_EQ(log.take(), expected);

        TiltCorrection corrector(c.image, c.width, c.height, 1);
        corrector.manuCorrection(10.0);
        corrector.setRotAngle(5.0);
        const Fields before(corrector);
        EXPECT_EQ(corrector.detectRotAngle(), c.status);
        EXPECT_EQ(std::memcmp(&before, &corrector, sizeof(Fields)), 0);
        log.take();
        EXPECT_EQ(corrector.autoCorrection(), -1);
        EXPECT_EQ(log.take(), c.lines);
        const Fields after(corrector);
        EXPECT_TRUE(after.turned == nullptr && after.turnedWidth == 0 && after.turnedHeight == 0);
        EXPECT_TRUE(after.angle == 5.0 && after.sameCrop(before.crop));
    }
}

}  // namespace
