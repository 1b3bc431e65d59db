// Both C entry points, with every argument from the fuzzer.
#include "fuzz/input.h"
#include "skylevel/skylevel.h"

namespace {

constexpr int sides[] = {0, 1, 3, 4, 8, 16, 31, 32, 64, 100, 321, 640, 1020, 1024, 1027, 1028, 1032, -1};
constexpr int angles[] = {0, 90, 180, 270};
constexpr double thresholds[] = {0.0, 1.0, 10.0, 45.0, 90.0};
constexpr int widthLimit = 1100;
constexpr int pixelLimit = 1 << 15;

void askForHorizon(fuzz::Input& input) {
    const bool withPicture = input.raw<unsigned char>() != 0;
    int width = input.mostly(sides);
    int height = input.mostly(sides);
    const int padding = input.between(0, 40);
    int stride = input.raw<unsigned char>() % 4 == 0 ? input.raw<int>() : width + padding;
    const int angle = input.mostly(angles);
    const double threshold = input.mostly(thresholds);
    // Written so that NaN passes.
    const bool refused =
        !withPicture || width < 0 || height < 0 || stride < width || threshold < 0.0 || threshold > 90.0;
    if (!refused) {
        // Larger ones do the same, more slowly.
        width %= widthLimit;
        height %= pixelLimit / (width + 1) + 1;
        // A single row may claim any distance to the next.
        if (height > 1) stride = width + padding;
    }
    const bool isEmpty = refused || width < 1 || height < 1;
    const fuzz::Bytes picture(isEmpty ? 0 : std::size_t{1} * (height - 1) * stride + width);
    if (!isEmpty) input.paint(picture.data(), width, height, stride);
    const fuzz::Bytes before = picture.copy();

    const bool oldFlag = input.raw<unsigned char>() % 2 == 0;
    bool flag = oldFlag;
    const int status =
        HorizonDetectionProcess(withPicture ? picture.data() : nullptr, width, height, stride, &flag, angle, threshold);
    fuzz::require(picture == before, "a picture is only read");
    fuzz::require((status == -1) == refused, "refused is what the declaration says");
    if (status == -1) return fuzz::require(!flag, "a refusal says that there is no horizon");
    fuzz::require(status == 0 || status == 1, "the status is one of three");
    const bool isTurn = angle == 0 || angle == 90 || angle == 180 || angle == 270;
    fuzz::require(isTurn || status == 1, "only quarter turns are known");
    if (status == 1) return fuzz::require(flag == oldFlag, "a failure leaves the answer as it was");

    TiltCorrection corrector(picture.data(), width, height, stride);
    corrector.setRotAngleThresh(threshold);
    fuzz::require(corrector.detectHorizon(angle) == 0 && corrector.getHasHorizon() == flag,
                  "a corrector gives the same answer");
    fuzz::require(!flag || -corrector.getRotAngle() <= threshold, "a horizon lies within the threshold");
}

void askForAngle(fuzz::Input& input) {
    const bool withPicture = input.raw<unsigned char>() != 0;
    int width = input.mostly(sides);
    int height = input.mostly(sides);
    const bool refused = !withPicture || width < 0 || height < 0;
    const fuzz::Bytes picture(0);
    double angle = 1234.5;
    // The request is refused before a pixel is read.
    const int status =
        TiltCorrectionProcess(withPicture ? picture.data() : nullptr, width, height, &angle, input.raw<double>());
    fuzz::require(status == (refused ? -1 : 1) && angle == 1234.5, "the angle request fails and writes nothing");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    if (input.raw<unsigned char>() % 8 == 0)
        askForAngle(input);
    else
        askForHorizon(input);
    return 0;
}
