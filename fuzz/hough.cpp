// The segment search with raw parameters, beside its definition where that is defined.
#include <algorithm>
#include <cmath>

#include "fuzz/input.h"
#include "skylevel/analysis.h"
#include "tests/plain/lines.h"

namespace {

// The last distance takes counters beyond single precision, which is slow: so it is rare.
constexpr float distances[] = {1.0f, 1.0f, 1.0f, 1.0f, 1.0f, 0.5f, 0.5f, 0.5f,
                               0.5f, 2.0f, 2.0f, 2.0f, 3.7f, 3.7f, 3.7f, 1e-5f};
constexpr float turns[] = {0.017453292f, 0.017453292f, 0.5f, 0.1f, 1.5f, 3.0f};
constexpr float counts[] = {0.0f, 1.0f, 4.0f, 6.4f, 16.0f, 40.0f};
constexpr int sideLimit = 72;
// Counters and votes that a run of the fuzzer can afford; far more are allowed. Few angles may have many
// distances, for only beyond 2^23 of them are votes cast in double precision.
constexpr double counterLimit = 1 << 22;
constexpr double fewAngles = 3.0;
constexpr double counterLimitOfFew = 1 << 25;
constexpr double voteLimit = 1 << 24;

bool isAffordable(const HoughParams& p, int width, int height) {
    if (!(p.rho > 0.0f && p.theta > 0.0f)) return true;  // and NaN, are refused
    const double angleCount = std::floor(3.1415927 / static_cast<double>(p.theta) + 0.5);
    // Every angle costs a little even where all distances are one.
    const double distanceCount = (2 * (width + height) + 1) / static_cast<double>(p.rho) + 4.0;
    const double counters = angleCount * distanceCount;
    const bool isRefused = counters > 1e10;
    return isRefused || (counters <= (angleCount <= fewAngles ? counterLimitOfFew : counterLimit) &&
                         angleCount * width * height <= voteLimit);
}

void compareWithDefinition(plain::Map before, const fuzz::Bytes& after, int width, int height, const HoughParams& p,
                           const _Line* lines, int count) {
    plain::Hough definition(before, width, height, p);
    const auto expected = definition.segments(static_cast<int>(p.threshold), static_cast<int>(p.lineLength));
    fuzz::require(std::size_t(count) == expected.size() &&
                      (count == 0 || std::memcmp(lines, expected.data(), count * sizeof(_Line)) == 0),
                  "the segments are those of the definition");
    fuzz::require(std::equal(before.begin(), before.end(), after.data()), "so is what is consumed");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const int width = input.between(0, sideLimit);
    const int height = input.between(0, sideLimit);
    HoughParams p = {input.mostly(distances), input.mostly(turns), input.mostly(counts), input.mostly(counts),
                     input.mostly(counts)};
    if (!isAffordable(p, width, height)) return -1;
    const fuzz::Bytes map(std::size_t{1} * width * height);
    input.paint(map.data(), width, height, width);
    const int edgeLevel = input.between(0, 255);
    for (std::size_t i = 0; i < map.size(); ++i)
        if (map[i] > edgeLevel) map[i] = 255;
    const plain::Map before(map.data(), map.data() + map.size());

    _Line* lines = nullptr;
    int count = -5;
    const int status = houghLine(map.data(), width, height, &p.rho, lines, count);
    const std::unique_ptr<_Line[]> owner(lines);
    if (status != 0) {
        fuzz::require(status == -1 && lines == nullptr && count == -5, "a refusal writes nothing");
        fuzz::require(std::equal(before.begin(), before.end(), map.data()), "a refusal leaves the map");
        return 0;
    }
    fuzz::require(lines != nullptr && count >= 0, "there is a list");
    int consumed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        fuzz::require(map[i] == before[i] || (map[i] == 0 && before[i] == 255), "only edges are consumed");
        consumed += map[i] != before[i];
    }
    int counted = 0;
    for (int i = 0; i < count; ++i) {
        const _Line& l = lines[i];
        const bool isInside = l.x0 >= 0 && l.y0 >= 0 && l.x1 >= 0 && l.y1 >= 0 && l.x0 < width && l.x1 < width &&
                              l.y0 < height && l.y1 < height;
        fuzz::require(isInside && l.edgeCount >= 0 && l.pixelCount >= 2 && l.edgeCount < l.pixelCount,
                      "a segment lies in the map and counts its pixels");
        counted += l.edgeCount;
    }
    fuzz::require(counted <= consumed, "an edge belongs to one segment");
    const auto isWhole = [](float value) { return value >= 0.0f && value < 1e6f; };
    if (isWhole(p.threshold) && isWhole(p.lineLength) && isWhole(p.lineGap) && p.rho <= 4.0f && p.theta >= 0.01f &&
        p.theta <= 3.0f)
        compareWithDefinition(before, map, width, height, p, lines, count);
    return 0;
}
