#include "tests/tools/tool_process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace {

void acceptAll(std::span<const unsigned char> /*start*/) {}

std::string textOf(const std::string& file) {
    const skylevel::Bytes bytes = bytesOf(file);
    return {bytes.begin(), bytes.end()};
}

}  // namespace

ToolProcess::ToolProcess(const std::vector<std::string>& arguments, const std::string& standardInput,
                         const std::string& standardOutput)
    : out(standardOutput.empty() ? folder.file("out") : standardOutput), err(folder.file("err")) {
    std::vector<std::string> words = {SKYLEVEL_TOOL_FILE};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers(words.size() + 1);
    std::transform(words.begin(), words.end(), pointers.begin(), [](std::string& word) { return word.data(); });

    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    if (standardInput.empty())
        posix_spawn_file_actions_addclose(&files, STDIN_FILENO);
    else
        posix_spawn_file_actions_addopen(&files, STDIN_FILENO, standardInput.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, out.c_str(), O_WRONLY | O_CREAT, 0600);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, err.c_str(), O_WRONLY | O_CREAT, 0600);
    if (posix_spawn(&child, SKYLEVEL_TOOL_FILE, &files, nullptr, pointers.data(), environ) != 0) child = -1;
    posix_spawn_file_actions_destroy(&files);
}

void ToolProcess::send(int signal) const {
    if (child > 0) ::kill(child, signal);
}

int ToolProcess::openWhenRead(const std::string& pipe) const {
    for (;;) {
        siginfo_t end = {};
        const int handle = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        if (handle >= 0 || child < 0) return handle;
        if (::waitid(P_PID, static_cast<id_t>(child), &end, WEXITED | WNOHANG | WNOWAIT) != 0 || end.si_pid != 0)
            return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

ToolRun ToolProcess::finish() {
    ToolRun run;
    int state = 0;
    rusage usage = {};
    if (child < 0 || wait4(child, &state, 0, &usage) != child) return run;
    run.peakKilobytes = usage.ru_maxrss;
    if (WIFEXITED(state)) run.status = WEXITSTATUS(state);
    if (std::filesystem::is_regular_file(out)) run.out = textOf(out);
    run.err = textOf(err);
    return run;
}

ToolRun runTool(const std::vector<std::string>& arguments, const std::string& standardInput,
                const std::string& standardOutput) {
    return ToolProcess(arguments, standardInput, standardOutput).finish();
}

std::string bundled(const std::string& name) { return SKYLEVEL_PHOTOS + name; }

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

skylevel::Bytes bytesOf(const std::string& file) { return skylevel::readFile(file, acceptAll); }

void writeBytes(const std::string& file, const skylevel::Bytes& bytes) {
    std::ofstream(file, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

TemporaryFolder::TemporaryFolder() {
    std::string pattern = testing::TempDir() + "skylevel-XXXXXX";
    if (mkdtemp(pattern.data()) != nullptr) path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
}

std::vector<std::string> namesIn(const std::string& folder) {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) result.push_back(entry.path().filename());
    std::sort(result.begin(), result.end());
    return result;
}
