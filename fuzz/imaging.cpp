// The reductions, the conversions, the orientation and the small sums.
#include <algorithm>

#include "fuzz/input.h"
#include "skylevel/skylevel.h"
#include "tests/plain/imaging.h"

namespace {

constexpr int quarterTurns[] = {0, 90, 180, 270};
constexpr int steps[] = {1, 2, 3, 4, 5, 8};
constexpr int sideLimit = 300;

void reduce(fuzz::Input& input, TiltCorrection& corrector) {
    const int width = input.between(1, sideLimit);
    const int height = input.between(1, sideLimit);
    const int stride = width + input.between(0, 20);
    const int smallWidth = input.raw<unsigned char>() % 2 == 0 ? width / 4 : input.between(-1, 260);
    const int smallHeight = input.raw<unsigned char>() % 2 == 0 ? height / 4 : input.between(-1, 260);
    const int angle = input.mostly(quarterTurns);
    const fuzz::Bytes src(std::size_t{1} * (height - 1) * stride + width);
    input.paint(src.data(), width, height, stride);
    const bool isEmpty = smallWidth < 1 || smallHeight < 1;
    const fuzz::Bytes dst(isEmpty ? 1 : std::size_t{1} * smallWidth * smallHeight);
    fuzz::require(corrector.downsampleWithAngle(src.data(), width, height, stride, angle, dst.data(), smallWidth,
                                                smallHeight) == 0,
                  "the reduction always succeeds");
    if (width == smallWidth && height == smallHeight && stride == width && angle == 0)
        return fuzz::require(dst == src, "a packed plane of the same size is copied");
    const bool isTurned = angle == 90 || angle == 270;
    const bool isWritten =
        !isEmpty && smallWidth <= 256 && (!isTurned || smallHeight <= 256) && (isTurned || angle == 0 || angle == 180);
    if (!isWritten) return fuzz::require(dst.untouched(), "a refused reduction writes nothing");
    const int column = angle == 180 || angle == 270 ? (width - 1) & ~1 : 0;
    const int row = angle == 90 || angle == 180 ? height - 1 : 0;
    fuzz::require(dst[0] == src[std::size_t{1} * row * stride + column], "the first pixel is the corner's");
    const auto expected = plain::reduced(src.data(), width, height, stride, angle, smallWidth, smallHeight);
    fuzz::require(std::equal(expected.begin(), expected.end(), dst.data()), "the pixels are the definition's");
}

void convert(fuzz::Input& input, TiltCorrection& corrector) {
    const int width = input.between(1, sideLimit);
    const int height = input.between(1, sideLimit / 4);
    const std::size_t count = std::size_t{1} * width * height;
    const fuzz::Bytes rgb(3 * count);
    input.paint(rgb.data(), 3 * width, height, std::ptrdiff_t{3} * width);
    const fuzz::Bytes gray(count);
    const fuzz::Bytes expected(count);
    plain::convertToGray(rgb.data(), expected.data(), count);
    fuzz::require(corrector.RGB2Gray(rgb.data(), gray.data(), width, height) == 0 && gray == expected,
                  "gray values are those of the definition");

    const fuzz::Bytes small(std::size_t{1} * (width / 8) * (height / 8));
    const fuzz::Bytes filtered(small.size());
    const int ratio = input.raw<unsigned char>() % 4 == 0 ? input.raw<int>() : 8;
    const int status = corrector.RGB2SmallGray(rgb.data(), small.data(), width, height, ratio);
    if (ratio != 8)
        return fuzz::require(status == (ratio < 1 ? -1 : -2) && small.untouched(), "8 is the only reduction");
    fuzz::require(
        status == 0 && corrector.bicubic8(gray.data(), filtered.data(), width, height) == 0 && small == filtered,
        "the conversion in one is the two in turn");
}

void subsample(fuzz::Input& input, TiltCorrection& corrector) {
    const int width = input.between(1, sideLimit);
    const int height = input.between(1, sideLimit);
    const int stride = height == 1 ? input.raw<int>() : width + input.between(-2, 20);
    const int step = input.mostly(steps);
    const bool refused = stride < width || step < 1;
    const fuzz::Bytes src(refused ? 0 : std::size_t{1} * (height - 1) * stride + width);
    if (!refused) input.paint(src.data(), width, height, stride);
    const std::size_t outWidth = refused ? 0 : (width - 1) / step + 1;
    const std::size_t outHeight = refused ? 1 : (height - 1) / step + 1;
    const fuzz::Bytes dst(outWidth * outHeight);
    const int status = corrector.DownsampleGray(src.data(), dst.data(), width, height, stride, step);
    fuzz::require(status == (refused ? -1 : 0), "refused is what the declaration says");
    for (std::size_t y = 0; !refused && y < outHeight; ++y)
        for (std::size_t x = 0; x < outWidth; ++x)
            fuzz::require(dst[y * outWidth + x] == src[y * step * stride + x * step], "every step-th pixel is taken");
}

void orient(fuzz::Input& input, TiltCorrection& corrector) {
    const auto x = input.raw<float>();
    const auto y = input.raw<float>();
    const auto z = input.raw<float>();
    int angle = -1;
    fuzz::require(corrector.computeImageRotation(x, y, z, angle) == 0, "the orientation always succeeds");
    fuzz::require(angle == 0 || angle == 90 || angle == 180 || angle == 270, "it is a quarter turn");
    fuzz::require(!(z > 9.0f) || angle == 0, "a device that lies flat is upright");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    TiltCorrection corrector(nullptr, 0, 0, 0);
    void (*const operations[])(fuzz::Input&, TiltCorrection&) = {reduce, convert, subsample, orient};
    input.oneOf(operations)(input, corrector);
    return 0;
}
