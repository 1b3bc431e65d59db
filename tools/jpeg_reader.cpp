// JPEG files through libjpeg.
//
// The library reports errors by calling back and must not be returned to: the callback jumps out of it. Every
// function that a jump can leave therefore holds no object with a destructor, and catches the jump itself; whatever
// needs memory of ours is done between these functions.
#include <algorithm>
#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>
// jerror.h needs jpeglib.h before it.
#include <jerror.h>

#include "tools/exif.h"
#include "tools/jpeg_segments.h"
#include "tools/photo.h"

namespace skylevel {
namespace {

constexpr unsigned char exifMarker = JPEG_APP0 + 1;

// Real progressive files have about ten scans. Each can cost as much time as the whole picture and a few
// bytes of file.
constexpr int mostScans = 100;

class JpegDecoder {
public:
    explicit JpegDecoder(std::span<const unsigned char> fileBytes) : file(fileBytes) {}
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;
    ~JpegDecoder() { jpeg_destroy_decompress(&info); }

    // The three steps; false when one failed, with the reason in message().
    bool readHeader();
    bool start(J_COLOR_SPACE wanted);
    bool readRows(unsigned char* pixels);

    const char* message() const { return text; }
    const jpeg_decompress_struct& state() const { return info; }
    // Rows that hold the file's own data; fewer than the height when it ended early.
    int rowsRead() const { return std::min<int>(availableRows, static_cast<int>(info.output_height)); }
    // Whether there is data for every row, but not all that the scans refine them by.
    bool lacksScans() const { return endedInScan || (fileEnded && !hasAllScans()); }
    // The first complaint about damaged data; empty without one.
    const char* warning() const { return firstWarning; }

private:
    static JpegDecoder& of(j_common_ptr common) { return *static_cast<JpegDecoder*>(common->client_data); }
    static void onError(j_common_ptr common);
    static void onMessage(j_common_ptr common, int level);
    static void onProgress(j_common_ptr common);
    bool endedEarly() const;
    bool hasAllScans() const;

