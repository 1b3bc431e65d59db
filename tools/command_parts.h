// What the commands have in common.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>

#include "tools/detect.h"

namespace CLI {
class App;
}

namespace skylevel {

// --threshold, --gray and --max-pixels. The options must outlive the parser.
void addDecisionOptions(CLI::App& command, DetectOptions& options);

// A check for an option: an error text unless the argument is a number in this range. NaN is in none.
std::string checkDegrees(const std::string& text, double least, double most);

// A check for an option: an error text for an empty name.
std::string checkNamed(const std::string& name);

// One line on standard error.
void complain(const std::string& name, const std::string& reason);

// Which file a name leads to, through links too; nothing when there is none.
using FileIdentity = std::pair<dev_t, ino_t>;
std::optional<FileIdentity> identify(const std::string& name);

// Makes a folder unless it is there. Throws a UsageError.
void makeFolder(const std::string& name);

}  // namespace skylevel
