// Whole files through detect and straighten.
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "fuzz/input.h"
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

bool isPhoto(const skylevel::Bytes& bytes) {
    try {
        skylevel::requirePhoto(bytes);
        return true;
    } catch (const skylevel::FileError&) {
        return false;
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    const std::string photo = folder.path / "photo";
    const std::string output = folder.path / "output";
    const std::string converted = folder.path / "converted.jpg";  // of a format that cannot be written
    const skylevel::Bytes bytes(data, data + size);
    if (!isPhoto(bytes)) return -1;
    skylevel::writeFile(photo, bytes, skylevel::Existing::replace);
    for (const std::string& name : {output, converted}) fs::remove(name);

    skylevel::DetectOptions decision;
    decision.maxPixels = mostPixels;
    const skylevel::DetectResult detected =
        skylevel::detect({photo, folder.path / "overlay.png", false, skylevel::Existing::replace}, decision);
    fuzz::require(!detected.error.empty() || (detected.width > 0 && detected.height > 0), "a photo has a size");

    skylevel::StraightenOptions options;
    options.decision = decision;
    options.angle = 5.0;
    const skylevel::StraightenResult result =
        skylevel::straighten({photo, output, converted, false, skylevel::Existing::replace}, options);
    const bool isWritten = fs::exists(output) || fs::exists(converted);
    fuzz::require(isWritten == result.error.empty(), "a failure writes nothing, success writes a file");
    fuzz::require(!isWritten || fs::exists(result.output), "the file that was told");
    fuzz::require(fs::file_size(photo) == size, "the photo stays");
    if (!isWritten) return 0;
    // An empty look at the result: it can be read and has the size that was told.
    const skylevel::DetectResult again = skylevel::detect({result.output, ""}, skylevel::DetectOptions());
    fuzz::require(again.error.empty() && again.width == result.newWidth && again.height == result.newHeight,
                  "the result can be read again");
    return 0;
}
