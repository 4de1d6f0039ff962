// Element-wise arithmetic kernels on every runnable code path, against long-double or double
// references, and the exported functions through dispatch.
#include <gtest/gtest.h>
#include <immintrin.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility.h"

namespace {

namespace qu = quoraccelerate::utility;
using qptest::SameBits;
using qptest::SameOrBothNaN;
template <typename T>
using Buffer = qptest::Buffer<T>;

// Lengths around every vector width (4, 8, 16 lanes of float, 2..8 of double) and the 4x unroll;
// 1049 runs the paired division of the 512-bit builds (from 1024 on) into its single-vector block
// and its scalar tail in both precisions.
constexpr int kLengths[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 64, 65, 1049, 4099};

// Mixed magnitudes and signs with a few zeros; or (lo > hi) a cycle of signed zeros, infinities,
// NaN of both signs and values at and around the levels the clipping cases use.
template <typename T>
void Fill(T* p, int n, unsigned seed, T lo, T hi) {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    const T pattern[] = {-3, -1, -T(0), 0, T(0.5), 1, 2, 3, nan, -nan, inf, -inf, T(1.5), T(-0.5), T(2.5)};
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(std::min(lo, hi), std::max(lo, hi));
    for (int i = 0; i < n; ++i) p[i] = lo > hi ? pattern[(i + n) % std::size(pattern)] : static_cast<T>(dist(gen));
    if (n > 4 && lo < hi) p[1] = 0, p[n - 2] = -T(0);
}

// --- element-wise operations: one table, every length, alignment and aliasing -------------------

// A kernel of one or two sources (b is ignored for one source); the reference gets the source
// values and returns the exact result, rounded to T by the check. A reversed case reads a[n-1-i].
template <typename T>
struct MapCase {
    std::string name;
    int sources;
    std::function<qp::Status(const T*, const T*, T*, int)> run;
    std::function<long double(T, T)> ref;
    double relTol = 0;  // 0: the same bits as the rounded reference, any NaN for NaN; < 0: NaN bits too
    T lo = -100, hi = 100;
    bool reversed = false;
};

template <typename T>
void CheckMapCase(const MapCase<T>& c) {
    SCOPED_TRACE(c.name);
    const auto expect = [&c](const T* d, const T* a, const T* b, int n) {
        for (int i = 0; i < n; ++i) {
            const int j = c.reversed ? n - 1 - i : i;
            const long double want = c.ref(a[j], b[j]);
            const T rounded = static_cast<T>(want);
            if (c.relTol < 0) {
                ASSERT_TRUE(SameBits(d[i], rounded)) << i << ": " << a[j] << " gave " << d[i];
            } else if (c.relTol == 0 || !std::isfinite(want)) {
                ASSERT_TRUE(SameOrBothNaN(d[i], rounded)) << i << ": got " << d[i] << " want " << rounded;
            } else {
                ASSERT_LE(std::fabs(d[i] - want), c.relTol * std::fabs(want)) << i;
            }
        }
    };
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        Buffer<T> a(n, (offset + 1) % 4), b(n, (offset + 2) % 4), d(n, offset);
        Fill(a.data, n, 11u + n, c.lo, c.hi);
        Fill(b.data, n, 12u + n, c.lo, c.hi);
        ASSERT_EQ(c.run(a.data, b.data, d.data, n), qp::qpStsNoErr);
        expect(d.data, a.data, b.data, n);
        EXPECT_TRUE(d.GuardsIntact());
        // The destination exactly equal to each source.
        const std::vector<T> a0(a.data, a.data + n), b0(b.data, b.data + n);
        ASSERT_EQ(c.run(a.data, b.data, a.data, n), qp::qpStsNoErr);
        expect(a.data, a0.data(), b0.data(), n);
        EXPECT_TRUE(a.GuardsIntact());
        if (c.sources == 2) {
            ASSERT_EQ(c.run(a0.data(), b.data, b.data, n), qp::qpStsNoErr);
            expect(b.data, a0.data(), b0.data(), n);
        }
    });
    T a[3] = {1, 2, 3}, d[3] = {9, 9, 9};
    const qptest::Snapshot before(d);
    if (c.sources == 2) {
        qptest::ExpectRefusals([&](int n, auto x, auto y, auto o) { return c.run(x, y, o, n); }, a, a, d);
    } else {
        qptest::ExpectRefusals([&](int n, auto x, auto o) { return c.run(x, a, o, n); }, a, d);
    }
    EXPECT_TRUE(before.Unchanged());
}

template <typename T>
MapCase<T> Bin(std::string name, qp::Status (*k)(const T*, const T*, T*, int), std::function<long double(T, T)> ref) {
    return {name, 2, [k](const T* a, const T* b, T* d, int n) { return k(a, b, d, n); }, ref};
}
template <typename T>
MapCase<T> Scal(std::string name, qp::Status (*k)(const T*, T, T*, int), T c, std::function<long double(T, T)> ref,
                double tol = 0, T lo = -100, T hi = 100) {
    return {name, 1, [k, c](const T* a, const T*, T* d, int n) { return k(a, c, d, n); },
            [ref, c](T x, T) { return ref(x, c); }, tol, lo, hi};
}
template <typename T>
MapCase<T> Un(std::string name, qp::Status (*k)(const T*, T*, int), std::function<long double(T, T)> ref,
              double tol = 0, T lo = -100, T hi = 100) {
    return {name, 1, [k](const T* a, const T*, T* d, int n) { return k(a, d, n); }, ref, tol, lo, hi};
}

