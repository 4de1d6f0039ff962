// Block FIR filtering of 4096 samples at 16, 64, 256 and 1024 taps: the library against liquid-dsp's
// firfilt_rrrf and a textbook loop compiled for this machine. The case argument is the tap count.
//
// Each case reports MAC/s (multiply-adds per second of CPU time) and MAC/cycle, the same rate in
// cycles of the nominal 2445 MHz clock that the host program's report measures. The peak is two
// FMA units times the lanes per vector: 16 single-precision multiply-adds per cycle with AVX2, 32
// with 512-bit AVX-512 units; at a boosted clock MAC/cycle overstates the per-cycle rate by the boost factor. CPU time, not wall time, is the
// base, so that other processes sharing the cores do not count.
#include <liquid/liquid.h>

#include <vector>

#include "bench_util.h"
#include "quoraccelerate/filter/fir.h"

namespace plain {
// fir_plain.cpp: a textbook direct-form FIR compiled with -O3 -march=native.
void Fir(const float* taps, int tapsLen, float* history, float* work, const float* x, float* y, int n);
}  // namespace plain

namespace {

using qpbench::Array;
constexpr int kBlock = 4096;
constexpr double kNominalHz = 2445e6;

std::vector<float> Taps(int n) {
    std::vector<float> h(static_cast<std::size_t>(n));
    for (int i = 0; i < n; ++i) h[i] = 1.0f / static_cast<float>(1 + (i * 7) % 13);
    return h;
}

template <typename Body>
void Measure(benchmark::State& state, int taps, Body body) {
    for (auto _ : state) {
        body();
        benchmark::ClobberMemory();
    }
    const double macs = static_cast<double>(state.iterations()) * kBlock * taps;
    state.counters["MAC/s"] = benchmark::Counter(macs, benchmark::Counter::kIsRate);
    state.counters["MAC/cycle"] = benchmark::Counter(macs / kNominalHz, benchmark::Counter::kIsRate);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kBlock);
}

void BM_Fir_qp(benchmark::State& state) {
    const int taps = static_cast<int>(state.range(0));
    const std::vector<float> h = Taps(taps);
    Array<float> x(kBlock), y(kBlock);
    quoraccelerate::FIRState_Float* fir = nullptr;
    quoraccelerate::filter::FIRInit(&fir, h.data(), static_cast<unsigned int>(taps), nullptr);
    Measure(state, taps, [&] { quoraccelerate::filter::FIR(fir, kBlock, x.get(), y.get()); });
    quoraccelerate::filter::FIRFree(fir);
}

void BM_Fir_liquid(benchmark::State& state) {
    const int taps = static_cast<int>(state.range(0));
    std::vector<float> h = Taps(taps);
    Array<float> x(kBlock), y(kBlock);
    firfilt_rrrf q = firfilt_rrrf_create(h.data(), static_cast<unsigned int>(taps));
    Measure(state, taps, [&] { firfilt_rrrf_execute_block(q, x.get(), kBlock, y.get()); });
    firfilt_rrrf_destroy(q);
}

void BM_Fir_plain(benchmark::State& state) {
    const int taps = static_cast<int>(state.range(0));
    const std::vector<float> h = Taps(taps);
    Array<float> x(kBlock), y(kBlock), history(static_cast<std::size_t>(taps)), work(kBlock + taps);
    Measure(state, taps, [&] { plain::Fir(h.data(), taps, history.get(), work.get(), x.get(), y.get(), kBlock); });
}

void TapCounts(benchmark::internal::Benchmark* b) {
    for (long n : {16L, 64L, 256L, 1024L}) b->Arg(n);
    b->Unit(benchmark::kMicrosecond);
}

BENCHMARK(BM_Fir_qp)->Name("FIR/qp")->Apply(TapCounts);
BENCHMARK(BM_Fir_liquid)->Name("FIR/liquid")->Apply(TapCounts);
BENCHMARK(BM_Fir_plain)->Name("FIR/plain")->Apply(TapCounts);

}  // namespace

BENCHMARK_MAIN();
