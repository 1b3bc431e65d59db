#include "tools/overlay.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "tools/drawing.h"
#include "tools/font.h"
#include "tools/png_writer.h"
#include "tools/report.h"

namespace skylevel {
namespace {

constexpr int longestSide = 1600;
constexpr int usualSide = 480;  // smaller photos are magnified, and the verdict fits below
constexpr int bannerMargin = 8;
constexpr int largestTextScale = 4;
constexpr double pi = 3.141592653589793;

constexpr Colour edgeColour = {0, 220, 255};
constexpr double edgeShare = 0.65;
constexpr Colour segmentColour = {255, 210, 0};
constexpr Colour acceptedColour = {60, 240, 60};
constexpr Colour refusedColour = {255, 80, 60};
constexpr Colour black = {0, 0, 0};
constexpr Colour bannerColour = {24, 24, 28};

// The stored picture at a handy size, made upright.
Picture uprightCopy(const Photo& photo) {
    const Picture& stored = photo.picture;
    const int longest = std::max(stored.width, stored.height);
    const double scale = longest > longestSide ? static_cast<double>(longestSide) / longest
                                               : static_cast<double>(std::max(usualSide / longest, 1));
    const auto scaled = [&](int side) { return std::max(static_cast<int>(std::lround(side * scale)), 1); };
    return madeUpright(resized(stored, scaled(stored.width), scaled(stored.height)), photo.orientation);
}

// From the plane of the decision to the canvas, each axis by itself.
struct Mapping {
    double scaleX;
    double scaleY;

    Point pixelCentre(double x, double y) const { return {(x + 0.5) * scaleX, (y + 0.5) * scaleY}; }
};

void tintEdges(Picture& canvas, const HorizonEvidence& evidence) {
    for (int y = 0; y < canvas.height; ++y) {
        const std::int64_t planeY = std::int64_t{y} * evidence.smallHeight / canvas.height;
        const unsigned char* edges = &evidence.edges[static_cast<std::size_t>(planeY * evidence.smallWidth)];
        for (int x = 0; x < canvas.width; ++x)
            if (edges[std::int64_t{x} * evidence.smallWidth / canvas.width] != 0)
                blend(canvas, x, y, edgeColour, edgeShare);
    }
}

void drawSegments(Picture& canvas, const Mapping& mapping, const HorizonEvidence& evidence) {
    for (int i = 0; i < evidence.segmentCount; ++i) {
        const _Line& line = evidence.segments[i];
        drawLine(canvas, mapping.pixelCentre(line.x0, line.y0), mapping.pixelCentre(line.x1, line.y1), 1.5,
                 segmentColour);
    }
}

// Thick, on a dark rim so that it shows on any ground.
void drawDecidingLine(Picture& canvas, Point from, Point to, Colour colour) {
    const double thickness = std::max(canvas.width, canvas.height) / 200.0 + 1.0;
    drawLine(canvas, from, to, thickness + 3.0, black);
    drawLine(canvas, from, to, thickness, colour);
}

void drawEvidence(Picture& canvas, const Decision& decision) {
    const HorizonEvidence& evidence = decision.evidence;
    const Mapping mapping = {static_cast<double>(canvas.width) / evidence.smallWidth,
                             static_cast<double>(canvas.height) / evidence.smallHeight};
    tintEdges(canvas, evidence);
    drawSegments(canvas, mapping, evidence);
    if (evidence.verdict == Verdict::topEdge) {
        const FittedLine& line = evidence.topEdge;
        const double reach = evidence.smallWidth + evidence.smallHeight;  // beyond the border either way
        const double alongX = std::cos(line.angle * pi / 180.0) * reach;
        const double alongY = std::sin(line.angle * pi / 180.0) * reach;
        drawDecidingLine(canvas, mapping.pixelCentre(line.centreX - alongX, line.centreY - alongY),
                         mapping.pixelCentre(line.centreX + alongX, line.centreY + alongY), acceptedColour);
    } else if (evidence.chosen >= 0) {
        const _Line& line = evidence.segments[evidence.chosen];
        drawDecidingLine(canvas, mapping.pixelCentre(line.x0, line.y0), mapping.pixelCentre(line.x1, line.y1),
                         decision.horizon ? acceptedColour : refusedColour);
    }
}

// The canvas on a ground at least wide enough for the verdict, which stands below it.
Picture withBanner(const Picture& canvas, const Decision& decision) {
    const std::string text = verdictInWords(decision);
    const int width = std::max({canvas.width, usualSide, textWidth(text, 1) + 2 * bannerMargin});
    const int scale = std::clamp((width - 2 * bannerMargin) / textWidth(text, 1), 1, largestTextScale);
    Picture result = makePicture(width, canvas.height + glyphHeight * scale + 2 * bannerMargin, 3);
    fillRows(result, 0, result.height - 1, bannerColour);
    for (int y = 0; y < canvas.height; ++y) std::memcpy(result.row(y), canvas.row(y), canvas.rowBytes());
    drawText(result, bannerMargin, canvas.height + bannerMargin, scale, text,
             decision.horizon ? acceptedColour : refusedColour);
    return result;
}

}  // namespace

Bytes drawOverlay(const Photo& photo, const Decision& decision) {
    Picture canvas = uprightCopy(photo);
    if (!decision.tooSmall) drawEvidence(canvas, decision);
    return encodePng(withBanner(canvas, decision));
}

}  // namespace skylevel
