// Diagnostic lines of the library. A macro, so that the compiler checks the arguments against the
// format and the platform's own function is the only thing imported.
#pragma once

#include <android/log.h>

#define SKYLEVEL_LOG_TAG "TILT_CORRECTION"

#define SKYLEVEL_LOG_DEBUG(...) static_cast<void>(__android_log_print(ANDROID_LOG_DEBUG, SKYLEVEL_LOG_TAG, __VA_ARGS__))
#define SKYLEVEL_LOG_INFO(...) static_cast<void>(__android_log_print(ANDROID_LOG_INFO, SKYLEVEL_LOG_TAG, __VA_ARGS__))
#define SKYLEVEL_LOG_ERROR(...) static_cast<void>(__android_log_print(ANDROID_LOG_ERROR, SKYLEVEL_LOG_TAG, __VA_ARGS__))
