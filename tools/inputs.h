// From the arguments of the command line to the photos.
#pragma once

#include <string>
#include <vector>

namespace skylevel {

struct Input {
    std::string name;  // to read it by; standardInput for standard input
    // Where it belongs below an output folder: its path from the folder that was walked, or its bare name.
    std::string place;
};

// The arguments with folders replaced by the photos in and below them when recursive, in the order of their names.
// Whatever is not hidden and has the extension of a photo counts as one. Links to folders are not followed, unless the
// argument is one; links to files are. A folder that cannot be listed stays in the list, as does a link of a photo's
// name that leads nowhere, for they will fail to be read. leftOut  a folder that is not entered when it is met below an
// argument; empty for none
std::vector<Input> findInputs(const std::vector<std::string>& arguments, bool recursive, const std::string& leftOut);

}  // namespace skylevel
