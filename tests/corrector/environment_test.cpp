// The threads, the stacks and the floating-point modes that operations run in.
#include <android/log.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <cfenv>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

#include "skylevel/analysis.h"
#include "tests/support/bits.h"
#include "tests/support/scenes.h"

namespace {

struct Seen {
    std::uint64_t hash = fnv1a(std::vector<int>());
    std::vector<int> statuses;
    std::vector<double> angles;  // of detectHorizon

    template <typename Range>
    void add(int status, const Range& range) {
        statuses.push_back(status);
        hash = fnv1a(range, hash);
    }
    bool operator==(const Seen&) const = default;
};

void seeAnalysis(const Picture& scene, Seen& seen) {
    std::vector<unsigned char> map(scene.width * scene.height);
    for (const float sigma : {2.5f, 1.4142135f})
        seen.add(Canny(scene.pixels.data(), scene.width, scene.height, sigma, 0.4f, 0.7f, map.data()), map);
    HoughParams hough = {1.0f, 0.017453292f, 12.0f, 5.0f, 8.0f};
    _Line* lines = nullptr;
    int count = 0;
    const int status = houghLine(map.data(), scene.width, scene.height, &hough.rho, lines, count);
    const std::unique_ptr<_Line[]> owner(lines);
    seen.add(status, std::vector<int>(&lines[0].x0, &lines[0].x0 + 6 * std::ptrdiff_t{count}));

    std::vector<float> values(map.begin(), map.end());
    std::vector<int> histogram(64);
    seen.add(imHist(values.data(), 200.0f, static_cast<int>(values.size()), 64, histogram.data()), histogram);
    // Candidates everywhere: a chain through the whole map.
    std::fill(map.begin(), map.end(), 128);
    int width = scene.width, height = scene.height;
    unsigned char* candidates = map.data();
    float* magnitude = values.data();
    float low = 0.0f;
    TraceEdge(height / 2, width / 2, low, candidates, magnitude, width, height);
    seen.add(0, map);
    int x[] = {0, 1, 2, 5}, y[] = {7, 7, 8, 11};
    double angle = 0.0, residual = 0.0;
    seen.add(TiltCorrection(nullptr, 0, 0, 0).fitLine(x, y, 4, angle, residual), std::vector<double>{angle, residual});
}

// All operations once, on pictures and with a corrector of their own.
Seen runAll(int width, int height) {
    Seen seen;
    const Picture scene = Scene{height / 2, 1, 9, 6}.picture(width, height, width);
    for (const int imageAngle : {0, 90, 180, 270}) {
        TiltCorrection corrector(scene.pixels.data(), width, height, width);
        const int status = corrector.detectHorizon(imageAngle);
        seen.angles.push_back(corrector.getRotAngle());
        seen.add(status, seen.angles);
    }
    bool hasHorizon = false;
    seen.add(HorizonDetectionProcess(scene.pixels.data(), width, height, width, &hasHorizon, 0, 10.0),
             std::vector<int>{hasHorizon});
    seeAnalysis(scene, seen);

    const Picture photo = noise(3 * width, height, 3 * width, 5);
    TiltCorrection corrector(photo.pixels.data(), width, height, width);
    std::vector<unsigned char> gray(width * height), small((width / 8) * (height / 8));
    seen.add(corrector.RGB2Gray(photo.pixels.data(), gray.data(), width, height), gray);
    seen.add(corrector.RGB2SmallGray(photo.pixels.data(), small.data(), width, height, 8), small);
    seen.add(corrector.bicubic8(gray.data(), small.data(), width, height), small);
    double none = 0.0;
    seen.add(TiltCorrectionProcess(photo.pixels.data(), width, height, &none, 10.0), std::vector<double>{none});
    seen.add(corrector.DownsampleGray(gray.data(), gray.data(), width, height, width, 3), gray);
    const int status = corrector.manuCorrection(7.0);
    int cropWidth = 0, cropHeight = 0;
    corrector.getCropImageSize(cropWidth, cropHeight);
    std::vector<unsigned char> cropped(3 * cropWidth * cropHeight);
    seen.add(status, std::vector<int>{cropWidth, cropHeight});
    seen.add(corrector.crop(cropped.data()), cropped);
    int turnedWidth = 0, turnedHeight = 0;
    corrector.getRotImageSize(turnedWidth, turnedHeight);
    const unsigned char* const turned = corrector.getRotImage();
    seen.add(0, std::vector<unsigned char>(turned, turned + std::ptrdiff_t{3} * turnedWidth * turnedHeight));
    double mean = 0.0;
    int turn = -1;
    seen.add(corrector.mean(gray.data(), width * height, mean), std::vector<double>{mean});
    seen.add(corrector.computeImageRotation(1.0f, 9.0f, 0.5f, turn), std::vector<int>{turn});
    return seen;
}

struct Environment : testing::Test {
    Environment() { __android_log_set_minimum_priority(ANDROID_LOG_FATAL); }
    ~Environment() override { __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT); }
};

