// Helpers of the filter, window and signal-processing tests: seeded random signals and one body run
// for both floating-point types.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "vector_support.h"

namespace qptest {

// n values uniform in [lo, hi), the same for a given seed.
template <typename T>
std::vector<T> Random(int n, unsigned seed, double lo = -1, double hi = 1) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(lo, hi);
    std::vector<T> v(static_cast<std::size_t>(n));
    for (T& x : v) x = static_cast<T>(dist(gen));
    return v;
}

// Runs fn(float{}) then fn(double{}): the body names its type with `using T = decltype(zero);`.
template <typename F>
void ForEachType(F&& fn) {
    {
        SCOPED_TRACE("float");
        fn(0.0f);
    }
    if (testing::Test::HasFatalFailure()) return;
    SCOPED_TRACE("double");
    fn(0.0);
}

}  // namespace qptest