#define QP_KERNEL(name) QP_TYPED(name, p)

// References compute in W and round once to T: a float operation in double (more than twice float's
// precision, so the correctly rounded float result), a double one by the same IEEE operation. The
// absolute value and the clipping run on the special values too, keeping every bit (NaN included)
// but the absolute value's sign, at levels that are special values themselves.
template <typename T>
std::vector<MapCase<T>> Cases(int p) {
    using L = long double;
    using W = std::conditional_t<std::is_same_v<T, float>, double, T>;
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    const auto ln = [](T x, T) { return logl(x); };
    std::vector<MapCase<T>> c = {
        Bin<T>("add", QP_KERNEL(add), [](T a, T b) { return L(W(a) + W(b)); }),
        Bin<T>("sub b-a", QP_KERNEL(sub), [](T a, T b) { return L(W(b) - W(a)); }),
        Bin<T>("mul", QP_KERNEL(mul), [](T a, T b) { return L(W(a) * W(b)); }),
        Bin<T>("div b/a", QP_KERNEL(div), [](T a, T b) { return L(W(b) / W(a)); }),
        Scal<T>("add const", QP_KERNEL(add_const), T(2.75), [](T x, T c) { return L(W(x) + c); }),
        Scal<T>("sub const", QP_KERNEL(sub_const), T(2.75), [](T x, T c) { return L(W(x) - c); }),
        Scal<T>("sub const rev", QP_KERNEL(sub_const_rev), T(2.75), [](T x, T c) { return L(W(c) - x); }),
        Scal<T>("mul const", QP_KERNEL(mul_const), T(-0.3), [](T x, T c) { return L(W(x) * c); }),
        Scal<T>("div const", QP_KERNEL(div_const), T(3), [](T x, T c) { return L(W(x) / c); }),
        Scal<T>("inv threshold", QP_KERNEL(inv_threshold), T(4),
                [](T x, T c) { return L(1 / std::copysign(std::max(W(std::fabs(x)), W(c)), W(x))); }),
        Un<T>("abs", QP_KERNEL(abs), [](T x, T) { return std::fabs(L(x)); }, -1, 1, -1),
        Un<T>("flip", QP_KERNEL(flip), [](T x, T) { return L(x); }),
        Un<T>("ln", QP_KERNEL(ln), ln, std::numeric_limits<T>::epsilon(), T(1e-3), T(1e3)),
    };
    for (auto& x : c) x.reversed = x.name == "flip";
    const auto normalize = QP_KERNEL(normalize);
    c.push_back({"normalize", 1, [normalize](const T* a, const T*, T* d, int n) { return normalize(a, 1.5, 3, d, n); },
                 [](T x, T) { return L(T(W(x) - 1.5) / 3); }});
    for (T level : {T(7.5), T(1), -T(0), T(0), nan, -inf}) {
        const T lo = level == T(7.5) ? -100 : 1, hi = level == T(7.5) ? 100 : -1;  // random or special data
        c.push_back(Scal<T>("threshold lt", QP_KERNEL(threshold_lt), level, [](T x, T c) { return L(x < c ? c : x); }, -1, lo, hi));
        c.push_back(Scal<T>("threshold gt", QP_KERNEL(threshold_gt), level, [](T x, T c) { return L(x > c ? c : x); }, -1, lo, hi));
    }
    if constexpr (std::is_same_v<T, float>) {
        c.push_back(Scal<T>("div const rev", qptest::div_const_rev_f32_paths[p], 3.0f, [](float x, float c) { return L(W(c) / x); }));
        c.push_back(Un<T>("sqr", qptest::sqr_f32_paths[p], [](float x, float) { return L(W(x) * x); }));
        // The logarithms on positive data here; the accuracy sweeps below cover the whole range.
        c.push_back(Un<T>("ln 24", qptest::ln_a24_f32_paths[p], ln, 0x1p-23, 1e-3f, 1e3f));
        c.push_back(Un<T>("ln 21", qptest::ln_a21_f32_paths[p], ln, 0x1p-21, 1e-3f, 1e3f));
        c.push_back(Un<T>("ln 11", qptest::ln_a11_f32_paths[p], ln, 0x1p-11, 1e-3f, 1e3f));
        // Clipping with levels that are their own values (one instruction per bound), other values
        // and inverted levels (a value below the lower level takes the lower value even above the
        // upper one); random data and the special values.
        const auto clip = qptest::threshold_ltval_gtval_f32_paths[p];
        const float levels[][4] = {{-10, -50, 20, 70}, {-1, -1, 2, 2}, {-0.0f, -0.0f, 0, 0}, {0, 0, -0.0f, -0.0f},
                                   {1, 1, 1, 1},       {-1, -5, 2, 7}, {2, 2, -1, -1},       {2, 9, -1, -9},
                                   {nan, nan, 2, 2},   {-1, -1, nan, nan}};
        for (const auto& v : levels) {
            for (float lo : {-100.0f, 1.0f}) {
                c.push_back({"clip", 1, [=](const float* s, const float*, float* d, int n) { return clip(s, v[0], v[1], v[2], v[3], d, n); },
                             [=](float x, float) { return L(x < v[0] ? v[1] : (x > v[2] ? v[3] : x)); }, -1, lo, -lo});
            }
        }
    }
    return c;
}

