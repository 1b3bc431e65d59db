/// The edge detector and the line transform behind skylevel's horizon decision, for C++ callers.
///
/// Planes are packed: element (row, column) of a width x height plane is at row * width + column.
/// All functions are reentrant and keep nothing between calls. Status 0 is success and -1 a refused
/// argument; a plane of more than 2^31 - 1 pixels is one. Arithmetic is single precision, every
/// product rounded before it is added, unless a declaration says otherwise.
#ifndef SKYLEVEL_ANALYSIS_H
#define SKYLEVEL_ANALYSIS_H

#include <cstdint>

#include "skylevel/skylevel.h"

/// Turns a gray plane into an edge map, with thresholds chosen from the picture itself.
/// src        width x height bytes; only read
/// sigma      of the Gaussian, in pixels, above 0 and below 2^28
/// lowRatio   the low threshold as a fraction of the high one
/// highRatio  share of the pixels whose gradient lies below the high threshold; both ratios lie
///            strictly between 0 and 1 and may come in either order: the larger one is the high ratio
/// edges      width x height bytes: 255 on edges, 0 elsewhere, the one-pixel frame always 0
/// returns 0; -1 with edges untouched on a refused argument or a plane of a single pixel
SKYLEVEL_API int Canny(unsigned char* src, int width, int height, float sigma, float lowRatio, float highRatio,
                       unsigned char* edges);

/// Hysteresis thresholds from a 64-bin histogram of gradient magnitudes.
/// magnitude  count floats; only read
/// high, low  written on success
/// returns 0; -1 with high and low untouched on a null pointer, a count below 2 or a ratio that is not
///         strictly between 0 and 1
SKYLEVEL_API int selectThresholds(float* magnitude, int count, float& high, float& low, float highRatio,
                                  float lowRatio);

/// Adds a histogram of values to the caller's counters; bin i stands for values near
/// i * maxValue / (binCount - 1). Values beyond either end count in the outermost bin, NaN in bin 0.
/// histogram  binCount counters; added to, not cleared
/// returns 0; -1 with nothing added on a null pointer, a maxValue of 0 or below, or a count or
///         binCount below 2
SKYLEVEL_API int imHist(float* values, float maxValue, int count, int binCount, int* histogram);

/// Sampled Gaussian, normalised to a sum of 1.
/// kernel  receives size taps from array new, the caller's to release with array delete; tap i lies at
///         offset i - (size / 2 - 1)
/// size    8 * ceil(sigma)
/// returns 0; -1 with nothing written when sigma is not above 0, or not below 2^28
SKYLEVEL_API int MakeGauss(float sigma, float*& kernel, int& size);

/// Reverses the first count values in place; a count below 2 changes nothing.
SKYLEVEL_API void flip(float* values, int count);

/// Smooths a gray plane and differentiates it along both axes. The kernels have an even number of
/// taps; each result is centred on the next pixel along its axis, not on its own.
/// src           width x height bytes; only read
/// gradX, gradY  width x height floats; positive where brightness grows to the right and downward
/// returns 0; -1 with nothing written on a null pointer, a size below 1 or a refused sigma
SKYLEVEL_API int SmoothGradient(unsigned char* src, int width, int height, float sigma, float* gradX, float* gradY);

/// Gradient length of each pixel.
/// gradX, gradY  width x height floats; only read
/// magnitude     same shape; every element is written
/// returns 0; -1 with nothing written on a null pointer or a size below 1
SKYLEVEL_API int GradMagnitude(float* gradX, float* gradY, int width, int height, float* magnitude);

/// Keeps local maxima across the edge and applies hysteresis to them.
/// edges   width x height bytes, content on entry of no matter: 255 on edges, 0 elsewhere, frame 0
/// high    a local maximum of at least this magnitude is an edge
/// low     edges grow through 8-connected local maxima of at least this magnitude
/// returns 0; -1 with nothing written on a null pointer or a size below 1
SKYLEVEL_API int thinAndThrehold(unsigned char* edges, float* gradX, float* gradY, float* magnitude, int width,
                                 int height, float high, float low);

/// Grows an edge from one pixel: every 8-connected chain of pixels that hold 128 in edges and at least
/// low in magnitude becomes 255. Marking the start is the caller's part; it may lie anywhere. Stack and
/// memory use do not depend on the length of the chains.
SKYLEVEL_API void TraceEdge(int row, int col, float& low, unsigned char*& edges, float*& magnitude, int& width,
                            int& height);

/// One straight segment of houghLine.
struct _Line {
    int x0;          ///< column of the forward end
    int y0;          ///< row of the forward end
    int x1;          ///< column of the backward end
    int y1;          ///< row of the backward end
    int pixelCount;  ///< pixels walked from end to end; the start pixel counts twice
    int edgeCount;   ///< edge pixels among them; the start pixel counts once
};
static_assert(sizeof(_Line) == 6 * sizeof(int));

/// Parameters of houghLine, passed as a pointer to the first field. The last three are truncated
/// toward zero, saturating; NaN is 0.
struct HoughParams {
    float rho;         ///< distance resolution in pixels, above 0
    float theta;       ///< angle resolution in radians, above 0
    float threshold;   ///< votes that a line needs before a segment is traced along it
    float lineLength;  ///< pixels; a reported segment is at least this wide or this high
    float lineGap;     ///< pixels; the longest run of non-edge pixels that a segment bridges
};
static_assert(sizeof(HoughParams) == 5 * sizeof(float));

/// Lists the straight segments of an edge map by a progressive probabilistic Hough transform. One map
/// always gives the same list.
/// edges       width x height bytes; only 255 is an edge. Pixels of traced segments are set to 0.
/// parameters  a HoughParams record
/// lines       receives an array from array new, the caller's to release with array delete, even when
///             no segment was found; whatever the pointer held before is overwritten
/// count       number of records in use, in the order in which the segments were found
/// returns 0; -1 with nothing written on a null pointer, a side below 1 or above 32767, a rho or theta that
///         is not finite and above 0, less than one angle, (angles + 4) x (distances + 4) counters above
///         2^31 - 1, or a rho so large that some pixel would vote outside them
/// Time grows with edge pixels x angles. Of an allocation that fails when lines was written already, the
/// array is still the caller's to release.
SKYLEVEL_API int houghLine(unsigned char* edges, int width, int height, float* parameters, _Line*& lines, int& count);

/// One step of houghLine's multiply-with-carry generator.
/// state  advanced by the call
/// n      bound, taken as an unsigned value
/// returns the new state's low 32 bits modulo n, 0 when n is 0
SKYLEVEL_API unsigned int rng(std::uint64_t& state, int n);

#endif  // SKYLEVEL_ANALYSIS_H
