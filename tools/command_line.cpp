#include "tools/command_line.h"

#include <android/log.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "skylevel/skylevel.h"
#include "tools/detect_command.h"
#include "tools/interruption.h"
#include "tools/orientation_command.h"
#include "tools/photo.h"
#include "tools/report.h"
#include "tools/straighten_command.h"

namespace skylevel {
namespace {

std::string version() {
    std::string lines[3];  // of formats that are read and written, only read, left out
    for (const Format& format : formats()) {
        std::string& line = lines[format.decode == nullptr ? 2 : format.encode == nullptr ? 1 : 0];
        line += (line.empty() ? "" : ", ") + std::string(format.title);
        if (format.library != nullptr) line += " (" + format.library() + ")";
    }
    std::string text = "skylevel " SKYLEVEL_VERSION_STRING "\nreads and writes: " + lines[0];
    if (!lines[1].empty()) text += "\nreads: " + lines[1];
    return lines[2].empty() ? text : text + "\nnot built in: " + lines[2];
}

// CLI11 takes an argument in square brackets for a list of arguments, and ++ for their end.
std::string literally(const std::string& argument) {
    const bool list = argument.size() >= 2 && argument.front() == '[' && argument.back() == ']';
    return list || argument == "++" ? "./" + argument : argument;
}

// The arguments in reverse, as the parser wants them. It takes -.5 for an option, also where only a number can stand.
std::vector<std::string> reversedArguments(int count, char** arguments) {
    std::vector<std::string> reversed;
    bool optionsOver = false;
    for (int i = 1; i < count; ++i) {
        std::string argument = literally(arguments[i]);
        const std::string_view before = arguments[i - 1];
        const bool number = !optionsOver && (before == "--angle" || arguments[1] == std::string_view("orientation"));
        if (number && argument.starts_with("-.")) argument.insert(1, "0");
        optionsOver = optionsOver || argument == "--";
        reversed.push_back(std::move(argument));
    }
    std::reverse(reversed.begin(), reversed.end());
    return reversed;
}

int refuse(const std::string& reason) {
    std::fprintf(stderr, "skylevel: %s\nTry 'skylevel --help' or 'skylevel COMMAND --help'.\n",
                 printable(reason).c_str());
    return trouble;
}

// Lines that did not reach standard output are an error even if everything else went well.
int afterOutput(int status) {
    const bool written = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
    if (written || interruption() == SIGPIPE) return status;
    std::fprintf(stderr, "skylevel: standard output: %s\n", std::generic_category().message(errno).c_str());
    return trouble;
}

}  // namespace

int runCommandLine(int argumentCount, char** arguments) {
    CLI::App tool("Does a picture show a horizon, and at what angle? And what does it look like, straight?",
                  "skylevel");
    tool.set_version_flag("--version", version(), "Print the version and the formats that can be read and written");
    tool.require_subcommand(1);
    tool.footer("'skylevel COMMAND --help' describes a command.");
    DetectCommand detectCommand(tool);
    StraightenCommand straightenCommand(tool);
    OrientationCommand orientationCommand(tool);
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    try {
        tool.parse(reversedArguments(argumentCount, arguments));
        if (straightenCommand.isWanted()) return afterOutput(straightenCommand.run());
        if (orientationCommand.isWanted()) return afterOutput(orientationCommand.run());
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
