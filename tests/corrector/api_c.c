/* The header comes first: it compiles as C11 without any other. */
#include "skylevel/skylevel.h"

/* A caller in C: a bright sky over dark ground, through the shared library alone. */
int main(void) {
    enum { width = 320, height = 240 };
    static unsigned char picture[height][width];
    bool hasHorizon = false;
    for (int row = 0; row < height; ++row)
        for (int column = 0; column < width; ++column) picture[row][column] = row < 120 ? 190 : 0;
    const int status = HorizonDetectionProcess(&picture[0][0], width, height, width, &hasHorizon, 0, 10.0);
    double angle = 0.0;
    const int refused = TiltCorrectionProcess(0, width, height, &angle, 10.0);
    return status == 0 && hasHorizon && refused == -1 ? 0 : 1;
}
