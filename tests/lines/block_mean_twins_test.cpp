// The mean's sums side by side, against one sum after the other.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "skylevel/skylevel.h"
#include "tests/support/guarded.h"
#include "tests/support/scenes.h"

TEST(MeanTwins, AgreeAtEverySize) {
    TiltCorrection corrector(nullptr, 0, 0, 0);
    Random random(41);
    // Round a vector, and round the rounds after which 16-bit sums of 255 are full.
    std::vector<int> counts = {64 * 257 - 1, 64 * 257, 64 * 257 + 1, 64 * 258, 3 * 64 * 257 + 65};
    for (int count = 1; count <= 200; ++count) counts.push_back(count);
    for (const int count : counts)
        for (const bool full : {true, false}) {
            const Bytes values(count);
            std::generate(values.begin(), values.end(), [&] { return full ? 255 : random.below(256); });
            double mean = -1.0;
            EXPECT_EQ(corrector.mean(values.data(), count, mean), 0);
            EXPECT_EQ(mean, std::accumulate(values.begin(), values.end(), 0) / static_cast<double>(count)) << count;
        }
}
