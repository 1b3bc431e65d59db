// libyuv at the same work. Its gray weights have 8 bits, its 8:1 filter is the mean of 8 x 8 blocks.
#include <libyuv.h>

#include "bench/rows.h"

namespace bench {
namespace {

Bytes bytesFor(Size size) { return Bytes(static_cast<std::size_t>(size.pixels())); }

void scale(const Bytes& in, Size size, Bytes& out, Size small, libyuv::FilterMode mode) {
    libyuv::ScalePlane(in.data(), size.width, size.width, size.height, out.data(), small.width, small.width,
                       small.height, mode);
}

void toGray(const Bytes& rgb, Bytes& gray, Size size) {
    libyuv::RAWToJ400(rgb.data(), size.width * 3, gray.data(), size.width, size.width, size.height);
}

// The shape is the same for both turns, so that a turned picture is squeezed first.
Work reduction(const View& view) {
    const Size small = view.reduced();
    if (view.turn == 0)
        return {{}, [&in = view.plane(), out = bytesFor(small), small]() mutable {
                    scale(in.pixels, in.size, out, small, libyuv::kFilterNone);
                }};
    const Size lying = {small.height, small.width};
    return {{}, [&in = view.plane(), out = bytesFor(lying), turned = bytesFor(small), lying]() mutable {
                scale(in.pixels, in.size, out, lying, libyuv::kFilterNone);
                libyuv::RotatePlane(out.data(), lying.width, turned.data(), lying.height, lying.width, lying.height,
                                    libyuv::kRotate90);
            }};
}

Work gray(Size size) {
    return {{}, [&in = colourImage(size), out = bytesFor(size), size]() mutable { toGray(in, out, size); }};
}

Work smallGray() {
    return {{}, [&in = colourImage(still), gray = bytesFor(still), out = bytesFor(eighths)]() mutable {
                toGray(in, gray, still);
                scale(gray, still, out, eighths, libyuv::kFilterBox);
            }};
}

Work scaledStill(Size size, libyuv::FilterMode mode) {
    return {{}, [&in = grayStill(), out = bytesFor(size), size, mode]() mutable { scale(in, still, out, size, mode); }};
}

}  // namespace

void addLibyuv(Rows& rows) {
    for (const View& view : reducedViews)
        addRow(rows, op::reduction, view.label(), "libyuv", [view] { return reduction(view); });
    for (const Size size : colourSizes) addRow(rows, op::gray, label(size), "libyuv", [size] { return gray(size); });
    addRow(rows, op::smallGray, label(still), "libyuv 8x8 blocks", smallGray);
    addRow(rows, op::filter, label(still), "libyuv 8x8 blocks",
           [] { return scaledStill(eighths, libyuv::kFilterBox); });
    addRow(rows, op::thirds, label(still), "libyuv", [] { return scaledStill(thirds, libyuv::kFilterNone); });
}

}  // namespace bench
