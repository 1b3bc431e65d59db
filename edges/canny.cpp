// The edge detector's driver and its automatic thresholds.
#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <memory>

#include "platform/dispatch.h"
#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

constexpr int thresholdBins = 64;
constexpr int pairBins = thresholdBins * thresholdBins;

bool isOpenRatio(float ratio) { return ratio > 0.0f && ratio < 1.0f; }

// Values that are not greater, NaN included, leave the maximum as it is.
SKYLEVEL_KERNEL float largest(const float* values, int count, float maximum) {
    constexpr int lanes = 32;
    float most[lanes];
    std::fill_n(most, lanes, maximum);
    int i = 0;
    for (; count - i >= lanes; i += lanes)
        for (int k = 0; k < lanes; ++k) most[k] = most[k] < values[i + k] ? values[i + k] : most[k];
    for (; i < count; ++i) maximum = maximum < values[i] ? values[i] : maximum;
    for (const float m : most) maximum = maximum < m ? m : maximum;
    return maximum;
}

SKYLEVEL_KERNEL int binOf(float value, float scale) {
    constexpr float last = thresholdBins - 1;
    const float position = scale * value + 0.5f;
    const float positive = position >= 1.0f ? position : 0.0f;  // 0 for NaN too
    return static_cast<int>(positive < last ? positive : last);
}

// What imHist does with as many bins, from 0. Values are counted in pairs, which takes half the time: the
// bins of a batch are found in vectors, each of its first half makes a pair with one of its second half.
// Pairs go by turns to two tables of pairBins counters, for a counter that was just stored takes long to load.
// The tables are the caller's, all 0.
SKYLEVEL_KERNEL void countBins(const float* values, int count, float maximum, int* even, int* odd, int* histogram) {
    constexpr int half = 128;
    const float scale = static_cast<float>(thresholdBins - 1) / maximum;
    int i = 0;
    for (; count - i >= 2 * half; i += 2 * half) {
        int pairs[half];
        for (int k = 0; k < half; ++k)
            pairs[k] = binOf(values[i + k], scale) * thresholdBins + binOf(values[i + half + k], scale);
        for (int k = 0; k < half; k += 2) {
            ++even[pairs[k]];
            ++odd[pairs[k + 1]];
        }
    }
    std::fill_n(histogram, thresholdBins, 0);
    for (; i < count; ++i) ++histogram[binOf(values[i], scale)];
    for (int first = 0; first < thresholdBins; ++first) {
        int sum = 0;
        for (int second = 0; second < thresholdBins; ++second) {
            const int pair = even[first * thresholdBins + second] + odd[first * thresholdBins + second];
            sum += pair;
            histogram[second] += pair;
        }
        histogram[first] += sum;
    }
}

}  // namespace

int Canny(unsigned char* src, int width, int height, float sigma, float lowRatio, float highRatio,
          unsigned char* edges) {
    if (src == nullptr || !skylevel::isPlane(width, height)) return -1;
    if (!(sigma > 0.0f) || edges == nullptr) return -1;
    if (!isOpenRatio(lowRatio) || !isOpenRatio(highRatio)) return -1;
    if (lowRatio > highRatio) std::swap(lowRatio, highRatio);

    const int count = width * height;
    // In one piece: of large blocks that are freed one by one, allocators tend to give the pages back, and a
    // request that has to fetch them anew takes a third longer. On maps of less than about 65 rows that is
    // more memory than the magnitude would take if it came after the smoothing, which has some of its own.
    const std::unique_ptr<float[]> planes(new float[std::size_t{3} * count]);
    float* const gradX = planes.get();
    float* const gradY = gradX + count;
    float* const magnitude = gradY + count;
    if (SmoothGradient(src, width, height, sigma, gradX, gradY) != 0) return -1;
    if (GradMagnitude(gradX, gradY, width, height, magnitude) != 0) return -1;
    float high = 0.0f;
    float low = 0.0f;
    if (selectThresholds(magnitude, count, high, low, highRatio, lowRatio) != 0) return -1;
    return thinAndThrehold(edges, gradX, gradY, magnitude, width, height, high, low);
}

int selectThresholds(float* magnitude, int count, float& high, float& low, float highRatio, float lowRatio) {
    if (!isOpenRatio(lowRatio) || !isOpenRatio(highRatio)) return -1;
    if (magnitude == nullptr || count < 2) return -1;

    // From the smallest normal float, so that an all-zero plane has a maximum above 0.
    const float maximum = skylevel::vectorised<largest>(magnitude, count, FLT_MIN);
    int histogram[thresholdBins];
    const std::unique_ptr<int[]> pairs(new int[std::size_t{2} * pairBins]());  // too much for a small stack
    skylevel::vectorised<countBins>(magnitude, count, maximum, pairs.get(), pairs.get() + pairBins, histogram);
    for (int i = 1; i < thresholdBins; ++i) histogram[i] += histogram[i - 1];

    const float share = static_cast<float>(histogram[thresholdBins - 1]) * highRatio;
    const int target = static_cast<int>(static_cast<double>(share) + 0.5);
    const int* const first = std::find_if(histogram, histogram + thresholdBins, [=](int sum) { return sum >= target; });
    // Bins are maximum / 63 wide, yet the threshold steps are maximum / 64: bin i ends at (i + 1) / 64.
    // Without a bin, 65 / 64 lies above every magnitude.
    const int step = static_cast<int>(first - histogram) + 1;
    high = maximum * (static_cast<float>(step) * 0.015625f);
    low = high * lowRatio;
    return 0;
}

int imHist(float* values, float maxValue, int count, int binCount, int* histogram) {
    if (values == nullptr || maxValue <= 0.0f) return -1;
    if (count < 2 || binCount < 2 || histogram == nullptr) return -1;
    const float scale = static_cast<float>(binCount - 1) / maxValue;
    for (int i = 0; i < count; ++i) {
        const float position = scale * values[i] + 0.5f;
        // Negative positions and NaN go to bin 0; from there on truncation is the floor.
        int bin = 0;
        if (static_cast<double>(position) >= binCount)
            bin = binCount - 1;
        else if (position >= 1.0f)
            bin = static_cast<int>(position);
        ++histogram[bin];
    }
    return 0;
}
