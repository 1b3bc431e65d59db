// Photo files made for a test.
#pragma once

#include <cstdint>
#include <string>

#include "tools/files.h"
#include "tools/picture.h"

// An EXIF block with nothing but an orientation.
skylevel::Bytes exifBlock(unsigned orientation, bool littleEndian = true);

// A JPEG file with EXIF put in front of its other segments.
skylevel::Bytes withExif(const skylevel::Bytes& jpeg, const skylevel::Bytes& exif);

struct PngRecipe {
    int width = 0;
    int height = 0;
    int colourType = 0;  // PNG_COLOR_TYPE_...
    int depth = 8;
    bool interlaced = false;
    skylevel::Bytes rows;     // packed as the format wants them
    skylevel::Bytes palette;  // red, green, blue, alpha of each entry
    skylevel::Bytes exif;
    bool exifAfterPixels = false;
};
skylevel::Bytes makePng(const PngRecipe& recipe);

enum class JpegKind { baseline, progressive };
skylevel::Bytes makeJpeg(const skylevel::Picture& picture, JpegKind kind);

// The stored pixels that an EXIF orientation turns into the upright picture.
skylevel::Picture storedFor(const skylevel::Picture& upright, unsigned exif);

skylevel::Bytes pixelsOf(const skylevel::Picture& picture);

// A colour picture of which every pixel differs from its neighbours.
skylevel::Picture noisyPicture(int width, int height);

// A bright sky over a dark sea, whose line falls to the right by these degrees.
skylevel::Picture tiltedSea(int width, int height, double degrees);
