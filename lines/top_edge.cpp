#include "lines/top_edge.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>

#include "platform/dispatch.h"
#include "platform/log.h"
#include "platform/sizes.h"

namespace skylevel {
namespace {

constexpr unsigned char edge = 255;
constexpr double pi = 3.141592653589793;
constexpr double noAngle = std::numeric_limits<double>::max();

bool isShare(double ratio) { return !(ratio < 0.0) && !(ratio > 1.0); }

// In pieces, each of which the compiler can look through in vectors.
SKYLEVEL_KERNEL bool holdsEdge(const unsigned char* pixels, std::int64_t count) {
    constexpr std::int64_t piece = 1024;
    for (std::int64_t start = 0; start < count; start += piece) {
        const std::int64_t end = std::min(start + piece, count);
        unsigned char found = 0;
        for (std::int64_t i = start; i < end; ++i) found |= pixels[i] == edge ? 1 : 0;
        if (found != 0) return true;
    }
    return false;
}

constexpr int noRow = -1;

// Row by row, for a row lies in memory in one piece: the first row of every column that holds an edge
// pixel, noRow where none does.
// returns the number of columns that have one
SKYLEVEL_KERNEL int findFirstRows(const unsigned char* edges, int width, int firstRow, int height, int* rows) {
    std::fill_n(rows, width, noRow);
    int count = 0;
    for (int r = firstRow; r < height && count < width; ++r) {
        const unsigned char* const row = edges + std::ptrdiff_t{r} * width;
        for (int c = 0; c < width; ++c) {
            const bool first = (row[c] == edge) & (rows[c] == noRow);
            rows[c] = first ? r : rows[c];
            count += first ? 1 : 0;
        }
    }
    return count;
}

// The first edge pixel from the top of every column that has one, in column order.
struct Profile {
    explicit Profile(int capacity)
        : points(new int[2 * static_cast<std::size_t>(capacity)]), rows(points.get() + capacity) {}

    int* columns() { return points.get(); }

    std::unique_ptr<int[]> points;  // the columns, then the rows
    int* rows;
    int count = 0;
};

// firstRow  no row above it holds an edge pixel
Profile traceTopEdge(const unsigned char* edges, int width, int firstRow, int height) {
    Profile profile(width);
    vectorised<findFirstRows>(edges, width, firstRow, height, profile.rows);
    for (int c = 0; c < width; ++c) {
        if (profile.rows[c] == noRow) continue;
        profile.columns()[profile.count] = c;
        profile.rows[profile.count] = profile.rows[c];
        ++profile.count;
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

    // A horizon lies below everything else that has an edge: the whole profile is low in the map.
    const double rowLimit = height * parameters->rowRatio;
    if (!(height - 1 > rowLimit)) return 0;
    const int firstLow = static_cast<int>(rowLimit) + 1;
    if (vectorised<holdsEdge>(edges, std::int64_t{firstLow} * width)) return 0;
    Profile profile = traceTopEdge(edges, width, firstLow, height);
    if (!(profile.count > width * parameters->coverageRatio)) return 0;
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
