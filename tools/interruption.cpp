#include "tools/interruption.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>

namespace skylevel {
namespace {

std::atomic<int> received{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");
int wakeUp[2] = {-1, -1};

void note(int signal) {
    const int error = errno;
    int none = 0;
    received.compare_exchange_strong(none, signal);
    // A pipe that is full wakes as well.
    static_cast<void>(!::write(wakeUp[1], "", 1));
    errno = error;
}

}  // namespace

void heedInterruptions() {
    if (wakeUp[0] < 0 && ::pipe2(wakeUp, O_CLOEXEC | O_NONBLOCK) != 0) return;
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = SA_RESTART;  // nothing that is being written breaks off
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        struct sigaction before = {};
        if (::sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            ::sigaction(signal, &action, nullptr);
    }
}

int interruption() { return received.load(); }

int interruptionDescriptor() { return wakeUp[0]; }

}  // namespace skylevel
