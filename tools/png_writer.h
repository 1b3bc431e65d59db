#pragma once

#include "tools/files.h"
#include "tools/picture.h"

namespace skylevel {

// A PNG file of a picture. Throws a FileError when libpng gives up.
Bytes encodePng(const Picture& picture);

}  // namespace skylevel
