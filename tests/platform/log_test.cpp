// The log on hosts without the platform's own.
#include <android/log.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/support/guarded.h"

TEST(Log, PassesLinesFromAMinimumPriorityUp) {
    static std::string received;
    const auto print = [](int priority, const char* word) {
        received.clear();
        __android_log_print(priority, "tag", "<%s>", word);
        return received;
    };
    const Bytes nothing(0);  // formatting it would crash
    const auto* const trap = reinterpret_cast<const char*>(nothing.data());
    __android_log_set_logger([](const __android_log_message* m) {
        received += std::to_string(m->struct_size - sizeof(*m) + m->priority) + m->tag + ":" + m->message;
    });
    EXPECT_EQ(print(ANDROID_LOG_DEBUG, trap), "");
    EXPECT_EQ(print(ANDROID_LOG_INFO, "a"), "4tag:<a>");
    EXPECT_EQ(print(ANDROID_LOG_INFO, std::string(5000, 'x').c_str()), "4tag:<" + std::string(1022, 'x'));
    EXPECT_EQ(__android_log_is_loggable(ANDROID_LOG_DEBUG, "tag", ANDROID_LOG_DEBUG), 1);
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    EXPECT_EQ(print(ANDROID_LOG_DEBUG, "b"), "3tag:<b>");
    EXPECT_EQ(__android_log_set_minimum_priority(ANDROID_LOG_ERROR), ANDROID_LOG_DEBUG);
    EXPECT_EQ(print(ANDROID_LOG_WARN, trap), "");
    EXPECT_EQ(__android_log_is_loggable(ANDROID_LOG_WARN, "tag", ANDROID_LOG_DEBUG), 0);

    __android_log_set_logger(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(print(ANDROID_LOG_ERROR, "words"), "");
    EXPECT_NE(testing::internal::GetCapturedStderr().find("tag: <words>\n"), std::string::npos);
    __android_log_set_minimum_priority(ANDROID_LOG_DEFAULT);
}
