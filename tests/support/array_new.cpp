#include "tests/support/array_new.h"

#include <cstdlib>
#include <new>

static int live = 0;
static int remaining = -1;

int liveArrays() { return live; }

void failArrayNewAfter(int successes) { remaining = successes; }

void* operator new[](std::size_t size) {
    void* const memory = remaining == 0 ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr) throw std::bad_alloc();
    if (remaining > 0) --remaining;
    ++live;
    return memory;
}

void operator delete[](void* memory) noexcept {
    if (memory != nullptr) --live;
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept { operator delete[](memory); }
