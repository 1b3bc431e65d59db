// The integer form of the gray conversion and what is built on it, against the plain form, bit for bit.
#include <gtest/gtest.h>

#include <vector>

#include "skylevel/skylevel.h"
#include "tests/plain/imaging.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

using Plane = std::vector<unsigned char>;

struct GrayTwins : testing::Test {
    TiltCorrection corrector{nullptr, 0, 0, 0};
};

Plane plainGray(const Bytes& rgb) {
    Plane gray(rgb.size() / 3);
    plain::convertToGray(rgb.data(), gray.data(), gray.size());
    return gray;
}

TEST_F(GrayTwins, AgreeOnEveryColour) {
    const Bytes rgb(3 << 16), gray(1 << 16);
    for (int red = 0; red < 256; ++red) {
        for (int i = 0; i < 1 << 16; ++i) {
            rgb[3 * i] = static_cast<unsigned char>(red);
            rgb[3 * i + 1] = static_cast<unsigned char>(i >> 8);
            rgb[3 * i + 2] = static_cast<unsigned char>(i);
        }
        ASSERT_EQ(corrector.RGB2Gray(rgb.data(), gray.data(), 256, 256), 0);
        ASSERT_TRUE(sameBits(gray, plainGray(rgb))) << "red " << red;
    }
}

TEST_F(GrayTwins, AgreeAtEverySizeAndInPlace) {
    // White is redone unless the whole block is; grays are redone always.
    enum Fill { noise, grays, white, nearlyWhite, black, fills };
    std::vector<int> counts = {1023, 1024, 1025, 2079, 3000};
    for (int count = 1; count <= 67; ++count) counts.push_back(count);
    for (const int count : counts)
        for (int fill = noise; fill < fills; ++fill) {
            Random random(29);
            const Bytes rgb(3 * count), gray(count);
            for (int i = 0; i < 3 * count; ++i) {
                const int level[] = {random.below(256), i % 3 == 0 ? random.below(256) : rgb[i - i % 3], 255,
                                     i == count ? 254 : 255, 0};
                rgb[i] = static_cast<unsigned char>(level[fill]);
            }
            const Plane expected = plainGray(rgb);
            EXPECT_EQ(corrector.RGB2Gray(rgb.data(), gray.data(), count, 1), 0);
            EXPECT_TRUE(sameBits(gray, expected)) << count << " pixels, fill " << fill;
            EXPECT_EQ(corrector.RGB2Gray(rgb.data(), rgb.data(), 1, count), 0);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(), rgb.begin())) << count << " in place";
        }
}

TEST_F(GrayTwins, AgreeWhenReduced) {
    for (int n = 1; n <= 67; ++n) {
        const Picture rgb = ::noise(3 * (n + 7), 75 - n, 3 * (n + 7), 31);
        const int width = n + 7, height = 75 - n;
        Plane gray = plainGray(rgb.pixels);
        const Bytes expected((width / 8) * (height / 8)), small(expected.size());
        EXPECT_EQ(corrector.bicubic8(gray.data(), expected.data(), width, height), 0);
        EXPECT_EQ(corrector.RGB2SmallGray(rgb.pixels.data(), small.data(), width, height, 8), 0);
        EXPECT_TRUE(sameBits(small, expected)) << width << "x" << height;
    }
}

TEST_F(GrayTwins, AgreeOnSubsampling) {
    for (int width = 1; width <= 200; ++width)
        for (const int step : {1, 2, 3, 4, 5, 67}) {
            const Picture src = ::noise(width, 4, width + step % 2, 37);
            Plane expected;
            for (int y = 0; y < 4; y += step)
                for (int x = 0; x < width; x += step) expected.push_back(src.at(y, x));
            const Bytes out(expected.size());
            EXPECT_EQ(corrector.DownsampleGray(src.pixels.data(), out.data(), width, 4, src.stride, step), 0);
            EXPECT_TRUE(sameBits(out, expected)) << width << " by " << step;
        }
}

}  // namespace
