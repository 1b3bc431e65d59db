// Manual correction: the turned image, the crop rectangle, and copying it out.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

#include "platform/log.h"
#include "skylevel/skylevel.h"

namespace {

constexpr double pi = 3.141592653589793;

bool fitsInt(std::int64_t value) {
    return value >= std::numeric_limits<int>::min() && value <= std::numeric_limits<int>::max();
}

// Half an extent, truncated. False when it is not a number or leaves the int range.
bool truncateHalf(double value, std::int64_t& half) {
    constexpr double limit = 2147483648.0;
    if (!(value < limit) || !(value > -limit - 1.0)) return false;
    half = static_cast<std::int64_t>(value);
    return true;
}

}  // namespace

int TiltCorrection::manuCorrection(double angle) {
    if (m_pImage == nullptr || m_width < 1 || m_height < 1) return -1;
    delete[] m_pRotImage;
    m_pRotImage = nullptr;
    m_rotWidth = 0;
    m_rotHeight = 0;
    m_rotAngle = angle;
    if (rotateImage(m_pImage, m_width, m_height, m_pRotImage, m_rotWidth, m_rotHeight, angle) != 0) {
        SKYLEVEL_LOG_DEBUG("TiltCorrection: ratate image error\n");
        return -1;
    }
    if (calCropLoc(m_width, m_height, m_rotAngle, m_cropRect) != 0) {
        SKYLEVEL_LOG_DEBUG("TiltCorrection: calculate crop location error\n");
        return -1;
    }
    return 0;
}

int TiltCorrection::calCropLoc(int width, int height, double angle, _Rect& rect) {
    if (width < 1 || height < 1) return -1;
    const double radians = angle / 180.0 * pi;
    // Carries the angle's sign, so that its product with the sine is never negative.
    const double aspect = height * (radians < 0.0 ? -1.0 : 1.0) / width;
    const double span = aspect * std::sin(radians) + std::cos(radians);
    std::int64_t halfWidth = 0;
    std::int64_t halfHeight = 0;
    if (!truncateHalf(width / (span + span), halfWidth)) return -1;
    if (!truncateHalf(std::fabs(aspect * static_cast<double>(halfWidth)), halfHeight)) return -1;
    const std::int64_t left = width / 2 - halfWidth;
    const std::int64_t right = left + 2 * halfWidth - 1;
    const std::int64_t top = height / 2 - halfHeight;
    const std::int64_t bottom = top + 2 * halfHeight - 1;
    if (!fitsInt(left) || !fitsInt(right) || !fitsInt(top) || !fitsInt(bottom)) return -1;
    rect = {static_cast<int>(left), static_cast<int>(right), static_cast<int>(top), static_cast<int>(bottom)};
    return 0;
}

int TiltCorrection::crop(unsigned char* dst) {
    if (m_pImage == nullptr || m_width < 1 || dst == nullptr || m_height < 1) return -1;
    const _Rect& rect = m_cropRect;
    if (rect.left < 0 || rect.right >= m_width || rect.top < 0 || rect.bottom >= m_height) return -2;
    if (rect.right < rect.left) return 0;
    const std::size_t rowBytes = std::size_t{3} * static_cast<std::size_t>(rect.right - rect.left + 1);
    for (std::int64_t y = rect.top; y <= rect.bottom; ++y, dst += rowBytes)
        std::memcpy(dst, m_pImage + 3 * (y * m_width + rect.left), rowBytes);
    return 0;
}
