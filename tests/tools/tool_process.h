// The tool run as a process, and files for it.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tools/files.h"

struct ToolRun {
    int status = -1;         // of the exit; -1 when the process did not end by itself
    long peakKilobytes = 0;  // of memory that it held
    std::string out;
    std::string err;
};

// Sorted names of what a folder holds.
std::vector<std::string> namesIn(const std::string& folder);

// An empty folder that goes with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    std::string file(const std::string& name) const { return (path / name).string(); }
    std::vector<std::string> names() const { return namesIn(path.string()); }

private:
    std::filesystem::path path;
};

// The tool while it runs.
class ToolProcess {
public:
    // An empty standard input is a closed one.
    explicit ToolProcess(const std::vector<std::string>& arguments, const std::string& standardInput = "/dev/null",
                         const std::string& standardOutput = "");

    void send(int signal) const;
    // Opens a pipe for writing as soon as the tool reads it; -1 when it ends without.
    int openWhenRead(const std::string& pipe) const;
    // Waits for the end.
    ToolRun finish();

private:
    TemporaryFolder folder;
    std::string out;
    std::string err;
    pid_t child = -1;
};

ToolRun runTool(const std::vector<std::string>& arguments, const std::string& standardInput = "/dev/null",
                const std::string& standardOutput = "");

// A photo that comes with the tests.
std::string bundled(const std::string& name);

std::vector<std::string> linesOf(const std::string& text);
skylevel::Bytes bytesOf(const std::string& file);
void writeBytes(const std::string& file, const skylevel::Bytes& bytes);
