// Exact comparisons, and hashes that pin whole results.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
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
    if (left.size() != right.size()) return testing::AssertionFailure() << left.size() << ", not " << right.size();
    for (std::size_t i = 0; i < left.size(); ++i) {
        if (std::memcmp(&left[i], &right[i], sizeof(left[i])) == 0) continue;
        char text[96];
        std::snprintf(text, sizeof(text), "element %zu is %a, not %a", i, static_cast<double>(left[i]),
                      static_cast<double>(right[i]));
        return testing::AssertionFailure() << text;
    }
    return testing::AssertionSuccess();
}
