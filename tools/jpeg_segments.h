// The marker segments of a JPEG file that carry metadata.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "tools/files.h"

namespace skylevel {

// How the data of an EXIF segment begins; the block follows.
constexpr std::string_view exifHeader{"Exif\0\0", 6};

bool startsWith(std::span<const unsigned char> data, std::string_view header);

// Some writers put that header in other formats, too, where the block alone belongs: takes it off.
void dropExifHeader(Bytes& exif);

struct JpegSegment {
    unsigned char marker = 0;             // 0xE0 to 0xEF or 0xFE
    std::span<const unsigned char> data;  // without marker and length
};

struct JpegSegments {
    std::vector<JpegSegment> metadata;        // APPn and COM in the order of the file
    std::span<const unsigned char> trailing;  // what follows the end of the image
    bool damaged = false;                     // a length cannot be true: segments may be missing or wrong
};

// Walks a file as far as its structure can be followed; the spans lie in it. A length too short for itself is passed
// over as libjpeg does.
JpegSegments findSegments(std::span<const unsigned char> file);

// Writes a segment. The data must not be longer than 65533 bytes.
void appendSegment(Bytes& file, unsigned char marker, std::span<const unsigned char> data);

}  // namespace skylevel
