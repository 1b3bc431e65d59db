// Exact comparisons, and hashes that pin whole results.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "tests/support/hash.h"

// Whether two ranges hold the same bits; names the first difference.
template <typename Left, typename Right>
testing::AssertionResult sameBits(const Left& left, const Right& right) {
    std::size_t i = 0;
    while (i < std::min(left.size(), right.size()) && std::memcmp(&left[i], &right[i], sizeof(left[i])) == 0) ++i;
    if (i == left.size() && i == right.size()) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "they differ from element " << i << " on";
}
