// Statistics and extrema of the library against plain -O3 -march=native loops, VOLK where it has
// the operation, and memcpy of the bytes the operation reads (the bandwidth bound at 16M elements).
#include <volk/volk.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <type_traits>

#include "bench_util.h"
#include "quoraccelerate/utility/statistics.h"

namespace plain {
float Sum(const float* x, int n);
double Sum(const double* x, int n);
float Max(const float* x, int n);
int MaxIndex(const float* x, int n);
int MinIndex(const float* x, int n);
void MinMax(const float* x, int n, float* lo, float* hi);
void MinMaxIndex(const float* x, int n, int* lo, int* hi);
float MaxAbs(const float* x, int n);
float NormL2(const float* x, int n);
double NormL2(const double* x, int n);
float StandardDeviation(const float* x, int n);
void MaxEvery(const float* a, const float* b, float* d, int n);
void MinEvery(const float* a, const float* b, float* d, int n);
}  // namespace plain

namespace {

namespace qu = quoraccelerate::utility;

// Aligned (volk_malloc) random data in [-1, 1): the extremes sit at random places.
template <typename T>
struct Data {
    explicit Data(std::size_t n) : p(static_cast<T*>(volk_malloc(n * sizeof(T), volk_get_alignment()))) {
        std::mt19937 gen(static_cast<unsigned>(n));
        if constexpr (std::is_floating_point_v<T>) {
            std::uniform_real_distribution<T> d(-1, 1);
            for (std::size_t i = 0; i < n; ++i) p[i] = d(gen);
        } else {
            std::memset(p, 1, n);
        }
    }
    ~Data() { volk_free(p); }
    T* p;
};

// Runs body(n, sources..., destination) and reports the bytes read and written per call.
template <typename T, int kSources, int kDestinations, typename Body>
void Run(benchmark::State& state, Body body) {
    const auto n = static_cast<std::size_t>(state.range(0));
    Data<T> a(n), b(n), d(n);
    for (auto _ : state) {
        body(static_cast<unsigned int>(n), a.p, b.p, d.p);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * (kSources + kDestinations) * n * sizeof(T)));
}

