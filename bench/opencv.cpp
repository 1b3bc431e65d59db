// OpenCV at the same work, through its public interface, on one thread.
#include <opencv2/core.hpp>
#include <opencv2/core/ocl.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <vector>

#include "bench/rows.h"

namespace bench {
namespace {

cv::Mat wrap(Bytes& bytes, Size size, int channels = 1) {
    return {size.height, size.width, CV_8UC(channels), bytes.data()};
}

cv::Mat wrap(std::vector<float>& values, Size size) { return {size.height, size.width, CV_32F, values.data()}; }

cv::Size toCv(Size size) { return {size.width, size.height}; }

// Nearest pixels, then the quarter turn; the result has the same shape for both turns.
cv::Mat reduceUpright(const cv::Mat& picture, int turn, cv::Size small) {
    cv::Mat reduced;
    if (turn == 0) {
        cv::resize(picture, reduced, small, 0, 0, cv::INTER_NEAREST);
        return reduced;
    }
    cv::Mat lying;
    cv::resize(picture, lying, {small.height, small.width}, 0, 0, cv::INTER_NEAREST);
    cv::rotate(lying, reduced, turn == 90 ? cv::ROTATE_90_CLOCKWISE : cv::ROTATE_90_COUNTERCLOCKWISE);
    return reduced;
}

struct Thresholds {
    double low;
    double high;
};

// The quantile of a 64-bin histogram, as our edge detector picks it.
Thresholds pickThresholds(const cv::Mat& magnitude) {
    double most = 0.0;
    cv::minMaxLoc(magnitude, nullptr, &most);
    const int bins = 64;
    const float range[] = {0.0f, static_cast<float>(most) * 1.0001f};
    const float* ranges = range;
    cv::Mat histogram;
    cv::calcHist(&magnitude, 1, nullptr, {}, histogram, 1, &bins, &ranges);
    const float target = static_cast<float>(magnitude.total()) * highRatio;
    int bin = 0;
    for (float sum = histogram.at<float>(0); sum < target && bin < bins - 1; sum += histogram.at<float>(bin)) ++bin;
    const double high = most * (bin + 1) / bins;
    return {high * static_cast<double>(lowRatio), high};
}

// A Gaussian and its derivative of as many taps as ours, the derivative's positive ones adding up to about 1.
struct Kernels {
    cv::Mat gauss;
    cv::Mat derivative;

