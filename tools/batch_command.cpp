#include "tools/batch_command.h"

#include <android/log.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <csignal>
#include <thread>

#include "tools/command_line.h"
#include "tools/interruption.h"

namespace skylevel {
namespace {

constexpr int mostJobs = 1024;

}  // namespace

void addBatchOptions(CLI::App& command, BatchOptions& options) {
    options.jobs = std::clamp(std::thread::hardware_concurrency(), 1U, unsigned{mostJobs});
    command.add_option("PHOTO", options.photos, "Photos, and folders with -r; - is standard input")
        ->required()
        ->type_name("");
    command.add_flag("-r,--recursive", options.recursive, "Take the photos in folders, too, and in the folders below");
    command.add_option("-j,--jobs", options.jobs, "Photos to work on at a time (default: the machine's cores)")
        ->check(CLI::Range(1, mostJobs).description(""))
        ->type_name("N");
    command.add_flag("--json", options.json, "A JSON object per photo and line, nothing else");
    command.add_flag("--csv", options.csv, "Comma-separated values with a header line, nothing else");
    command.add_flag("--summary", options.summary, "Tell on standard error how many photos there were of each kind");
    command.add_flag("--log", options.log,
                     "Show the library's diagnostic lines on standard error; one photo at a time");
}

void checkBatchOptions(const BatchOptions& options) {
    if (int{options.json} + int{options.csv} + int{options.quiet} > 1)
        throw UsageError("--json, --csv and --quiet exclude each other");
    if (options.log) __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
}

void putLine(const std::string& line, std::string_view end) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fwrite(end.data(), 1, end.size(), stdout);
}

void tellSummary(const Tally& tally) {
    std::string line = std::to_string(tally.photos) + (tally.photos == 1 ? " photo: " : " photos: ");
    line += std::to_string(tally.read) + " read";
    if (tally.decided) line += ", " + std::to_string(tally.horizons) + " with a horizon";
    if (tally.straightening)
        line += ", " + std::to_string(tally.straightened) + " straightened, " + std::to_string(tally.leftAlone) +
                " left alone";
    std::fprintf(stderr, "skylevel: %s, %zu failed\n", line.c_str(), tally.failed);
}

int batchStatus(int status) { return interruption() == 0 ? status : 128 + interruption(); }

void startBatch() { heedInterruptions(); }

void endBatch(std::size_t told, std::size_t count) {
    if (interruption() == 0 || interruption() == SIGPIPE) return;
    std::fprintf(stderr, "skylevel: interrupted after %zu of %zu photos\n", told, count);
}

}  // namespace skylevel
