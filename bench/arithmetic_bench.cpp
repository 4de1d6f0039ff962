// Vector operations of the library against a plain -O3 -march=native loop, VOLK where it has the
// kernel, SLEEF's vector logarithms and memcpy. Every case reports the bytes it moves, so rates
// compare directly.
#include <volk/volk.h>

#include <cmath>
#include <complex>
#include <cstring>
#include <functional>
#include <string>

#include "arithmetic_plain.h"
#include "bench_util.h"
#include "quoraccelerate/utility.h"

namespace {

using qpbench::Array;
namespace qu = quoraccelerate::utility;

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

void AddF32(unsigned int n, const float* a, const float* b, float* d) { qu::Add(n, a, b, d); }
void AddF64(unsigned int n, const double* a, const double* b, double* d) { qu::Add(n, a, b, d); }

BENCHMARK(BM_Add_qp<float, AddF32>)->Name("Add_f32/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_plain<float>)->Name("Add_f32/plain")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_memcpy<float>)->Name("Add_f32/memcpy")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_qp<double, AddF64>)->Name("Add_f64/qp")->Apply(qpbench::VectorSizes);
BENCHMARK(BM_Add_plain<double>)->Name("Add_f64/plain")->Apply(qpbench::VectorSizes);

// The other float operations. Each case gets three float arrays of n elements (n complex elements
// where the operation is complex), filled with positive values 1 .. 63.75 so that divisions and
// logarithms meet no special value, and reports `arrays` times the array bytes as moved.
using Body = std::function<void(float* a, float* b, float* d, int n)>;

// VOLK's buffers come from its own allocator, aligned as its kernels want.
struct VolkArray {
    explicit VolkArray(std::size_t n) : p(static_cast<float*>(volk_malloc(n * sizeof(float), volk_get_alignment()))) {
        for (std::size_t i = 0; i < n; ++i) p[i] = 1.0f + static_cast<float>(i % 251) * 0.25f;
    }
    ~VolkArray() { volk_free(p); }
    float* p;
};

void Register(const std::string& op, const std::string& impl, int arrays, int floatsPerElement, Body body) {
    const bool volk = impl == "volk";
    benchmark::RegisterBenchmark((op + "/" + impl).c_str(),
                                 [=](benchmark::State& state) {
                                     const auto n = static_cast<std::size_t>(state.range(0));
                                     const std::size_t floats = n * floatsPerElement;
                                     VolkArray va(volk ? floats : 1), vb(volk ? floats : 1), vd(volk ? floats : 1);
                                     Array<float> a(volk ? 1 : floats), b(volk ? 1 : floats), d(volk ? 1 : floats);
                                     float* pa = volk ? va.p : a.get();
                                     float* pb = volk ? vb.p : b.get();
                                     float* pd = volk ? vd.p : d.get();
                                     if (!volk)
                                         for (std::size_t i = 0; i < floats; ++i)
                                             pa[i] = pb[i] = pd[i] = 1.0f + static_cast<float>(i % 251) * 0.25f;
                                     for (auto _ : state) {
                                         body(pa, pb, pd, static_cast<int>(n));
                                         benchmark::ClobberMemory();
                                     }
                                     state.SetBytesProcessed(static_cast<std::int64_t>(
                                         state.iterations() * arrays * floats * sizeof(float)));
                                 })
        ->Apply(qpbench::VectorSizes);
}

const bool registered = [] {
    const auto N = [](int n) { return static_cast<unsigned int>(n); };
    using C = std::complex<float>;
    const auto Cx = [](float* p) { return reinterpret_cast<C*>(p); };

    Register("Sub_f32", "qp", 3, 1, [=](float* a, float* b, float* d, int n) { qu::Sub(N(n), a, b, d); });
    Register("Sub_f32", "plain", 3, 1, [](float* a, float* b, float* d, int n) { plain::Sub(a, b, d, n); });
    Register("Sub_f32", "volk", 3, 1, [](float* a, float* b, float* d, int n) { volk_32f_x2_subtract_32f(d, b, a, n); });
    Register("Add_f32", "volk", 3, 1, [](float* a, float* b, float* d, int n) { volk_32f_x2_add_32f(d, a, b, n); });

    Register("Mul_f32", "qp", 3, 1, [=](float* a, float* b, float* d, int n) { qu::Mul(N(n), a, b, d); });
    Register("Mul_f32", "plain", 3, 1, [](float* a, float* b, float* d, int n) { plain::Mul(a, b, d, n); });
    Register("Mul_f32", "volk", 3, 1, [](float* a, float* b, float* d, int n) { volk_32f_x2_multiply_32f(d, a, b, n); });

    // In place, so the values stay bounded over the iterations: d = d / a with a >= 1.
    Register("DivInPlace_f32", "qp", 3, 1, [=](float* a, float*, float* d, int n) { qu::Div_InPlace(N(n), a, d); });
    Register("DivInPlace_f32", "plain", 3, 1, [](float* a, float*, float* d, int n) { plain::DivInPlace(a, d, n); });
    Register("DivInPlace_f32", "volk", 3, 1, [](float* a, float*, float* d, int n) { volk_32f_x2_divide_32f(d, d, a, n); });

    Register("AddConstant_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::AddConstant(N(n), a, 1.5f, d); });
    Register("AddConstant_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::AddConstant(a, 1.5f, d, n); });
    Register("AddConstant_f32", "volk", 2, 1, [](float* a, float*, float* d, int n) { volk_32f_s32f_add_32f(d, a, 1.5f, n); });

    Register("MulConstant_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::MulConstant(N(n), a, d, 1.5f); });
    Register("MulConstant_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::MulConstant(a, 1.5f, d, n); });
    Register("MulConstant_f32", "volk", 2, 1,
             [](float* a, float*, float* d, int n) { volk_32f_s32f_multiply_32f(d, a, 1.5f, n); });

    // VOLK's normalize multiplies by the reciprocal; the library's quotients are those of a true
    // division. Divided by 3 and then by 1/3 (neither a power of two) so that the values stay in
    // range over the iterations.
    const float third = 1.0f / 3.0f;
    Register("DivConstantInPlace_f32", "qp", 4, 1, [=](float*, float*, float* d, int n) {
        qu::DivConstant_InPlace(N(n), d, 3.0f);
        qu::DivConstant_InPlace(N(n), d, third);
    });
    Register("DivConstantInPlace_f32", "plain", 4, 1, [=](float*, float*, float* d, int n) {
        plain::DivConstantInPlace(d, 3.0f, n);
        plain::DivConstantInPlace(d, third, n);
    });
    Register("DivConstantInPlace_f32", "volk", 4, 1, [=](float*, float*, float* d, int n) {
        volk_32f_s32f_normalize(d, 3.0f, n);
        volk_32f_s32f_normalize(d, third, n);
    });

    Register("DivConstantRev_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::DivConstantRev(N(n), 2.0f, a, d); });
    Register("DivConstantRev_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::DivConstantRev(2.0f, a, d, n); });

    // d += a * b: d grows to infinity over the iterations, which costs no time (no subnormals).
    Register("AddProduct_f32", "qp", 4, 1, [=](float* a, float* b, float* d, int n) { qu::AddProduct(N(n), a, b, d); });
    Register("AddProduct_f32", "plain", 4, 1, [](float* a, float* b, float* d, int n) { plain::AddProduct(a, b, d, n); });

    Register("Sqr_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Sqr(N(n), a, d); });
    Register("Sqr_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::Sqr(a, d, n); });
    Register("Sqr_f32", "volk", 2, 1, [](float* a, float*, float* d, int n) { volk_32f_x2_multiply_32f(d, a, a, n); });

    Register("Abs_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Abs(N(n), a, d); });
    Register("Abs_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::Abs(a, d, n); });

    Register("Normalize_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Normalize(N(n), a, d, 1.0f, 3.0f); });
    Register("Normalize_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::Normalize(a, d, 1.0f, 3.0f, n); });

    Register("ThresholdLT_f32", "qp", 2, 1, [=](float*, float*, float* d, int n) { qu::Threshold_LT_InPlace(N(n), d, 9.0f); });
    Register("ThresholdLT_f32", "plain", 2, 1, [](float*, float*, float* d, int n) { plain::ThresholdLT(d, 9.0f, n); });

    Register("Trim_f32", "qp", 2, 1, [=](float*, float*, float* d, int n) { qu::Trim(N(n), d, 9.0f, 50.0f); });
    Register("Trim_f32", "plain", 2, 1, [](float*, float*, float* d, int n) { plain::Trim(d, 9.0f, 50.0f, n); });

    Register("Flip_f32", "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Flip(N(n), a, d); });
    Register("Flip_f32", "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::Flip(a, d, n); });

    // Applied twice per iteration so that the data return to their starting values.
    Register("InvertThreshold_f32", "qp", 4, 1, [=](float*, float*, float* d, int n) {
        qu::Invert_Threshold_InPlace(N(n), d, 0.5f);
        qu::Invert_Threshold_InPlace(N(n), d, 0.0f);
    });
    Register("InvertThreshold_f32", "plain", 4, 1, [](float*, float*, float* d, int n) {
        plain::InvertThreshold(d, 0.5f, n);
        plain::InvertThreshold(d, 0.0f, n);
    });

    Register("Mul_c32", "qp", 3, 2, [=](float* a, float* b, float* d, int n) { qu::Mul(N(n), Cx(a), Cx(b), Cx(d)); });
    Register("Mul_c32", "plain", 3, 2, [](float* a, float* b, float* d, int n) { plain::MulComplex(a, b, d, n); });
    Register("Mul_c32", "volk", 3, 2, [](float* a, float* b, float* d, int n) {
        volk_32fc_x2_multiply_32fc(reinterpret_cast<lv_32fc_t*>(d), reinterpret_cast<const lv_32fc_t*>(a),
                                   reinterpret_cast<const lv_32fc_t*>(b), n);
    });

    // Logarithms: the library's four against std::log, SLEEF's 1-ulp and 3.5-ulp vector logs, and
    // VOLK's log2 scaled by ln 2.
    for (const char* op : {"Ln_f32", "LnPrec24_f32", "LnPrec21_f32", "LnPrec11_f32"}) {
        const std::string o = op;
        if (o == "Ln_f32") Register(o, "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Ln(N(n), a, d); });
        if (o == "LnPrec24_f32") Register(o, "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Ln_Prec24(N(n), a, d); });
        if (o == "LnPrec21_f32") Register(o, "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Ln_Prec21(N(n), a, d); });
        if (o == "LnPrec11_f32") Register(o, "qp", 2, 1, [=](float* a, float*, float* d, int n) { qu::Ln_Prec11(N(n), a, d); });
        Register(o, "plain", 2, 1, [](float* a, float*, float* d, int n) { plain::Ln(a, d, n); });
        Register(o, "sleefu10", 2, 1, [](float* a, float*, float* d, int n) { plain::SleefLnU10(a, d, n); });
        Register(o, "sleefu35", 2, 1, [](float* a, float*, float* d, int n) { plain::SleefLnU35(a, d, n); });
        Register(o, "volk", 2, 1, [](float* a, float*, float* d, int n) {
            volk_32f_log2_32f(d, a, n);
            volk_32f_s32f_multiply_32f(d, d, 0.69314718f, n);
        });
    }
    return true;
}();

}  // namespace

BENCHMARK_MAIN();
