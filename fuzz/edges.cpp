// The edge detector as a whole and its stages, beside their definitions.
#include <cmath>
#include <functional>

#include "fuzz/input.h"
#include "skylevel/analysis.h"
#include "tests/plain/edges.h"

namespace {

using fuzz::Bytes;
using Floats = fuzz::Buffer<float>;
using plain::Plane;

constexpr float sigmas[] = {1.4142135f, 1.4142135f, 0.5f, 1.0f, 2.5f, 12.0f, 1e-30f};
constexpr float ratios[] = {0.4f, 0.7f, 0.1f, 0.999f, 0.0f, 1.0f};
constexpr float levels[] = {0.0f, 1e-7f, 1.0f, 40.0f, 400.0f};
constexpr int sideLimit = 48;
constexpr int starts[] = {-1, 0, 1, 5, 20, 47};
// Taps that a run of the fuzzer can afford; up to 2^28 is allowed.
constexpr float affordableSigma = 50.0f;
constexpr float sigmaLimit = 268435456.0f;

bool isRatio(float ratio) { return ratio > 0.0f && ratio < 1.0f; }

// One NaN is as good as another.
void requireSame(const Floats& values, const Plane& expected, const char* promise) {
    for (std::size_t i = 0; i < values.size(); ++i)
        fuzz::require((std::isnan(values[i]) && std::isnan(expected[i])) ||
                          std::memcmp(&values[i], &expected[i], sizeof(float)) == 0,
                      promise);
}

Plane planeOf(const Floats& values) { return {values.data(), values.data() + values.size()}; }

void requireEdgeMap(const Bytes& map, int width, int height) {
    for (int i = 0; i < width * height; ++i) {
        fuzz::require(map[i] == 0 || map[i] == 255, "an edge map holds 0 and 255");
        const bool onFrame = i < width || i >= width * (height - 1) || i % width == 0 || i % width == width - 1;
        fuzz::require(!onFrame || map[i] == 0, "the frame is clear");
    }
}

void detect(fuzz::Input& input, int width, int height) {
    const Bytes src(std::size_t{1} * width * height);
    input.paint(src.data(), width, height, width);
    const float sigma = input.mostly(sigmas);
    const float lowRatio = input.mostly(ratios);
    const float highRatio = input.mostly(ratios);
    if (sigma > affordableSigma && sigma < sigmaLimit) return;
    const bool refused =
        !(sigma > 0.0f && sigma < sigmaLimit) || !isRatio(lowRatio) || !isRatio(highRatio) || src.size() == 1;
    const Bytes map(src.size());
    const int status = Canny(src.data(), width, height, sigma, lowRatio, highRatio, map.data());
    fuzz::require(status == (refused ? -1 : 0), "refused is what the declaration says");
    if (refused) return fuzz::require(map.untouched(), "a refusal leaves the map");
    requireEdgeMap(map, width, height);

    const auto [x, y] = plain::gradients({src.data(), src.data() + src.size()}, width, height, sigma);
    const Floats gradX(src.size());
    const Floats gradY(src.size());
    const Floats magnitude(src.size());
    fuzz::require(SmoothGradient(src.data(), width, height, sigma, gradX.data(), gradY.data()) == 0 &&
                      GradMagnitude(gradX.data(), gradY.data(), width, height, magnitude.data()) == 0,
                  "the stages take what the whole takes");
    requireSame(gradX, x, "gradients along rows are those of the definition");
    requireSame(gradY, y, "gradients down columns are those of the definition");
    const auto [high, low] =
        plain::thresholds(planeOf(magnitude), std::max(lowRatio, highRatio), std::min(lowRatio, highRatio));
    const auto expected = plain::edges(x, y, planeOf(magnitude), width, height, high, low);
    fuzz::require(std::equal(expected.begin(), expected.end(), map.data()), "the map is that of the definition");
}

// Gradients that no picture has.
void suppress(fuzz::Input& input, int width, int height) {
    const std::size_t count = std::size_t{1} * width * height;
    const Floats x(count);
    const Floats y(count);
    const Floats m(count);
    for (const Floats& plane : {std::cref(x), std::cref(y), std::cref(m)}) input.fill(plane.data(), count);
    if (input.raw<unsigned char>() % 2 == 0) GradMagnitude(x.data(), y.data(), width, height, m.data());
    const float high = input.mostly(levels);
    const float low = input.mostly(levels);
    const Bytes map(count);
    fuzz::require(thinAndThrehold(map.data(), x.data(), y.data(), m.data(), width, height, high, low) == 0,
                  "any floats are taken");
    requireEdgeMap(map, width, height);
    const auto expected = plain::edges(planeOf(x), planeOf(y), planeOf(m), width, height, high, low);
    fuzz::require(std::equal(expected.begin(), expected.end(), map.data()), "the map is that of the definition");
}

void chooseThresholds(fuzz::Input& input, int width, int height) {
    const int count = width * height;
    const Floats values(count);
    input.fill(values.data(), values.size());
    const float highRatio = input.mostly(ratios);
    const float lowRatio = input.mostly(ratios);
    float high = -7.0f;
    float low = -7.0f;
    const int status = selectThresholds(values.data(), count, high, low, highRatio, lowRatio);
    const bool refused = !isRatio(highRatio) || !isRatio(lowRatio) || count < 2;
    fuzz::require(status == (refused ? -1 : 0), "refused is what the declaration says");
    if (refused) return fuzz::require(high == -7.0f && low == -7.0f, "a refusal writes nothing");
    const auto expected = plain::thresholds(planeOf(values), highRatio, lowRatio);
    fuzz::require(high == expected.first && low == expected.second, "the thresholds are those of the definition");
}

void grow(fuzz::Input& input, int width, int height) {
    const std::size_t count = std::size_t{1} * width * height;
    const Bytes map(count);
    input.paint(map.data(), width, height, width);
    const Floats magnitude(count);
    input.fill(magnitude.data(), count);
    const Bytes before = map.copy();
    unsigned char* edges = map.data();
    float* m = magnitude.data();
    float low = input.mostly(levels);
    TraceEdge(input.mostly(starts), input.mostly(starts), low, edges, m, width, height);
    for (std::size_t i = 0; i < count; ++i)
        fuzz::require(map[i] == before[i] || (before[i] == 128 && map[i] == 255 && magnitude[i] >= low),
                      "only candidates become edges");
}

void count(fuzz::Input& input, int width, int height) {
    const Floats values(std::size_t{1} * width * height);
    input.fill(values.data(), values.size());
    const int binCount = input.between(0, 300);
    const fuzz::Buffer<int> histogram(binCount);
    for (int i = 0; i < binCount; ++i) histogram[i] = 0;
    const float maximum = input.mostly(levels);
    const int status = imHist(values.data(), maximum, static_cast<int>(values.size()), binCount, histogram.data());
    std::size_t sum = 0;
    for (int i = 0; i < binCount; ++i) sum += histogram[i];
    fuzz::require(sum == (status == 0 ? values.size() : 0), "every value is counted once, or none");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    void (*const operations[])(fuzz::Input&, int, int) = {detect, detect, suppress, chooseThresholds, grow, count};
    const auto operation = input.oneOf(operations);
    const int width = input.between(1, sideLimit);
    operation(input, width, input.between(1, sideLimit));
    return 0;
}
