// Made-up pictures: integer arithmetic only, so that every machine measures the same pixels.
#pragma once

#include <vector>

namespace bench {

using Bytes = std::vector<unsigned char>;

struct Size {
    int width;
    int height;

    int pixels() const { return width * height; }
    auto operator<=>(const Size&) const = default;
};

enum class Scene {
    sea,  // sky over waves, the horizon falls gently to the right: many short, flat edges
    busy  // overlapping boxes: edges in every direction, many of them straight
};

// A packed gray plane. Detail scales with the size, grain does not.
Bytes paint(Scene scene, Size size);

// The sea with some colour in it; packed RGB.
Bytes paintColour(Size size);

}  // namespace bench
