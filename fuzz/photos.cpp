// Whole files through detect and straighten.
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>

#include "fuzz/input.h"
#include "tests/support/hash.h"
#include "tools/files.h"
#include "tools/straighten.h"

namespace {

namespace fs = std::filesystem;

constexpr std::int64_t mostPixels = 1 << 18;

// A folder of this process in memory, gone when it ends.
struct Folder {
    fs::path path = fs::path("/dev/shm") / ("skylevel-fuzz-" + std::to_string(::getpid()));
    Folder() { fs::create_directories(path); }
    ~Folder() { fs::remove_all(path); }
};

skylevel::Bytes contentOf(const std::string& name) {
    return skylevel::readFile(name, [](std::span<const unsigned char>) {});
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    const std::string photo = folder.path / "photo";
    const std::string output = folder.path / "output";
    const std::string converted = folder.path / "converted.jpg";  // of a format that cannot be written
    const skylevel::Bytes bytes(data, data + size);
    if (!skylevel::failureOf([&] { skylevel::requirePhoto(bytes); }).empty()) return -1;
    skylevel::writeFile(photo, bytes, skylevel::Existing::replace);
    for (const std::string& name : {output, converted}) fs::remove(name);

    skylevel::DetectOptions decision;
    decision.maxPixels = mostPixels;
    const skylevel::DetectResult detected =
        skylevel::detect({photo, folder.path / "overlay.png", false, skylevel::Existing::replace}, decision);
    fuzz::require(!detected.error.empty() || (detected.width > 0 && detected.height > 0), "a photo has a size");

    skylevel::StraightenOptions options;
    options.decision = decision;
    constexpr std::optional<double> angles[] = {5.0, -20.0, 0.0, std::nullopt};  // 0 leaves the photo alone
    // The bytes are a file and nothing else, so what is done with it follows from their hash.
    const std::uint64_t choice = fnv1a(bytes);
    options.angle = angles[choice % 4];
    options.keepCanvas = choice / 4 % 2 == 1;
    const bool inFolder = choice / 8 % 2 == 1;
    const skylevel::StraightenResult result =
        skylevel::straighten({photo, output, converted, inFolder, skylevel::Existing::replace}, options);
    const bool isTurned = result.outcome == skylevel::Outcome::turned;
    const bool isWritten = fs::exists(output) || fs::exists(converted);
    fuzz::require(isWritten == (result.error.empty() && (isTurned || inFolder)),
                  "a failure writes nothing, success writes a turned photo, and of a folder every one");
    fuzz::require(!isWritten || fs::exists(result.output), "the file that was told");
    fuzz::require(contentOf(photo) == bytes, "the photo stays");
    if (!isWritten) return 0;
    if (!isTurned) {
        fuzz::require(contentOf(result.output) == bytes, "a photo left alone is copied");
        return 0;
    }
    // The file that was written is a photo, and of the size that was told.
    const skylevel::DetectResult again = skylevel::detect({result.output, ""}, skylevel::DetectOptions());
    fuzz::require(again.error.empty() && again.width == result.newWidth && again.height == result.newHeight,
                  "the result can be read again");
    return 0;
}
