// An application in C++: uses the class and the free functions, and listens to the log.
#include <android/log.h>
#include <skylevel/analysis.h>
#include <skylevel/skylevel.h>

#include <cstdint>
#include <cstdio>

#include "picture.h"

static int lines = 0;

int main() {
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    __android_log_set_logger([](const __android_log_message*) { ++lines; });
    static unsigned char picture[pictureSize * pictureSize];
    paintHorizon(picture);
    TiltCorrection corrector(picture, pictureSize, pictureSize, pictureSize);
    const int status = corrector.detectHorizon(0);
    std::uint64_t state = 1;
    const unsigned word = rng(state, 7);
    std::printf("status %d, turn by %.2f degrees, %d lines, %u\n", status, corrector.getRotAngle(), lines, word);
    return status == 0 && corrector.getHasHorizon() && lines > 0 && word < 7 ? 0 : 1;
}
