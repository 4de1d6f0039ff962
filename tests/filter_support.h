// Helpers of the filter, window and signal-processing tests: seeded random signals and one body run
// for both floating-point types.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
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

// The refusals that the FIR and multi-rate kernels share (source, destination, spec, delay in,
// delay out, buffer, with the length third): each of source, destination, spec and buffer null,
// then each of `badLengths`.
template <typename K, typename T, typename S>
void ExpectNullAndSizeRefusals(K kernel, const T* x, T* dst, int len, S spec, T* dly, unsigned char* buf,
                               std::initializer_list<int> badLengths) {
    EXPECT_EQ(kernel(nullptr, dst, len, spec, dly, dly, buf), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(x, nullptr, len, spec, dly, dly, buf), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(x, dst, len, nullptr, dly, dly, buf), qp::qpStsNullPtrErr);
    EXPECT_EQ(kernel(x, dst, len, spec, dly, dly, nullptr), qp::qpStsNullPtrErr);
    for (int n : badLengths) EXPECT_EQ(kernel(x, dst, n, spec, dly, dly, buf), qp::qpStsSizeErr) << n;
}

}  // namespace qptest
