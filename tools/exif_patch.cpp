#include "tools/exif_patch.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "tools/exif.h"

namespace skylevel {
namespace {

constexpr std::size_t headerBytes = 8;
constexpr std::uint16_t shortType = 3;
constexpr std::uint16_t longType = 4;
constexpr std::uint32_t largestShort = 0xFFFF;

// Real thumbnails have a dozen entries and a few strips at most. Each range can be as long as the block.
constexpr std::size_t mostThumbnailRanges = 100;

struct ByteRange {
    std::size_t begin;
    std::size_t end;

    bool overlaps(const ByteRange& other) const { return begin < other.end && other.begin < end; }
};

void writeNumber(Bytes& block, std::size_t position, std::size_t byteCount, std::uint32_t value) {
    const bool littleEndian = ExifBlock(block).isLittleEndian();
    for (std::size_t i = 0; i < byteCount; ++i) {
        const std::size_t place = littleEndian ? i : byteCount - 1 - i;
        block[position + i] = static_cast<unsigned char>(value >> (8 * place));
    }
}

void setNumber(Bytes& block, std::size_t directory, std::uint16_t tag, std::uint32_t value) {
    const ExifBlock exif(block);
    const auto entry = exif.find(directory, tag);
    if (!entry || entry->count != 1 || !exif.unsignedValue(*entry)) return;
    std::size_t byteCount = entry->valueBytes;
    if (entry->type == shortType && value > largestShort) {
        writeNumber(block, entry->position + 2, 2, longType);
        byteCount = 4;  // the field's whole width
    }
    writeNumber(block, entry->valuePosition, byteCount, value);
}

// Of several values the first, for that is the one that is read.
void setOrientation(Bytes& block, std::uint32_t value) {
    if (const auto entry = ExifBlock(block).orientation())
        writeNumber(block, entry->valuePosition, entry->valueBytes / entry->count, value);
}

std::optional<std::size_t> subdirectory(const ExifBlock& exif, std::size_t directory, std::uint16_t tag) {
    const auto entry = exif.find(directory, tag);
    if (!entry) return {};
    return exif.unsignedValue(*entry);
}

// A directory with the link at its end; nothing where that reaches beyond the block.
std::optional<ByteRange> rangeOf(const ExifBlock& exif, std::size_t directory) {
    const auto link = exif.linkPosition(directory);
    if (!link) return {};
    return ByteRange{directory, *link + 4};
}

// Whether a directory shares no byte with the header or the first one, which it would change with itself.
bool isApart(const ExifBlock& exif, std::size_t directory, std::size_t first) {
    const auto range = rangeOf(exif, directory);
    const auto other = rangeOf(exif, first);
    return range && other && range->begin >= headerBytes && !range->overlaps(*other);
}

// What a directory with the link at its end and its values take up.
void addRanges(const ExifBlock& exif, std::size_t directory, std::vector<ByteRange>& ranges) {
    const auto range = rangeOf(exif, directory);
    if (!range) return;
    ranges.push_back(*range);
    for (const ExifEntry& entry : exif.entries(directory))
        ranges.push_back({entry.valuePosition, entry.valuePosition + entry.valueBytes});
}

// Everything that is certainly in use without the thumbnail.
std::vector<ByteRange> keptRanges(const ExifBlock& exif, std::size_t first) {
    std::vector<ByteRange> ranges = {{0, headerBytes}};
    addRanges(exif, first, ranges);
    if (const auto gps = subdirectory(exif, first, exifTag::gpsDirectory)) addRanges(exif, *gps, ranges);
    const auto details = subdirectory(exif, first, exifTag::exifDirectory);
    if (!details) return ranges;
    addRanges(exif, *details, ranges);
    if (const auto inter = subdirectory(exif, *details, exifTag::interoperabilityDirectory))
        addRanges(exif, *inter, ranges);
    return ranges;
}

// The pixels of a thumbnail: pairs of an offset and a length, one for a JPEG, one or more for strips.
void addPixelRanges(const ExifBlock& exif, std::size_t directory, std::uint16_t offsetTag, std::uint16_t lengthTag,
                    std::vector<ByteRange>& ranges) {
    const auto offsets = exif.find(directory, offsetTag);
    const auto lengths = exif.find(directory, lengthTag);
    if (!offsets || !lengths) return;
    for (std::size_t i = 0; i < offsets->count; ++i) {
        const auto offset = exif.unsignedValue(*offsets, i);
        const auto length = exif.unsignedValue(*lengths, i);
        if (!offset || !length) return;
        ranges.push_back({*offset, std::size_t{*offset} + *length});
    }
}

std::vector<ByteRange> thumbnailRanges(const ExifBlock& exif, std::size_t directory) {
    std::vector<ByteRange> ranges;
    addPixelRanges(exif, directory, exifTag::thumbnailOffset, exifTag::thumbnailBytes, ranges);
    addPixelRanges(exif, directory, exifTag::stripOffsets, exifTag::stripByteCounts, ranges);
    addRanges(exif, directory, ranges);
    return ranges;
}

// Unlinks the second directory, which describes the thumbnail, and clears what only the thumbnail used.
void dropThumbnail(Bytes& block, std::size_t first) {
    const ExifBlock exif(block);
    const auto link = exif.linkPosition(first);
    const auto second = link ? exif.linkedDirectory(*link) : std::nullopt;
    if (!second || !exif.linkPosition(*second)) return;
    const std::vector<ByteRange> kept = keptRanges(exif, first);
    std::vector<ByteRange> cleared = thumbnailRanges(exif, *second);
    if (cleared.size() > mostThumbnailRanges) cleared.clear();
    std::erase_if(cleared, [&](const ByteRange& range) {
        return range.end > block.size() ||
               std::any_of(kept.begin(), kept.end(), [&](const ByteRange& other) { return range.overlaps(other); });
    });

    writeNumber(block, *link, 4, 0);
    for (const ByteRange& range : cleared) std::fill(block.begin() + range.begin, block.begin() + range.end, 0);
    std::sort(cleared.begin(), cleared.end(), [](const auto& a, const auto& b) { return a.end > b.end; });
    for (const ByteRange& range : cleared)
        if (range.end >= block.size()) block.resize(std::min(range.begin, block.size()));
}

}  // namespace

void patchExif(Bytes& block, int width, int height) {
    const ExifBlock exif(block);
    const auto first = exif.firstDirectory();
    if (!first) return;
    setNumber(block, *first, exifTag::imageWidth, static_cast<std::uint32_t>(width));
    setNumber(block, *first, exifTag::imageHeight, static_cast<std::uint32_t>(height));
    const auto details = subdirectory(exif, *first, exifTag::exifDirectory);
    if (details && isApart(exif, *details, *first)) {
        setNumber(block, *details, exifTag::pixelWidth, static_cast<std::uint32_t>(width));
        setNumber(block, *details, exifTag::pixelHeight, static_cast<std::uint32_t>(height));
    }
    setOrientation(block, 1);
    dropThumbnail(block, *first);
}

}  // namespace skylevel
