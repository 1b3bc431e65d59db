// Runs a kernel with the widest vectors of the machine, from one source.
//
// A kernel is an always-inlined function whose loops the compiler turns into vectors, side by side over
// outputs. vectorised<kernel>(...) holds it twice on x86-64: for the baseline, SSE2, and for AVX2, chosen
// at the call. Elsewhere the baseline is all there is; on arm64 that is NEON. Both give the same bits,
// because no lane ever sums in another order than the scalar form.
#pragma once

// The function and everything that it is to carry along into a variant.
#define SKYLEVEL_KERNEL [[gnu::always_inline]] inline

namespace skylevel {

inline bool usesAvx2() {
#if defined(__x86_64__) && !defined(SKYLEVEL_BASELINE_ONLY)
    return __builtin_cpu_supports("avx2") != 0;
#else
    return false;
#endif
}

#if defined(__x86_64__)
template <auto kernel, typename... Arguments>
[[gnu::target("avx2")]] auto runWithAvx2(Arguments... arguments) {
    return kernel(arguments...);
}
#endif

// Arguments travel by value: pointers and numbers.
template <auto kernel, typename... Arguments>
auto vectorised(Arguments... arguments) {
#if defined(__x86_64__)
    if (usesAvx2()) return runWithAvx2<kernel>(arguments...);
#endif
    return kernel(arguments...);
}

}  // namespace skylevel
