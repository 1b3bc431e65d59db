#include "tools/straighten_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <map>
#include <optional>

#include "tools/command_line.h"
#include "tools/command_parts.h"
#include "tools/csv.h"
#include "tools/files.h"
#include "tools/straighten_report.h"

namespace skylevel {
namespace {

namespace fs = std::filesystem;

constexpr const char* summary = "Turns photos level and cuts off the empty corners";

constexpr const char* notes =
    R"(Decides like "skylevel detect", on the upright photo. A photo with a horizon is
turned, and the largest centred rectangle of its proportions without empty corners
is cut out. One without, or already level, or too tilted, is left alone, as is one
that --angle would turn by less than --min-angle: with -o DIR it is copied as it is,
otherwise nothing is written. A line per photo says what was done.

The result has the photo's format and its metadata: only the orientation, the pixel
sizes and the thumbnail in EXIF change, and tiff:Orientation in XMP. Dropped are a
JPEG's MPF and JFXX segments and JFIF thumbnail, a PNG's sBIT, bKGD, hIST and sPLT,
and chunks of a WebP file that the format does not know. HEIC cannot be written:
such a photo becomes a JPEG where -o is the name of one, and in DIR, when it has to
be turned. With -r, DIR gets the folders of the one that was given. A file that
exists is not replaced, and the photo itself never, unless --force or --in-place
says so.

Exit status: 0 when a photo was turned, 1 when none had to be, 2 on an error, 128
plus the signal's number, such as 130 or 143, when one ended it; then the photos
that were begun are finished.)";

// Where a name leads in the end, as far as it exists.
std::string resolved(const std::string& name) {
    std::error_code error;
    const fs::path path = fs::weakly_canonical(name, error);
    return error ? name : path.string();
}

[[noreturn]] void refuseReplacing(const std::string& photo, const std::string& other) {
    throw UsageError("the result of " + photo + " would replace the photo " + other);
}

// Which files are read and written, so that none is written twice or instead of a photo.
class OutputNames {
public:
    explicit OutputNames(const std::vector<Input>& inputs) {
        for (const Input& photo : inputs)
            if (const auto identity = identify(photo.name)) photos.emplace(*identity, photo.name);
    }

    // The photo that a name leads to.
    std::optional<std::string> photoAt(const std::string& name) const {
        const auto photo = photos.find(identify(name).value_or(FileIdentity()));
        return photo == photos.end() ? std::nullopt : std::optional(photo->second);
    }

    void claim(const std::string& name, const std::string& photo) {
        const auto [other, isNew] = outputs.emplace(resolved(name), photo);
        if (isNew) return;
        if (other->second == photo) throw UsageError(photo + " was given twice");
        throw UsageError(other->second + " and " + photo + " would both be written to " + name);
    }

    // Where a turned photo goes instead when the name's format can only be read; numbered where the name is taken.
    std::string convertedName(const std::string& name) {
        const std::optional<PhotoFormat> format = formatOfName(name);
        if (!format || formatOf(*format).encode != nullptr) return name;
        const std::string stem = fs::path(name).replace_extension().string();
        std::string converted = stem + ".jpg";
        for (int number = 2; photoAt(converted) || !outputs.emplace(resolved(converted), name).second; ++number)
            converted = stem + "-" + std::to_string(number) + ".jpg";
        return converted;
    }

private:
    std::map<FileIdentity, std::string> photos;
    std::map<std::string, std::string> outputs;  // and the photos they come from
};

}  // namespace

StraightenCommand::StraightenCommand(CLI::App& tool) : command(tool.add_subcommand("straighten", summary)) {
    const auto degrees = [](double least, double most) {
        return [least, most](const std::string& text) { return checkDegrees(text, least, most); };
    };
    command->footer(notes);
    addBatchOptions(*command, batch);
    command->add_option("-o,--output", output, "The file to write, or the folder; made if missing for several photos")
        ->check(checkNamed, "")
        ->type_name("FILE|DIR");
    command->add_flag("--in-place", inPlace, "Allow a photo to be replaced by its result; without -o, do so");
    command->add_flag("--force", force, "Replace other files that exist");
    command
        ->add_option("--angle", options.angle, "Turn the content by this angle, positive clockwise, and decide nothing")
        ->check(degrees(-180.0, 180.0))
        ->type_name("DEG");
    command
        ->add_option("--min-angle", options.minAngle, "Leave photos alone that would be turned by less (default 0.1)")
        ->check(degrees(0.0, 90.0))
        ->type_name("DEG");
    command->add_option("--max-angle", options.maxAngle, "Leave photos alone whose horizon is more tilted (default 15)")
        ->check(degrees(0.0, 90.0))
        ->type_name("DEG");
    command->add_flag("--keep-canvas", options.keepCanvas, "Keep the whole turned photo with its empty corners");
    command->add_option("--quality", options.quality, "Of a JPEG or a lossy WebP, 1 to 100 (default 95)")
        ->check(CLI::Range(1, 100).description(""))
        ->type_name("N");
    addDecisionOptions(*command, options.decision);
    command->add_flag("-q,--quiet", batch.quiet, "No output but errors");
}

