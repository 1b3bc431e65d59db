// Straightening one photo.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/detect.h"
#include "tools/photo.h"

namespace skylevel {

struct StraightenOptions {
    DetectOptions decision;
    std::optional<double> angle;  // degrees, positive clockwise: the turn of the content, instead of deciding
    double minAngle = 0.1;        // degrees; a photo to be turned by less is left alone
    double maxAngle = 15.0;       // degrees; a horizon further from level is, too
    bool keepCanvas = false;      // the whole turned photo, with empty corners
    int quality = 95;             // of a JPEG or a lossy WebP, 1 to 100
};

// A photo to straighten. Everything about it is known beforehand, so that photos can be worked on in any order.
struct StraightenJob {
    std::string name;       // standardInput for standard input
    std::string output;     // the file to write
    std::string converted;  // instead, for a turned photo in a format that cannot be written; often the same. Empty
                            // when there must be none, for the output is the photo itself
    bool inFolder = false;  // that file is one of a folder's: what is missing of the path to it is made, and a photo
                            // that is left alone is written, too, unchanged
    Existing existing = Existing::refuse;  // output

    bool replacesItself() const { return converted.empty(); }
};

enum class Outcome {
    turned,
    noHorizon,   // and these are left alone
    level,       // to be turned by less than minAngle
    beyondLimit  // further from level than maxAngle
};

// What came of a job.
struct StraightenResult {
    std::string error;  // why nothing was written; then only the name and the warnings count
    std::vector<std::string> warnings;
    Outcome outcome = Outcome::noHorizon;
    std::optional<Decision> decision;  // in the upright photo; none when the angle was given
    double turn = 0.0;                 // degrees, positive clockwise; when turned
    PhotoFormat format = PhotoFormat::jpeg;
    int width = 0;  // of the upright photo
    int height = 0;
    int newWidth = 0;  // of the photo written; when turned
    int newHeight = 0;
    PhotoFormat newFormat = PhotoFormat::jpeg;  // when turned
    std::string output;                         // what was written; empty for nothing
};

// Does one job; failures are part of the result.
StraightenResult straighten(const StraightenJob& job, const StraightenOptions& options);

}  // namespace skylevel
