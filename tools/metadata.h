// What a photo's file says beside its pixels, carried over to a new picture of it.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "tools/files.h"
#include "tools/photo.h"

namespace skylevel {

struct CarriedFile {
    Bytes bytes;
    std::vector<std::string> warnings;  // about what was left behind
};

// The file of an encoded picture with the metadata of the photo that the picture was made from. Everything is copied
// byte for byte and in order but: EXIF as in patchExif; the orientation that XMP repeats becomes 1 where the photo was
// turned upright; small copies of the old picture in a JPEG's JFIF segments are dropped, and so are further pictures
// and films behind the first, with the index of them; of a PNG's chunks, those that belong to the old pixels.
// original  the photo's file, with the orientation that was read from it
// encoded   a file of the same format as it comes from its encoder, without metadata; a JPEG file for a HEIC photo
CarriedFile carryMetadata(std::span<const unsigned char> original, const Photo& photo, const Bytes& encoded, int width,
                          int height);

}  // namespace skylevel
