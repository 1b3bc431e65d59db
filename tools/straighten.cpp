#include "tools/straighten.h"

#include <cmath>
#include <exception>
#include <filesystem>
#include <new>
#include <utility>

#include "tools/jpeg_writer.h"
#include "tools/metadata.h"
#include "tools/png_writer.h"
#include "tools/turn.h"

namespace skylevel {
namespace {

void setSize(const Photo& photo, StraightenResult& result) {
    result.format = photo.format;
    result.width = photo.orientation.exchangesSides() ? photo.picture.height : photo.picture.width;
    result.height = photo.orientation.exchangesSides() ? photo.picture.width : photo.picture.height;
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

// A name must not promise another format than the photo's, unless that is how the photo came.
void checkName(const StraightenJob& job, PhotoFormat format) {
    const std::optional<PhotoFormat> promised = formatOfName(job.output);
    if (!promised || *promised == format || promised == formatOfName(job.name)) return;
    throw FileError("is a " + std::string(formatName(format)) + " file and stays one, unlike " + job.output);
}

// The file of the turned photo.
Bytes turnedFile(const Bytes& bytes, const StraightenJob& job, const StraightenOptions& options,
                 StraightenResult& result) {
    Photo photo = decodePhoto(bytes, PixelWish::stored, options.decision.maxPixels);
    checkTurnable(photo);
    checkName(job, photo.format);
    setSize(photo, result);
    if (photo.bitDepth > 8)
        result.warnings.push_back(std::to_string(photo.bitDepth) + " bits a channel, written with 8");
    photo.picture = madeUpright(std::move(photo.picture), photo.orientation);
    photo.picture = turnedContent(std::move(photo.picture), result.turn, options.keepCanvas);
    result.newWidth = photo.picture.width;
    result.newHeight = photo.picture.height;
    const Bytes encoded = photo.format == PhotoFormat::png
                              ? encodePng(photo.picture)
                              : encodeJpeg(photo.picture, photo.jpegCoding, options.quality);
    photo.picture = {};
    CarriedFile carried = carryMetadata(bytes, photo, encoded, result.newWidth, result.newHeight);
    result.warnings.insert(result.warnings.end(), carried.warnings.begin(), carried.warnings.end());
    return std::move(carried.bytes);
}

void write(const StraightenJob& job, std::span<const unsigned char> bytes, StraightenResult& result) {
    try {
        if (job.inFolder) makeFolderOf(job.output);
        writeFile(job.output, bytes, job.replace ? Existing::replace : Existing::refuse);
    } catch (const FileError& error) {
        throw FileError("cannot write " + job.output + ": " + error.what());
    }
    result.written = true;
}

// Before the work, for writing refuses it again.
void checkExisting(const StraightenJob& job) {
    namespace fs = std::filesystem;
    if (!job.replace && fs::exists(fs::symlink_status(job.output)) && !fs::is_directory(job.name))
        throw FileError("cannot write " + job.output + ": it exists, and --force was not given");
}

void straighten(const StraightenJob& job, const StraightenOptions& options, StraightenResult& result) {
    checkExisting(job);
    const Bytes bytes = readFile(job.name, requirePhoto);
    result.outcome = Outcome::turned;
    if (options.angle) {
        result.turn = *options.angle;
    } else {
        result.decision = decideUpright(bytes, options, result);
        result.outcome = outcomeOf(*result.decision, options);
    }
    if (result.outcome != Outcome::turned) {
        if (job.inFolder) write(job, bytes, result);
        return;
    }
    if (!options.angle) result.turn = levellingTurn(*result.decision->angle);
    write(job, turnedFile(bytes, job, options, result), result);
}

}  // namespace

StraightenResult straighten(const StraightenJob& job, const StraightenOptions& options) {
    StraightenResult result;
    try {
        straighten(job, options, result);
    } catch (const std::bad_alloc&) {
        result.error = "not enough memory";
    } catch (const std::exception& error) {
        result.error = error.what();
    }
    return result;
}

}  // namespace skylevel
