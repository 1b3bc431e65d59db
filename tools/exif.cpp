#include "tools/exif.h"

namespace skylevel {
namespace {

constexpr std::size_t headerBytes = 8;
constexpr std::size_t entryBytes = 12;
constexpr std::size_t inlineValueBytes = 4;

// Bytes of one value of a TIFF type; 0 for a type that does not exist.
std::size_t bytesOfType(std::uint16_t type) {
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

std::optional<std::size_t> ExifBlock::entryCount(std::size_t directory) const {
    if (!contains(directory, 2)) return {};
    const std::size_t count = read16(directory);
    if (!contains(directory + 2, count * entryBytes)) return {};
    return count;
}

std::optional<ExifEntry> ExifBlock::entryAt(std::size_t position) const {
    ExifEntry entry{read16(position), read16(position + 2), read32(position + 4), position, position + 8};
    // At most 8 x (2^32 - 1): no overflow in 64 bits.
    const std::uint64_t byteCount = std::uint64_t{bytesOfType(entry.type)} * entry.count;
    if (byteCount > block.size()) return {};
    entry.valueBytes = static_cast<std::size_t>(byteCount);
    if (byteCount > inlineValueBytes) entry.valuePosition = read32(position + 8);
    if (!contains(entry.valuePosition, entry.valueBytes)) return {};
    return entry;
}

std::optional<ExifEntry> ExifBlock::find(std::size_t directory, std::uint16_t tag) const {
    const std::size_t count = entryCount(directory).value_or(0);
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t position = directory + 2 + i * entryBytes;
        if (read16(position) == tag) return entryAt(position);
    }
    return {};
}

std::vector<ExifEntry> ExifBlock::entries(std::size_t directory) const {
    std::vector<ExifEntry> result;
    const std::size_t count = entryCount(directory).value_or(0);
    for (std::size_t i = 0; i < count; ++i)
        if (const auto entry = entryAt(directory + 2 + i * entryBytes)) result.push_back(*entry);
    return result;
}

std::optional<std::uint32_t> ExifBlock::unsignedValue(const ExifEntry& entry, std::size_t index) const {
    if (index >= entry.count) return {};
    switch (entry.type) {
        case 1:
            return block[entry.valuePosition + index];
        case 3:
            return read16(entry.valuePosition + 2 * index);
        case 4:
            return read32(entry.valuePosition + 4 * index);
        default:
            return {};
    }
}

std::optional<std::size_t> ExifBlock::linkPosition(std::size_t directory) const {
    const auto count = entryCount(directory);
    if (!count || !contains(directory + 2 + *count * entryBytes, 4)) return {};
    return directory + 2 + *count * entryBytes;
}

std::optional<std::size_t> ExifBlock::linkedDirectory(std::size_t linkPosition) const {
    const std::size_t directory = read32(linkPosition);
    if (directory == 0) return {};
    return directory;
}

std::optional<ExifEntry> ExifBlock::orientation() const {
    const auto directory = firstDirectory();
    const auto entry = directory ? find(*directory, exifTag::orientation) : std::nullopt;
    if (!entry || entry->valueBytes > inlineValueBytes || !unsignedValue(*entry)) return {};
    return entry;
}

unsigned exifOrientation(std::span<const unsigned char> block) {
    const ExifBlock exif(block);
    const auto entry = exif.orientation();
    const std::uint32_t value = entry ? *exif.unsignedValue(*entry) : 1;
    return value >= 1 && value <= 8 ? value : 1;
}

}  // namespace skylevel
