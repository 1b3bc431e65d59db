// A picture of why the decision was as it was.
#pragma once

#include "tools/detect.h"
#include "tools/files.h"
#include "tools/photo.h"

namespace skylevel {

// The upright photo, scaled to a handy size, with the edge map, the segments and the deciding line drawn over
// it and the verdict below: a PNG file.
// photo  of three channels, as it was decoded for the decision otherwise
Bytes drawOverlay(const Photo& photo, const Decision& decision);

}  // namespace skylevel