class ArithmeticPaths : public testing::TestWithParam<int> {};

TEST_P(ArithmeticPaths, ElementwiseOperationsMatchTheReference) {
    for (const auto& c : Cases<float>(GetParam())) CheckMapCase(c);
    for (const auto& c : Cases<double>(GetParam())) CheckMapCase(c);
}

// d += a * b reads its destination: the product rounded on its own, or fused with the sum where the
// compiler contracts the two on a build with FMA; the destination also equal to either source.
TEST_P(ArithmeticPaths, AddProductAccumulates) {
    const auto k = qptest::add_product_f32_paths[GetParam()];
    const auto sum = [](float d, float a, float b) {
        return std::vector<float>{float(double(d) + float(double(a) * b)), float(std::fma(double(a), double(b), double(d)))};
    };
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        Buffer<float> a(n, offset), b(n, offset + 1), d(n, offset + 2);
        Fill(a.data, n, 1u + n, -100.0f, 100.0f);
        Fill(b.data, n, 2u + n, -100.0f, 100.0f);
        Fill(d.data, n, 3u + n, -100.0f, 100.0f);
        const std::vector<float> a0(a.data, a.data + n), b0(b.data, b.data + n), d0(d.data, d.data + n);
        for (float* out : {d.data, a.data, b.data}) {  // d += a * b, a += a * b, b += a * b
            std::copy(a0.begin(), a0.end(), a.data), std::copy(b0.begin(), b0.end(), b.data);
            ASSERT_EQ(k(a.data, b.data, out, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) {
                const auto want = sum(out == d.data ? d0[i] : out == a.data ? a0[i] : b0[i], a0[i], b0[i]);
                ASSERT_TRUE(out[i] == want[0] || out[i] == want[1]) << i;
            }
        }
        EXPECT_TRUE(d.GuardsIntact() && a.GuardsIntact() && b.GuardsIntact());
    });
    float x[2] = {1, 2}, d[2] = {5, 5};
    const qptest::Snapshot before(d);
    qptest::ExpectRefusals([&](int n, auto p, auto q, auto o) { return k(p, q, o, n); }, x, x, d);
    EXPECT_TRUE(before.Unchanged());
}

