// What the commands have in common that work on many photos.
#pragma once

#include <cstddef>
#include <cstdio>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/batch.h"
#include "tools/progress.h"

namespace CLI {
class App;
}

namespace skylevel {

struct BatchOptions {
    std::vector<std::string> photos;  // and folders
    bool recursive = false;
    std::size_t jobs = 1;  // at a time
    bool json = false;
    bool csv = false;
    bool quiet = false;
    bool summary = false;
    bool log = false;

    // The log's lines are to stand with the photo's.
    std::size_t workers() const { return log ? 1 : jobs; }
};

// The options must outlive the parser.
void addBatchOptions(CLI::App& command, BatchOptions& options);

// Throws a UsageError for options that contradict each other.
void checkBatchOptions(const BatchOptions& options);

// A line on standard output.
void putLine(const std::string& line, std::string_view end = "\n");

// How many photos there were of each kind.
struct Tally {
    bool decided = true;         // whether a horizon was looked for
    bool straightening = false;  // whether photos were straightened or left alone
    std::size_t photos = 0;
    std::size_t read = 0;
    std::size_t horizons = 0;
    std::size_t straightened = 0;
    std::size_t leftAlone = 0;
    std::size_t failed = 0;
};

// On standard error, which keeps standard output for the data.
void tellSummary(const Tally& tally);

// Of the command: that of its work, or what an interruption makes of it.
int batchStatus(int status);

// For runBatch.
void startBatch();
void endBatch(std::size_t told, std::size_t count);

// Does work(i) for each photo, side by side, and tell(i, its result) in order, until tell returns false, standard
// output fails or a signal comes. Meanwhile a terminal shows the progress.
template <typename Result>
void runBatch(const BatchOptions& options, std::size_t count, const std::function<Result(std::size_t)>& work,
              const std::function<bool(std::size_t, const Result&)>& tell) {
    startBatch();
    ProgressBar progress(options.quiet || options.log ? 0 : count);
    const std::function<bool(std::size_t, const Result&)> show = [&](std::size_t photo, const Result& result) {
        progress.erase();
        const bool goOn = tell(photo, result);
        std::fflush(stdout);
        progress.draw(photo + 1);
        return goOn && std::ferror(stdout) == 0;
    };
    const std::function<Result(std::size_t)> workSafely = [&](std::size_t photo) {
        try {
            return work(photo);
        } catch (...) {  // not even the reason could be told
            Result failed;
            failed.error = "out of memory";  // short enough to need none
            return failed;
        }
    };
    const std::size_t told = runInOrder(count, options.workers(), workSafely, show);
    progress.erase();
    endBatch(told, count);
}

}  // namespace skylevel
