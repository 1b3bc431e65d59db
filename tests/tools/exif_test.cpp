#include "tools/exif.h"

#include <gtest/gtest.h>

#include "tests/support/guarded.h"
#include "tests/tools/made_photos.h"

namespace {

// Reads a copy behind which no memory is mapped.
unsigned orientationOf(const skylevel::Bytes& block) {
    const Guarded<unsigned char> copy(block.size());
    std::copy(block.begin(), block.end(), copy.data());
    return skylevel::exifOrientation({copy.data(), copy.size()});
}

TEST(Exif, TellsTheOrientation) {
    for (const bool littleEndian : {true, false})
        for (unsigned value = 0; value <= 9; ++value)
            EXPECT_EQ(orientationOf(exifBlock(value, littleEndian)), value >= 1 && value <= 8 ? value : 1) << value;

    // Byte positions in the block of exifBlock(): 8 entry count, 10 tag, 12 type, 14 count, 18 value.
    const struct {
        const char* name;
        std::size_t position;
        skylevel::Bytes replacement;
        unsigned orientation;
    } cases[] = {
        {"as a byte", 12, {1}, 6},
        {"as 32 bits", 12, {4}, 6},
        {"as text", 12, {2}, 1},
        {"of a type that does not exist", 12, {99}, 1},
        {"without values", 14, {0}, 1},
        {"two values inline", 14, {2}, 6},
        {"three values elsewhere, beyond the block", 14, {3, 0, 0, 0, 24}, 1},
        {"three values elsewhere, on the entry itself", 14, {3, 0, 0, 0, 14, 0}, 1},
        {"more values than memory", 14, {255, 255, 255, 255}, 1},
        {"another tag", 10, {0x13}, 1},
        {"more entries than bytes", 8, {2}, 1},
        {"the directory beyond the block", 4, {26}, 1},
        {"the directory far beyond", 4, {255, 255, 255, 255}, 1},
        {"the directory in the header", 4, {0}, 1},
        {"no TIFF", 2, {43}, 1},
        {"mixed byte orders", 0, {'I', 'M'}, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        skylevel::Bytes block = exifBlock(6);
        std::copy(c.replacement.begin(), c.replacement.end(), block.begin() + static_cast<std::ptrdiff_t>(c.position));
        EXPECT_EQ(orientationOf(block), c.orientation);
    }
}

TEST(Exif, ReadsNothingOutsideTheBlock) {
    const skylevel::Bytes whole = exifBlock(6);
    // Only the link to the next directory may be missing.
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_EQ(orientationOf({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)}),
                  length >= 22 ? 6U : 1U);
    for (std::size_t position = 0; position < whole.size(); ++position)
        for (int value = 0; value < 256; ++value) {
            skylevel::Bytes block = whole;
            block[position] = static_cast<unsigned char>(value);
            EXPECT_LE(orientationOf(block), 8U);
        }
}

}  // namespace
