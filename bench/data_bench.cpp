// Copy, set, byte order and conversions of the library against plain -O3 -march=native loops, the C
// library (memcpy, memmove, memset, memcmp) and VOLK where it has the kernel. "<op>/memcpy/<n>"
// copies as many bytes as the operation reads and writes in total: the bandwidth bound.
#include <volk/volk.h>

#include <cstdint>
#include <cstring>

#include "bench_util.h"
#include "quoraccelerate/utility.h"

namespace plain {
void Copy(const float* s, float* d, int n);
void Set(float v, float* d, int n);
void Zero(float* d, int n);
void SwapBytes(const std::uint16_t* s, std::uint16_t* d, int n);
void SwapBytes(const std::uint32_t* s, std::uint32_t* d, int n);
void SwapBytes(const std::uint64_t* s, std::uint64_t* d, int n);
void Convert(const float* s, double* d, int n);
void Convert(const double* s, float* d, int n);
void Convert(const unsigned char* s, float* d, int n);
void Convert(const short* s, float* d, float scale, int n);
void Convert(const int* s, float* d, float scale, int n);
void Convert(const int* s, double* d, double scale, int n);
void Convert(const float* s, unsigned char* d, float scale, int n);
void Convert(const float* s, short* d, float scale, int n);
void Convert(const float* s, int* d, float scale, int n);
void Convert(const double* s, int* d, double scale, int n);
}  // namespace plain

namespace {

namespace qu = quoraccelerate::utility;

// VOLK-aligned storage holding small values that every conversion keeps in range.
template <typename T>
struct VolkArray {
    explicit VolkArray(std::size_t n) : data(static_cast<T*>(volk_malloc(n * sizeof(T) + 64, volk_get_alignment()))) {
        for (std::size_t i = 0; i < n; ++i) data[i] = static_cast<T>(i % 200);
    }
    ~VolkArray() { volk_free(data); }
    VolkArray(const VolkArray&) = delete;
    VolkArray& operator=(const VolkArray&) = delete;
    T* data;
};

// Runs op(n, src, dst) on n elements and reports the bytes read and written.
template <typename S, typename D, typename Op>
void Run(benchmark::State& state, Op op) {
    const auto n = static_cast<std::size_t>(state.range(0));
    VolkArray<S> s(n);
    VolkArray<D> d(n);
    for (auto _ : state) {
        op(static_cast<unsigned int>(n), s.data, d.data);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * n * (sizeof(S) + sizeof(D))));
}

// memcpy of half the bytes an S -> D operation moves: as many bytes read and written.
template <typename S, typename D>
void Memcpy(benchmark::State& state) {
    const auto n = static_cast<std::size_t>(state.range(0));
    const std::size_t bytes = n * (sizeof(S) + sizeof(D)) / 2;
    VolkArray<unsigned char> s(bytes), d(bytes);
    for (auto _ : state) {
        std::memcpy(d.data, s.data, bytes);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * bytes));
}

#define QP_CAT2(a, b) a##b
#define QP_CAT(a, b) QP_CAT2(a, b)

#define QP_BENCH(name, S, D, body)                                                                       \
    benchmark::internal::Benchmark* const QP_CAT(registered_, __LINE__) =                                 \
        benchmark::RegisterBenchmark(                                                                     \
            name, [](benchmark::State& state) { Run<S, D>(state, [](unsigned int n, S* s, D* d) { body; }); }) \
            ->Apply(qpbench::VectorSizes)

#define QP_BOUND(op, S, D)                                                                               \
    benchmark::internal::Benchmark* const QP_CAT(registered_, __LINE__) =                                 \
        benchmark::RegisterBenchmark(op "/memcpy", &Memcpy<S, D>)->Apply(qpbench::VectorSizes)

// Copy, move, set, zero.
QP_BENCH("Copy_f32/qp", float, float, qu::Copy(n, s, d));
QP_BENCH("Copy_f32/plain", float, float, plain::Copy(s, d, static_cast<int>(n)));
QP_BENCH("Copy_f32/memcpy", float, float, std::memcpy(d, s, n * sizeof(float)));
QP_BENCH("Copy_8u/qp", unsigned char, unsigned char, qu::Copy(n, s, d));
QP_BENCH("Copy_8u/memcpy", unsigned char, unsigned char, std::memcpy(d, s, n));
// Overlapping by one element, the destination above the source: copied from the end.
QP_BENCH("Move_f32/qp", float, float, (void)d; qu::Move(n - 1, s, s + 1));
QP_BENCH("Move_f32/memmove", float, float, (void)d; std::memmove(s + 1, s, (n - 1) * sizeof(float)));
QP_BENCH("Set_f32/qp", float, float, (void)s; qu::Set(n, d, 1.5f));
QP_BENCH("Set_f32/plain", float, float, (void)s; plain::Set(1.5f, d, static_cast<int>(n)));
QP_BENCH("Zero_f32/qp", float, float, (void)s; qu::Zero(n, d));
QP_BENCH("Zero_f32/plain", float, float, (void)s; plain::Zero(d, static_cast<int>(n)));
QP_BENCH("Zero_f32/memset", float, float, (void)s; std::memset(d, 0, n * sizeof(float)));
QP_BENCH("Equal_8u/qp", unsigned char, unsigned char, benchmark::DoNotOptimize(qu::Equal(n, s, d)));
QP_BENCH("Equal_8u/memcmp", unsigned char, unsigned char, benchmark::DoNotOptimize(std::memcmp(s, d, n)));

