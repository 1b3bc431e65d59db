#include "lines/top_edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "platform/log.h"
#include "platform/sizes.h"

namespace skylevel {
namespace {

constexpr unsigned char edge = 255;
constexpr double pi = 3.141592653589793;
constexpr double noAngle = std::numeric_limits<double>::max();

bool isShare(double ratio) { return !(ratio < 0.0) && !(ratio > 1.0); }

// The first edge pixel from the top of every column that has one, in column order.
struct Profile {
    explicit Profile(int capacity)
        : points(new int[2 * static_cast<std::size_t>(capacity)]), rows(points.get() + capacity) {}

    int* columns() { return points.get(); }

    std::unique_ptr<int[]> points;  // the columns, then the rows
    int* rows;
    int count = 0;
    int highestRow = 0;
};

Profile traceTopEdge(const unsigned char* edges, int width, int height) {
    Profile profile(width);
    profile.highestRow = height;
    for (int c = 0; c < width; ++c) {
        int r = 0;
        while (r < height && edges[std::ptrdiff_t{r} * width + c] != edge) ++r;
        if (r == height) continue;
        profile.columns()[profile.count] = c;
        profile.rows[profile.count] = r;
        ++profile.count;
        profile.highestRow = std::min(profile.highestRow, r);
    }
    return profile;
}

}  // namespace

// double, every sum in index order; products of coordinates are exact integers.
int fitPrincipalAxis(const int* x, const int* y, int count, FittedLine& line) {
    if (x == nullptr || y == nullptr || count < 2) return -1;
    double sumX = 0.0;
    double sumY = 0.0;
    double sumXX = 0.0;
    double sumYY = 0.0;
    double sumXY = 0.0;
    for (int i = 0; i < count; ++i) {
        sumX += x[i];
        sumY += y[i];
        sumXX += static_cast<double>(std::int64_t{x[i]} * x[i]);
        sumYY += static_cast<double>(std::int64_t{y[i]} * y[i]);
        sumXY += static_cast<double>(std::int64_t{x[i]} * y[i]);
    }
    const double n = count;
    const double meanX = sumX / n;
    const double meanY = sumY / n;
    const double varianceX = sumXX / n - meanX * meanX;
    const double varianceY = sumYY / n - meanY * meanY;
    const double covariance = sumXY / n - meanY * meanX;
    const double theta = 0.5 * std::atan2(2.0 * covariance, varianceX - varianceY);

    const double slope = std::tan(theta);
    double residual = 0.0;
    for (int i = 0; i < count; ++i) residual += std::fabs(meanY + slope * (x[i] - meanX) - y[i]);
    line = {theta * 180.0 / pi, residual / n, meanX, meanY};
    return 0;
}

int detectTopEdge(const unsigned char* edges, int width, int height, const HorizonFitParams* parameters, double& angle,
                  FittedLine& line) {
    SKYLEVEL_LOG_DEBUG("Enter horizonDetection successful!");
    if (edges == nullptr || !isPlane(width, height) || parameters == nullptr) return -1;
    if (!isShare(parameters->rowRatio) || !isShare(parameters->coverageRatio)) return -1;
    angle = noAngle;

    Profile profile = traceTopEdge(edges, width, height);
    if (!(profile.count > width * parameters->coverageRatio)) return 0;
    // A horizon lies below everything else that has an edge: the whole profile is low in the map.
    if (!(profile.highestRow > height * parameters->rowRatio)) return 0;
    if (fitPrincipalAxis(profile.columns(), profile.rows, profile.count, line) != 0) return -1;
    if (line.residual < parameters->maxResidual) angle = line.angle;
    return 0;
}

}  // namespace skylevel

int TiltCorrection::horizonDetection(unsigned char* edges, int width, int height, double* parameters, double& angle) {
    skylevel::FittedLine line;
    return skylevel::detectTopEdge(edges, width, height, reinterpret_cast<HorizonFitParams*>(parameters), angle, line);
}

int TiltCorrection::fitLine(int* x, int* y, int count, double& angle, double& residual) {
    skylevel::FittedLine line;
    if (skylevel::fitPrincipalAxis(x, y, count, line) != 0) return -1;
    angle = line.angle;
    residual = line.residual;
    return 0;
}
