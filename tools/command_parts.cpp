#include "tools/command_parts.h"

#include <sys/stat.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <limits>
#include <system_error>

#include "tools/command_line.h"
#include "tools/files.h"
#include "tools/report.h"

namespace skylevel {

void addDecisionOptions(CLI::App& command, DetectOptions& options) {
    command.add_option("--threshold", options.threshold, "Largest angle of a horizon, 0 to 90 (default 10)")
        ->check([](const std::string& text) { return checkDegrees(text, 0.0, 90.0); })
        ->type_name("DEG");
    command
        .add_option_function<std::string>(
            "--gray",
            [&options](const std::string& kind) { options.gray = kind == "rgb" ? PixelWish::rgb : PixelWish::luma; },
            "Gray plane: luma (default), the photo's own where it has one, or rgb")
        ->check(CLI::IsMember({"luma", "rgb"}).description(""))
        ->type_name("luma|rgb");
    command.add_option("--max-pixels", options.maxPixels, "Refuse larger photos (default 500000000)")
        ->check(CLI::Range(1, std::numeric_limits<int>::max()).description(""))
        ->type_name("N");
}

std::string checkDegrees(const std::string& text, double least, double most) {
    double value = 0.0;
    // Written so that NaN fails.
    if (CLI::detail::lexical_cast(text, value) && value >= least && value <= most) return {};
    char reason[80];
    std::snprintf(reason, sizeof(reason), "must be a number of degrees from %g to %g", least, most);
    return reason;
}

std::string checkNamed(const std::string& name) { return name.empty() ? "needs a name" : ""; }

void complain(const std::string& name, const std::string& reason) {
    std::fprintf(stderr, "skylevel: %s: %s\n", displayName(name).c_str(), printable(reason).c_str());
}

std::optional<FileIdentity> identify(const std::string& name) {
    struct stat status = {};
    if ((name == standardInput ? ::fstat(STDIN_FILENO, &status) : ::stat(name.c_str(), &status)) != 0) return {};
    return FileIdentity(status.st_dev, status.st_ino);
}

void makeFolder(const std::string& name) {
    std::error_code error;
    std::filesystem::create_directories(name, error);
    if (error) throw UsageError(name + ": " + error.message());
}

}  // namespace skylevel
