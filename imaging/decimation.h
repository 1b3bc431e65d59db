// 8:1 decimation along the lines of a plane, eight lines side by side.
#pragma once

#include <cstddef>

namespace skylevel {

constexpr int decimationRatio = 8;
constexpr int decimatedLines = 8;

// Filters count lines of length pixels, one behind the other in memory; count is 1 to decimatedLines.
// out  receives output j of line i at j * pitch + i, so that lines come out as columns
void decimateLines(const unsigned char* lines, int length, int count, unsigned char* out, std::ptrdiff_t pitch);

// Filters a plane of any number of packed lines along them; the result is packed and transposed, so that
// a second call filters it along the other axis and turns it back.
void decimateTransposed(const unsigned char* plane, int length, int lineCount, unsigned char* out);

}  // namespace skylevel
