#include <gtest/gtest.h>

#include <array>
#include <vector>

#include "skylevel/skylevel.h"
#include "tests/plain/imaging.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

using Plane = std::vector<unsigned char>;

Plane sampled(const Picture& src, int angle, int smallWidth, int smallHeight) {
    return plain::reduced(src.pixels.data(), src.width, src.height, src.stride, angle, smallWidth, smallHeight);
}

// What downsampleWithAngle and the operation of that turn alone both write.
Plane reduced(const Picture& src, int angle, int smallWidth, int smallHeight) {
    using T = TiltCorrection;
    const auto turn = std::array{&T::downsample0, &T::downsample90, &T::downsample180, &T::downsample270}[angle / 90];
    const LogCapture log;
    T t(nullptr, 0, 0, 0);
    const Bytes alone(smallWidth * smallHeight), out(smallWidth * smallHeight);
    (t.*turn)(src.pixels.data(), src.width, src.height, src.stride, alone.data(), smallWidth, smallHeight);
    EXPECT_EQ(t.downsampleWithAngle(src.pixels.data(), src.width, src.height, src.stride, angle, out.data(), smallWidth,
                                    smallHeight),
              0);
    EXPECT_EQ(log.take(), Lines({"I enter downsampleWithAngle()"}));
    EXPECT_TRUE(std::equal(out.begin(), out.end(), alone.begin()));
    return {out.begin(), out.end()};
}

TEST(Reduction, SamplesTheStatedPixels) {
    const Picture tens = paint(8, 8, 8, [](int r, int c) { return 10 * r + c; });
    EXPECT_EQ(reduced(tens, 0, 4, 4), (Plane{0, 2, 4, 6, 20, 22, 24, 26, 40, 42, 44, 46, 60, 62, 64, 66}));
    EXPECT_EQ(reduced(tens, 90, 4, 4), (Plane{70, 50, 30, 10, 72, 52, 32, 12, 74, 54, 34, 14, 76, 56, 36, 16}));
    EXPECT_EQ(reduced(tens, 180, 4, 4), (Plane{76, 74, 72, 70, 56, 54, 52, 50, 36, 34, 32, 30, 16, 14, 12, 10}));
    EXPECT_EQ(reduced(tens, 270, 4, 4), (Plane{6, 26, 46, 66, 4, 24, 44, 64, 2, 22, 42, 62, 0, 20, 40, 60}));
    std::vector<std::array<int, 5>> sizes = {// width, height, padding, and the reduced size
                                             {1, 1, 1, 1, 1},          {5, 3, 2, 1, 1},          {9, 7, 1, 9, 7},
                                             {31, 17, 9, 7, 4},        {64, 48, 0, 16, 12},      {203, 101, 5, 50, 25},
                                             {3, 2, 0, 11, 13},        {100, 60, 28, 37, 41},    {1, 1, 3, 256, 256},
                                             {1024, 768, 0, 256, 192}, {1027, 770, 1, 256, 192}, {30, 20, 1, 2, 256}};
    // Every width of a true 4:1 reduction round the vectors', and of its bands of columns.
    for (int n = 1; n <= 67; ++n)
        for (const int odd : {0, 1, 3}) sizes.push_back({4 * n + odd, 3 * n, odd, n, (n + 1) / 2});
    for (const auto& [width, height, padding, smallWidth, smallHeight] : sizes)
        for (const int angle : {0, 90, 180, 270}) {
            const Picture src = noise(width, height, width + padding, 7);
            EXPECT_EQ(reduced(src, angle, smallWidth, smallHeight), sampled(src, angle, smallWidth, smallHeight))
                << width << "x" << height << " at " << angle;
        }
}

TEST(Reduction, HasLimits) {
    const LogCapture log;
    TiltCorrection t(nullptr, 0, 0, 0);
    const int refused[][3] = {{45, 30, 20},  {-90, 30, 20}, {360, 30, 20}, {1, 7, 5}, {0, 257, 2},   {90, 257, 2},
                              {180, 257, 2}, {90, 2, 257},  {270, 2, 257}, {0, 0, 5}, {180, -1, -1}, {270, 0, 0}};
    const Picture src = noise(30, 20, 30, 5);
    const Bytes out(1500);
    for (const auto& [angle, width, height] : refused) {
        EXPECT_EQ(t.downsampleWithAngle(src.pixels.data(), 30, 20, 30, angle, out.data(), width, height), 0);
        EXPECT_TRUE(out.untouched()) << angle << " " << width << "x" << height;
    }
    EXPECT_EQ(log.take().size(), std::size(refused));
    EXPECT_EQ(reduced(src, 180, 2, 257), sampled(src, 180, 2, 257)) << "rows are free at 0 and 180";
    const Picture same = noise(300, 5, 300, 3);
    t.downsampleWithAngle(same.pixels.data(), 300, 5, 300, 0, out.data(), 300, 5);
    EXPECT_TRUE(std::equal(out.begin(), out.end(), same.pixels.begin())) << "packed and of the same size: a copy";
}

TEST(Reduction, ReachesRowsBeyond32BitOffsets) {
    const std::size_t stride = 1 << 30, size = 8 * stride;
    void* const memory =
        mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) GTEST_SKIP() << "no address space for 8 GB";
    auto* const src = static_cast<unsigned char*>(memory);
    for (int r = 0; r < 8; ++r) src[r * stride] = static_cast<unsigned char>(r);
    TiltCorrection t(nullptr, 0, 0, 0);
    Plane out(8);
    t.downsample180(src, 1, 8, stride, out.data(), 1, 4);
    t.DownsampleGray(src, out.data() + 4, 1, 8, stride, 2);
    EXPECT_EQ(out, (Plane{7, 5, 3, 1, 0, 2, 4, 6}));
    munmap(memory, size);
}

}  // namespace
