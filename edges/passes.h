// The one-dimensional passes of the smoothing, over a few rows at a time. Both forms sum several outputs
// side by side, each of them in float, from 0, products rounded before the add, taps ascending.
#pragma once

#include <cstddef>

#include "edges/lanes.h"
#include "platform/dispatch.h"

namespace skylevel {

// Outputs of a column pass that are summed together, so that their additions fill each other's latency.
// The pass writes whole blocks.
inline constexpr std::ptrdiff_t blockColumns = std::ptrdiff_t{8} * laneCount;

// Rows of a row pass that are summed together, for the same reason. The pass takes rows in groups.
inline constexpr int rowGroup = 4;

// Taps of a row pass come in groups of as many, the last one filled up with zeros. Those change no sum:
// a sum that started at 0 is never -0, and the rows hold finite values wherever the taps are numbers.
inline constexpr int tapGroup = 2 * laneCount;

// One block of one output row: the sum over size rows from rows[0] on.
SKYLEVEL_KERNEL void sumColumns(const float* const* rows, std::ptrdiff_t column, const float* taps, int size,
                                float* out) {
    constexpr std::ptrdiff_t vectors = blockColumns / laneCount;
    Lanes sums[vectors] = {};
    for (int k = 0; k < size; ++k) {
        const float* const in = rows[k] + column;
        const float tap = taps[k];
        for (std::ptrdiff_t j = 0; j < vectors; ++j) sums[j] += load(in + laneCount * j) * tap;
    }
#pragma GCC unroll 8  // or else GCC takes the sums through memory
    for (std::ptrdiff_t j = 0; j < vectors; ++j) store(sums[j], out + laneCount * j);
}

// Output row i sums size rows from rows[i] on. Block by block, for the rows have most of their input in
// common, and that stays in the nearest cache.
SKYLEVEL_KERNEL void filterColumns(const float* const* rows, int width, int rowCount, const float* taps, int size,
                                   float* out, std::ptrdiff_t pitch) {
    for (std::ptrdiff_t c = 0; c < width; c += blockColumns)
        for (int i = 0; i < rowCount; ++i) sumColumns(rows + i, c, taps, size, out + i * pitch + c);
}

// A group of rows, a group of taps. Output c begins with the input at c; whole vectors are written, and
// one more than those is read. Each vector of inputs serves the first half of the taps for one vector of
// outputs and the second half for the one before it: half the loads, most of which straddle cache lines.
// Sums go on from what out holds unless they are fresh.
SKYLEVEL_KERNEL void filterTapGroup(const float* in, std::ptrdiff_t inPitch, std::ptrdiff_t width, const float* taps,
                                    bool fresh, float* out, std::ptrdiff_t outPitch) {
    Lanes sums[rowGroup] = {};
    for (std::ptrdiff_t c = 0; c < width + laneCount; c += laneCount) {
        Lanes next[rowGroup] = {};
        if (!fresh && c < width)
            for (int i = 0; i < rowGroup; ++i) next[i] = load(out + i * outPitch + c);
#pragma GCC unroll 2  // and no further, or the sums no longer fit the registers
        for (int k = 0; k < laneCount; ++k) {
            Lanes inputs[rowGroup];
            for (int i = 0; i < rowGroup; ++i) inputs[i] = load(in + i * inPitch + c + k);
            for (int i = 0; i < rowGroup; ++i) sums[i] += inputs[i] * taps[laneCount + k];
            for (int i = 0; i < rowGroup; ++i) next[i] += inputs[i] * taps[k];
        }
        for (int i = 0; i < rowGroup; ++i) {
            if (c > 0) store(sums[i], out + i * outPitch + c - laneCount);
            sums[i] = next[i];
        }
    }
}

SKYLEVEL_KERNEL void filterRows(const float* in, std::ptrdiff_t inPitch, int width, int rowCount, const float* taps,
                                int size, float* out, std::ptrdiff_t outPitch) {
    for (int i = 0; i < rowCount; i += rowGroup)
        for (int k = 0; k < size; k += tapGroup)
            filterTapGroup(in + i * inPitch + k, inPitch, width, taps + k, k == 0, out + i * outPitch, outPitch);
}

}  // namespace skylevel
