// Dot product, convolution and resampling of the library against plain -O3 -march=native loops,
// VOLK's dot product, and an overlap-add convolution on FFTW plans made with FFTW_MEASURE.
#include <fftw3.h>
#include <volk/volk.h>

#include <algorithm>
#include <complex>
#include <cstdint>
#include <random>
#include <vector>

#include "bench_util.h"
#include "quoraccelerate/utility/dsp.h"

namespace plain {
float Dot(const float* a, const float* b, int n);
double Dot(const double* a, const double* b, int n);
void Convolve(const float* a, int n1, const float* b, int n2, float* d);
void UpSample(const float* s, int n, float* d, int factor, int phase);
int DownSample(const float* s, int n, float* d, int factor, int phase);
}  // namespace plain

namespace {

namespace qu = quoraccelerate::utility;

// Aligned (volk_malloc) random data in [-1, 1).
template <typename T>
struct Data {
    explicit Data(std::size_t n) : p(static_cast<T*>(volk_malloc(std::max<std::size_t>(n, 1) * sizeof(T), volk_get_alignment()))) {
        std::mt19937 gen(static_cast<unsigned>(n));
        std::uniform_real_distribution<T> d(-1, 1);
        for (std::size_t i = 0; i < n; ++i) p[i] = d(gen);
    }
    ~Data() { volk_free(p); }
    Data(const Data&) = delete;
    Data& operator=(const Data&) = delete;
    T* p;
};

// --- dot product ----------------------------------------------------------------------------------

template <typename T, typename Body>
void RunDot(benchmark::State& state, Body body) {
    const auto n = static_cast<std::size_t>(state.range(0));
    Data<T> a(n), b(n);
    for (auto _ : state) benchmark::DoNotOptimize(body(static_cast<unsigned int>(n), a.p, b.p));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * 2 * n * sizeof(T)));
}

void DotQp(benchmark::State& s) { RunDot<float>(s, [](unsigned int n, float* a, float* b) { return qu::DotProduct(n, a, b); }); }
void DotPlain(benchmark::State& s) {
    RunDot<float>(s, [](unsigned int n, float* a, float* b) { return plain::Dot(a, b, static_cast<int>(n)); });
}
void DotVolk(benchmark::State& s) {
    RunDot<float>(s, [](unsigned int n, float* a, float* b) {
        float r;
        volk_32f_x2_dot_prod_32f(&r, a, b, n);
        return r;
    });
}
void DotQpD(benchmark::State& s) { RunDot<double>(s, [](unsigned int n, double* a, double* b) { return qu::DotProduct(n, a, b); }); }
void DotPlainD(benchmark::State& s) {
    RunDot<double>(s, [](unsigned int n, double* a, double* b) { return plain::Dot(a, b, static_cast<int>(n)); });
}

