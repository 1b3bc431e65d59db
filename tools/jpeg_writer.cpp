#include "tools/jpeg_writer.h"

#include <csetjmp>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <utility>

#include <jpeglib.h>
// jerror.h needs jpeglib.h before it.
#include <jerror.h>

namespace skylevel {
namespace {

// As in the reader: nothing with a destructor in a function that an error can jump out of.
class JpegEncoder {
public:
    JpegEncoder() = default;
    JpegEncoder(const JpegEncoder&) = delete;
    JpegEncoder& operator=(const JpegEncoder&) = delete;
    ~JpegEncoder() { jpeg_destroy_compress(&info); }

    bool encode(const Picture& picture, const JpegCoding& coding, int quality);

    Bytes bytes;
    char text[JMSG_LENGTH_MAX] = "";

private:
    static JpegEncoder& of(j_common_ptr common) { return *static_cast<JpegEncoder*>(common->client_data); }
    static void onError(j_common_ptr common);
    static void onMessage(j_common_ptr /*common*/, int /*level*/) {}
    static void onStart(j_compress_ptr info);
    static boolean onFull(j_compress_ptr info);
    static void onEnd(j_compress_ptr info);
    void flush(std::size_t count);
    bool append(std::size_t count) noexcept;
    void setCoding(const JpegCoding& coding);

    jpeg_compress_struct info = {};
    jpeg_error_mgr errors = {};
    jpeg_destination_mgr destination = {};
    std::jmp_buf escape = {};
    JOCTET buffer[1 << 16];
};

void JpegEncoder::onError(j_common_ptr common) {
    JpegEncoder& self = of(common);
    self.errors.format_message(common, self.text);
    std::longjmp(self.escape, 1);
}

bool JpegEncoder::append(std::size_t count) noexcept {
    try {
        bytes.insert(bytes.end(), buffer, buffer + count);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void JpegEncoder::flush(std::size_t count) {
    if (!append(count)) ERREXIT1(&info, JERR_OUT_OF_MEMORY, 0);
    destination.next_output_byte = buffer;
    destination.free_in_buffer = sizeof(buffer);
}

void JpegEncoder::onStart(j_compress_ptr info) { of(reinterpret_cast<j_common_ptr>(info)).flush(0); }

boolean JpegEncoder::onFull(j_compress_ptr info) {
    of(reinterpret_cast<j_common_ptr>(info)).flush(sizeof(buffer));
    return TRUE;
}

void JpegEncoder::onEnd(j_compress_ptr info) {
    JpegEncoder& self = of(reinterpret_cast<j_common_ptr>(info));
    self.flush(sizeof(buffer) - self.destination.free_in_buffer);
}

// The sampling is the file's own as long as its blocks fit one scan of all channels.
void JpegEncoder::setCoding(const JpegCoding& coding) {
    if (coding.colours == JpegCoding::Colours::rgb) jpeg_set_colorspace(&info, JCS_RGB);
    if (coding.progressive) jpeg_simple_progression(&info);
    // The photo's own segments say what these would.
    info.write_JFIF_header = FALSE;
    info.write_Adobe_marker = FALSE;
    int blocks = 0;
    for (const auto& [horizontal, vertical] : coding.sampling) blocks += horizontal * vertical;
    for (int i = 0; i < info.num_components; ++i) {
        const bool follows = info.num_components > 1 && blocks <= C_MAX_BLOCKS_IN_MCU;
        const auto& sampling = coding.sampling[static_cast<std::size_t>(i)];
        info.comp_info[i].h_samp_factor = follows ? sampling.horizontal : 1;
        info.comp_info[i].v_samp_factor = follows ? sampling.vertical : 1;
    }
}

bool JpegEncoder::encode(const Picture& picture, const JpegCoding& coding, int quality) {
    if (setjmp(escape) != 0) return false;
    info.err = jpeg_std_error(&errors);
    errors.error_exit = onError;
    errors.emit_message = onMessage;
    info.client_data = this;
    jpeg_create_compress(&info);
    destination.init_destination = onStart;
    destination.empty_output_buffer = onFull;
    destination.term_destination = onEnd;
    info.dest = &destination;
    info.image_width = static_cast<JDIMENSION>(picture.width);
    info.image_height = static_cast<JDIMENSION>(picture.height);
    info.input_components = picture.channels;
    info.in_color_space = picture.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    setCoding(coding);
    jpeg_start_compress(&info, TRUE);
    while (info.next_scanline < info.image_height) {
        // libjpeg only reads the row.
        JSAMPROW row = const_cast<JSAMPROW>(picture.row(static_cast<int>(info.next_scanline)));
        jpeg_write_scanlines(&info, &row, 1);
    }
    jpeg_finish_compress(&info);
    return true;
}

}  // namespace

Bytes encodeJpeg(const Picture& picture, const JpegCoding& coding, int quality) {
    const auto encoder = std::make_unique<JpegEncoder>();
    if (!encoder->encode(picture, coding, quality)) throw FileError(encoder->text);
    return std::move(encoder->bytes);
}

}  // namespace skylevel
