#pragma once

#include <vector>

namespace CLI {
class App;
}

namespace skylevel {

// "skylevel orientation": the quarter turn for a gravity reading.
class OrientationCommand {
public:
    // The object must outlive the parser.
    explicit OrientationCommand(CLI::App& tool);

    bool isWanted() const;
    // Returns the exit status.
    int run() const;

private:
    CLI::App* command;
    std::vector<float> gravity;
};

}  // namespace skylevel
