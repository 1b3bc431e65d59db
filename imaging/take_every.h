// Every few pixels of a row.
#pragma once

#include <cstddef>

#include "platform/dispatch.h"

namespace skylevel {

// A step that the compiler knows takes a quarter of the time.
template <int step>
SKYLEVEL_KERNEL void takeEvery(const unsigned char* row, unsigned char* out, int count) {
    for (int i = 0; i < count; ++i) out[i] = row[std::ptrdiff_t{i} * step];
}

}  // namespace skylevel
