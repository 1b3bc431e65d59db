#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/command_line.h"

int main(int argumentCount, char** arguments) {
    // A write beyond the limit on a file's size is to fail, so that the file is removed.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return skylevel::runCommandLine(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "skylevel: %s\n", error.what());
        return 2;
    }
}
