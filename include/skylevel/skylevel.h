/// skylevel: does a picture show a horizon, and at what angle does it lie?
///
/// Two entry points with C linkage for one picture at a time, and the class TiltCorrection for
/// C++ callers that hold a corrector themselves.
///
/// Conventions that hold for every declaration here:
///  - Rows grow downward, columns to the right. An angle is in degrees and positive for a line that
///    falls to the right.
///  - A gray plane is 8 bits a pixel with `stride` bytes from one row to the next, or packed
///    (stride equal to the width) where no stride is named. An RGB image is 3 bytes a pixel in the
///    order red, green, blue, rows packed.
///  - The caller owns every buffer that it passes and keeps it alive during the call; sources are
///    only read. No two buffers of a call share a byte, but that RGB2Gray may write over its own
///    source. Calls on different threads with different correctors and buffers do not interact.
///  - Status 0 is success, a negative status a failure; after a failure outputs are as they were
///    unless the declaration says otherwise. A plane of more than 2^31 - 1 pixels is a bad argument.
///  - An allocation that fails throws what the standard library throws; nothing leaks on the way. On
///    Android the system's operator new ends the process; one that throws is passed on without
///    cleanup, and what was in use is lost.
///  - Results are exact to the last bit given the platform's maths library. The floating-point
///    environment is the default one: round to nearest, subnormals kept. In another one last bits may
///    differ and nothing else happens; it stays the caller's.
///  - No operation needs more than 64 KB of stack.
#ifndef SKYLEVEL_SKYLEVEL_H
#define SKYLEVEL_SKYLEVEL_H

#ifndef __cplusplus
#include <stdbool.h>
#endif

/// Grows when programs have to be built anew or changed.
#define SKYLEVEL_VERSION_MAJOR 2
/// Grows with new declarations.
#define SKYLEVEL_VERSION_MINOR 0
/// Grows with corrections.
#define SKYLEVEL_VERSION_PATCH 0
/// The three of them.
#define SKYLEVEL_VERSION_STRING "2.0.0"

/// Marks what libskylevel.so exports; everything else in it is hidden.
#define SKYLEVEL_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/// Decides whether a gray plane, such as the Y plane of a camera frame, shows a horizon.
/// pGrayImage    height rows of stride bytes, width of them pixels
/// width, height pixels; 0 is answered with 1, negative values are refused
/// stride        bytes from one row to the next, at least width
/// hasHorizon    receives true or false; not checked, so it must be writable
/// imageAngle    clockwise quarter turn that makes the picture upright: 0, 90, 180 or 270
/// fAngleThresh  degrees, 0 to 90: the largest angle that still counts as a horizon. It is an upper
///               bound only: any negative angle passes. NaN is accepted and never finds a horizon.
/// returns 0 with the answer in *hasHorizon; -1 with *hasHorizon false when an argument is refused;
///         1 with *hasHorizon as it was when the decision failed (a picture outside the limits of
///         detectHorizon, or an orientation outside the four)
SKYLEVEL_API int HorizonDetectionProcess(unsigned char* pGrayImage, int width, int height, int stride, bool* hasHorizon,
                                         int imageAngle, double fAngleThresh);

/// Asks for the angle of an RGB image. The reduction that it rests on is refused (see
/// TiltCorrection::detectRotAngle), so every call with usable arguments returns 1.
/// pImage        width x height pixels, packed
/// pRotAngle     receives degrees on success; not checked, so it must be writable
/// fAngleThresh  degrees, stored unchecked
/// returns 0 with the angle written; -1 on a null image or a negative size; 1 when the request failed,
///         both with *pRotAngle as it was
SKYLEVEL_API int TiltCorrectionProcess(unsigned char* pImage, int width, int height, double* pRotAngle,
                                       double fAngleThresh);

#ifdef __cplusplus
}  // extern "C"

/// A crop rectangle in pixel indices; all four bounds are inclusive.
struct _Rect {
    int left;    ///< first column
    int right;   ///< last column
    int top;     ///< first row
    int bottom;  ///< last row
};
static_assert(sizeof(_Rect) == 4 * sizeof(int));

/// Acceptance limits of TiltCorrection::horizonDetection, passed as a pointer to the first field.
struct HorizonFitParams {
    double coverageRatio;  ///< share of the columns that must hold an edge pixel, 0 to 1
    double rowRatio;       ///< share of the height that the profile's highest pixel must exceed, 0 to 1
    double maxResidual;    ///< pixels; the mean vertical distance from the line must be below this
};
static_assert(sizeof(HorizonFitParams) == 3 * sizeof(double));