// Byte order, in place (VOLK has only the in-place form).
QP_BENCH("SwapBytes_16u/qp", std::uint16_t, std::uint16_t, (void)d; qu::SwapBytes(n, reinterpret_cast<unsigned short*>(s)));
QP_BENCH("SwapBytes_16u/plain", std::uint16_t, std::uint16_t, (void)d; plain::SwapBytes(s, s, static_cast<int>(n)));
QP_BENCH("SwapBytes_16u/volk", std::uint16_t, std::uint16_t, (void)d; volk_16u_byteswap(s, n));
QP_BENCH("SwapBytes_32u/qp", std::uint32_t, std::uint32_t, (void)d; qu::SwapBytes(n, reinterpret_cast<unsigned int*>(s)));
QP_BENCH("SwapBytes_32u/plain", std::uint32_t, std::uint32_t, (void)d; plain::SwapBytes(s, s, static_cast<int>(n)));
QP_BENCH("SwapBytes_32u/volk", std::uint32_t, std::uint32_t, (void)d; volk_32u_byteswap(s, n));
QP_BENCH("SwapBytes_64u/qp", std::uint64_t, std::uint64_t, (void)d; qu::SwapBytes(n, reinterpret_cast<unsigned long long*>(s)));
QP_BENCH("SwapBytes_64u/plain", std::uint64_t, std::uint64_t, (void)d; plain::SwapBytes(s, s, static_cast<int>(n)));
QP_BENCH("SwapBytes_64u/volk", std::uint64_t, std::uint64_t, (void)d; volk_64u_byteswap(s, n));

// Conversions.
QP_BENCH("Convert_f32_f64/qp", float, double, qu::Convert(n, s, d));
QP_BENCH("Convert_f32_f64/plain", float, double, plain::Convert(s, d, static_cast<int>(n)));
QP_BENCH("Convert_f32_f64/volk", float, double, volk_32f_convert_64f(d, s, n));
QP_BOUND("Convert_f32_f64", float, double);
QP_BENCH("Convert_f64_f32/qp", double, float, qu::Convert(n, s, d));
QP_BENCH("Convert_f64_f32/plain", double, float, plain::Convert(s, d, static_cast<int>(n)));
QP_BENCH("Convert_f64_f32/volk", double, float, volk_64f_convert_32f(d, s, n));
QP_BOUND("Convert_f64_f32", double, float);
QP_BENCH("Convert_8u_f32/qp", unsigned char, float, qu::Convert(n, s, d));
QP_BENCH("Convert_8u_f32/plain", unsigned char, float, plain::Convert(s, d, static_cast<int>(n)));
QP_BENCH("Convert_8u_f32/volk", unsigned char, float, volk_8i_s32f_convert_32f(d, reinterpret_cast<const int8_t*>(s), 1.0f, n));
QP_BOUND("Convert_8u_f32", unsigned char, float);
QP_BENCH("Convert_16s_f32/qp", short, float, qu::Convert(n, s, d, 4));
QP_BENCH("Convert_16s_f32/plain", short, float, plain::Convert(s, d, 0.0625f, static_cast<int>(n)));
QP_BENCH("Convert_16s_f32/volk", short, float, volk_16i_s32f_convert_32f(d, s, 16.0f, n));
QP_BOUND("Convert_16s_f32", short, float);
QP_BENCH("Convert_32s_f32/qp", int, float, qu::Convert(n, s, d, 4));
QP_BENCH("Convert_32s_f32/plain", int, float, plain::Convert(s, d, 0.0625f, static_cast<int>(n)));
QP_BENCH("Convert_32s_f32/volk", int, float, volk_32i_s32f_convert_32f(d, s, 16.0f, n));
QP_BOUND("Convert_32s_f32", int, float);
QP_BENCH("Convert_32s_f64/qp", int, double, qu::Convert(n, s, d, 4));
QP_BENCH("Convert_32s_f64/plain", int, double, plain::Convert(s, d, 0.0625, static_cast<int>(n)));
QP_BOUND("Convert_32s_f64", int, double);
QP_BENCH("Convert_f32_8u/qp", float, unsigned char, qu::Convert(n, s, d, -1, true));
QP_BENCH("Convert_f32_8u/plain", float, unsigned char, plain::Convert(s, d, 2.0f, static_cast<int>(n)));
QP_BENCH("Convert_f32_8u/volk", float, unsigned char, volk_32f_s32f_convert_8i(reinterpret_cast<int8_t*>(d), s, 2.0f, n));
QP_BOUND("Convert_f32_8u", float, unsigned char);
QP_BENCH("Convert_f32_16s/qp", float, short, qu::Convert(n, s, d, -1, true));
QP_BENCH("Convert_f32_16s/plain", float, short, plain::Convert(s, d, 2.0f, static_cast<int>(n)));
QP_BENCH("Convert_f32_16s/volk", float, short, volk_32f_s32f_convert_16i(d, s, 2.0f, n));
QP_BOUND("Convert_f32_16s", float, short);
QP_BENCH("Convert_f32_32s/qp", float, int, qu::Convert(n, s, d, -1, true));
QP_BENCH("Convert_f32_32s/plain", float, int, plain::Convert(s, d, 2.0f, static_cast<int>(n)));
QP_BENCH("Convert_f32_32s/volk", float, int, volk_32f_s32f_convert_32i(d, s, 2.0f, n));
QP_BOUND("Convert_f32_32s", float, int);
QP_BENCH("Convert_f64_32s/qp", double, int, qu::Convert(n, s, d, -1, true));
QP_BENCH("Convert_f64_32s/plain", double, int, plain::Convert(s, d, 2.0, static_cast<int>(n)));
QP_BOUND("Convert_f64_32s", double, int);

}  // namespace

BENCHMARK_MAIN();
