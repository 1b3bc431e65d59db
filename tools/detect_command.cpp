#include "tools/detect_command.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <set>

#include "tools/command_line.h"
#include "tools/command_parts.h"
#include "tools/csv.h"
#include "tools/files.h"
#include "tools/inputs.h"
#include "tools/report.h"

namespace skylevel {
namespace {

constexpr const char* summary = "Tells whether photos show a horizon, and at what angle it lies";

constexpr const char* notes =
    R"(A line per photo: its name, "horizon" or "no horizon", the angle and the stage
that decided (top edge, segment) or the reason why there is none. Angles are in
degrees, positive where the line falls to the right. The threshold is an upper
bound: a line that falls to the left passes however tilted it is.

A photo that its EXIF orientation turns by 90 or 270 degrees is decided in its
stored proportions, and so stretched. Its angle is given as it is in the upright
photo, followed by the one that met the threshold ("decided at").

Exit status: 0 when a photo has a horizon, 1 when none has, 2 on an error (but 0
with --quiet when a horizon was found), 128 plus the signal's number, such as 130
or 143, when one ended it.)";

// Name of the overlay for each photo: that of the photo, numbered where several would get the same.
class OverlayNames {
public:
    explicit OverlayNames(const std::string& folderName) : folder(folderName) {}

    std::string next(const Input& photo) {
        const std::filesystem::path place(photo.name == standardInput ? "stdin" : photo.place);
        const std::string stem = (place.parent_path() / place.stem()).string();
        std::string name = stem;
        for (int number = 2; !used.insert(name).second; ++number) name = stem + "-" + std::to_string(number);
        return (folder / (name + ".png")).string();
    }

private:
    std::filesystem::path folder;
    std::set<std::string> used;
};

// An overlay must not replace a photo, under whatever name the photo was given.
void protectPhotos(const std::vector<DetectJob>& jobs) {
    std::set<FileIdentity> photos;
    for (const DetectJob& job : jobs)
        if (const auto identity = identify(job.name)) photos.insert(*identity);
    for (const DetectJob& job : jobs) {
        const auto identity = job.overlay.empty() ? std::nullopt : identify(job.overlay);
        if (identity && photos.count(*identity) > 0)
            throw UsageError("the overlay " + job.overlay + " would replace a photo");
    }
}

}  // namespace

DetectCommand::DetectCommand(CLI::App& tool) : command(tool.add_subcommand("detect", summary)) {
    command->footer(notes);
    addBatchOptions(*command, batch);
    addDecisionOptions(*command, options);
    command->add_option("--orientation", options.turn, "Clockwise turn that makes the photos upright, instead of EXIF")
        ->check(CLI::IsMember({0, 90, 180, 270}).description(""))
        ->type_name("0|90|180|270");
    command->add_flag("-q,--quiet", batch.quiet, "No output but errors; stop at the first horizon");
    command->add_option("--overlay", overlay, "Draw the decision on the one photo given into a PNG file")
        ->check(checkNamed, "")
        ->type_name("FILE");
    command->add_option("--overlay-dir", overlayFolder, "Draw each photo's into DIR/NAME.png; DIR is made if missing")
        ->check(checkNamed, "")
        ->type_name("DIR");
    command->add_flag("--force", force, "Replace overlays that exist");
}

void DetectCommand::checkOptions() const {
    checkBatchOptions(batch);
    if (!overlay.empty() && !overlayFolder.empty()) throw UsageError("--overlay and --overlay-dir exclude each other");
}

std::vector<DetectJob> DetectCommand::makeJobs() const {
    std::vector<DetectJob> jobs;
    OverlayNames names(overlayFolder);
    const Existing existing = force ? Existing::replace : Existing::refuse;
    for (const Input& photo : findInputs(batch.photos, batch.recursive, overlayFolder))
        jobs.push_back(
            {photo.name, overlayFolder.empty() ? overlay : names.next(photo), !overlayFolder.empty(), existing});
    if (!overlay.empty() && jobs.size() > 1) throw UsageError("--overlay is for one photo; use --overlay-dir");
    protectPhotos(jobs);
    return jobs;
}

void DetectCommand::print(const DetectJob& job, const DetectResult& result) const {
    if (!result.error.empty()) complain(job.name, result.error);
    for (const std::string& warning : result.warnings) complain(job.name, "warning: " + warning);
    if (!result.overlayError.empty()) complain(job.overlay, result.overlayError);
    if (batch.json)
        putLine(reportJson(job, result, options));
    else if (batch.csv)
        putLine(reportCsv(job, result, options), csvEnd);
    else if (!batch.quiet && result.error.empty())
        putLine(reportLine(job, result));
}

int DetectCommand::run() {
    checkOptions();
    const std::vector<DetectJob> jobs = makeJobs();
    if (!overlayFolder.empty()) makeFolder(overlayFolder);
    if (batch.csv) putLine(detectCsvHeader(), csvEnd);
    Tally tally;
    runBatch<DetectResult>(
        batch, jobs.size(), [&](std::size_t photo) { return detect(jobs[photo], options); },
        [&](std::size_t photo, const DetectResult& result) {
            const DetectJob& job = jobs[photo];
            print(job, result);
            ++tally.photos;
            tally.read += result.error.empty() ? 1 : 0;
            tally.horizons += result.decision.horizon ? 1 : 0;
            tally.failed += result.error.empty() && result.overlayError.empty() ? 0 : 1;
            return !(batch.quiet && tally.horizons > 0 && job.overlay.empty());
        });
    if (batch.summary) tellSummary(tally);
    if (tally.failed > 0 && !(batch.quiet && tally.horizons > 0)) return batchStatus(trouble);
    return batchStatus(tally.horizons > 0 ? found : notFound);
}

}  // namespace skylevel
