#include <cstdio>
#include <exception>

#include "tools/command_line.h"

int main(int argumentCount, char** arguments) {
    try {
        return skylevel::runCommandLine(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "skylevel: %s\n", error.what());
        return 2;
    }
}
