// Files as bytes: read whole, written whole or not at all.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace skylevel {

using Bytes = std::vector<unsigned char>;

// A reason to give up on one file; what() says it in words, without the file's name.
struct FileError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Does the work and returns why it failed; empty when it did not.
std::string failureOf(const std::function<void()>& work);

// Name of standard input on the command line.
constexpr const char* standardInput = "-";

// Which file it is, and in what state: another when somebody wrote to it or put a new one in its place.
struct FileState {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;
    std::int64_t modified = 0;  // nanoseconds
    std::int64_t changed = 0;   // of the file's attributes, too

    bool operator==(const FileState&) const = default;
};

// Reads a file or standard input to its end.
// accepts  sees the first bytes (at least 12 unless there are fewer) before the rest is read, and throws
//          when they will not do, so that a device or a huge file of another kind is not swallowed
// An interruption ends the wait for a pipe or a terminal with a FileError.
// state  gets what it was before the first byte was read; may be null
Bytes readFile(const std::string& name, void (*accepts)(std::span<const unsigned char> start),
               FileState* state = nullptr);

// Whether there is a folder of this name, or a link to one.
bool isFolder(const std::string& name);

// Makes the folders on the way to a file, as far as they are missing. Throws a FileError.
void makeFolderOf(const std::string& name);

enum class Existing { replace, refuse };

// Writes a file in one step: a failure leaves neither a partial file nor a changed one. A file that is replaced leaves
// its access rights to the new one, and its owner as far as the user may give files away; one that is to be refused is
// so even when it appears in the last moment.
// expected  what the file that is replaced must still be
void writeFile(const std::string& name, std::span<const unsigned char> bytes, Existing existing,
               const std::optional<FileState>& expected = {});

// Throws a FileError when there is something of this name that is to be refused: before the work, for writing does so
// again.
void checkExisting(const std::string& name, Existing existing);

}  // namespace skylevel
