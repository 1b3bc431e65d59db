// An application in C++: decides on a picture, turns it, and listens to the log.
#include <android/log.h>
#include <skylevel/analysis.h>
#include <skylevel/skylevel.h>

#include <cstdint>
#include <cstdio>
#include <vector>

#include "picture.h"

static int lineCount = 0;

//! [decide]
// The turn in degrees that levels the picture, or 0 when it shows no horizon.
static double levellingTurn(unsigned char* gray, int width, int height, int stride, int imageAngle) {
    TiltCorrection corrector(gray, width, height, stride);
    corrector.setRotAngleThresh(5.0);
    if (corrector.detectHorizon(imageAngle) != 0 || !corrector.getHasHorizon()) return 0.0;
    return corrector.getRotAngle();
}
//! [decide]

//! [turn]
// The turned picture with its black corners, rows packed, 3 bytes a pixel.
static std::vector<unsigned char> turned(unsigned char* rgb, int width, int height, double angle) {
    TiltCorrection corrector(rgb, width, height, width);
    if (corrector.manuCorrection(angle) != 0) return {};
    int turnedWidth = 0;
    int turnedHeight = 0;
    corrector.getRotImageSize(turnedWidth, turnedHeight);
    const unsigned char* const pixels = corrector.getRotImage();  // the corrector's, gone with it
    return {pixels, pixels + 3L * turnedWidth * turnedHeight};
}
//! [turn]

int main() {
    //! [log]
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    __android_log_set_logger([](const __android_log_message*) { ++lineCount; });
    //! [log]
    static unsigned char gray[pictureSize * pictureSize];
    paintHorizon(gray);
    const double turn = levellingTurn(gray, pictureSize, pictureSize, pictureSize, 0);
    unsigned char rgb[3 * 2 * 2] = {};
    const auto bytes = turned(rgb, 2, 2, 90.0).size();
    std::uint64_t state = 1;
    const unsigned word = rng(state, 7);
    std::printf("turn by %.2f degrees, %zu bytes, %d lines, %u\n", turn, bytes, lineCount, word);
    return turn == 0.0 && bytes == 12 && lineCount > 0 && word < 7 ? 0 : 1;
}
