// IIR biquad cascades and multi-rate FIR filters of the library against liquid-dsp's second-order
// section filter, interpolator, decimator and rational resampler. Every case reports the input
// samples it consumes per second.
#include <liquid/liquid.h>

#include <cmath>
#include <vector>

#include "bench_util.h"
#include "quoraccelerate/filter.h"

namespace {

namespace qf = quoraccelerate::filter;
using qpbench::Array;

// Four stable low-pass-like sections: b0 b1 b2 a0 a1 a2 each.
std::vector<float> Sections(int count) {
    std::vector<float> t;
    for (int m = 0; m < count; ++m) {
        const double r = 0.6 + 0.08 * m, w = 0.3 + 0.2 * m;
        const double a1 = -2 * r * std::cos(w), a2 = r * r, g = (1 + a1 + a2) / 4;
        t.insert(t.end(), {static_cast<float>(g), static_cast<float>(2 * g), static_cast<float>(g), 1.0f,
                           static_cast<float>(a1), static_cast<float>(a2)});
    }
    return t;
}

constexpr int kSections = 4;

void BM_Biquad_qp(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(n);
    const std::vector<float> taps = Sections(kSections);
    quoraccelerate::IIRState_Float* s = nullptr;
    qf::IIRInit_BiQuad(&s, taps.data(), kSections, nullptr);
    for (auto _ : state) {
        qf::IIR(n, x.get(), y.get(), s);
        benchmark::ClobberMemory();
    }
    qf::IIRFree(s);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

void BM_Biquad_liquid(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(n);
    const std::vector<float> taps = Sections(kSections);
    std::vector<float> b, a;
    for (int m = 0; m < kSections; ++m) {
        b.insert(b.end(), taps.begin() + 6 * m, taps.begin() + 6 * m + 3);
        a.insert(a.end(), taps.begin() + 6 * m + 3, taps.begin() + 6 * m + 6);
    }
    iirfilt_rrrf q = iirfilt_rrrf_create_sos(b.data(), a.data(), kSections);
    for (auto _ : state) {
        iirfilt_rrrf_execute_block(q, x.get(), n, y.get());
        benchmark::ClobberMemory();
    }
    iirfilt_rrrf_destroy(q);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

constexpr unsigned int kTaps = 48;

std::vector<float> Taps() {
    std::vector<float> h(kTaps);
    for (unsigned int i = 0; i < kTaps; ++i) {
        const double t = (i - (kTaps - 1) / 2.0) / 3.0;
        h[i] = static_cast<float>(t == 0 ? 1 : std::sin(M_PI * t) / (M_PI * t));
    }
    return h;
}

// n inputs per run through the library's multi-rate filter (up, down).
template <unsigned int kUp, unsigned int kDown>
void BM_Mrf_qp(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(n / kDown * kUp);
    const std::vector<float> h = Taps();
    quoraccelerate::MRFState_Float* s = nullptr;
    const std::vector<float, quorcore::utility::STLAllocator<float>> dly((kTaps + kUp - 1) / kUp, 0.0f);
    qf::MRFInit(&s, kUp, kDown, h.data(), kTaps, dly, 0u, 0u);
    for (auto _ : state) {
        qf::MRFProcess(x.get(), y.get(), n / kDown, s);
        benchmark::ClobberMemory();
    }
    qf::MRFFree(s);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

void BM_Interp4_liquid(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(4 * n);
    std::vector<float> h = Taps();
    firinterp_rrrf q = firinterp_rrrf_create(4, h.data(), kTaps);
    for (auto _ : state) {
        firinterp_rrrf_execute_block(q, x.get(), n, y.get());
        benchmark::ClobberMemory();
    }
    firinterp_rrrf_destroy(q);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

void BM_Decim4_liquid(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(n / 4);
    std::vector<float> h = Taps();
    firdecim_rrrf q = firdecim_rrrf_create(4, h.data(), kTaps);
    for (auto _ : state) {
        firdecim_rrrf_execute_block(q, x.get(), n / 4, y.get());
        benchmark::ClobberMemory();
    }
    firdecim_rrrf_destroy(q);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

// Rational 3/2 resampler: 2 * 3 * 8 = 48 taps.
void BM_Resamp3_2_liquid(benchmark::State& state) {
    const auto n = static_cast<unsigned int>(state.range(0));
    Array<float> x(n), y(n / 2 * 3);
    std::vector<float> h = Taps();
    rresamp_rrrf q = rresamp_rrrf_create(3, 2, kTaps / 6, h.data());
    for (auto _ : state) {
        rresamp_rrrf_execute_block(q, x.get(), n / 2, y.get());
        benchmark::ClobberMemory();
    }
    rresamp_rrrf_destroy(q);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * n);
}

void Sizes(benchmark::internal::Benchmark* b) {
    for (long n : {4096L, 65536L}) b->Arg(n);
}

BENCHMARK(BM_Biquad_qp)->Name("Biquad4_f32/qp")->Apply(Sizes);
BENCHMARK(BM_Biquad_liquid)->Name("Biquad4_f32/liquid")->Apply(Sizes);
BENCHMARK(BM_Mrf_qp<3, 2>)->Name("Resample3_2_f32/qp")->Apply(Sizes);
BENCHMARK(BM_Resamp3_2_liquid)->Name("Resample3_2_f32/liquid")->Apply(Sizes);
BENCHMARK(BM_Mrf_qp<1, 4>)->Name("Decimate4_f32/qp")->Apply(Sizes);
BENCHMARK(BM_Decim4_liquid)->Name("Decimate4_f32/liquid")->Apply(Sizes);
BENCHMARK(BM_Mrf_qp<4, 1>)->Name("Interpolate4_f32/qp")->Apply(Sizes);
BENCHMARK(BM_Interp4_liquid)->Name("Interpolate4_f32/liquid")->Apply(Sizes);

}  // namespace

BENCHMARK_MAIN();
