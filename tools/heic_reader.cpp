// HEIC files through libheif, which makes the pictures upright by itself, as the files describe it.
#include <libheif/heif.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <string_view>

#include "tools/jpeg_segments.h"
#include "tools/photo.h"

namespace skylevel {
namespace {

void require(const heif_error& error) {
    const bool refused = error.subcode == heif_suberror_Security_limit_exceeded;
    if (error.code == heif_error_Memory_allocation_error && !refused) throw FileError("not enough memory");
    if (error.code == heif_error_Ok) return;
    std::string_view reason = error.message;
    while (reason.ends_with('\n')) reason.remove_suffix(1);
    throw FileError("HEIC: " + std::string(reason));
}

// Its decoders are looked for once, before several threads ask for them.
void useLibrary() {
    struct Library {
        heif_error error = heif_init(nullptr);
        ~Library() { heif_deinit(); }
    };
    static const Library library;
    require(library.error);
}

using Context = std::unique_ptr<heif_context, void (*)(heif_context*)>;
using Handle = std::unique_ptr<const heif_image_handle, void (*)(const heif_image_handle*)>;
using Image = std::unique_ptr<const heif_image, void (*)(const heif_image*)>;

Handle primaryPicture(heif_context* context) {
    heif_image_handle* handle = nullptr;
    require(heif_context_get_primary_image_handle(context, &handle));
    return {handle, heif_image_handle_release};
}

// libheif finds rows by an int and crashes where that is too short for them; a pixel has up to four bytes.
constexpr std::int64_t mostPixels = std::numeric_limits<int>::max() / 4;

// The sizes before and after the file's own crop and turn. A grid of tiles has a size of its own beside the one that
// the file declares, and is to have no longer sides than that.
void checkSizes(heif_context* context, const heif_image_handle* handle, std::int64_t maxPixels) {
    const int width = heif_image_handle_get_ispe_width(handle);
    const int height = heif_image_handle_get_ispe_height(handle);
    checkSize(width, height, std::min(maxPixels, mostPixels));
    checkSize(heif_image_handle_get_width(handle), heif_image_handle_get_height(handle), maxPixels);
    heif_context_set_maximum_image_size_limit(context, std::max(width, height) + 1);
}

Image decoded(const heif_image_handle* handle, bool withAlpha) {
    heif_image* image = nullptr;
    require(heif_decode_image(handle, &image, heif_colorspace_RGB,
                              withAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB, nullptr));
    return {image, heif_image_release};
}

Picture copied(const heif_image* image, int channels, std::int64_t maxPixels) {
    int stride = 0;
    const unsigned char* const pixels = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(image, heif_channel_interleaved);
    const int height = heif_image_get_height(image, heif_channel_interleaved);
    if (pixels == nullptr || width < 1 || height < 1) throw FileError("HEIC: no picture was decoded");
    checkSize(width, height, maxPixels);
    Picture picture = makePicture(width, height, channels);
    for (int y = 0; y < height; ++y)
        std::memcpy(picture.row(y), pixels + std::ptrdiff_t{y} * stride, picture.rowBytes());
    return picture;
}

Bytes block(const heif_image_handle* handle, heif_item_id id) {
    Bytes bytes(heif_image_handle_get_metadata_size(handle, id));
    if (!bytes.empty()) require(heif_image_handle_get_metadata(handle, id, bytes.data()));
    return bytes;
}

// An EXIF block starts behind a number of four bytes and as many bytes as that says.
Bytes exifIn(const Bytes& bytes) {
    if (bytes.size() < 4) return {};
    const std::size_t skipped =
        std::size_t{bytes[0]} << 24 | std::size_t{bytes[1]} << 16 | std::size_t{bytes[2]} << 8 | bytes[3];
    if (skipped > bytes.size() - 4) return {};
    Bytes exif(bytes.begin() + 4 + static_cast<std::ptrdiff_t>(skipped), bytes.end());
    dropExifHeader(exif);
    return exif;
}

MetadataBlocks metadataOf(const heif_image_handle* handle) {
    MetadataBlocks blocks;
    std::vector<heif_item_id> ids(
        static_cast<std::size_t>(heif_image_handle_get_number_of_metadata_blocks(handle, nullptr)));
    const int count =
        heif_image_handle_get_list_of_metadata_block_IDs(handle, nullptr, ids.data(), static_cast<int>(ids.size()));
    ids.resize(static_cast<std::size_t>(count));
    for (const heif_item_id id : ids) {
        const std::string type = heif_image_handle_get_metadata_type(handle, id);
        const std::string content = heif_image_handle_get_metadata_content_type(handle, id);
        if (type == "Exif" && blocks.exif.empty()) blocks.exif = exifIn(block(handle, id));
        if (type == "mime" && content == "application/rdf+xml" && blocks.xmp.empty()) blocks.xmp = block(handle, id);
    }
    blocks.profile.resize(heif_image_handle_get_raw_color_profile_size(handle));
    if (!blocks.profile.empty()) require(heif_image_handle_get_raw_color_profile(handle, blocks.profile.data()));
    return blocks;
}

// Whether numbers, and no colour profile, say what the colours are, and these are other than a JPEG's without one.
bool hasOtherColours(const heif_image_handle* handle) {
    if (heif_image_handle_get_raw_color_profile_size(handle) > 0) return false;
    heif_color_profile_nclx* found = nullptr;
    if (heif_image_handle_get_nclx_color_profile(handle, &found).code != heif_error_Ok) return false;
    const std::unique_ptr<heif_color_profile_nclx, void (*)(heif_color_profile_nclx*)> colours(
        found, heif_nclx_color_profile_free);
    // The curves of BT.709 and BT.601 are those of cameras whose pictures everybody shows as sRGB.
    constexpr heif_color_primaries primaries[] = {heif_color_primaries_ITU_R_BT_709_5,
                                                  heif_color_primaries_unspecified};
    constexpr heif_transfer_characteristics curves[] = {
        heif_transfer_characteristic_IEC_61966_2_1, heif_transfer_characteristic_ITU_R_BT_709_5,
        heif_transfer_characteristic_ITU_R_BT_601_6, heif_transfer_characteristic_unspecified};
    const auto isAmong = [](auto value, const auto& values) {
        return std::find(std::begin(values), std::end(values), value) != std::end(values);
    };
    return !isAmong(colours->color_primaries, primaries) || !isAmong(colours->transfer_characteristics, curves);
}

}  // namespace

Photo decodeHeic(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    useLibrary();
    const Context context(heif_context_alloc(), heif_context_free);
    if (context == nullptr) throw std::bad_alloc();
    require(heif_context_read_from_memory_without_copy(context.get(), bytes.data(), bytes.size(), nullptr));
    const Handle handle = primaryPicture(context.get());
    checkSizes(context.get(), handle.get(), maxPixels);

    Photo photo;
    photo.format = PhotoFormat::heic;
    photo.bitDepth = std::max(8, heif_image_handle_get_luma_bits_per_pixel(handle.get()));
    const bool hasAlpha = heif_image_handle_has_alpha_channel(handle.get()) != 0;
    photo.picture = copied(decoded(handle.get(), hasAlpha).get(), hasAlpha ? 4 : 3, maxPixels);
    if (hasAlpha) layOverWhite(photo.picture);
    if (wish != PixelWish::stored) return photo;
    photo.metadata = metadataOf(handle.get());
    if (hasAlpha) photo.warnings.emplace_back("transparent parts become white");
    if (hasOtherColours(handle.get()))
        photo.warnings.emplace_back("colours not kept: they are not sRGB, and no colour profile can be copied");
    if (heif_context_get_number_of_top_level_images(context.get()) > 1)
        photo.warnings.emplace_back("not kept: all but the first of several pictures");
    return photo;
}

std::string heicLibrary() { return std::string("libheif ") + heif_get_version(); }

}  // namespace skylevel
