#include "corrector/horizon_decision.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "imaging/reduction.h"
#include "platform/log.h"

namespace skylevel {
namespace {

constexpr double noAngle = std::numeric_limits<double>::max();
constexpr double pi = 3.141592653589793;
constexpr int reduction = 4;

constexpr float sigma = 1.4142135f;
constexpr float lowRatio = 0.4f;
constexpr float highRatio = 0.7f;
constexpr HorizonFitParams fitParameters = {0.25, 0.9, 16.0};

// About a fifth of the map: beyond that, segments are found everywhere and mean nothing.
constexpr double busyMean = 50.0;
constexpr double leastDensity = 0.8;
// The search looks a little beyond the threshold, so that a longer line just above it outweighs a
// shorter one below it.
constexpr double searchMargin = 1.3;

enum Status {
    decided = 0,
    noPicture = -2,
    reductionFailed = -4,
    edgesFailed = -6,
    lineFitFailed = -7,
    meanFailed = -8,
    segmentsFailed = -9
};

Status failed(Status status, const char* stage) {
    SKYLEVEL_LOG_DEBUG("TiltCorrection: %s error\n", stage);
    return status;
}

// What houghLine hands over, released on every path.
struct SegmentList {
    _Line* records = nullptr;
    int count = 0;

    SegmentList() = default;
    SegmentList(const SegmentList&) = delete;
    SegmentList& operator=(const SegmentList&) = delete;
    ~SegmentList() { delete[] records; }
};

float segmentLength(const _Line& line) {
    const int dx = line.x0 - line.x1;
    const int dy = line.y0 - line.y1;
    return sqrtf(static_cast<float>(dx * dx + dy * dy));
}

float segmentDensity(const _Line& line) {
    return static_cast<float>(line.edgeCount) / static_cast<float>(line.pixelCount);
}

// Degrees, the same from either end.
float segmentAngle(const _Line& line) {
    if (line.x1 == line.x0) return 90.0f;
    const float slope = static_cast<float>(line.y1 - line.y0) / static_cast<float>(line.x1 - line.x0);
    return static_cast<float>(static_cast<double>(atanf(slope) * 180.0f) / pi);
}

// The longest dense and flat enough segment, the earliest among equals.
struct Choice {
    int index = -1;
    int length = -1;  // truncated
    double angle = noAngle;
    bool anyDense = false;
};

Choice chooseSegment(const SegmentList& segments, double angleLimit) {
    Choice choice;
    for (int i = 0; i < segments.count; ++i) {
        const _Line& line = segments.records[i];
        const float length = segmentLength(line);
        const float density = segmentDensity(line);
        const auto angle = static_cast<double>(segmentAngle(line));
        SKYLEVEL_LOG_DEBUG("line %d: (%d,%d)->(%d,%d); length:%.2f; density: %.2f; angle: %.2f", i, line.x0, line.y0,
                           line.x1, line.y1, static_cast<double>(length), static_cast<double>(density), angle);
        if (static_cast<double>(density) < leastDensity) continue;
        choice.anyDense = true;
        const int whole = static_cast<int>(length);
        if (whole <= choice.length || angle >= angleLimit) continue;
        choice.index = i;
        choice.length = whole;
        choice.angle = angle;
    }
    return choice;
}

Verdict whyNoChoice(const SegmentList& segments, const Choice& choice) {
    if (segments.count == 0) return Verdict::noSegment;
    return choice.anyDense ? Verdict::noFlat : Verdict::noDense;
}

void keepSegments(SegmentList& segments, const Choice& choice, Verdict verdict, HorizonEvidence& evidence) {
    evidence.verdict = verdict;
    evidence.chosen = choice.index;
    evidence.segmentCount = std::exchange(segments.count, 0);
    evidence.segments.reset(std::exchange(segments.records, nullptr));
}

// Fills the reduced plane. False when the orientation is none of the four.
bool reduce(TiltCorrection& stages, const GrayPlane& picture, int imageAngle, unsigned char* small, int smallWidth,
            int smallHeight) {
    stages.downsampleWithAngle(picture.pixels, picture.width, picture.height, picture.stride, imageAngle, small,
                               smallWidth, smallHeight);
    if (!isQuarterTurn(imageAngle)) return false;
    if (!fitsOffsetTable(imageAngle, smallWidth, smallHeight)) {
        const std::unique_ptr<int[]> offsets(new int[offsetTableLength(imageAngle, smallWidth, smallHeight)]);
        sampleOriented(picture.pixels, picture.width, picture.height, picture.stride, imageAngle, small, smallWidth,
                       smallHeight, offsets.get());
    }
    return true;
}

// The second stage: the longest dense, flat segment of an edge map in which no top edge was found.
Status searchSegments(TiltCorrection& stages, unsigned char* edges, int smallWidth, int smallHeight, double angleThresh,
                      double& angle, HorizonEvidence* evidence) {
    angle = noAngle;
    double edgeMean = 0.0;
    if (stages.mean(edges, smallWidth * smallHeight, edgeMean) != 0)
        return failed(meanFailed, "mean value computation");
    SKYLEVEL_LOG_DEBUG("mean value of edge image: %.2f", edgeMean);
    if (evidence != nullptr) evidence->edgeMean = edgeMean;
    if (edgeMean > busyMean) {
        if (evidence != nullptr) evidence->verdict = Verdict::busyScene;
        return decided;
    }

    const int votes = smallWidth / 10;
    HoughParams parameters = {1.0f, 0.017453292f, static_cast<float>(votes), static_cast<float>(votes * 0.4), 8.0f};
    SegmentList segments;
    if (houghLine(edges, smallWidth, smallHeight, &parameters.rho, segments.records, segments.count) != 0)
        return failed(segmentsFailed, "hough lines");

    const Choice choice = chooseSegment(segments, angleThresh * searchMargin);
    const int index = choice.index < 0 ? 0 : choice.index;
    const _Line line = choice.index < 0 ? _Line{} : segments.records[choice.index];
    SKYLEVEL_LOG_DEBUG("rot angle: %.2f; longest line is %d-th line (%d,%d)->(%d,%d) lenght(%.2f);", choice.angle,
                       index, line.x0, line.y0, line.x1, line.y1, static_cast<double>(segmentLength(line)));
    const auto share = static_cast<double>(static_cast<float>(choice.length) / static_cast<float>(smallWidth));
    Verdict verdict = Verdict::tooShort;
    if (choice.length >= smallWidth * 0.5) {
        angle = choice.angle;
        SKYLEVEL_LOG_DEBUG("input rot angle: %.2f: [%d,%d]=%.2f", angle, choice.length, smallWidth, share);
        verdict = angle <= angleThresh ? Verdict::segment : Verdict::tooTilted;
    } else {
        SKYLEVEL_LOG_DEBUG("input rot angle is out of range: [%d,%d]=%.2f", choice.length, smallWidth, share);
        if (choice.index < 0) verdict = whyNoChoice(segments, choice);
    }
    if (evidence != nullptr) keepSegments(segments, choice, verdict, *evidence);
    return decided;
}

}  // namespace

int decideHorizon(TiltCorrection& stages, const GrayPlane& picture, int imageAngle, double angleThresh, double& angle,
                  HorizonEvidence* evidence) {
    if (picture.pixels == nullptr || picture.width < 1 || picture.height < 1) return noPicture;
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!Enter detectRotAngle sucessful!!!!!!!!!!!!!!");

    const int smallWidth = picture.width / reduction;
    const int smallHeight = picture.height / reduction;
    const std::int64_t pixelCount = std::int64_t{smallWidth} * smallHeight;
    if (pixelCount > std::numeric_limits<int>::max()) return failed(reductionFailed, "downsample");
    const auto byteCount = static_cast<std::size_t>(pixelCount);
    std::unique_ptr<unsigned char[]> small(new unsigned char[byteCount]);
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!Enter detectRotAngle 1 sucessful!!!!!!!!!!!!!!");
    SKYLEVEL_LOG_DEBUG("smallWidth is: %d, smallHeight is: %d, imageAngle is: %d", picture.width, picture.height,
                       imageAngle);
    // An empty plane is the edge detector's to refuse, whatever the orientation.
    if (!reduce(stages, picture, imageAngle, small.get(), smallWidth, smallHeight) && pixelCount > 0)
        return failed(reductionFailed, "downsample");
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!RGB2SmallGray sucessful end !!!!!!!!!!!!!!");

    const std::unique_ptr<unsigned char[]> edges(new unsigned char[byteCount]);
    if (Canny(small.get(), smallWidth, smallHeight, sigma, lowRatio, highRatio, edges.get()) != 0)
        return failed(edgesFailed, "Canny detection");
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!Canny sucessful end !!!!!!!!!!!!!!");
    small.reset();
    if (evidence != nullptr) {
        // The segment search consumes the map.
        evidence->smallWidth = smallWidth;
        evidence->smallHeight = smallHeight;
        evidence->edges.reset(new unsigned char[byteCount]);
        std::copy_n(edges.get(), byteCount, evidence->edges.get());
    }

    angle = noAngle;
    FittedLine line;
    if (detectTopEdge(edges.get(), smallWidth, smallHeight, &fitParameters, angle, line) != 0)
        return failed(lineFitFailed, "horizon detection");
    if (angle <= angleThresh) {
        if (evidence != nullptr) {
            evidence->verdict = Verdict::topEdge;
            evidence->topEdge = line;
        }
        return decided;
    }
    return searchSegments(stages, edges.get(), smallWidth, smallHeight, angleThresh, angle, evidence);
}

}  // namespace skylevel
