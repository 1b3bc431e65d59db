// The part of the TIFF structure inside EXIF that the tool needs. A block is what follows "Exif\0\0" in a JPEG and
// the whole of a PNG's eXIf chunk. No offset or count in it is believed: nothing outside the block is read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace skylevel {

// A directory entry and where its values lie, all as byte positions in the block.
struct ExifEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::size_t position = 0;       // of the entry's 12 bytes
    std::size_t valuePosition = 0;  // of the first value; its bytes are inside the block
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
    // The first value of an entry of unsigned integers (1, 2 or 4 bytes each).
    std::optional<std::uint32_t> unsignedValue(const ExifEntry& entry) const;

private:
    bool contains(std::size_t position, std::size_t byteCount) const;
    // The position must be inside the block.
    std::uint16_t read16(std::size_t position) const;
    std::uint32_t read32(std::size_t position) const;

    std::span<const unsigned char> block;
};

// The orientation tag, 1 to 8; 1 when it is missing or anything about it is malformed.
unsigned exifOrientation(std::span<const unsigned char> block);

}  // namespace skylevel
