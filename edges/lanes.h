// Vectors that several outputs are computed in, side by side: as long as the longest that a kernel is
// compiled for. Where the machine's are shorter the compiler takes two for one, but GCC compares such
// vectors number by number.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/dispatch.h"

namespace skylevel {

#if defined(__x86_64__)
inline constexpr int vectorBytes = 32;
#else
inline constexpr int vectorBytes = 16;
#endif
using Lanes = float __attribute__((vector_size(vectorBytes)));
using Mask = std::int32_t __attribute__((vector_size(vectorBytes)));  // of a comparison: 0 or -1 in each lane
using Pixels = std::int8_t __attribute__((vector_size(vectorBytes)));
inline constexpr int laneCount = sizeof(Lanes) / sizeof(float);

template <typename Vector>
SKYLEVEL_KERNEL Vector loadFrom(const void* from) {
    Vector vector;
    std::memcpy(&vector, from, sizeof(vector));
    return vector;
}

template <typename Vector>
SKYLEVEL_KERNEL void store(const Vector& vector, void* to) {
    std::memcpy(to, &vector, sizeof(vector));
}

SKYLEVEL_KERNEL Lanes load(const float* from) { return loadFrom<Lanes>(from); }

template <typename Vector>
SKYLEVEL_KERNEL bool isAnySet(const Vector& vector) {
    std::uint64_t words[sizeof(Vector) / sizeof(std::uint64_t)];
    store(vector, words);
    std::uint64_t all = 0;
    for (const std::uint64_t word : words) all |= word;
    return all != 0;
}

}  // namespace skylevel
