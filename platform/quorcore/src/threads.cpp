// The CPU-bound executor: a fixed pool of worker threads around one job queue, created on first
// use and drained at process exit, and the override a host or a test installs in its place.
#include "quorcore/threads.h"

#include <cxxabi.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>

namespace quorcore {
namespace threads {

AsyncExecutor::~AsyncExecutor() = default;

namespace {

// A job's exception has nowhere to go: it is dropped so that the worker lives on. Thread
// cancellation unwinds with a special exception that must not be swallowed.
void RunJob(const boost::function<void()>& job) {
    try {
        job();
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
    }
}

class ThreadPool final : public AsyncExecutor {
public:
    explicit ThreadPool(unsigned workers) : active_(workers) {
        workers_.reserve(workers);
        for (unsigned i = 0; i < workers; ++i) workers_.emplace_back([this] { Work(); });
    }

    ~ThreadPool() override { Shutdown(); }

    void Post(const boost::function<void()>& job) override {
        if (job.empty()) return;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (active_ > 0) {
                queue_.push_back(job);
                wake_.notify_one();
                return;
            }
        }
        // Every worker has left after shutdown: the job runs on the posting thread rather than
        // being lost, so that whoever waits for its result at exit is not left waiting.
        RunJob(job);
    }

    void WaitIdle() override {
        std::unique_lock<std::mutex> lock(mutex_);
        idle_.wait(lock, [this] { return queue_.empty() && running_ == 0; });
    }

    // Lets the workers run every queued job, including jobs those jobs post meanwhile, then joins
    // them. A worker that is itself shutting the pool down (a job that calls exit()) is detached,
    // as it cannot join itself.
    void Shutdown() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            if (stopping_) return;
            stopping_ = true;
        }
        wake_.notify_all();
        for (std::thread& worker : workers_) {
            if (worker.get_id() == std::this_thread::get_id()) {
                worker.detach();
            } else if (worker.joinable()) {
                worker.join();
            }
        }
    }

private:
    void Work() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            wake_.wait(lock, [this] { return stopping_ || !queue_.empty(); });
            if (queue_.empty()) break;  // stopping, and nothing left to run
            {
                const boost::function<void()> job = std::move(queue_.front());
                queue_.pop_front();
                ++running_;
                lock.unlock();
                RunJob(job);
            }  // the job and what it captured are released before the lock is taken again
            lock.lock();
            if (--running_ == 0 && queue_.empty()) idle_.notify_all();
        }
        --active_;  // under the lock, so a Post sees either a worker to run its job or none
    }

    std::mutex mutex_;
    std::condition_variable wake_;  // a job was queued, or the pool is stopping
    std::condition_variable idle_;  // the queue emptied with no job running
    std::deque<boost::function<void()>> queue_;
    unsigned running_ = 0;  // jobs taken from the queue and not yet finished
    unsigned active_;       // workers that have not left their loop
    bool stopping_ = false;
    std::vector<std::thread> workers_;
};

struct ExecutorState {
    std::mutex mutex;
    boost::shared_ptr<ThreadPool> pool;  // the default pool, once created
    boost::shared_ptr<AsyncExecutor> override;
    bool overridden = false;  // an override is installed, possibly a null one
};

// Never destroyed: jobs, and other libraries' static destructors, may still ask for the executor
// while the process exits, after the pool has been drained. Creating it on first use (rather
// than as a namespace-scope object) makes it safe to call from any static initialiser.
ExecutorState& State() {
    static ExecutorState* const state = new ExecutorState;
    return *state;
}

// Registered when the pool is created, so it runs before the destructors of every static object
// that existed by then: queued jobs may still use those.
void ShutdownDefaultPool() {
    boost::shared_ptr<ThreadPool> pool;
    {
        std::lock_guard<std::mutex> lock(State().mutex);
        pool = State().pool;
    }
    if (pool) pool->Shutdown();
}

}  // namespace

boost::shared_ptr<AsyncExecutor> GetCPUBoundExecutor() {
    ExecutorState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.overridden) return state.override;
    if (!state.pool) {
        state.pool = boost::make_shared<ThreadPool>(std::max(1u, std::thread::hardware_concurrency()));
        std::atexit(ShutdownDefaultPool);
    }
    return state.pool;
}

void SetCPUBoundExecutor(const boost::shared_ptr<AsyncExecutor>& executor) {
    boost::shared_ptr<AsyncExecutor> previous = executor;  // swapped out, released after the lock
    ExecutorState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.override.swap(previous);
    state.overridden = true;
}

void ResetCPUBoundExecutor() {
    boost::shared_ptr<AsyncExecutor> previous;  // released after the lock: its destructor may post
    ExecutorState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.override.swap(previous);
    state.overridden = false;
}

}  // namespace threads
}  // namespace quorcore
