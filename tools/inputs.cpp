#include "tools/inputs.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "tools/command_parts.h"
#include "tools/files.h"
#include "tools/photo.h"

namespace skylevel {
namespace {

namespace fs = std::filesystem;

class Walk {
public:
    explicit Walk(const std::string& leftOutFolder) {
        if (!leftOutFolder.empty()) leftOut = identify(leftOutFolder);
    }

    std::vector<Input> inputs;

    // The folder's entries in order. Links are not followed, so that the depth is that of the tree.
    void addFolder(const fs::path& folder, const fs::path& place) {
        std::vector<fs::directory_entry> entries;
        std::error_code error;
        for (fs::directory_iterator next(folder, error), end; !error && next != end; next.increment(error))
            entries.push_back(*next);
        std::sort(entries.begin(), entries.end());
        for (const fs::directory_entry& entry : entries) addEntry(entry, place);
        if (error) inputs.push_back({folder.string(), place.string()});
    }

private:
    void addEntry(const fs::directory_entry& entry, const fs::path& place) {
        const fs::path name = entry.path().filename();
        if (name.string().starts_with('.')) return;
        std::error_code ignored;
        if (!entry.is_symlink(ignored) && entry.is_directory(ignored)) {
            const bool entered = !leftOut || identify(entry.path().string()) != leftOut;
            if (entered) addFolder(entry.path(), place / name);
        } else if (const fs::file_status status = entry.status(ignored);
                   formatOfName(name.string()) && (fs::is_regular_file(status) || !fs::exists(status))) {
            inputs.push_back({entry.path().string(), (place / name).string()});
        }
    }

    std::optional<FileIdentity> leftOut;
};

}  // namespace

std::vector<Input> findInputs(const std::vector<std::string>& arguments, bool recursive, const std::string& leftOut) {
    Walk walk(leftOut);
    for (const std::string& argument : arguments) {
        const std::size_t before = walk.inputs.size();
        if (!recursive || argument == standardInput || !isFolder(argument)) {
            walk.inputs.push_back({argument, fs::path(argument).filename().string()});
            continue;
        }
        walk.addFolder(argument, {});
        if (walk.inputs.size() == before) complain(argument, "no photos in this folder");
    }
    return std::move(walk.inputs);
}

}  // namespace skylevel
