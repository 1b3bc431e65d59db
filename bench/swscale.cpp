// swscale at the same work. Its bicubic filter for 8:1 has 32 taps in each direction, as ours has.
extern "C" {
#include <libswscale/swscale.h>
}

#include <memory>

#include "bench/rows.h"

namespace bench {
namespace {

// 8:1 from a packed still into a gray plane.
Work scaling(Bytes& in, AVPixelFormat format, int method) {
    const std::shared_ptr<SwsContext> context(
        sws_getContext(still.width, still.height, format, eighths.width, eighths.height, AV_PIX_FMT_GRAY8, method,
                       nullptr, nullptr, nullptr),
        sws_freeContext);
    const int stride = still.width * (format == AV_PIX_FMT_RGB24 ? 3 : 1);
    return {{}, [&in, out = Bytes(std::size_t{1} * eighths.pixels()), context, stride]() mutable {
                const std::uint8_t* const from[] = {in.data(), nullptr, nullptr, nullptr};
                std::uint8_t* const to[] = {out.data(), nullptr, nullptr, nullptr};
                const int fromStrides[] = {stride, 0, 0, 0};
                const int toStrides[] = {eighths.width, 0, 0, 0};
                sws_scale(context.get(), from, fromStrides, 0, still.height, to, toStrides);
            }};
}

}  // namespace

void addSwscale(Rows& rows) {
    addRow(rows, op::smallGray, label(still), "swscale bicubic",
           [] { return scaling(colourImage(still), AV_PIX_FMT_RGB24, SWS_BICUBIC); });
    addRow(rows, op::filter, label(still), "swscale bicubic",
           [] { return scaling(grayStill(), AV_PIX_FMT_GRAY8, SWS_BICUBIC); });
    addRow(rows, op::filter, label(still), "swscale area",
           [] { return scaling(grayStill(), AV_PIX_FMT_GRAY8, SWS_AREA); });
}

}  // namespace bench
