// Hashes that pin whole results.
#pragma once

#include <cstddef>
#include <cstdint>

// 64-bit FNV-1a over the bytes of all elements.
template <typename Range>
std::uint64_t fnv1a(const Range& range, std::uint64_t hash = 0xcbf29ce484222325) {
    const auto* const bytes = reinterpret_cast<const unsigned char*>(range.data());
    for (std::size_t i = 0; i < range.size() * sizeof(range[0]); ++i) hash = (hash ^ bytes[i]) * 0x100000001b3;
    return hash;
}
