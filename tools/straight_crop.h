// Where a turned picture covers its canvas, and the part of it without empty corners.
#pragma once

namespace skylevel {

// The canvas that TiltCorrection::rotateImage makes of a picture, to the last pixel. Angles are in degrees, -180 to
// 180, positive clockwise; sides are at least 1 and below 2^29, so that positions fit an int.
class TurnedCanvas {
public:
    TurnedCanvas(int width, int height, double angle);

    int width() const { return canvasWidth; }
    int height() const { return canvasHeight; }
    // Whether the canvas has this pixel and the picture covers it.
    bool covers(int column, int row) const;
    // The middle of the picture, as a position on the canvas.
    double middleColumn() const;
    double middleRow() const;

private:
    int sourceWidth;
    int sourceHeight;
    double cosine = 1.0;
    double sine = 0.0;
    int left = 0;  // of the canvas, from the pivot
    int top = 0;
    int canvasWidth;
    int canvasHeight;
};

// A rectangle of canvas pixels.
struct Cut {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// The largest rectangle of covered pixels that has the picture's proportions (the shorter side rounded) and less than a
// pixel between its middle and the picture's. Of a picture one pixel thin nothing may be left: both sides are 0.
Cut straightCut(int width, int height, double angle);

}  // namespace skylevel
