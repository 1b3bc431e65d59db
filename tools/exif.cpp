#include "tools/exif.h"

namespace skylevel {
namespace {

constexpr std::uint16_t orientationTag = 0x0112;
constexpr std::size_t headerBytes = 8;
constexpr std::size_t entryBytes = 12;
constexpr std::size_t inlineValueBytes = 4;

// Bytes of one value of a TIFF type; 0 for a type that does not exist.
std::size_t valueBytes(std::uint16_t type) {
    constexpr std::size_t sizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < std::size(sizes) ? sizes[type] : 0;
}

}  // namespace

bool ExifBlock::contains(std::size_t position, std::size_t byteCount) const {
    return position <= block.size() && byteCount <= block.size() - position;
}

std::uint16_t ExifBlock::read16(std::size_t position) const {
    const unsigned char* bytes = &block[position];
    const bool littleEndian = block[0] == 'I';
    return static_cast<std::uint16_t>(littleEndian ? bytes[0] | bytes[1] << 8 : bytes[0] << 8 | bytes[1]);
}

std::uint32_t ExifBlock::read32(std::size_t position) const {
    const std::uint32_t first = read16(position);
    const std::uint32_t second = read16(position + 2);
    return block[0] == 'I' ? first | second << 16 : first << 16 | second;
}

std::optional<std::size_t> ExifBlock::firstDirectory() const {
    if (!contains(0, headerBytes)) return {};
    if (block[0] != block[1] || (block[0] != 'I' && block[0] != 'M')) return {};
    if (read16(2) != 42) return {};
    return read32(4);
}

std::optional<ExifEntry> ExifBlock::find(std::size_t directory, std::uint16_t tag) const {
    if (!contains(directory, 2)) return {};
    const std::size_t count = read16(directory);
    if (!contains(directory + 2, count * entryBytes)) return {};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t position = directory + 2 + i * entryBytes;
        if (read16(position) != tag) continue;
        ExifEntry entry{tag, read16(position + 2), read32(position + 4), position, position + 8};
        // At most 8 x (2^32 - 1): no overflow in 64 bits.
        const std::uint64_t byteCount = std::uint64_t{valueBytes(entry.type)} * entry.count;
        if (byteCount > block.size()) return {};
        if (byteCount > inlineValueBytes) entry.valuePosition = read32(position + 8);
        if (!contains(entry.valuePosition, static_cast<std::size_t>(byteCount))) return {};
        return entry;
    }
    return {};
}

std::optional<std::uint32_t> ExifBlock::unsignedValue(const ExifEntry& entry) const {
    if (entry.count == 0) return {};
    switch (entry.type) {
        case 1:
            return block[entry.valuePosition];
        case 3:
            return read16(entry.valuePosition);
        case 4:
            return read32(entry.valuePosition);
        default:
            return {};
    }
}

unsigned exifOrientation(std::span<const unsigned char> block) {
    const ExifBlock exif(block);
    const auto directory = exif.firstDirectory();
    if (!directory) return 1;
    const auto entry = exif.find(*directory, orientationTag);
    if (!entry) return 1;
    const auto value = exif.unsignedValue(*entry);
    return value && *value >= 1 && *value <= 8 ? *value : 1;
}

}  // namespace skylevel
