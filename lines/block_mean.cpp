// Mean of a run of bytes, summed in blocks.
#include <algorithm>
#include <cstdint>
#include <limits>

#include "platform/dispatch.h"
#include "platform/log.h"
#include "skylevel/skylevel.h"

namespace {

// Largest power of two whose sum of 255s fits the 32-bit block sum.
constexpr std::int32_t blockLength = 1 << 23;
constexpr std::int64_t sumLimit = std::numeric_limits<std::int32_t>::max();
static_assert(std::int64_t{blockLength} * 255 <= sumLimit && std::int64_t{blockLength} * 510 > sumLimit);

// Sums that grow side by side; of 16 bits, so that a vector holds many.
constexpr int laneCount = 64;
constexpr std::int32_t laneValues = 65535 / 255;

SKYLEVEL_KERNEL std::int32_t blockSum(const unsigned char* values, std::int32_t length) {
    std::int32_t sum = 0;
    while (length >= laneCount) {
        const std::int32_t rounds = std::min(length / laneCount, laneValues);
        std::uint16_t lanes[laneCount] = {};
        for (std::int32_t i = 0; i < rounds; ++i, values += laneCount)
            for (int k = 0; k < laneCount; ++k) lanes[k] = static_cast<std::uint16_t>(lanes[k] + values[k]);
        for (const std::uint16_t lane : lanes) sum += lane;
        length -= rounds * laneCount;
    }
    for (std::int32_t i = 0; i < length; ++i) sum += values[i];
    return sum;
}

}  // namespace

int TiltCorrection::mean(unsigned char* values, int count, double& average) {
    SKYLEVEL_LOG_DEBUG("Enter mean successful!");
    if (values == nullptr || count < 1) return -1;
    double running = 0.0;
    // 64-bit: the start of the block after the last one can leave the int range.
    for (std::int64_t start = 0; start < count; start += blockLength) {
        const auto length = static_cast<std::int32_t>(std::min<std::int64_t>(count - start, blockLength));
        const auto covered = static_cast<double>(start + length);
        running = skylevel::vectorised<blockSum>(values + start, length) / covered +
                  running * (static_cast<double>(start) / covered);
    }
    average = running;
    return 0;
}
