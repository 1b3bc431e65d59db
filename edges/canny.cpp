// The edge detector's driver and its automatic thresholds.
#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <memory>

#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

constexpr int thresholdBins = 64;

bool isOpenRatio(float ratio) { return ratio > 0.0f && ratio < 1.0f; }

}  // namespace

int Canny(unsigned char* src, int width, int height, float sigma, float lowRatio, float highRatio,
          unsigned char* edges) {
    if (src == nullptr || !skylevel::isPlane(width, height)) return -1;
    if (!(sigma > 0.0f) || edges == nullptr) return -1;
    if (!isOpenRatio(lowRatio) || !isOpenRatio(highRatio)) return -1;
    if (lowRatio > highRatio) std::swap(lowRatio, highRatio);

    const int count = width * height;
    const std::unique_ptr<float[]> gradX(new float[count]);
    const std::unique_ptr<float[]> gradY(new float[count]);
    const std::unique_ptr<float[]> magnitude(new float[count]);
    if (SmoothGradient(src, width, height, sigma, gradX.get(), gradY.get()) != 0) return -1;
    if (GradMagnitude(gradX.get(), gradY.get(), width, height, magnitude.get()) != 0) return -1;
    float high = 0.0f;
    float low = 0.0f;
    if (selectThresholds(magnitude.get(), count, high, low, highRatio, lowRatio) != 0) return -1;
    return thinAndThrehold(edges, gradX.get(), gradY.get(), magnitude.get(), width, height, high, low);
}

int selectThresholds(float* magnitude, int count, float& high, float& low, float highRatio, float lowRatio) {
    if (!isOpenRatio(lowRatio) || !isOpenRatio(highRatio)) return -1;
    if (magnitude == nullptr || count < 1) return -1;

    // The smallest normal float, so that an all-zero plane has a maximum above 0.
    float maximum = FLT_MIN;
    for (int i = 0; i < count; ++i) maximum = maximum < magnitude[i] ? magnitude[i] : maximum;

    int histogram[thresholdBins] = {};
    if (imHist(magnitude, maximum, count, thresholdBins, histogram) != 0) return -1;
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