    std::span<const unsigned char> file;
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors = {};
    jpeg_progress_mgr progress = {};
    std::jmp_buf escape = {};
    bool multipleScans = false;
    bool fileEnded = false;    // without an end of the image
    bool endedInScan = false;  // at least one scan is not whole
    int availableRows = JPEG_MAX_DIMENSION;
    char text[JMSG_LENGTH_MAX] = "";
    char firstWarning[JMSG_LENGTH_MAX] = "";
};

void JpegDecoder::onError(j_common_ptr common) {
    JpegDecoder& self = of(common);
    self.errors.format_message(common, self.text);
    std::longjmp(self.escape, 1);
}

void JpegDecoder::onProgress(j_common_ptr common) {
    JpegDecoder& self = of(common);
    if (self.info.input_scan_number <= mostScans) return;
    std::snprintf(self.text, sizeof(self.text), "more than %d scans", mostScans);
    std::longjmp(self.escape, 1);
}

// Whether the current warning says that the compressed data ended. The decoder goes on with made-up data then.
bool JpegDecoder::endedEarly() const {
    // Huffman data ran into the end of the image. At the end of the file libjpeg puts one there.
    if (errors.msg_code == JWRN_HIT_MARKER) return info.unread_marker == JPEG_EOI;
    // The arithmetic decoder takes the end for zeros. Elsewhere the data can be complete, with just the end
    // marker missing.
    return errors.msg_code == JWRN_JPEG_EOF && info.arith_code;
}

// Whether every component had a scan, and of a progressive file every coefficient down to its last bit. A file can end
// between two scans, where the decoder misses nothing.
bool JpegDecoder::hasAllScans() const {
    for (int component = 0; component < info.num_components; ++component) {
        if (info.comp_info[component].quant_table == nullptr) return false;
        if (info.coef_bits == nullptr) continue;
        const int* const missingBits = info.coef_bits[component];
        if (std::any_of(missingBits, missingBits + DCTSIZE2, [](int bits) { return bits != 0; })) return false;
    }
    return true;
}

void JpegDecoder::onMessage(j_common_ptr common, int level) {
    if (level >= 0) return;  // traces
    JpegDecoder& self = of(common);
    if (self.firstWarning[0] == '\0') self.errors.format_message(common, self.firstWarning);
    if (self.errors.msg_code == JWRN_JPEG_EOF) self.fileEnded = true;
    if (!self.endedEarly()) return;
    self.endedInScan = true;
    if (self.availableRows < JPEG_MAX_DIMENSION) return;
    // Every scan of several after the first refines rows that are all there.
    if (self.multipleScans && self.info.input_scan_number > 1) return;
    self.availableRows = static_cast<int>(self.info.input_iMCU_row) * self.info.max_v_samp_factor * DCTSIZE;
}

bool JpegDecoder::readHeader() {
    if (setjmp(escape) != 0) return false;
    info.err = jpeg_std_error(&errors);
    errors.error_exit = onError;
    errors.emit_message = onMessage;
    info.client_data = this;
    jpeg_create_decompress(&info);
    progress.progress_monitor = onProgress;
    info.progress = &progress;
    jpeg_mem_src(&info, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_read_header(&info, TRUE);
    multipleScans = jpeg_has_multiple_scans(&info) != 0;
    return true;
}

bool JpegDecoder::start(J_COLOR_SPACE wanted) {
    if (setjmp(escape) != 0) return false;
    info.out_color_space = wanted;
    info.dct_method = JDCT_ISLOW;
    jpeg_start_decompress(&info);
    return true;
}

bool JpegDecoder::readRows(unsigned char* pixels) {
    if (setjmp(escape) != 0) return false;
    const std::size_t rowBytes = std::size_t{info.output_width} * static_cast<std::size_t>(info.output_components);
    while (static_cast<int>(info.output_scanline) < rowsRead()) {
        JSAMPROW row = pixels + rowBytes * info.output_scanline;
        jpeg_read_scanlines(&info, &row, 1);
    }
    return true;
}

bool hasLumaPlane(J_COLOR_SPACE stored) { return stored == JCS_YCbCr || stored == JCS_GRAYSCALE; }

bool isInInks(J_COLOR_SPACE stored) { return stored == JCS_CMYK || stored == JCS_YCCK; }

J_COLOR_SPACE decodedSpace(J_COLOR_SPACE stored, PixelWish wish) {
    if (isInInks(stored)) return JCS_CMYK;
    if (wish == PixelWish::luma && hasLumaPlane(stored)) return JCS_GRAYSCALE;
    return wish == PixelWish::stored && stored == JCS_GRAYSCALE ? JCS_GRAYSCALE : JCS_RGB;
}

JpegCoding codingOf(const jpeg_decompress_struct& info) {
    JpegCoding coding;
    if (info.jpeg_color_space == JCS_RGB) coding.colours = JpegCoding::Colours::rgb;
    if (isInInks(info.jpeg_color_space)) coding.colours = JpegCoding::Colours::inks;
    coding.progressive = info.progressive_mode != 0;
    for (std::size_t i = 0; i < coding.sampling.size() && static_cast<int>(i) < info.num_components; ++i)
        coding.sampling[i] = {info.comp_info[i].h_samp_factor, info.comp_info[i].v_samp_factor};
    return coding;
}

// Packs four inks a pixel into red, green and blue, in place. Adobe's files hold them inverted: 255 is no ink.
void convertFromInks(Picture& picture, bool inverted) {
    const std::size_t count = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    const int flip = inverted ? 0 : 255;
    const unsigned char* in = picture.pixels.get();
    unsigned char* out = picture.pixels.get();
    for (std::size_t i = 0; i < count; ++i, in += 4) {
        const int black = in[3] ^ flip;
        for (int channel = 0; channel < 3; ++channel)
            *out++ = static_cast<unsigned char>(((in[channel] ^ flip) * black + 127) / 255);
    }
    picture.channels = 3;
}

// Not from libjpeg, of which the time for keeping segments grows with the square of their number.
unsigned findOrientation(const JpegSegments& segments) {
    for (const JpegSegment& segment : segments.metadata)
        if (segment.marker == exifMarker && startsWith(segment.data, exifHeader))
            return exifOrientation(segment.data.subspan(exifHeader.size()));
    return 1;
}

}  // namespace

Photo decodeJpeg(std::span<const unsigned char> bytes, PixelWish wish, std::int64_t maxPixels) {
    JpegDecoder decoder(bytes);
    const jpeg_decompress_struct& info = decoder.state();
    if (!decoder.readHeader()) throw FileError(decoder.message());
    checkSize(info.image_width, info.image_height, maxPixels);

    Photo photo;
    photo.format = PhotoFormat::jpeg;
    const JpegSegments segments = findSegments(bytes);
    photo.orientation = orientationFromExif(findOrientation(segments));
    photo.bytesBehind = countBehind(segments.trailing);
    photo.jpegCoding = codingOf(info);
    if (!decoder.start(decodedSpace(info.jpeg_color_space, wish))) throw FileError(decoder.message());
    photo.picture =
        makePicture(static_cast<int>(info.output_width), static_cast<int>(info.output_height), info.output_components);
    if (!decoder.readRows(photo.picture.pixels.get())) throw FileError(decoder.message());

    const int rows = decoder.rowsRead();
    if (rows == 0) throw FileError("truncated before the first rows");
    if (rows < photo.picture.height) {
        photo.warnings.push_back("truncated: " + std::to_string(rows) + " of " + std::to_string(photo.picture.height) +
                                 " rows read");
        photo.picture.height = rows;
        photo.complete = false;
    } else if (decoder.lacksScans()) {
        photo.warnings.emplace_back("truncated: all rows read, but not all their details");
        photo.complete = false;
    } else if (segments.damaged) {
        photo.warnings.emplace_back("a segment of impossible length");
        photo.complete = false;
    } else if (*decoder.warning() != '\0') {
        photo.warnings.emplace_back(decoder.warning());
    }
    if (photo.picture.channels == 4) convertFromInks(photo.picture, info.saw_Adobe_marker != 0);
    return photo;
}

std::string jpegLibrary() {
#define SKYLEVEL_QUOTE(text) #text
#define SKYLEVEL_VALUE(name) SKYLEVEL_QUOTE(name)
#ifdef LIBJPEG_TURBO_VERSION
    return "libjpeg-turbo " SKYLEVEL_VALUE(LIBJPEG_TURBO_VERSION);
#else
    return "libjpeg " SKYLEVEL_VALUE(JPEG_LIB_VERSION);
#endif
}

}  // namespace skylevel
