#pragma once

#include <string>
#include <vector>

#include "tools/batch_command.h"
#include "tools/inputs.h"
#include "tools/straighten.h"

namespace CLI {
class App;
}

namespace skylevel {

// "skylevel straighten": its options, and what it does with them.
class StraightenCommand {
public:
    // The object must outlive the parser.
    explicit StraightenCommand(CLI::App& tool);

    bool isWanted() const;
    // Returns the exit status. Throws a UsageError, before anything is written, for options that contradict each other
    // and for outputs that would replace photos or each other.
    int run();

private:
    void checkOptions() const;
    bool outputIsFolder() const;
    std::string outputFor(const Input& photo) const;
    std::vector<StraightenJob> makeJobs() const;
    void print(const StraightenJob& job, const StraightenResult& result) const;

    CLI::App* command;
    StraightenOptions options;
    BatchOptions batch;
    std::string output;
    bool inPlace = false;
    bool force = false;
};

}  // namespace skylevel
