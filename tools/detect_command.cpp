#include "tools/detect_command.h"

#include <android/log.h>
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <set>
#include <system_error>
#include <utility>

#include "tools/command_line.h"
#include "tools/files.h"
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
with --quiet when a horizon was found).)";

std::string checkThreshold(const std::string& text) {
    double value = 0.0;
    // Written so that NaN fails.
    if (CLI::detail::lexical_cast(text, value) && value >= 0.0 && value <= 90.0) return {};
    return "must be a number of degrees from 0 to 90";
}

// Name of the overlay for each photo: that of the photo, numbered where several would get the same.
class OverlayNames {
public:
    explicit OverlayNames(const std::string& folderName) : folder(folderName) {}

    std::string next(const std::string& photo) {
        const std::string stem = photo == standardInput ? "stdin" : std::filesystem::path(photo).stem().string();
        std::string name = stem;
        for (int number = 2; !used.insert(name).second; ++number) name = stem + "-" + std::to_string(number);
        return (folder / (name + ".png")).string();
    }

private:
    std::filesystem::path folder;
    std::set<std::string> used;
};

using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<FileIdentity> identify(const std::string& name) {
    struct stat status = {};
    if (::stat(name.c_str(), &status) != 0) return {};
    return FileIdentity(status.st_dev, status.st_ino);
}

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

void makeFolder(const std::string& name) {
    std::error_code error;
    std::filesystem::create_directories(name, error);
    if (error) throw UsageError(name + ": " + error.message());
}

void complain(const std::string& name, const std::string& reason) {
    std::fprintf(stderr, "skylevel: %s: %s\n", displayName(name).c_str(), printable(reason).c_str());
}

}  // namespace

DetectCommand::DetectCommand(CLI::App& tool) : command(tool.add_subcommand("detect", summary)) {
    command->footer(notes);
    command->add_option("PHOTO", photos, "JPEG or PNG files; - is standard input")->required()->type_name("");
    command->add_option("--threshold", options.threshold, "Largest angle of a horizon, 0 to 90 (default 10)")
        ->check(checkThreshold)
        ->type_name("DEG");
    command->add_option("--gray", gray, "Gray plane: luma (default), the photo's own where it has one, or rgb")
        ->check(CLI::IsMember({"luma", "rgb"}).description(""))
        ->type_name("luma|rgb");
    command->add_option("--orientation", options.turn, "Clockwise turn that makes the photos upright, instead of EXIF")
        ->check(CLI::IsMember({0, 90, 180, 270}).description(""))
        ->type_name("0|90|180|270");
    command->add_option("--max-pixels", options.maxPixels, "Refuse larger photos (default 500000000)")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
        ->type_name("N");
    command->add_flag("--json", json, "A JSON object per photo and line, nothing else");
    command->add_flag("-q,--quiet", quiet, "No output but errors; stop at the first horizon");
    command->add_option("--overlay", overlay, "Draw the decision on the one photo given into a PNG file")
        ->type_name("FILE");
    command->add_option("--overlay-dir", overlayFolder, "Draw each photo's into DIR/NAME.png; DIR is made if missing")
        ->type_name("DIR");
    command->add_flag("--log", log, "Show the library's diagnostic lines on standard error");
}

void DetectCommand::checkOptions() const {
    if (json && quiet) throw UsageError("--json and --quiet exclude each other");
    if (!overlay.empty() && !overlayFolder.empty()) throw UsageError("--overlay and --overlay-dir exclude each other");
    if (!overlay.empty() && photos.size() > 1) throw UsageError("--overlay is for one photo; use --overlay-dir");
}

std::vector<DetectJob> DetectCommand::makeJobs() const {
    std::vector<DetectJob> jobs;
    OverlayNames names(overlayFolder);
    for (const std::string& photo : photos)
        jobs.push_back({photo, overlayFolder.empty() ? overlay : names.next(photo)});
    protectPhotos(jobs);
    return jobs;
}

void DetectCommand::print(const DetectJob& job, const DetectResult& result) const {
    if (!result.error.empty()) complain(job.name, result.error);
    for (const std::string& warning : result.warnings) complain(job.name, "warning: " + warning);
    if (!result.overlayError.empty()) complain(job.overlay, result.overlayError);
    if (quiet || (!result.error.empty() && !json)) return;
    std::puts((json ? reportJson(job, result, options) : reportLine(job, result)).c_str());
}

int DetectCommand::run() {
    checkOptions();
    options.gray = gray == "rgb" ? PixelWish::rgb : PixelWish::luma;
    __android_log_set_minimum_priority(log ? ANDROID_LOG_DEBUG : ANDROID_LOG_SILENT);
    const std::vector<DetectJob> jobs = makeJobs();
    if (!overlayFolder.empty()) makeFolder(overlayFolder);
    bool anyHorizon = false;
    bool anyError = false;
    for (const DetectJob& job : jobs) {
        const DetectResult result = detect(job, options);
        print(job, result);
        anyHorizon = anyHorizon || result.decision.horizon;
        anyError = anyError || !result.error.empty() || !result.overlayError.empty();
        if (quiet && anyHorizon && job.overlay.empty()) break;
    }
    if (anyError && !(quiet && anyHorizon)) return trouble;
    return anyHorizon ? found : notFound;
}

}  // namespace skylevel
