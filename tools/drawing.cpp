#include "tools/drawing.h"

#include <algorithm>
#include <cmath>

#include "tools/font.h"

namespace skylevel {
namespace {

constexpr int glyphPitch = glyphWidth + 1;

double distanceToLine(Point point, Point from, Point to) {
    const double alongX = to.x - from.x;
    const double alongY = to.y - from.y;
    const double squaredLength = alongX * alongX + alongY * alongY;
    double share = 0.0;
    if (squaredLength > 0.0)
        share = std::clamp(((point.x - from.x) * alongX + (point.y - from.y) * alongY) / squaredLength, 0.0, 1.0);
    return std::hypot(point.x - from.x - share * alongX, point.y - from.y - share * alongY);
}

// The pixels [begin, end) that a stretch with this reach can touch, inside 0 to size.
struct Range {
    int begin;
    int end;
};

Range touched(double one, double other, double reach, int size) {
    const double low = std::floor(std::min(one, other) - reach);
    const double high = std::ceil(std::max(one, other) + reach);
    return {static_cast<int>(std::clamp(low, 0.0, static_cast<double>(size))),
            static_cast<int>(std::clamp(high, 0.0, static_cast<double>(size)))};
}

void drawGlyph(Picture& picture, int left, int top, int scale, const std::uint8_t* rows, Colour colour) {
    for (int y = 0; y < glyphHeight * scale; ++y)
        for (int x = 0; x < glyphWidth * scale; ++x) {
            const bool set = (rows[y / scale] >> (glyphWidth - 1 - x / scale) & 1) != 0;
            const bool inside = left + x < picture.width && top + y < picture.height;
            if (set && inside) blend(picture, left + x, top + y, colour, 1.0);
        }
}

}  // namespace

void blend(Picture& picture, int x, int y, Colour colour, double share) {
    const unsigned char target[] = {colour.red, colour.green, colour.blue};
    unsigned char* pixel = picture.row(y) + std::ptrdiff_t{x} * 3;
    for (int channel = 0; channel < 3; ++channel)
        pixel[channel] =
            static_cast<unsigned char>(std::lround(pixel[channel] + (target[channel] - pixel[channel]) * share));
}

void fillRows(Picture& picture, int firstRow, int lastRow, Colour colour) {
    for (int y = firstRow; y <= lastRow; ++y)
        for (int x = 0; x < picture.width; ++x) blend(picture, x, y, colour, 1.0);
}

void drawLine(Picture& picture, Point from, Point to, double thickness, Colour colour) {
    const double reach = thickness / 2 + 1.0;
    const Range rows = touched(from.y, to.y, reach, picture.height);
    const Range columns = touched(from.x, to.x, reach, picture.width);
    for (int y = rows.begin; y < rows.end; ++y)
        for (int x = columns.begin; x < columns.end; ++x) {
            const double cover = thickness / 2 + 0.5 - distanceToLine({x + 0.5, y + 0.5}, from, to);
            if (cover > 0.0) blend(picture, x, y, colour, std::min(cover, 1.0));
        }
}

void drawText(Picture& picture, int left, int top, int scale, std::string_view text, Colour colour) {
    for (const char character : text) {
        drawGlyph(picture, left, top, scale, glyphRows(character), colour);
        left += glyphPitch * scale;
    }
}

int textWidth(std::string_view text, int scale) { return static_cast<int>(text.size()) * glyphPitch * scale; }

}  // namespace skylevel
