// The C entry points: they check, translate and nothing more.
#include "platform/log.h"
#include "skylevel/skylevel.h"

int HorizonDetectionProcess(unsigned char* pGrayImage, int width, int height, int stride, bool* hasHorizon,
                            int imageAngle, double fAngleThresh) {
    SKYLEVEL_LOG_DEBUG("version 2.0");
    // Ordered comparisons: a threshold that is not a number passes.
    if (pGrayImage == nullptr || width < 0 || height < 0 || fAngleThresh > 90.0 || width > stride ||
        fAngleThresh < 0.0) {
        SKYLEVEL_LOG_ERROR("args input error: pGrayImage=%p, size=[%d,%d,%d], fAngleThresh=%.2f",
                           static_cast<void*>(pGrayImage), width, height, stride, fAngleThresh);
        *hasHorizon = false;
        return -1;
    }
    TiltCorrection corrector(pGrayImage, width, height, stride);
    corrector.setRotAngleThresh(fAngleThresh);
    if (corrector.detectHorizon(imageAngle) != 0) return 1;
    *hasHorizon = corrector.getHasHorizon();
    return 0;
}

int TiltCorrectionProcess(unsigned char* pImage, int width, int height, double* pRotAngle, double fAngleThresh) {
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!!!!!!!!!!!!TiltCorrection start!!!!!!!!!!!!!!!!!!!!!!!!!!!!!");
    if (pImage == nullptr || width < 0 || height < 0) return -1;
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!!!!!!!!!!!!TiltCorrection 1 start!!!!!!!!!!!!!!!!!!!!!!!!!!!!!");
    TiltCorrection corrector(pImage, width, height, width);
    corrector.setRotAngleThresh(fAngleThresh);
    SKYLEVEL_LOG_DEBUG("!!!!!!!!!!!!!!!!!!!!!!!!TiltCorrection 2 start!!!!!!!!!!!!!!!!!!!!!!!!!!!!!");
    if (corrector.detectRotAngle() != 0) return 1;
    *pRotAngle = corrector.getRotAngle();
    return 0;
}
