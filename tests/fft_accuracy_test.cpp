// Accuracy of every kind against a long-double reference, side by side with FFTW's error on the
// same inputs in the same precision: orders 4..12 on every runnable code path in the normal run,
// the whole table (orders 4..20, forward and inverse, dispatched path) in LargeFFTAccuracy.
// Also the large orders (21..24, label large) and each kind's largest order (label huge).
#include <cstdio>
#include <cstdlib>
#include <memory>

#include <fftw3.h>

#include "fft_support.h"

namespace {

using fftt::ExactOutput;
using fftt::Kind;
using fftt::Kinds;
using fftt::Shape;

// FFTW in precision T behind the calling shape of a kind: plans made once per kind, direction and
// order (with `flags`), executed on every input. Results in the kind's output layout, inverse
// divided by N (a power of two: exact).
template <typename T>
struct Fftw;
#define FFTT_FFTW(T, P)                                                                                     \
    template <>                                                                                             \
    struct Fftw<T> {                                                                                        \
        using C = P##_complex;                                                                              \
        using Plan = P##_plan;                                                                              \
        static C* Alloc(std::int64_t n) { return P##_alloc_complex(static_cast<std::size_t>(n)); }          \
        static T* AllocReal(std::int64_t n) { return P##_alloc_real(static_cast<std::size_t>(n)); }         \
        static void Free(void* p) { P##_free(p); }                                                          \
        static Plan Dft(int n, C* a, int sign, unsigned f) { return P##_plan_dft_1d(n, a, a, sign, f); }    \
        static Plan R2C(int n, T* r, C* c, unsigned f) { return P##_plan_dft_r2c_1d(n, r, c, f); }          \
        static Plan C2R(int n, C* c, T* r, unsigned f) { return P##_plan_dft_c2r_1d(n, c, r, f); }          \
        static void Run(Plan p) { P##_execute(p); }                                                         \
        static void Destroy(Plan p) { P##_destroy_plan(p); }                                                \
        static void ForgetWisdom() { P##_forget_wisdom(); }                                                 \
    };
FFTT_FFTW(double, fftw)
FFTT_FFTW(float, fftwf)
#undef FFTT_FFTW

template <typename T>
class FftwRunner {
   public:
    FftwRunner(const Kind& k, bool inverse, int order, unsigned flags) : k_(k), inverse_(inverse), n_(std::int64_t{1} << order) {
        using F = Fftw<T>;
        // Plans reuse the wisdom of earlier plans of the same problem, whatever their flags: without
        // this an FFTW_ESTIMATE plan made after an FFTW_MEASURE one (in this process) is the measured plan.
        if (flags == FFTW_ESTIMATE) F::ForgetWisdom();
        c_ = F::Alloc(n_);
        r_ = F::AllocReal(n_);
        const int n = static_cast<int>(n_);
        if (k.shape != Shape::kReal)
            plan_ = F::Dft(n, c_, inverse ? FFTW_BACKWARD : FFTW_FORWARD, flags);
        else if (inverse)
            plan_ = F::C2R(n, c_, r_, flags);
        else
            plan_ = F::R2C(n, r_, c_, flags);
    }
    ~FftwRunner() {
        Fftw<T>::Destroy(plan_);
        Fftw<T>::Free(c_);
        Fftw<T>::Free(r_);
    }
    FftwRunner(const FftwRunner&) = delete;
    FftwRunner& operator=(const FftwRunner&) = delete;

    void Run(const T* in, T* out) {
        const std::int64_t n = n_;
        const bool real = k_.shape == Shape::kReal;
        const T s = inverse_ ? static_cast<T>(1) / static_cast<T>(n) : static_cast<T>(1);
        if (real && !inverse_) {
            std::copy(in, in + n, r_);
        } else {
            for (std::int64_t i = 0; i < (real ? n / 2 + 1 : n); ++i) {
                c_[i][0] = in[fftt::RePos(k_, n, i)];
                c_[i][1] = (real && (i == 0 || i == n / 2)) ? 0 : in[fftt::ImPos(k_, n, i)];
            }
        }
        Fftw<T>::Run(plan_);
        if (real && inverse_) {
            for (std::int64_t i = 0; i < n; ++i) out[i] = r_[i] * s;
        } else {
            for (std::int64_t i = 0; i < (real ? n / 2 + 1 : n); ++i) {
                out[fftt::RePos(k_, n, i)] = c_[i][0] * s;
                out[fftt::ImPos(k_, n, i)] = c_[i][1] * s;
            }
        }
    }

   private:
    const Kind& k_;
    bool inverse_;
    std::int64_t n_;
    typename Fftw<T>::C* c_;
    T* r_;
    typename Fftw<T>::Plan plan_;
};

// Every case pools at least this many transformed points over its random inputs (and at least
// kMinInputs inputs). The relative RMS error measured over P values has a relative standard
// deviation of about 1 / sqrt(2 P) (errors of many roundings are near normal): with P >= 2^17 real
// values that is 0.2 %, and the difference of two such estimates (ours, FFTW's) stays within 1 %
// (over 3 standard deviations). kSlack is that 1 %: any excess beyond it is a real accuracy deficit,
// not sampling noise.
constexpr std::int64_t kPooledPoints = std::int64_t{1} << 16;
constexpr int kMinInputs = 8;
constexpr double kSlack = 1.01;

// QP_FFT_ACCURACY_POOL=b pools 2^b points instead (for finer ratios than the bounds need).
int InputCount(int order) {
    const char* bits = std::getenv("QP_FFT_ACCURACY_POOL");
    const std::int64_t pooled = bits != nullptr ? std::int64_t{1} << std::atoi(bits) : kPooledPoints;
    const std::int64_t c = pooled >> order;
    return c > kMinInputs ? static_cast<int>(c) : kMinInputs;
}

struct Sums {
    long double err = 0, ref = 0;
    void Add(const std::vector<long double>& exact, const double* got) {
        for (std::size_t i = 0; i < exact.size(); ++i) {
            const long double d = static_cast<long double>(got[i]) - exact[i];
            err += d * d;
            ref += exact[i] * exact[i];
        }
    }
    double Rms() const { return static_cast<double>(std::sqrt(err / ref)); }
};

// Relative RMS errors of one kind, direction and order, pooled over the same inputs: ours on each
// of `paths`, FFTW planned with FFTW_ESTIMATE, and (when asked) FFTW planned with FFTW_MEASURE.
struct Measured {
    std::vector<double> ours;
    double estimate = 0, measure = 0;
};

template <typename T>
Measured MeasureAs(const Kind& k, bool inverse, int order, const std::vector<int>& paths, bool withMeasure) {
    const std::int64_t n = std::int64_t{1} << order;
    const std::int64_t inCount = fftt::InCount(k, inverse, n), outCount = fftt::OutCount(k, inverse, n);
    std::vector<std::unique_ptr<fftt::SpecHolder>> specs;
    std::size_t bufBytes = 0;
    for (int p : paths) {
        specs.push_back(std::make_unique<fftt::SpecHolder>(k, p, order));
        EXPECT_EQ(specs.back()->status, qp::qpStsNoErr);
        bufBytes = std::max(bufBytes, static_cast<std::size_t>(specs.back()->bufSize) + 1);
    }
    std::vector<unsigned char> buf(bufBytes);
    FftwRunner<T> estimate(k, inverse, order, FFTW_ESTIMATE);
    std::unique_ptr<FftwRunner<T>> measure;
    if (withMeasure) measure = std::make_unique<FftwRunner<T>>(k, inverse, order, FFTW_MEASURE);
    std::vector<Sums> ours(paths.size());
    Sums est, mea;
    std::vector<T> in(static_cast<std::size_t>(inCount)), out(static_cast<std::size_t>(outCount));
    std::vector<double> wide(out.size());
    auto add = [&](Sums& s, const std::vector<long double>& exact) {
        std::copy(out.begin(), out.end(), wide.begin());
        s.Add(exact, wide.data());
    };
    const int inputs = InputCount(order);
    for (int r = 0; r < inputs; ++r) {
        const std::vector<double> x = fftt::RandomInput(k, inverse, order, 7001u * static_cast<unsigned>(order) + r);
        const std::vector<long double> exact = ExactOutput(k, inverse, x, order);
        std::copy(x.begin(), x.end(), in.begin());
        for (std::size_t p = 0; p < paths.size(); ++p) {
            EXPECT_EQ(fftt::Apply<T>(k, paths[p], inverse, in.data(), out.data(), specs[p]->spec, buf.data(), n),
                      qp::qpStsNoErr);
            add(ours[p], exact);
        }
        estimate.Run(in.data(), out.data());
        add(est, exact);
        if (measure) {
            measure->Run(in.data(), out.data());
            add(mea, exact);
        }
    }
    Measured m;
    for (const Sums& s : ours) m.ours.push_back(s.Rms());
    m.estimate = est.Rms();
    m.measure = withMeasure ? mea.Rms() : 0;
    return m;
}

Measured Measure(const Kind& k, bool inverse, int order, const std::vector<int>& paths, bool withMeasure) {
    return k.isDouble ? MeasureAs<double>(k, inverse, order, paths, withMeasure)
                      : MeasureAs<float>(k, inverse, order, paths, withMeasure);
}

// Bound on ours / FFTW's error. kSlack (sampling noise only) everywhere except the gaps that remain
// (docs/FFT.md, Accuracy), each bounded a little above its measured ratio so that any loss shows:
//  - builds without FMA (paths 0 to 3) round both products of every complex product; FFTW's kernels
//    on a processor with FMA fuse them: up to 9 % (real double at order 11);
//  - the test-only 512-bit build lowered to AVX2 runs the scalar straight-line kernels at complex
//    orders 4 and 5 (N < L^2), and its real kinds at orders 5 and 6 run on them: up to 3.3 %.
double Bound(int order, int path) {
    if (path <= 3) return 1.10;
    if (path == qptest::kWidePath && order <= 6) return 1.04;
    return kSlack;
}

// Orders 4..12 on every runnable path (the wide builds hand small orders to the narrower ones, so
// each build's kernels are measured where they run), forward and inverse.
TEST(FFTAccuracy, NoWorseThanFFTWOnEveryPath) {
    // Rounding does not depend on the processor: the native run measures every path it can execute,
    // and under emulation the pooled inputs would take minutes.
    if (qptest::Emulated()) GTEST_SKIP() << "measured natively";
    const std::vector<int> paths = qptest::RunnablePaths();
    for (const Kind& k : Kinds())
        for (bool inverse : {false, true})
            for (int order = 4; order <= 12; ++order) {
                const Measured m = Measure(k, inverse, order, paths, false);
                for (std::size_t p = 0; p < paths.size(); ++p)
                    EXPECT_LE(m.ours[p], Bound(order, paths[p]) * m.estimate)
                        << k.name << (inverse ? " inverse" : " forward") << " order " << order << " path "
                        << qptest::PathName(paths[p]) << ": ours / FFTW = " << m.ours[p] / m.estimate;
            }
}

// The whole table on the dispatched path: ours, FFTW_ESTIMATE (the plan the assertion uses, as
// in the test above) and FFTW_MEASURE (the plan of the benchmarks), forward then inverse.
TEST(LargeFFTAccuracy, TableOfOrders4To20) {
    qp::InitLibrary();
    const std::vector<int> paths = {qp::g_codePath};
    for (bool inverse : {false, true}) {
        std::printf("relative RMS error against a long-double reference, %s, dispatched path %d\n"
                    "(ours, then ours / FFTW_ESTIMATE and ours / FFTW_MEASURE in the same precision)\n",
                    inverse ? "inverse" : "forward", qp::g_codePath);
        std::printf("%-5s", "order");
        for (const Kind& k : Kinds()) std::printf(" %8s %5s %5s", k.name, "/est", "/mea");
        std::printf("\n");
        for (int order = 4; order <= 20; ++order) {
            std::printf("%-5d", order);
            for (const Kind& k : Kinds()) {
                const Measured m = Measure(k, inverse, order, paths, true);
                std::printf(" %8.2e %5.3f %5.2f", m.ours[0], m.ours[0] / m.estimate, m.ours[0] / m.measure);
                EXPECT_LE(m.ours[0], Bound(order, qp::g_codePath) * m.estimate)
                    << k.name << (inverse ? " inverse" : " forward") << " order " << order;
            }
            std::printf("\n");
            std::fflush(stdout);
        }
    }
}

// Round trip in place and one forward against the exact reference on the dispatched path.
void CheckLargeOrder(const Kind& k, int order, bool againstReference) {
    SCOPED_TRACE(testing::Message() << k.name << " order " << order);
    qp::InitLibrary();
    const int path = qp::g_codePath;
    const std::int64_t n = std::int64_t{1} << order;
    fftt::SpecHolder spec(k, path, order);
    ASSERT_EQ(spec.status, qp::qpStsNoErr);
    const std::vector<double> in = fftt::RandomInput(k, false, order, 99u + order);
    fftt::WithType(k, [&](auto zero) {
        using T = decltype(zero);
        std::vector<T> io(static_cast<std::size_t>(fftt::OutCount(k, false, n)));
        std::copy(in.begin(), in.end(), io.begin());
        ASSERT_EQ(fftt::Apply<T>(k, path, false, io.data(), io.data(), spec.spec, spec.buffer.data(), n), qp::qpStsNoErr);
        if (againstReference) {
            const fftt::Error e = fftt::Compare(io.data(), ExactOutput(k, false, in, order));
            EXPECT_LE(e.rms, fftt::RmsTolerance(k, order));
            EXPECT_LE(e.max, fftt::MaxTolerance(k, order));
        }
        ASSERT_EQ(fftt::Apply<T>(k, path, true, io.data(), io.data(), spec.spec, spec.buffer.data(), n), qp::qpStsNoErr);
        const fftt::Error back = fftt::Compare(io.data(), in);
        EXPECT_LE(back.rms, 2 * fftt::RmsTolerance(k, order));
    });
}

TEST(LargeFFTOrders, Orders21To24) {
    for (const Kind& k : Kinds())
        for (int order = 21; order <= 24; ++order) CheckLargeOrder(k, order, true);
}

TEST(HugeFFTOrders, LargestOrderOfEachKind) {
    for (const Kind& k : Kinds()) CheckLargeOrder(k, k.limit, false);
}

}  // namespace
