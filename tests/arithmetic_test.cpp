// Element-wise arithmetic kernels on every runnable code path, against long-double or double
// references, and the exported functions through dispatch.
#include <gtest/gtest.h>
#include <immintrin.h>

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

// Lengths around every vector width (4, 8, 16 lanes of float, 2..8 of double) and the 4x unroll.
constexpr int kLengths[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 33, 64, 65, 1000, 4099};
using qptest::SameOrBothNaN;
template <typename T>
using Buffer = qptest::Buffer<T>;

// Mixed magnitudes and signs, a few zeros, and exact halves for rounding ties.
template <typename T>
void Fill(T* p, int n, unsigned seed, T lo = -100, T hi = 100) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(lo, hi);
    for (int i = 0; i < n; ++i) p[i] = static_cast<T>(dist(gen));
    if (n > 4) {
        p[1] = 0;
        p[n - 2] = static_cast<T>(-0.0);
    }
}

// --- element-wise operations: one table, every length, alignment and aliasing -------------------

// A kernel of one or two sources (b is ignored for one source); the reference gets the source
// values and returns the exact result, rounded to T by the caller. A reversed case reads a[n-1-i].
template <typename T>
struct MapCase {
    std::string name;
    int sources;
    std::function<qp::Status(const T*, const T*, T*, int)> run;
    std::function<long double(T, T)> ref;
    double relTol;  // 0: bit-exact against the rounded reference
    T lo = -100, hi = 100;
    bool reversed = false;
};

template <typename T>
void ExpectClose(T got, long double want, double relTol, int i) {
    const T rounded = static_cast<T>(want);
    if (relTol == 0 || std::isinf(want) || want != want) {
        ASSERT_TRUE(SameOrBothNaN(got, rounded)) << "i=" << i << " got " << got << " want " << rounded;
    } else {
        ASSERT_LE(std::fabs(static_cast<long double>(got) - want), relTol * std::fabs(want)) << "i=" << i;
    }
}

template <typename T>
void CheckMapCase(const MapCase<T>& c) {
    SCOPED_TRACE(c.name);
    const auto expect = [&c](const T* d, const T* a, const T* b, int n) {
        for (int i = 0; i < n; ++i) {
            const int j = c.reversed ? n - 1 - i : i;
            ExpectClose(d[i], c.ref(a[j], b[j]), c.relTol, i);
        }
    };
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        Buffer<T> a(n, (offset + 1) % 4), b(n, (offset + 2) % 4), d(n, offset);
        Fill(a.data, n, 11u + n, c.lo, c.hi);
        Fill(b.data, n, 12u + n, c.lo, c.hi);
        ASSERT_EQ(c.run(a.data, b.data, d.data, n), qp::qpStsNoErr);
        expect(d.data, a.data, b.data, n);
        EXPECT_TRUE(d.TailIntact());
        // The destination exactly equal to each source.
        std::vector<T> a0(a.data, a.data + n), b0(b.data, b.data + n);
        ASSERT_EQ(c.run(a.data, b.data, a.data, n), qp::qpStsNoErr);
        expect(a.data, a0.data(), b0.data(), n);
        EXPECT_TRUE(a.TailIntact());
        if (c.sources == 2) {
            ASSERT_EQ(c.run(a0.data(), b.data, b.data, n), qp::qpStsNoErr);
            expect(b.data, a0.data(), b0.data(), n);
        }
    });
    // Refusals write nothing: null pointers first, then non-positive lengths.
    T a[3] = {1, 2, 3}, b[3] = {4, 5, 6}, d[3] = {9, 9, 9};
    EXPECT_EQ(c.run(nullptr, b, d, 3), qp::qpStsNullPtrErr);
    if (c.sources == 2) {
        EXPECT_EQ(c.run(a, nullptr, d, 3), qp::qpStsNullPtrErr);
    }
    EXPECT_EQ(c.run(a, b, nullptr, 3), qp::qpStsNullPtrErr);
    for (int len : qptest::kBadLengths) EXPECT_EQ(c.run(a, b, d, len), qp::qpStsSizeErr);
    for (T x : d) EXPECT_EQ(x, 9);
}

template <typename T>
MapCase<T> Bin(std::string name, qp::Status (*k)(const T*, const T*, T*, int), std::function<long double(T, T)> ref) {
    return {name, 2, [k](const T* a, const T* b, T* d, int n) { return k(a, b, d, n); }, ref, 0};
}
template <typename T>
MapCase<T> Scal(std::string name, qp::Status (*k)(const T*, T, T*, int), T c, std::function<long double(T, T)> ref) {
    return {name, 1, [k, c](const T* a, const T*, T* d, int n) { return k(a, c, d, n); },
            [ref, c](T x, T) { return ref(x, c); }, 0};
}
template <typename T>
MapCase<T> Un(std::string name, qp::Status (*k)(const T*, T*, int), std::function<long double(T, T)> ref,
              double tol = 0, T lo = -100, T hi = 100) {
    return {name, 1, [k](const T* a, const T*, T* d, int n) { return k(a, d, n); }, ref, tol, lo, hi};
}

#define QP_KERNEL(name) QP_TYPED(name, p)

