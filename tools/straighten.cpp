#include "tools/straighten.h"

#include <cmath>
#include <utility>

#include "tools/metadata.h"
#include "tools/turn.h"

namespace skylevel {
namespace {

void setSize(const Photo& photo, StraightenResult& result) {
    result.format = photo.format;
    result.width = photo.uprightWidth();
    result.height = photo.uprightHeight();
    result.warnings = photo.warnings;
}

// Upright first: the decision's plane is then the same for all eight orientations of a photo, and never stretched.
Decision decideUpright(const Bytes& bytes, const StraightenOptions& options, StraightenResult& result) {
    Photo photo = decodePhoto(bytes, options.decision.gray, options.decision.maxPixels);
    setSize(photo, result);
    photo.picture = madeUpright(std::move(photo.picture), photo.orientation);
    photo.orientation = {};
    return decide(std::move(photo), options.decision);
}

Outcome outcomeOf(const Decision& decision, const StraightenOptions& options) {
    if (!decision.horizon) return Outcome::noHorizon;
    if (std::fabs(*decision.angle) < options.minAngle) return Outcome::level;
    return std::fabs(*decision.angle) > options.maxAngle ? Outcome::beyondLimit : Outcome::turned;
}

double levellingTurn(double angle) {
    TiltCorrection corrector(nullptr, 0, 0, 0);
    corrector.setRotAngle(angle);
    return corrector.getRotAngle();
}

// What would be lost or wrong in the result.
void checkTurnable(const Photo& photo) {
    if (!photo.complete) throw FileError("damaged, and so not straightened: " + photo.warnings.front());
    if (photo.format == PhotoFormat::jpeg && photo.jpegCoding.colours == JpegCoding::Colours::inks)
        throw FileError("in printing inks (CMYK), and so not straightened: its colour profile would no longer fit");
}

// The file for a turned photo, whose name must not promise another format unless that is how the photo came. A photo in
// a format that cannot be written becomes a JPEG where the name says so.
const std::string& outputFor(const StraightenJob& job, const Format& format) {
    const bool same = format.encode != nullptr;
    const std::string& name = same ? job.output : job.converted;
    const std::optional<PhotoFormat> promised = formatOfName(name);
    if (!same && promised != PhotoFormat::jpeg)
        throw FileError("is a " + std::string(format.title) +
                        " file, which cannot be written; -o FILE.jpg makes a JPEG");
    if (same && promised && *promised != format.id && promised != formatOfName(job.name))
        throw FileError("is a " + std::string(format.name) + " file and stays one, unlike " + name);
    return name;
}

[[noreturn]] void throwUnwritable(const std::string& name, const FileError& error) {
    throw FileError("cannot write " + name + ": " + error.what());
}

struct ReadFile {
    Bytes bytes;
    FileState state;
};

void write(const StraightenJob& job, const std::string& name, std::span<const unsigned char> bytes,
           const FileState& original, StraightenResult& result) {
    try {
        if (job.inFolder) makeFolderOf(name);
        writeFile(name, bytes, job.existing, job.replacesItself() ? std::optional(original) : std::nullopt);
    } catch (const FileError& error) {
        throwUnwritable(name, error);
    }
    result.output = name;
}

void writeTurned(const ReadFile& file, const StraightenJob& job, const StraightenOptions& options,
                 StraightenResult& result) {
    Photo photo = decodePhoto(file.bytes, PixelWish::stored, options.decision.maxPixels);
    checkTurnable(photo);
    const std::string& name = outputFor(job, formatOf(photo.format));
    setSize(photo, result);
    if (photo.bitDepth > 8)
        result.warnings.push_back(std::to_string(photo.bitDepth) + " bits a channel, written with 8");
    photo.picture = madeUpright(std::move(photo.picture), photo.orientation);
    photo.picture = turnedContent(std::move(photo.picture), result.turn, options.keepCanvas);
    result.newWidth = photo.picture.width;
    result.newHeight = photo.picture.height;
    result.newFormat = formatOf(photo.format).encode != nullptr ? photo.format : PhotoFormat::jpeg;
    const Bytes encoded = formatOf(result.newFormat).encode(photo, options.quality);
    photo.picture = {};
    const CarriedFile carried = carryMetadata(file.bytes, photo, encoded, result.newWidth, result.newHeight);
    result.warnings.insert(result.warnings.end(), carried.warnings.begin(), carried.warnings.end());
    write(job, name, carried.bytes, file.state, result);
}

void checkOutputs(const StraightenJob& job) {
    if (isFolder(job.name)) return;  // of which something else is to be said
    for (const std::string& name : {job.output, job.converted}) {
        try {
            checkExisting(name, job.existing);
        } catch (const FileError& error) {
            throwUnwritable(name, error);
        }
    }
}

void straighten(const StraightenJob& job, const StraightenOptions& options, StraightenResult& result) {
    checkOutputs(job);
    ReadFile file;
    file.bytes = readFile(job.name, requirePhoto, &file.state);
    if (options.angle) {
        result.outcome = std::fabs(*options.angle) < options.minAngle ? Outcome::level : Outcome::turned;
    } else {
        result.decision = decideUpright(file.bytes, options, result);
        result.outcome = outcomeOf(*result.decision, options);
    }
    if (result.outcome == Outcome::turned) {
        result.turn = options.angle ? *options.angle : levellingTurn(*result.decision->angle);
        writeTurned(file, job, options, result);
        return;
    }
    if (options.angle) setSize(decodePhoto(file.bytes, PixelWish::luma, options.decision.maxPixels), result);
    if (job.inFolder) write(job, job.output, file.bytes, file.state, result);
}

}  // namespace

StraightenResult straighten(const StraightenJob& job, const StraightenOptions& options) {
    StraightenResult result;
    result.error = failureOf([&] { straighten(job, options, result); });
    return result;
}

}  // namespace skylevel
