// Drawing into pictures of three channels. Whatever lies outside the picture is left out.
#pragma once

#include <string_view>

#include "tools/picture.h"

namespace skylevel {

struct Colour {
    unsigned char red;
    unsigned char green;
    unsigned char blue;
};

// In pixels; a whole number is the edge between two of them.
struct Point {
    double x;
    double y;
};

// Mixes a colour into a pixel of the picture; share is 0 to 1.
void blend(Picture& picture, int x, int y, Colour colour, double share);
void fillRows(Picture& picture, int firstRow, int lastRow, Colour colour);
// With smooth edges and round ends.
void drawLine(Picture& picture, Point from, Point to, double thickness, Colour colour);
// scale  pixels a dot of the font
void drawText(Picture& picture, int left, int top, int scale, std::string_view text, Colour colour);
int textWidth(std::string_view text, int scale);

}  // namespace skylevel
