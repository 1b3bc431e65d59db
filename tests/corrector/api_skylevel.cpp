// Everything that the first public header declares, by address, through the shared library alone: the
// program links and starts when all of it is there. The header comes first, for it compiles alone.
#include "skylevel/skylevel.h"

// A visible variable for each address, so that none is optimised away.
template <auto address>
struct Taken {
    static inline auto value = address;
};

template <auto... addresses>
bool there() {
    return (... && (Taken<addresses>::value != nullptr));
}

int main() {
    using T = TiltCorrection;
    const T constructed(nullptr, 0, 0, 0);
    return there<&HorizonDetectionProcess, &TiltCorrectionProcess, &T::getHasHorizon, &T::getRotAngle, &T::setRotAngle,
                 &T::getRotAngleThresh, &T::setRotAngleThresh, &T::getRotImage, &T::getRotImageSize,
                 &T::getCropImageLoc, &T::getCropImageSize, &T::detectHorizon, &T::detectRotAngle, &T::autoCorrection,
                 &T::manuCorrection, &T::calCropLoc, &T::crop, &T::rotateImage, &T::computeImageRotation,
                 &T::downsampleWithAngle, &T::downsample0, &T::downsample90, &T::downsample180, &T::downsample270,
                 &T::RGB2Gray, &T::RGB2SmallGray, &T::DownsampleGray, &T::bicubic8, &T::horizonDetection, &T::fitLine,
                 &T::mean>()
               ? 0
               : 1;
}
