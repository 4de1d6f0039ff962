// Shared helpers of the benchmark programs.
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace qpbench {

// 64-byte aligned, zero-filled storage.
template <typename T>
struct Array {
    explicit Array(std::size_t n)
        : data(static_cast<T*>(std::aligned_alloc(64, (n * sizeof(T) + 63) / 64 * 64)), &std::free) {
        for (std::size_t i = 0; i < n; ++i) data.get()[i] = static_cast<T>(i % 251) * static_cast<T>(0.25);
    }
    T* get() const { return data.get(); }
    std::unique_ptr<T, decltype(&std::free)> data;
};

// The element counts every vector benchmark is run at.
inline void VectorSizes(benchmark::internal::Benchmark* b) {
    for (long n : {256L, 4096L, 65536L, 16L << 20}) b->Arg(n);
}

}  // namespace qpbench
