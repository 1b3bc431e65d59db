// Exact comparisons, and hashes that pin whole results.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

// 64-bit FNV-1a over the bytes of all elements.
template <typename Range>
std::uint64_t fnv1a(const Range& range, std::uint64_t hash = 0xcbf29ce484222325) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(range.data());
    for (std::size_t i = 0; i < range.size() * sizeof(range[0]); ++i) hash = (hash ^ bytes[i]) * 0x100000001b3;
    return hash;
}

// Whether two ranges hold the same bits; names the first difference.
template <typename Left, typename Right>
testing::AssertionResult sameBits(const Left& left, const Right& right) {
    std::size_t i = 0;
    while (i < std::min(left.size(), right.size()) && std::memcmp(&left[i], &right[i], sizeof(left[i])) == 0) ++i;
    if (i == left.size() && i == right.size()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "they differ from element " << i << " on";
}
