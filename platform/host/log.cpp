// Stand-in for the Android log on other hosts.
#include <android/log.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

// As on the platform: longer lines are cut.
constexpr std::size_t lineCapacity = 1024;

char priorityLetter(int priority) {
    constexpr char letters[] = "??VDIWEFS";
    return priority >= 0 && priority < static_cast<int>(sizeof(letters)) - 1 ? letters[priority] : '?';
}

void writeToStderr(const __android_log_message* message) {
    // One call a line, so that lines of several threads do not mix.
    const std::size_t length = std::strlen(message->message);
    const bool ended = length > 0 && message->message[length - 1] == '\n';
    std::fprintf(stderr, "%c %s: %s%s", priorityLetter(message->priority), message->tag, message->message,
                 ended ? "" : "\n");
}

std::atomic<std::int32_t> minimumPriority{ANDROID_LOG_DEFAULT};
std::atomic<__android_logger_function> currentLogger{&writeToStderr};

}  // namespace

int __android_log_is_loggable(int prio, const char* /*tag*/, int default_prio) {
    const std::int32_t minimum = minimumPriority.load(std::memory_order_relaxed);
    return prio >= (minimum == ANDROID_LOG_DEFAULT ? default_prio : minimum) ? 1 : 0;
}

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    if (__android_log_is_loggable(prio, tag, ANDROID_LOG_INFO) == 0) return -EPERM;
    char line[lineCapacity];
    std::va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(line, sizeof(line), fmt, arguments);
    va_end(arguments);
    if (length < 0) return -EINVAL;
    const __android_log_message message = {
        sizeof(__android_log_message), 0, prio, tag != nullptr ? tag : "", nullptr, 0, line};
    currentLogger.load(std::memory_order_acquire)(&message);
    return 1;
}

std::int32_t __android_log_set_minimum_priority(std::int32_t priority) {
    return minimumPriority.exchange(priority, std::memory_order_relaxed);
}

void __android_log_set_logger(__android_logger_function logger) {
    currentLogger.store(logger != nullptr ? logger : &writeToStderr, std::memory_order_release);
}
