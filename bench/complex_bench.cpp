// Complex, polar and channel helpers of the library against plain -O3 -march=native loops, VOLK's
// kernels where it has the operation, and SLEEF's vector atan2, sin and cos.
#include <volk/volk.h>

#include <cmath>
#include <complex>

#include "bench_util.h"
#include "quoraccelerate/utility.h"

namespace plain {
void MagnitudeSplit(const float* re, const float* im, float* d, int n);
void MagnitudeSplit(const double* re, const double* im, double* d, int n);
void Magnitude(const float* s, float* d, int n);
void PowerSpectr(const float* s, float* d, int n);
void CartToPolar(const float* s, float* m, float* p, int n);
void PolarToCart(const float* m, const float* p, float* d, int n);
void Interleave(const float* a, const float* b, float* d, int n);
void Deinterleave(const float* s, float* a, float* b, int n);
}  // namespace plain
namespace sleef {
void CartToPolar(const float* s, float* m, float* p, int n);
void PolarToCart(const float* m, const float* p, float* d, int n);
}  // namespace sleef

namespace {

namespace qu = quoraccelerate::utility;

// VOLK's own aligned storage, filled like qpbench::Array.
template <typename T>
struct VolkArray {
    explicit VolkArray(std::size_t n) : data(static_cast<T*>(volk_malloc(n * sizeof(T), volk_get_alignment()))) {
        for (std::size_t i = 0; i < n; ++i) data[i] = static_cast<T>(static_cast<float>(i % 251) * 0.25f - 20.0f);
    }
    ~VolkArray() { volk_free(data); }
    T* get() const { return data; }
    T* data;
};

// Four arrays of 2n elements each: sources a, b and destinations c, d, enough for interleaved data.
template <typename T, template <typename> class Storage>
struct Set {
    explicit Set(std::size_t n) : a(n), b(n), c(n), d(n) {}
    Storage<T> a, b, c, d;
};
template <typename T>
using Plain = Set<T, qpbench::Array>;
using Volk = Set<float, VolkArray>;

// Registers "<op>/<impl>/<n>" timing op(arrays, n), reporting the bytes moved per element.
template <typename Arrays, typename Op>
bool Register(const char* name, int bytesPerElement, Op op) {
    benchmark::RegisterBenchmark(name, [=](benchmark::State& state) {
        const int n = static_cast<int>(state.range(0));
        Arrays s(2 * static_cast<std::size_t>(n));
        for (auto _ : state) {
            op(s, n);
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * n * bytesPerElement);
    })->Apply(qpbench::VectorSizes);
    return true;
}

#define QP_CAT2(a, b) a##b
#define QP_CAT(a, b) QP_CAT2(a, b)
#define QP_COMPLEX_BENCH(op, impl, arrays, bytes, ...) \
    const bool QP_CAT(registered_, __LINE__) =         \
        Register<arrays>(#op "/" #impl, bytes, [](arrays& s, int n) { __VA_ARGS__; })

const std::complex<float>* C(const qpbench::Array<float>& a) {
    return reinterpret_cast<const std::complex<float>*>(a.get());
}

QP_COMPLEX_BENCH(MagnitudeSplit_f32, qp, Plain<float>, 12, qu::Magnitude(n, s.a.get(), s.b.get(), s.c.get()));
QP_COMPLEX_BENCH(MagnitudeSplit_f32, plain, Plain<float>, 12, plain::MagnitudeSplit(s.a.get(), s.b.get(), s.c.get(), n));
QP_COMPLEX_BENCH(MagnitudeSplit_f64, qp, Plain<double>, 24, qu::Magnitude(n, s.a.get(), s.b.get(), s.c.get()));
QP_COMPLEX_BENCH(MagnitudeSplit_f64, plain, Plain<double>, 24, plain::MagnitudeSplit(s.a.get(), s.b.get(), s.c.get(), n));

QP_COMPLEX_BENCH(Magnitude_c32, qp, Plain<float>, 12, qu::Magnitude(n, C(s.a), s.c.get()));
QP_COMPLEX_BENCH(Magnitude_c32, plain, Plain<float>, 12, plain::Magnitude(s.a.get(), s.c.get(), n));
QP_COMPLEX_BENCH(Magnitude_c32, volk, Volk, 12,
                 volk_32fc_magnitude_32f(s.c.get(), reinterpret_cast<lv_32fc_t*>(s.a.get()), n));

QP_COMPLEX_BENCH(PowerSpectr, qp, Plain<float>, 12, qu::PowerSpectr(n, C(s.a), s.c.get()));
QP_COMPLEX_BENCH(PowerSpectr, plain, Plain<float>, 12, plain::PowerSpectr(s.a.get(), s.c.get(), n));
QP_COMPLEX_BENCH(PowerSpectr, volk, Volk, 12,
                 volk_32fc_magnitude_squared_32f(s.c.get(), reinterpret_cast<lv_32fc_t*>(s.a.get()), n));

QP_COMPLEX_BENCH(CartToPolar, qp, Plain<float>, 16, qu::CartToPolar(n, s.a.get(), s.c.get(), s.d.get()));
QP_COMPLEX_BENCH(CartToPolar, plain, Plain<float>, 16, plain::CartToPolar(s.a.get(), s.c.get(), s.d.get(), n));
QP_COMPLEX_BENCH(CartToPolar, sleef, Plain<float>, 16, sleef::CartToPolar(s.a.get(), s.c.get(), s.d.get(), n));
QP_COMPLEX_BENCH(CartToPolar, volk, Volk, 16,
                 volk_32fc_magnitude_32f(s.c.get(), reinterpret_cast<lv_32fc_t*>(s.a.get()), n);
                 volk_32fc_s32f_atan2_32f(s.d.get(), reinterpret_cast<lv_32fc_t*>(s.a.get()), 1.0f, n));

QP_COMPLEX_BENCH(PolarToCart, qp, Plain<float>, 16, qu::PolarToCart(n, s.a.get(), s.b.get(), s.c.get()));
QP_COMPLEX_BENCH(PolarToCart, plain, Plain<float>, 16, plain::PolarToCart(s.a.get(), s.b.get(), s.c.get(), n));
QP_COMPLEX_BENCH(PolarToCart, sleef, Plain<float>, 16, sleef::PolarToCart(s.a.get(), s.b.get(), s.c.get(), n));

QP_COMPLEX_BENCH(Interleave_f32, qp, Plain<float>, 16, qu::Interleave(n, s.a.get(), s.b.get(), s.c.get()));
QP_COMPLEX_BENCH(Interleave_f32, plain, Plain<float>, 16, plain::Interleave(s.a.get(), s.b.get(), s.c.get(), n));
QP_COMPLEX_BENCH(Interleave_f32, volk, Volk, 16,
                 volk_32f_x2_interleave_32fc(reinterpret_cast<lv_32fc_t*>(s.c.get()), s.a.get(), s.b.get(), n));

QP_COMPLEX_BENCH(Deinterleave_f32, qp, Plain<float>, 16, qu::Deinterleave(n, s.a.get(), s.c.get(), s.d.get()));
QP_COMPLEX_BENCH(Deinterleave_f32, plain, Plain<float>, 16, plain::Deinterleave(s.a.get(), s.c.get(), s.d.get(), n));
QP_COMPLEX_BENCH(Deinterleave_f32, volk, Volk, 16,
                 volk_32fc_deinterleave_32f_x2(s.c.get(), s.d.get(), reinterpret_cast<lv_32fc_t*>(s.a.get()), n));

}  // namespace

BENCHMARK_MAIN();
