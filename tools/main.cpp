#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <exception>

#include "tools/command_line.h"
#include "tools/report.h"

namespace {

// Whoever closed a standard stream is to get an error from it, not what the tool opens in its place.
void fillStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0)
            static_cast<void>(::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY));
}

}  // namespace

int main(int argumentCount, char** arguments) {
    fillStandardStreams();
    // A write beyond the limit on a file's size is to fail, so that the file is removed.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        return skylevel::runCommandLine(argumentCount, arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "skylevel: %s\n", skylevel::printable(error.what()).c_str());
        return 2;
    }
}
