#pragma once

#include <stdexcept>

namespace skylevel {

// Exit statuses in the manner of grep.
enum ExitStatus { found = 0, notFound = 1, trouble = 2 };

// Arguments that cannot be followed; what() says why.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The whole tool: parses the arguments, does what they ask for and returns the exit status.
int runCommandLine(int argumentCount, char** arguments);

}  // namespace skylevel
