// Buffers that notice every access outside them.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>

// count elements that end where unreadable memory begins and start behind canary bytes, which the
// destructor checks. Every byte holds `fill` at first. A copy is the same buffer.
template <typename T>
class Guarded {
public:
    explicit Guarded(std::size_t count) : m_count(count) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        m_usable = (count * sizeof(T) / page + 1) * page;
        void* const memory = mmap(nullptr, m_usable + page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        m_memory.reset(static_cast<unsigned char*>(memory), [size = m_usable + page](void* p) { munmap(p, size); });
        std::fill_n(m_memory.get(), m_usable, fill);
        mprotect(m_memory.get() + m_usable, page, PROT_NONE);
    }
    Guarded(const Guarded&) = default;
    Guarded& operator=(const Guarded&) = default;
    ~Guarded() { EXPECT_TRUE(std::all_of(m_memory.get(), bytes(), isFill)) << "bytes before a buffer were written"; }

    // From here on a write ends the process.
    void makeReadOnly() { mprotect(m_memory.get(), m_usable, PROT_READ); }

    T* data() const { return reinterpret_cast<T*>(bytes()); }
    T* begin() const { return data(); }
    T* end() const { return data() + m_count; }
    T& operator[](std::size_t i) const { return data()[i]; }
    std::size_t size() const { return m_count; }
    bool untouched() const { return std::all_of(bytes(), m_memory.get() + m_usable, isFill); }

private:
    static constexpr unsigned char fill = 0xA5;
    static bool isFill(unsigned char byte) { return byte == fill; }
    unsigned char* bytes() const { return m_memory.get() + m_usable - m_count * sizeof(T); }

    std::shared_ptr<unsigned char> m_memory;
    std::size_t m_usable;  // bytes before the guard page
    std::size_t m_count;
};

using Bytes = Guarded<unsigned char>;
using Floats = Guarded<float>;
