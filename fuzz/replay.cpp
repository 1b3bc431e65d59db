// A fuzz target as an ordinary program: gives it every file that is named, and every file of a folder.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz/input.h"

namespace {

int replayed = 0;

void replay(const std::filesystem::path& path) {
    if (std::filesystem::is_directory(path)) {
        for (const auto& entry : std::filesystem::directory_iterator(path)) replay(entry.path());
        return;
    }
    std::ifstream file(path, std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);  // names the file that is in work when the process dies
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++replayed;
}

}  // namespace

int main(int count, char** arguments) {
    for (int i = 1; i < count; ++i) replay(arguments[i]);
    std::printf("%d inputs\n", replayed);
    return replayed > 0 ? 0 : 1;
}
