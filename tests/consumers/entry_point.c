/* An application in C: asks for the horizon of a picture through the entry point. */
#include <skylevel/skylevel.h>
#include <stdio.h>

#include "picture.h"

/*! [ask] */
int main(void) {
    static unsigned char picture[pictureSize * pictureSize];
    paintHorizon(picture);
    bool hasHorizon = false;
    const int status = HorizonDetectionProcess(picture, pictureSize, pictureSize, pictureSize, &hasHorizon, 0, 10.0);
    printf("status %d, %s\n", status, hasHorizon ? "a horizon" : "no horizon");
    return status == 0 && hasHorizon ? 0 : 1;
}
/*! [ask] */