// Division by a constant against many dividends, under several control words. The dividends come
// in runs of 32 that share one binary exponent, swept over every exponent of the type with random
// mantissas and signs: whole vectors lie just inside or just outside any range of magnitudes a
// kernel treats apart (tiny, subnormal and huge quotients, zeros, infinities, NaN). The divisors
// have random mantissas (and the extremes all ones, one ulp above 1, 1.5 and powers of two, which
// take a multiplication by the exact reciprocal) at exponents from the smallest normal to the
// largest, plus zero, subnormals, infinity and NaN. Every quotient must have the bits of a true
// division done under the same control word.
template <typename T>
void CheckDivConstSweep(qp::Status (*k)(const T*, T, T*, int), unsigned mxcsr) {
    using Lim = std::numeric_limits<T>;
    using B = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr int kMantissaBits = Lim::digits - 1, kMax = Lim::max_exponent;
    const B kMask = (B{1} << kMantissaBits) - 1;
    std::mt19937_64 gen(17);
    const auto make = [](B sign, int field, B mantissa) {
        const B bits = (sign << (8 * sizeof(T) - 1)) | (static_cast<B>(field) << kMantissaBits) | mantissa;
        T v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    };
    std::vector<T> x, divisors = {T(0), -T(0), Lim::denorm_min(), -Lim::denorm_min() * 4, Lim::infinity(), Lim::quiet_NaN()};
    for (int field = 0; field < 2 * kMax; ++field) {  // exponent fields 0 .. all ones
        for (int i = 0; i < 32; ++i) x.push_back(make(gen() & 1, field, gen() & kMask));
    }
    x[5] = 0, x[6] = -T(0);  // zeros in the first run, among subnormals
    for (int field : {1, 2, 3, 40, kMax - 30, kMax - 1, kMax, kMax + 20, 2 * kMax - 4, 2 * kMax - 3, 2 * kMax - 2}) {
        for (B mantissa : {kMask, B{1}, B{1} << (kMantissaBits - 1), B{0}}) {
            divisors.push_back(make(0, field, mantissa));
            divisors.push_back(make(1, field, gen() & kMask));
        }
    }
    const int n = static_cast<int>(x.size());
    Buffer<T> d(n, 1);
    std::vector<T> want(n);
    const unsigned saved = _mm_getcsr();
    for (T c : divisors) {
        SCOPED_TRACE(testing::Message() << "c=" << c << " mxcsr=" << std::hex << mxcsr);
        _mm_setcsr(mxcsr);
        const qp::Status status = k(x.data(), c, d.data, n);
        for (int i = 0; i < n; ++i) {
            volatile T xi = x[i], ci = c;
            want[i] = xi / ci;
        }
        _mm_setcsr(saved);
        ASSERT_EQ(status, qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(SameBits(d.data[i], want[i])) << x[i] << " / " << c << " gave " << d.data[i] << " not " << want[i];
        EXPECT_TRUE(d.GuardsIntact());
    }
}

TEST_P(ArithmeticPaths, DivideByConstantSweepsEveryExponent) {
    const unsigned base = _mm_getcsr() & ~0xE040u;  // nearest, subnormals kept
    // Then flush and read subnormals as zero, down, up, toward zero.
    for (unsigned mode : {base, base | 0x8040u, base | 0x4000u, base | 0x2000u, base | 0x6000u}) {
        CheckDivConstSweep<float>(qptest::div_const_f32_paths[GetParam()], mode);
        CheckDivConstSweep<double>(qptest::div_const_f64_paths[GetParam()], mode);
    }
}

// --- interleaved complex -------------------------------------------------------------------------

// Multiplication, or inversion above level 3, of interleaved complex values against a long double
// reference, at complex offsets 0 and 1 and with the destination equal to the first source. The
// data straddle the level, include zeros and, for double, magnitudes whose square over- or
// underflows.
template <typename T>
void CheckComplex(qp::Status (*mul)(const T*, const T*, T*, int), qp::Status (*inv)(const T*, T, T*, int)) {
    using C = std::complex<long double>;
    const T level = 3;
    const auto run = [&](const T* a, const T* b, T* d, int n) { return mul ? mul(a, b, d, n) : inv(a, level, d, n); };
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        Buffer<T> a(2 * n, 2 * offset), b(2 * n, 2 * (1 - offset)), d(2 * n, 2 * offset);
        Fill(a.data, 2 * n, 5u + n, T(-6), T(6));
        Fill(b.data, 2 * n, 6u + n, T(-6), T(6));
        if (n > 3) a.data[4] = a.data[5] = 0;
        if (sizeof(T) == 8 && n > 5) {
            a.data[6] = T(3e200), a.data[7] = T(-4e200), a.data[8] = T(1e-200), a.data[9] = T(2e-200);
        }
        const std::vector<T> a0(a.data, a.data + 2 * n);
        ASSERT_EQ(run(a.data, b.data, d.data, n), qp::qpStsNoErr);
        ASSERT_EQ(run(a.data, b.data, a.data, n), qp::qpStsNoErr);
        EXPECT_TRUE(d.GuardsIntact() && a.GuardsIntact());
        for (int i = 0; i < n; ++i) {
            const C x(a0[2 * i], a0[2 * i + 1]), y(b.data[2 * i], b.data[2 * i + 1]);
            const long double m = std::abs(x);
            const C want = mul ? x * y : m == 0 ? C(1.0L / level, 0) : C(1) / (m < level ? x * (level / m) : x);
            const long double tol = (mul ? 2 * std::abs(x) * std::abs(y) : 4 * std::abs(want)) * std::numeric_limits<T>::epsilon();
            ASSERT_NEAR(d.data[2 * i], want.real(), tol) << i;
            ASSERT_NEAR(d.data[2 * i + 1], want.imag(), tol) << i;
            ASSERT_TRUE(SameBits(a.data[2 * i], d.data[2 * i]) && SameBits(a.data[2 * i + 1], d.data[2 * i + 1])) << "in place " << i;
        }
    }, {0, 1});
    T s[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9};
    const qptest::Snapshot before(d);
    if (mul) {
        qptest::ExpectRefusals([&](int n, auto x, auto y, auto o) { return mul(x, y, o, n); }, s, s, d);
    } else {
        qptest::ExpectRefusals([&](int n, auto x, auto o) { return inv(x, 1, o, n); }, s, d);
    }
    EXPECT_TRUE(before.Unchanged());
}

TEST_P(ArithmeticPaths, ComplexMultiplyAndInvertThreshold) {
    const int p = GetParam();
    CheckComplex<float>(qptest::mul_c32_paths[p], nullptr);
    CheckComplex<double>(qptest::mul_c64_paths[p], nullptr);
    CheckComplex<float>(nullptr, qptest::inv_threshold_c32_paths[p]);
    CheckComplex<double>(nullptr, qptest::inv_threshold_c64_paths[p]);
}

