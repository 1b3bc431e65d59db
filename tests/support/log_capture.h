// The library's diagnostic lines, read through the log's own hook.
#pragma once

#include <android/log.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using Lines = std::vector<std::string>;

// Collects every line, debug ones included, while it lives; expects the library's tag on each.
struct LogCapture {
    LogCapture() {
        lines.clear();
        __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
        __android_log_set_logger([](const __android_log_message* line) {
            EXPECT_STREQ(line->tag, "TILT_CORRECTION");
            lines.push_back(std::string{"??VDIWEF"[line->priority], ' '} + line->message);
        });
    }
    ~LogCapture() {
        __android_log_set_logger(nullptr);
        __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
    }

    // The lines since the last call: "D ", "I " or "E " for the priority, then the text.
    static Lines take() { return std::exchange(lines, {}); }

    inline static Lines lines;
};
