#include "tools/metadata.h"

#include <algorithm>
#include <string_view>

#include "tools/exif_patch.h"
#include "tools/jpeg_segments.h"
#include "tools/png_chunks.h"

namespace skylevel {
namespace {

using namespace std::string_view_literals;
using ByteSpan = std::span<const unsigned char>;

constexpr unsigned char jfifMarker = 0xE0;
constexpr unsigned char exifMarker = 0xE1;  // and XMP
constexpr unsigned char multiPictureMarker = 0xE2;
constexpr unsigned char profileMarker = 0xE2;
constexpr std::size_t longestSegment = 65533;
constexpr std::size_t longestProfile = 255 * (longestSegment - 14);
constexpr auto profileHeader = "ICC_PROFILE\0"sv;
constexpr auto jfifHeader = "JFIF\0"sv;
constexpr auto jfifExtensionHeader = "JFXX\0"sv;
constexpr auto xmpHeader = "http://ns.adobe.com/xap/1.0/\0"sv;
constexpr auto multiPictureHeader = "MPF\0"sv;
constexpr auto pngXmpHeader = "XML:com.adobe.xmp\0\0"sv;  // not compressed
constexpr std::size_t jfifBytes = 14;                     // without a thumbnail
constexpr std::ptrdiff_t startOfImageBytes = 2;

bool isUpright(const Orientation& orientation) { return !orientation.mirrored && orientation.turn == 0; }

// Sets every tiff:Orientation of an XMP packet to 1. All its values are one digit long.
void resetXmpOrientation(Bytes& packet) {
    constexpr auto name = "tiff:Orientation"sv;
    auto position = packet.begin();
    while ((position = std::search(position, packet.end(), name.begin(), name.end())) != packet.end()) {
        position += static_cast<std::ptrdiff_t>(name.size());
        const auto value = std::find_if(position, packet.end(), [](unsigned char byte) {
            return " \t\r\n='\">"sv.find(static_cast<char>(byte)) == std::string_view::npos;
        });
        if (value != packet.end() && *value >= '1' && *value <= '8') *value = '1';
    }
}

// Copies the segments of a JPEG file one by one, as far as they hold for the new picture.
class JpegSegmentCarrier {
public:
    JpegSegmentCarrier(const Photo& carriedPhoto, int newWidth, int newHeight)
        : photo(carriedPhoto), width(newWidth), height(newHeight) {}

    void carry(const JpegSegment& segment, Bytes& file) {
        if (segment.marker == jfifMarker && startsWith(segment.data, jfifExtensionHeader)) return;
        if (segment.marker == multiPictureMarker && startsWith(segment.data, multiPictureHeader)) return;
        Bytes data(segment.data.begin(), segment.data.end());
        if (segment.marker == jfifMarker && startsWith(segment.data, jfifHeader)) dropJfifThumbnail(data);
        if (segment.marker == exifMarker && startsWith(segment.data, exifHeader)) patch(data);
        if (segment.marker == exifMarker && startsWith(segment.data, xmpHeader) && !isUpright(photo.orientation))
            resetXmpOrientation(data);
        appendSegment(file, segment.marker, data);
    }

private:
    static void dropJfifThumbnail(Bytes& data) {
        if (data.size() <= jfifBytes) return;
        data.resize(jfifBytes);
        data[jfifBytes - 2] = 0;  // its width
        data[jfifBytes - 1] = 0;  // and height
    }

    // The first EXIF is the one that was believed.
    void patch(Bytes& data) {
        if (patched) return;
        patched = true;
        Bytes block(data.begin() + exifHeader.size(), data.end());
        patchExif(block, width, height);
        data.resize(exifHeader.size());
        data.insert(data.end(), block.begin(), block.end());
    }

    const Photo& photo;
    int width;
    int height;
    bool patched = false;
};

CarriedFile carryJpeg(ByteSpan original, const Photo& photo, const Bytes& encoded, int width, int height) {
    CarriedFile result;
    result.bytes.assign(encoded.begin(), encoded.begin() + startOfImageBytes);
    JpegSegmentCarrier carrier(photo, width, height);
    const JpegSegments segments = findSegments(original);
    for (const JpegSegment& segment : segments.metadata) carrier.carry(segment, result.bytes);
    result.bytes.insert(result.bytes.end(), encoded.begin() + startOfImageBytes, encoded.end());
    return result;
}

// Ancillary chunks that hold for any pixels by their own declaration (the fourth letter), or because the new pixels
// mean the same colours.
bool isKept(std::string_view type) {
    constexpr std::string_view known[] = {"iCCP", "gAMA", "cHRM", "sRGB", "cICP", "mDCV", "cLLI", "tIME"};
    const auto isLower = [](char letter) { return letter >= 'a' && letter <= 'z'; };
    if (!isLower(type[0])) return false;
    return isLower(type[3]) || std::find(std::begin(known), std::end(known), type) != std::end(known);
}

// Copies the chunks of a PNG file that are kept.
class PngChunkCarrier {
public:
    PngChunkCarrier(const Photo& carriedPhoto, int newWidth, int newHeight)
        : photo(carriedPhoto), width(newWidth), height(newHeight) {}

