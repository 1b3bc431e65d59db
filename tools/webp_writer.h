#pragma once

#include "tools/files.h"
#include "tools/photo.h"

namespace skylevel {

// A WebP file of a photo's picture, of three or four channels, without metadata; lossless when the photo is.
// quality  1 to 100, when it is not
// Throws a FileError when a side is too long for the format, or libwebp gives up.
Bytes encodeWebp(const Photo& photo, int quality);

// Such a file with metadata in it. Throws a FileError when libwebpmux gives up.
Bytes withMetadata(const Bytes& webp, const MetadataBlocks& blocks);

}  // namespace skylevel