// The level rule, the zero warning and the refused levels on real and complex data, in place.
template <typename T>
void CheckInvertLevels(int p) {
    const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    const auto real = QP_KERNEL(inv_threshold);
    const auto cplx = qptest::Of<T>(qptest::inv_threshold_c32_paths, qptest::inv_threshold_c64_paths, p);
    const struct {
        bool complex;
        T level;
        std::vector<T> x, want;
        qp::Status status;
    } rows[] = {
        {false, 0.5, {0.1, -0.1, 4}, {2, -2, 0.25}, qp::qpStsNoErr},  // raised keeping the sign
        {false, 0, {1, 0, -0.0, 2, 4}, {1, inf, -inf, 0.5, 0.25}, qp::qpStsInvZero},
        {false, 0, {1, 2, 4}, {1, 0.5, 0.25}, qp::qpStsNoErr},  // padded lanes raise no warning
        {true, 0, {3, 4, 0, 0}, {0.12, -0.16, inf, 0}, qp::qpStsInvZero},
        {true, 0, {3, 4}, {0.12, -0.16}, qp::qpStsNoErr},
        {false, -1, {1, 2}, {1, 2}, qp::qpStsThreshNegLevelErr},  // refused: nothing written
        {false, T(-1e-30), {1, 2}, {1, 2}, qp::qpStsThreshNegLevelErr},
        {false, nan, {1, 2}, {1, 2}, qp::qpStsThreshNegLevelErr},
        {true, -2, {1, 2}, {1, 2}, qp::qpStsThreshNegLevelErr},
    };
    for (const auto& r : rows) {
        SCOPED_TRACE(testing::Message() << "complex=" << r.complex << " level=" << r.level << " x0=" << r.x[0]);
        std::vector<T> d = r.x;
        ASSERT_EQ((r.complex ? cplx : real)(d.data(), r.level, d.data(), static_cast<int>(d.size()) / (r.complex ? 2 : 1)), r.status);
        for (std::size_t i = 0; i < d.size(); ++i) {
            const bool exact = std::isinf(r.want[i]) || r.want[i] == 0;
            EXPECT_TRUE(exact ? SameBits(d[i], r.want[i]) : std::fabs(d[i] - r.want[i]) <= 4 * std::numeric_limits<T>::epsilon() * std::fabs(r.want[i]))
                << i << ": " << d[i];
        }
    }
}

// Also: the caller's control word (here: every exception unmasked, round toward zero) comes back
// as it was, and no exception traps inside the call.
TEST_P(ArithmeticPaths, InvertThresholdLevelZeroAndControlWord) {
    CheckInvertLevels<float>(GetParam());
    CheckInvertLevels<double>(GetParam());
    const unsigned saved = _mm_getcsr(), caller = (saved & ~0x7FBFu) | 0x6000u;
    float z[3] = {0, 1e-30f, 2};
    _mm_setcsr(caller);
    const qp::Status s = qptest::inv_threshold_f32_paths[GetParam()](z, 0.0f, z, 3);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(saved);
    EXPECT_TRUE(s == qp::qpStsInvZero && after == caller && z[0] == std::numeric_limits<float>::infinity()) << std::hex << after;
}

// --- scaled 16-bit multiply ----------------------------------------------------------------------

// Exact reference: the product times 2^-scale, rounded half to even, saturated.
short RefScaled(int x, int c, int scale) {
    const long long p = static_cast<long long>(x) * c;
    long long q = 0;
    if (scale <= 0) {
        q = p == 0 ? 0 : (scale < -20 ? (p > 0 ? 1LL << 40 : -(1LL << 40)) : p * (1LL << -scale));
    } else if (scale < 40) {
        const long long unit = 1LL << scale;
        q = p >= 0 ? p / unit : -((-p + unit - 1) / unit);  // floor
        const long long rem2 = 2 * (p - q * unit);
        if (rem2 > unit || (rem2 == unit && (q & 1))) ++q;
    }
    return static_cast<short>(std::clamp(q, -32768LL, 32767LL));
}

TEST_P(ArithmeticPaths, ScaledShortMultiply) {
    const auto k = qptest::mul_const_s16_sfs_paths[GetParam()];
    // {x, c, scale, x * c * 2^-scale}: saturation, ties to even both signs, shifts out of range.
    const int examples[][4] = {
        {2, 20000, 0, 32767},   {-2, 20000, 0, -32768},    {5, 3, 2, 4},       {5, 1, 1, 2},    {7, 1, 1, 4},
        {-5, 1, 1, -2},         {-7, 1, 1, -4},            {3, 1, 1, 2},       {3, -3, 3, -1},  {12, 1, 3, 2},
        {-32768, -32768, 0, 32767}, {-32768, -32768, 30, 1}, {-32768, -32768, 31, 0}, {-32768, -32768, 99, 0},
        {1, 1, -14, 16384},     {1, 1, -15, 32767},        {-1, 1, -15, -32768}, {-1, 1, -16, -32768},
        {1, 1, std::numeric_limits<int>::min(), 32767}, {-3, 2, std::numeric_limits<int>::min(), -32768}, {0, 7, -100, 0}};
    for (const auto& e : examples) {
        short v[1] = {static_cast<short>(e[0])};
        ASSERT_EQ(k(v, static_cast<short>(e[1]), e[2], v, 1), qp::qpStsNoErr);
        EXPECT_EQ(v[0], e[3]) << e[0] << " * " << e[1] << " scale " << e[2];
        EXPECT_EQ(RefScaled(e[0], e[1], e[2]), e[3]) << "reference";
    }
    std::mt19937 gen(77);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (int scale : {-40, -16, -15, -9, -1, 0, 1, 2, 3, 8, 14, 15, 16, 17, 29, 30, 31, 32, 1000}) {
        for (int c : {-32768, -20000, -3, -1, 1, 3, 255, 32767}) {
            for (int n : {1, 7, 15, 16, 17, 33, 37, 65, 1000}) {
                SCOPED_TRACE(testing::Message() << "scale=" << scale << " c=" << c << " n=" << n);
                Buffer<short> s(n, 1), d(n, 3);
                for (int i = 0; i < n; ++i) s.data[i] = static_cast<short>(n == 37 ? 2 * i - 37 : any(gen));  // 37: odd only
                if (n > 2 && n != 37) s.data[0] = -32768, s.data[1] = 32767;
                ASSERT_EQ(k(s.data, static_cast<short>(c), scale, d.data, n), qp::qpStsNoErr);
                for (int i = 0; i < n; ++i) ASSERT_EQ(d.data[i], RefScaled(s.data[i], c, scale)) << i;
                EXPECT_TRUE(d.GuardsIntact());
                ASSERT_EQ(k(s.data, static_cast<short>(c), scale, s.data, n), qp::qpStsNoErr);
                EXPECT_EQ(std::memcmp(s.data, d.data, d.bytes), 0) << "in place";
            }
        }
    }
    short v[2] = {1, 2};
    const qptest::Snapshot before(v);
    qptest::ExpectRefusals([&](int n, auto x, auto o) { return k(x, 1, 0, o, n); }, v, v);
    EXPECT_TRUE(before.Unchanged());
}

