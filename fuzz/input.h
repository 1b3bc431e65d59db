// What the fuzzer's bytes are read as, and what is asked of results.
#pragma once

#include <android/log.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace fuzz {

// Lines are formatted, as in an application, and then dropped.
inline const bool logIsDropped = [] {
    __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
    __android_log_set_logger([](const __android_log_message*) {});
    return true;
}();

// Ends the process where a promise is broken, so that the fuzzer keeps the input.
inline void require(bool holds, const char* promise) {
    if (holds) return;
    std::fprintf(stderr, "broken promise: %s\n", promise);
    std::abort();
}

// Memory of exactly count elements, for the sanitizer to watch both ends of. All bytes are 0xA5 at first.
template <typename T>
class Buffer {
public:
    explicit Buffer(std::size_t count) : m_count(count), m_data(new T[count]) {
        std::memset(static_cast<void*>(m_data.get()), 0xA5, count * sizeof(T));
    }
    T* data() const { return m_data.get(); }
    std::size_t size() const { return m_count; }
    T& operator[](std::size_t i) const { return m_data[i]; }

    bool operator==(const Buffer& other) const {
        return m_count == other.m_count && std::memcmp(data(), other.data(), m_count * sizeof(T)) == 0;
    }
    bool untouched() const { return *this == Buffer(m_count); }
    Buffer copy() const {
        Buffer other(m_count);
        std::memcpy(static_cast<void*>(other.data()), data(), m_count * sizeof(T));
        return other;
    }

private:
    std::size_t m_count;
    std::unique_ptr<T[]> m_data;
};

using Bytes = Buffer<unsigned char>;

class Input {
public:
    Input(const unsigned char* data, std::size_t size) : m_at(data), m_left(size) {}

    bool empty() const { return m_left == 0; }

    // A number of any bit pattern; the bytes that are missing at the end are 0.
    template <typename T>
    T raw() {
        T value = {};
        const std::size_t count = m_left < sizeof(T) ? m_left : sizeof(T);
        if (count > 0) std::memcpy(&value, m_at, count);
        m_at += count;
        m_left -= count;
        return value;
    }

    int between(int least, int most) {
        return least + static_cast<int>(raw<std::uint16_t>() % static_cast<unsigned>(most - least + 1));
    }

    template <typename T, std::size_t count>
    T oneOf(const T (&values)[count]) {
        return values[raw<unsigned char>() % count];
    }

    // An ordinary value, or now and then any bit pattern.
    template <typename T, std::size_t count>
    T mostly(const T (&values)[count]) {
        return raw<unsigned char>() % 4 == 0 ? raw<T>() : oneOf(values);
    }

    // Rows of one of a few kinds: a step between two levels along a line, noise, or bytes of the input.
    void paint(unsigned char* plane, int width, int height, std::ptrdiff_t stride) {
        const auto kind = raw<unsigned char>();
        const int levels[] = {raw<unsigned char>(), raw<unsigned char>()};
        const int row = between(0, height);
        const int fall = between(-100, 100);
        auto seed = raw<std::uint32_t>() | 1U;
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width; ++c) {
                const auto noise = static_cast<int>(step(seed) >> 24);
                const int level = levels[(r - row) * 100 < c * fall ? 0 : 1];
                const int values[] = {level, noise, (level * 7 + noise) / 8, empty() ? level : raw<unsigned char>()};
                plane[r * stride + c] = static_cast<unsigned char>(values[kind % 4]);
            }
    }

    // Floats that are whole, tiny, huge, infinite, no number at all, or any others.
    void fill(float* values, std::size_t count) {
        const auto kind = raw<unsigned char>();
        auto seed = raw<std::uint32_t>() | 1U;
        for (std::size_t i = 0; i < count; ++i) {
            values[i] = static_cast<float>(static_cast<int>(step(seed) >> 20) - (kind % 2 == 0 ? 2048 : 0));
            if (kind % 8 == 7 && !empty()) values[i] = raw<float>();
        }
        for (int special = kind / 8 % 8; special > 0 && count > 0; --special)
            values[raw<std::uint32_t>() % count] = raw<float>();
    }

private:
    // The next state of a linear congruential generator, whose high bits are the random ones.
    static std::uint32_t step(std::uint32_t& state) { return state = state * 1664525U + 1013904223U; }

    const unsigned char* m_at;
    std::size_t m_left;
};

}  // namespace fuzz

// Each target is this function.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
