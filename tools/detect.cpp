#include "tools/detect.h"

#include <cmath>
#include <utility>

#include "tools/overlay.h"

namespace skylevel {
namespace {

constexpr double pi = 3.141592653589793;

// What decideHorizon returns for a picture of which the 4:1 reduction leaves too little for edges, or for a line.
constexpr int noEdges = -6;
constexpr int noLine = -7;

Picture toGray(Picture picture) {
    if (picture.channels == 1) return picture;
    Picture gray = makePicture(picture.width, picture.height, 1);
    TiltCorrection converter(nullptr, 0, 0, 0);
    if (converter.RGB2Gray(picture.pixels.get(), gray.pixels.get(), picture.width, picture.height) != 0)
        throw FileError("the picture has no gray plane");
    return gray;
}

// The angle in the upright photo of one found in the decision's plane. That plane keeps the proportions of the
// stored pixels even when a quarter turn exchanges the sides, so that all but square photos are stretched in it.
double unstretched(double angle, const Picture& stored, int turn, const HorizonEvidence& evidence) {
    if (turn != 90 && turn != 270) return angle;
    const double photoProportions = static_cast<double>(stored.width) / stored.height;  // upright height / width
    const double planeProportions = static_cast<double>(evidence.smallHeight) / evidence.smallWidth;
    if (photoProportions == planeProportions) return angle;
    const double stretch = photoProportions / planeProportions;
    return std::atan2(std::sin(angle * pi / 180.0) * stretch, std::cos(angle * pi / 180.0)) * 180.0 / pi;
}

bool hasAngle(Verdict verdict) {
    return verdict == Verdict::topEdge || verdict == Verdict::segment || verdict == Verdict::tooTilted;
}

Orientation chosenOrientation(const Photo& photo, const DetectOptions& options) {
    return options.turn ? Orientation{false, *options.turn} : photo.orientation;
}

void drawInto(const DetectJob& job, std::span<const unsigned char> bytes, const DetectOptions& options,
              DetectResult& result) {
    try {
        checkExisting(job.overlay, job.existing);
        Photo photo = decodePhoto(bytes, PixelWish::rgb, options.maxPixels);
        photo.orientation = result.orientation;
        if (job.makesFolder) makeFolderOf(job.overlay);
        writeFile(job.overlay, drawOverlay(photo, result.decision), job.existing);
    } catch (const FileError& error) {
        result.overlayError = error.what();
    }
}

void readAndDecide(const DetectJob& job, const DetectOptions& options, DetectResult& result) {
    const Bytes bytes = readFile(job.name, requirePhoto);
    Photo photo = decodePhoto(bytes, options.gray, options.maxPixels);
    photo.orientation = chosenOrientation(photo, options);

    result.format = photo.format;
    result.orientation = photo.orientation;
    result.width = photo.uprightWidth();
    result.height = photo.uprightHeight();
    result.warnings = photo.warnings;
    result.decision = decide(std::move(photo), options);
    if (!job.overlay.empty()) drawInto(job, bytes, options, result);
}

}  // namespace

Decision decide(Photo photo, const DetectOptions& options) {
    Picture gray = toGray(std::move(photo.picture));
    if (photo.orientation.mirrored) mirror(gray);

    const GrayPlane plane{gray.pixels.get(), gray.width, gray.height, gray.width};
    TiltCorrection corrector(plane.pixels, plane.width, plane.height, plane.stride);
    corrector.setRotAngleThresh(options.threshold);

    Decision decision;
    double angle = 0.0;
    const int status =
        decideHorizon(corrector, plane, photo.orientation.turn, options.threshold, angle, &decision.evidence);
    decision.tooSmall = status == noEdges || status == noLine;
    if (decision.tooSmall) return decision;
    if (status != 0) throw FileError("the decision failed with status " + std::to_string(status));
    corrector.setRotAngle(angle);
    decision.horizon = corrector.getHasHorizon();
    if (!hasAngle(decision.evidence.verdict)) return decision;
    decision.decisionAngle = angle + 0.0;  // never -0
    decision.angle = unstretched(*decision.decisionAngle, gray, photo.orientation.turn, decision.evidence);
    return decision;
}

DetectResult detect(const DetectJob& job, const DetectOptions& options) {
    DetectResult result;
    result.error = failureOf([&] { readAndDecide(job, options, result); });
    return result;
}

}  // namespace skylevel
