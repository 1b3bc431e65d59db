#pragma once

#include <string>
#include <vector>

#include "tools/batch_command.h"
#include "tools/detect.h"

namespace CLI {
class App;
}

namespace skylevel {

// "skylevel detect": its options, and what it does with them.
class DetectCommand {
public:
    // The object must outlive the parser.
    explicit DetectCommand(CLI::App& tool);

    // Returns the exit status, in the manner of grep. Throws a UsageError for options that contradict each other.
    int run();

private:
    void checkOptions() const;
    std::vector<DetectJob> makeJobs() const;
    void print(const DetectJob& job, const DetectResult& result) const;

    CLI::App* command;
    DetectOptions options;
    BatchOptions batch;
    std::string overlay;
    std::string overlayFolder;
    bool force = false;
};

}  // namespace skylevel
