// Peak memory of a request, counted in operator new: a line of "size,scene,reduced pixels,peak bytes" each.
#include <android/log.h>
#include <malloc.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "bench/scenes.h"
#include "skylevel/skylevel.h"

namespace {

std::size_t held = 0;
std::size_t peak = 0;

void* counted(void* memory) {
    if (memory == nullptr) throw std::bad_alloc();
    held += malloc_usable_size(memory);
    peak = std::max(peak, held);
    return memory;
}

void released(void* memory) {
    held -= malloc_usable_size(memory);
    std::free(memory);
}

}  // namespace

// The array forms call these.
void* operator new(std::size_t size) { return counted(std::malloc(size)); }
void* operator new(std::size_t size, std::align_val_t alignment) {
    const auto unit = static_cast<std::size_t>(alignment);
    return counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}
void operator delete(void* memory) noexcept { released(memory); }
void operator delete(void* memory, std::size_t) noexcept { released(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { released(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { released(memory); }

int main() {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    for (const bench::Size size : {bench::Size{640, 480}, {1024, 768}, {4000, 3000}, {8000, 6000}})
        for (const bench::Scene scene : {bench::Scene::sea, bench::Scene::busy}) {
            bench::Bytes picture = bench::paint(scene, size);
            const std::size_t before = held;
            peak = held;
            bool hasHorizon = false;
            HorizonDetectionProcess(picture.data(), size.width, size.height, size.width, &hasHorizon, 0, 10.0);
            std::printf("%dx%d,%s,%d,%zu\n", size.width, size.height, scene == bench::Scene::sea ? "sea" : "busy",
                        (size.width / 4) * (size.height / 4), peak - before);
        }
    return 0;
}
