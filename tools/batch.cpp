#include "tools/batch.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>

#include "tools/interruption.h"

namespace skylevel {
namespace {

class OrderedRun {
public:
    OrderedRun(std::size_t jobCount, std::size_t workerCount, const std::function<void(std::size_t)>& jobWork)
        : count(jobCount), work(jobWork), done(jobsAhead(workerCount), 0) {
        const std::size_t wanted = std::min(workerCount, jobCount);
        threads.reserve(wanted);  // or a failure could lose one that runs
        while (threads.size() < wanted && addThread()) {
        }
    }
    OrderedRun(const OrderedRun&) = delete;
    OrderedRun& operator=(const OrderedRun&) = delete;
    ~OrderedRun() {
        {
            const std::lock_guard lock(mutex);
            stopped = true;
        }
        room.notify_all();
        for (std::thread& thread : threads) thread.join();
    }

    std::size_t takeAll(const std::function<bool(std::size_t)>& take) {
        std::unique_lock lock(mutex);
        while (taken < count && !stopped) {
            finished.wait(lock, [&] { return isDone(taken) != 0 || active == 0; });
            if (isDone(taken) == 0) break;
            lock.unlock();
            const bool goOn = take(taken);
            lock.lock();
            isDone(taken++) = 0;
            stopped = !goOn;
            room.notify_all();
        }
        return taken;
    }

private:
    // Whether there is one more. A system that is short of them, or of memory, is content with fewer, but not with
    // none.
    bool addThread() {
        const std::lock_guard lock(mutex);
        try {
            threads.emplace_back([this] { workOn(); });
        } catch (const std::exception&) {
            if (threads.empty()) throw;
            return false;
        }
        ++active;
        return true;
    }

    void workOn() {
        std::unique_lock lock(mutex);
        for (;;) {
            room.wait(lock, [&] { return stopped || begun == count || begun < taken + done.size(); });
            if (stopped || begun == count || interruption() != 0) break;
            const std::size_t job = begun++;
            lock.unlock();
            work(job);
            lock.lock();
            isDone(job) = 1;
            finished.notify_one();
        }
        --active;
        finished.notify_one();
    }

    char& isDone(std::size_t job) { return done[job % done.size()]; }

    const std::size_t count;
    const std::function<void(std::size_t)>& work;
    std::mutex mutex;  // for all below but the threads
    std::condition_variable room;
    std::condition_variable finished;
    std::vector<char> done;  // of the jobs that are begun and not taken
    std::size_t begun = 0;
    std::size_t taken = 0;
    std::size_t active = 0;  // threads that may still begin or do something
    bool stopped = false;
    std::vector<std::thread> threads;
};

}  // namespace

std::size_t runInOrder(std::size_t count, std::size_t workers, const std::function<void(std::size_t)>& work,
                       const std::function<bool(std::size_t)>& take) {
    if (std::min(count, workers) > 1) return OrderedRun(count, workers, work).takeAll(take);
    for (std::size_t job = 0; job < count; ++job) {
        if (interruption() != 0) return job;
        work(job);
        if (!take(job)) return job + 1;
    }
    return count;
}

}  // namespace skylevel