TEST_F(Environment, ThreadsDoNotInterfere) {
    const Seen alone = runAll(320, 160);
    std::atomic<int> agreeing = 0;
    std::atomic<int> lines = 0;
    static std::atomic<int>* counter;
    counter = &lines;
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < 3; ++round) agreeing += runAll(320, 160) == alone;
        });
    // Where the lines go may change while they are written.
    for (int i = 0; i < 200; ++i) {
        __android_log_set_logger([](const __android_log_message*) { ++*counter; });
        __android_log_set_minimum_priority(i % 2 == 0 ? ANDROID_LOG_DEBUG : ANDROID_LOG_FATAL);
        std::this_thread::yield();
    }
    for (std::thread& thread : threads) thread.join();
    __android_log_set_logger(nullptr);
    EXPECT_EQ(agreeing, 24);
}

// What sanitizers and unoptimised code add to frames is not the library's.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define SKYLEVEL_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define SKYLEVEL_SANITIZED
#endif
#endif
#if defined(__OPTIMIZE__) && !defined(SKYLEVEL_SANITIZED)
TEST_F(Environment, NoOperationNeedsMoreThan64KilobytesOfStack) {
    constexpr std::size_t size = 1 << 20;
    constexpr unsigned char unused = 0xA5;
    const std::unique_ptr<unsigned char[], decltype(&std::free)> stack(
        static_cast<unsigned char*>(std::aligned_alloc(4096, size)), &std::free);
    std::fill_n(stack.get(), size, unused);
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstack(&attributes, stack.get(), size), 0);
    pthread_t thread;
    const auto run = [](void*) -> void* { return runAll(1024, 768), nullptr; };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, nullptr), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
    // Stacks grow downward.
    const auto* const end = stack.get() + size;
    const auto* const deepest = std::find_if(stack.get(), stack.get() + size, [](int byte) { return byte != unused; });
    RecordProperty("bytes", static_cast<int>(end - deepest));
    EXPECT_LE(end - deepest, 64 << 10);
}
#endif

// Votes in every mode fall where there are counters: here one once fell before the first.
void voteAtACorner() {
    std::vector<unsigned char> map(600 * 3000);
    map[599] = 255;
    HoughParams hough = {1.0f, 0x1.e7b024p-1f, 1.0f, 1.0f, 1.0f};
    _Line* lines = nullptr;
    int count = 0;
    EXPECT_EQ(houghLine(map.data(), 600, 3000, &hough.rho, lines, count), 0);
    delete[] lines;
}

// Outside the stated mode last bits may differ; nothing else may happen, and the mode stays the caller's.
TEST_F(Environment, OtherRoundingModesOnlyMoveLastBits) {
    const Seen usual = runAll(320, 160);
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        ASSERT_EQ(std::fesetround(mode), 0);
        const Seen other = runAll(320, 160);
        voteAtACorner();
        EXPECT_EQ(std::fegetround(), mode);
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(other.statuses, usual.statuses) << mode;
        for (std::size_t i = 0; i < usual.angles.size(); ++i)
            EXPECT_NEAR(other.angles[i], usual.angles[i], 1e-4) << mode;
    }
    EXPECT_TRUE(runAll(320, 160) == usual);
}

TEST_F(Environment, PicturesWithoutSubnormalsGiveTheSameWithoutThem) {
    const Seen usual = runAll(320, 160);
#if defined(__x86_64__)
    constexpr unsigned flushToZero = 0x8040;  // flush results, read operands as zero
    const unsigned before = __builtin_ia32_stmxcsr();
    __builtin_ia32_ldmxcsr(before | flushToZero);
    const Seen flushed = runAll(320, 160);
    __builtin_ia32_ldmxcsr(before);
#else
    constexpr unsigned flushToZero = 1 << 24;
    const unsigned before = __builtin_aarch64_get_fpcr();
    __builtin_aarch64_set_fpcr(before | flushToZero);
    const Seen flushed = runAll(320, 160);
    __builtin_aarch64_set_fpcr(before);
#endif
    EXPECT_TRUE(flushed == usual);
}

}  // namespace
