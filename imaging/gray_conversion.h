// Gray values of a run of colour pixels.
#pragma once

#include <cstddef>

namespace skylevel {

// Writes count gray values: trunc((0.299 red + 0.587 green) + 0.114 blue) in double, products rounded
// before the adds.
// rgb  count pixels of 3 bytes; gray may start where it does, and shares no byte with it otherwise
void convertToGray(const unsigned char* rgb, unsigned char* gray, std::size_t count);

}  // namespace skylevel