// References compute in W and round once to T: a float operation in double (more than twice float's
// precision, so the correctly rounded float result), a double one by the same IEEE operation.
template <typename T>
std::vector<MapCase<T>> Cases(int p) {
    using L = long double;
    using W = std::conditional_t<std::is_same_v<T, float>, double, T>;
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
        Scal<T>("threshold lt", QP_KERNEL(threshold_lt), T(7.5), [](T x, T c) { return L(x < c ? c : x); }),
        Scal<T>("threshold gt", QP_KERNEL(threshold_gt), T(7.5), [](T x, T c) { return L(x > c ? c : x); }),
        Scal<T>("inv threshold", QP_KERNEL(inv_threshold), T(4),
                [](T x, T c) { return L(1 / std::copysign(std::max(W(std::fabs(x)), W(c)), W(x))); }),
        Un<T>("abs", QP_KERNEL(abs), [](T x, T) { return L(std::fabs(x)); }),
        Un<T>("flip", QP_KERNEL(flip), [](T x, T) { return L(x); }),
        Un<T>("ln", QP_KERNEL(ln), [](T x, T) { return logl(x); }, std::numeric_limits<T>::epsilon(), T(1e-3), T(1e3)),
    };
    c[13].reversed = true;
    const auto normalize = QP_KERNEL(normalize);
    c.push_back({"normalize", 1, [normalize](const T* a, const T*, T* d, int n) { return normalize(a, 1.5, 3, d, n); },
                 [](T x, T) { return L(T(W(x) - 1.5) / 3); }, 0});
    if constexpr (std::is_same_v<T, float>) {
        c.push_back(Scal<T>("div const rev", qptest::div_const_rev_f32_paths[p], 3.0f,
                            [](float x, float c) { return L(W(c) / x); }));
        c.push_back(Un<T>("sqr", qptest::sqr_f32_paths[p], [](float x, float) { return L(W(x) * x); }));
        const auto clip = qptest::threshold_ltval_gtval_f32_paths[p];
        c.push_back({"threshold lt/gt values", 1,
                     [clip](const float* a, const float*, float* d, int n) { return clip(a, -10, -50, 20, 70, d, n); },
                     [](float x, float) { return L(x < -10 ? -50 : (x > 20 ? 70 : x)); }, 0});
        // The logarithms on positive data here; the accuracy sweeps below cover the whole range.
        const auto ln = [](float x, float) { return logl(x); };
        c.push_back(Un<T>("ln 24", qptest::ln_a24_f32_paths[p], ln, 0x1p-23, 1e-3f, 1e3f));
        c.push_back(Un<T>("ln 21", qptest::ln_a21_f32_paths[p], ln, 0x1p-21, 1e-3f, 1e3f));
        c.push_back(Un<T>("ln 11", qptest::ln_a11_f32_paths[p], ln, 0x1p-11, 1e-3f, 1e3f));
    }
    return c;
}

class ArithmeticPaths : public testing::TestWithParam<int> {};

TEST_P(ArithmeticPaths, ElementwiseOperationsMatchTheReference) {
    for (const auto& c : Cases<float>(GetParam())) CheckMapCase(c);
    for (const auto& c : Cases<double>(GetParam())) CheckMapCase(c);
}

// Division by a constant against many dividends, under several control words. The
// dividends come in runs of 32 that share one binary exponent, swept over every exponent of the
// type with random mantissas and signs: whole vectors lie just inside or just outside any range of
// magnitudes a kernel treats apart (tiny, subnormal and huge quotients, zeros, infinities, NaN).
// The divisors have random mantissas (and the extremes all ones, one ulp above 1, 1.5 and powers of
// two, which take a multiplication by the exact reciprocal) at exponents from the smallest normal
// to the largest, plus zero, subnormals, infinity and NaN. Every quotient must have the bits of a true
// division done under the same control word.
template <typename T>
void CheckDivConstSweep(qp::Status (*k)(const T*, T, T*, int), unsigned mxcsr) {
    using Lim = std::numeric_limits<T>;
    typedef std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t> B;
    constexpr int kMantissaBits = Lim::digits - 1;
    constexpr int kExponents = 2 * Lim::max_exponent;  // exponent fields 0 .. all ones
    constexpr int kRun = 32;
    std::mt19937_64 gen(17);
    const auto make = [](B sign, B field, B mantissa) {
        const B bits = (sign << (8 * sizeof(T) - 1)) | (field << kMantissaBits) | mantissa;
        T v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    };
    const B kMantissaMask = (B{1} << kMantissaBits) - 1;
    std::vector<T> x;
    for (int field = 0; field < kExponents; ++field) {
        for (int i = 0; i < kRun; ++i) x.push_back(make(gen() & 1, static_cast<B>(field), gen() & kMantissaMask));
    }
    x[5] = 0, x[6] = -T(0);  // zeros in the first run, among subnormals
    const int n = static_cast<int>(x.size());
    std::vector<T> divisors;
    for (int field : {1, 2, 3, 40, Lim::max_exponent - 30, Lim::max_exponent - 1, Lim::max_exponent,
                      Lim::max_exponent + 20, 2 * Lim::max_exponent - 4, 2 * Lim::max_exponent - 3,
                      2 * Lim::max_exponent - 2}) {
        for (B mantissa : {kMantissaMask, B{1}, B{1} << (kMantissaBits - 1), B{0}}) {
            divisors.push_back(make(0, static_cast<B>(field), mantissa));
            divisors.push_back(make(1, static_cast<B>(field), gen() & kMantissaMask));
        }
    }
    for (T c : {T(0), -T(0), Lim::denorm_min(), -Lim::denorm_min() * 4, Lim::infinity(), Lim::quiet_NaN()}) {
        divisors.push_back(c);
    }
    Buffer<T> d(n, 1);
    const unsigned saved = _mm_getcsr();
    for (T c : divisors) {
        SCOPED_TRACE(testing::Message() << "c=" << c << " mxcsr=" << std::hex << mxcsr);
        _mm_setcsr(mxcsr);
        const qp::Status status = k(x.data(), c, d.data, n);
        std::vector<T> want(n);
        for (int i = 0; i < n; ++i) {
            volatile T xi = x[i], ci = c;
            want[i] = xi / ci;
        }
        _mm_setcsr(saved);
        ASSERT_EQ(status, qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            ASSERT_TRUE(qptest::SameBits(d.data[i], want[i])) << x[i] << " / " << c << " gave " << d.data[i]
                                                              << " instead of " << want[i];
        }
        EXPECT_TRUE(d.TailIntact());
    }
}