    Kernels() : gauss(1, 16, CV_32F), derivative(1, 16, CV_32F) {
        const double variance = std::pow(static_cast<double>(sigma), 2);
        for (int i = 0; i < 16; ++i) {
            const double x = i - 7;
            const double value = std::exp(-x * x / (2.0 * variance));
            gauss.at<float>(i) = static_cast<float>(value / std::sqrt(2.0 * CV_PI * variance));
            derivative.at<float>(i) = static_cast<float>(x * value / variance);
        }
    }
};

void differentiate(const cv::Mat& plane, cv::Mat& x, cv::Mat& y) {
    static const Kernels kernels;
    const cv::Point centre(7, 7);
    cv::sepFilter2D(plane, x, CV_32F, kernels.derivative, kernels.gauss, centre, 0, cv::BORDER_REPLICATE);
    cv::sepFilter2D(plane, y, CV_32F, kernels.gauss, kernels.derivative, centre, 0, cv::BORDER_REPLICATE);
}

// Its edge detector takes 16-bit gradients; this keeps three more bits of ours than their whole part.
constexpr double gradientScale = 8.0;

cv::Mat edgesInFloat(const cv::Mat& plane) {
    cv::Mat x;
    cv::Mat y;
    differentiate(plane, x, y);
    cv::Mat magnitude;
    cv::magnitude(x, y, magnitude);
    const Thresholds thresholds = pickThresholds(magnitude);
    cv::Mat shortX;
    cv::Mat shortY;
    x.convertTo(shortX, CV_16S, gradientScale);
    y.convertTo(shortY, CV_16S, gradientScale);
    cv::Mat edges;
    cv::Canny(shortX, shortY, edges, thresholds.low * gradientScale, thresholds.high * gradientScale, true);
    return edges;
}

// A byte blur and the smallest derivative: less exact, and faster.
cv::Mat edgesEightBit(const cv::Mat& plane) {
    cv::Mat smooth;
    cv::GaussianBlur(plane, smooth, {}, static_cast<double>(sigma));
    cv::Mat shortX;
    cv::Mat shortY;
    cv::spatialGradient(smooth, shortX, shortY);
    cv::Mat x;
    cv::Mat y;
    shortX.convertTo(x, CV_32F);
    shortY.convertTo(y, CV_32F);
    cv::Mat magnitude;
    cv::magnitude(x, y, magnitude);
    const Thresholds thresholds = pickThresholds(magnitude);
    cv::Mat edges;
    cv::Canny(shortX, shortY, edges, thresholds.low, thresholds.high, true);
    return edges;
}

using EdgeDetector = cv::Mat (*)(const cv::Mat& plane);

std::vector<cv::Vec4i> findSegments(const cv::Mat& edges) {
    const Search search = searchFor(edges.cols);
    std::vector<cv::Vec4i> segments;
    cv::HoughLinesP(edges, segments, 1.0, CV_PI / 180.0, search.votes, static_cast<double>(search.length), search.gap);
    return segments;
}

// Whether the longest segment near level spans half the width. Like ours it looks for segments only where the map is
// not too busy.
bool decide(const cv::Mat& picture, int turn, EdgeDetector detect) {
    const cv::Mat small = reduceUpright(picture, turn, {picture.cols / 4, picture.rows / 4});
    const cv::Mat edges = detect(small);
    if (cv::mean(edges)[0] > 50.0) return false;
    double longest = 0.0;
    for (const cv::Vec4i& s : findSegments(edges)) {
        const double dx = s[2] - s[0];
        const double dy = s[3] - s[1];
        if (std::atan(dy / dx) * 180.0 / CV_PI < angleThreshold) longest = std::max(longest, std::hypot(dx, dy));
    }
    return longest >= edges.cols * 0.5;
}

Work request(Plane& in, EdgeDetector detect) {
    const cv::Mat picture = wrap(in.pixels, in.size);
    const int turn = in.turn;
    const cv::Mat small = reduceUpright(picture, turn, {picture.cols / 4, picture.rows / 4});
    return {{.points = cv::countNonZero(detect(small))}, [=] { decide(picture, turn, detect); }};
}

Work reduction(const View& view) {
    const cv::Mat in = wrap(view.plane().pixels, view.size);
    return {{}, [in, turn = view.turn, small = toCv(view.reduced())] { reduceUpright(in, turn, small); }};
}

Work edgeDetection(const View& view, EdgeDetector detect) {
    Bytes small = reduce(view);
    const cv::Mat in = wrap(small, view.reduced()).clone();
    return {{.points = cv::countNonZero(detect(in))}, [in, detect] { detect(in); }};
}

Work segmentSearch(const View& view) {
    const cv::Mat map = wrap(edgeMap(view.plane()), view.reduced());
    return {{.points = cv::countNonZero(map)}, [map] { findSegments(map); }};
}

Work smoothing(Size size) {
    return {{},
            [in = wrap(stagePlane(size), size), x = cv::Mat(), y = cv::Mat()]() mutable { differentiate(in, x, y); }};
}

Work magnitudes(Size size) {
    Gradients& in = stageGradients(size);
    return {{}, [x = wrap(in.x, size), y = wrap(in.y, size), out = cv::Mat()]() mutable {
                cv::magnitude(x, y, out);
                pickThresholds(out);
            }};
}

// Computes the magnitude once more: there is no way to hand it in.
Work suppression(Size size) {
    Gradients& in = stageGradients(size);
    cv::Mat x;
    cv::Mat y;
    wrap(in.x, size).convertTo(x, CV_16S, gradientScale);
    wrap(in.y, size).convertTo(y, CV_16S, gradientScale);
    const double low = static_cast<double>(in.low) * gradientScale;
    const double high = static_cast<double>(in.high) * gradientScale;
    return {{}, [=, out = cv::Mat()]() mutable { cv::Canny(x, y, out, low, high, true); }};
}

Work gray(Size size) {
    return {{}, [in = wrap(colourImage(size), size, 3), out = cv::Mat()]() mutable {
                cv::cvtColor(in, out, cv::COLOR_RGB2GRAY);
            }};
}

Work smallGray() {
    return {{}, [in = wrap(colourImage(still), still, 3), gray = cv::Mat(), out = cv::Mat()]() mutable {
                cv::cvtColor(in, gray, cv::COLOR_RGB2GRAY);
                cv::resize(gray, out, toCv(eighths), 0, 0, cv::INTER_AREA);
            }};
}

Work resizedStill(Size size, int method) {
    return {{}, [in = wrap(grayStill(), still), out = cv::Mat(), size, method]() mutable {
                cv::resize(in, out, toCv(size), 0, 0, method);
            }};
}

Work mean(int count) {
    return {{}, [in = cv::Mat(1, count, CV_8U, grayStill().data())] { cv::mean(in); }};
}

// The turn about the middle, onto the canvas that holds all of it.
cv::Mat turnMatrix(const Turn& turn) {
    const Size canvas = turn.canvas();
    const cv::Point2f middle(static_cast<float>(turn.size.width) / 2, static_cast<float>(turn.size.height) / 2);
    cv::Mat matrix = cv::getRotationMatrix2D(middle, -turn.angle, 1.0);
    matrix.at<double>(0, 2) += (canvas.width - turn.size.width) / 2.0;
    matrix.at<double>(1, 2) += (canvas.height - turn.size.height) / 2.0;
    return matrix;
}

Work turnOf(const Turn& turn) {
    const cv::Mat in = wrap(colourImage(turn.size), turn.size, 3);
    return {{}, [in, matrix = turnMatrix(turn), canvas = toCv(turn.canvas())] {
                cv::Mat out;  // fresh, as ours is
                cv::warpAffine(in, out, matrix, canvas, cv::INTER_LINEAR);
            }};
}

Work crop() {
    const Size size = cropSize();
    unsigned char* const first = colourImage(still).data() + 3 * cropStart();
    const cv::Mat in(size.height, size.width, CV_8UC3, first, std::size_t{3} * still.width);
    return {{}, [in, out = cv::Mat(in.size(), in.type())]() mutable { in.copyTo(out); }};
}

struct Detector {
    const char* name;
    EdgeDetector detect;
};
constexpr Detector detectors[] = {{"OpenCV 8-bit edges", edgesEightBit}, {"OpenCV float edges", edgesInFloat}};
constexpr const char* name = "OpenCV";
constexpr const char* areaName = "OpenCV area";

void addRequests(Rows& rows) {
    const auto add = [&rows](const auto& picture) {
        for (const Detector& detector : detectors)
            addRow(rows, op::request, picture.label(), detector.name,
                   [picture, detector] { return request(picture.plane(), detector.detect); });
    };
    for (const View& view : requestViews) add(view);
    for (const Photo& photo : photos) add(photo);
}

void addStages(Rows& rows) {
    for (const View& view : reducedViews)
        addRow(rows, op::reduction, view.label(), name, [view] { return reduction(view); });
    for (const View& view : mapViews) {
        for (const Detector& detector : detectors)
            addRow(rows, op::edges, view.reducedLabel(), detector.name,
                   [view, detector] { return edgeDetection(view, detector.detect); });
        addRow(rows, op::hough, view.reducedLabel(), name, [view] { return segmentSearch(view); });
    }
    for (const Size size : stageSizes) {
        addRow(rows, op::smoothing, label(size), name, [size] { return smoothing(size); });
        addRow(rows, op::magnitude, label(size), name, [size] { return magnitudes(size); });
        addRow(rows, op::suppression, label(size), name, [size] { return suppression(size); });
    }
}

void addImaging(Rows& rows) {
    for (const Size size : colourSizes) addRow(rows, op::gray, label(size), name, [size] { return gray(size); });
    addRow(rows, op::smallGray, label(still), areaName, smallGray);
    addRow(rows, op::filter, label(still), areaName, [] { return resizedStill(eighths, cv::INTER_AREA); });
    addRow(rows, op::thirds, label(still), name, [] { return resizedStill(thirds, cv::INTER_NEAREST); });
    for (const int count : byteCounts) addRow(rows, op::mean, countLabel(count), name, [count] { return mean(count); });
}

}  // namespace

void addOpencv(Rows& rows) {
    cv::setNumThreads(1);
    cv::ocl::setUseOpenCL(false);
    addRequests(rows);
    addStages(rows);
    addImaging(rows);
    for (const Turn& turn : turns) addRow(rows, op::turn, turn.label(), name, [turn] { return turnOf(turn); });
    addRow(rows, op::crop, cropLabel(), name, crop);
}

}  // namespace bench