    void carry(const PngChunk& chunk, Bytes& file) {
        Bytes data(chunk.data.begin(), chunk.data.end());
        if (chunk.type == "eXIf" && !patched) {
            patched = true;
            patchExif(data, width, height);
            appendChunk(file, chunk.type, data);
        } else if (chunk.type == "iTXt" && startsWith(chunk.data, pngXmpHeader) && !isUpright(photo.orientation)) {
            resetXmpOrientation(data);
            appendChunk(file, chunk.type, data);
        } else {
            file.insert(file.end(), chunk.whole.begin(), chunk.whole.end());
        }
    }

private:
    const Photo& photo;
    int width;
    int height;
    bool patched = false;
};

CarriedFile carryPng(ByteSpan original, const Photo& photo, const Bytes& encoded, int width, int height) {
    CarriedFile result;
    Bytes before;
    Bytes after;
    bool pixelsPassed = false;
    PngChunkCarrier carrier(photo, width, height);
    for (const PngChunk& chunk : findChunks(original)) {
        pixelsPassed = pixelsPassed || chunk.type == "IDAT";
        if (isKept(chunk.type)) carrier.carry(chunk, pixelsPassed ? after : before);
        if (chunk.type == "acTL") result.warnings.emplace_back("not kept: all but the first picture of an animation");
    }
    const std::size_t signatureBytes = 8;
    result.bytes.assign(encoded.begin(), encoded.begin() + signatureBytes);
    for (const PngChunk& chunk : findChunks(encoded)) {
        if (chunk.type == "IEND") result.bytes.insert(result.bytes.end(), after.begin(), after.end());
        result.bytes.insert(result.bytes.end(), chunk.whole.begin(), chunk.whole.end());
        if (chunk.type == "IHDR") result.bytes.insert(result.bytes.end(), before.begin(), before.end());
    }
    return result;
}

// With what a new picture makes untrue put right. XMP repeats the orientation of a HEIC file, too, which was made
// upright by other means.
MetadataBlocks corrected(const Photo& photo, int width, int height) {
    MetadataBlocks blocks = photo.metadata;
    patchExif(blocks.exif, width, height);
    if (photo.format == PhotoFormat::heic || !isUpright(photo.orientation)) resetXmpOrientation(blocks.xmp);
    return blocks;
}

Bytes joined(std::string_view header, ByteSpan rest) {
    Bytes data(header.begin(), header.end());
    data.insert(data.end(), rest.begin(), rest.end());
    return data;
}

// In as many segments as it needs, which are numbered from 1.
void appendProfile(Bytes& file, ByteSpan profile) {
    constexpr std::size_t part = longestSegment - profileHeader.size() - 2;
    const std::size_t count = (profile.size() + part - 1) / part;
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char numbers[] = {static_cast<unsigned char>(i + 1), static_cast<unsigned char>(count)};
        Bytes data = joined(profileHeader, numbers);
        const ByteSpan piece = profile.subspan(i * part, std::min(part, profile.size() - i * part));
        data.insert(data.end(), piece.begin(), piece.end());
        appendSegment(file, profileMarker, data);
    }
}

// Into a JPEG, with a warning for what its segments cannot hold.
CarriedFile carryHeic(const Photo& photo, const Bytes& encoded, int width, int height) {
    const MetadataBlocks blocks = corrected(photo, width, height);
    CarriedFile result;
    result.bytes.assign(encoded.begin(), encoded.begin() + startOfImageBytes);
    const auto fits = [&](std::size_t most, const Bytes& block, const char* what) {
        if (block.size() > most) result.warnings.push_back(std::string("not kept: too much ") + what);
        return !block.empty() && block.size() <= most;
    };
    if (fits(longestSegment - exifHeader.size(), blocks.exif, "EXIF for a JPEG"))
        appendSegment(result.bytes, exifMarker, joined(exifHeader, blocks.exif));
    if (fits(longestSegment - xmpHeader.size(), blocks.xmp, "XMP for a JPEG"))
        appendSegment(result.bytes, exifMarker, joined(xmpHeader, blocks.xmp));
    if (fits(longestProfile, blocks.profile, "colour profile for a JPEG")) appendProfile(result.bytes, blocks.profile);
    result.bytes.insert(result.bytes.end(), encoded.begin() + startOfImageBytes, encoded.end());
    return result;
}

CarriedFile carry(ByteSpan original, const Photo& photo, const Bytes& encoded, int width, int height) {
    switch (photo.format) {
        case PhotoFormat::jpeg:
            return carryJpeg(original, photo, encoded, width, height);
        case PhotoFormat::png:
            return carryPng(original, photo, encoded, width, height);
        case PhotoFormat::webp:
            return {formatOf(photo.format).embed(encoded, corrected(photo, width, height)), {}};
        case PhotoFormat::heic:
            return carryHeic(photo, encoded, width, height);
    }
    return {};
}

}  // namespace

CarriedFile carryMetadata(ByteSpan original, const Photo& photo, const Bytes& encoded, int width, int height) {
    CarriedFile result = carry(original, photo, encoded, width, height);
    if (photo.bytesBehind > 0)
        result.warnings.push_back("not kept: " + std::to_string(photo.bytesBehind) +
                                  " bytes behind the picture, such as further pictures or a film");
    return result;
}

}  // namespace skylevel