bool StraightenCommand::isWanted() const { return command->parsed(); }

bool StraightenCommand::outputIsFolder() const {
    if (output.empty()) return false;
    const bool several = batch.photos.size() > 1 || (batch.recursive && isFolder(batch.photos.front()));
    return several || output.back() == '/' || isFolder(output);
}

void StraightenCommand::checkOptions() const {
    checkBatchOptions(batch);
    if (output.empty() && !inPlace) throw UsageError("-o FILE|DIR is missing");
    if (output == standardInput) throw UsageError("-o needs a file; nothing is written to standard output");
    if (outputIsFolder() && identify(output) && !isFolder(output))
        throw UsageError("-o must be a folder for several photos, and " + output + " is none");
    const bool nameNeeded = output.empty() || outputIsFolder();
    for (const std::string& photo : batch.photos)
        if (photo == standardInput && nameNeeded) throw UsageError("standard input has no name; it needs -o FILE");
}

std::string StraightenCommand::outputFor(const Input& photo) const {
    if (output.empty()) return resolved(photo.name);
    return outputIsFolder() ? (fs::path(output) / photo.place).string() : output;
}

std::vector<StraightenJob> StraightenCommand::makeJobs() const {
    const std::vector<Input> photos = findInputs(batch.photos, batch.recursive, outputIsFolder() ? output : "");
    OutputNames names(photos);
    std::vector<StraightenJob> jobs;
    for (const Input& photo : photos) {
        StraightenJob job;
        job.name = photo.name;
        job.output = outputFor(photo);
        job.existing = force ? Existing::replace : Existing::refuse;
        job.converted = job.output;
        if (const auto replaced = names.photoAt(job.output)) {
            if (identify(photo.name) != identify(*replaced)) refuseReplacing(photo.name, *replaced);
            if (!inPlace) throw UsageError("the result of " + photo.name + " would replace it; --in-place allows that");
            job.output = resolved(job.output);  // the file, not a link to it
            job.converted.clear();
            job.existing = Existing::replace;
        } else {
            job.inFolder = outputIsFolder();
        }
        names.claim(job.output, photo.name);
        jobs.push_back(job);
    }
    // Once all names are known that nothing else will do for.
    for (StraightenJob& job : jobs)
        if (job.inFolder) job.converted = names.convertedName(job.output);
    return jobs;
}

void StraightenCommand::print(const StraightenJob& job, const StraightenResult& result) const {
    if (!result.error.empty()) complain(job.name, result.error);
    for (const std::string& warning : result.warnings) complain(job.name, "warning: " + warning);
    if (batch.json)
        putLine(reportJson(job, result));
    else if (batch.csv)
        putLine(reportCsv(job, result), csvEnd);
    else if (!batch.quiet && result.error.empty())
        putLine(reportLine(job, result));
}

int StraightenCommand::run() {
    checkOptions();
    const std::vector<StraightenJob> jobs = makeJobs();
    if (outputIsFolder()) makeFolder(output);
    if (batch.csv) putLine(straightenCsvHeader(), csvEnd);
    Tally tally;
    tally.decided = !options.angle;
    tally.straightening = true;
    runBatch<StraightenResult>(
        batch, jobs.size(), [&](std::size_t photo) { return straighten(jobs[photo], options); },
        [&](std::size_t photo, const StraightenResult& result) {
            print(jobs[photo], result);
            const bool failed = !result.error.empty();
            ++tally.photos;
            tally.read += result.width > 0 ? 1 : 0;
            tally.horizons += result.decision && result.decision->horizon ? 1 : 0;
            tally.straightened += !failed && result.outcome == Outcome::turned ? 1 : 0;
            tally.leftAlone += !failed && result.outcome != Outcome::turned ? 1 : 0;
            tally.failed += failed ? 1 : 0;
            return true;
        });
    if (batch.summary) tellSummary(tally);
    if (tally.failed > 0) return batchStatus(trouble);
    return batchStatus(tally.straightened > 0 ? found : notFound);
}

}  // namespace skylevel
