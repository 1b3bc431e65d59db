#pragma once

#include "tools/files.h"
#include "tools/photo.h"
#include "tools/picture.h"

namespace skylevel {

// A JPEG file of a picture with one or three channels, without any segment of metadata.
// coding   colours other than inks; sampling that a writer cannot follow becomes none
// quality  1 to 100
// Throws a FileError when libjpeg gives up.
Bytes encodeJpeg(const Picture& picture, const JpegCoding& coding, int quality);

}  // namespace skylevel