BENCHMARK(DotQp)->Name("DotProduct_f32/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(DotPlain)->Name("DotProduct_f32/plain")->Apply(qpbench::VectorSizes);
BENCHMARK(DotVolk)->Name("DotProduct_f32/volk")->Apply(qpbench::VectorSizes);
BENCHMARK(DotQpD)->Name("DotProduct_f64/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(DotPlainD)->Name("DotProduct_f64/plain")->Apply(qpbench::VectorSizes);

// --- convolution ----------------------------------------------------------------------------------

void ConvolveSizes(benchmark::internal::Benchmark* b) {
    b->Args({65536, 1024})->Args({4096, 4096})->Args({65536, 16})->Args({1024, 64})->Unit(benchmark::kMicrosecond);
}

void ConvolveQp(benchmark::State& state) {
    const auto n1 = static_cast<unsigned int>(state.range(0)), n2 = static_cast<unsigned int>(state.range(1));
    Data<float> a(n1), b(n2), d(n1 + n2 - 1), w(qu::ConvolutionWorkBufferSize(n1, n2));
    for (auto _ : state) {
        qu::Convolve(n1, a.p, n2, b.p, d.p, w.p);
        benchmark::ClobberMemory();
    }
}

void ConvolvePlain(benchmark::State& state) {
    const auto n1 = static_cast<int>(state.range(0)), n2 = static_cast<int>(state.range(1));
    Data<float> a(n1), b(n2), d(n1 + n2 - 1);
    for (auto _ : state) {
        plain::Convolve(a.p, n1, b.p, n2, d.p);
        benchmark::ClobberMemory();
    }
}

// Overlap-add on FFTW real transforms: the kernel's spectrum is computed once per call (as the
// library does), the plans once outside the timing.
void ConvolveFftw(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0)), m = static_cast<int>(state.range(1));
    int full = 1, kernel = 1;
    while (full < n + m - 1) full *= 2;
    while (kernel < m) kernel *= 2;
    const int N = std::min(full, 4 * kernel), B = N - m + 1, bins = N / 2 + 1;
    Data<float> a(n), b(m), d(n + m - 1);
    float* x = fftwf_alloc_real(N);
    fftwf_complex* X = fftwf_alloc_complex(bins);
    fftwf_complex* H = fftwf_alloc_complex(bins);
    const fftwf_plan fwd = fftwf_plan_dft_r2c_1d(N, x, X, FFTW_MEASURE);
    const fftwf_plan inv = fftwf_plan_dft_c2r_1d(N, X, x, FFTW_MEASURE);
    const fftwf_plan fwdH = fftwf_plan_dft_r2c_1d(N, x, H, FFTW_MEASURE);
    for (auto _ : state) {
        std::fill(x, x + N, 0.0f);
        std::copy(b.p, b.p + m, x);
        fftwf_execute(fwdH);
        const float scale = 1.0f / static_cast<float>(N);
        for (int k = 0; k < bins; ++k) {
            H[k][0] *= scale;
            H[k][1] *= scale;
        }
        for (int start = 0; start < n; start += B) {
            const int count = std::min(B, n - start);
            std::copy(a.p + start, a.p + start + count, x);
            std::fill(x + count, x + N, 0.0f);
            fftwf_execute(fwd);
            for (int k = 0; k < bins; ++k) {
                const float re = X[k][0] * H[k][0] - X[k][1] * H[k][1];
                const float im = X[k][0] * H[k][1] + X[k][1] * H[k][0];
                X[k][0] = re;
                X[k][1] = im;
            }
            fftwf_execute(inv);
            const int produced = count + m - 1, overlap = start == 0 ? 0 : m - 1;
            for (int i = 0; i < overlap; ++i) d.p[start + i] += x[i];
            std::copy(x + overlap, x + produced, d.p + start + overlap);
        }
        benchmark::ClobberMemory();
    }
    fftwf_destroy_plan(fwd);
    fftwf_destroy_plan(inv);
    fftwf_destroy_plan(fwdH);
    fftwf_free(x);
    fftwf_free(X);
    fftwf_free(H);
}

BENCHMARK(ConvolveQp)->Name("Convolve_f32/qp")->Apply(ConvolveSizes);
BENCHMARK(ConvolvePlain)->Name("Convolve_f32/plain")->Apply(ConvolveSizes);
BENCHMARK(ConvolveFftw)->Name("Convolve_f32/fftw")->Apply(ConvolveSizes);

// --- resampling -----------------------------------------------------------------------------------

void ResampleSizes(benchmark::internal::Benchmark* b) {
    for (long n : {256L, 4096L, 65536L, 1L << 20}) b->Args({n});
}

template <int kFactor>
void UpQp(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Data<float> s(n), d(static_cast<std::size_t>(n) * kFactor);
    for (auto _ : state) {
        unsigned int phase = 1;
        qu::UpSample(n, s.p, d.p, kFactor, &phase);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * (1 + kFactor) * n * sizeof(float)));
}
template <int kFactor>
void UpPlain(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(0));
    Data<float> s(n), d(static_cast<std::size_t>(n) * kFactor);
    for (auto _ : state) {
        plain::UpSample(s.p, n, d.p, kFactor, 1);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * (1 + kFactor) * n * sizeof(float)));
}
template <int kFactor>
void DownQp(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Data<float> s(n), d(n / kFactor + 1);
    for (auto _ : state) {
        unsigned int phase = 1;
        qu::DownSample(n, s.p, d.p, kFactor, &phase);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * n * sizeof(float)));
}
template <int kFactor>
void DownPlain(benchmark::State& state) {
    const auto n = static_cast<int>(state.range(0));
    Data<float> s(n), d(n / kFactor + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(plain::DownSample(s.p, n, d.p, kFactor, 1));
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * n * sizeof(float)));
}

BENCHMARK(UpQp<2>)->Name("UpSample_f32_F2/qp")->Apply(ResampleSizes);
BENCHMARK(UpPlain<2>)->Name("UpSample_f32_F2/plain")->Apply(ResampleSizes);
BENCHMARK(UpQp<3>)->Name("UpSample_f32_F3/qp")->Apply(ResampleSizes);
BENCHMARK(UpPlain<3>)->Name("UpSample_f32_F3/plain")->Apply(ResampleSizes);
BENCHMARK(DownQp<2>)->Name("DownSample_f32_F2/qp")->Apply(ResampleSizes);
BENCHMARK(DownPlain<2>)->Name("DownSample_f32_F2/plain")->Apply(ResampleSizes);
BENCHMARK(DownQp<3>)->Name("DownSample_f32_F3/qp")->Apply(ResampleSizes);
BENCHMARK(DownPlain<3>)->Name("DownSample_f32_F3/plain")->Apply(ResampleSizes);

}  // namespace

BENCHMARK_MAIN();