// memcpy of the bytes the operation reads.
template <typename T, int kSources>
void Memcpy(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(state.range(0)) * sizeof(T) * kSources;
    Data<char> src(bytes), dst(bytes);
    for (auto _ : state) {
        std::memcpy(dst.p, src.p, bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
}

#define QP_CAT2(a, b) a##b
#define QP_CAT(a, b) QP_CAT2(a, b)
#define QP_BENCH(op, impl, T, sources, destinations, ...)                                            \
    benchmark::internal::Benchmark* const QP_CAT(registered_, __LINE__) =                              \
        benchmark::RegisterBenchmark(#op "/" #impl, [](benchmark::State& s) {                          \
            Run<T, sources, destinations>(s, [](unsigned int n, T* a, T* b, T* d) {                    \
                (void)a, (void)b, (void)d;                                                             \
                __VA_ARGS__;                                                                           \
            });                                                                                        \
        })->Apply(qpbench::VectorSizes)
#define QP_MEMCPY(op, T, sources) BENCHMARK(Memcpy<T, sources>)->Name(#op "/memcpy")->Apply(qpbench::VectorSizes)

#define KEEP(x) benchmark::DoNotOptimize(x)
#define N static_cast<int>(n)

QP_BENCH(Sum_f32, qp, float, 1, 0, KEEP(qu::Sum(n, a)));
QP_BENCH(Sum_f32, plain, float, 1, 0, KEEP(plain::Sum(a, N)));
QP_BENCH(Sum_f32, volk, float, 1, 0, float r; volk_32f_accumulator_s32f(&r, a, n); KEEP(r));
QP_MEMCPY(Sum_f32, float, 1);
QP_BENCH(Sum_f64, qp, double, 1, 0, KEEP(qu::Sum(n, a)));
QP_BENCH(Sum_f64, plain, double, 1, 0, KEEP(plain::Sum(a, N)));
QP_MEMCPY(Sum_f64, double, 1);

QP_BENCH(Max_f32, qp, float, 1, 0, KEEP(qu::Max(n, a)));
QP_BENCH(Max_f32, plain, float, 1, 0, KEEP(plain::Max(a, N)));
QP_MEMCPY(Max_f32, float, 1);

QP_BENCH(MaxIndex_f32, qp, float, 1, 0, KEEP(qu::MaxIndex(n, a, nullptr)));
QP_BENCH(MaxIndex_f32, plain, float, 1, 0, KEEP(plain::MaxIndex(a, N)));
QP_BENCH(MaxIndex_f32, volk, float, 1, 0, std::uint32_t k; volk_32f_index_max_32u(&k, a, n); KEEP(k));
QP_MEMCPY(MaxIndex_f32, float, 1);
QP_BENCH(MinIndex_f32, qp, float, 1, 0, KEEP(qu::MinIndex(n, a, nullptr)));
QP_BENCH(MinIndex_f32, plain, float, 1, 0, KEEP(plain::MinIndex(a, N)));
QP_BENCH(MinIndex_f32, volk, float, 1, 0, std::uint32_t k; volk_32f_index_min_32u(&k, a, n); KEEP(k));

QP_BENCH(MinMax_f32, qp, float, 1, 0, float lo; float hi; qu::MinMax(n, a, lo, hi); KEEP(lo); KEEP(hi));
QP_BENCH(MinMax_f32, plain, float, 1, 0, float lo; float hi; plain::MinMax(a, N, &lo, &hi); KEEP(lo); KEEP(hi));
QP_MEMCPY(MinMax_f32, float, 1);
QP_BENCH(MinMaxIndex_f32, qp, float, 1, 0, float lo; float hi; unsigned int i; unsigned int j;
         qu::MinMaxIndex(n, a, lo, hi, i, j); KEEP(i); KEEP(j));
QP_BENCH(MinMaxIndex_f32, plain, float, 1, 0, int i; int j; plain::MinMaxIndex(a, N, &i, &j); KEEP(i); KEEP(j));
QP_MEMCPY(MinMaxIndex_f32, float, 1);
QP_BENCH(MaxAbs_f32, qp, float, 1, 0, KEEP(qu::MinMax(a, n)));
QP_BENCH(MaxAbs_f32, plain, float, 1, 0, KEEP(plain::MaxAbs(a, N)));
QP_MEMCPY(MaxAbs_f32, float, 1);

QP_BENCH(NormL2_f32, qp, float, 1, 0, KEEP(qu::NormL2(n, a)));
QP_BENCH(NormL2_f32, plain, float, 1, 0, KEEP(plain::NormL2(a, N)));
QP_BENCH(NormL2_f32, volk, float, 1, 0, float r; volk_32f_x2_dot_prod_32f(&r, a, a, n); KEEP(std::sqrt(r)));
QP_MEMCPY(NormL2_f32, float, 1);
QP_BENCH(NormL2_f64, qp, double, 1, 0, KEEP(qu::NormL2(n, a)));
QP_BENCH(NormL2_f64, plain, double, 1, 0, KEEP(plain::NormL2(a, N)));
QP_MEMCPY(NormL2_f64, double, 1);

QP_BENCH(StdDev_f32, qp, float, 1, 0, float r; qu::StandardDeviation(n, a, r); KEEP(r));
QP_BENCH(StdDev_f32, plain, float, 1, 0, KEEP(plain::StandardDeviation(a, N)));
QP_BENCH(StdDev_f32, volk, float, 1, 0, float r; float m; volk_32f_stddev_and_mean_32f_x2(&r, &m, a, n); KEEP(r));
QP_MEMCPY(StdDev_f32, float, 1);

QP_BENCH(MaxEvery_f32, qp, float, 2, 1, qu::MaxEvery(n, a, b, d));
QP_BENCH(MaxEvery_f32, plain, float, 2, 1, plain::MaxEvery(a, b, d, N));
QP_BENCH(MaxEvery_f32, volk, float, 2, 1, volk_32f_x2_max_32f(d, a, b, n));
QP_MEMCPY(MaxEvery_f32, float, 2);
QP_BENCH(MinEvery_f32, qp, float, 2, 1, qu::MinEvery(n, a, b, d));
QP_BENCH(MinEvery_f32, plain, float, 2, 1, plain::MinEvery(a, b, d, N));
QP_BENCH(MinEvery_f32, volk, float, 2, 1, volk_32f_x2_min_32f(d, a, b, n));

}  // namespace

BENCHMARK_MAIN();