/// A corrector over one image that the caller owns. It carries the angle threshold in and the angle
/// out. Members that say "static in spirit" use no field and may be called on any instance.
class SKYLEVEL_API TiltCorrection {
public:
    /// Stores the arguments unchecked; the operations check them. The image is read as a gray plane
    /// with `stride`; it is never written or freed.
    TiltCorrection(unsigned char* pImage, int width, int height, int stride);
    ~TiltCorrection();
    TiltCorrection(const TiltCorrection&) = delete;
    TiltCorrection& operator=(const TiltCorrection&) = delete;

    /// True when the stored angle is at most the threshold; false when either is NaN.
    bool getHasHorizon();
    /// The stored angle negated: the turn, in degrees, that levels the plane it was found in. At 90 and
    /// 270 that plane is a stretched picture, unless it is square. Without an angle it is the negated
    /// largest finite double.
    double getRotAngle();
    /// Stores an angle in degrees, unchecked.
    void setRotAngle(double angle);
    /// The threshold in degrees; 10 at first.
    double getRotAngleThresh();
    /// Stores a threshold in degrees, unchecked.
    void setRotAngleThresh(double threshold);
    /// The turned image, null when there is none; owned by the corrector.
    unsigned char* getRotImage();
    /// Always writes the turned image's size in pixels, 0 x 0 without one.
    /// returns 0; -1 when a side is shorter than the input's
    int getRotImageSize(int& width, int& height);
    /// The crop rectangle's bounds.
    /// returns 0; -1 with nothing written when it leaves the input or is not at least 2 x 2
    int getCropImageLoc(int& left, int& right, int& top, int& bottom);
    /// The crop rectangle's size in pixels.
    /// returns 0; -1 with nothing written when it is negative or larger than the input
    int getCropImageSize(int& width, int& height);

    /// Decides whether the image shows a horizon, on a copy reduced 4:1 and turned upright.
    /// imageAngle  clockwise quarter turn that makes the picture upright: 0, 90, 180 or 270
    /// returns 0 with the decision in getHasHorizon; -2 without a usable image, -4 when the
    ///         orientation is refused or the reduced plane has more than 2^31 - 1 pixels, -6 when edge detection fails
    ///         (fewer than 8 x 4 or 4 x 8 pixels), all three with the stored angle as it was; -7, -8 and -9 when the
    ///         line fit (at widths below 16, where a single column can be all there is to fit), the
    ///         mean or the segment search (a side of 131072 or more) fails, with no angle
    int detectHorizon(int imageAngle);

    /// Asks for the angle of the image, read as RGB. RGB2SmallGray refuses the 4:1 reduction that it
    /// rests on.
    /// returns -2 without a usable image, -4 otherwise; no field changes
    int detectRotAngle();
    /// Releases the turned image, then makes the same request for an image whose sides are multiples
    /// of 4.
    /// returns -1 always; the turned image is gone whenever the corrector has a usable image
    int autoCorrection();

    /// Turns the image, read as RGB, into a turned image that the corrector keeps, and computes the
    /// crop rectangle. The stored angle becomes `angle`.
    /// angle  degrees, -180 to 180; positive turns clockwise
    /// returns 0; -1 with nothing changed without a usable image; -1 without a turned image and with
    ///         the crop rectangle as it was when the angle or the size of the result is refused; -1 with the
    ///         turned image, but the crop rectangle as it was, when the rectangle leaves the int range (near
    ///         the angles at which it grows without bound, such as 135 for a square)
    int manuCorrection(double angle);
    /// The upright rectangle of the image's proportions, centred on it and sized so that its corners
    /// meet the turned picture's edges, in the frame of the unturned image. Static in spirit. Near 90
    /// degrees it can be larger than the image, near 180 its right bound lies left of its left one.
    /// returns 0; -1 with rect as it was on a size below 1 or a rectangle that leaves the int range
    int calCropLoc(int width, int height, double angle, _Rect& rect);
    /// Copies the crop rectangle out of the image, read as RGB.
    /// dst  3 bytes for each pixel of getCropImageSize, rows packed
    /// returns 0, also for an empty rectangle; -1 without a usable image or buffer; -2 when the
    ///         rectangle leaves the image
    int crop(unsigned char* dst);
    /// Turns an RGB image about its top-left pixel into a new canvas that holds all of it; what the
    /// picture does not cover is black. Static in spirit. Geometry and the bilinear blend in double
    /// precision, truncated; the last column and row are copied unblended.
    /// dst    receives a new image of dstWidth x dstHeight pixels, the caller's to release with array
    ///        delete; what the pointer held before is not released
    /// angle  degrees, -180 to 180; positive turns clockwise
    /// returns 0; -1 with nothing written on a null source, a size below 1, an angle out of range or
    ///         not a number, or a result of more than 2^31 - 1 pixels
    int rotateImage(unsigned char* src, int width, int height, unsigned char*& dst, int& dstWidth, int& dstHeight,
                    double angle);

