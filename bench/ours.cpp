// Our rows, and beside each a memcpy that moves as many bytes as the operation has to.
#include <android/log.h>

#include <cstdint>
#include <cstring>
#include <memory>

#include "bench/rows.h"
#include "skylevel/analysis.h"
#include "skylevel/skylevel.h"

namespace bench {
namespace {

constexpr const char* name = "skylevel";

std::size_t bytesOf(Size size, int perPixel) { return std::size_t{1} * size.pixels() * perPixel; }

// For the members that use no field.
TiltCorrection stages() { return {nullptr, 0, 0, 0}; }

// A copy moves every byte twice.
Work copying(std::size_t traffic) {
    return {{}, [from = Bytes(traffic / 2, 1), to = Bytes(traffic / 2)]() mutable {
                std::memcpy(to.data(), from.data(), from.size());
            }};
}

void addOurs(Rows& rows, const std::string& operation, const std::string& input, const std::function<Work()>& prepare) {
    addRow(rows, operation, input, name, prepare);
    addRow(rows, operation, input, "memcpy", [prepare] { return copying(prepare().facts.traffic); });
}

// Lines of every priority go to a function that drops them, while it lives.
class DroppedLog {
public:
    DroppedLog() : m_minimum(__android_log_set_minimum_priority(ANDROID_LOG_VERBOSE)) {
        __android_log_set_logger([](const __android_log_message*) {});
    }
    ~DroppedLog() {
        __android_log_set_logger(nullptr);
        __android_log_set_minimum_priority(m_minimum);
    }
    DroppedLog(const DroppedLog&) = delete;
    DroppedLog& operator=(const DroppedLog&) = delete;

private:
    std::int32_t m_minimum;
};

Work request(Plane& picture, const std::shared_ptr<DroppedLog>& log = nullptr) {
    // The source is read in whole cache lines: every fourth row of it.
    const Facts facts = {.traffic = bytesOf(picture.size, 1) / 4, .points = countPoints(edgeMap(picture))};
    return {facts, [&picture, log] {
                bool hasHorizon = false;
                HorizonDetectionProcess(picture.data(), picture.size.width, picture.size.height, picture.size.width,
                                        &hasHorizon, picture.turn, angleThreshold);
            }};
}

void addRequests(Rows& rows) {
    for (const View& view : requestViews)
        addOurs(rows, op::request, view.label(), [view] { return request(view.plane()); });
    for (const Photo& photo : photos)
        addOurs(rows, op::request, photo.label(), [photo] { return request(photo.plane()); });
    const View first = requestViews.front();
    addRow(rows, op::logged, first.label(), name,
           [first] { return request(first.plane(), std::make_shared<DroppedLog>()); });
    for (const View& view : growingViews)
        addRow(rows, op::growth, view.label(), name, [view] { return request(view.plane()); });
}

Work reduction(const View& view) {
    const Size small = view.reduced();
    return {{.traffic = bytesOf(small, 4 + 1)}, [&in = view.plane(), out = Bytes(bytesOf(small, 1)), small]() mutable {
                stages().downsampleWithAngle(in.data(), in.size.width, in.size.height, in.size.width, in.turn,
                                             out.data(), small.width, small.height);
            }};
}

Work edgeDetection(const View& view) {
    const Size size = view.reduced();
    const Facts facts = {.traffic = bytesOf(size, 2), .points = countPoints(edgeMap(view.plane()))};
    return {facts, [in = reduce(view), out = Bytes(bytesOf(size, 1)), size]() mutable {
                Canny(in.data(), size.width, size.height, sigma, lowRatio, highRatio, out.data());
            }};
}

// The search consumes its map, so that each run needs a copy.
Work segmentSearch(const View& view) {
    const Size size = view.reduced();
    Bytes& edges = edgeMap(view.plane());
    const Facts facts = {.traffic = bytesOf(size, 1), .points = countPoints(edges)};
    return {facts, [&edges, map = edges, size]() mutable {
                std::memcpy(map.data(), edges.data(), edges.size());
                const Search search = searchFor(size.width);
                HoughParams parameters = {1.0f, 0.017453292f, static_cast<float>(search.votes), search.length,
                                          static_cast<float>(search.gap)};
                _Line* lines = nullptr;
                int count = 0;
                houghLine(map.data(), size.width, size.height, &parameters.rho, lines, count);
                delete[] lines;
            }};
}

Work smoothing(Size size) {
    const std::size_t count = bytesOf(size, 1);
    std::vector<float> x(count);
    std::vector<float> y(count);
    return {{.traffic = bytesOf(size, 1 + 8)}, [&in = stagePlane(size), x, y, size]() mutable {
                SmoothGradient(in.data(), size.width, size.height, sigma, x.data(), y.data());
            }};
}

Work magnitudes(Size size) {
    std::vector<float> out(bytesOf(size, 1));
    return {{.traffic = bytesOf(size, 8 + 4)}, [&in = stageGradients(size), out, size]() mutable {
                float high = 0.0f;
                float low = 0.0f;
                GradMagnitude(in.x.data(), in.y.data(), size.width, size.height, out.data());
                selectThresholds(out.data(), size.pixels(), high, low, highRatio, lowRatio);
            }};
}

Work suppression(Size size) {
    return {{.traffic = bytesOf(size, 12 + 1)},
            [&in = stageGradients(size), out = Bytes(bytesOf(size, 1)), size]() mutable {
                thinAndThrehold(out.data(), in.x.data(), in.y.data(), in.magnitude.data(), size.width, size.height,
                                in.high, in.low);
            }};
}

void addStages(Rows& rows) {
    for (const View& view : reducedViews)
        addOurs(rows, op::reduction, view.label(), [view] { return reduction(view); });
    for (const View& view : mapViews)
        addOurs(rows, op::edges, view.reducedLabel(), [view] { return edgeDetection(view); });
    for (const Size size : stageSizes) addOurs(rows, op::smoothing, label(size), [size] { return smoothing(size); });
    for (const Size size : stageSizes) addOurs(rows, op::magnitude, label(size), [size] { return magnitudes(size); });
    for (const Size size : stageSizes)
        addOurs(rows, op::suppression, label(size), [size] { return suppression(size); });
    for (const View& view : mapViews)
        addOurs(rows, op::hough, view.reducedLabel(), [view] { return segmentSearch(view); });
}

Work gray(Size size) {
    return {{.traffic = bytesOf(size, 3 + 1)},
            [&in = colourImage(size), out = Bytes(bytesOf(size, 1)), size]() mutable {
                stages().RGB2Gray(in.data(), out.data(), size.width, size.height);
            }};
}

Work smallGray() {
    return {{.traffic = bytesOf(still, 3) + bytesOf(eighths, 1)},
            [&in = colourImage(still), out = Bytes(bytesOf(eighths, 1))]() mutable {
                stages().RGB2SmallGray(in.data(), out.data(), still.width, still.height, 8);
            }};
}

Work filter() {
    return {{.traffic = bytesOf(still, 1) + bytesOf(eighths, 1)},
            [&in = grayStill(), out = Bytes(bytesOf(eighths, 1))]() mutable {
                stages().bicubic8(in.data(), out.data(), still.width, still.height);
            }};
}

Work everyThird() {
    return {{.traffic = bytesOf(thirds, step + 1)}, [&in = grayStill(), out = Bytes(bytesOf(thirds, 1))]() mutable {
                stages().DownsampleGray(in.data(), out.data(), still.width, still.height, still.width, step);
            }};
}

Work mean(int count) {
    return {{.traffic = static_cast<std::size_t>(count)}, [&in = grayStill(), count] {
                double average = 0.0;
                stages().mean(in.data(), count, average);
            }};
}

void addImaging(Rows& rows) {
    for (const Size size : colourSizes) addOurs(rows, op::gray, label(size), [size] { return gray(size); });
    addOurs(rows, op::smallGray, label(still), smallGray);
    addOurs(rows, op::filter, label(still), filter);
    addOurs(rows, op::thirds, label(still), everyThird);
    for (const int count : byteCounts) addOurs(rows, op::mean, countLabel(count), [count] { return mean(count); });
}

Work turnOf(const Turn& turn) {
    return {{.traffic = bytesOf(turn.size, 3) + bytesOf(turn.canvas(), 3)}, [&in = colourImage(turn.size), turn] {
                unsigned char* canvas = nullptr;
                Size size = {};
                stages().rotateImage(in.data(), turn.size.width, turn.size.height, canvas, size.width, size.height,
                                     turn.angle);
                delete[] canvas;
            }};
}

Work crop() {
    const auto corrector =
        std::make_shared<TiltCorrection>(colourImage(still).data(), still.width, still.height, still.width * 3);
    corrector->manuCorrection(cropAngle);
    const std::size_t bytes = bytesOf(cropSize(), 3);
    return {{.traffic = 2 * bytes}, [corrector, out = Bytes(bytes)]() mutable { corrector->crop(out.data()); }};
}

void addGeometry(Rows& rows) {
    for (const Turn& turn : turns) addOurs(rows, op::turn, turn.label(), [turn] { return turnOf(turn); });
    addOurs(rows, op::crop, cropLabel(), crop);
}

}  // namespace

void addOurs(Rows& rows) {
    addRequests(rows);
    addStages(rows);
    addImaging(rows);
    addGeometry(rows);
}

}  // namespace bench
