// EXIF blocks: what is read from them, and how they are changed for a new picture.
#include <vector>

#include "fuzz/input.h"
#include "tools/exif.h"
#include "tools/exif_patch.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // A vector that is exactly full, for the sanitizer to watch its end.
    const std::vector<unsigned char> block(data, data + size);
    const unsigned orientation = skylevel::exifOrientation(block);
    fuzz::require(orientation >= 1 && orientation <= 8, "an orientation is one of eight");

    skylevel::Bytes patched = block;
    skylevel::patchExif(patched, 640, 480);
    fuzz::require(patched.size() <= block.size(), "a block never grows");
    fuzz::require(skylevel::exifOrientation(patched) == 1, "the new picture is upright");
    return 0;
}
