// The top-edge profile of an edge map and the line through it, with what a picture of it needs.
#pragma once

#include "skylevel/skylevel.h"

namespace skylevel {

// A straight line through a centroid.
struct FittedLine {
    double angle = 0.0;     // degrees, -90 to 90
    double residual = 0.0;  // mean vertical distance of the points, in pixels
    double centreX = 0.0;
    double centreY = 0.0;
};

// TiltCorrection::fitLine with the centroid kept. line is untouched on failure.
int fitPrincipalAxis(const int* x, const int* y, int count, FittedLine& line);

// TiltCorrection::horizonDetection with the line kept. line is written when a line was fitted, whether
// or not its residual lets it pass.
int detectTopEdge(const unsigned char* edges, int width, int height, const HorizonFitParams* parameters, double& angle,
                  FittedLine& line);

}  // namespace skylevel