    /// The device orientation, as imageAngle, for a gravity reading. Static in spirit.
    /// x, y, z  gravity in device axes, m/s^2
    /// angle    receives 0, 90, 180 or 270; 0 for a device that lies flat (z above 9) or a reading
    ///          without a direction
    /// returns 0 always
    int computeImageRotation(float x, float y, float z, int& angle);

    /// Shrinks a gray plane to a packed plane by picking single pixels and turns it upright.
    /// Static in spirit. Positions are single-precision sums truncated toward zero, columns rounded
    /// down to even.
    /// src         height rows of stride bytes, width of them pixels
    /// imageAngle  clockwise turn; a value outside 0, 90, 180 and 270 writes nothing
    /// dst         smallWidth x smallHeight bytes, the same shape for every turn; written in full, or
    ///             not at all when smallWidth (at 90 and 270 also smallHeight) is above 256; a packed plane that is
    ///             neither turned nor shrunk is copied whatever its size
    /// returns 0 always
    int downsampleWithAngle(unsigned char* src, int width, int height, int stride, int imageAngle, unsigned char* dst,
                            int smallWidth, int smallHeight);
    /// downsampleWithAngle at 0 degrees by itself, without the copy at the same size.
    void downsample0(unsigned char* src, int width, int height, int stride, unsigned char* dst, int smallWidth,
                     int smallHeight);
    /// downsampleWithAngle at 90 degrees by itself.
    void downsample90(unsigned char* src, int width, int height, int stride, unsigned char* dst, int smallWidth,
                      int smallHeight);
    /// downsampleWithAngle at 180 degrees by itself.
    void downsample180(unsigned char* src, int width, int height, int stride, unsigned char* dst, int smallWidth,
                       int smallHeight);
    /// downsampleWithAngle at 270 degrees by itself.
    void downsample270(unsigned char* src, int width, int height, int stride, unsigned char* dst, int smallWidth,
                       int smallHeight);

    /// Gray plane of an RGB image: trunc((0.299 red + 0.587 green) + 0.114 blue) in double precision.
    /// Static in spirit.
    /// gray  width x height bytes, packed
    /// returns 0; -1 with nothing written on a null pointer or a pixel count below 1
    int RGB2Gray(unsigned char* rgb, unsigned char* gray, int width, int height);
    /// RGB2Gray followed by bicubic8. Static in spirit.
    /// dst    (width / 8) x (height / 8) bytes, packed
    /// ratio  8, the only reduction there is
    /// returns 0; -1 on a null pointer or a value below 1; -2 on any other ratio
    int RGB2SmallGray(unsigned char* rgb, unsigned char* dst, int width, int height, int ratio);
    /// Every step-th pixel of every step-th row, without averaging. Static in spirit.
    /// dst  ceil(width / step) x ceil(height / step) bytes, packed
    /// returns 0; -1 on a null pointer, a size or step below 1, or a stride below the width
    int DownsampleGray(unsigned char* src, unsigned char* dst, int width, int height, int stride, int step);
    /// Shrinks a packed gray plane 8:1 in both directions through a symmetric 32-tap filter, rows
    /// first; border pixels are replicated. Static in spirit. Single-precision sums in tap order,
    /// clamped to 0 to 255 and truncated after each direction.
    /// dst  (width / 8) x (height / 8) bytes, packed
    /// returns 0; -1 on a null pointer or a size below 1
    int bicubic8(unsigned char* src, unsigned char* dst, int width, int height);

    /// Fits a straight line through the top-most edge pixel of every column. Static in spirit.
    /// edges       packed edge map of width x height bytes; 255 marks an edge
    /// parameters  a HorizonFitParams record
    /// angle       degrees, -90 to 90; the largest finite double when no line is accepted
    /// returns 0; -1 with angle as it was on a null pointer, a size below 1 or a ratio outside 0 to 1;
    ///         -1 with no angle when the single point of a narrow map is all there is to fit
    int horizonDetection(unsigned char* edges, int width, int height, double* parameters, double& angle);
    /// Least-squares line along the principal axis of count points. Static in spirit. Double sums in
    /// index order.
    /// angle     degrees, -90 to 90
    /// residual  mean vertical distance from the line, in pixels
    /// returns 0; -1 with nothing written on a null pointer or fewer than two points
    int fitLine(int* x, int* y, int count, double& angle, double& residual);
    /// Mean of count bytes, summed in blocks of 2^23. Static in spirit.
    /// returns 0; -1 with nothing written on a null pointer or a count below 1
    int mean(unsigned char* values, int count, double& average);

private:
    unsigned char* m_pImage;
    int m_width;
    int m_height;
    int m_stride;
    unsigned char* m_pRotImage;  // owned; null when there is no turned image
    int m_rotWidth;
    int m_rotHeight;
    _Rect m_cropRect;
    double m_rotAngle;  // degrees; the largest finite double means no angle
    double m_rotAngleThresh;
};
#endif  // __cplusplus

#endif  // SKYLEVEL_SKYLEVEL_H
