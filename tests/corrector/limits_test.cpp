// Planes near the ends of the int range. They take address space, not memory: only what is read exists.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <climits>
#include <memory>

#include "skylevel/skylevel.h"

namespace {

constexpr int thirtyBits = 1 << 30;

struct Limits : testing::Test {
    void SetUp() override {
        if (memory == MAP_FAILED) GTEST_SKIP() << "no address space of 2 GB";
    }
    ~Limits() override {
        if (memory != MAP_FAILED) munmap(memory, size);
    }

    std::size_t size = INT_MAX;
    void* memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    unsigned char* plane = static_cast<unsigned char*>(memory);
    TiltCorrection any{nullptr, 0, 0, 0};
};

TEST_F(Limits, TheLastPixelsOfTheLargestPlanesAreReached) {
    unsigned char out[8] = {};
    plane[INT_MAX - 1] = 9;
    EXPECT_EQ(any.DownsampleGray(plane, out, 1, INT_MAX, 1, INT_MAX - 1), 0);
    EXPECT_EQ(out[1], 9) << "rows";
    EXPECT_EQ(any.DownsampleGray(plane, out + 2, INT_MAX, 1, INT_MAX, INT_MAX - 1), 0);
    EXPECT_EQ(out[3], 9) << "columns";
    EXPECT_EQ(any.downsampleWithAngle(plane, 1, INT_MAX, 1, 180, out + 4, 1, 2), 0);
    EXPECT_EQ(out[4], 9) << "the last row comes first";
    plane[INT_MAX - 3] = 7;
    EXPECT_EQ(any.downsampleWithAngle(plane, INT_MAX - 1, 1, INT_MAX, 270, out + 6, 1, 2), 0);
    EXPECT_EQ(out[6], 7) << "the last even column comes first, whatever the distance to a next row";
}

TEST_F(Limits, ThinPlanesAreTooSmallOrTooLongToDecide) {
    // One row or column is none when reduced; of 32 rows eight are left.
    TiltCorrection row(plane, thirtyBits, 1, INT_MAX);
    TiltCorrection column(plane, 1, thirtyBits, 1);
    for (const int angle : {0, 90, 180, 270}) EXPECT_EQ(row.detectHorizon(angle) + column.detectHorizon(angle), -12);
    TiltCorrection longest(plane, 131071, 32, 131071);
    TiltCorrection tooLong(plane, 131072, 32, 131072);
    EXPECT_EQ(longest.detectHorizon(0), 0);
    EXPECT_EQ(tooLong.detectHorizon(0), -9);
}

TEST_F(Limits, ResultsBeyondTheIntRangeAreRefused) {
    unsigned char* turned = nullptr;
    int width = -1, height = -1;
    // Twice the pixels of a plane that is itself within the range.
    EXPECT_EQ(any.rotateImage(plane, 46340, 46340, turned, width, height, 45.0), -1);
    EXPECT_TRUE(turned == nullptr && width == -1 && height == -1);
}

}  // namespace
