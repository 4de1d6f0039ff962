// Shared helpers of the vector-family tests: guarded buffers at chosen alignments, bit comparisons
// and the per-path instantiation.
#pragma once

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "paths.h"

namespace qptest {

// n elements starting `offset` elements past a 64-byte boundary, framed on both sides by guard
// bytes that catch any write outside the range.
template <typename T>
struct Buffer {
    static constexpr int kGuardBytes = 96;
    static constexpr unsigned char kFill = 0xA5;
    Buffer(int n, int offset)
        : bytes(static_cast<std::size_t>(n) * sizeof(T)),
          storage(bytes + 3 * kGuardBytes + 64 + static_cast<std::size_t>(offset) * sizeof(T), kFill) {
        const auto base = reinterpret_cast<std::uintptr_t>(storage.data()) + kGuardBytes;
        data = reinterpret_cast<T*>(((base + 63) & ~std::uintptr_t{63}) + static_cast<std::size_t>(offset) * sizeof(T));
    }
    bool GuardsIntact() const {
        const auto* p = reinterpret_cast<const unsigned char*>(data);
        for (int i = 1; i <= kGuardBytes; ++i) {
            if (p[-i] != kFill || p[bytes + i - 1] != kFill) return false;
        }
        return true;
    }
    bool TailIntact() const { return GuardsIntact(); }
    std::size_t bytes;
    std::vector<unsigned char> storage;
    T* data;
};

template <typename T>
bool SameBits(T a, T b) {
    return std::memcmp(&a, &b, sizeof(T)) == 0;
}

template <typename T>
bool SameOrBothNaN(T a, T b) {
    return SameBits(a, b) || (a != a && b != b);
}

// Random bit patterns, every value of the type included.
template <typename T>
void FillBits(T* p, int n, unsigned seed) {
    std::mt19937 gen(seed);
    for (int i = 0; i < n; ++i) {
        unsigned char b[sizeof(T)];
        for (auto& x : b) x = static_cast<unsigned char>(gen());
        std::memcpy(&p[i], b, sizeof(T));
    }
}

}  // namespace qptest

// Runs a TEST_P suite of path numbers on every path this processor can execute.
#define QP_INSTANTIATE_PATHS(Suite)                                                      \
    INSTANTIATE_TEST_SUITE_P(Runnable, Suite, testing::ValuesIn(qptest::RunnablePaths()), \
                             [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); })