TEST_P(ArithmeticPaths, DivideByConstantSweepsEveryExponent) {
    const unsigned base = _mm_getcsr() & ~0xE040u;  // nearest, subnormals kept
    for (unsigned mode : {base, base | 0x8040u /* flush and read subnormals as zero */, base | 0x4000u /* down */,
                          base | 0x2000u /* up */, base | 0x6000u /* toward zero */}) {
        CheckDivConstSweep<float>(qptest::div_const_f32_paths[GetParam()], mode);
        CheckDivConstSweep<double>(qptest::div_const_f64_paths[GetParam()], mode);
    }
}

// d + a * b with the product rounded on its own, or fused with the sum where the compiler
// contracts the two on a build with FMA.
bool SumOfProduct(float got, float d, float a, float b) {
    return got == float(double(d) + float(double(a) * b)) || got == float(std::fma(double(a), double(b), double(d)));
}

// d += a * b reads its destination: references from the old destination, and the destination
// equal to either source.
TEST_P(ArithmeticPaths, AddProductAccumulates) {
    const auto k = qptest::add_product_f32_paths[GetParam()];
    for (int n : kLengths) {
        SCOPED_TRACE(testing::Message() << "n=" << n);
        Buffer<float> a(n, 1), b(n, 2), d(n, 3);
        Fill(a.data, n, 1u + n);
        Fill(b.data, n, 2u + n);
        Fill(d.data, n, 3u + n);
        const std::vector<float> a0(a.data, a.data + n), b0(b.data, b.data + n), d0(d.data, d.data + n);
        ASSERT_EQ(k(a.data, b.data, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) ASSERT_TRUE(SumOfProduct(d.data[i], d0[i], a0[i], b0[i])) << i;
        EXPECT_TRUE(d.TailIntact());
        ASSERT_EQ(k(a.data, b.data, a.data, n), qp::qpStsNoErr);  // a += a * b
        for (int i = 0; i < n; ++i) ASSERT_TRUE(SumOfProduct(a.data[i], a0[i], a0[i], b0[i])) << i;
    }
    float x[2] = {1, 2}, d[2] = {5, 5};
    EXPECT_EQ(k(x, nullptr, d, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(k(x, x, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(d[0], 5);
}

// Clipping on values at and around the levels, signed zeros, infinities and NaN (kept bit for bit),
// with levels that are their own values (one instruction per bound), levels with other values and
// inverted levels (a value below the lower level takes the lower value even above the upper one).
// Every value meets every position of the vector body and the remainder, in place and not. The
// absolute value, on the same data, clears the sign bit and nothing else (NaN payloads included).
template <typename T>
void CheckClipping(int p) {
    const T nan = std::numeric_limits<T>::quiet_NaN(), inf = std::numeric_limits<T>::infinity();
    const T pattern[] = {-3, -1, -T(0), 0, T(0.5), 1, 2, 3, nan, -nan, inf, -inf, T(1.5), T(-0.5), T(2.5)};
    const auto lt = QP_KERNEL(threshold_lt);
    const auto gt = QP_KERNEL(threshold_gt);
    struct Row {
        const char* what;
        std::function<qp::Status(const T*, T*, int)> run;
        std::function<T(T)> ref;
    };
    const auto abs = QP_KERNEL(abs);
    std::vector<Row> rows = {
        {"abs", [=](const T* s, T* d, int n) { return abs(s, d, n); }, [](T x) { return std::fabs(x); }}};
    for (T level : {T(1), -T(0), T(0), nan, -inf}) {
        rows.push_back({"lt", [=](const T* s, T* d, int n) { return lt(s, level, d, n); },
                        [=](T x) { return x < level ? level : x; }});
        rows.push_back({"gt", [=](const T* s, T* d, int n) { return gt(s, level, d, n); },
                        [=](T x) { return x > level ? level : x; }});
    }
    if constexpr (std::is_same_v<T, float>) {
        const auto clip = qptest::threshold_ltval_gtval_f32_paths[p];
        const float levels[][4] = {{-1, -1, 2, 2},   {-0.0f, -0.0f, 0, 0}, {0, 0, -0.0f, -0.0f}, {1, 1, 1, 1},
                                   {-1, -5, 2, 7},   {2, 2, -1, -1},       {2, 9, -1, -9},       {nan, nan, 2, 2},
                                   {-1, -1, nan, nan}};
        for (const auto& v : levels) {
            rows.push_back({"clip", [=](const float* s, float* d, int n) { return clip(s, v[0], v[1], v[2], v[3], d, n); },
                            [=](float x) { return x < v[0] ? v[1] : (x > v[2] ? v[3] : x); }});
        }
    }
    for (std::size_t r = 0; r < rows.size(); ++r) {
        SCOPED_TRACE(testing::Message() << rows[r].what << " row " << r);
        for (int n : kLengths) {
            Buffer<T> s(n, 1), d(n, 2);
            for (int i = 0; i < n; ++i) s.data[i] = pattern[(i + n) % std::size(pattern)];
            ASSERT_EQ(rows[r].run(s.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) {
                ASSERT_TRUE(qptest::SameBits(d.data[i], rows[r].ref(s.data[i]))) << "n=" << n << " i=" << i << " x=" << s.data[i];
            }
            EXPECT_TRUE(d.TailIntact());
            ASSERT_EQ(rows[r].run(s.data, s.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_TRUE(qptest::SameBits(s.data[i], d.data[i])) << "in place, n=" << n << " i=" << i;
        }
    }
}

TEST_P(ArithmeticPaths, ClippingKeepsNaNAndValuesAtTheLevels) {
    CheckClipping<float>(GetParam());
    CheckClipping<double>(GetParam());
}

// --- interleaved complex -------------------------------------------------------------------------

// A kernel of one or two interleaved complex sources (the second ignored for one) against a long
// double reference, at complex offsets 0 and 1 and with the destination equal to the first source.
// The data straddle the inversion level (3), include zeros and, for double, magnitudes whose
// square over- or underflows.
template <typename T>
struct ComplexCase {
    const char* name;
    qp::Status (*mul)(const T*, const T*, T*, int);  // null: the inversion below
    qp::Status (*inv)(const T*, T, T*, int);
    double tol;  // in eps of the exact result's magnitude
};

template <typename T>
void CheckComplexCase(const ComplexCase<T>& c) {
    using C = std::complex<long double>;
    const T level = 3;
    for (int n : kLengths) {
        for (int offset : {0, 1}) {
            SCOPED_TRACE(testing::Message() << c.name << " n=" << n << " offset=" << offset);
            Buffer<T> a(2 * n, 2 * offset), b(2 * n, 2 * ((offset + 1) % 2)), d(2 * n, 2 * offset);
            Fill(a.data, 2 * n, 5u + n, T(-6), T(6));
            Fill(b.data, 2 * n, 6u + n, T(-6), T(6));
            if (n > 3) a.data[4] = a.data[5] = 0;
            if (sizeof(T) == 8 && n > 5) {
                a.data[6] = static_cast<T>(3e200), a.data[7] = static_cast<T>(-4e200);
                a.data[8] = static_cast<T>(1e-200), a.data[9] = static_cast<T>(2e-200);
            }
            const std::vector<T> a0(a.data, a.data + 2 * n);
            ASSERT_EQ(c.mul ? c.mul(a.data, b.data, d.data, n) : c.inv(a.data, level, d.data, n), qp::qpStsNoErr);
            EXPECT_TRUE(d.TailIntact());
            ASSERT_EQ(c.mul ? c.mul(a.data, b.data, a.data, n) : c.inv(a.data, level, a.data, n), qp::qpStsNoErr);
            EXPECT_TRUE(a.TailIntact());
            for (int i = 0; i < n; ++i) {
                const C x(a0[2 * i], a0[2 * i + 1]), y(b.data[2 * i], b.data[2 * i + 1]);
                const long double m = std::abs(x);
                const C want = c.mul ? x * y : m == 0 ? C(1.0L / level, 0) : C(1) / (m < level ? x * (level / m) : x);
                const long double tol = c.tol * std::numeric_limits<T>::epsilon() * std::abs(c.mul ? x : want) *
                                        (c.mul ? std::abs(y) : 1);
                ASSERT_NEAR(d.data[2 * i], want.real(), tol) << i;
                ASSERT_NEAR(d.data[2 * i + 1], want.imag(), tol) << i;
                ASSERT_TRUE(qptest::SameBits(a.data[2 * i], d.data[2 * i])) << "in place, i=" << i;
                ASSERT_TRUE(qptest::SameBits(a.data[2 * i + 1], d.data[2 * i + 1])) << "in place, i=" << i;
            }
        }
    }
    T s[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9};
    EXPECT_EQ(c.mul ? c.mul(s, nullptr, d, 2) : c.inv(nullptr, 1, d, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(c.mul ? c.mul(s, s, d, 0) : c.inv(s, 1, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(d[0], 9);
}

TEST_P(ArithmeticPaths, ComplexMultiplyAndInvertThreshold) {
    const int p = GetParam();
    CheckComplexCase<float>({"mul", qptest::mul_c32_paths[p], nullptr, 2});
    CheckComplexCase<double>({"mul", qptest::mul_c64_paths[p], nullptr, 2});
    CheckComplexCase<float>({"inv threshold", nullptr, qptest::inv_threshold_c32_paths[p], 4});
    CheckComplexCase<double>({"inv threshold", nullptr, qptest::inv_threshold_c64_paths[p], 4});
}

// The level rule, the zero warning and the refused levels on real and complex data, in place.
template <typename T>
void CheckInvertLevels(int p) {
    const T inf = std::numeric_limits<T>::infinity(), nan = std::numeric_limits<T>::quiet_NaN();
    const auto real = QP_KERNEL(inv_threshold);
    const auto cplx = qptest::Of<T>(qptest::inv_threshold_c32_paths, qptest::inv_threshold_c64_paths, p);
    struct Row {
        bool complex;
        T level;
        std::vector<T> x, want;
        qp::Status status;
    };
    const Row rows[] = {
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
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "complex=" << r.complex << " level=" << r.level << " x0=" << r.x[0]);
        std::vector<T> d = r.x;
        const int n = static_cast<int>(d.size()) / (r.complex ? 2 : 1);
        ASSERT_EQ((r.complex ? cplx : real)(d.data(), r.level, d.data(), n), r.status);
        for (std::size_t i = 0; i < d.size(); ++i) {
            if (std::isinf(r.want[i]) || r.want[i] == 0) {
                EXPECT_TRUE(qptest::SameBits(d[i], r.want[i])) << i << ": " << d[i];
            } else {
                EXPECT_NEAR(d[i], r.want[i], 4 * std::numeric_limits<T>::epsilon() * std::fabs(r.want[i])) << i;
            }
        }
    }
    T keep[2] = {1, 2};
    EXPECT_EQ(cplx(nullptr, 1, keep, 1), qp::qpStsNullPtrErr);
    EXPECT_EQ(cplx(keep, 1, nullptr, 1), qp::qpStsNullPtrErr);
    for (int len : qptest::kBadLengths) EXPECT_EQ(cplx(keep, 1, keep, len), qp::qpStsSizeErr);
    EXPECT_TRUE(keep[0] == 1 && keep[1] == 2);
}

TEST_P(ArithmeticPaths, InvertThresholdLevelAndZero) {
    CheckInvertLevels<float>(GetParam());
    CheckInvertLevels<double>(GetParam());
}

// The caller's control word (here: every exception unmasked, round toward zero) comes back as it
// was, and no exception traps inside the call.
TEST_P(ArithmeticPaths, InvertThresholdRestoresTheControlWord) {
    const unsigned saved = _mm_getcsr();
    const unsigned caller = (saved & ~0x7FBFu) | 0x6000u;
    float z[3] = {0, 1e-30f, 2};
    _mm_setcsr(caller);
    const qp::Status s = qptest::inv_threshold_f32_paths[GetParam()](z, 0.0f, z, 3);
    const unsigned after = _mm_getcsr();
    _mm_setcsr(saved);
    EXPECT_EQ(s, qp::qpStsInvZero);
    EXPECT_EQ(after, caller);
    EXPECT_EQ(z[0], std::numeric_limits<float>::infinity());
}

// --- scaled 16-bit multiply ----------------------------------------------------------------------

// Exact reference: the product times 2^-scale, rounded half to even, saturated.
short RefScaled(int x, int c, int scale) {
    const long long p = static_cast<long long>(x) * c;
    long long q;
    if (scale <= 0) {
        q = p == 0 ? 0 : (scale < -20 ? (p > 0 ? 1LL << 40 : -(1LL << 40)) : p * (1LL << -scale));
    } else if (scale >= 40) {
        q = 0;
    } else {
        const long long unit = 1LL << scale;
        q = p >= 0 ? p / unit : -((-p + unit - 1) / unit);  // floor
        const long long rem2 = 2 * (p - q * unit);
        if (rem2 > unit || (rem2 == unit && (q & 1))) ++q;
    }
    return static_cast<short>(q < -32768 ? -32768 : (q > 32767 ? 32767 : q));
}

TEST_P(ArithmeticPaths, ScaledShortMultiply) {
    const auto k = qptest::mul_const_s16_sfs_paths[GetParam()];
    struct Example {
        short x, c;
        int scale;
        short want;
    };
    const Example examples[] = {
        {2, 20000, 0, 32767},  {-2, 20000, 0, -32768}, {5, 3, 2, 4},           // 3.75 -> 4
        {5, 1, 1, 2},          {7, 1, 1, 4},           {-5, 1, 1, -2},         // 2.5, 3.5, -2.5
        {-7, 1, 1, -4},        {3, 1, 1, 2},           {-32768, -32768, 0, 32767},
        {-32768, -32768, 30, 1}, {-32768, -32768, 31, 0}, {-32768, -32768, 99, 0},
        {1, 1, -14, 16384},    {1, 1, -15, 32767},     {-1, 1, -15, -32768},
        {-1, 1, -16, -32768},  {1, 1, -2147483647 - 1, 32767}, {-3, 2, -2147483647 - 1, -32768},
        {0, 7, -100, 0},       {3, -3, 3, -1},         {12, 1, 3, 2},          // -1.125, 1.5 -> 2
    };
    for (const Example& e : examples) {
        short v[1] = {e.x};
        ASSERT_EQ(k(v, e.c, e.scale, v, 1), qp::qpStsNoErr);
        EXPECT_EQ(v[0], e.want) << e.x << " * " << e.c << " scale " << e.scale;
        EXPECT_EQ(RefScaled(e.x, e.c, e.scale), e.want) << "reference";
    }
    std::mt19937 gen(77);
    std::uniform_int_distribution<int> any(-32768, 32767);
    for (int scale : {-40, -16, -15, -9, -1, 0, 1, 2, 3, 8, 14, 15, 16, 17, 29, 30, 31, 32, 1000}) {
        for (int c : {-32768, -20000, -3, -1, 1, 3, 255, 32767}) {
            for (int n : {1, 7, 15, 16, 17, 33, 65, 1000}) {
                SCOPED_TRACE(testing::Message() << "scale=" << scale << " c=" << c << " n=" << n);
                Buffer<short> s(n, 1), d(n, 3);
                for (int i = 0; i < n; ++i) s.data[i] = static_cast<short>(any(gen));
                if (n > 2) s.data[0] = -32768, s.data[1] = 32767;
                ASSERT_EQ(k(s.data, static_cast<short>(c), scale, d.data, n), qp::qpStsNoErr);
                for (int i = 0; i < n; ++i) ASSERT_EQ(d.data[i], RefScaled(s.data[i], c, scale)) << i;
                EXPECT_TRUE(d.TailIntact());
            }
        }
    }
    // Ties at every position of a vector: odd x * 1 at scale 1 are all exact halves.
    std::vector<short> t(37);
    for (int i = 0; i < 37; ++i) t[i] = static_cast<short>(2 * i - 37);
    const std::vector<short> t0 = t;
    ASSERT_EQ(k(t.data(), 1, 1, t.data(), 37), qp::qpStsNoErr);
    for (int i = 0; i < 37; ++i) EXPECT_EQ(t[i], RefScaled(t0[i], 1, 1)) << t0[i];
    short v[2] = {1, 2};
    EXPECT_EQ(k(nullptr, 1, 0, v, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(k(v, 1, 0, v, -1), qp::qpStsSizeErr);
    EXPECT_EQ(v[0], 1);
}

// --- logarithms: special values and accuracy over the float range ---------------------------------

// Rows {x, ln x}: NaN expects NaN, infinities and +0 exactly, the rest within a tolerance.
constexpr double kInfD = std::numeric_limits<double>::infinity(), kNaND = std::numeric_limits<double>::quiet_NaN();
constexpr double kLogSpecials[][2] = {
    {0.0, -kInfD}, {-0.0, -kInfD}, {-1.0, kNaND}, {-kInfD, kNaND}, {kNaND, kNaND}, {kInfD, kInfD}, {1.0, 0.0},
    {2.0, 0.69314718055994531}, {0x1p-149, -103.27892990343185}, {0x1p-126, -87.336544750553102},
    {0x1.fffffep127, 88.722839052068352}};
constexpr double kLogSpecialsDouble[][2] = {{0x1p-1074, -744.44007192138126}, {0x1.fffffffffffffp1023, 709.78271289338397}};

template <typename T>
void CheckLogSpecials(qp::Status (*k)(const T*, T*, int), const std::vector<std::pair<double, double>>& rows, double tol) {
    std::vector<T> in, out(rows.size());
    for (const auto& r : rows) in.push_back(static_cast<T>(r.first));
    ASSERT_EQ(k(in.data(), out.data(), static_cast<int>(in.size())), qp::qpStsNoErr);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const T want = static_cast<T>(rows[i].second);
        if (std::isfinite(want) && want != 0) {
            EXPECT_NEAR(out[i], want, tol) << "ln " << in[i];
        } else {
            EXPECT_TRUE(SameOrBothNaN(out[i], want)) << "ln " << in[i] << " gave " << out[i];
        }
    }
}

TEST_P(ArithmeticPaths, LogarithmSpecialValues) {
    const int p = GetParam();
    std::vector<std::pair<double, double>> rows;
    for (const auto& r : kLogSpecials) rows.emplace_back(r[0], r[1]);
    for (auto k : {qptest::ln_f32_paths[p], qptest::ln_a24_f32_paths[p], qptest::ln_a21_f32_paths[p],
                   qptest::ln_a11_f32_paths[p]}) {
        CheckLogSpecials<float>(k, rows, 1e-3);
    }
    for (const auto& r : kLogSpecialsDouble) rows.emplace_back(r[0], r[1]);
    CheckLogSpecials<double>(qptest::ln_f64_paths[p], rows, 5e-13);
}

// Error of got against the exact value in units of the last place of the exact value's binade.
template <typename T>
double UlpError(T got, long double exact) {
    if (exact == 0) return got == 0 ? 0 : 1e30;
    int e;
    std::frexp(static_cast<double>(exact), &e);
    const long double ulp = std::ldexp(1.0L, e - std::numeric_limits<T>::digits);
    return static_cast<double>(std::fabs(static_cast<long double>(got) - exact) / ulp);
}

// Worst errors of one float log kernel over every step-th positive finite float (all finite
// positive patterns with step 1), subnormals included.
struct Worst {
    double ulps = 0, rel = 0;
    float at = 0;
};
Worst SweepFloatLog(qp::Status (*k)(const float*, float*, int), std::uint32_t step) {
    Worst w;
    constexpr int kBlock = 1 << 16;
    std::vector<float> in(kBlock), out(kBlock);
    std::uint64_t bits = 1;
    while (bits < 0x7f800000u) {
        int n = 0;
        for (; n < kBlock - 5 && bits < 0x7f800000u; ++n, bits += step) {
            const auto b = static_cast<std::uint32_t>(bits);
            std::memcpy(&in[n], &b, 4);
        }
        EXPECT_EQ(k(in.data(), out.data(), n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            const long double exact = logl(in[i]);
            const double u = UlpError(out[i], exact);
            if (u > w.ulps) w.ulps = u, w.at = in[i];
            if (exact != 0) w.rel = std::max(w.rel, static_cast<double>(std::fabs((out[i] - exact) / exact)));
        }
    }
    return w;
}

TEST_P(ArithmeticPaths, FloatLogarithmAccuracy) {
    // About 500 000 patterns natively (a prime step visits every mantissa region), fewer emulated.
    const std::uint32_t step = qptest::Emulated() ? 65521 : 4099;
    struct Grade {
        const char* name;
        qp::Status (*k)(const float*, float*, int);
        double maxUlps, maxRel;
    };
    const int p = GetParam();
    const Grade grades[] = {{"Ln", qptest::ln_f32_paths[p], 1.0, 1},
                            {"Ln_Prec24", qptest::ln_a24_f32_paths[p], 1.0, 1},
                            {"Ln_Prec21", qptest::ln_a21_f32_paths[p], 1e9, 0x1p-21},
                            {"Ln_Prec11", qptest::ln_a11_f32_paths[p], 1e9, 0x1p-11}};
    for (const Grade& g : grades) {
        const Worst w = SweepFloatLog(g.k, step);
        EXPECT_LE(w.ulps, g.maxUlps) << g.name << " at " << w.at;
        EXPECT_LE(w.rel, g.maxRel) << g.name;
        std::printf("path %s %-10s worst %.3f ulp (at %a), relative %.3g = 2^%.2f\n", qptest::PathName(p).c_str(),
                    g.name, w.ulps, w.at, w.rel, std::log2(w.rel));
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
    double worst = 0;
    double at = 0;
    for (int i = 0; i < n; ++i) {
        const double u = UlpError(out[i], logl(static_cast<long double>(in[i])));
        if (u > worst) worst = u, at = in[i];
    }
    EXPECT_LE(worst, 1.0) << "at " << at;
    std::printf("path %s Ln(double) worst %.3f ulp (at %a)\n", qptest::PathName(GetParam()).c_str(), worst, at);
}

// Destinations of 4 MiB and more take the streaming stores, starting off a vector boundary.
TEST_P(ArithmeticPaths, StreamingDestinations) {
    const int p = GetParam();
    const int n = (4 << 20) / 4 + 21;
    std::vector<float> a(n + 2), d(n + 2, 7.0f);
    for (int i = 0; i < n + 2; ++i) a[i] = static_cast<float>(i % 977) * 0.25f + 0.5f;
    ASSERT_EQ(qptest::flip_f32_paths[p](a.data() + 1, d.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d[i + 1], a[n - i]) << i;
    EXPECT_EQ(d[0], 7.0f);
    EXPECT_EQ(d[n + 1], 7.0f);
    ASSERT_EQ(qptest::add_f32_paths[p](a.data() + 1, a.data(), d.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) ASSERT_EQ(d[i + 1], a[i + 1] + a[i]) << i;
    EXPECT_EQ(d[n + 1], 7.0f);
    const int pairs = n / 2;
    ASSERT_EQ(qptest::mul_c32_paths[p](a.data() + 2, a.data() + 2, d.data() + 1, pairs), qp::qpStsNoErr);
    for (int i = 0; i < pairs; i += 101) {
        const std::complex<float> x(a[2 + 2 * i], a[3 + 2 * i]);
        const std::complex<float> want = x * x;
        ASSERT_NEAR(d[1 + 2 * i], want.real(), 1e-6 * std::norm(x)) << i;
        ASSERT_NEAR(d[2 + 2 * i], want.imag(), 1e-6 * std::norm(x)) << i;
    }
    EXPECT_EQ(d[0], 7.0f);
    ASSERT_EQ(qptest::ln_a11_f32_paths[p](a.data() + 1, d.data() + 1, n), qp::qpStsNoErr);
    for (int i = 0; i < n; i += 37) ASSERT_NEAR(d[i + 1], std::log(a[i + 1]), 1e-3) << i;
    EXPECT_EQ(d[0], 7.0f);
    EXPECT_EQ(d[n + 1], 7.0f);
}

QP_INSTANTIATE_PATHS(ArithmeticPaths);

// Every positive float through the dispatched Ln_Prec24 and Ln.
TEST(LargeArithmetic, FloatLogarithmExhaustive) {
    for (auto k : {qp::ln_a24_f32, qp::ln_f32}) {
        const Worst w = SweepFloatLog(k, 1);
        EXPECT_LE(w.ulps, 1.0) << "at " << w.at;
        std::printf("exhaustive: worst %.4f ulp at %a\n", w.ulps, w.at);
    }
}

// --- exports through dispatch --------------------------------------------------------------------

// Each row runs one export on a = {1, -4}, b = {10, 20} and a destination holding {3, 8}: the
// operand order (d - a, b - a, d / a, c / a ...) shows in the result.
template <typename T>
struct ExportRow {
    const char* call;
    void (*run)(const T* a, const T* b, T* d);
    std::vector<T> want;
};
#define QP_ROW(call, ...) \
    ExportRow<T> { #call, [](const T* a, const T* b, T* d) { (void)a, (void)b, (void)d; call; }, {__VA_ARGS__} }

template <typename T>
std::vector<ExportRow<T>> ExportRows() {
    std::vector<ExportRow<T>> rows = {
        QP_ROW(qu::Add(2, a, b, d), 11, 16),           QP_ROW(qu::Add_InPlace(2, a, d), 4, 4),
        QP_ROW(qu::AddConstant_InPlace(2, d, 1), 4, 9), QP_ROW(qu::Sub_InPlace(2, a, d), 2, 12),
        QP_ROW(qu::SubConstant_InPlace(2, d, 1), 2, 7), QP_ROW(qu::SubConstantRev_InPlace(2, d, 10), 7, 2),
        QP_ROW(qu::Mul(2, a, b, d), 10, -80),          QP_ROW(qu::Mul_InPlace(2, a, d), 3, -32),
        QP_ROW(qu::MulConstant(2, a, d, 3), 3, -12),   QP_ROW(qu::MulConstant_InPlace(2, d, 0.5), 1.5, 4),
        QP_ROW(qu::Div_InPlace(2, a, d), 3, -2),       QP_ROW(qu::DivConstant_InPlace(2, d, 4), 0.75, 2),
        QP_ROW(qu::Abs(2, a, d), 1, 4),                QP_ROW(d[1] = a[1]; qu::Abs_InPlace(2, d), 3, 4),
        QP_ROW(qu::Normalize(2, b, d, 4, 2), 3, 8),    QP_ROW(qu::Threshold_LT_InPlace(2, d, 4), 4, 8),
        QP_ROW(qu::Threshold_GT_InPlace(2, d, 4), 3, 4), QP_ROW(qu::Invert_Threshold_InPlace(2, d, 4), 0.25, 0.125),
        QP_ROW(d[0] = -0.1; qu::Invert_Threshold_InPlace(2, d, 0.5), -2, 0.125),
        QP_ROW(qu::Flip(2, a, d), -4, 1),              QP_ROW(qu::Flip_InPlace(2, d), 8, 3),
    };
    if constexpr (std::is_same_v<T, float>) {
        const std::vector<ExportRow<T>> floatOnly = {
            QP_ROW(qu::Sub(2, a, b, d), 9, 24),            QP_ROW(qu::AddConstant(2, a, 0.5, d), 1.5, -3.5),
            QP_ROW(qu::AddProduct(2, a, b, d), 13, -72),   QP_ROW(qu::DivConstantRev(2, 2, a, d), 2, -0.5),
            QP_ROW(qu::Sqr(2, a, d), 1, 16),               QP_ROW(qu::Trim(2, d, 4, 5), 4, 5),
            QP_ROW(qu::Div(2, a, b, d), 3, 8),             QP_ROW(qu::Add_ConstantProduct(2, a, d, 2), 3, 8),  // empty
        };
        rows.insert(rows.end(), floatOnly.begin(), floatOnly.end());
    }
    return rows;
}

template <typename T>
void CheckExportRows() {
    const T a[2] = {1, -4}, b[2] = {10, 20};
    for (const ExportRow<T>& r : ExportRows<T>()) {
        T d[3] = {3, 8, 77};
        r.run(a, b, d);
        EXPECT_EQ(std::vector<T>(d, d + 3), (std::vector<T>{r.want[0], r.want[1], 77})) << r.call;
    }
}

TEST(ArithmeticExports, OperandOrderAndExamples) {
    CheckExportRows<float>();
    CheckExportRows<double>();

    std::complex<float> x[2] = {{1, 2}, {3, -1}}, y[2] = {{0, 1}, {2, 2}}, z[2];
    qu::Mul(2, x, y, z);
    EXPECT_EQ(z[1], std::complex<float>(8, 4));
    qu::Mul_InPlace(2, x, y);
    EXPECT_EQ(y[0], std::complex<float>(-2, 1));
    std::complex<double> xd[1] = {{1, 2}}, yd[1] = {{3, 4}};
    qu::Mul_InPlace(1, xd, yd);
    EXPECT_EQ(yd[0], std::complex<double>(-5, 10));
    std::complex<float> cf[2] = {{0.3f, 0.4f}, {0, 2}};
    qu::Invert_Threshold_InPlace(2, cf, 1.0f);  // |0.3 + 0.4i| = 0.5 raised to 1: 1 / (0.6 + 0.8i)
    EXPECT_NEAR(cf[0].real(), 0.6f, 1e-6);
    EXPECT_NEAR(cf[0].imag(), -0.8f, 1e-6);
    EXPECT_NEAR(cf[1].imag(), -0.5f, 1e-6);
    std::complex<double> cd[1] = {{0, -4}};
    qu::Invert_Threshold_InPlace(1, cd, 1.0);
    EXPECT_EQ(cd[0], std::complex<double>(0, 0.25));
    std::vector<short> s = {5, -5, 7, 2};
    qu::MulConstant_InPlace(4, s.data(), static_cast<short>(1), 1);  // halves, ties to even
    EXPECT_EQ(s, (std::vector<short>{2, -2, 4, 1}));
    qu::MulConstant_InPlace(4, s.data(), static_cast<short>(20000), 0);  // saturated
    EXPECT_EQ(s, (std::vector<short>{32767, -32768, 32767, 20000}));

    const float l[3] = {1, 2.7182817f, 0};
    float lo[3], li[3] = {1, 2.7182817f, 0};
    for (auto fn : {&qu::Ln_Prec11, &qu::Ln_Prec21, &qu::Ln_Prec24, static_cast<decltype(&qu::Ln_Prec11)>(&qu::Ln)}) {
        fn(3, l, lo);
        EXPECT_EQ(lo[0], 0.0f);
        EXPECT_NEAR(lo[1], 1.0f, 1e-3f);
        EXPECT_EQ(lo[2], -std::numeric_limits<float>::infinity());
    }
    qu::Ln_InPlace(3, li);
    EXPECT_EQ(std::memcmp(li, lo, sizeof lo), 0);
    const double ld[2] = {1, 10};
    double ldo[2];
    qu::Ln(2, ld, ldo);
    EXPECT_EQ(ldo[0], 0.0);
    EXPECT_DOUBLE_EQ(ldo[1], std::log(10.0));
}

// Refused counts, null pointers and refused levels leave every destination bit-for-bit unchanged.
TEST(ArithmeticExports, RefusedCallsWriteNothing) {
    float a[3] = {1, 2, 3}, b[3] = {4, 5, 6}, d[3] = {std::nanf(""), -0.0f, 7};
    std::complex<double> cd[1] = {{0, 0.25}};
    const qptest::Snapshot before(d, cd);
    double ad[2] = {1, 2};
    const qptest::Snapshot before2(ad);
    for (unsigned int len : qptest::kBadCounts) {
        qu::Add(len, a, b, d);
        qu::Add(len, ad, ad, ad);
        qu::Abs(len, a, d);
        qu::Abs_InPlace(len, ad);
        qu::Sub(len, a, b, d);
        qu::Sub_InPlace(len, a, d);
        qu::AddConstant(len, a, 1.0f, d);
        qu::AddProduct(len, a, b, d);
        qu::Mul(len, a, b, d);
        qu::MulConstant(len, a, d, 2.0f);
        qu::DivConstantRev(len, 1.0f, a, d);
        qu::Sqr(len, a, d);
        for (auto fn : {&qu::Ln_Prec11, &qu::Ln_Prec21, &qu::Ln_Prec24, static_cast<decltype(&qu::Ln_Prec11)>(&qu::Ln)}) {
            fn(len, a, d);
        }
        qu::Flip(len, a, d);
        qu::Flip_InPlace(len, d);
        qu::Normalize(len, a, d, 1.0f, 2.0f);
        qu::Trim(len, d, 0.0f, 1.0f);
        qu::Threshold_LT_InPlace(len, d, 5.0f);
        qu::Invert_Threshold_InPlace(len, d, 0.0f);
        qu::Invert_Threshold_InPlace(len, reinterpret_cast<std::complex<float>*>(d), 0.0f);
    }
    qu::Add(3, nullptr, b, d);
    qu::Add(3, a, b, static_cast<float*>(nullptr));
    qu::Abs(2, static_cast<const double*>(nullptr), ad);
    qu::Sub(3, nullptr, b, d);
    qu::Mul(3, a, static_cast<const float*>(nullptr), d);
    qu::Ln(0, static_cast<const float*>(nullptr), static_cast<float*>(nullptr));
    qu::Flip_InPlace(0, static_cast<double*>(nullptr));
    qu::MulConstant_InPlace(0, static_cast<short*>(nullptr), short{1}, 0);
    qu::Invert_Threshold_InPlace(3, d, -1.0f);
    qu::Invert_Threshold_InPlace(1, cd, -1.0);
    EXPECT_TRUE(before.Unchanged());
    EXPECT_TRUE(before2.Unchanged());
}

}  // namespace
