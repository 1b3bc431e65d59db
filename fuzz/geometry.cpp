// Turns, crop rectangles, line fits and means.
#include <algorithm>
#include <cmath>
#include <limits>

#include "fuzz/input.h"
#include "skylevel/skylevel.h"
#include "tests/plain/geometry.h"

namespace {

constexpr double angles[] = {0.0, 1e-16, 1e-15, 10.0, -10.0, 45.0, 90.0, -90.0, 135.0, 180.0, -180.0, 180.0000001};
constexpr int sideLimit = 90;

void turn(fuzz::Input& input, TiltCorrection& corrector) {
    int width = input.between(-1, sideLimit);
    int height = input.between(-1, sideLimit);
    const double angle = input.mostly(angles);
    const bool refused = width < 1 || height < 1 || !(angle >= -180.0 && angle <= 180.0);
    const fuzz::Bytes src(width < 1 || height < 1 ? 0 : std::size_t{3} * width * height);
    if (src.size() > 0) input.paint(src.data(), 3 * width, height, std::ptrdiff_t{3} * width);
    const unsigned char highest = src.size() > 0 ? *std::max_element(src.data(), src.data() + src.size()) : 0;
    const fuzz::Bytes before = src.copy();

    unsigned char* turned = nullptr;
    int turnedWidth = -7;
    int turnedHeight = -7;
    const int status = corrector.rotateImage(src.data(), width, height, turned, turnedWidth, turnedHeight, angle);
    const std::unique_ptr<unsigned char[]> owner(turned);
    fuzz::require(src == before, "a source is only read");
    fuzz::require(status == (refused ? -1 : 0), "refused is what the declaration says");
    if (refused)
        return fuzz::require(turned == nullptr && turnedWidth == -7 && turnedHeight == -7, "a refusal writes nothing");
    fuzz::require(
        turnedWidth >= 1 && turnedHeight >= 1 && turnedWidth <= width + height && turnedHeight <= width + height,
        "the canvas holds the turned picture and little more");
    for (int i = 0; i < 3 * turnedWidth * turnedHeight; ++i)
        fuzz::require(turned[i] <= highest, "a blend is no brighter than its pixels");
    const bool isCopy = std::fabs(angle) <= std::numeric_limits<double>::epsilon();
    const plain::Turned expected = isCopy ? plain::Turned{width, height, {src.data(), src.data() + src.size()}}
                                          : plain::turn(src.data(), width, height, angle);
    fuzz::require(turnedWidth == expected.width && turnedHeight == expected.height, "the canvas is the definition's");
    fuzz::require(std::equal(expected.pixels.begin(), expected.pixels.end(), turned), "so is every pixel");
}

void placeCrop(fuzz::Input& input, TiltCorrection& corrector) {
    const auto width = input.raw<int>();
    const auto height = input.raw<int>();
    const double angle = input.mostly(angles);
    _Rect rect = {-7, -7, -7, -7};
    const int status = corrector.calCropLoc(width, height, angle, rect);
    fuzz::require(status == 0 || status == -1, "the status is one of two");
    if (status == -1)
        return fuzz::require(rect.left == -7 && rect.right == -7 && rect.top == -7 && rect.bottom == -7,
                             "a refusal leaves the rectangle");
    fuzz::require(width >= 1 && height >= 1, "a size below 1 is refused");
    const auto middle = [](int first, int last) { return (std::int64_t{first} + last + 1) / 2; };
    fuzz::require(middle(rect.left, rect.right) == width / 2 && middle(rect.top, rect.bottom) == height / 2,
                  "the rectangle is centred");
}

void fit(fuzz::Input& input, TiltCorrection& corrector) {
    const int count = input.between(-1, 40);
    const fuzz::Buffer<int> x(count < 1 ? 0 : count);
    const fuzz::Buffer<int> y(x.size());
    const int range = input.raw<unsigned char>() % 2 == 0 ? 300 : std::numeric_limits<int>::max();
    for (std::size_t i = 0; i < x.size(); ++i) {
        x[i] = input.raw<int>() % range;
        y[i] = input.raw<int>() % range;
    }
    double angle = 1234.5;
    double residual = -1.0;
    const int status = corrector.fitLine(x.data(), y.data(), count, angle, residual);
    fuzz::require(status == (count < 2 ? -1 : 0), "refused is what the declaration says");
    if (status == -1) return fuzz::require(angle == 1234.5 && residual == -1.0, "a refusal writes nothing");
    fuzz::require(angle >= -90.0 && angle <= 90.0, "the angle lies within a quarter turn of level");
    fuzz::require(residual >= 0.0, "a distance is not negative");
}

void profile(fuzz::Input& input, TiltCorrection& corrector) {
    constexpr double limits[] = {0.0, 0.25, 0.9, 1.0, 16.0};
    const int width = input.between(1, sideLimit);
    const int height = input.between(1, sideLimit);
    const fuzz::Bytes map(std::size_t{1} * width * height);
    input.paint(map.data(), width, height, width);
    HorizonFitParams p = {input.mostly(limits), input.mostly(limits), input.mostly(limits)};
    double angle = 1234.5;
    const int status = corrector.horizonDetection(map.data(), width, height, &p.coverageRatio, angle);
    fuzz::require(status == 0 || status == -1, "the status is one of two");
    const bool isAngle = angle >= -90.0 && angle <= 90.0;
    fuzz::require(isAngle || angle == std::numeric_limits<double>::max() || (status == -1 && angle == 1234.5),
                  "it is an angle, no angle, or as it was");
}

void average(fuzz::Input& input, TiltCorrection& corrector) {
    const int count = input.between(-1, 1000);
    const fuzz::Bytes values(count < 1 ? 0 : count);
    input.paint(values.data(), static_cast<int>(values.size()), 1, 0);
    double mean = -1.0;
    const int status = corrector.mean(values.data(), count, mean);
    fuzz::require(status == (count < 1 ? -1 : 0), "refused is what the declaration says");
    int sum = 0;
    for (int i = 0; i < count; ++i) sum += values[i];
    fuzz::require(mean == (status == -1 ? -1.0 : static_cast<double>(sum) / count), "the mean is the sum's");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    TiltCorrection corrector(nullptr, 0, 0, 0);
    void (*const operations[])(fuzz::Input&, TiltCorrection&) = {turn, turn, placeCrop, fit, profile, average};
    input.oneOf(operations)(input, corrector);
    return 0;
}
