// One corrector through any sequence of its members, beside a model of its fields.
#include <algorithm>
#include <limits>

#include "fuzz/input.h"
#include "skylevel/skylevel.h"

namespace {

constexpr double noAngle = std::numeric_limits<double>::max();
constexpr double angles[] = {0.0, 1e-16, 10.0, -10.0, 30.0, 45.0, -90.0, 90.0, 135.0, 180.0, -180.0, 200.0};
constexpr int sideLimit = 120;

bool same(double left, double right) { return std::memcmp(&left, &right, sizeof(left)) == 0; }

struct Model {
    int width;
    int height;
    double angle = noAngle;
    double threshold = 10.0;
};

bool isUsable(const Model& model) { return model.width > 0 && model.height > 0; }

void expectFields(TiltCorrection& corrector, const Model& model) {
    fuzz::require(same(corrector.getRotAngle(), 0.0 - model.angle) || model.angle != model.angle, "the angle is kept");
    fuzz::require(same(corrector.getRotAngleThresh(), model.threshold), "the threshold is kept");
    fuzz::require(corrector.getHasHorizon() == (model.angle <= model.threshold), "a horizon lies within the threshold");
}

void turn(TiltCorrection& corrector, Model& model, double angle) {
    const int status = corrector.manuCorrection(angle);
    if (!isUsable(model)) return fuzz::require(status == -1, "nothing is turned without an image");
    model.angle = angle;
    int width = -1;
    int height = -1;
    const int sizeStatus = corrector.getRotImageSize(width, height);
    const unsigned char* const turned = corrector.getRotImage();
    if (!(angle >= -180.0 && angle <= 180.0))
        return fuzz::require(status == -1 && turned == nullptr && width == 0 && height == 0 && sizeStatus == -1,
                             "a refused turn leaves no image");
    fuzz::require(turned != nullptr && width > 0 && height > 0, "a turn leaves an image");
    unsigned sum = 0;
    for (int i = 0; i < 3 * width * height; ++i) sum += turned[i];
    fuzz::require(sum <= 255U * 3 * width * height, "the whole image can be read");
}

void crop(TiltCorrection& corrector, const Model& model) {
    int width = -7;
    int height = -7;
    const int sizeStatus = corrector.getCropImageSize(width, height);
    fuzz::require(sizeStatus == 0 || (sizeStatus == -1 && width == -7 && height == -7), "a refusal writes no size");
    int sides[] = {-7, -7, -7, -7};
    const int placeStatus = corrector.getCropImageLoc(sides[0], sides[1], sides[2], sides[3]);
    fuzz::require(placeStatus == 0 || (placeStatus == -1 && sides[0] == -7), "a refusal writes no place");
    const fuzz::Bytes out(sizeStatus == 0 ? std::size_t{3} * width * height : 1);
    const int status = corrector.crop(out.data());
    if (!isUsable(model)) return fuzz::require(status == -1 && out.untouched(), "nothing is cropped without an image");
    fuzz::require(status == 0 || (status == -2 && out.untouched()), "a refused crop writes nothing");
    fuzz::require(placeStatus != 0 || (status == 0 && sizeStatus == 0), "a rectangle within the image is copied");
}

void decide(TiltCorrection& corrector, Model& model, int imageAngle) {
    const double before = model.angle;
    const int status = corrector.detectHorizon(imageAngle);
    model.angle = -corrector.getRotAngle();
    const bool unchanged = status == -2 || status == -4 || status == -6;
    fuzz::require(unchanged || status == 0 || status == -7, "the status is a documented one");
    fuzz::require((status == -2) == !isUsable(model), "only an image is decided on");
    fuzz::require(!unchanged || same(model.angle, before) || before != before || before == 0.0,
                  "a failure leaves the angle as it was");
    fuzz::require(status != -7 || model.angle == noAngle, "a failed fit leaves no angle");
    if (unchanged) model.angle = before;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    Model model = {input.between(-2, sideLimit), input.between(-2, sideLimit)};
    const int stride = model.width + input.between(0, 2 * sideLimit);
    // The longer one of both readings of the same bytes, RGB and gray.
    const std::size_t rgbSize = isUsable(model) ? std::size_t{3} * model.width * model.height : 0;
    const std::size_t graySize = isUsable(model) ? std::size_t{1} * stride * (model.height - 1) + model.width : 0;
    const fuzz::Bytes image(std::max(rgbSize, graySize));
    if (isUsable(model)) input.paint(image.data(), model.width, model.height, stride);
    const fuzz::Bytes before = image.copy();
    {
        TiltCorrection corrector(image.data(), model.width, model.height, stride);
        for (int step = 0; step < 12 && !input.empty(); ++step) {
            switch (input.raw<unsigned char>() % 8) {
                case 0:
                    corrector.setRotAngle(model.angle = input.mostly(angles));
                    break;
                case 1:
                    corrector.setRotAngleThresh(model.threshold = input.mostly(angles));
                    break;
                case 2:
                    decide(corrector, model, input.between(0, 4) * 90);
                    break;
                case 3:
                    fuzz::require(corrector.detectRotAngle() == (isUsable(model) ? -4 : -2), "the request is refused");
                    break;
                case 4:
                    fuzz::require(corrector.autoCorrection() == -1, "the correction is refused");
                    fuzz::require(!isUsable(model) || corrector.getRotImage() == nullptr, "the turned image is gone");
                    break;
                case 5:
                case 6:
                    turn(corrector, model, input.mostly(angles));
                    break;
                default:
                    crop(corrector, model);
            }
            expectFields(corrector, model);
        }
    }
    fuzz::require(image == before, "an image is only read");
    return 0;
}
