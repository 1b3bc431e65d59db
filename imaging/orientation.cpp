// Device orientation from a gravity reading.
#include <cmath>

#include "platform/log.h"
#include "skylevel/skylevel.h"

namespace {

constexpr float flatThreshold = 9.0f;  // just under one standard gravity
constexpr float deadZoneX = 1e-5f;
constexpr float deadZoneY = 1e-4f;
constexpr float degreesPerRadian = 57.29578f;

// Halves away from zero. double, so that adding the half is exact.
int rounded(float degrees) {
    const auto value = static_cast<double>(degrees);
    return static_cast<int>(value < 0.0 ? value - 0.5 : value + 0.5);
}

int nearestQuarterTurn(int degrees) {
    if (degrees <= -135) return 180;
    if (degrees <= -45) return 90;
    if (degrees <= 45) return 0;
    if (degrees <= 135) return 270;
    return 180;
}

}  // namespace

int TiltCorrection::computeImageRotation(float x, float y, float z, int& angle) {
    SKYLEVEL_LOG_INFO("enter %s()", "computeImageRotation");
    angle = 0;
    if (z > flatThreshold) return 0;
    if (std::fabs(x) <= deadZoneX && std::fabs(y) <= deadZoneY) return 0;
    if (!std::isfinite(x) || !std::isfinite(y)) return 0;  // no direction

    // float, squares rounded before the add.
    const float radius = sqrtf(x * x + y * y);
    const float direction = acosf(x / radius);
    const float degrees = (y > 0.0f ? -degreesPerRadian : degreesPerRadian) * direction;
    angle = nearestQuarterTurn(rounded(degrees));
    return 0;
}
