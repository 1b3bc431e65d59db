#include "tools/webp_writer.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <memory>
#include <string>

namespace skylevel {
namespace {

// Size before speed: what these pixels cost is decided once.
constexpr int losslessEffort = 6;

struct Encoding {
    WebPPicture picture;
    WebPMemoryWriter writer;

    Encoding() {
        WebPMemoryWriterInit(&writer);
        if (WebPPictureInit(&picture) == 0) throw FileError("libwebp cannot be used");
        picture.writer = WebPMemoryWrite;
        picture.custom_ptr = &writer;
    }
    Encoding(const Encoding&) = delete;
    Encoding& operator=(const Encoding&) = delete;
    ~Encoding() {
        WebPPictureFree(&picture);
        WebPMemoryWriterClear(&writer);
    }
};

WebPConfig configOf(bool lossless, int quality) {
    WebPConfig config;
    bool known = WebPConfigInit(&config) != 0;
    if (lossless) known = known && WebPConfigLosslessPreset(&config, losslessEffort) != 0;
    if (!known) throw FileError("libwebp cannot be used");
    if (!lossless) config.quality = static_cast<float>(quality);
    config.exact = 1;  // also where nothing shows
    return config;
}

}  // namespace

Bytes encodeWebp(const Photo& photo, int quality) {
    const Picture& source = photo.picture;
    if (source.width > WEBP_MAX_DIMENSION || source.height > WEBP_MAX_DIMENSION)
        throw FileError("no side of a WebP file may be longer than " + std::to_string(WEBP_MAX_DIMENSION));
    const WebPConfig config = configOf(photo.lossless, quality);
    Encoding encoding;
    WebPPicture& picture = encoding.picture;
    picture.width = source.width;
    picture.height = source.height;
    picture.use_argb = config.lossless;
    const auto import = source.channels == 4 ? WebPPictureImportRGBA : WebPPictureImportRGB;
    const bool encoded = import(&picture, source.pixels.get(), static_cast<int>(source.rowBytes())) != 0 &&
                         WebPEncode(&config, &picture) != 0;
    if (!encoded) throw FileError("libwebp gives up with error " + std::to_string(picture.error_code));
    return {encoding.writer.mem, encoding.writer.mem + encoding.writer.size};
}

Bytes withMetadata(const Bytes& webp, const MetadataBlocks& blocks) {
    const std::unique_ptr<WebPMux, void (*)(WebPMux*)> mux(WebPMuxNew(), WebPMuxDelete);
    if (mux == nullptr) throw std::bad_alloc();
    const auto require = [](WebPMuxError status) {
        if (status != WEBP_MUX_OK) throw FileError("libwebpmux gives up with error " + std::to_string(status));
    };
    const WebPData image = {webp.data(), webp.size()};
    require(WebPMuxSetImage(mux.get(), &image, 0));
    const auto add = [&](const char* name, const Bytes& block) {
        const WebPData data = {block.data(), block.size()};
        if (!block.empty()) require(WebPMuxSetChunk(mux.get(), name, &data, 0));
    };
    add("ICCP", blocks.profile);
    add("EXIF", blocks.exif);
    add("XMP ", blocks.xmp);
    WebPData file = {};
    WebPDataInit(&file);
    const WebPMuxError status = WebPMuxAssemble(mux.get(), &file);
    const std::unique_ptr<WebPData, void (*)(WebPData*)> cleared(&file, WebPDataClear);
    require(status);
    return {file.bytes, file.bytes + file.size};
}

}  // namespace skylevel
