// A monotonic high-resolution clock.
#pragma once

#include <cstdint>

#include "quorcore/export.h"

namespace quorcore {
namespace utility {

class QUORCORE_API HighPrecisionTime {
public:
    // Ticks of a monotonic clock; only differences are meaningful.
    static std::uint64_t GetCurrentTime();
    // Converts a tick count (typically a difference) to nanoseconds.
    static std::int64_t ConvertToNanos(std::uint64_t ticks);
};

}  // namespace utility
}  // namespace quorcore
