#include "tools/jpeg_segments.h"

#include <cstddef>
#include <cstring>

namespace skylevel {
namespace {

constexpr unsigned char firstApplicationMarker = 0xE0;
constexpr unsigned char lastApplicationMarker = 0xEF;
constexpr unsigned char commentMarker = 0xFE;
constexpr unsigned char endOfImage = 0xD9;
constexpr std::size_t lengthBytes = 2;

bool isMetadata(unsigned char marker) {
    return (marker >= firstApplicationMarker && marker <= lastApplicationMarker) || marker == commentMarker;
}

// Markers that have no length: stuffing and padding in compressed data, restarts, and the start of the image.
bool standsAlone(unsigned char marker) { return marker <= 0x01 || (marker >= 0xD0 && marker <= 0xD8); }

}  // namespace

bool startsWith(std::span<const unsigned char> data, std::string_view header) {
    return data.size() >= header.size() && std::memcmp(data.data(), header.data(), header.size()) == 0;
}

void dropExifHeader(Bytes& exif) {
    if (startsWith(exif, exifHeader)) exif.erase(exif.begin(), exif.begin() + exifHeader.size());
}

JpegSegments findSegments(std::span<const unsigned char> file) {
    JpegSegments segments;
    std::size_t position = 0;
    while (position + 1 < file.size()) {
        // Compressed data and stray bytes alike: go on to the next marker.
        const unsigned char marker = file[position + 1];
        if (file[position] != 0xFF || marker == 0xFF || standsAlone(marker)) {
            ++position;
            continue;
        }
        position += 2;
        if (marker == endOfImage) {
            segments.trailing = file.subspan(position);
            break;
        }
        if (file.size() - position < lengthBytes) break;
        const std::size_t length = std::size_t{file[position]} << 8 | file[position + 1];
        if (length < lengthBytes || length > file.size() - position) {
            segments.damaged = true;
            if (length >= lengthBytes) break;
            position += lengthBytes;
            continue;
        }
        if (isMetadata(marker))
            segments.metadata.push_back({marker, file.subspan(position + lengthBytes, length - lengthBytes)});
        position += length;
    }
    return segments;
}

void appendSegment(Bytes& file, unsigned char marker, std::span<const unsigned char> data) {
    const std::size_t length = data.size() + lengthBytes;
    file.insert(file.end(),
                {0xFF, marker, static_cast<unsigned char>(length >> 8), static_cast<unsigned char>(length)});
    file.insert(file.end(), data.begin(), data.end());
}

}  // namespace skylevel
