/* The part of the Android log interface (API level 30) that skylevel and its callers use, for hosts
 * without one. Lines go to the logger function; the default one writes to stderr. */
#ifndef SKYLEVEL_HOST_ANDROID_LOG_H
#define SKYLEVEL_HOST_ANDROID_LOG_H

#include <stddef.h>
#include <stdint.h>

#define SKYLEVEL_LOG_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT
} android_LogPriority;

/** One line as the logger function receives it; the strings are valid during the call only. */
struct __android_log_message {
    size_t struct_size; /**< sizeof(struct __android_log_message) */
    int32_t buffer_id;  /**< 0, the main buffer */
    int32_t priority;   /**< an android_LogPriority */
    const char* tag;
    const char* file;    /**< always null here */
    uint32_t line;       /**< always 0 here */
    const char* message; /**< null-terminated, at most 1023 bytes before the terminator */
};

typedef void (*__android_logger_function)(const struct __android_log_message* log_message);

/** Formats a line and hands it to the logger function. A line below the minimum priority is not
 * formatted at all. Returns 1, or -EPERM for a line below the minimum. */
SKYLEVEL_LOG_API int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

/** Whether a line of this priority would be written: at or above the minimum priority, or
 * default_prio where none was set. */
SKYLEVEL_LOG_API int __android_log_is_loggable(int prio, const char* tag, int default_prio);

/** Sets the least priority that is written, for the whole process; info before the first call.
 * Returns the previous minimum, ANDROID_LOG_DEFAULT if none was set. May be called at any time. */
SKYLEVEL_LOG_API int32_t __android_log_set_minimum_priority(int32_t priority);

/** Sets the function that receives every line; null brings back the default, which writes to
 * stderr. May be called at any time; lines in flight may still reach the previous one. */
SKYLEVEL_LOG_API void __android_log_set_logger(__android_logger_function logger);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* SKYLEVEL_HOST_ANDROID_LOG_H */
