#include "tools/picture.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace skylevel {
namespace {

// The source pixels [begin, end) under destination pixel index; never empty.
struct Span {
    int begin;
    int end;
};

Span coveredBy(int index, int size, int sourceSize) {
    const auto begin = static_cast<int>(std::int64_t{index} * sourceSize / size);
    const auto end = static_cast<int>((std::int64_t{index} + 1) * sourceSize / size);
    return {begin, std::max(end, begin + 1)};
}

}  // namespace

Picture makePicture(int width, int height, int channels) {
    Picture picture{width, height, channels, nullptr};
    picture.pixels =
        std::make_unique_for_overwrite<unsigned char[]>(picture.rowBytes() * static_cast<std::size_t>(height));
    return picture;
}

Orientation orientationFromExif(unsigned value) {
    constexpr Orientation orientations[] = {{false, 0},  {true, 0},   {false, 180}, {true, 180},
                                            {true, 270}, {false, 90}, {true, 90},   {false, 270}};
    return value >= 1 && value <= 8 ? orientations[value - 1] : Orientation{};
}

void mirror(Picture& picture) {
    for (int y = 0; y < picture.height; ++y) {
        unsigned char* left = picture.row(y);
        unsigned char* right = left + picture.rowBytes() - picture.channels;
        for (; left < right; left += picture.channels, right -= picture.channels)
            std::swap_ranges(left, left + picture.channels, right);
    }
}

Picture turned(const Picture& picture, int turn) {
    const bool exchanges = turn == 90 || turn == 270;
    const int lastX = picture.width - 1;
    const int lastY = picture.height - 1;
    Picture result = makePicture(exchanges ? picture.height : picture.width, exchanges ? picture.width : picture.height,
                                 picture.channels);
    for (int y = 0; y < result.height; ++y) {
        unsigned char* out = result.row(y);
        for (int x = 0; x < result.width; ++x, out += result.channels) {
            int sourceX = x;
            int sourceY = y;
            if (turn == 180 || turn == 270) sourceX = lastX - (exchanges ? y : x);
            if (turn == 90) sourceX = y;
            if (turn == 90 || turn == 180) sourceY = lastY - (exchanges ? x : y);
            if (turn == 270) sourceY = x;
            std::copy_n(picture.row(sourceY) + std::ptrdiff_t{sourceX} * picture.channels, picture.channels, out);
        }
    }
    return result;
}

Picture madeUpright(Picture picture, const Orientation& orientation) {
    if (orientation.mirrored) mirror(picture);
    return orientation.turn == 0 ? std::move(picture) : turned(picture, orientation.turn);
}

void layOverWhite(Picture& picture) {
    const std::size_t count = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
    const int colours = picture.channels - 1;
    const unsigned char* in = picture.pixels.get();
    unsigned char* out = picture.pixels.get();
    for (std::size_t i = 0; i < count; ++i, in += picture.channels) {
        const int alpha = in[colours];
        for (int channel = 0; channel < colours; ++channel)
            *out++ = static_cast<unsigned char>((in[channel] * alpha + 255 * (255 - alpha) + 127) / 255);
    }
    picture.channels = colours;
}

Picture resized(const Picture& picture, int width, int height) {
    Picture result = makePicture(width, height, picture.channels);
    for (int y = 0; y < height; ++y) {
        const Span rows = coveredBy(y, height, picture.height);
        unsigned char* out = result.row(y);
        for (int x = 0; x < width; ++x) {
            const Span columns = coveredBy(x, width, picture.width);
            const std::int64_t count = std::int64_t{rows.end - rows.begin} * (columns.end - columns.begin);
            for (int channel = 0; channel < picture.channels; ++channel) {
                std::int64_t sum = count / 2;
                for (int row = rows.begin; row < rows.end; ++row)
                    for (int column = columns.begin; column < columns.end; ++column)
                        sum += picture.row(row)[std::ptrdiff_t{column} * picture.channels + channel];
                *out++ = static_cast<unsigned char>(sum / count);
            }
        }
    }
    return result;
}

}  // namespace skylevel
