#include "tools/picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

// Gray pixels from the characters of a text, row by row.
skylevel::Picture pictureOf(const std::string& text, int width) {
    skylevel::Picture picture = skylevel::makePicture(width, static_cast<int>(text.size()) / width, 1);
    std::copy(text.begin(), text.end(), picture.pixels.get());
    return picture;
}

std::string textOf(const skylevel::Picture& picture) {
    return {picture.pixels.get(), picture.pixels.get() + picture.rowBytes() * picture.height};
}

TEST(Picture, IsMadeUprightFromAllOrientations) {
    // The upright pixels, row by row, when the stored rows are abc and def.
    const char* upright[] = {"abcdef", "cbafed", "fedcba", "defabc", "adbecf", "daebfc", "fcebda", "cfbead"};
    for (unsigned exif = 1; exif <= 8; ++exif) {
        SCOPED_TRACE(exif);
        const skylevel::Orientation orientation = skylevel::orientationFromExif(exif);
        skylevel::Picture picture = pictureOf("abcdef", 3);
        if (orientation.mirrored) skylevel::mirror(picture);
        picture = skylevel::turned(picture, orientation.turn);
        EXPECT_EQ(picture.width, exif < 5 ? 3 : 2);
        EXPECT_EQ(orientation.exchangesSides(), exif >= 5);
        EXPECT_EQ(textOf(picture), upright[exif - 1]);
    }
    EXPECT_EQ(skylevel::orientationFromExif(0).turn, 0);
    EXPECT_FALSE(skylevel::orientationFromExif(9).mirrored);
}

TEST(Picture, IsResizedByMeansOrByTheNearestPixel) {
    EXPECT_EQ(textOf(skylevel::resized(pictureOf("acbdggaa", 4), 2, 1)), "eb");
    EXPECT_EQ(textOf(skylevel::resized(pictureOf("abcd", 2), 4, 4)), "aabbaabbccddccdd");
    EXPECT_EQ(textOf(skylevel::resized(pictureOf("abc", 3), 2, 1)), "ac");
}

}  // namespace
