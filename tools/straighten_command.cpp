#include "tools/straighten_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <map>

#include "tools/command_line.h"
#include "tools/command_parts.h"
#include "tools/files.h"
#include "tools/straighten_report.h"

namespace skylevel {
namespace {

namespace fs = std::filesystem;

constexpr const char* summary = "Turns photos level and cuts off the empty corners";

constexpr const char* notes =
    R"(Decides like "skylevel detect", on the upright photo. A photo with a horizon is
turned, and the largest centred rectangle of its proportions without empty corners
is cut out. One without, or already level, or too tilted, is left alone: with
-o DIR it is copied as it is, otherwise nothing is written. A line per photo says
what was done.

The result has the photo's format and its metadata: only the orientation, the pixel
sizes and the thumbnail in EXIF change. A file that exists is not replaced, and the
photo itself never, unless --force or --in-place says so.

Exit status: 0 when a photo was turned, 1 when none had to be, 2 on an error.)";

// Where a name leads in the end, as far as it exists.
std::string resolved(const std::string& name) {
    std::error_code error;
    const fs::path path = fs::weakly_canonical(name, error);
    return error ? name : path.string();
}

}  // namespace

StraightenCommand::StraightenCommand(CLI::App& tool) : command(tool.add_subcommand("straighten", summary)) {
    const auto degrees = [](double least, double most) {
        return [least, most](const std::string& text) { return checkDegrees(text, least, most); };
    };
    command->footer(notes);
    command->add_option("PHOTO", photos, "JPEG or PNG files; - is standard input")->required()->type_name("");
    command->add_option("-o,--output", output, "The file to write, or the folder; made if missing for several photos")
        ->type_name("FILE|DIR");
    command->add_flag("--in-place", inPlace, "Allow a photo to be replaced by its result; without -o, do so");
    command->add_flag("--force", force, "Replace other files that exist");
    command
        ->add_option("--angle", options.angle, "Turn the content by this angle, positive clockwise, and decide nothing")
        ->check(degrees(-180.0, 180.0))
        ->type_name("DEG");
    command->add_option("--min-angle", options.minAngle, "Leave photos alone that are closer to level (default 0.1)")
        ->check(degrees(0.0, 90.0))
        ->type_name("DEG");
    command->add_option("--max-angle", options.maxAngle, "Leave photos alone that are more tilted (default 15)")
        ->check(degrees(0.0, 90.0))
        ->type_name("DEG");
    command->add_flag("--keep-canvas", options.keepCanvas, "Keep the whole turned photo with its empty corners");
    command->add_option("--quality", options.quality, "Of a JPEG, 1 to 100 (default 95)")
        ->check(CLI::Range(1, 100).description(""))
        ->type_name("N");
    addDecisionOptions(*command, options.decision);
    command->add_flag("--json", json, "A JSON object per photo and line, nothing else");
    command->add_flag("-q,--quiet", quiet, "No output but errors");
}

bool StraightenCommand::isWanted() const { return command->parsed(); }

bool StraightenCommand::outputIsFolder() const {
    return !output.empty() && (photos.size() > 1 || output.back() == '/' || fs::is_directory(output));
}

void StraightenCommand::checkOptions() const {
    if (json && quiet) throw UsageError("--json and --quiet exclude each other");
    if (output.empty() && !inPlace) throw UsageError("-o FILE|DIR is missing");
    if (output == standardInput) throw UsageError("-o needs a file; nothing is written to standard output");
    if (photos.size() > 1 && !output.empty() && fs::exists(output) && !fs::is_directory(output))
        throw UsageError("-o must be a folder for several photos, and " + output + " is none");
    const bool nameNeeded = output.empty() || outputIsFolder();
    for (const std::string& photo : photos)
        if (photo == standardInput && nameNeeded) throw UsageError("standard input has no name; it needs -o FILE");
}

std::string StraightenCommand::outputFor(const std::string& photo) const {
    if (output.empty()) return resolved(photo);
    return outputIsFolder() ? (fs::path(output) / fs::path(photo).filename()).string() : output;
}

std::vector<StraightenJob> StraightenCommand::makeJobs() const {
    std::map<FileIdentity, std::string> inputs;
    for (const std::string& photo : photos)
        if (const auto identity = identify(photo)) inputs.emplace(*identity, photo);
    std::vector<StraightenJob> jobs;
    std::map<std::string, std::string> outputs;  // and the photos they come from
    for (const std::string& photo : photos) {
        StraightenJob job;
        job.name = photo;
        job.output = outputFor(photo);
        job.replace = force;
        const auto replaced = inputs.find(identify(job.output).value_or(FileIdentity()));
        if (replaced != inputs.end()) {
            if (identify(photo) != replaced->first)
                throw UsageError("the result of " + photo + " would replace the photo " + replaced->second);
            if (!inPlace) throw UsageError("the result of " + photo + " would replace it; --in-place allows that");
            job.output = resolved(job.output);  // the file, not a link to it
            job.replace = true;
        } else {
            job.copyLeftAlone = outputIsFolder();
        }
        const auto [other, isNew] = outputs.emplace(resolved(job.output), photo);
        if (!isNew) throw UsageError(other->second + " and " + photo + " would both be written to " + job.output);
        jobs.push_back(job);
    }
    return jobs;
}

void StraightenCommand::print(const StraightenJob& job, const StraightenResult& result) const {
    if (!result.error.empty()) complain(job.name, result.error);
    for (const std::string& warning : result.warnings) complain(job.name, "warning: " + warning);
    if (quiet || (!result.error.empty() && !json)) return;
    std::puts((json ? reportJson(job, result) : reportLine(job, result)).c_str());
}

int StraightenCommand::run() {
    checkOptions();
    const std::vector<StraightenJob> jobs = makeJobs();
    if (outputIsFolder()) makeFolder(output);
    bool anyTurned = false;
    bool anyError = false;
    for (const StraightenJob& job : jobs) {
        const StraightenResult result = straighten(job, options);
        print(job, result);
        anyError = anyError || !result.error.empty();
        anyTurned = anyTurned || (result.error.empty() && result.outcome == Outcome::turned);
    }
    if (anyError) return trouble;
    return anyTurned ? found : notFound;
}

}  // namespace skylevel
