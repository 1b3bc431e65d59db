#include "tools/command_line.h"

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <iostream>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "skylevel/skylevel.h"
#include "tools/detect_command.h"
#include "tools/photo.h"
#include "tools/report.h"

namespace skylevel {
namespace {

std::string version() { return "skylevel " SKYLEVEL_VERSION_STRING "\nreads: " + jpegLibrary() + ", " + pngLibrary(); }

// CLI11 takes an argument in square brackets for a list of arguments.
std::string literally(const std::string& argument) {
    const bool list = argument.size() >= 2 && argument.front() == '[' && argument.back() == ']';
    return list ? "./" + argument : argument;
}

int refuse(const std::string& reason) {
    std::fprintf(stderr, "skylevel: %s\nTry 'skylevel --help' or 'skylevel detect --help'.\n",
                 printable(reason).c_str());
    return trouble;
}

// Lines that did not reach standard output are an error even if everything else went well.
int afterOutput(int status) {
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
    std::fprintf(stderr, "skylevel: standard output: %s\n", std::generic_category().message(errno).c_str());
    return trouble;
}

}  // namespace

int runCommandLine(int argumentCount, char** arguments) {
    CLI::App tool("Does a picture show a horizon, and at what angle?", "skylevel");
    tool.set_version_flag("--version", version(), "Print the version and the formats that can be read");
    tool.require_subcommand(1);
    tool.footer("'skylevel COMMAND --help' describes a command.");
    DetectCommand detectCommand(tool);
    try {
        std::vector<std::string> reversed;  // as the parser wants it
        for (int i = argumentCount - 1; i > 0; --i) reversed.push_back(literally(arguments[i]));
        tool.parse(std::move(reversed));
        return afterOutput(detectCommand.run());
    } catch (const CLI::Success& wish) {  // help or version
        tool.exit(wish);
        std::cout.flush();
        return afterOutput(0);
    } catch (const CLI::ParseError& error) {
        const std::vector<std::string> unknown = tool.remaining(true);
        return refuse(unknown.empty() ? error.what() : "unknown argument: " + unknown.front());
    } catch (const UsageError& error) {
        return refuse(error.what());
    }
}

}  // namespace skylevel
