// The horizon decision and, for those who ask, what it was based on.
#pragma once

#include <memory>

#include "lines/top_edge.h"
#include "skylevel/analysis.h"
#include "skylevel/skylevel.h"

namespace skylevel {

// A gray plane that somebody else owns: height rows of stride bytes.
struct GrayPlane {
    unsigned char* pixels;
    int width;
    int height;
    int stride;
};

// What decided, or why there is no horizon.
enum class Verdict {
    topEdge,    // horizon: the line through the top-edge profile
    segment,    // horizon: the longest dense, flat segment
    busyScene,  // too large a share of the map are edges
    noSegment,  // no straight segment at all
    noDense,    // segments, none of them solid enough
    noFlat,     // solid segments, none of them near level
    tooShort,   // the longest solid, flat segment is shorter than half the width
    tooTilted   // the chosen segment is within the search's margin but not within the threshold
};

// Filled by decideHorizon as far as it got. Coordinates are those of the reduced, upright plane.
struct HorizonEvidence {
    Verdict verdict = Verdict::noSegment;
    int smallWidth = 0;
    int smallHeight = 0;
    std::unique_ptr<unsigned char[]> edges;  // the whole edge map, smallWidth x smallHeight
    FittedLine topEdge;                      // valid for Verdict::topEdge
    double edgeMean = 0.0;                   // 0 to 255; valid for every other verdict
    std::unique_ptr<_Line[]> segments;       // in the order in which they were found
    int segmentCount = 0;
    int chosen = -1;  // index of the longest dense, flat segment; -1 without one
};

// The rule behind TiltCorrection::detectHorizon, with its statuses.
// stages    runs the single stages; none of its fields is read or written
// angle     degrees; the angle found or the largest finite double, as it was before the line fit
// evidence  null when nobody asks
int decideHorizon(TiltCorrection& stages, const GrayPlane& picture, int imageAngle, double angleThresh, double& angle,
                  HorizonEvidence* evidence);

}  // namespace skylevel
