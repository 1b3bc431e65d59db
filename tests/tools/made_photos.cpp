#include "tests/tools/made_photos.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>
#include <png.h>

using skylevel::Bytes;
using skylevel::Picture;

namespace {

void append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

Bytes number(unsigned value, int byteCount, bool littleEndian) {
    Bytes bytes;
    for (int i = 0; i < byteCount; ++i) {
        const int place = littleEndian ? i : byteCount - 1 - i;
        bytes.push_back(static_cast<unsigned char>(value >> (8 * place)));
    }
    return bytes;
}

void setPalette(png_structp png, png_infop info, const Bytes& palette) {
    png_color colours[256];
    png_byte alphas[256];
    const std::size_t count = palette.size() / 4;
    for (std::size_t i = 0; i < count; ++i) {
        colours[i] = {palette[4 * i], palette[4 * i + 1], palette[4 * i + 2]};
        alphas[i] = palette[4 * i + 3];
    }
    png_set_PLTE(png, info, colours, static_cast<int>(count));
    png_set_tRNS(png, info, alphas, static_cast<int>(count), nullptr);
}

void onWrite(png_structp png, png_bytep data, std::size_t count) {
    auto* out = static_cast<Bytes*>(png_get_io_ptr(png));
    out->insert(out->end(), data, data + count);
}

}  // namespace

Bytes exifBlock(unsigned orientation, bool littleEndian) {
    const unsigned char mark = littleEndian ? 'I' : 'M';
    Bytes block = {mark, mark};
    const struct {
        unsigned value;
        int byteCount;
    } fields[] = {{42, 2}, {8, 4}, {1, 2}, {0x0112, 2}, {3, 2}, {1, 4}, {orientation, 2}, {0, 2}, {0, 4}};
    for (const auto& field : fields) append(block, number(field.value, field.byteCount, littleEndian));
    return block;
}

Bytes withExif(const Bytes& jpeg, const Bytes& exif) {
    Bytes result(jpeg.begin(), jpeg.begin() + 2);
    append(result, {0xFF, 0xE1});
    append(result, number(static_cast<unsigned>(exif.size()) + 8, 2, false));
    append(result, {'E', 'x', 'i', 'f', 0, 0});
    append(result, exif);
    result.insert(result.end(), jpeg.begin() + 2, jpeg.end());
    return result;
}

Bytes makePng(const PngRecipe& recipe) {
    Bytes result;
    Bytes exif = recipe.exif;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    png_infop tail = png_create_info_struct(png);
    png_set_write_fn(png, &result, onWrite, nullptr);
    png_set_IHDR(png, info, static_cast<png_uint_32>(recipe.width), static_cast<png_uint_32>(recipe.height),
                 recipe.depth, recipe.colourType, recipe.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (!recipe.palette.empty()) setPalette(png, info, recipe.palette);
    if (!exif.empty())
        png_set_eXIf_1(png, recipe.exifAfterPixels ? tail : info, static_cast<png_uint_32>(exif.size()), exif.data());
    png_write_info(png, info);
    const std::size_t rowBytes = recipe.rows.size() / static_cast<std::size_t>(recipe.height);
    for (int pass = png_set_interlace_handling(png); pass > 0; --pass)
        for (std::size_t y = 0; y < static_cast<std::size_t>(recipe.height); ++y)
            png_write_row(png, &recipe.rows[y * rowBytes]);
    png_write_end(png, tail);
    png_destroy_info_struct(png, &tail);
    png_destroy_write_struct(&png, &info);
    return result;
}

Bytes makeJpeg(const Picture& picture, JpegKind kind) {
    jpeg_error_mgr errors;
    jpeg_compress_struct info;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &data, &size);
    info.image_width = static_cast<JDIMENSION>(picture.width);
    info.image_height = static_cast<JDIMENSION>(picture.height);
    info.input_components = picture.channels;
    info.in_color_space = picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    if (kind == JpegKind::progressive) jpeg_simple_progression(&info);
    jpeg_start_compress(&info, TRUE);
    for (int y = 0; y < picture.height; ++y) {
        JSAMPROW row = const_cast<JSAMPROW>(picture.row(y));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    Bytes result(data, data + size);
    jpeg_destroy_compress(&info);
    std::free(data);
    return result;
}

Picture storedFor(const Picture& upright, unsigned exif) {
    const skylevel::Orientation orientation = skylevel::orientationFromExif(exif);
    Picture stored = skylevel::turned(upright, (360 - orientation.turn) % 360);
    if (orientation.mirrored) skylevel::mirror(stored);
    return stored;
}

Bytes pixelsOf(const Picture& picture) {
    return {picture.row(0), picture.row(0) + picture.rowBytes() * static_cast<std::size_t>(picture.height)};
}

Picture noisyPicture(int width, int height) {
    Picture picture = skylevel::makePicture(width, height, 3);
    std::uint32_t state = 1;
    for (std::size_t i = 0; i < picture.rowBytes() * static_cast<std::size_t>(height); ++i) {
        state = state * 1664525 + 1013904223;
        picture.pixels[i] = static_cast<unsigned char>(state >> 24);
    }
    return picture;
}

Picture tiltedSea(int width, int height, double degrees) {
    const double slope = std::tan(degrees * 3.141592653589793 / 180.0);
    Picture sea = noisyPicture(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const bool sky = y < height * 0.4 + slope * (x - width / 2.0);
            for (int k = 0; k < 3; ++k) {
                unsigned char& byte = sea.row(y)[3 * x + k];
                byte = static_cast<unsigned char>((sky ? 190 + 20 * k : 40 + 15 * k) + byte % 8);
            }
        }
    return sea;
}
