// Edge maps while edges grow in them, and the growth.
#pragma once

namespace skylevel {

inline constexpr unsigned char noEdge = 0;
inline constexpr unsigned char candidate = 128;
inline constexpr unsigned char edge = 255;

// Turns every candidate that a chain of candidates joins to an edge into an edge, over all eight
// neighbours. The map is at least 3 x 3 and holds nothing but the three values above; its one-pixel frame
// holds none but noEdge.
void growEdges(unsigned char* map, int width, int height);

}  // namespace skylevel
