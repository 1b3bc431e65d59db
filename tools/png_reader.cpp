// PNG files through libpng. As in the JPEG reader, functions that an error can jump out of hold no object with a
// destructor.
#include <png.h>

#include <csetjmp>
#include <cstddef>
#include <cstring>

#include "tools/exif.h"
#include "tools/photo.h"

namespace skylevel {
namespace {

class PngDecoder {
public:
    explicit PngDecoder(std::span<const unsigned char> fileBytes) : rest(fileBytes) {}
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;
    ~PngDecoder() { png_destroy_read_struct(&png, &info, nullptr); }

    // The steps; false when one failed, with the reason in message().
    bool readHeader();
    bool start(PixelWish wish);
    bool readRows(unsigned char* pixels);
    bool readTail();

    const char* message() const { return text; }
    std::span<const unsigned char> unread() const { return rest; }
    int width() const { return static_cast<int>(png_get_image_width(png, info)); }
    int height() const { return static_cast<int>(png_get_image_height(png, info)); }
    int channels() const { return png_get_channels(png, info); }
    int bitDepth() const { return png_get_bit_depth(png, info); }
    unsigned orientation() const;

private:
    static void onError(png_structp png, png_const_charp reason);
    static void onWarning(png_structp /*png*/, png_const_charp /*reason*/) {}  // none of them is about pixels
    static void onRead(png_structp png, png_bytep out, std::size_t count);

    std::span<const unsigned char> rest;
    png_structp png = nullptr;
    png_infop info = nullptr;
    int passes = 1;
    char text[128] = "libpng cannot be used";
};

void PngDecoder::onError(png_structp png, png_const_charp reason) {
    auto* self = static_cast<PngDecoder*>(png_get_error_ptr(png));
    std::strncpy(self->text, reason, sizeof(self->text) - 1);
    png_longjmp(png, 1);
}

void PngDecoder::onRead(png_structp png, png_bytep out, std::size_t count) {
    auto* self = static_cast<PngDecoder*>(png_get_io_ptr(png));
    if (count > self->rest.size()) png_error(png, "truncated");
    std::memcpy(out, self->rest.data(), count);
    self->rest = self->rest.subspan(count);
}

bool PngDecoder::readHeader() {
    png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, onError, onWarning);
    if (png == nullptr) return false;
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    info = png_create_info_struct(png);
    if (info == nullptr) return false;
    png_set_read_fn(png, this, onRead);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // the size is checked before memory is taken
    // Compressed texts and profiles are not looked at: a few kB of file can inflate to 8 MB each, a thousand times.
    // -1 stands for every chunk that the pixels do not need.
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_AS_DEFAULT, reinterpret_cast<png_const_bytep>("eXIf"), 1);
    png_read_info(png, info);
    return true;
}

bool PngDecoder::start(PixelWish wish) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_scale_16(png);
    png_set_expand(png);
    if (wish == PixelWish::rgb) png_set_gray_to_rgb(png);
    passes = png_set_interlace_handling(png);
    png_read_update_info(png, info);
    return true;
}

bool PngDecoder::readRows(unsigned char* pixels) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    for (int pass = 0; pass < passes; ++pass)
        for (int y = 0; y < height(); ++y) png_read_row(png, pixels + rowBytes * static_cast<std::size_t>(y), nullptr);
    return true;
}

bool PngDecoder::readTail() {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_read_end(png, info);
    return true;
}

unsigned PngDecoder::orientation() const {
    png_bytep data = nullptr;
    png_uint_32 count = 0;
    if (png_get_eXIf_1(png, info, &count, &data) == 0) return 1;
    return exifOrientation({data, count});
}

}  // namespace

Photo decodePng(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    PngDecoder decoder(bytes);
    if (!decoder.readHeader()) throw FileError(decoder.message());
    checkSize(decoder.width(), decoder.height(), maxPixels);
    Photo photo;
    photo.format = PhotoFormat::png;
    photo.bitDepth = decoder.bitDepth();
    if (!decoder.start(wish)) throw FileError(decoder.message());
    photo.picture = makePicture(decoder.width(), decoder.height(), decoder.channels());
    if (!decoder.readRows(photo.picture.pixels.get())) throw FileError(decoder.message());
    // The pixels are complete; what follows can only add an orientation.
    if (decoder.readTail())
        photo.bytesBehind = countBehind(decoder.unread());
    else
        photo.warnings.push_back(std::string("after the pixels: ") + decoder.message());
    photo.orientation = orientationFromExif(decoder.orientation());
    if (photo.picture.channels % 2 == 0 && wish != PixelWish::stored) layOverWhite(photo.picture);
    return photo;
}

std::string pngLibrary() { return "libpng " PNG_LIBPNG_VER_STRING; }

}  // namespace skylevel
