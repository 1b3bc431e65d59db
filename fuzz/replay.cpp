// A fuzz target as an ordinary program: gives it every file that is named, and every file of a folder.
// Files are reached through C, which the memory sanitizer knows; the standard library's own streams and
// folders are not instrumented.
#include <dirent.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/input.h"

namespace {

int replayed = 0;

void replayFile(const std::string& path) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file) {
        std::perror(path.c_str());
        std::exit(1);
    }
    std::vector<unsigned char> bytes;
    for (int byte; (byte = std::fgetc(file.get())) != EOF;) bytes.push_back(static_cast<unsigned char>(byte));
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);  // names the file that is in work when the process dies
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    ++replayed;
}

void replay(const std::string& path) {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir(path.c_str()), &closedir);
    if (!folder) return replayFile(path);
    while (const dirent* const entry = readdir(folder.get()))
        if (entry->d_name[0] != '.') replay(path + '/' + entry->d_name);
}

}  // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) replay(arguments[i]);
    std::printf("%d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
