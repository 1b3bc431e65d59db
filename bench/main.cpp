// The benchmark binary. Beside Google Benchmark's own options:
//   --once=ROW   runs one row twice, the second time inside skylevelMeasuredOnce(), for a profiler to find
#include <android/log.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "bench/rows.h"

extern "C" [[gnu::noinline]] void skylevelMeasuredOnce(const bench::Work& work) {
    work.run();
    benchmark::ClobberMemory();
}

namespace {

bench::Rows allRows() {
    bench::Rows rows;
    bench::addOurs(rows);
#if defined(SKYLEVEL_PEER_OPENCV)
    bench::addOpencv(rows);
#endif
#if defined(SKYLEVEL_PEER_LIBYUV)
    bench::addLibyuv(rows);
#endif
#if defined(SKYLEVEL_PEER_SWSCALE)
    bench::addSwscale(rows);
#endif
    return rows;
}

int runOnce(const bench::Rows& rows, std::string_view name) {
    const auto row = std::ranges::find(rows, name, &bench::Row::name);
    if (row == rows.end()) {
        std::fprintf(stderr, "no row is called %.*s\n", static_cast<int>(name.size()), name.data());
        return 1;
    }
    const bench::Work work = row->prepare();
    work.run();  // so that what is done once for the process is done
    skylevelMeasuredOnce(work);
    return 0;
}

void measure(benchmark::State& state, const bench::Row& row) {
    const bench::Work work = row.prepare();
    for ([[maybe_unused]] auto pass : state) {
        work.run();
        benchmark::ClobberMemory();
    }
    if (work.facts.points > 0) state.counters["points"] = work.facts.points;
}

}  // namespace

int main(int argc, char** argv) {
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    const bench::Rows rows = allRows();
    constexpr std::string_view once = "--once=";
    if (argc == 2 && std::string_view(argv[1]).starts_with(once))
        return runOnce(rows, std::string_view(argv[1]).substr(once.size()));

    for (const bench::Row& row : rows)
        benchmark::RegisterBenchmark(row.name().c_str(), [&row](benchmark::State& state) { measure(state, row); });
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
