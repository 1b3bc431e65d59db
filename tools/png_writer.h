#pragma once

#include "tools/files.h"
#include "tools/picture.h"

namespace skylevel {

// A PNG file of an 8-bit gray or colour picture. Throws a FileError when libpng gives up.
Bytes encodePng(const Picture& picture);

}  // namespace skylevel
