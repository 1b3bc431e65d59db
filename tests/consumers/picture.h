/* A bright sky over dark ground. */
enum { pictureSize = 400 };

static inline void paintHorizon(unsigned char* picture) {
    for (int i = 0; i < pictureSize * pictureSize; ++i) picture[i] = i < pictureSize * 250 ? 200 : 60;
}
