#include "tools/files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

#include "tools/interruption.h"

namespace skylevel {
namespace {

constexpr std::size_t firstRead = 4096;
constexpr std::size_t longestStep = std::size_t{1} << 20;
// More than any photo has; an endless stream ends here.
constexpr std::uint64_t sizeLimit = std::uint64_t{1} << 32;

[[noreturn]] void throwErrno() { throw FileError(std::generic_category().message(errno)); }

std::int64_t nanoseconds(const timespec& time) { return std::int64_t{time.tv_sec} * 1'000'000'000 + time.tv_nsec; }

FileState stateOf(const struct stat& status) {
    return {status.st_dev, status.st_ino, status.st_size, nanoseconds(status.st_mtim), nanoseconds(status.st_ctim)};
}

class Descriptor {
public:
    explicit Descriptor(int number) : handle(number) {
        if (handle < 0) throwErrno();
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (handle > STDERR_FILENO) ::close(handle);
    }

    // Fills the buffer unless the file ends first; returns the bytes read.
    std::size_t read(std::span<unsigned char> buffer) const {
        std::size_t filled = 0;
        while (filled < buffer.size()) {
            wait();
            const ssize_t count = ::read(handle, buffer.data() + filled, buffer.size() - filled);
            if (count < 0 && (errno == EINTR || errno == EAGAIN)) continue;
            if (count < 0 && errno == EISDIR) throw FileError("is a folder; -r takes the photos in it");
            if (count < 0) throwErrno();
            if (count == 0) break;
            filled += static_cast<std::size_t>(count);
        }
        return filled;
    }

    void write(std::span<const unsigned char> bytes) const {
        while (!bytes.empty()) {
            const ssize_t count = ::write(handle, bytes.data(), std::min(bytes.size(), longestStep));
            if (count < 0 && errno == EINTR) continue;
            if (count < 0) throwErrno();
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        }
    }

    // So that a machine that stops cannot leave the new name without the new bytes.
    void sync() const {
        if (::fsync(handle) != 0 && errno != EINVAL) throwErrno();  // EINVAL: nothing to sync here
    }

    // As far as the file system has any. A file can be given away by the superuser, and to a group by its members. What
    // the old group was allowed is nothing for another.
    void setOwnerAndRights(const struct stat& like) const {
        const bool groupKept = ::fchown(handle, static_cast<uid_t>(-1), like.st_gid) == 0;
        static_cast<void>(!::fchown(handle, like.st_uid, static_cast<gid_t>(-1)));
        static_cast<void>(::fchmod(handle, like.st_mode & (groupKept ? 0777 : 0707)));
    }

    // The size is 0 of a pipe or a device.
    FileState state() const {
        struct stat status = {};
        const bool known = ::fstat(handle, &status) == 0 && S_ISREG(status.st_mode);
        return known ? stateOf(status) : FileState();
    }

    // Some file systems report a full disk only here.
    void close() {
        if (::close(std::exchange(handle, -1)) != 0) throwErrno();
    }

private:
    // For something to read, of which a pipe or a terminal may have nothing for long.
    void wait() const {
        pollfd both[] = {{handle, POLLIN, 0}, {interruptionDescriptor(), POLLIN, 0}};
        while (::poll(both, std::size(both), -1) < 0)
            if (errno != EINTR) throwErrno();
        if (both[0].revents == 0) throw FileError("interrupted");
    }

    int handle;
};

// A new file with the usual access rights beside the one it will replace; removed unless it was kept.
class TemporaryFile {
public:
    explicit TemporaryFile(const std::filesystem::path& target) : file(create(target, path)) {}
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (!path.empty()) ::unlink(path.c_str());
    }

    void setOwnerAndRights(const struct stat& like) const { file.setOwnerAndRights(like); }
    void fill(std::span<const unsigned char> bytes) { file.write(bytes); }
    void sync() const { file.sync(); }
    void close() { file.close(); }
    void keepAs(const std::filesystem::path& target, Existing existing) {
        const unsigned flags = existing == Existing::refuse ? RENAME_NOREPLACE : 0;
        int failure = ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, target.c_str(), flags);
        if (failure != 0 && (errno == EINVAL || errno == ENOSYS) && !isToBeRefused(target, existing))
            failure = ::rename(path.c_str(), target.c_str());
        if (failure != 0) throwErrno();
        path.clear();
    }

private:
    // For file systems that cannot refuse by themselves. Sets errno.
    static bool isToBeRefused(const std::filesystem::path& target, Existing existing) {
        struct stat status = {};
        if (existing != Existing::refuse || ::lstat(target.c_str(), &status) != 0) return false;
        errno = EEXIST;
        return true;
    }
    static int create(const std::filesystem::path& target, std::filesystem::path& created) {
        static std::atomic<unsigned> serial{0};
        for (;;) {
            const std::string name = ".skylevel-" + std::to_string(::getpid()) + "-" + std::to_string(serial++);
            const std::filesystem::path candidate = target.parent_path() / name;
            const int handle = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
            if (handle < 0 && errno == EEXIST) continue;
            if (handle >= 0) created = candidate;
            return handle;
        }
    }

