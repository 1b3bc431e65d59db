// Photos: from the bytes of a file to pixels.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/files.h"
#include "tools/picture.h"

namespace skylevel {

enum class PhotoFormat { jpeg, png, webp, heic };

// What the pixels of a decoded photo should be.
enum class PixelWish {
    luma,   // the file's own gray or luma plane; red, green and blue where it has none
    rgb,    // always red, green and blue
    stored  // gray or red, green and blue as in the file, alpha with them
};

// How a JPEG file holds its pixels, so that another can be written like it.
struct JpegCoding {
    struct Sampling {
        int horizontal = 1;
        int vertical = 1;
    };

    enum class Colours { luma, rgb, inks };  // luma: gray, or with chroma

    Colours colours = Colours::luma;
    bool progressive = false;
    std::array<Sampling, 3> sampling;  // factors of each channel; the first only, of a gray file
};

// What a file holds beside the pixels; each may be missing.
struct MetadataBlocks {
    Bytes exif;  // TIFF, without a header of the file format's
    Bytes profile;
    Bytes xmp;
};

struct Photo {
    PhotoFormat format = PhotoFormat::jpeg;
    Picture picture;              // as stored
    Orientation orientation;      // what makes it upright
    bool complete = true;         // false when part of the file cannot be read; the first warning says what then
    int bitDepth = 8;             // of a channel in the file
    JpegCoding jpegCoding;        // of a JPEG file
    bool lossless = false;        // of a WebP file
    MetadataBlocks metadata;      // of a WebP file; of a HEIC file, too, when its pixels are wanted as stored
    std::size_t bytesBehind = 0;  // the end of the picture; 0 for mere padding, and of a HEIC file
    std::vector<std::string> warnings;

    int uprightWidth() const { return orientation.exchangesSides() ? picture.height : picture.width; }
    int uprightHeight() const { return orientation.exchangesSides() ? picture.width : picture.height; }
};

// A format, with null for what was not built in or cannot be done.
struct Format {
    PhotoFormat id;
    const char* name;   // in data
    const char* title;  // for people
    std::span<const std::string_view> extensions;
    bool (*begins)(std::span<const unsigned char> start);  // whether a file that starts so is one
    Photo (*decode)(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);
    Bytes (*encode)(const Photo& photo, int quality);  // its picture, without metadata
    Bytes (*embed)(const Bytes& encoded, const MetadataBlocks& blocks);
    std::string (*library)();  // that does it, with its version
};

// All that the tool knows.
std::span<const Format> formats();
const Format& formatOf(PhotoFormat id);

// The format that the extension of a file's name promises; nothing of another extension.
std::optional<PhotoFormat> formatOfName(const std::string& name);

// Throws a FileError for a format that can only be named.
void requireBuiltIn(const Format& format);

// Throws a FileError unless a file that starts so is a photo that can be read.
void requirePhoto(std::span<const unsigned char> start);

// Decodes a file that requirePhoto accepts. Of a truncated JPEG the picture holds the rows that could be read, and a
// warning says so.
// maxPixels  checked before memory for pixels is taken
// Throws a FileError when there is nothing to see, std::bad_alloc when memory runs out.
Photo decodePhoto(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);

// The readers of the single formats, and the libraries that they use.
Photo decodeJpeg(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);
Photo decodePng(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);
Photo decodeWebp(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);
Photo decodeHeic(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels);
std::string jpegLibrary();
std::string pngLibrary();
std::string webpLibrary();
std::string heicLibrary();

std::string sizeInWords(std::int64_t width, std::int64_t height);

// For the readers: how many of the bytes behind the picture there are, unless all are 0.
std::size_t countBehind(std::span<const unsigned char> trailing);

// For the readers: refuses a size that the header promises.
void checkSize(std::int64_t width, std::int64_t height, std::int64_t maxPixels);

}  // namespace skylevel
