#include "tools/photo.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <iterator>

namespace skylevel {
namespace {

// The segment search takes sides up to 32767 of the picture reduced 4:1.
constexpr std::int64_t longestSide = 32768 * 4 - 1;

constexpr unsigned char jpegMagic[] = {0xFF, 0xD8, 0xFF};
constexpr unsigned char pngMagic[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

template <std::size_t count>
bool startsWith(std::span<const unsigned char> bytes, const unsigned char (&magic)[count]) {
    return bytes.size() >= count && std::equal(magic, magic + count, bytes.begin());
}

std::string sizeInWords(std::int64_t width, std::int64_t height) {
    return std::to_string(width) + " x " + std::to_string(height) + " pixels";
}

}  // namespace

void requirePhoto(std::span<const unsigned char> start) {
    if (start.empty()) throw FileError("empty file");
    if (!startsWith(start, jpegMagic) && !startsWith(start, pngMagic)) throw FileError("neither a JPEG nor a PNG file");
}

Photo decodePhoto(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    return startsWith(bytes, pngMagic) ? decodePng(bytes, wish, maxPixels) : decodeJpeg(bytes, wish, maxPixels);
}

const char* formatName(PhotoFormat format) { return format == PhotoFormat::png ? "png" : "jpeg"; }

std::optional<PhotoFormat> formatOfName(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    if (extension == ".jpg" || extension == ".jpeg" || extension == ".jpe") return PhotoFormat::jpeg;
    if (extension == ".png") return PhotoFormat::png;
    return {};
}

void checkSize(std::int64_t width, std::int64_t height, std::int64_t maxPixels) {
    if (width > longestSide || height > longestSide)
        throw FileError(sizeInWords(width, height) + ": no side may be longer than " + std::to_string(longestSide));
    if (width * height > maxPixels)
        throw FileError(sizeInWords(width, height) + " are more than the limit of " + std::to_string(maxPixels));
}

}  // namespace skylevel
