// The edge detector by its definitions, one value at a time: what the fast forms are held against.
#pragma once

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "skylevel/analysis.h"

namespace plain {

using Plane = std::vector<float>;
using EdgeMap = std::vector<unsigned char>;

inline Plane gaussTaps(float sigma) {
    float* taps = nullptr;
    int size = 0;
    MakeGauss(sigma, taps, size);
    const std::unique_ptr<float[]> owner(taps);
    return {taps, taps + size};
}

inline Plane derivativeTaps(const Plane& gauss) {
    const int n = static_cast<int>(gauss.size());
    Plane taps(n);
    float positive = 0.0f;
    float rest = 0.0f;
    for (int i = 0; i < n; ++i) {
        taps[i] = gauss[std::min(i + 1, n - 1)] - gauss[std::max(i - 1, 0)];
        if (i > 0 && i < n - 1) taps[i] = taps[i] * 0.5f;
        (taps[i] > 0.0f ? positive : rest) += taps[i];
    }
    for (float& tap : taps) tap = tap / (tap > 0.0f ? positive : std::fabs(rest));
    return taps;
}

// One pass of reversed taps along the rows or down the columns, one sum at a time.
inline Plane pass(const Plane& in, int width, int height, Plane taps, bool down) {
    std::reverse(taps.begin(), taps.end());
    const int n = static_cast<int>(taps.size());
    Plane out;
    for (int i = 0; i < width * height; ++i) {
        float sum = 0.0f;
        for (int t = -(n - 1) / 2; t <= n / 2; ++t) {
            const int row = down ? std::clamp(i / width + t, 0, height - 1) : i / width;
            const int column = down ? i % width : std::clamp(i % width + t, 0, width - 1);
            sum = sum + in[row * width + column] * taps[t + (n - 1) / 2];
        }
        out.push_back(sum);
    }
    return out;
}

// The gradients along the rows and down the columns.
inline std::pair<Plane, Plane> gradients(const Plane& picture, int width, int height, float sigma) {
    const Plane gauss = gaussTaps(sigma);
    const Plane derivative = derivativeTaps(gauss);
    return {pass(pass(picture, width, height, gauss, true), width, height, derivative, false),
            pass(pass(picture, width, height, gauss, false), width, height, derivative, true)};
}

// The high and the low threshold.
inline std::pair<float, float> thresholds(Plane magnitude, float highRatio, float lowRatio) {
    float maximum = FLT_MIN;
    for (const float m : magnitude)
        if (maximum < m) maximum = m;
    int histogram[64] = {};
    imHist(magnitude.data(), maximum, static_cast<int>(magnitude.size()), 64, histogram);
    const float share = static_cast<float>(magnitude.size()) * highRatio;
    const int target = static_cast<int>(static_cast<double>(share) + 0.5);
    int bin = 0;
    for (int sum = histogram[0]; bin < 64 && sum < target; sum += bin < 64 ? histogram[bin] : 0) ++bin;
    const float high = maximum * (static_cast<float>(bin + 1) * 0.015625f);
    return {high, high * lowRatio};
}

inline bool isMaximum(const Plane& m, int i, int width, float gx, float gy) {
    const float absX = std::fabs(gx), absY = std::fabs(gy);
    const bool vertical = absY > absX;
    const int axis = vertical ? width : 1, across = vertical ? 1 : width;
    const int diagonal = gx * gy > 0.0f ? axis + across : axis - across;
    const float weight = vertical ? absX / absY : absY / absX;
    const float rest = 1.0f - weight;
    const float ahead = rest * m[i + axis] + weight * m[i + diagonal];
    const float behind = rest * m[i - axis] + weight * m[i - diagonal];
    return !(m[i] <= FLT_EPSILON) && m[i] >= ahead && m[i] >= behind;
}

// Suppression, then growth until nothing grows any more.
inline EdgeMap edges(const Plane& x, const Plane& y, const Plane& m, int width, int height, float high, float low) {
    EdgeMap map(m.size(), 0);
    for (int r = 1; r < height - 1; ++r)
        for (int i = r * width + 1; i < (r + 1) * width - 1; ++i)
            if (isMaximum(m, i, width, x[i], y[i])) map[i] = m[i] >= high ? 255 : m[i] >= low ? 128 : 0;
    const auto besideEdge = [&](int i) {
        for (const int row : {-width, 0, width})
            for (const int column : {-1, 0, 1})
                if (map[i + row + column] == 255) return true;
        return false;
    };
    for (bool grew = true; grew;) {
        grew = false;
        for (int i = 0; i < width * height; ++i)
            if (map[i] == 128 && besideEdge(i)) map[i] = 255, grew = true;
    }
    std::replace(map.begin(), map.end(), 128, 0);
    return map;
}

}  // namespace plain