// --- logarithms: special values and accuracy over the float range ---------------------------------

// Rows {x, ln x}: NaN expects NaN, infinities and +0 exactly, the rest within a tolerance; the last
// two rows only for double.
template <typename T>
void CheckLogSpecials(qp::Status (*k)(const T*, T*, int), double tol) {
    constexpr double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
    const double rows[][2] = {{0.0, -inf}, {-0.0, -inf}, {-1.0, nan}, {-inf, nan}, {nan, nan}, {inf, inf}, {1.0, 0.0},
                              {2.0, 0.69314718055994531}, {0x1p-149, -103.27892990343185}, {0x1p-126, -87.336544750553102},
                              {0x1.fffffep127, 88.722839052068352}, {0x1p-1074, -744.44007192138126},
                              {0x1.fffffffffffffp1023, 709.78271289338397}};
    const int n = static_cast<int>(std::size(rows)) - (sizeof(T) == 4 ? 2 : 0);
    std::vector<T> in, out(n);
    for (int i = 0; i < n; ++i) in.push_back(static_cast<T>(rows[i][0]));
    ASSERT_EQ(k(in.data(), out.data(), n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) {
        const T want = static_cast<T>(rows[i][1]);
        EXPECT_TRUE(std::isfinite(want) && want != 0 ? std::fabs(out[i] - want) <= tol : SameOrBothNaN(out[i], want))
            << "ln " << in[i] << " gave " << out[i];
    }
}

TEST_P(ArithmeticPaths, LogarithmSpecialValues) {
    const int p = GetParam();
    for (auto k : {qptest::ln_f32_paths[p], qptest::ln_a24_f32_paths[p], qptest::ln_a21_f32_paths[p], qptest::ln_a11_f32_paths[p]}) {
        CheckLogSpecials<float>(k, 1e-3);
    }
    CheckLogSpecials<double>(qptest::ln_f64_paths[p], 5e-13);
}

// Error of got against the exact value in units of the last place of the exact value's binade.
template <typename T>
double UlpError(T got, long double exact) {
    if (exact == 0) return got == 0 ? 0 : 1e30;
    int e;
    std::frexp(static_cast<double>(exact), &e);
    return static_cast<double>(std::fabs(got - exact) / std::ldexp(1.0L, e - std::numeric_limits<T>::digits));
}

// Worst error of one float log kernel over every step-th positive finite float (all finite
// positive patterns with step 1), subnormals included: {ulps, relative, at}.
std::array<double, 3> SweepFloatLog(qp::Status (*k)(const float*, float*, int), std::uint32_t step) {
    std::array<double, 3> worst = {0, 0, 0};
    std::vector<float> in(1 << 16), out(1 << 16);
    for (std::uint64_t bits = 1; bits < 0x7f800000u;) {
        int n = 0;
        for (; n < (1 << 16) - 5 && bits < 0x7f800000u; ++n, bits += step) {
            const auto b = static_cast<std::uint32_t>(bits);
            std::memcpy(&in[n], &b, 4);
        }
        EXPECT_EQ(k(in.data(), out.data(), n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            const long double exact = logl(in[i]);
            const double u = UlpError(out[i], exact);
            if (u > worst[0]) worst[0] = u, worst[2] = in[i];
            if (exact != 0) worst[1] = std::max(worst[1], static_cast<double>(std::fabs((out[i] - exact) / exact)));
        }
    }
    return worst;
}

TEST_P(ArithmeticPaths, FloatLogarithmAccuracy) {
    // About 500 000 patterns natively (a prime step visits every mantissa region), fewer emulated.
    const std::uint32_t step = qptest::Emulated() ? 65521 : 4099;
    const int p = GetParam();
    const struct {
        const char* name;
        qp::Status (*k)(const float*, float*, int);
        double maxUlps, maxRel;
    } grades[] = {{"Ln", qptest::ln_f32_paths[p], 1.0, 1},
                  {"Ln_Prec24", qptest::ln_a24_f32_paths[p], 1.0, 1},
                  {"Ln_Prec21", qptest::ln_a21_f32_paths[p], 1e9, 0x1p-21},
                  {"Ln_Prec11", qptest::ln_a11_f32_paths[p], 1e9, 0x1p-11}};
    for (const auto& g : grades) {
        const auto w = SweepFloatLog(g.k, step);
        EXPECT_LE(w[0], g.maxUlps) << g.name << " at " << w[2];
        EXPECT_LE(w[1], g.maxRel) << g.name;
    }
}

// Double log: log-uniform samples over the whole range, values next to 1 and subnormals.
TEST_P(ArithmeticPaths, DoubleLogarithmAccuracy) {
    const int n = qptest::Emulated() ? 20000 : 400000;
    std::vector<double> in(n), out(n);
    std::mt19937_64 gen(5);
    for (int i = 0; i < n; ++i) {
        const std::uint64_t bits = gen() >> 1;
        std::memcpy(&in[i], &bits, 8);
        if (!(in[i] < 1.7e308)) in[i] = 3.0;
        if (i % 4 == 1) in[i] = 1.0 + std::ldexp(static_cast<double>(gen() % 2000000) - 1e6, -(int)(gen() % 50) - 20);
    }
    ASSERT_EQ(qptest::ln_f64_paths[GetParam()](in.data(), out.data(), n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_LE(UlpError(out[i], logl(static_cast<long double>(in[i]))), 1.0) << "at " << in[i];
}

// Destinations of 4 MiB and more take the streaming stores, starting off a vector boundary.
TEST_P(ArithmeticPaths, StreamingDestinations) {
    const int p = GetParam(), n = (4 << 20) / 4 + 21, pairs = n / 2;
    std::vector<float> a(n + 2), d[4];
    for (int i = 0; i < n + 2; ++i) a[i] = static_cast<float>(i % 977) * 0.25f + 0.5f;
    for (auto& v : d) v.assign(n + 2, 7.0f);
    ASSERT_EQ(qptest::flip_f32_paths[p](a.data() + 1, d[0].data() + 1, n) | qptest::add_f32_paths[p](a.data() + 1, a.data(), d[1].data() + 1, n) |
                  qptest::mul_c32_paths[p](a.data() + 2, a.data() + 2, d[2].data() + 1, pairs) |
                  qptest::ln_a11_f32_paths[p](a.data() + 1, d[3].data() + 1, n),
              qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) {
        ASSERT_TRUE(d[0][i + 1] == a[n - i] && d[1][i + 1] == a[i + 1] + a[i]) << i;
        ASSERT_NEAR(d[3][i + 1], std::log(a[i + 1]), 1e-3) << i;
    }
    for (int i = 0; i < pairs; ++i) {
        const std::complex<float> x(a[2 + 2 * i], a[3 + 2 * i]), want = x * x;
        ASSERT_NEAR(d[2][1 + 2 * i], want.real(), 1e-6 * std::norm(x)) << i;
        ASSERT_NEAR(d[2][2 + 2 * i], want.imag(), 1e-6 * std::norm(x)) << i;
    }
    for (int k = 0; k < 4; ++k) EXPECT_TRUE(d[k][0] == 7 && d[k][k == 2 ? 2 * pairs + 1 : n + 1] == 7) << k;
}

QP_INSTANTIATE_PATHS(ArithmeticPaths);

// Every positive float through the dispatched Ln_Prec24 and Ln.
TEST(LargeArithmetic, FloatLogarithmExhaustive) {
    for (auto k : {qp::ln_a24_f32, qp::ln_f32}) {
        const auto w = SweepFloatLog(k, 1);
        EXPECT_LE(w[0], 1.0) << "at " << w[2];
    }
}

// --- exports through dispatch --------------------------------------------------------------------

// Each row runs one export on a = {1, -4}, b = {10, 20} and a destination holding {-3, 8}: the
// operand order (d - a, b - a, d / a, c / a ...) shows in the result. Complex rows see one value
// each: 1 - 4i, 10 + 20i, -3 + 8i. Refused counts must leave the destination's bits alone.
template <typename T>
struct ExportRow {
    const char* call;
    void (*run)(unsigned int n, const T* a, const T* b, T* d);
    std::vector<T> want;
    double tol = 0;  // relative; 0: the same bits, or NaN for NaN
};
#define QP_ROW(call, ...) ExportRow<T>{#call, [](unsigned int n, const T* a, const T* b, T* d) { (void)a, (void)b; call; }, {__VA_ARGS__}}
#define QP_NEAR(call, ...) ExportRow<T>{#call, [](unsigned int n, const T* a, const T* b, T* d) { (void)a, (void)b; call; }, {__VA_ARGS__}, 1e-6}

unsigned int Pairs(unsigned int n) { return n == 2 ? 1 : n; }
template <typename T>
std::complex<T>* Cx(T* p) { return reinterpret_cast<std::complex<T>*>(p); }
template <typename T>
const std::complex<T>* Cx(const T* p) { return reinterpret_cast<const std::complex<T>*>(p); }

template <typename T>
std::vector<ExportRow<T>> ExportRows() {
    const T nan = std::numeric_limits<T>::quiet_NaN();
    std::vector<ExportRow<T>> rows = {
        QP_ROW(qu::Add(n, a, b, d), 11, 16),               QP_ROW(qu::Add_InPlace(n, a, d), -2, 4),
        QP_ROW(qu::AddConstant_InPlace(n, d, 1), -2, 9),   QP_ROW(qu::Sub_InPlace(n, a, d), -4, 12),
        QP_ROW(qu::SubConstant_InPlace(n, d, 1), -4, 7),   QP_ROW(qu::SubConstantRev_InPlace(n, d, 10), 13, 2),
        QP_ROW(qu::Mul(n, a, b, d), 10, -80),              QP_ROW(qu::Mul_InPlace(n, a, d), -3, -32),
        QP_ROW(qu::MulConstant(n, a, d, 3), 3, -12),       QP_ROW(qu::MulConstant_InPlace(n, d, 0.5), -1.5, 4),
        QP_ROW(qu::Div_InPlace(n, a, d), -3, -2),          QP_ROW(qu::DivConstant_InPlace(n, d, 4), -0.75, 2),
        QP_ROW(qu::Abs(n, a, d), 1, 4),                    QP_ROW(qu::Abs_InPlace(n, d), 3, 8),
        QP_ROW(qu::Normalize(n, b, d, 4, 4), 1.5, 4),      QP_ROW(qu::Threshold_LT_InPlace(n, d, 4), 4, 8),
        QP_ROW(qu::Threshold_GT_InPlace(n, d, 4), -3, 4),  QP_ROW(qu::Invert_Threshold_InPlace(n, d, 4), -0.25, 0.125),
        QP_ROW(qu::Flip(n, a, d), -4, 1),                  QP_ROW(qu::Flip_InPlace(n, d), 8, -3),
        QP_ROW(qu::Ln(n, a, d), 0, nan),                   QP_ROW(qu::Mul_InPlace(Pairs(n), Cx(a), Cx(d)), 29, 20),
        QP_NEAR(qu::Invert_Threshold_InPlace(Pairs(n), Cx(d), T(1)), T(-3) / 73, T(-8) / 73),
        QP_NEAR(qu::Invert_Threshold_InPlace(Pairs(n), Cx(d), T(73)), T(-3) / (73 * std::sqrt(T(73))), T(-8) / (73 * std::sqrt(T(73)))),
    };
    if constexpr (std::is_same_v<T, float>) {
        const std::vector<ExportRow<T>> floatOnly = {
            QP_ROW(qu::Sub(n, a, b, d), 9, 24),             QP_ROW(qu::AddConstant(n, a, 0.5, d), 1.5, -3.5),
            QP_ROW(qu::AddProduct(n, a, b, d), 7, -72),     QP_ROW(qu::DivConstantRev(n, 2, a, d), 2, -0.5),
            QP_ROW(qu::Sqr(n, a, d), 1, 16),                QP_ROW(qu::Trim(n, d, 4, 5), 4, 5),
            QP_ROW(qu::Mul(Pairs(n), Cx(a), Cx(b), Cx(d)), 90, -20),
            QP_ROW(qu::Ln_Prec11(n, a, d), 0, nan),         QP_ROW(qu::Ln_Prec21(n, a, d), 0, nan),
            QP_ROW(qu::Ln_Prec24(n, a, d), 0, nan),         QP_NEAR(qu::Ln_InPlace(n, d), nan, std::log(8.0f)),
            QP_ROW(qu::Div(n, a, b, d), -3, 8),             QP_ROW(qu::Add_ConstantProduct(n, a, d, 2), -3, 8),  // empty
        };
        rows.insert(rows.end(), floatOnly.begin(), floatOnly.end());
    }
    return rows;
}

template <typename T>
void CheckExportRows() {
    const T a[2] = {1, -4}, b[2] = {10, 20};
    for (const ExportRow<T>& r : ExportRows<T>()) {
        T d[3] = {-3, 8, 77};
        for (unsigned int n : qptest::kBadCounts) r.run(n, a, b, d);
        EXPECT_TRUE(SameBits(d[0], T(-3)) && SameBits(d[1], T(8))) << r.call << " wrote on a refused count";
        r.run(2, a, b, d);
        for (int i = 0; i < 2; ++i) {
            EXPECT_TRUE(r.tol && r.want[i] == r.want[i] ? std::fabs(d[i] - r.want[i]) <= r.tol * std::fabs(r.want[i]) : SameOrBothNaN(d[i], r.want[i]))
                << r.call << " [" << i << "] = " << d[i] << " instead of " << r.want[i];
        }
        EXPECT_EQ(d[2], 77) << r.call;
    }
}

TEST(ArithmeticExports, OperandOrderAndRefusedCounts) {
    CheckExportRows<float>();
    CheckExportRows<double>();
    // The scaled short multiply: halves with ties to even, then saturates.
    std::vector<short> s = {5, -5, 7, 2};
    for (unsigned int n : qptest::kBadCounts) qu::MulConstant_InPlace(n, s.data(), short{1}, 1);
    EXPECT_EQ(s, (std::vector<short>{5, -5, 7, 2}));
    qu::MulConstant_InPlace(4, s.data(), short{1}, 1);
    EXPECT_EQ(s, (std::vector<short>{2, -2, 4, 1}));
    qu::MulConstant_InPlace(4, s.data(), short{20000}, 0);
    EXPECT_EQ(s, (std::vector<short>{32767, -32768, 32767, 20000}));
}

}  // namespace
