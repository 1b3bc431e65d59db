// The part of the TIFF structure inside EXIF that the tool needs. A block is what follows "Exif\0\0" in a JPEG and
// the whole of a PNG's eXIf chunk. No offset or count in it is believed: nothing outside the block is read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace skylevel {

namespace exifTag {
constexpr std::uint16_t imageWidth = 0x0100;
constexpr std::uint16_t imageHeight = 0x0101;
constexpr std::uint16_t stripOffsets = 0x0111;
constexpr std::uint16_t orientation = 0x0112;
constexpr std::uint16_t stripByteCounts = 0x0117;
constexpr std::uint16_t thumbnailOffset = 0x0201;
constexpr std::uint16_t thumbnailBytes = 0x0202;
constexpr std::uint16_t exifDirectory = 0x8769;
constexpr std::uint16_t gpsDirectory = 0x8825;
constexpr std::uint16_t pixelWidth = 0xA002;
constexpr std::uint16_t pixelHeight = 0xA003;
constexpr std::uint16_t interoperabilityDirectory = 0xA005;
}  // namespace exifTag

// A directory entry and where its values lie, all as byte positions in the block.
struct ExifEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::size_t position = 0;       // of the entry's 12 bytes
    std::size_t valuePosition = 0;  // of the first value
    std::size_t valueBytes = 0;     // of all values; they are inside the block
};

class ExifBlock {
public:
    // The bytes must outlive the object.
    explicit ExifBlock(std::span<const unsigned char> bytes) : block(bytes) {}

    // Position of the first directory; nothing when the block is not TIFF.
    std::optional<std::size_t> firstDirectory() const;
    // The first entry with this tag. Nothing when there is none, or when it or the directory, or the
    // values of the entry, reach beyond the block.
    std::optional<ExifEntry> find(std::size_t directory, std::uint16_t tag) const;
    // All entries with their values inside the block; none when the directory reaches beyond it.
    std::vector<ExifEntry> entries(std::size_t directory) const;
    // A value of an entry of unsigned integers (1, 2 or 4 bytes each).
    std::optional<std::uint32_t> unsignedValue(const ExifEntry& entry, std::size_t index = 0) const;
    // The entry of the orientation, which has a number for its value inside the entry; of several the first counts.
    // Elsewhere a value could share its bytes with anything.
    std::optional<ExifEntry> orientation() const;
    // Position of the field that says where the next directory is. Nothing when it is not inside the block.
    std::optional<std::size_t> linkPosition(std::size_t directory) const;
    // Where the field points; nothing at the end of the chain.
    std::optional<std::size_t> linkedDirectory(std::size_t linkPosition) const;
    // Whether numbers have their low byte first. The block must be TIFF.
    bool isLittleEndian() const { return block[0] == 'I'; }

private:
    bool contains(std::size_t position, std::size_t byteCount) const;
    std::optional<std::size_t> entryCount(std::size_t directory) const;
    std::optional<ExifEntry> entryAt(std::size_t position) const;
    // The position must be inside the block.
    std::uint16_t read16(std::size_t position) const;
    std::uint32_t read32(std::size_t position) const;

    std::span<const unsigned char> block;
};

// The orientation tag, 1 to 8; 1 when it is missing or anything about it is malformed.
unsigned exifOrientation(std::span<const unsigned char> block);

}  // namespace skylevel
