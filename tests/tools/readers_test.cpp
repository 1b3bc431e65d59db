#include <gtest/gtest.h>
#include <png.h>

#include <algorithm>

#include "tests/tools/made_photos.h"
#include "tests/tools/tool_process.h"
#include "tools/photo.h"

namespace {

using skylevel::Bytes;
using skylevel::Photo;
using skylevel::PixelWish;

constexpr std::int64_t pixelLimit = 1'000'000;

Photo decode(const Bytes& bytes, PixelWish wish = PixelWish::luma) {
    return skylevel::decodePhoto(bytes, wish, pixelLimit);
}

std::string reasonFor(const Bytes& bytes) {
    try {
        decode(bytes);
        return "decoded";
    } catch (const skylevel::FileError& error) {
        return error.what();
    }
}

TEST(Readers, TurnEveryKindOfPngIntoEightBits) {
    const struct {
        const char* name;
        PngRecipe recipe;
        Bytes luma;
        Bytes rgb;
    } cases[] = {
        {"gray of 1 bit",
         {3, 1, PNG_COLOR_TYPE_GRAY, 1, false, {0xA0}, {}, {}},
         {255, 0, 255},
         {255, 255, 255, 0, 0, 0, 255, 255, 255}},
        {"gray of 4 bits",
         {2, 1, PNG_COLOR_TYPE_GRAY, 4, false, {0x3C}, {}, {}},
         {51, 204},
         {51, 51, 51, 204, 204, 204}},
        {"gray of 16 bits, rounded",
         {2, 1, PNG_COLOR_TYPE_GRAY, 16, false, {0x01, 0xFF, 0x12, 0x00}, {}, {}},
         {0x02, 0x12},
         {0x02, 0x02, 0x02, 0x12, 0x12, 0x12}},
        {"gray over white",
         {3, 1, PNG_COLOR_TYPE_GRAY_ALPHA, 8, false, {9, 255, 9, 0, 0, 128}, {}, {}},
         {9, 255, 127},
         {9, 9, 9, 255, 255, 255, 127, 127, 127}},
        {"colour over white",
         {2, 1, PNG_COLOR_TYPE_RGB_ALPHA, 8, false, {1, 2, 3, 255, 0, 100, 200, 51}, {}, {}},
         {1, 2, 3, 204, 224, 244},
         {1, 2, 3, 204, 224, 244}},
        {"16 bits with alpha",
         {1, 1, PNG_COLOR_TYPE_RGB_ALPHA, 16, false, {0, 0, 100, 0, 200, 0, 51, 51}, {}, {}},
         {204, 224, 244},
         {204, 224, 244}},
        {"palette with alpha",
         {2, 1, PNG_COLOR_TYPE_PALETTE, 8, false, {1, 0}, {1, 2, 3, 255, 0, 100, 200, 51}, {}},
         {204, 224, 244, 1, 2, 3},
         {204, 224, 244, 1, 2, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const Bytes file = makePng(c.recipe);
        EXPECT_EQ(pixelsOf(decode(file).picture), c.luma);
        EXPECT_EQ(pixelsOf(decode(file, PixelWish::rgb).picture), c.rgb);
    }
    const skylevel::Picture noise = noisyPicture(13, 11);
    const PngRecipe recipe = {13, 11, PNG_COLOR_TYPE_RGB, 8, true, pixelsOf(noise), {}, {}};
    EXPECT_EQ(pixelsOf(decode(makePng(recipe)).picture), pixelsOf(noise)) << "interlaced";
}

TEST(Readers, TakeTheLumaPlaneOfAJpegAsItIsStored) {
    skylevel::Picture gray = skylevel::makePicture(16, 16, 3);
    std::fill_n(gray.row(0), 3 * 256, static_cast<unsigned char>(128));
    const Bytes file = makeJpeg(gray, JpegKind::baseline);
    const Photo photo = decode(file);
    EXPECT_EQ(photo.picture.channels, 1);
    EXPECT_EQ(pixelsOf(photo.picture), Bytes(256, 128)) << "127 by way of red, green and blue";
    EXPECT_EQ(decode(file, PixelWish::rgb).picture.channels, 3);
    EXPECT_TRUE(photo.warnings.empty());
}

TEST(Readers, TurnInksIntoLight) {
    const Photo flower = decode(bytesOf(bundled("odd-cmyk-flower.jpg")));
    const unsigned char* petal = flower.picture.row(150) + std::ptrdiff_t{90} * 3;
    EXPECT_EQ(Bytes(petal, petal + 3), (Bytes{181, 178, 241})) << "the file holds its inks inverted";
}

TEST(Readers, KeepTheRowsOfATruncatedJpeg) {
    const skylevel::Picture noise = noisyPicture(64, 100);
    for (const JpegKind kind : {JpegKind::baseline, JpegKind::progressive}) {
        const Bytes whole = makeJpeg(noise, kind);
        const Bytes complete = pixelsOf(decode(whole).picture);
        bool cut = false;
        for (std::size_t length = 2; length < whole.size(); length += 97) {
            const Bytes part(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
            if (reasonFor(part) != "decoded") continue;
            for (const PixelWish wish : {PixelWish::luma, PixelWish::rgb}) {
                const Photo photo = decode(part, wish);
                ASSERT_EQ(photo.warnings.size(), 1U) << length;
                EXPECT_EQ(photo.picture.height, decode(part).picture.height) << "the same rows whatever is asked for";
                EXPECT_FALSE(photo.complete) << length;
                if (photo.picture.height == 100) continue;
                cut = true;
                EXPECT_EQ(photo.picture.height % 16, 0) << length;
                EXPECT_EQ(photo.warnings[0],
                          "truncated: " + std::to_string(photo.picture.height) + " of 100 rows read");
                if (kind == JpegKind::baseline && wish == PixelWish::luma) {
                    const Bytes rows = pixelsOf(photo.picture);
                    EXPECT_TRUE(std::equal(rows.begin(), rows.end(), complete.begin())) << length;
                }
            }
        }
        EXPECT_TRUE(cut);
        // Nothing but the end marker is missing.
        const Photo photo = decode({whole.begin(), whole.end() - 2});
        EXPECT_EQ(pixelsOf(photo.picture), complete);
        EXPECT_TRUE(photo.complete);
    }
    // Cut between two scans, where the decoder misses nothing.
    Bytes progressive = makeJpeg(noise, JpegKind::progressive);
    const Bytes scanStart = {0xFF, 0xDA};
    progressive.erase(std::find_end(progressive.begin(), progressive.end(), scanStart.begin(), scanStart.end()),
                      progressive.end());
    EXPECT_FALSE(decode(progressive).complete);
    const Bytes baseline = makeJpeg(noise, JpegKind::baseline);
    const std::size_t scan = baseline.size() - 200;
    EXPECT_EQ(reasonFor({baseline.begin(), baseline.begin() + 100}), "JPEG datastream contains no image");
    EXPECT_EQ(decode({baseline.begin(), baseline.begin() + static_cast<std::ptrdiff_t>(scan)}).picture.height, 96);
}

TEST(Readers, GiveUpOnBrokenFilesWithAReason) {
    const Bytes png = makePng({64, 4, PNG_COLOR_TYPE_GRAY, 8, false, pixelsOf(noisyPicture(64, 4)), {}, {}});
    const Bytes cut(png.begin(), png.begin() + 100);
    EXPECT_EQ(reasonFor(cut), "truncated");
    Bytes damaged = png;
    damaged[60] ^= 1U;
    EXPECT_NE(reasonFor(damaged), "decoded");
    const Photo tailless = decode({png.begin(), png.end() - 12});
    EXPECT_EQ(tailless.warnings, std::vector<std::string>{"after the pixels: truncated"});

    EXPECT_THROW(skylevel::checkSize(131072, 1, pixelLimit), skylevel::FileError);
    EXPECT_THROW(skylevel::checkSize(1001, 1000, pixelLimit), skylevel::FileError);
    EXPECT_NO_THROW(skylevel::checkSize(131071, 1, pixelLimit));
    EXPECT_NO_THROW(skylevel::checkSize(1000, 1000, pixelLimit));
}

TEST(Readers, SurviveDamageAnywhere) {
    const skylevel::Picture noise = noisyPicture(40, 24);
    const Bytes files[] = {withExif(makeJpeg(noise, JpegKind::baseline), exifBlock(6)),
                           makeJpeg(noise, JpegKind::progressive),
                           makePng({40, 24, PNG_COLOR_TYPE_RGB, 8, true, pixelsOf(noise), {}, exifBlock(6)}),
                           bytesOf(bundled("odd-1x1.jpg"))};
    std::uint32_t state = 7;
    for (const Bytes& file : files)
        for (int round = 0; round < 400; ++round) {
            Bytes damaged = file;
            for (int i = 0; i <= round % 3; ++i) {
                state = state * 1664525 + 1013904223;
                damaged[(state >> 8) % damaged.size()] = static_cast<unsigned char>(state >> 24);
            }
            try {
                const Photo photo = decode(damaged, round % 2 == 0 ? PixelWish::luma : PixelWish::rgb);
                EXPECT_GE(photo.picture.height, 1);
            } catch (const skylevel::FileError& error) {
                EXPECT_STRNE(error.what(), "");
            }
        }
}

}  // namespace
