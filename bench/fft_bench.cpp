// FFTs of the library (through the exported state API) against FFTW with FFTW_MEASURE plans on the
// same layout and against KissFFT (single precision complex), forward and inverse, orders 4..22.
// Case names "<Op>/<impl>/<order>" pair up in bench/ratios.py.
#include <fftw3.h>
#include <kissfft/kiss_fft.h>

#include <complex>
#include <cstring>
#include <vector>

#include "bench_util.h"
#include "quoraccelerate/transform.h"
#include "quoraccelerate/utility/memory.h"

namespace {

namespace qt = quoraccelerate::transform;
namespace qu = quoraccelerate::utility;

template <typename T>
T* Filled(std::size_t n) {
    T* p = static_cast<T*>(fftw_malloc(n * sizeof(T)));
    for (std::size_t i = 0; i < n; ++i) p[i] = static_cast<T>(static_cast<int>(i % 61) - 30) * static_cast<T>(0.03);
    return p;
}

// A state of the library with its buffer, released at the end of the case.
template <typename State>
struct QpState {
    State* state = nullptr;
    unsigned char* buffer = nullptr;
    explicit QpState(int order) {
        qt::FFTInit(&state, static_cast<unsigned>(order));
        unsigned int size = 0;
        qt::FFTGetBufSize(state, &size);
        if (size != 0) {
            // Touched once, as by an application that reuses its buffer: otherwise the first calls
            // of a short run pay the page faults of a fresh allocation (tens of MiB at order 22),
            // which FFTW's planning has already paid for its own buffers.
            buffer = qu::Malloc_Byte(size);
            std::memset(buffer, 0, size);
        }
    }
    ~QpState() {
        qt::FFTFree(state);
        qu::Free(buffer);  // the small record stays allocated, as FFTFree leaves it
    }
};

void SetRate(benchmark::State& st, int order) {
    // The customary FFT rate: 5 N log2 N flops per complex transform.
    const double n = static_cast<double>(std::int64_t{1} << order);
    st.counters["mflops"] = benchmark::Counter(5 * n * order * static_cast<double>(st.iterations()) / 1e6,
                                               benchmark::Counter::kIsRate);
}

// --- complex split ------------------------------------------------------------------------------

template <typename T, typename State, bool Inverse>
void BM_Split_qp(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const std::size_t n = std::size_t{1} << order;
    QpState<State> s(order);
    T* in = Filled<T>(2 * n);
    T* out = Filled<T>(2 * n);
    for (auto _ : st) {
        if (Inverse)
            qt::FFTInv(in, in + n, out, out + n, s.state, s.buffer);
        else
            qt::FFTFwd(in, in + n, out, out + n, s.state, s.buffer);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftw_free(in);
    fftw_free(out);
}

template <bool Inverse>
void BM_Split_fftwf(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    float* in = Filled<float>(2 * static_cast<std::size_t>(n));
    float* out = Filled<float>(2 * static_cast<std::size_t>(n));
    fftwf_iodim dim{n, 1, 1};
    // The inverse of a split transform is the forward one with real and imaginary parts swapped.
    fftwf_plan p = Inverse ? fftwf_plan_guru_split_dft(1, &dim, 0, nullptr, in + n, in, out + n, out, FFTW_MEASURE)
                           : fftwf_plan_guru_split_dft(1, &dim, 0, nullptr, in, in + n, out, out + n, FFTW_MEASURE);
    for (auto _ : st) {
        fftwf_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftwf_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

template <bool Inverse>
void BM_Split_fftw(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    double* in = Filled<double>(2 * static_cast<std::size_t>(n));
    double* out = Filled<double>(2 * static_cast<std::size_t>(n));
    fftw_iodim dim{n, 1, 1};
    fftw_plan p = Inverse ? fftw_plan_guru_split_dft(1, &dim, 0, nullptr, in + n, in, out + n, out, FFTW_MEASURE)
                          : fftw_plan_guru_split_dft(1, &dim, 0, nullptr, in, in + n, out, out + n, FFTW_MEASURE);
    for (auto _ : st) {
        fftw_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

// KissFFT has no split layout: it is timed on interleaved data as its closest equivalent.
template <bool Inverse>
void BM_kiss(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    kiss_fft_cfg cfg = kiss_fft_alloc(n, Inverse ? 1 : 0, nullptr, nullptr);
    std::vector<kiss_fft_cpx> in(static_cast<std::size_t>(n)), out(in.size());
    for (int i = 0; i < n; ++i) in[i] = {static_cast<float>(i % 61) * 0.03f, static_cast<float>(i % 7) * 0.1f};
    for (auto _ : st) {
        kiss_fft(cfg, in.data(), out.data());
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    kiss_fft_free(cfg);
}

// --- complex interleaved --------------------------------------------------------------------------

template <typename T, typename State, bool Inverse>
void BM_Inter_qp(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const std::size_t n = std::size_t{1} << order;
    QpState<State> s(order);
    T* in = Filled<T>(2 * n);
    T* out = Filled<T>(2 * n);
    auto* ci = reinterpret_cast<std::complex<T>*>(in);
    auto* co = reinterpret_cast<std::complex<T>*>(out);
    for (auto _ : st) {
        if (Inverse)
            qt::FFTInv(ci, co, s.state, s.buffer);
        else
            qt::FFTFwd(ci, co, s.state, s.buffer);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftw_free(in);
    fftw_free(out);
}

template <bool Inverse>
void BM_Inter_fftwf(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    auto* in = reinterpret_cast<fftwf_complex*>(Filled<float>(2 * static_cast<std::size_t>(n)));
    auto* out = reinterpret_cast<fftwf_complex*>(Filled<float>(2 * static_cast<std::size_t>(n)));
    fftwf_plan p = fftwf_plan_dft_1d(n, in, out, Inverse ? FFTW_BACKWARD : FFTW_FORWARD, FFTW_MEASURE);
    for (auto _ : st) {
        fftwf_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftwf_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

template <bool Inverse>
void BM_Inter_fftw(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    auto* in = reinterpret_cast<fftw_complex*>(Filled<double>(2 * static_cast<std::size_t>(n)));
    auto* out = reinterpret_cast<fftw_complex*>(Filled<double>(2 * static_cast<std::size_t>(n)));
    fftw_plan p = fftw_plan_dft_1d(n, in, out, Inverse ? FFTW_BACKWARD : FFTW_FORWARD, FFTW_MEASURE);
    for (auto _ : st) {
        fftw_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order);
    fftw_destroy_plan(p);
    fftw_free(in);
    fftw_free(out);
}

// --- real -----------------------------------------------------------------------------------------

template <typename T, typename State, bool Inverse>
void BM_Real_qp(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const std::size_t n = std::size_t{1} << order;
    QpState<State> s(order);
    T* in = Filled<T>(n + 2);
    T* out = Filled<T>(n + 2);
    for (auto _ : st) {
        if (Inverse)
            qt::FFTInv(in, out, s.state, s.buffer);
        else
            qt::FFTFwd(in, out, s.state, s.buffer);
        benchmark::ClobberMemory();
    }
    SetRate(st, order - 1);
    fftw_free(in);
    fftw_free(out);
}

template <bool Inverse>
void BM_Real_fftwf(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    float* r = Filled<float>(static_cast<std::size_t>(n) + 2);
    auto* c = reinterpret_cast<fftwf_complex*>(Filled<float>(static_cast<std::size_t>(n) + 2));
    fftwf_plan p = Inverse ? fftwf_plan_dft_c2r_1d(n, c, r, FFTW_MEASURE) : fftwf_plan_dft_r2c_1d(n, r, c, FFTW_MEASURE);
    for (auto _ : st) {
        fftwf_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order - 1);
    fftwf_destroy_plan(p);
    fftw_free(r);
    fftw_free(c);
}

template <bool Inverse>
void BM_Real_fftw(benchmark::State& st) {
    const int order = static_cast<int>(st.range(0));
    const int n = 1 << order;
    double* r = Filled<double>(static_cast<std::size_t>(n) + 2);
    auto* c = reinterpret_cast<fftw_complex*>(Filled<double>(static_cast<std::size_t>(n) + 2));
    fftw_plan p = Inverse ? fftw_plan_dft_c2r_1d(n, c, r, FFTW_MEASURE) : fftw_plan_dft_r2c_1d(n, r, c, FFTW_MEASURE);
    for (auto _ : st) {
        fftw_execute(p);
        benchmark::ClobberMemory();
    }
    SetRate(st, order - 1);
    fftw_destroy_plan(p);
    fftw_free(r);
    fftw_free(c);
}

void Orders(benchmark::internal::Benchmark* b) {
    for (int order = 4; order <= 22; ++order) b->Arg(order);
}

using quoraccelerate::FFTState_Complex_Double_Deinterleaved;
using quoraccelerate::FFTState_Complex_Double_Interleaved;
using quoraccelerate::FFTState_Complex_Float_Deinterleaved;
using quoraccelerate::FFTState_Complex_Float_Interleaved;
using quoraccelerate::FFTState_Double;
using quoraccelerate::FFTState_Float;

BENCHMARK(BM_Split_qp<float, FFTState_Complex_Float_Deinterleaved, false>)->Name("FFTFwd_c32_split/qp")->Apply(Orders);
BENCHMARK(BM_Split_fftwf<false>)->Name("FFTFwd_c32_split/fftw")->Apply(Orders);
BENCHMARK(BM_kiss<false>)->Name("FFTFwd_c32_split/kiss")->Apply(Orders);
BENCHMARK(BM_Split_qp<float, FFTState_Complex_Float_Deinterleaved, true>)->Name("FFTInv_c32_split/qp")->Apply(Orders);
BENCHMARK(BM_Split_fftwf<true>)->Name("FFTInv_c32_split/fftw")->Apply(Orders);
BENCHMARK(BM_kiss<true>)->Name("FFTInv_c32_split/kiss")->Apply(Orders);

BENCHMARK(BM_Inter_qp<float, FFTState_Complex_Float_Interleaved, false>)->Name("FFTFwd_c32_inter/qp")->Apply(Orders);
BENCHMARK(BM_Inter_fftwf<false>)->Name("FFTFwd_c32_inter/fftw")->Apply(Orders);
BENCHMARK(BM_kiss<false>)->Name("FFTFwd_c32_inter/kiss")->Apply(Orders);
BENCHMARK(BM_Inter_qp<float, FFTState_Complex_Float_Interleaved, true>)->Name("FFTInv_c32_inter/qp")->Apply(Orders);
BENCHMARK(BM_Inter_fftwf<true>)->Name("FFTInv_c32_inter/fftw")->Apply(Orders);

BENCHMARK(BM_Split_qp<double, FFTState_Complex_Double_Deinterleaved, false>)->Name("FFTFwd_c64_split/qp")->Apply(Orders);
BENCHMARK(BM_Split_fftw<false>)->Name("FFTFwd_c64_split/fftw")->Apply(Orders);
BENCHMARK(BM_Split_qp<double, FFTState_Complex_Double_Deinterleaved, true>)->Name("FFTInv_c64_split/qp")->Apply(Orders);
BENCHMARK(BM_Split_fftw<true>)->Name("FFTInv_c64_split/fftw")->Apply(Orders);
BENCHMARK(BM_Inter_qp<double, FFTState_Complex_Double_Interleaved, false>)->Name("FFTFwd_c64_inter/qp")->Apply(Orders);
BENCHMARK(BM_Inter_fftw<false>)->Name("FFTFwd_c64_inter/fftw")->Apply(Orders);

BENCHMARK(BM_Real_qp<float, FFTState_Float, false>)->Name("FFTFwd_r32/qp")->Apply(Orders);
BENCHMARK(BM_Real_fftwf<false>)->Name("FFTFwd_r32/fftw")->Apply(Orders);
BENCHMARK(BM_Real_qp<float, FFTState_Float, true>)->Name("FFTInv_r32/qp")->Apply(Orders);
BENCHMARK(BM_Real_fftwf<true>)->Name("FFTInv_r32/fftw")->Apply(Orders);
BENCHMARK(BM_Real_qp<double, FFTState_Double, false>)->Name("FFTFwd_r64/qp")->Apply(Orders);
BENCHMARK(BM_Real_fftw<false>)->Name("FFTFwd_r64/fftw")->Apply(Orders);
BENCHMARK(BM_Real_qp<double, FFTState_Double, true>)->Name("FFTInv_r64/qp")->Apply(Orders);
BENCHMARK(BM_Real_fftw<true>)->Name("FFTInv_r64/fftw")->Apply(Orders);

}  // namespace

BENCHMARK_MAIN();
