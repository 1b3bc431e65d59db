#include "tools/exif_patch.h"

#include <gtest/gtest.h>

#include <random>

#include "tests/tools/made_photos.h"
#include "tools/exif.h"

using skylevel::Bytes;

namespace {

// Where the pixels of the thumbnail lie.
enum class Thumbnail { none, last, beforeTheNotes };

// A block as cameras write it: a maker, sizes, the detail directory with maker notes, then a thumbnail.
class CameraBlock {
public:
    CameraBlock(bool littleEndian, unsigned orientation, unsigned width, unsigned height, Thumbnail thumbnail)
        : little(littleEndian) {
        const bool linked = thumbnail != Thumbnail::none;
        bytes = {static_cast<unsigned char>(little ? 'I' : 'M'), static_cast<unsigned char>(little ? 'I' : 'M')};
        add(42, 2);
        add(8, 4);
        add(5, 2);
        entry(0x0100, 4, 1, width);
        entry(0x0101, 4, 1, height);
        entry(0x010F, 2, 6, makerAt);
        entry(0x0112, 3, 1, orientation);
        entry(0x8769, 4, 1, detailsAt);
        add(linked ? thumbnailAt : 0, 4);
        bytes.insert(bytes.end(), {'M', 'a', 'k', 'e', 'r', 0});
        add(3, 2);
        entry(0x927C, 7, 8, notesAt);
        entry(0xA002, 3, 1, width);
        entry(0xA003, 4, 1, height);
        add(0, 4);
        const bool before = thumbnail == Thumbnail::beforeTheNotes;
        const unsigned pixelsAt = before ? gapAt : thumbnailAt + 30;
        bytes.insert(bytes.end(), 8, before ? 0xEE : 0);
        bytes.insert(bytes.end(), {1, 2, 3, 4, 5, 6, 7, 8});  // the notes
        if (!linked) return;
        add(2, 2);
        entry(0x0201, 4, 1, pixelsAt);
        entry(0x0202, 4, 1, 8);
        add(0, 4);
        if (!before) bytes.insert(bytes.end(), 8, 0xEE);
    }

    Bytes bytes;

private:
    static constexpr unsigned makerAt = 74;
    static constexpr unsigned detailsAt = 80;
    static constexpr unsigned gapAt = 122;
    static constexpr unsigned notesAt = 130;
    static constexpr unsigned thumbnailAt = 138;

    void add(unsigned value, int byteCount) {
        for (int i = 0; i < byteCount; ++i)
            bytes.push_back(static_cast<unsigned char>(value >> (8 * (little ? i : byteCount - 1 - i))));
    }
    void entry(unsigned tag, unsigned type, unsigned count, unsigned value) {
        add(tag, 2);
        add(type, 2);
        add(count, 4);
        if (type == 3) add(value, 2);
        add(type == 3 ? 0 : value, type == 3 ? 2 : 4);
    }

    bool little;
};

Bytes patched(Bytes block, int width, int height) {
    skylevel::patchExif(block, width, height);
    return block;
}

TEST(ExifPatch, ChangesOrientationSizesAndThumbnailOnly) {
    for (const bool little : {true, false})
        for (const Thumbnail thumbnail : {Thumbnail::none, Thumbnail::last, Thumbnail::beforeTheNotes}) {
            SCOPED_TRACE(testing::Message() << little << ", thumbnail " << static_cast<int>(thumbnail));
            const CameraBlock camera(little, 6, 4000, 3000, thumbnail);
            const CameraBlock expected(little, 1, 2700, 3600, Thumbnail::none);
            EXPECT_EQ(patched(camera.bytes, 2700, 3600), expected.bytes);
        }
    const Bytes small = exifBlock(8);
    EXPECT_EQ(patched(small, 5, 5), exifBlock(1)) << "sizes that are not there are not put in";
}

TEST(ExifPatch, WritesALargeSizeIntoAWiderField) {
    const Bytes block = patched(CameraBlock(true, 1, 4000, 3000, Thumbnail::none).bytes, 70000, 3000);
    const skylevel::ExifBlock exif(block);
    const auto details = exif.unsignedValue(*exif.find(8, skylevel::exifTag::exifDirectory));
    EXPECT_EQ(exif.unsignedValue(*exif.find(*details, skylevel::exifTag::pixelWidth)), 70000U);
}

TEST(ExifPatch, LeavesWhatItCannotRead) {
    const Bytes whole = CameraBlock(false, 3, 4000, 3000, Thumbnail::last).bytes;
    // Byte positions in the block: 50 the orientation's count, 70 link to the thumbnail's directory, 138 the directory,
    // 148 the pixels' position.
    const struct {
        const char* name;
        std::size_t position;
        Bytes replacement;
        bool thumbnailStays;
    } cases[] = {{"an orientation of two values", 50, {0, 0, 0, 2}, false},
                 {"a link beyond the block", 70, {0, 0, 9, 0}, true},
                 {"more thumbnail entries than bytes", 138, {99, 99}, true},
                 {"thumbnail pixels beyond the block", 148, {255, 255, 255, 255}, false},
                 {"thumbnail pixels on the header", 148, {0, 0, 0, 0}, false}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Bytes block = whole;
        std::copy(c.replacement.begin(), c.replacement.end(), block.begin() + static_cast<std::ptrdiff_t>(c.position));
        const Bytes result = patched(block, 4000, 3000);
        EXPECT_EQ(skylevel::exifOrientation(result), 1U);
        EXPECT_EQ(skylevel::ExifBlock(result).linkedDirectory(70).has_value(), c.thumbnailStays);
        const std::size_t details = 80;
        EXPECT_TRUE(std::equal(block.begin() + details, block.begin() + 138, result.begin() + details));
    }
    const Bytes broken = {'I', 'I', 43, 0, 8, 0, 0, 0, 1, 0};
    EXPECT_EQ(patched(broken, 5, 5), broken);
}

TEST(ExifPatch, StaysInsideDamagedBlocks) {
    std::mt19937 random(7);
    const Bytes whole = CameraBlock(true, 6, 4000, 3000, Thumbnail::last).bytes;
    for (int round = 0; round < 20000; ++round) {
        Bytes block = whole;
        for (int i = 0; i < 3; ++i) block[random() % block.size()] = static_cast<unsigned char>(random());
        block.resize(random() % 8 == 0 ? random() % block.size() : block.size());
        block.shrink_to_fit();
        EXPECT_LE(patched(block, 2700, 3600).size(), block.size());
    }
}

}  // namespace
