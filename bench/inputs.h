// What the rows run on: lists of inputs that every contender goes through, so that they meet by label, and the
// inputs themselves, made once for the process when first asked for. Nobody changes their pixels.
#pragma once

#include <string>
#include <vector>

#include "bench/scenes.h"

namespace bench {

// Parameters that a request runs its stages with.
constexpr float sigma = 1.4142135f;
constexpr float lowRatio = 0.4f;
constexpr float highRatio = 0.7f;
constexpr double angleThreshold = 10.0;  // degrees

struct Search {
    int votes;
    float length;
    int gap;
};
// The segment search on a map of this width.
inline Search searchFor(int width) { return {width / 10, static_cast<float>(width / 10 * 0.4), 8}; }

// A gray plane and the clockwise turn that makes it upright.
struct Plane {
    Size size;
    int turn = 0;
    Bytes pixels;
    Bytes edges = {};  // of the reduced plane, empty until asked for

    unsigned char* data() { return pixels.data(); }
};

struct View {
    Scene scene;
    Size size;
    int turn = 0;

    Size reduced() const { return {size.width / 4, size.height / 4}; }
    Plane& plane() const;
    std::string label() const;
    std::string reducedLabel() const;
};

struct Photo {
    std::string name;

    Plane& plane() const;
    const std::string& label() const { return name; }
};

// A turned photo and the canvas that holds it, to the pixel or so.
struct Turn {
    Size size;
    int angle;  // degrees

    Size canvas() const;
    std::string label() const;
};

// Gradients of a plane with the magnitude and the thresholds that the edge detector takes from it.
struct Gradients {
    std::vector<float> x;
    std::vector<float> y;
    std::vector<float> magnitude;
    float high = 0.0f;
    float low = 0.0f;
};

inline constexpr Size camera = {1024, 768};
inline constexpr Size preview = {640, 480};
inline constexpr Size still = {4000, 3000};

inline const std::vector<View> requestViews = {
    {Scene::sea, camera},  {Scene::sea, camera, 90},  {Scene::busy, camera},  {Scene::busy, camera, 90},
    {Scene::sea, preview}, {Scene::sea, preview, 90}, {Scene::busy, preview}, {Scene::busy, preview, 90}};
inline const std::vector<Photo> photos = {
    {"sea-breaker.jpg"}, {"beach-haze.jpg"}, {"pavilion.jpg"}, {"fir-forest.jpg"}};
inline const std::vector<View> growingViews = {{Scene::sea, preview}, {Scene::sea, still}, {Scene::sea, {8000, 6000}}};
inline const std::vector<View> reducedViews = {
    {Scene::sea, camera}, {Scene::sea, camera, 90}, {Scene::sea, preview}, {Scene::sea, preview, 90}};
inline const std::vector<View> mapViews = {
    {Scene::sea, camera}, {Scene::busy, camera}, {Scene::sea, preview}, {Scene::busy, preview}};
inline const std::vector<Size> stageSizes = {{256, 192}, camera};
inline const std::vector<Size> colourSizes = {preview, {1920, 1080}, still};
inline const std::vector<int> byteCounts = {256 * 192, still.pixels()};
inline const std::vector<Turn> turns = {{preview, 10}, {preview, 45}, {{1920, 1080}, 10}, {{1920, 1080}, 45},
                                        {still, 10},   {still, 45},   {still, 90}};
inline constexpr int cropAngle = 10;  // degrees; the crop rectangle of a still turned by them
inline constexpr int step = 3;        // of every third pixel
inline constexpr Size thirds = {(still.width + step - 1) / step, (still.height + step - 1) / step};
inline constexpr Size eighths = {still.width / 8, still.height / 8};

Bytes& colourImage(Size size);
Bytes& grayStill();
// The reduced, upright plane of a picture up to 1024 x 1024.
Bytes reduce(const View& view);
// The edge map that the decision on a picture finds.
Bytes& edgeMap(Plane& picture);
int countPoints(const Bytes& edges);
// A camera's sea, whole or reduced, and its gradients.
Bytes& stagePlane(Size size);
Gradients& stageGradients(Size size);
// Size and first pixel of the crop rectangle.
Size cropSize();
std::size_t cropStart();

std::string label(Size size);
std::string cropLabel();
std::string countLabel(int bytes);

}  // namespace bench
