#include "tools/turn.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

#include "skylevel/skylevel.h"
#include "tools/files.h"
#include "tools/straight_crop.h"

namespace skylevel {
namespace {

// What the corrector turns at once.
constexpr int colours = 3;

std::size_t pixelCount(const Picture& picture) {
    return static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
}

Picture turnedColours(Picture source, double degrees, bool keepCanvas) {
    Cut cut;
    if (!keepCanvas) {
        cut = straightCut(source.width, source.height, degrees);
        if (cut.width < 1) throw FileError("too thin to be turned without empty corners; --keep-canvas keeps them");
    }
    TiltCorrection corrector(source.pixels.get(), source.width, source.height, source.width * colours);
    // Neither status is of use here: manuCorrection fails, too, when only the library's own crop rectangle leaves its
    // range, and the other tells of a canvas smaller than the picture.
    corrector.manuCorrection(degrees);
    int width = 0;
    int height = 0;
    corrector.getRotImageSize(width, height);
    if (corrector.getRotImage() == nullptr) throw FileError("the turned picture would have too many pixels");
    source = {};
    if (keepCanvas) cut = {0, 0, width, height};
    Picture result = makePicture(cut.width, cut.height, colours);
    for (int y = 0; y < cut.height; ++y)
        std::memcpy(result.row(y), corrector.getRotImage() + colours * (std::ptrdiff_t{cut.top + y} * width + cut.left),
                    result.rowBytes());
    return result;
}

// The channels from this one on; missing ones repeat the last.
Picture threeChannels(const Picture& picture, int first) {
    Picture result = makePicture(picture.width, picture.height, colours);
    const unsigned char* in = picture.pixels.get();
    unsigned char* out = result.pixels.get();
    for (std::size_t i = 0; i < pixelCount(picture); ++i, in += picture.channels)
        for (int k = first; k < first + colours; ++k) *out++ = in[std::min(k, picture.channels - 1)];
    return result;
}

void setChannels(Picture& picture, int first, const Picture& channels) {
    const int count = std::min(colours, picture.channels - first);
    const unsigned char* in = channels.pixels.get();
    unsigned char* out = picture.pixels.get() + first;
    for (std::size_t i = 0; i < pixelCount(picture); ++i, in += colours, out += picture.channels)
        std::copy_n(in, count, out);
}

}  // namespace

Picture turnedContent(Picture picture, double degrees, bool keepCanvas) {
    if (picture.channels == colours) return turnedColours(std::move(picture), degrees, keepCanvas);
    Picture result;
    for (int first = 0; first < picture.channels; first += colours) {
        const Picture turned = turnedColours(threeChannels(picture, first), degrees, keepCanvas);
        if (first == 0) result = makePicture(turned.width, turned.height, picture.channels);
        setChannels(result, first, turned);
    }
    return result;
}

}  // namespace skylevel
