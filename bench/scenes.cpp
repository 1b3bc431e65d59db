#include "bench/scenes.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace bench {
namespace {

class Random {
public:
    explicit Random(std::uint32_t seed) : m_state(seed) {}

    int below(int limit) {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return static_cast<int>(m_state % static_cast<std::uint32_t>(limit));
    }

    // Around 0, small values more often.
    int grain(int amplitude) { return below(amplitude + 1) + below(amplitude + 1) - amplitude; }

private:
    std::uint32_t m_state;
};

unsigned char toPixel(int value) { return static_cast<unsigned char>(std::clamp(value, 0, 255)); }

// Rises from 0 to half the period and falls back.
int triangleWave(int x, int period) {
    const int phase = x % period;
    return std::min(phase, period - phase);
}

int seaValue(int x, int y, Size size, Random& random) {
    const int horizon = size.height * 2 / 5 + (x - size.width / 2) / 24;
    if (y < horizon) return 150 + 60 * y / size.height + random.grain(3);
    const int depth = static_cast<int>(std::int64_t{y - horizon} * 768 / size.height);
    const int period = 24 + depth / 6;  // waves grow as they come near
    const int bend = triangleWave(static_cast<int>(std::int64_t{x} * 1024 / size.width) + depth * 3, 220) / 3;
    return 70 + depth / 12 + triangleWave(depth * 8 + bend, period) * 50 / period + random.grain(6);
}

Bytes paintSea(Size size) {
    Random random(12345);
    Bytes plane(static_cast<std::size_t>(size.pixels()));
    auto pixel = plane.begin();
    for (int y = 0; y < size.height; ++y)
        for (int x = 0; x < size.width; ++x) *pixel++ = toPixel(seaValue(x, y, size, random));
    return plane;
}

// A leaning box of one shade, cut off at the borders.
void paintBox(Bytes& plane, Size size, Random& random) {
    const int centreX = random.below(size.width);
    const int centreY = random.below(size.height);
    const int halfWidth = size.width / 64 + random.below(size.width / 16);
    const int halfHeight = size.height / 64 + random.below(size.height / 16);
    const int lean = random.below(1024) - 512;
    const unsigned char shade = toPixel(20 + random.below(200));
    for (int y = std::max(0, centreY - halfHeight); y < std::min(size.height, centreY + halfHeight); ++y) {
        const int middle = centreX + (y - centreY) * lean / 1024;
        const int left = std::clamp(middle - halfWidth, 0, size.width);
        const int right = std::clamp(middle + halfWidth, 0, size.width);
        const auto row = plane.begin() + std::ptrdiff_t{y} * size.width;
        std::fill(row + left, row + right, shade);
    }
}

Bytes paintBusy(Size size) {
    constexpr int boxCount = 400;
    Random random(777);
    Bytes plane(static_cast<std::size_t>(size.pixels()), 120);
    for (int i = 0; i < boxCount; ++i) paintBox(plane, size, random);
    for (unsigned char& pixel : plane) pixel = toPixel(pixel + random.grain(6));
    return plane;
}

}  // namespace

Bytes paint(Scene scene, Size size) { return scene == Scene::sea ? paintSea(size) : paintBusy(size); }

Bytes paintColour(Size size) {
    const Bytes gray = paintSea(size);
    Random random(4711);
    Bytes rgb;
    rgb.reserve(gray.size() * 3);
    for (const int value : gray) {
        rgb.push_back(toPixel(value * 7 / 8 + random.grain(4)));
        rgb.push_back(toPixel(value + random.grain(4)));
        rgb.push_back(toPixel(value / 2 + 80 + random.grain(4)));
    }
    return rgb;
}

}  // namespace bench
