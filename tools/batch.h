// Work on many photos side by side, with results in order.
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace skylevel {

// Most jobs that are begun and not yet taken.
constexpr std::size_t jobsAhead(std::size_t workers) { return workers + workers / 2 + 1; }

// Does work(0) to work(count - 1) on up to this many threads, and take(i) for each on the caller's, in this order.
// Work begins in order, too, at most jobsAhead(workers) before what is to be taken next. When take returns false
// nothing more is taken; from then on, and from an interruption on, no work is begun. What was begun is always done.
// work  must not throw
// Returns how many were taken.
std::size_t runInOrder(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work,
                       const std::function<bool(std::size_t)>& take);

// The same with a result that goes from work to take. No more than jobsAhead(workers) of them are held.
template <typename Result>
std::size_t runInOrder(std::size_t count, std::size_t workers, const std::function<Result(std::size_t)>& work,
                       const std::function<bool(std::size_t, const Result&)>& take) {
    std::vector<Result> results(jobsAhead(workers));
    const auto place = [&](std::size_t job) -> Result& { return results[job % results.size()]; };
    return runInOrder(
        count, workers, [&](std::size_t job) { place(job) = work(job); },
        [&](std::size_t job) {
            const Result result = std::exchange(place(job), {});
            return take(job, result);
        });
}

}  // namespace skylevel
