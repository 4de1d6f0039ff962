// The high-precision clock: steady_clock ticks, which are nanoseconds with this standard library.
#include "quorcore/time.h"

#include <chrono>

namespace quorcore {
namespace utility {

std::uint64_t HighPrecisionTime::GetCurrentTime() {
    return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
}

std::int64_t HighPrecisionTime::ConvertToNanos(std::uint64_t ticks) {
    // Read back as signed, a difference taken the wrong way round (end before start) wraps to a
    // negative count instead of an enormous one.
    const std::chrono::steady_clock::duration duration(static_cast<std::chrono::steady_clock::rep>(ticks));
    return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

}  // namespace utility
}  // namespace quorcore
