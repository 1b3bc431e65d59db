// The same for the second public header. Visible variables, so that no address is optimised away.
#include "skylevel/analysis.h"

extern "C" {
auto* canny = &Canny;
auto* thresholds = &selectThresholds;
auto* histogram = &imHist;
auto* gauss = &MakeGauss;
auto* flipped = &flip;
auto* gradient = &SmoothGradient;
auto* magnitude = &GradMagnitude;
auto* thinned = &thinAndThrehold;
auto* traced = &TraceEdge;
auto* hough = &houghLine;
auto* generator = &rng;
}