    std::filesystem::path path;
    Descriptor file;
};

// A file that is to be replaced, if there is one. A device or a folder never is.
std::optional<struct stat> replacedFile(const std::string& name) {
    struct stat status = {};
    if (::stat(name.c_str(), &status) != 0) return {};
    if (!S_ISREG(status.st_mode)) throw FileError("exists and is not a file");
    return status;
}

void requireUnchanged(const std::string& name, const FileState& expected) {
    struct stat status = {};
    if (::stat(name.c_str(), &status) != 0 || stateOf(status) != expected) throw FileError("changed meanwhile");
}

void requireReadableSize(std::uint64_t size) {
    if (size > sizeLimit) throw FileError("larger than 4 GiB");
}

}  // namespace

std::string failureOf(const std::function<void()>& work) {
    try {
        work();
        return {};
    } catch (const std::bad_alloc&) {
        return "not enough memory";
    } catch (const std::exception& error) {
        return error.what();
    }
}

Bytes readFile(const std::string& name, void (*accepts)(std::span<const unsigned char> start), FileState* state) {
    // Not to wait for somebody who fills a pipe: that is done where it can be interrupted.
    const int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    const Descriptor file(name == standardInput ? STDIN_FILENO : ::open(name.c_str(), flags));
    const FileState stateBefore = file.state();
    const auto size = static_cast<std::uint64_t>(stateBefore.size);
    if (state != nullptr) *state = stateBefore;
    Bytes bytes;
    for (;;) {
        const std::size_t before = bytes.size();
        const std::size_t step = std::clamp(before, firstRead, longestStep);
        bytes.resize(before + step);
        const std::size_t count = file.read(std::span(bytes).subspan(before));
        bytes.resize(before + count);
        if (before == 0) {
            accepts(bytes);
            requireReadableSize(size);
            bytes.reserve(size + longestStep);  // or growing would take up to twice the memory
        }
        if (count < step) return bytes;
        requireReadableSize(bytes.size());
    }
}

bool isFolder(const std::string& name) {
    struct stat status = {};
    return ::stat(name.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

void makeFolderOf(const std::string& name) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    if (error) throw FileError(error.message());
}

void writeFile(const std::string& name, std::span<const unsigned char> bytes, Existing existing,
               const std::optional<FileState>& expected) {
    const std::optional<struct stat> replaced = replacedFile(name);
    TemporaryFile temporary(name);
    if (replaced) temporary.setOwnerAndRights(*replaced);
    temporary.fill(bytes);
    if (replaced) temporary.sync();  // a file is about to go for it
    temporary.close();
    if (expected) requireUnchanged(name, *expected);
    temporary.keepAs(name, existing);
}

void checkExisting(const std::string& name, Existing existing) {
    struct stat status = {};
    if (existing == Existing::refuse && ::lstat(name.c_str(), &status) == 0)
        throw FileError("exists, and --force was not given");
}

}  // namespace skylevel
