// Vector operations of the library against a plain -O3 -march=native loop and memcpy.
// Every case reports the bytes it moves, so rates compare directly.
#include <cstring>

#include "bench_util.h"
#include "arithmetic_plain.h"
#include "quoraccelerate/utility.h"

namespace {

using qpbench::Array;

template <typename T, void (*Fn)(unsigned int, const T*, const T*, T*)>
void BM_Add_qp(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    Array<T> a(n), b(n), d(n);
    for (auto _ : state) {
        Fn(static_cast<unsigned int>(n), a.get(), b.get(), d.get());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 3 * n * sizeof(T)));
}

template <typename T>
void BM_Add_plain(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    Array<T> a(n), b(n), d(n);
    for (auto _ : state) {
        plain::Add(a.get(), b.get(), d.get(), static_cast<int>(n));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 3 * n * sizeof(T)));
}

// memcpy moving the same bytes as an Add of n elements: 1.5 n elements read and written.
template <typename T>
void BM_Add_memcpy(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::size_t bytes = 3 * n * sizeof(T) / 2;
    Array<char> src(bytes), dst(bytes);
    for (auto _ : state) {
        std::memcpy(dst.get(), src.get(), bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * bytes));
}

void AddF32(unsigned int n, const float* a, const float* b, float* d) { quoraccelerate::utility::Add(n, a, b, d); }
void AddF64(unsigned int n, const double* a, const double* b, double* d) { quoraccelerate::utility::Add(n, a, b, d); }

BENCHMARK(BM_Add_qp<float, AddF32>)->Name("Add_f32/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_plain<float>)->Name("Add_f32/plain")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_memcpy<float>)->Name("Add_f32/memcpy")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_qp<double, AddF64>)->Name("Add_f64/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_plain<double>)->Name("Add_f64/plain")->Apply(qpbench::VectorSizes);

}  // namespace

BENCHMARK_MAIN();
