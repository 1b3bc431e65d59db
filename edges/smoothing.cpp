// Gaussian smoothing and derivatives: four one-dimensional passes, and the gradient's length.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <memory>
#include <utility>

#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

// From here on 8 * ceil(sigma) leaves the int range.
constexpr float sigmaLimit = 268435456.0f;  // 2^28

bool isUsableSigma(float sigma) { return sigma > 0.0f && sigma < sigmaLimit; }

int ceiling(float value) {
    const int whole = static_cast<int>(value);
    return static_cast<float>(whole) < value ? whole + 1 : whole;
}

// Central differences of the Gaussian; the positive taps are scaled to a sum of 1, the others to -1.
void makeDerivative(const float* gauss, int size, float* derivative) {
    derivative[0] = gauss[1] - gauss[0];
    for (int i = 1; i < size - 1; ++i) derivative[i] = (gauss[i + 1] - gauss[i - 1]) * 0.5f;
    derivative[size - 1] = gauss[size - 1] - gauss[size - 2];

    float positive = 0.0f;
    float negative = 0.0f;
    for (int i = 0; i < size; ++i) (derivative[i] > 0.0f ? positive : negative) += derivative[i];
    negative = std::fabs(negative);
    for (int i = 0; i < size; ++i) derivative[i] /= derivative[i] > 0.0f ? positive : negative;
}

// One output row of a vertical pass: the input rows around it, weighted in tap order. Rows past the
// plane are replicated. float, products rounded before the add.
template <typename Pixel>
void filterColumns(const Pixel* plane, int width, int height, int row, const float* kernel, int size, float* out) {
    const int before = (size - 1) / 2;
    std::fill_n(out, width, 0.0f);
    for (int k = 0; k < size; ++k) {
        const auto source = std::clamp<std::ptrdiff_t>(std::ptrdiff_t{row} - before + k, 0, height - 1);
        const Pixel* const in = plane + source * width;
        const float tap = kernel[k];
        for (int c = 0; c < width; ++c) out[c] += static_cast<float>(in[c]) * tap;
    }
}

// One output row of a horizontal pass. padded is scratch of width + size floats: the row with its
// ends replicated, so that the loop over the outputs has no test in it.
template <typename Pixel>
void filterRow(const Pixel* in, int width, const float* kernel, int size, float* padded, float* out) {
    const int before = (size - 1) / 2;
    float* const body = std::fill_n(padded, before, static_cast<float>(in[0]));
    float* const tail = std::transform(in, in + width, body, [](Pixel value) { return static_cast<float>(value); });
    std::fill_n(tail, size - before, static_cast<float>(in[width - 1]));

    std::fill_n(out, width, 0.0f);
    for (int k = 0; k < size; ++k) {
        const float tap = kernel[k];
        const float* const shifted = padded + k;
        for (int c = 0; c < width; ++c) out[c] += shifted[c] * tap;
    }
}

}  // namespace

int MakeGauss(float sigma, float*& kernel, int& size) {
    if (!isUsableSigma(sigma)) return -1;
    const int count = ceiling(sigma) * 8;
    std::unique_ptr<float[]> taps(new float[count]);

    const float a = 1.0f / ((sigma + sigma) * sigma);
    const auto c = static_cast<float>(1.0 / (static_cast<double>(sigma) * 2.5066282746310002));  // sqrt(2 pi)
    const int centre = static_cast<int>(static_cast<float>(count - 1) * 0.5f);
    float sum = 0.0f;
    for (int i = 0; i < count; ++i) {
        const auto x = static_cast<float>(i - centre);
        taps[i] = c * expf(-(a * (x * x)));
        sum += taps[i];
    }
    if (sum > FLT_EPSILON)
        for (int i = 0; i < count; ++i) taps[i] /= sum;

    size = count;
    kernel = taps.release();
    return 0;
}

void flip(float* values, int count) {
    for (int i = 0; i < count / 2; ++i) std::swap(values[i], values[count - 1 - i]);
}

int SmoothGradient(unsigned char* src, int width, int height, float sigma, float* gradX, float* gradY) {
    if (src == nullptr || gradX == nullptr || gradY == nullptr) return -1;
    if (!skylevel::isPlane(width, height)) return -1;
    int size = 0;
    float* taps = nullptr;
    if (MakeGauss(sigma, taps, size) != 0) return -1;
    const std::unique_ptr<float[]> gauss(taps);
    const std::unique_ptr<float[]> derivative(new float[size]);
    makeDerivative(gauss.get(), size, derivative.get());
    // The passes correlate; reversed kernels make them convolve.
    flip(gauss.get(), size);
    flip(derivative.get(), size);

    const auto rowOf = [width](auto* plane, int row) { return plane + std::ptrdiff_t{row} * width; };
    const std::unique_ptr<float[]> smooth(new float[std::size_t{1} * width * height]);
    const std::unique_ptr<float[]> padded(new float[std::size_t{1} * width + size]);
    for (int r = 0; r < height; ++r) filterColumns(src, width, height, r, gauss.get(), size, rowOf(smooth.get(), r));
    for (int r = 0; r < height; ++r)
        filterRow(rowOf(smooth.get(), r), width, derivative.get(), size, padded.get(), rowOf(gradX, r));
    for (int r = 0; r < height; ++r)
        filterRow(rowOf(src, r), width, gauss.get(), size, padded.get(), rowOf(smooth.get(), r));
    for (int r = 0; r < height; ++r)
        filterColumns(smooth.get(), width, height, r, derivative.get(), size, rowOf(gradY, r));
    return 0;
}

int GradMagnitude(float* gradX, float* gradY, int width, int height, float* magnitude) {
    if (gradX == nullptr || gradY == nullptr || magnitude == nullptr) return -1;
    if (!skylevel::isPlane(width, height)) return -1;
    const std::size_t count = std::size_t{1} * width * height;
    for (std::size_t i = 0; i < count; ++i) {
        const float squareX = gradX[i] * gradX[i];
        const float squareY = gradY[i] * gradY[i];
        magnitude[i] = sqrtf(squareX + squareY);
    }
    return 0;
}
