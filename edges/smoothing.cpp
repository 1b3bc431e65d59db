// Gaussian smoothing and derivatives: four one-dimensional passes, and the gradient's length.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "edges/passes.h"
#include "platform/dispatch.h"
#include "platform/sizes.h"
#include "skylevel/analysis.h"

namespace {

using namespace skylevel;

// From here on 8 * ceil(sigma) leaves the int range.
constexpr float sigmaLimit = 268435456.0f;  // 2^28

bool isUsableSigma(float sigma) { return sigma > 0.0f && sigma < sigmaLimit; }

int ceiling(float value) {
    const int whole = static_cast<int>(value);
    return static_cast<float>(whole) < value ? whole + 1 : whole;
}

std::int64_t roundUp(std::int64_t value, std::int64_t step) { return (value + step - 1) / step * step; }

SKYLEVEL_KERNEL void widen(const unsigned char* in, int count, float* out) {
    for (int i = 0; i < count; ++i) out[i] = static_cast<float>(in[i]);
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

// float, squares rounded before the add.
SKYLEVEL_KERNEL void findLengths(const float* x, const float* y, std::size_t count, float* lengths) {
    for (std::size_t i = 0; i < count; ++i) lengths[i] = sqrtf(x[i] * x[i] + y[i] * y[i]);
}

// Floats of a cache line. Rows start on one.
constexpr int lineLength = 16;

float* nextLine(float* from) {
    const auto index = reinterpret_cast<std::uintptr_t>(from) / sizeof(float);
    return from + (lineLength - index % lineLength) % lineLength;
}

// Floats from one row to the next, for rows of at least so many: whole cache lines, and an odd number of
// them, so that the rows of a column pass do not crowd into a few sets of the cache.
std::ptrdiff_t pitchFor(std::int64_t length) { return (roundUp(length, lineLength) / lineLength | 1) * lineLength; }

// Reversed, so that the passes, which correlate, convolve. Filled up with zeros to whole groups.
struct Kernels {
    int size;
    std::unique_ptr<float[]> gauss;
    std::unique_ptr<float[]> derivative;
};

bool makeKernels(float sigma, Kernels& kernels) {
    float* taps = nullptr;
    if (MakeGauss(sigma, taps, kernels.size) != 0) return false;
    const std::unique_ptr<float[]> owner(taps);
    const auto length = static_cast<std::size_t>(roundUp(kernels.size, tapGroup));
    kernels.gauss.reset(new float[length]());
    kernels.derivative.reset(new float[length]());
    makeDerivative(taps, kernels.size, kernels.derivative.get());
    std::reverse_copy(taps, taps + kernels.size, kernels.gauss.get());
    flip(kernels.derivative.get(), kernels.size);
    return true;
}

// The rows of a picture on their way through the four passes, a band at a time, so that what a pass writes
// is still in the cache when the next one reads it.
class Smoother {
public:
    static constexpr int bandRows = 8;
    static_assert(bandRows % rowGroup == 0);

    Smoother(const unsigned char* src, int width, int height, const Kernels& kernels)
        : m_src(src),
          m_width(width),
          m_height(height),
          m_kernels(kernels),
          m_before((kernels.size - 1) / 2),
          m_pitch(pitchFor(roundUp(width, blockColumns))),
          m_paddedPitch(pitchFor(roundUp(width, blockColumns) + roundUp(kernels.size, tapGroup))),
          m_ringRows(static_cast<int>(
              roundUp(std::min<std::int64_t>(std::int64_t{2} * bandRows + kernels.size, height), bandRows))),
          m_memory(new float[std::size_t{2} * m_pitch * m_ringRows + lineLength]()),
          m_ring(nextLine(m_memory.get())),
          m_padded(new float[bandRows * m_paddedPitch]()),
          m_results(new float[bandRows * m_pitch]),
          m_window(new const float*[std::size_t{1} * kernels.size + bandRows - 1]) {}

    // Writes the gradients of a band. Bands come in order, from the top one on.
    void differentiate(int row, float* gradX, float* gradY) {
        const int rowCount = std::min(bandRows, m_height - row);
        const int size = m_kernels.size;
        const float* const gauss = m_kernels.gauss.get();
        const float* const derivative = m_kernels.derivative.get();
        const int windowRows = size + rowCount - 1;
        const std::int64_t first = std::int64_t{row} - m_before;
        while (m_rowsRead < std::min<std::int64_t>(first + windowRows, m_height)) readBand();
        for (int k = 0; k < windowRows; ++k)
            m_window[k] = ringRow(static_cast<int>(std::clamp<std::int64_t>(first + k, 0, m_height - 1)));

        vectorised<filterColumns>(m_window.get(), m_width, rowCount, gauss, size, m_padded.get() + m_before,
                                  m_paddedPitch);
        replicateEnds(rowCount);
        filterBand(rowCount, derivative, m_results.get(), m_pitch);
        copyResults(row, rowCount, gradX);

        for (int k = 0; k < windowRows; ++k) m_window[k] += m_pitch;
        vectorised<filterColumns>(m_window.get(), m_width, rowCount, derivative, size, m_results.get(), m_pitch);
        copyResults(row, rowCount, gradY);
    }

private:
    // A row of the ring is a row of pixels and behind it the same row smoothed.
    float* ringRow(int row) const { return m_ring + 2 * m_pitch * (row % m_ringRows); }

    void readBand() {
        const int rowCount = std::min(bandRows, m_height - m_rowsRead);
        for (int i = 0; i < rowCount; ++i) {
            float* const body = m_padded.get() + m_paddedPitch * i + m_before;
            vectorised<widen>(m_src + std::ptrdiff_t{m_rowsRead + i} * m_width, m_width, body);
            std::copy_n(body, m_width, ringRow(m_rowsRead + i));
        }
        replicateEnds(rowCount);
        filterBand(rowCount, m_kernels.gauss.get(), ringRow(m_rowsRead) + m_pitch, 2 * m_pitch);
        m_rowsRead += rowCount;
    }

    void filterBand(int rowCount, const float* taps, float* out, std::ptrdiff_t pitch) const {
        vectorised<filterRows>(m_padded.get(), m_paddedPitch, m_width, rowCount, taps, m_kernels.size, out, pitch);
    }

    void replicateEnds(int rowCount) {
        for (int i = 0; i < rowCount; ++i) {
            float* const row = m_padded.get() + m_paddedPitch * i;
            float* const body = row + m_before;
            std::fill(row, body, body[0]);
            std::fill(body + m_width, row + m_paddedPitch, body[m_width - 1]);
        }
    }

    void copyResults(int row, int rowCount, float* plane) const {
        for (int i = 0; i < rowCount; ++i)
            std::copy_n(m_results.get() + m_pitch * i, m_width, plane + std::ptrdiff_t{row + i} * m_width);
    }

    const unsigned char* m_src;
    int m_width;
    int m_height;
    const Kernels& m_kernels;
    int m_before;  // taps before the one at the output
    std::ptrdiff_t m_pitch;
    std::ptrdiff_t m_paddedPitch;
    int m_ringRows;  // whole bands, no more than the picture has
    int m_rowsRead = 0;
    std::unique_ptr<float[]> m_memory;
    float* m_ring;                             // the last rows read
    std::unique_ptr<float[]> m_padded;         // one band with its ends replicated
    std::unique_ptr<float[]> m_results;        // one band of one gradient
    std::unique_ptr<const float*[]> m_window;  // the rows of the ring that one band is summed from
};

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
    if (!isPlane(width, height)) return -1;
    Kernels kernels;
    if (!makeKernels(sigma, kernels)) return -1;
    Smoother smoother(src, width, height, kernels);
    for (std::int64_t row = 0; row < height; row += Smoother::bandRows)
        smoother.differentiate(static_cast<int>(row), gradX, gradY);
    return 0;
}

int GradMagnitude(float* gradX, float* gradY, int width, int height, float* magnitude) {
    if (gradX == nullptr || gradY == nullptr || magnitude == nullptr) return -1;
    if (!isPlane(width, height)) return -1;
    const std::size_t count = std::size_t{1} * width * height;
    vectorised<findLengths>(gradX, gradY, count, magnitude);
    return 0;
}
