// The CPU-bound executor: a pool of worker threads that runs posted jobs.
#pragma once

#include <boost/function.hpp>
#include <boost/shared_ptr.hpp>

#include "quorcore/export.h"

namespace quorcore {
namespace threads {

class QUORCORE_API AsyncExecutor {
public:
    virtual ~AsyncExecutor();
    // Queues a job to run on one of the executor's threads. Jobs may post further jobs.
    virtual void Post(const boost::function<void()>& job) = 0;
    // Blocks until every job posted so far (and the jobs they posted) has finished. Not for use
    // from inside a job of the same executor, whose own job would never finish.
    virtual void WaitIdle() = 0;
};

// The process-wide executor for CPU-bound work: as many workers as the processor has hardware
// threads (at least one), created on first use; at process exit it runs the queued jobs (and
// those they post) and joins its workers, after which a posted job runs on the posting thread.
// Null when an installed override says there is none.
QUORCORE_API boost::shared_ptr<AsyncExecutor> GetCPUBoundExecutor();

// Host and test control: replaces what GetCPUBoundExecutor returns (null: "no executor").
// ResetCPUBoundExecutor returns to the default pool.
QUORCORE_API void SetCPUBoundExecutor(const boost::shared_ptr<AsyncExecutor>& executor);
QUORCORE_API void ResetCPUBoundExecutor();

}  // namespace threads
}  // namespace quorcore
