#include "tools/photo.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <iterator>

#include "tools/jpeg_writer.h"
#include "tools/png_writer.h"
#include "tools/webp_writer.h"

namespace skylevel {
namespace {

// The segment search takes sides up to 32767 of the picture reduced 4:1.
constexpr std::int64_t longestSide = 32768 * 4 - 1;

bool beginsWith(std::span<const unsigned char> start, std::string_view magic, std::size_t position = 0) {
    return start.size() >= position + magic.size() &&
           std::memcmp(start.data() + position, magic.data(), magic.size()) == 0;
}

bool isJpeg(std::span<const unsigned char> start) { return beginsWith(start, "\xFF\xD8\xFF"); }
bool isPng(std::span<const unsigned char> start) { return beginsWith(start, "\x89PNG\r\n\x1A\n"); }
bool isWebp(std::span<const unsigned char> start) { return beginsWith(start, "RIFF") && beginsWith(start, "WEBP", 8); }

bool isHeic(std::span<const unsigned char> start) {
    constexpr std::string_view brands[] = {"heic", "heix", "heim", "heis", "hevc", "hevx", "mif1", "msf1"};
    return beginsWith(start, "ftyp", 4) &&
           std::any_of(std::begin(brands), std::end(brands),
                       [&](std::string_view brand) { return beginsWith(start, brand, 8); });
}

Bytes encodeAsJpeg(const Photo& photo, int quality) { return encodeJpeg(photo.picture, photo.jpegCoding, quality); }
Bytes encodeAsPng(const Photo& photo, int /*quality*/) { return encodePng(photo.picture); }

constexpr std::string_view jpegExtensions[] = {".jpg", ".jpeg", ".jpe"};
constexpr std::string_view pngExtensions[] = {".png"};
constexpr std::string_view webpExtensions[] = {".webp"};
constexpr std::string_view heicExtensions[] = {".heic", ".heif", ".hif"};

constexpr Format all[] = {
    {PhotoFormat::jpeg, "jpeg", "JPEG", jpegExtensions, isJpeg, decodeJpeg, encodeAsJpeg, nullptr, jpegLibrary},
    {PhotoFormat::png, "png", "PNG", pngExtensions, isPng, decodePng, encodeAsPng, nullptr, pngLibrary},
#if SKYLEVEL_HAS_WEBP
    {PhotoFormat::webp, "webp", "WebP", webpExtensions, isWebp, decodeWebp, encodeWebp, withMetadata, webpLibrary},
#else
    {PhotoFormat::webp, "webp", "WebP", webpExtensions, isWebp, nullptr, nullptr, nullptr, nullptr},
#endif
#if SKYLEVEL_HAS_HEIC
    {PhotoFormat::heic, "heic", "HEIC", heicExtensions, isHeic, decodeHeic, nullptr, nullptr, heicLibrary},
#else
    {PhotoFormat::heic, "heic", "HEIC", heicExtensions, isHeic, nullptr, nullptr, nullptr, nullptr},
#endif
};

const Format* formatThatBegins(std::span<const unsigned char> start) {
    const auto* const format =
        std::find_if(std::begin(all), std::end(all), [&](const Format& each) { return each.begins(start); });
    return format == std::end(all) ? nullptr : format;
}

std::string allTitles() {
    std::string list;
    for (const Format& format : all) {
        if (!list.empty()) list += &format == std::end(all) - 1 ? " or " : ", ";
        list += format.title;
    }
    return list;
}

}  // namespace

std::span<const Format> formats() { return all; }

const Format& formatOf(PhotoFormat id) {
    return *std::find_if(std::begin(all), std::end(all), [&](const Format& format) { return format.id == id; });
}

std::optional<PhotoFormat> formatOfName(const std::string& name) {
    std::string extension = std::filesystem::path(name).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    for (const Format& format : all)
        if (std::find(format.extensions.begin(), format.extensions.end(), extension) != format.extensions.end())
            return format.id;
    return {};
}

void requireBuiltIn(const Format& format) {
    if (format.decode == nullptr)
        throw FileError("is a " + std::string(format.title) + " file, and " + format.title + " is not built in");
}

void requirePhoto(std::span<const unsigned char> start) {
    if (start.empty()) throw FileError("empty file");
    const Format* const format = formatThatBegins(start);
    if (format == nullptr) throw FileError("not a " + allTitles() + " file");
    requireBuiltIn(*format);
}

Photo decodePhoto(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    const Format* const format = formatThatBegins(bytes);
    return (format == nullptr ? decodeJpeg : format->decode)(bytes, wish, maxPixels);
}

std::string sizeInWords(std::int64_t width, std::int64_t height) {
    return std::to_string(width) + " x " + std::to_string(height);
}

std::size_t countBehind(std::span<const unsigned char> trailing) {
    const bool padding = std::all_of(trailing.begin(), trailing.end(), [](unsigned char byte) { return byte == 0; });
    return padding ? 0 : trailing.size();
}

void checkSize(std::int64_t width, std::int64_t height, std::int64_t maxPixels) {
    if (width > longestSide || height > longestSide)
        throw FileError(sizeInWords(width, height) + " pixels: no side may be longer than " +
                        std::to_string(longestSide));
    if (width * height > maxPixels)
        throw FileError(sizeInWords(width, height) + " pixels are more than the limit of " + std::to_string(maxPixels));
}

}  // namespace skylevel
