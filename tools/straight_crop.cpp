#include "tools/straight_crop.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace skylevel {
namespace {

constexpr double pi = 3.141592653589793;

// The corners speak for all: along a row and along a column, the source position moves one way only, even rounded, so
// that what lies between two covered pixels is covered.
bool isCovered(const TurnedCanvas& canvas, const Cut& cut) {
    const int right = cut.left + cut.width - 1;
    const int bottom = cut.top + cut.height - 1;
    return canvas.covers(cut.left, cut.top) && canvas.covers(right, cut.top) && canvas.covers(cut.left, bottom) &&
           canvas.covers(right, bottom);
}

// The rectangle with this longer side, at whichever of the four places around the middle it fits.
std::optional<Cut> centredCut(const TurnedCanvas& canvas, int width, int height, std::int64_t longerSide) {
    const std::int64_t longer = std::max(width, height);
    const std::int64_t shorter = std::min(width, height);
    const auto shorterSide = std::max<std::int64_t>((2 * longerSide * shorter + longer) / (2 * longer), 1);
    Cut cut;
    cut.width = static_cast<int>(width >= height ? longerSide : shorterSide);
    cut.height = static_cast<int>(width >= height ? shorterSide : longerSide);
    const double left = canvas.middleColumn() - (cut.width - 1) / 2.0;
    const double top = canvas.middleRow() - (cut.height - 1) / 2.0;
    for (const double nearTop : {std::floor(top), std::ceil(top)})
        for (const double nearLeft : {std::floor(left), std::ceil(left)}) {
            cut.left = static_cast<int>(nearLeft);
            cut.top = static_cast<int>(nearTop);
            if (isCovered(canvas, cut)) return cut;
        }
    return {};
}

}  // namespace

TurnedCanvas::TurnedCanvas(int width, int height, double angle)
    : sourceWidth(width), sourceHeight(height), canvasWidth(width), canvasHeight(height) {
    if (std::fabs(angle) <= std::numeric_limits<double>::epsilon()) return;  // copied, not turned
    const double radians = angle / 180.0 * pi;
    cosine = std::cos(radians);
    sine = std::sin(radians);
    const double lastX = width - 1;
    const double lastY = height - 1;
    const auto truncated = [](double value) { return static_cast<int>(value); };
    const auto [leftmost, rightmost] =
        std::minmax({0, truncated(lastX * cosine), truncated(-lastY * sine), truncated(lastX * cosine - lastY * sine)});
    const auto [topmost, lowest] =
        std::minmax({0, truncated(lastX * sine), truncated(lastY * cosine), truncated(lastY * cosine + lastX * sine)});
    left = leftmost;
    top = topmost;
    canvasWidth = rightmost - leftmost + 1;
    canvasHeight = lowest - topmost + 1;
}

bool TurnedCanvas::covers(int column, int row) const {
    if (column < 0 || column >= canvasWidth || row < 0 || row >= canvasHeight) return false;
    const double x = left + column;
    const double y = top + row;
    const double sourceX = sine * y + cosine * x;
    const double sourceY = cosine * y - sine * x;
    return sourceX >= 0.0 && sourceY < sourceHeight && sourceY >= 0.0 && sourceX < sourceWidth;
}

double TurnedCanvas::middleColumn() const {
    return (cosine * (sourceWidth - 1) - sine * (sourceHeight - 1)) / 2.0 - left;
}

double TurnedCanvas::middleRow() const { return (sine * (sourceWidth - 1) + cosine * (sourceHeight - 1)) / 2.0 - top; }

Cut straightCut(int width, int height, double angle) {
    const TurnedCanvas canvas(width, height, angle);
    // A rectangle that fits holds a shorter one that does, so that halving finds the longest.
    Cut longest;
    int fits = 0;
    int tooLong = std::max(canvas.width(), canvas.height()) + 1;
    while (tooLong - fits > 1) {
        const int longerSide = (fits + tooLong) / 2;
        const std::optional<Cut> cut = centredCut(canvas, width, height, longerSide);
        (cut ? fits : tooLong) = longerSide;
        if (cut) longest = *cut;
    }
    return longest;
}

}  // namespace skylevel
