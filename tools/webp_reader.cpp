// WebP files through libwebp and, for what stands beside the pixels, libwebpmux.
#include <webp/decode.h>
#include <webp/mux.h>

#include <algorithm>
#include <memory>

#include "tools/exif.h"
#include "tools/jpeg_segments.h"
#include "tools/photo.h"

namespace skylevel {
namespace {

const char* reasonFor(VP8StatusCode status) {
    switch (status) {
        case VP8_STATUS_OUT_OF_MEMORY:
            return "not enough memory";
        case VP8_STATUS_NOT_ENOUGH_DATA:
        case VP8_STATUS_SUSPENDED:
            return "truncated";
        default:
            return "damaged WebP data";
    }
}

void require(VP8StatusCode status) {
    if (status != VP8_STATUS_OK) throw FileError(reasonFor(status));
}

Bytes chunk(const WebPMux* mux, const char* name) {
    WebPData data = {};
    if (WebPMuxGetChunk(mux, name, &data) != WEBP_MUX_OK || data.size == 0) return {};
    return {data.bytes, data.bytes + data.size};
}

// What the container says it holds, with its header and padding. Behind it the muxer takes nothing.
std::size_t containerSize(std::span<const unsigned char> bytes) {
    constexpr std::size_t sizeAt = 4;
    constexpr std::size_t headerBytes = 8;
    std::size_t size = 0;
    for (std::size_t i = 0; i < 4; ++i) size |= std::size_t{bytes[sizeAt + i]} << (8 * i);
    return std::min(bytes.size(), headerBytes + size + size % 2);
}

// The file is one that could be decoded.
void readMetadata(std::span<const unsigned char> bytes, Photo& photo) {
    const WebPData file = {bytes.data(), containerSize(bytes)};
    photo.bytesBehind = countBehind(bytes.subspan(file.size));
    const std::unique_ptr<WebPMux, void (*)(WebPMux*)> mux(WebPMuxCreate(&file, 0), WebPMuxDelete);
    if (mux == nullptr) {
        photo.warnings.emplace_back("no metadata can be read");
        photo.complete = false;
        return;
    }
    photo.metadata = {chunk(mux.get(), "EXIF"), chunk(mux.get(), "ICCP"), chunk(mux.get(), "XMP ")};
    dropExifHeader(photo.metadata.exif);
}

}  // namespace

Photo decodeWebp(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    WebPDecoderConfig config;
    if (WebPInitDecoderConfig(&config) == 0) throw FileError("libwebp cannot be used");
    const WebPBitstreamFeatures& features = config.input;
    require(WebPGetFeatures(bytes.data(), bytes.size(), &config.input));
    checkSize(features.width, features.height, maxPixels);
    if (features.has_animation != 0) throw FileError("an animation, and no photo");

    Photo photo;
    photo.format = PhotoFormat::webp;
    photo.lossless = features.format == 2;
    photo.picture = makePicture(features.width, features.height, features.has_alpha != 0 ? 4 : 3);
    const std::size_t rowBytes = photo.picture.rowBytes();
    config.output.colorspace = features.has_alpha != 0 ? MODE_RGBA : MODE_RGB;
    config.output.is_external_memory = 1;
    config.output.u.RGBA = {photo.picture.pixels.get(), static_cast<int>(rowBytes),
                            rowBytes * static_cast<std::size_t>(features.height)};
    require(WebPDecode(bytes.data(), bytes.size(), &config));
    readMetadata(bytes, photo);
    photo.orientation = orientationFromExif(exifOrientation(photo.metadata.exif));
    if (photo.picture.channels == 4 && wish != PixelWish::stored) layOverWhite(photo.picture);
    return photo;
}

std::string webpLibrary() {
    const int version = WebPGetDecoderVersion();
    return "libwebp " + std::to_string(version >> 16) + "." + std::to_string(version >> 8 & 0xFF) + "." +
           std::to_string(version & 0xFF);
}

}  // namespace skylevel
