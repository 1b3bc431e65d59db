// What all operations have in common: refusals, and memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <climits>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/bits.h"
#include "tests/support/log_capture.h"
#include "tests/support/scenes.h"

namespace {

// Array allocations that still succeed, and those that were not released; the library makes no others.
std::atomic<int> allowed = INT_MAX;
std::atomic<int> alive = 0;

// The Android object is built without exceptions and passes them on without cleanup.
#ifdef SKYLEVEL_PUBLIC_ONLY
constexpr bool cleansUp = false;
#else
constexpr bool cleansUp = true;
#endif

}  // namespace

void* operator new[](std::size_t size) {
    void* const memory = allowed > 0 ? std::malloc(std::max<std::size_t>(size, 1)) : nullptr;
    if (memory == nullptr) throw std::bad_alloc();
    --allowed;
    ++alive;
    return memory;
}

void operator delete[](void* memory) noexcept {
    alive -= memory != nullptr;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept { operator delete[](memory); }

namespace {

TEST(EveryOperation, RefusesNullPlanesAndBadSizes) {
    const LogCapture log;
    const Bytes out(64);
    unsigned char* const p = out.data();
    const auto f = [](unsigned char* bytes) { return reinterpret_cast<float*>(bytes); };
    TiltCorrection t(nullptr, 0, 0, 0);
    HorizonFitParams fit = {0.25, 0.9, 16.0};
    HoughParams hough = {1.0f, 0.0174f, 1.0f, 1.0f, 1.0f};
    _Line* lines = nullptr;
    unsigned char* image = nullptr;
    int n = -5;
    double value = -7.0;
    using B = unsigned char*;
    const struct {
        std::function<int(B, B, int, int)> call;
        const char* line = nullptr;  // logged before the refusal
    } operations[] = {
        {[&](B a, B b, int w, int h) { return t.RGB2Gray(a, b, w, h); }, "D Enter RGB2Gray successful!"},
        {[&](B a, B b, int w, int h) { return t.RGB2SmallGray(a, b, w, h, 8); }},
        {[&](B a, B b, int w, int h) { return t.DownsampleGray(a, b, w, h, INT_MAX, 1); }},
        {[&](B a, B b, int w, int h) { return t.bicubic8(a, b, w, h); }, "D Enter bicubic8 successful!"},
        {[&](B a, B b, int w, int h) { return SmoothGradient(a, w, h, 1.0f, f(b), f(p)); }},
        {[&](B a, B b, int w, int h) { return SmoothGradient(a, w, h, 1.0f, f(p), f(b)); }},
        {[&](B a, B b, int w, int h) { return GradMagnitude(f(a), f(b), w, h, f(p)); }},
        {[&](B a, B b, int w, int h) { return GradMagnitude(f(a), f(p), w, h, f(b)); }},
        {[&](B a, B b, int w, int h) { return Canny(a, w, h, 1.0f, 0.4f, 0.7f, b); }},
        {[&](B a, B b, int w, int h) { return thinAndThrehold(a, f(b), f(p), f(p), w, h, 1.0f, 1.0f); }},
        {[&](B a, B b, int w, int h) { return thinAndThrehold(p, f(p), f(a), f(b), w, h, 1.0f, 1.0f); }},
        {[&](B a, B b, int w, int h) { return t.horizonDetection(a, w, h, b ? &fit.coverageRatio : nullptr, value); },
         "D Enter horizonDetection successful!"},
        {[&](B a, B b, int w, int h) { return houghLine(a, w, h, b ? &hough.rho : nullptr, lines, n); }},
        {[&](B a, B b, int w, int h) { return t.rotateImage(b ? a : nullptr, w, h, image, n, n, 10.0); }},
    };
    for (const auto& o : operations) {
        SCOPED_TRACE(&o - operations);
        EXPECT_EQ(o.call(nullptr, p, 2, 2) + o.call(p, nullptr, 2, 2), -2);
        EXPECT_EQ(o.call(p, p, 0, 2) + o.call(p, p, 2, 0) + o.call(p, p, -1, 2) + o.call(p, p, 2, -1), -4);
        EXPECT_EQ(o.call(p, p, 65536, 32768), -1) << "a pixel count beyond int";
        EXPECT_EQ(log.take(), o.line == nullptr ? Lines() : Lines(7, o.line));
    }
    EXPECT_EQ(t.DownsampleGray(p, p, 10, 1, 9, 4) + t.DownsampleGray(p, p, 1, 1, 1, 0), -2);
    EXPECT_EQ(t.RGB2SmallGray(p, p, 1, 1, 0) + t.RGB2SmallGray(p, p, 1, 1, -8), -2);
    EXPECT_EQ(log.take(), Lines());
    EXPECT_EQ(t.RGB2SmallGray(p, p, 1, 1, 4), -2);
    EXPECT_EQ(log.take(), Lines({"D Enter RGB2SmallGray successful!"}));
    EXPECT_TRUE(out.untouched() && lines == nullptr && image == nullptr && n == -5 && value == -7.0);

    TiltCorrection huge(p, 262144, 131072, 262144);  // 2^31 pixels even when reduced
    EXPECT_EQ(huge.detectHorizon(0), -4);
    EXPECT_EQ(log.take().back(), "D TiltCorrection: downsample error\n");
}

TEST(EveryOperation, LeaksNothingWhenAnAllocationFails) {
    const LogCapture log;
    const Picture scene = Scene{60, 1, 9, 8}.picture(320, 120, 320);
    const Bytes map(160 * 120), small(40 * 15);
    std::vector<float> gradX(320 * 120), gradY(gradX);
    TiltCorrection gray(scene.pixels.data(), 320, 120, 320);
    TiltCorrection rgb(scene.pixels.data(), 100, 120, 0);
    const auto turn = [&](double angle) {
        unsigned char* turned = nullptr;
        int width = 0, height = 0;
        rgb.rotateImage(scene.pixels.data(), 100, 120, turned, width, height, angle);
        const std::unique_ptr<unsigned char[]> owner(turned);
        return fnv1a(std::vector<unsigned char>(turned, turned + std::ptrdiff_t{3} * width * height));
    };
    // Each returns what it came to, so that a result after a failure can be told from a wrong one.
    using Call = std::function<std::uint64_t()>;
    const Call allocatingMore[] = {
        [&] { return std::uint64_t(gray.detectHorizon(0) == 0) + std::bit_cast<std::uint64_t>(gray.getRotAngle()); },
        [&] { return gray.RGB2SmallGray(scene.pixels.data(), small.data(), 100, 120, 8) + fnv1a(small); },
        [&] {
            int width = 0, height = 0;
            rgb.autoCorrection(), rgb.manuCorrection(10.0), rgb.getRotImageSize(width, height), rgb.autoCorrection();
            return std::uint64_t(1000 * width + height);
        },
        [&] {
            // Every pixel is an edge and a segment: both lists outgrow their first size.
            std::fill(map.begin(), map.end(), 255);
            HoughParams params = {1.0f, 0.5f, 1.0f, 0.0f, 0.0f};
            _Line* lines = nullptr;
            int count = 0;
            const auto release = [](_Line** list) { delete[] * list; };
            const std::unique_ptr<_Line*, decltype(release)> owner(&lines, release);
            houghLine(map.data(), 160, 120, &params.rho, lines, count);
            return fnv1a(std::vector<int>(&lines->x0, &lines->x0 + 6 * std::ptrdiff_t{count}));
        },
    };
    const Call allocating[] = {
        [&] { return turn(0.0); },
        [&] { return turn(10.0); },
        [&] { return rgb.bicubic8(scene.pixels.data(), small.data(), 320, 120) + fnv1a(small); },
        [&] {
            bool hasHorizon = false;
            double angle = 0.0;
            TiltCorrectionProcess(scene.pixels.data(), 100, 120, &angle, 10.0);
            return HorizonDetectionProcess(scene.pixels.data(), 320, 120, 320, &hasHorizon, 0, 10.0) + 2U * hasHorizon;
        },
        [&] { return Canny(scene.pixels.data(), 160, 120, 1.0f, 0.4f, 0.7f, map.data()) + fnv1a(map); },
        [&] {
            return SmoothGradient(scene.pixels.data(), 320, 120, 2.0f, gradX.data(), gradY.data()) + fnv1a(gradX) +
                   fnv1a(gradY);
        },
        [&] {
            std::vector<float> levels(2);
            return selectThresholds(gradX.data(), 320 * 120, levels[0], levels[1], 0.7f, 0.4f) + fnv1a(levels);
        },
        [&] {
            HorizonFitParams fit = {0.25, 0.0, 16.0};
            double angle = 0.0;
            rgb.horizonDetection(map.data(), 160, 120, &fit.coverageRatio, angle);
            return std::bit_cast<std::uint64_t>(angle);
        },
    };
    const auto expectNoLeak = [&](const Call& call, int fewest) {
        const std::uint64_t expected = call();
        int successes = 0;
        for (bool failed = true; failed; ++successes) {
            const int before = alive;
            allowed = successes;
            try {
                EXPECT_EQ(call(), expected);
                failed = false;
            } catch (const std::bad_alloc&) {
            }
            allowed = INT_MAX;
            if (cleansUp || !failed) {
                EXPECT_EQ(alive, before) << "after " << successes;
            }
        }
        EXPECT_GT(successes, fewest) << "nothing was made to fail";
    };
    for (const Call& call : allocatingMore) expectNoLeak(call, 2);
    for (const Call& call : allocating) expectNoLeak(call, 1);
}

}  // namespace
