#include "imaging/reduction.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "imaging/take_every.h"
#include "platform/dispatch.h"
#include "platform/log.h"
#include "skylevel/skylevel.h"

namespace skylevel {
namespace {

bool exchangesAxes(int imageAngle) { return imageAngle == 90 || imageAngle == 270; }

// Truncates a sampling position to an index of an axis. Positions leave the axis only where floats
// are coarser than the grid, in planes of more than 2^24 columns or rows.
int clampedIndex(float position, int length) {
    if (!(position > 0.0f)) return 0;
    return static_cast<double>(position) >= length ? length - 1 : static_cast<int>(position);
}

// Positions are running single-precision sums; offsets are rounded down to even columns.
void fillOffsets(int* offsets, int count, float start, float step, int width) {
    float position = start;
    for (int k = 0; k < count; ++k) {
        offsets[k] = clampedIndex(position, width) & ~1;
        position += step;
    }
}

void takeRow(const unsigned char* row, const int* offsets, unsigned char* out, int count) {
    for (int k = 0; k < count; ++k) out[k] = row[offsets[k]];
}

// The offsets of a true 4:1 reduction, forward or backward.
bool isEveryFourth(const int* offsets, int count, bool backward) {
    const int step = backward ? -4 : 4;
    for (int k = 1; k < count; ++k)
        if (offsets[k] - offsets[k - 1] != step) return false;
    return true;
}

// From the right end of the row, where it starts, to the left.
SKYLEVEL_KERNEL void takeEveryFourthBackward(const unsigned char* row, unsigned char* out, int count) {
    const unsigned char* const last = row - std::ptrdiff_t{4} * (count - 1);
    for (int k = 0; k < count; ++k) out[count - 1 - k] = last[std::ptrdiff_t{4} * k];
}

// Output columns that are filled together: a cache line of a source row then serves several output rows
// before it has to make room.
constexpr int bandWidth = 16;

template <typename Count>
void takeBand(const unsigned char* const* rows, const int* offsets, unsigned char* out, int height, int pitch,
              Count width) {
    for (int r = 0; r < height; ++r, out += pitch)
        for (int c = 0; c < width; ++c) out[c] = rows[c][offsets[r]];
}

}  // namespace

bool isQuarterTurn(int imageAngle) {
    return imageAngle == 0 || imageAngle == 90 || imageAngle == 180 || imageAngle == 270;
}

int offsetTableLength(int imageAngle, int smallWidth, int smallHeight) {
    return exchangesAxes(imageAngle) ? smallHeight : smallWidth;
}

bool fitsOffsetTable(int imageAngle, int smallWidth, int smallHeight) {
    return smallWidth <= offsetTableCapacity &&
           offsetTableLength(imageAngle, smallWidth, smallHeight) <= offsetTableCapacity;
}

void sampleOriented(const unsigned char* src, int width, int height, int stride, int imageAngle, unsigned char* dst,
                    int smallWidth, int smallHeight, int* offsets) {
    if (width < 1 || height < 1 || smallWidth < 1 || smallHeight < 1) return;

    const bool exchanged = exchangesAxes(imageAngle);
    const int tableLength = offsetTableLength(imageAngle, smallWidth, smallHeight);
    const bool columnsBackward = imageAngle == 180 || imageAngle == 270;
    const bool rowsBackward = imageAngle == 90 || imageAngle == 180;
    const float columnStep = static_cast<float>(width) / static_cast<float>(tableLength);
    const float rowStep = static_cast<float>(height) / static_cast<float>(exchanged ? smallWidth : smallHeight);
    fillOffsets(offsets, tableLength, columnsBackward ? static_cast<float>(width - 1) : 0.0f,
                columnsBackward ? -columnStep : columnStep, width);

    const auto sourceRow = [&](int k) {
        const int row = clampedIndex(static_cast<float>(k) * rowStep, height);
        return src + std::ptrdiff_t{rowsBackward ? height - 1 - row : row} * stride;
    };
    if (exchanged) {
        for (int c = 0; c < smallWidth; c += bandWidth) {
            const int count = std::min(bandWidth, smallWidth - c);
            const unsigned char* rows[bandWidth];
            for (int k = 0; k < count; ++k) rows[k] = sourceRow(c + k);
            if (count == bandWidth)
                takeBand(rows, offsets, dst + c, smallHeight, smallWidth, std::integral_constant<int, bandWidth>());
            else
                takeBand(rows, offsets, dst + c, smallHeight, smallWidth, count);
        }
        return;
    }
    const bool isDirect = isEveryFourth(offsets, smallWidth, columnsBackward);
    for (int r = 0; r < smallHeight; ++r) {
        const unsigned char* const row = sourceRow(r);
        unsigned char* const out = dst + std::ptrdiff_t{r} * smallWidth;
        if (!isDirect)
            takeRow(row, offsets, out, smallWidth);
        else if (columnsBackward)
            vectorised<takeEveryFourthBackward>(row + offsets[0], out, smallWidth);
        else
            vectorised<takeEvery<4>>(row + offsets[0], out, smallWidth);
    }
}

namespace {

// Beyond the table's capacity nothing is written.
void downsampleTurned(const unsigned char* src, int width, int height, int stride, int imageAngle, unsigned char* dst,
                      int smallWidth, int smallHeight) {
    if (!fitsOffsetTable(imageAngle, smallWidth, smallHeight)) return;
    int offsets[offsetTableCapacity];
    sampleOriented(src, width, height, stride, imageAngle, dst, smallWidth, smallHeight, offsets);
}

}  // namespace
}  // namespace skylevel

int TiltCorrection::downsampleWithAngle(unsigned char* src, int width, int height, int stride, int imageAngle,
                                        unsigned char* dst, int smallWidth, int smallHeight) {
    SKYLEVEL_LOG_INFO("enter %s()", "downsampleWithAngle");
    if (width == smallWidth && height == smallHeight && stride == width && imageAngle == 0) {
        if (width > 0 && height > 0) std::memcpy(dst, src, std::size_t{1} * width * height);
        return 0;
    }
    if (skylevel::isQuarterTurn(imageAngle))
        skylevel::downsampleTurned(src, width, height, stride, imageAngle, dst, smallWidth, smallHeight);
    return 0;
}

void TiltCorrection::downsample0(unsigned char* src, int width, int height, int stride, unsigned char* dst,
                                 int smallWidth, int smallHeight) {
    skylevel::downsampleTurned(src, width, height, stride, 0, dst, smallWidth, smallHeight);
}

void TiltCorrection::downsample90(unsigned char* src, int width, int height, int stride, unsigned char* dst,
                                  int smallWidth, int smallHeight) {
    skylevel::downsampleTurned(src, width, height, stride, 90, dst, smallWidth, smallHeight);
}

void TiltCorrection::downsample180(unsigned char* src, int width, int height, int stride, unsigned char* dst,
                                   int smallWidth, int smallHeight) {
    skylevel::downsampleTurned(src, width, height, stride, 180, dst, smallWidth, smallHeight);
}

void TiltCorrection::downsample270(unsigned char* src, int width, int height, int stride, unsigned char* dst,
                                   int smallWidth, int smallHeight) {
    skylevel::downsampleTurned(src, width, height, stride, 270, dst, smallWidth, smallHeight);
}
