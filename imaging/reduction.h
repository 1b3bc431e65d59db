// Oriented reduction: picks single pixels of a gray plane and turns the content upright.
#pragma once

namespace skylevel {

// Length of the offset table that the public reductions keep on the stack, and so their limit.
constexpr int offsetTableCapacity = 256;

bool isQuarterTurn(int imageAngle);

// Entries of the offset table for a reduced plane: one for each output column, or for each output
// row where the turn exchanges the axes.
int offsetTableLength(int imageAngle, int smallWidth, int smallHeight);

// Whether the public reductions fill a plane of this size.
bool fitsOffsetTable(int imageAngle, int smallWidth, int smallHeight);

// Fills dst, smallWidth x smallHeight packed bytes, from a plane of height rows of stride bytes.
// imageAngle  one of the four quarter turns
// offsets     scratch, offsetTableLength() entries
// Nothing is written when a side of either plane is below 1.
void sampleOriented(const unsigned char* src, int width, int height, int stride, int imageAngle, unsigned char* dst,
                    int smallWidth, int smallHeight, int* offsets);

}  // namespace skylevel
