#include "bench/inputs.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>

#include "corrector/horizon_decision.h"
#include "skylevel/analysis.h"
#include "skylevel/skylevel.h"
#include "tools/photo.h"

namespace bench {
namespace {

// The value for a key, made on the first call with it.
template <typename Key, typename Value, typename Make>
Value& remembered(std::map<Key, Value>& known, const Key& key, Make make) {
    const auto found = known.find(key);
    return found != known.end() ? found->second : known.emplace(key, make()).first->second;
}

std::string sceneName(Scene scene) { return scene == Scene::sea ? "sea" : "busy"; }

Plane readPhoto(const std::string& name) {
    constexpr int mostPixels = 100'000'000;
    const auto file = skylevel::readFile(SKYLEVEL_PHOTOS "/" + name, skylevel::requirePhoto);
    const skylevel::Photo photo = skylevel::decodePhoto(file, skylevel::PixelWish::luma, mostPixels);
    const skylevel::Picture& picture = photo.picture;
    const Size size = {picture.width, picture.height};
    return {size, photo.orientation.turn, Bytes(picture.pixels.get(), picture.pixels.get() + size.pixels())};
}

Gradients makeGradients(Size size) {
    const auto count = static_cast<std::size_t>(size.pixels());
    Gradients made = {std::vector<float>(count), std::vector<float>(count), std::vector<float>(count)};
    SmoothGradient(stagePlane(size).data(), size.width, size.height, sigma, made.x.data(), made.y.data());
    GradMagnitude(made.x.data(), made.y.data(), size.width, size.height, made.magnitude.data());
    selectThresholds(made.magnitude.data(), size.pixels(), made.high, made.low, highRatio, lowRatio);
    return made;
}

_Rect cropRectangle() {
    _Rect rect = {};
    TiltCorrection(nullptr, 0, 0, 0).calCropLoc(still.width, still.height, cropAngle, rect);
    return rect;
}

}  // namespace

Plane& View::plane() const {
    static std::map<std::string, Plane> known;
    return remembered(known, label(), [&] { return Plane{size, turn, paint(scene, size)}; });
}

std::string View::label() const { return bench::label(size) + " " + sceneName(scene) + ", " + std::to_string(turn); }

std::string View::reducedLabel() const { return bench::label(reduced()) + " " + sceneName(scene); }

Plane& Photo::plane() const {
    static std::map<std::string, Plane> known;
    return remembered(known, name, [&] { return readPhoto(name); });
}

Size Turn::canvas() const {
    const double radians = angle * 3.141592653589793 / 180.0;
    const double c = std::cos(radians);
    const double s = std::sin(radians);
    return {static_cast<int>(size.width * c + size.height * s), static_cast<int>(size.width * s + size.height * c)};
}

std::string Turn::label() const { return bench::label(size) + ", " + std::to_string(angle); }

Bytes& colourImage(Size size) {
    static std::map<Size, Bytes> known;
    return remembered(known, size, [&] { return paintColour(size); });
}

Bytes& grayStill() { return View{Scene::sea, still}.plane().pixels; }

Bytes reduce(const View& view) {
    const Size small = view.reduced();
    Bytes out(static_cast<std::size_t>(small.pixels()));
    TiltCorrection(nullptr, 0, 0, 0)
        .downsampleWithAngle(view.plane().data(), view.size.width, view.size.height, view.size.width, view.turn,
                             out.data(), small.width, small.height);
    return out;
}

Bytes& edgeMap(Plane& picture) {
    if (picture.edges.empty()) {
        TiltCorrection stages(nullptr, 0, 0, 0);
        skylevel::HorizonEvidence evidence;
        double angle = 0.0;
        skylevel::decideHorizon(stages, {picture.data(), picture.size.width, picture.size.height, picture.size.width},
                                picture.turn, angleThreshold, angle, &evidence);
        const Size small = {evidence.smallWidth, evidence.smallHeight};
        picture.edges.assign(evidence.edges.get(), evidence.edges.get() + small.pixels());
    }
    return picture.edges;
}

int countPoints(const Bytes& edges) { return static_cast<int>(std::ranges::count(edges, 255)); }

Bytes& stagePlane(Size size) {
    static std::map<Size, Bytes> known;
    return remembered(known, size, [&] {
        const View view = {Scene::sea, camera};
        return size == camera ? view.plane().pixels : reduce(view);
    });
}

Gradients& stageGradients(Size size) {
    static std::map<Size, Gradients> known;
    return remembered(known, size, [&] { return makeGradients(size); });
}

Size cropSize() {
    const _Rect rect = cropRectangle();
    return {rect.right - rect.left + 1, rect.bottom - rect.top + 1};
}

std::size_t cropStart() {
    const _Rect rect = cropRectangle();
    return std::size_t{1} * rect.top * still.width + rect.left;
}

std::string label(Size size) { return std::to_string(size.width) + "x" + std::to_string(size.height); }

std::string cropLabel() { return label(cropSize()) + " of " + label(still); }

std::string countLabel(int bytes) { return std::to_string(bytes) + " bytes"; }

}  // namespace bench
