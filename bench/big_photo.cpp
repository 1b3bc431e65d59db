// skylevel_bench_photo FROM TO: writes a bundled photo, enlarged to 4000 x 3000, as a JPEG file. Then it decodes that
// file and decides on it as the tool does, some times over, and prints a line of "decode,decide" CPU milliseconds
// each time.
#include <android/log.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <ctime>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "skylevel/skylevel.h"
#include "tools/photo.h"

namespace {

constexpr int width = 4000;
constexpr int height = 3000;
constexpr int mostPixels = 100'000'000;
constexpr int runs = 15;

skylevel::Photo read(const std::string& name, skylevel::PixelWish wish) {
    return skylevel::decodePhoto(skylevel::readFile(name, skylevel::requirePhoto), wish, mostPixels);
}

// Between two neighbours in 256ths; a plain repetition would compress, and so decode, too easily.
struct Blend {
    int first;
    int second;
    int weight;

    Blend(int position, int length, int fullLength) {
        const long long place = 256LL * position * (length - 1) / (fullLength - 1);
        first = static_cast<int>(place / 256);
        second = std::min(first + 1, length - 1);
        weight = static_cast<int>(place % 256);
    }
    int of(int a, int b) const { return (a * (256 - weight) + b * weight) / 256; }
};

void enlargeRow(const skylevel::Picture& picture, int y, unsigned char* out) {
    const Blend down(y, picture.height, height);
    const unsigned char* const above = picture.row(down.first);
    const unsigned char* const below = picture.row(down.second);
    for (int x = 0; x < width; ++x) {
        const Blend across(x, picture.width, width);
        for (int channel = 0; channel < 3; ++channel) {
            const int left = 3 * across.first + channel;
            const int right = 3 * across.second + channel;
            *out++ = static_cast<unsigned char>(
                across.of(down.of(above[left], below[left]), down.of(above[right], below[right])));
        }
    }
}

// Errors of the JPEG library end the program, as its default handler does.
void writeEnlarged(const skylevel::Picture& picture, const char* name) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name, "wb"), std::fclose);
    if (file == nullptr) throw skylevel::FileError(std::string("cannot write ") + name);
    jpeg_compress_struct info = {};
    jpeg_error_mgr errors = {};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    jpeg_stdio_dest(&info, file.get());
    info.image_width = width;
    info.image_height = height;
    info.input_components = 3;
    info.in_color_space = JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 90, TRUE);
    jpeg_start_compress(&info, TRUE);
    std::vector<unsigned char> row(std::size_t{3} * width);
    JSAMPROW rows = row.data();
    for (int y = 0; y < height; ++y) {
        enlargeRow(picture, y, row.data());
        jpeg_write_scanlines(&info, &rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
}

double milliseconds(std::clock_t time) { return 1000.0 * static_cast<double>(time) / CLOCKS_PER_SEC; }

void timeDecision(const char* name) {
    const std::clock_t start = std::clock();
    const skylevel::Photo photo = read(name, skylevel::PixelWish::luma);
    const std::clock_t decoded = std::clock();
    bool hasHorizon = false;
    HorizonDetectionProcess(photo.picture.pixels.get(), width, height, width, &hasHorizon, 0, 10.0);
    std::printf("%.3f,%.3f\n", milliseconds(decoded - start), milliseconds(std::clock() - decoded));
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: skylevel_bench_photo FROM TO\n");
        return 2;
    }
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    try {
        writeEnlarged(read(argv[1], skylevel::PixelWish::rgb).picture, argv[2]);
        for (int i = 0; i < runs; ++i) timeDecision(argv[2]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", argv[1], error.what());
        return 1;
    }
    return 0;
}
