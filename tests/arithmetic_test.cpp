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
constexpr int kOffsets[] = {0, 1, 3};  // element offsets from a 64-byte boundary
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

// --- element-wise real operations: one table, every length, alignment and aliasing ------------

// A kernel of one or two sources (b is ignored for one source); the reference gets the source
// values and returns the exact result, rounded to T by the caller.
template <typename T>
struct MapCase {
    std::string name;
    int sources;
    std::function<qp::Status(const T*, const T*, T*, int)> run;
    std::function<long double(T, T)> ref;
    double relTol;  // 0: bit-exact against the rounded reference
    T lo = -100, hi = 100;
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
    for (int n : kLengths) {
        for (int offset : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Buffer<T> a(n, (offset + 1) % 4), b(n, (offset + 2) % 4), d(n, offset);
            Fill(a.data, n, 11u + n, c.lo, c.hi);
            Fill(b.data, n, 12u + n, c.lo, c.hi);
            ASSERT_EQ(c.run(a.data, b.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ExpectClose(d.data[i], c.ref(a.data[i], b.data[i]), c.relTol, i);
            EXPECT_TRUE(d.TailIntact());

            // The destination exactly equal to each source.
            std::vector<T> a0(a.data, a.data + n), b0(b.data, b.data + n);
            ASSERT_EQ(c.run(a.data, b.data, a.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ExpectClose(a.data[i], c.ref(a0[i], b0[i]), c.relTol, i);
            EXPECT_TRUE(a.TailIntact());
            if (c.sources == 2) {
                ASSERT_EQ(c.run(a0.data(), b.data, b.data, n), qp::qpStsNoErr);
                for (int i = 0; i < n; ++i) ExpectClose(b.data[i], c.ref(a0[i], b0[i]), c.relTol, i);
            }
        }
    }
    // Refusals write nothing: null pointers first, then non-positive lengths.
    T a[3] = {1, 2, 3}, b[3] = {4, 5, 6}, d[3] = {9, 9, 9};
    EXPECT_EQ(c.run(nullptr, b, d, 3), qp::qpStsNullPtrErr);
    if (c.sources == 2) {
        EXPECT_EQ(c.run(a, nullptr, d, 3), qp::qpStsNullPtrErr);
    }
    EXPECT_EQ(c.run(a, b, nullptr, 3), qp::qpStsNullPtrErr);
    EXPECT_EQ(c.run(a, b, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(c.run(a, b, d, -3), qp::qpStsSizeErr);
    for (T x : d) EXPECT_EQ(x, 9);
}

template <typename T>
using Binary = qp::Status (*)(const T*, const T*, T*, int);
template <typename T>
using WithScalar = qp::Status (*)(const T*, T, T*, int);
template <typename T>
using Unary = qp::Status (*)(const T*, T*, int);

template <typename T>
MapCase<T> Bin(std::string name, Binary<T> k, std::function<long double(T, T)> ref) {
    return {name, 2, [k](const T* a, const T* b, T* d, int n) { return k(a, b, d, n); }, ref, 0};
}
template <typename T>
MapCase<T> Scal(std::string name, WithScalar<T> k, T c, std::function<long double(T, T)> ref) {
    return {name, 1, [k, c](const T* a, const T*, T* d, int n) { return k(a, c, d, n); },
            [ref, c](T x, T) { return ref(x, c); }, 0};
}
template <typename T>
MapCase<T> Un(std::string name, Unary<T> k, std::function<long double(T, T)> ref, double tol = 0) {
    return {name, 1, [k](const T* a, const T*, T* d, int n) { return k(a, d, n); }, ref, tol};
}

// The reference of a float operation is the double result rounded once (double carries more than
// twice float's precision, so that is the correctly rounded float result); double operations are
// referenced by the same IEEE operation on scalars.
std::vector<MapCase<float>> FloatCases(int p) {
    using L = long double;
    using D = double;
    std::vector<MapCase<float>> c = {
        Bin<float>("add", qptest::add_f32_paths[p], [](float a, float b) { return L(D(a) + D(b)); }),
        Bin<float>("sub b-a", qptest::sub_f32_paths[p], [](float a, float b) { return L(D(b) - D(a)); }),
        Bin<float>("mul", qptest::mul_f32_paths[p], [](float a, float b) { return L(D(a) * D(b)); }),
        Bin<float>("div b/a", qptest::div_f32_paths[p], [](float a, float b) { return L(D(b) / D(a)); }),
        Scal<float>("add const", qptest::add_const_f32_paths[p], 2.75f, [](float x, float c) { return L(D(x) + c); }),
        Scal<float>("sub const", qptest::sub_const_f32_paths[p], 2.75f, [](float x, float c) { return L(D(x) - c); }),
        Scal<float>("sub const rev", qptest::sub_const_rev_f32_paths[p], 2.75f,
                    [](float x, float c) { return L(D(c) - x); }),
        Scal<float>("mul const", qptest::mul_const_f32_paths[p], -0.3f, [](float x, float c) { return L(D(x) * c); }),
        Scal<float>("div const", qptest::div_const_f32_paths[p], 3.0f, [](float x, float c) { return L(D(x) / c); }),
        Scal<float>("div const rev", qptest::div_const_rev_f32_paths[p], 3.0f,
                    [](float x, float c) { return L(D(c) / x); }),
        Scal<float>("threshold lt", qptest::threshold_lt_f32_paths[p], 7.5f,
                    [](float x, float c) { return L(x < c ? c : x); }),
        Scal<float>("threshold gt", qptest::threshold_gt_f32_paths[p], 7.5f,
                    [](float x, float c) { return L(x > c ? c : x); }),
        Scal<float>("inv threshold", qptest::inv_threshold_f32_paths[p], 4.0f,
                    [](float x, float c) { return L(1.0 / std::copysign(std::max(D(std::fabs(x)), D(c)), D(x))); }),
        Un<float>("abs", qptest::abs_f32_paths[p], [](float x, float) { return L(std::fabs(x)); }),
        Un<float>("sqr", qptest::sqr_f32_paths[p], [](float x, float) { return L(D(x) * x); }),
    };
    const auto normalize = qptest::normalize_f32_paths[p];
    c.push_back({"normalize", 1, [normalize](const float* a, const float*, float* d, int n) {
                     return normalize(a, 1.5f, 3.0f, d, n);
                 },
                 [](float x, float) { return L(float(D(x) - 1.5) / 3.0); }, 0});
    const auto clip = qptest::threshold_ltval_gtval_f32_paths[p];
    c.push_back({"threshold lt/gt values", 1,
                 [clip](const float* a, const float*, float* d, int n) { return clip(a, -10, -50, 20, 70, d, n); },
                 [](float x, float) { return L(x < -10 ? -50 : (x > 20 ? 70 : x)); }, 0});
    // The logarithms on positive data here; the accuracy sweeps below cover the whole range.
    c.push_back(Un<float>("ln", qptest::ln_f32_paths[p], [](float x, float) { return logl(x); }, 0x1p-23));
    c.push_back(Un<float>("ln 24", qptest::ln_a24_f32_paths[p], [](float x, float) { return logl(x); }, 0x1p-23));
    c.push_back(Un<float>("ln 21", qptest::ln_a21_f32_paths[p], [](float x, float) { return logl(x); }, 0x1p-21));
    c.push_back(Un<float>("ln 11", qptest::ln_a11_f32_paths[p], [](float x, float) { return logl(x); }, 0x1p-11));
    for (std::size_t i = c.size() - 4; i < c.size(); ++i) {
        c[i].lo = 1e-3f;
        c[i].hi = 1e3f;
    }
    return c;
}

std::vector<MapCase<double>> DoubleCases(int p) {
    using L = long double;
    std::vector<MapCase<double>> c = {
        Bin<double>("add", qptest::add_f64_paths[p], [](double a, double b) { return L(a + b); }),
        Bin<double>("sub b-a", qptest::sub_f64_paths[p], [](double a, double b) { return L(b - a); }),
        Bin<double>("mul", qptest::mul_f64_paths[p], [](double a, double b) { return L(a * b); }),
        Bin<double>("div b/a", qptest::div_f64_paths[p], [](double a, double b) { return L(b / a); }),
        Scal<double>("add const", qptest::add_const_f64_paths[p], 2.75, [](double x, double c) { return L(x + c); }),
        Scal<double>("sub const", qptest::sub_const_f64_paths[p], 2.75, [](double x, double c) { return L(x - c); }),
        Scal<double>("sub const rev", qptest::sub_const_rev_f64_paths[p], 2.75,
                     [](double x, double c) { return L(c - x); }),
        Scal<double>("mul const", qptest::mul_const_f64_paths[p], -0.3, [](double x, double c) { return L(x * c); }),
        Scal<double>("div const", qptest::div_const_f64_paths[p], 3.0, [](double x, double c) { return L(x / c); }),
        Scal<double>("threshold lt", qptest::threshold_lt_f64_paths[p], 7.5,
                     [](double x, double c) { return L(x < c ? c : x); }),
        Scal<double>("threshold gt", qptest::threshold_gt_f64_paths[p], 7.5,
                     [](double x, double c) { return L(x > c ? c : x); }),
        Scal<double>("inv threshold", qptest::inv_threshold_f64_paths[p], 4.0,
                     [](double x, double c) { return L(1.0 / std::copysign(std::max(std::fabs(x), c), x)); }),
        Un<double>("abs", qptest::abs_f64_paths[p], [](double x, double) { return L(std::fabs(x)); }),
    };
    const auto normalize = qptest::normalize_f64_paths[p];
    c.push_back({"normalize", 1, [normalize](const double* a, const double*, double* d, int n) {
                     return normalize(a, 1.5, 3.0, d, n);
                 },
                 [](double x, double) { return L((x - 1.5) / 3.0); }, 0});
    c.push_back(Un<double>("ln", qptest::ln_f64_paths[p], [](double x, double) { return logl(x); }, 0x1p-52));
    c.back().lo = 1e-3;
    c.back().hi = 1e3;
    return c;
}

class ArithmeticPaths : public testing::TestWithParam<int> {};

TEST_P(ArithmeticPaths, FloatOperationsMatchTheReference) {
    for (const auto& c : FloatCases(GetParam())) CheckMapCase(c);
}

TEST_P(ArithmeticPaths, DoubleOperationsMatchTheReference) {
    for (const auto& c : DoubleCases(GetParam())) CheckMapCase(c);
}

// Division by a constant gives the bits of a true division for every divisor, powers of two (which
// take a multiplication by the exact reciprocal) and others alike, on special and edge inputs.
template <typename T>
void CheckDivConstBits(qp::Status (*k)(const T*, T, T*, int)) {
    using Lim = std::numeric_limits<T>;
    std::vector<T> inputs = {T(0), -T(0), T(1), T(-1.5), T(3), Lim::denorm_min(), -Lim::min(), Lim::min() * T(0.75),
                             Lim::max(), -Lim::max(), Lim::infinity(), -Lim::infinity(), Lim::quiet_NaN(),
                             -Lim::quiet_NaN(), T(1e-30), T(7e20)};
    std::mt19937 gen(3);
    std::uniform_int_distribution<int> expo(Lim::min_exponent - Lim::digits, Lim::max_exponent);
    while (inputs.size() < 75) inputs.push_back(std::ldexp(T(1) + T(gen() % 1000) / 1000, expo(gen)) * ((gen() & 1) ? 1 : -1));
    const T divisors[] = {T(0.25), T(-8), T(1), T(-1), std::ldexp(T(1), Lim::min_exponent - 1),
                          std::ldexp(T(1), Lim::max_exponent - 2), std::ldexp(T(1), Lim::max_exponent - 1),
                          Lim::denorm_min(), T(3), T(-0.1), T(0), Lim::infinity(), Lim::quiet_NaN()};
    const int n = static_cast<int>(inputs.size());
    for (T c : divisors) {
        SCOPED_TRACE(testing::Message() << "c=" << c);
        Buffer<T> d(n, 1);
        ASSERT_EQ(k(inputs.data(), c, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            volatile T x = inputs[i];
            const T want = x / c;
            ASSERT_EQ(std::memcmp(&d.data[i], &want, sizeof(T)), 0) << inputs[i] << " / " << c << " gave " << d.data[i];
        }
        EXPECT_TRUE(d.TailIntact());
    }
}

TEST_P(ArithmeticPaths, DivideByConstantGivesTheBitsOfADivision) {
    CheckDivConstBits<float>(qptest::div_const_f32_paths[GetParam()]);
    CheckDivConstBits<double>(qptest::div_const_f64_paths[GetParam()]);
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

template <typename T>
void CheckFlip(qp::Status (*k)(const T*, T*, int)) {
    for (int n : kLengths) {
        for (int offset : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Buffer<T> a(n, (offset + 2) % 4), d(n, offset);
            for (int i = 0; i < n; ++i) a.data[i] = static_cast<T>(i + 1);
            ASSERT_EQ(k(a.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_EQ(d.data[i], n - i) << i;
            EXPECT_TRUE(d.TailIntact());
            // In place, for odd and even lengths: the middle element of an odd length stays.
            ASSERT_EQ(k(a.data, a.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) ASSERT_EQ(a.data[i], n - i) << i;
            EXPECT_TRUE(a.TailIntact());
        }
    }
    T s[2] = {1, 2}, d[2] = {7, 7};
    EXPECT_EQ(k(nullptr, d, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(k(s, nullptr, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(k(s, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(d[0], 7);
}

TEST_P(ArithmeticPaths, FlipReverses) {
    CheckFlip<float>(qptest::flip_f32_paths[GetParam()]);
    CheckFlip<double>(qptest::flip_f64_paths[GetParam()]);
}

// --- interleaved complex -------------------------------------------------------------------------

template <typename T>
void CheckComplexMul(qp::Status (*k)(const T*, const T*, T*, int)) {
    using C = std::complex<long double>;
    for (int n : kLengths) {
        for (int offset : {0, 1}) {  // offsets in complex elements
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << offset);
            Buffer<T> a(2 * n, 2 * offset), b(2 * n, 2 * ((offset + 1) % 2)), d(2 * n, 2 * offset);
            Fill(a.data, 2 * n, 5u + n);
            Fill(b.data, 2 * n, 6u + n);
            const std::vector<T> a0(a.data, a.data + 2 * n);
            ASSERT_EQ(k(a.data, b.data, d.data, n), qp::qpStsNoErr);
            EXPECT_TRUE(d.TailIntact());
            ASSERT_EQ(k(a.data, b.data, a.data, n), qp::qpStsNoErr);  // in place on the first source
            for (int i = 0; i < n; ++i) {
                const C x(a0[2 * i], a0[2 * i + 1]), y(b.data[2 * i], b.data[2 * i + 1]);
                const C want = x * y;
                const long double tol = 2 * std::numeric_limits<T>::epsilon() * std::abs(x) * std::abs(y);
                ASSERT_NEAR(d.data[2 * i], want.real(), tol) << i;
                ASSERT_NEAR(d.data[2 * i + 1], want.imag(), tol) << i;
                ASSERT_EQ(a.data[2 * i], d.data[2 * i]) << i;
                ASSERT_EQ(a.data[2 * i + 1], d.data[2 * i + 1]) << i;
            }
        }
    }
    T s[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9};
    EXPECT_EQ(k(s, nullptr, d, 2), qp::qpStsNullPtrErr);
    EXPECT_EQ(k(s, s, d, 0), qp::qpStsSizeErr);
    EXPECT_EQ(d[0], 9);
}

TEST_P(ArithmeticPaths, ComplexMultiply) {
    CheckComplexMul<float>(qptest::mul_c32_paths[GetParam()]);
    CheckComplexMul<double>(qptest::mul_c64_paths[GetParam()]);
}

// 1 / z with |z| raised to at least the level, against an extended-precision reference. The data
// straddle the level, and include zeros and (for double) magnitudes whose square over- or
// underflows.
template <typename T>
void CheckComplexInvThreshold(qp::Status (*k)(const T*, T, T*, int)) {
    using C = std::complex<long double>;
    const T level = static_cast<T>(3.0);
    for (int n : kLengths) {
        SCOPED_TRACE(testing::Message() << "n=" << n);
        Buffer<T> d(2 * n, 2);
        Fill(d.data, 2 * n, 9u + n, T(-6), T(6));
        if (n > 3) d.data[4] = d.data[5] = 0;
        if (sizeof(T) == 8 && n > 5) {
            d.data[6] = static_cast<T>(3e200), d.data[7] = static_cast<T>(-4e200);
            d.data[8] = static_cast<T>(1e-200), d.data[9] = static_cast<T>(2e-200);
        }
        const std::vector<T> z0(d.data, d.data + 2 * n);
        ASSERT_EQ(k(d.data, level, d.data, n), qp::qpStsNoErr);
        EXPECT_TRUE(d.TailIntact());
        for (int i = 0; i < n; ++i) {
            C z(z0[2 * i], z0[2 * i + 1]);
            const long double m = std::abs(z);
            C want = m == 0 ? C(1.0L / level, 0) : (m < level ? C(1) / (z * (level / m)) : C(1) / z);
            const long double tol = 4 * std::numeric_limits<T>::epsilon() * std::abs(want);
            ASSERT_NEAR(d.data[2 * i], want.real(), tol) << i;
            ASSERT_NEAR(d.data[2 * i + 1], want.imag(), tol) << i;
        }
    }
}

TEST_P(ArithmeticPaths, ComplexInvertThreshold) {
    CheckComplexInvThreshold<float>(qptest::inv_threshold_c32_paths[GetParam()]);
    CheckComplexInvThreshold<double>(qptest::inv_threshold_c64_paths[GetParam()]);
}

// Level checks and the zero warning, for the four element types.
TEST_P(ArithmeticPaths, InvertThresholdLevelAndZero) {
    const int p = GetParam();
    float f[3] = {0.1f, -0.1f, 4};
    EXPECT_EQ(qptest::inv_threshold_f32_paths[p](f, 0.5f, f, 3), qp::qpStsNoErr);
    EXPECT_EQ(std::vector<float>(f, f + 3), (std::vector<float>{2, -2, 0.25f}));
    float z[5] = {1, 0, -0.0f, 2, 4};
    EXPECT_EQ(qptest::inv_threshold_f32_paths[p](z, 0.0f, z, 5), qp::qpStsInvZero);
    EXPECT_EQ(z[1], std::numeric_limits<float>::infinity());
    EXPECT_EQ(z[2], -std::numeric_limits<float>::infinity());
    EXPECT_EQ(z[4], 0.25f);
    double dz[2] = {-0.0, 8};
    EXPECT_EQ(qptest::inv_threshold_f64_paths[p](dz, 0.0, dz, 2), qp::qpStsInvZero);
    EXPECT_EQ(dz[0], -std::numeric_limits<double>::infinity());
    // No zero at level 0: no warning; a partial vector padded internally must not raise one either.
    float nz[3] = {1, 2, 4};
    EXPECT_EQ(qptest::inv_threshold_f32_paths[p](nz, 0.0f, nz, 3), qp::qpStsNoErr);
    float cz[4] = {3, 4, 0, 0};
    EXPECT_EQ(qptest::inv_threshold_c32_paths[p](cz, 0.0f, cz, 2), qp::qpStsInvZero);
    EXPECT_FLOAT_EQ(cz[0], 0.12f);
    EXPECT_FLOAT_EQ(cz[1], -0.16f);
    EXPECT_EQ(cz[2], std::numeric_limits<float>::infinity());
    EXPECT_EQ(cz[3], 0.0f);
    double cd[2] = {0, 0};
    EXPECT_EQ(qptest::inv_threshold_c64_paths[p](cd, 0.0, cd, 1), qp::qpStsInvZero);
    double cnz[2] = {3, 4};
    EXPECT_EQ(qptest::inv_threshold_c64_paths[p](cnz, 0.0, cnz, 1), qp::qpStsNoErr);

    // A negative or NaN level is refused before anything is written.
    float keep[2] = {1, 2};
    double keepd[2] = {1, 2};
    EXPECT_EQ(qptest::inv_threshold_f32_paths[p](keep, -1.0f, keep, 2), qp::qpStsThreshNegLevelErr);
    EXPECT_EQ(qptest::inv_threshold_f32_paths[p](keep, std::nanf(""), keep, 2), qp::qpStsThreshNegLevelErr);
    EXPECT_EQ(qptest::inv_threshold_f64_paths[p](keepd, -1e-300, keepd, 2), qp::qpStsThreshNegLevelErr);
    EXPECT_EQ(qptest::inv_threshold_c32_paths[p](keep, -2.0f, keep, 1), qp::qpStsThreshNegLevelErr);
    EXPECT_EQ(qptest::inv_threshold_c64_paths[p](keepd, -2.0, keepd, 1), qp::qpStsThreshNegLevelErr);
    EXPECT_EQ(keep[0], 1);
    EXPECT_EQ(keep[1], 2);
    EXPECT_EQ(keepd[0], 1);
    EXPECT_EQ(qptest::inv_threshold_c32_paths[p](nullptr, 1.0f, keep, 1), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::inv_threshold_c64_paths[p](keepd, 1.0, keepd, 0), qp::qpStsSizeErr);
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

TEST_P(ArithmeticPaths, LogarithmSpecialValues) {
    const float inf = std::numeric_limits<float>::infinity();
    const float in[] = {0.0f, -0.0f, -1.0f, -inf, std::nanf(""), inf, 1.0f, 0x1p-149f, 0x1p-126f, 0x1.fffffep127f, 2.0f};
    constexpr int n = sizeof in / sizeof in[0];
    for (auto k : {qptest::ln_f32_paths[GetParam()], qptest::ln_a24_f32_paths[GetParam()],
                   qptest::ln_a21_f32_paths[GetParam()], qptest::ln_a11_f32_paths[GetParam()]}) {
        float out[n];
        ASSERT_EQ(k(in, out, n), qp::qpStsNoErr);
        EXPECT_EQ(out[0], -inf);
        EXPECT_EQ(out[1], -inf);
        EXPECT_TRUE(std::isnan(out[2]));
        EXPECT_TRUE(std::isnan(out[3]));
        EXPECT_TRUE(std::isnan(out[4]));
        EXPECT_EQ(out[5], inf);
        EXPECT_TRUE(SameOrBothNaN(out[6], 0.0f));  // exactly +0
        EXPECT_NEAR(out[7], -103.27893f, 1e-3);
        EXPECT_NEAR(out[8], -87.336544f, 1e-3);
        EXPECT_NEAR(out[9], 88.72284f, 1e-3);
        EXPECT_NEAR(out[10], 0.6931472f, 1e-3);
    }
    const double dinf = std::numeric_limits<double>::infinity();
    const double din[] = {0.0, -0.0, -2.0, std::nan(""), dinf, 1.0, 0x1p-1074, 0x1.fffffffffffffp1023};
    double dout[8];
    ASSERT_EQ(qptest::ln_f64_paths[GetParam()](din, dout, 8), qp::qpStsNoErr);
    EXPECT_EQ(dout[0], -dinf);
    EXPECT_EQ(dout[1], -dinf);
    EXPECT_TRUE(std::isnan(dout[2]));
    EXPECT_TRUE(std::isnan(dout[3]));
    EXPECT_EQ(dout[4], dinf);
    EXPECT_TRUE(SameOrBothNaN(dout[5], 0.0));
    EXPECT_DOUBLE_EQ(dout[6], -744.44007192138126);
    EXPECT_DOUBLE_EQ(dout[7], 709.78271289338397);
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

template <typename T>
std::vector<T> V(std::initializer_list<T> x) {
    return std::vector<T>(x);
}

TEST(ArithmeticExports, OperandOrderAndExamples) {
    std::vector<float> a = {1, 4}, b = {10, 20}, d(2);
    qu::Sub(2, a.data(), b.data(), d.data());
    EXPECT_EQ(d, V<float>({9, 16}));
    qu::Sub_InPlace(2, a.data(), d.data());
    EXPECT_EQ(d, V<float>({8, 12}));
    qu::DivConstantRev(2, 2.0f, a.data(), d.data());
    EXPECT_EQ(d, V<float>({2, 0.5f}));
    d = {1, 4};
    qu::SubConstantRev_InPlace(2, d.data(), 10.0f);
    EXPECT_EQ(d, V<float>({9, 6}));
    qu::SubConstant_InPlace(2, d.data(), 1.0f);
    EXPECT_EQ(d, V<float>({8, 5}));
    qu::Div_InPlace(2, a.data(), d.data());
    EXPECT_EQ(d, V<float>({8, 1.25f}));
    qu::DivConstant_InPlace(2, d.data(), 4.0f);
    EXPECT_EQ(d, V<float>({2, 0.3125f}));
    qu::AddConstant(2, a.data(), 0.5f, d.data());
    EXPECT_EQ(d, V<float>({1.5f, 4.5f}));
    qu::AddConstant_InPlace(2, d.data(), 1.0f);
    EXPECT_EQ(d, V<float>({2.5f, 5.5f}));
    qu::Add_InPlace(2, a.data(), d.data());
    EXPECT_EQ(d, V<float>({3.5f, 9.5f}));
    qu::AddProduct(2, a.data(), b.data(), d.data());
    EXPECT_EQ(d, V<float>({13.5f, 89.5f}));
    qu::Mul(2, a.data(), b.data(), d.data());
    EXPECT_EQ(d, V<float>({10, 80}));
    qu::Mul_InPlace(2, a.data(), d.data());
    EXPECT_EQ(d, V<float>({10, 320}));
    qu::MulConstant(2, a.data(), d.data(), 3.0f);
    EXPECT_EQ(d, V<float>({3, 12}));
    qu::MulConstant_InPlace(2, d.data(), 0.5f);
    EXPECT_EQ(d, V<float>({1.5f, 6}));
    qu::Sqr(2, b.data(), d.data());
    EXPECT_EQ(d, V<float>({100, 400}));
    qu::Normalize(2, b.data(), d.data(), 4.0f, 2.0f);
    EXPECT_EQ(d, V<float>({3, 8}));

    std::vector<double> ad = {1, 4}, dd = {10, 20};
    qu::Sub_InPlace(2, ad.data(), dd.data());
    EXPECT_EQ(dd, V<double>({9, 16}));
    qu::Add_InPlace(2, ad.data(), dd.data());
    EXPECT_EQ(dd, V<double>({10, 20}));
    qu::AddConstant_InPlace(2, dd.data(), 2.0);
    EXPECT_EQ(dd, V<double>({12, 22}));
    qu::SubConstant_InPlace(2, dd.data(), 2.0);
    qu::SubConstantRev_InPlace(2, dd.data(), 30.0);
    EXPECT_EQ(dd, V<double>({20, 10}));
    qu::Div_InPlace(2, ad.data(), dd.data());
    EXPECT_EQ(dd, V<double>({20, 2.5}));
    qu::DivConstant_InPlace(2, dd.data(), 2.0);
    EXPECT_EQ(dd, V<double>({10, 1.25}));
    qu::Mul_InPlace(2, ad.data(), dd.data());
    EXPECT_EQ(dd, V<double>({10, 5}));
    qu::Mul(2, ad.data(), dd.data(), dd.data());
    EXPECT_EQ(dd, V<double>({10, 20}));
    qu::MulConstant(2, ad.data(), dd.data(), -1.0);
    EXPECT_EQ(dd, V<double>({-1, -4}));
    qu::MulConstant_InPlace(2, dd.data(), 2.0);
    EXPECT_EQ(dd, V<double>({-2, -8}));
    qu::Normalize(2, dd.data(), dd.data(), -4.0, 2.0);
    EXPECT_EQ(dd, V<double>({1, -2}));
}

TEST(ArithmeticExports, MapsThresholdsAndLogs) {
    std::vector<float> t = {0.5f, 1, 2};
    qu::Threshold_GT_InPlace(3, t.data(), 1.0f);
    EXPECT_EQ(t, V<float>({0.5f, 1, 1}));
    qu::Threshold_LT_InPlace(3, t.data(), 1.0f);
    EXPECT_EQ(t, V<float>({1, 1, 1}));
    std::vector<double> td = {0.5, 1, 2};
    qu::Threshold_LT_InPlace(3, td.data(), 1.0);
    EXPECT_EQ(td, V<double>({1, 1, 2}));
    qu::Threshold_GT_InPlace(3, td.data(), 1.5);
    EXPECT_EQ(td, V<double>({1, 1, 1.5}));
    std::vector<float> tr = {-1, 0.5f, 3};
    qu::Trim(3, tr.data(), 0.0f, 1.0f);
    EXPECT_EQ(tr, V<float>({0, 0.5f, 1}));

    std::vector<float> inv = {0.1f, -0.1f, 4};
    qu::Invert_Threshold_InPlace(3, inv.data(), 0.5f);
    EXPECT_EQ(inv, V<float>({2, -2, 0.25f}));
    std::vector<double> invd = {0, 8};
    qu::Invert_Threshold_InPlace(2, invd.data(), 0.0);
    EXPECT_EQ(invd, V<double>({std::numeric_limits<double>::infinity(), 0.125}));
    std::complex<float> cf[2] = {{0.3f, 0.4f}, {0, 2}};
    qu::Invert_Threshold_InPlace(2, cf, 1.0f);  // |0.3 + 0.4i| = 0.5 raised to 1: 1 / (0.6 + 0.8i)
    EXPECT_NEAR(cf[0].real(), 0.6f, 1e-6);
    EXPECT_NEAR(cf[0].imag(), -0.8f, 1e-6);
    EXPECT_NEAR(cf[1].imag(), -0.5f, 1e-6);
    std::complex<double> cd[1] = {{0, -4}};
    qu::Invert_Threshold_InPlace(1, cd, 1.0);
    EXPECT_EQ(cd[0], std::complex<double>(0, 0.25));
    qu::Invert_Threshold_InPlace(1, cd, -1.0);  // refused
    EXPECT_EQ(cd[0], std::complex<double>(0, 0.25));

    std::complex<float> x[2] = {{1, 2}, {3, -1}}, y[2] = {{0, 1}, {2, 2}}, z[2];
    qu::Mul(2, x, y, z);
    EXPECT_EQ(z[0], std::complex<float>(-2, 1));
    EXPECT_EQ(z[1], std::complex<float>(8, 4));
    qu::Mul_InPlace(2, x, y);
    EXPECT_EQ(y[1], std::complex<float>(8, 4));
    std::complex<double> xd[1] = {{1, 2}}, yd[1] = {{3, 4}};
    qu::Mul_InPlace(1, xd, yd);
    EXPECT_EQ(yd[0], std::complex<double>(-5, 10));

    std::vector<short> s = {5, -5, 7, 2};
    qu::MulConstant_InPlace(4, s.data(), static_cast<short>(1), 1);
    EXPECT_EQ(s, V<short>({2, -2, 4, 1}));
    qu::MulConstant_InPlace(4, s.data(), static_cast<short>(20000), 0);
    EXPECT_EQ(s, V<short>({32767, -32768, 32767, 20000}));

    std::vector<float> f = {1, 2, 3};
    qu::Flip(3, f.data(), t.data());
    EXPECT_EQ(t, V<float>({3, 2, 1}));
    qu::Flip_InPlace(3, f.data());
    EXPECT_EQ(f, V<float>({3, 2, 1}));
    std::vector<double> fd = {1, 2}, fo(2);
    qu::Flip(2, fd.data(), fo.data());
    EXPECT_EQ(fo, V<double>({2, 1}));
    qu::Flip_InPlace(2, fd.data());
    EXPECT_EQ(fd, V<double>({2, 1}));

    const float e = 2.7182817f;
    std::vector<float> l = {1, e, 0}, lo(3);
    for (auto fn : {&qu::Ln_Prec11, &qu::Ln_Prec21, &qu::Ln_Prec24}) {
        fn(3, l.data(), lo.data());
        EXPECT_EQ(lo[0], 0.0f);
        EXPECT_NEAR(lo[1], 1.0f, 1e-3f);
        EXPECT_EQ(lo[2], -std::numeric_limits<float>::infinity());
    }
    void (*lnf)(unsigned int, const float*, float*) = &qu::Ln;
    lnf(3, l.data(), lo.data());
    EXPECT_NEAR(lo[1], 1.0f, 1e-6f);
    qu::Ln_InPlace(3, l.data());
    EXPECT_EQ(l, lo);
    std::vector<double> ld = {1, 10}, ldo(2);
    qu::Ln(2, ld.data(), ldo.data());
    EXPECT_EQ(ldo[0], 0.0);
    EXPECT_DOUBLE_EQ(ldo[1], std::log(10.0));
    std::vector<float> ab = {-1, 2};
    qu::Abs_InPlace(2, ab.data());
    EXPECT_EQ(ab, V<float>({1, 2}));
}

// The two deliberately empty functions, refused counts and null pointers leave every destination
// bit-for-bit unchanged.
TEST(ArithmeticExports, EmptyAndRefusedCallsWriteNothing) {
    const float nan = std::nanf("");
    float a[3] = {1, 2, 3}, b[3] = {4, 5, 6}, d[3] = {nan, -0.0f, 7};
    unsigned char before[sizeof d];
    std::memcpy(before, d, sizeof d);
    qu::Div(3, a, b, d);
    qu::Add_ConstantProduct(3, a, d, 2.0f);
    for (unsigned int len : {0u, 0x80000000u, 0xFFFFFFFFu}) {
        qu::Sub(len, a, b, d);
        qu::Sub_InPlace(len, a, d);
        qu::AddConstant(len, a, 1.0f, d);
        qu::AddProduct(len, a, b, d);
        qu::Mul(len, a, b, d);
        qu::MulConstant(len, a, d, 2.0f);
        qu::DivConstantRev(len, 1.0f, a, d);
        qu::Sqr(len, a, d);
        qu::Ln(len, a, d);
        qu::Ln_Prec11(len, a, d);
        qu::Ln_Prec21(len, a, d);
        qu::Ln_Prec24(len, a, d);
        qu::Flip(len, a, d);
        qu::Flip_InPlace(len, d);
        qu::Normalize(len, a, d, 1.0f, 2.0f);
        qu::Trim(len, d, 0.0f, 1.0f);
        qu::Threshold_LT_InPlace(len, d, 5.0f);
        qu::Invert_Threshold_InPlace(len, d, 0.0f);
        qu::Invert_Threshold_InPlace(len, reinterpret_cast<std::complex<float>*>(d), 0.0f);
    }
    qu::Sub(3, nullptr, b, d);
    qu::Mul(3, a, static_cast<const float*>(nullptr), d);
    qu::Ln(0, static_cast<const float*>(nullptr), static_cast<float*>(nullptr));
    qu::Flip_InPlace(0, static_cast<double*>(nullptr));
    qu::MulConstant_InPlace(0, static_cast<short*>(nullptr), short{1}, 0);
    qu::Invert_Threshold_InPlace(3, d, -1.0f);
    EXPECT_EQ(std::memcmp(before, d, sizeof d), 0);
}

}  // namespace
