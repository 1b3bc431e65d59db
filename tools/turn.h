#pragma once

#include "tools/picture.h"

namespace skylevel {

// A picture with its content turned by an angle, each channel by itself, alpha included.
// degrees     -180 to 180; positive turns clockwise
// keepCanvas  whether the result is the whole turned picture with empty (black, transparent) corners, or what
//             straightCut leaves of it
// Throws a FileError when the result is too large, or nothing is left.
Picture turnedContent(Picture picture, double degrees, bool keepCanvas);

}  // namespace skylevel
