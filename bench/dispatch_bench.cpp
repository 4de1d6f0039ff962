// The cost of reaching a kernel through its dispatch table, against calling the build of the
// running processor's path directly, on calls short enough for the call to matter.
#include "bench_util.h"
#include "quoraccelerate/utility.h"
#include "runtime/kernels.h"

namespace {

constexpr int kShort = 8;

// The build this processor runs, looked up once: a direct call through a known address.
qp::add_f32_fn* DirectAdd() {
    qp::InitLibrary();
    return qp::add_f32_table[qp::g_codePath + 1];
}

void BM_Call_direct(benchmark::State& state) {
    qpbench::Array<float> a(kShort), d(kShort);
    qp::add_f32_fn* const kernel = DirectAdd();
    for (auto _ : state) {
        benchmark::DoNotOptimize(kernel(a.get(), a.get(), d.get(), kShort));
        benchmark::ClobberMemory();
    }
}

void BM_Call_dispatched(benchmark::State& state) {
    qpbench::Array<float> a(kShort), d(kShort);
    qp::InitLibrary();
    for (auto _ : state) {
        benchmark::DoNotOptimize(qp::add_f32(a.get(), a.get(), d.get(), kShort));
        benchmark::ClobberMemory();
    }
}

void BM_Call_export(benchmark::State& state) {
    qpbench::Array<float> a(kShort), d(kShort);
    for (auto _ : state) {
        quoraccelerate::utility::Add(kShort, a.get(), a.get(), d.get());
        benchmark::ClobberMemory();
    }
}

BENCHMARK(BM_Call_direct)->Name("Call/direct");
BENCHMARK(BM_Call_dispatched)->Name("Call/dispatched");
BENCHMARK(BM_Call_export)->Name("Call/export");

}  // namespace

BENCHMARK_MAIN();
