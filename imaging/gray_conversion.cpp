// Colour to gray in 16-bit integers, exact all the same.
//
// N = 299 red + 587 green + 114 blue is a thousand times the gray value. The double sum truncates to
// N / 1000 for every pixel except some of those where 1000 divides N: there it can land just below.
// Blocks with such a pixel, few in colour photos and all in those without colour, are done again in double.
#include "imaging/gray_conversion.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/dispatch.h"

namespace skylevel {
namespace {

static_assert(std::endian::native == std::endian::little, "the first byte of a word is its low one");

constexpr int blockPixels = 32;
constexpr int blockBytes = 3 * blockPixels;

using Bytes = unsigned char __attribute__((vector_size(blockPixels)));
using Words = std::uint16_t __attribute__((vector_size(blockPixels)));
using SignedWords = std::int16_t __attribute__((vector_size(blockPixels)));

// Up to a block's pixels. By way of int arrays, which the compilers convert twice as fast as bytes.
SKYLEVEL_KERNEL void convertInDouble(const unsigned char* rgb, unsigned char* gray, int count) {
    int red[blockPixels];
    int green[blockPixels];
    int blue[blockPixels];
    for (int i = 0; i < count; ++i, rgb += 3) {
        red[i] = rgb[0];
        green[i] = rgb[1];
        blue[i] = rgb[2];
    }
    for (int i = 0; i < count; ++i) red[i] = static_cast<int>((red[i] * 0.299 + green[i] * 0.587) + blue[i] * 0.114);
    for (int i = 0; i < count; ++i) gray[i] = static_cast<unsigned char>(red[i]);
}

// Of red, green and blue: N, and an estimate of 256 N / 1000 that falls short by less than 256.
constexpr int sumWeights[3] = {299, 587, 114};
constexpr int estimateWeights[3] = {76, 150, 29};
constexpr int shortfall(int channel) { return 256 * sumWeights[channel] - 1000 * estimateWeights[channel]; }
static_assert(shortfall(0) > 0 && shortfall(1) > 0 && shortfall(2) > 0);
static_assert(255 * (shortfall(0) + shortfall(1) + shortfall(2)) < 256 * 1000);
static_assert(255 * (estimateWeights[0] + estimateWeights[1] + estimateWeights[2]) + 256 <= 65535);

// The same factor in every lane. From a factor that they know the compilers make up to five shifts and
// adds in place of one product; not knowing it saves a quarter of the time.
SKYLEVEL_KERNEL Words splat(int factor) {
    const volatile auto opaque = static_cast<std::uint16_t>(factor);
    return Words{} + opaque;
}

// Sums are taken modulo 2^16. Two channels that share a word, low + 256 high, need not be parted:
// a low + b high = a word + (b - 256 a) high. The third fills both halves of its own word, so that the
// word is 257 times the channel; 65281 is the inverse of 257.
struct Factors {
    Words pair;
    Words high;
    Words third;

    SKYLEVEL_KERNEL Words sum(const Words& pairs, const Words& thirds) const {
        return pairs * pair + (pairs >> 8) * high + thirds * third;
    }
};

SKYLEVEL_KERNEL Factors factorsFor(int low, int high, int third) {
    return {splat(low), splat(high - 256 * low), splat(third * 65281)};
}

// Sixteen gray values from pixels whose channels come in one order.
struct Conversion {
    Factors estimate;
    Factors sum;
    Words minusThousand;

