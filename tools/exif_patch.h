// EXIF for a picture whose pixels were made upright and cut.
#pragma once

#include "tools/files.h"

namespace skylevel {

// Makes a block say orientation 1 and, where it gave sizes, these, and takes the thumbnail of the old picture out of
// it. Every other byte stays as it is where it is, so that offsets within maker notes hold; whatever cannot be read
// stays as it is, too.
// block  what follows "Exif\0\0" in a JPEG, or a PNG's eXIf chunk; shorter afterwards when the thumbnail was at its end
void patchExif(Bytes& block, int width, int height);

}  // namespace skylevel
