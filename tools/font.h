// A small bitmap font of our own.
#pragma once

#include <cstdint>

namespace skylevel {

constexpr int glyphWidth = 5;
constexpr int glyphHeight = 7;

// One byte a row, the leftmost pixel in bit glyphWidth - 1. Letters have one case; a character that the
// font lacks is blank.
const std::uint8_t* glyphRows(char character);

}  // namespace skylevel