    // remainder becomes 0 where 1000 divides N, except for black, which both forms agree on.
    SKYLEVEL_KERNEL Words operator()(const Words& pairs, const Words& thirds, Words& remainder) const {
        // The level or one more: then the remainder, which lies between -1000 and 999, is negative.
        const Words level = (estimate.sum(pairs, thirds) + 256) >> 8;
        remainder = sum.sum(pairs, thirds) + level * minusThousand;
        return level + reinterpret_cast<Words>(reinterpret_cast<SignedWords>(remainder) >> 15);
    }
};

SKYLEVEL_KERNEL Conversion conversionFor(int low, int high, int third) {
    return {factorsFor(estimateWeights[low], estimateWeights[high], estimateWeights[third]),
            factorsFor(sumWeights[low], sumWeights[high], sumWeights[third]), splat(-1000)};
}

// A block is two lanes of 16 pixels, 24 words each; shuffles stay within lanes, for crossing them costs
// more. The words of a lane are, over and over, the red and green of an even pixel, its blue and the red
// of the odd pixel that follows, and that one's green and blue. Of the words w, w + 8 and w + 16 each is
// of another of these kinds.
enum Kind { redGreen, blueRed, greenBlue };

// holder: the third that holds this kind at word w.
template <Kind kind, int... word>
SKYLEVEL_KERNEL Words wordsOfKind(const Words (&thirds)[3], std::integer_sequence<int, word...>) {
    constexpr auto holder = [](int w) { return 2 * (kind + 9 - w % 8) % 3; };
    const Words first = __builtin_shufflevector(thirds[0], thirds[1], (holder(word) == 1 ? 16 + word : word)...);
    return __builtin_shufflevector(first, thirds[2], (holder(word) == 2 ? 16 + word : word)...);
}

// Both bytes of word w become the byte `half` of the word `step` further in the lane, round and round.
template <int step, int half, int... byte>
SKYLEVEL_KERNEL Words doubled(const Words& words, std::integer_sequence<int, byte...>) {
    const auto bytes = reinterpret_cast<Bytes>(words);
    return reinterpret_cast<Words>(
        __builtin_shufflevector(bytes, bytes, (byte / 16 * 16 + (byte / 2 + step) % 8 * 2 + half)...));
}

// Pixel i of a lane, even or odd, lies in word (3 i + 1) / 2 of its vector, counted round and round.
template <int... pixel>
SKYLEVEL_KERNEL Bytes inOrder(const Words& even, const Words& odd, std::integer_sequence<int, pixel...>) {
    return __builtin_shufflevector(reinterpret_cast<Bytes>(even), reinterpret_cast<Bytes>(odd),
                                   (pixel % 2 * 32 + pixel / 16 * 16 + (3 * (pixel % 16) + 1) / 2 % 8 * 2)...);
}

SKYLEVEL_KERNEL Words load(const unsigned char* bytes) {
    Words words;
    std::memcpy(&words, bytes, sizeof(words));
    return words;
}

// The words w, w + 8 and w + 16 of both lanes.
SKYLEVEL_KERNEL void loadThirds(const unsigned char* rgb, Words (&thirds)[3]) {
    const Words a = load(rgb);
    const Words b = load(rgb + 32);
    const Words c = load(rgb + 64);
    thirds[0] = __builtin_shufflevector(a, b, 0, 1, 2, 3, 4, 5, 6, 7, 24, 25, 26, 27, 28, 29, 30, 31);
    thirds[1] = __builtin_shufflevector(a, c, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23);
    thirds[2] = __builtin_shufflevector(b, c, 0, 1, 2, 3, 4, 5, 6, 7, 24, 25, 26, 27, 28, 29, 30, 31);
}

// Returns a word that is not 0 where the block may need to be done in double.
SKYLEVEL_KERNEL Words convertBlock(const unsigned char* rgb, unsigned char* gray, const Conversion& even,
                                   const Conversion& odd) {
    constexpr std::make_integer_sequence<int, 16> words;
    constexpr std::make_integer_sequence<int, 32> bytes;
    Words thirds[3];
    loadThirds(rgb, thirds);
    const Words mixed = wordsOfKind<blueRed>(thirds, words);
    Words remainders[2];
    const Words evenLevels = even(wordsOfKind<redGreen>(thirds, words), doubled<1, 0>(mixed, bytes), remainders[0]);
    const Words oddLevels = odd(wordsOfKind<greenBlue>(thirds, words), doubled<7, 1>(mixed, bytes), remainders[1]);
    const Bytes levels = inOrder(evenLevels, oddLevels, bytes);
    std::memcpy(gray, &levels, blockPixels);
    return reinterpret_cast<Words>((remainders[0] < remainders[1] ? remainders[0] : remainders[1]) == 0);
}

SKYLEVEL_KERNEL bool isAnySet(const Words& flags) {
    std::uint64_t parts[4];
    std::memcpy(parts, &flags, sizeof(parts));
    return (parts[0] | parts[1] | parts[2] | parts[3]) != 0;
}

// White is flagged but right: so pages and burnt-out skies stay fast.
SKYLEVEL_KERNEL bool isWhite(const unsigned char* rgb) {
    unsigned char common = 255;
    for (int i = 0; i < blockBytes; ++i) common &= rgb[i];
    return common == 255;
}

// Blocks whose flags are looked at together: a look at each at once would stall on every flagged one.
constexpr std::size_t run = 32;

SKYLEVEL_KERNEL void convertBlocks(const unsigned char* rgb, unsigned char* gray, std::size_t count) {
    constexpr int red = 0;
    constexpr int green = 1;
    constexpr int blue = 2;
    const Conversion even = conversionFor(red, green, blue);
    const Conversion odd = conversionFor(green, blue, red);
    for (std::size_t start = 0; start < count; start += run) {
        Words flags[run];
        const std::size_t end = std::min(start + run, count);
        for (std::size_t i = start; i < end; ++i)
            flags[i - start] = convertBlock(rgb + i * blockBytes, gray + i * blockPixels, even, odd);
        for (std::size_t i = start; i < end; ++i)
            if (isAnySet(flags[i - start]) && !isWhite(rgb + i * blockBytes))
                convertInDouble(rgb + i * blockBytes, gray + i * blockPixels, blockPixels);
    }
}

}  // namespace

void convertToGray(const unsigned char* rgb, unsigned char* gray, std::size_t count) {
    const std::size_t blocks = count / blockPixels;
    // In place, the first run would be overwritten before its flags are looked at.
    const std::size_t first = rgb == gray ? std::min(run, blocks) : 0;
    for (std::size_t i = 0; i < first; ++i) convertInDouble(rgb + i * blockBytes, gray + i * blockPixels, blockPixels);
    vectorised<convertBlocks>(rgb + first * blockBytes, gray + first * blockPixels, blocks - first);
    convertInDouble(rgb + blocks * blockBytes, gray + blocks * blockPixels, static_cast<int>(count % blockPixels));
}

}  // namespace skylevel
