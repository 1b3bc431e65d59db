// The horizon decision on one photo.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "corrector/horizon_decision.h"
#include "tools/photo.h"

namespace skylevel {

struct DetectOptions {
    double threshold = 10.0;           // degrees, 0 to 90
    PixelWish gray = PixelWish::luma;  // what the gray plane is made from
    std::optional<int> turn;           // instead of the file's own orientation
    std::int64_t maxPixels = std::int64_t{500} * 1000 * 1000;
};

// A photo to decide on. Everything about it is known beforehand, so that photos can be worked on in any order.
struct DetectJob {
    std::string name;                      // standardInput for standard input
    std::string overlay;                   // PNG file to draw the decision into; empty for none
    bool makesFolder = false;              // what is missing of the path to the overlay
    Existing existing = Existing::refuse;  // overlay
};

struct Decision {
    bool horizon = false;
    // Degrees, positive where the line falls to the right. Both or none are there: without a line there is no
    // angle, and "too tilted" has one without being a horizon.
    std::optional<double> angle;          // in the upright photo
    std::optional<double> decisionAngle;  // in the plane of the decision, where it met the threshold
    bool tooSmall = false;                // the reduction leaves too little to decide on
    HorizonEvidence evidence;
};

// What came of a job.
struct DetectResult {
    std::string error;  // why the photo could not be decided on; then only the name and the warnings count
    std::string overlayError;
    PhotoFormat format = PhotoFormat::jpeg;
    Orientation orientation;
    int width = 0;  // of the upright photo
    int height = 0;
    std::vector<std::string> warnings;
    Decision decision;
};

// Throws a FileError when the decision fails.
Decision decide(Photo photo, const DetectOptions& options);

// Does one job; failures are part of the result.
DetectResult detect(const DetectJob& job, const DetectOptions& options);

}  // namespace skylevel
