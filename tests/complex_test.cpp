// Complex, polar and channel helpers: the kernels on every runnable code path against long double
// references (remainder lengths, unaligned pointers, a destination equal to a source, refusals), the
// accuracy of the vector atan2, sin and cos over dense sweeps, and the exported functions.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility.h"

namespace {

namespace qu = quoraccelerate::utility;

constexpr int kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 1000, 4099};
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
using qptest::SameBits;
template <typename T>
using Buffer = qptest::Buffer<T>;

// Error of `got` in units of the last place of T at the reference value.
template <typename T>
double UlpError(T got, long double ref) {
    if (std::isnan(ref)) return std::isnan(got) ? 0 : 1e9;
    const T r = static_cast<T>(ref);  // infinite when the exact value is beyond T's range
    if (std::isinf(r) || std::isinf(got)) return got == r ? 0 : 1e9;
    const long double ulp =
        static_cast<long double>(std::nextafter(std::fabs(r), std::numeric_limits<T>::infinity())) - std::fabs(r);
    return static_cast<double>(std::fabs(static_cast<long double>(got) - ref) / ulp);
}

// Components in [-100, 100] with every 11th scaled far up and every 13th far down, so that vectors
// mix lanes that square directly with lanes that need the overflow-safe path; some exact zeros.
template <typename T>
void FillComponents(T* p, int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<T> dist(-100, 100);
    const T up = sizeof(T) == 4 ? static_cast<T>(1e25) : static_cast<T>(1e200);
    const T down = sizeof(T) == 4 ? static_cast<T>(1e-25) : static_cast<T>(1e-200);
    for (int i = 0; i < n; ++i) {
        p[i] = dist(gen);
        if (i % 11 == 5) p[i] *= up;
        if (i % 13 == 7) p[i] *= down;
        if (i % 17 == 3) p[i] = 0;
    }
}

template <typename T>
long double RefHypot(T re, T im) {
    if (std::isinf(re) || std::isinf(im)) return std::numeric_limits<long double>::infinity();
    const long double r = re, i = im;
    return std::sqrt(r * r + i * i);
}

// --- kernels on every path ---------------------------------------------------------------------

class ComplexPaths : public testing::TestWithParam<int> {
protected:
    int path() const { return GetParam(); }
};

long double RefPower(float re, float im) {
    return static_cast<long double>(re) * re + static_cast<long double>(im) * im;
}
long double RefPhase(float re, float im) {
    return std::atan2(static_cast<long double>(im), static_cast<long double>(re));
}

// A kernel from complex values (split into real and imaginary arrays, or interleaved in the first)
// to one or two real outputs, each within an ulp bound of a long double reference.
template <typename T>
struct ToRealCase {
    const char* name;
    bool interleaved;
    std::function<qp::Status(const T* a, const T* b, T* d1, T* d2, int n)> run;
    long double (*ref1)(T, T);
    long double (*ref2)(T, T);  // null: one output
    double maxUlp1, maxUlp2;
};

template <typename T>
void CheckToReal(const ToRealCase<T>& c) {
    SCOPED_TRACE(c.name);
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        Buffer<T> a(c.interleaved ? 2 * n : n, offset), b(n, (offset + 1) % 4);
        Buffer<T> d1(n, (offset + 2) % 4), d2(n, (offset + 3) % 4);
        FillComponents(a.data, c.interleaved ? 2 * n : n, 1u + n);
        FillComponents(b.data, n, 2u + n);
        const auto re = [&](int i) { return c.interleaved ? a.data[2 * i] : a.data[i]; };
        const auto im = [&](int i) { return c.interleaved ? a.data[2 * i + 1] : b.data[i]; };
        ASSERT_EQ(c.run(a.data, b.data, d1.data, d2.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            ASSERT_LE(UlpError(d1.data[i], c.ref1(re(i), im(i))), c.maxUlp1)
                << "i=" << i << " re=" << re(i) << " im=" << im(i) << " got " << d1.data[i];
            if (c.ref2) {
                ASSERT_LE(UlpError(d2.data[i], c.ref2(re(i), im(i))), c.maxUlp2) << "i=" << i;
            }
        }
        EXPECT_TRUE(d1.TailIntact());
        EXPECT_TRUE(d2.TailIntact());
        // Each output onto each source array: the same bits as into a separate array.
        const std::vector<T> a0(a.data, a.data + a.bytes / sizeof(T)), b0(b.data, b.data + n);
        const std::vector<T> o1(d1.data, d1.data + n), o2(d2.data, d2.data + n);
        for (T* alias : {a.data, b.data}) {
            for (int out = 0; out < (c.ref2 ? 2 : 1); ++out) {
                if (c.interleaved && alias == b.data) continue;
                std::memcpy(a.data, a0.data(), a.bytes);
                std::memcpy(b.data, b0.data(), b.bytes);
                ASSERT_EQ(c.run(a.data, b.data, out == 0 ? alias : d1.data, out == 1 ? alias : d2.data, n),
                          qp::qpStsNoErr);
                EXPECT_EQ(std::memcmp(alias, (out == 0 ? o1 : o2).data(), sizeof(T) * n), 0) << "output " << out;
            }
        }
    });
}

TEST_P(ComplexPaths, MagnitudePowerAndPolarMatchTheReference) {
    const int p = path();
    const auto split32 = qptest::magnitude_f32_paths[p];
    const auto split64 = qptest::magnitude_f64_paths[p];
    const auto inter = qptest::magnitude_c32_paths[p];
    const auto power = qptest::power_spectrum_c32_paths[p];
    const auto polar = qptest::cart_to_polar_c32_paths[p];
    using F = const float*;
    const ToRealCase<float> cases[] = {
        {"magnitude split", false, [=](F a, F b, float* d, float*, int n) { return split32(a, b, d, n); },
         &RefHypot<float>, nullptr, 1.5, 0},
        {"magnitude interleaved", true, [=](F a, F, float* d, float*, int n) { return inter(a, d, n); },
         &RefHypot<float>, nullptr, 1.5, 0},
        {"power spectrum", true, [=](F a, F, float* d, float*, int n) { return power(a, d, n); }, &RefPower,
         nullptr, 1.5, 0},
        {"cart to polar", true, [=](F a, F, float* m, float* ph, int n) { return polar(a, m, ph, n); },
         &RefHypot<float>, &RefPhase, 1.5, 2.0},
    };
    for (const auto& c : cases) CheckToReal(c);
    CheckToReal<double>({"magnitude split double", false,
                         [=](const double* a, const double* b, double* d, double*, int n) {
                             return split64(a, b, d, n);
                         },
                         &RefHypot<double>, nullptr, 1.5, 0});
}

TEST_P(ComplexPaths, PolarToCartGivesCosineAndSine) {
    const auto kernel = qptest::polar_to_cart_c32_paths[path()];
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
            // Sources twice as long, to serve as the destination too.
            Buffer<float> m(2 * n, offset), p(2 * n, (offset + 1) % 4), d(2 * n, (offset + 2) % 4);
            std::mt19937 gen(5u + n);
            std::uniform_real_distribution<float> mag(0, 10), phase(-20, 20);
            for (int i = 0; i < n; ++i) {
                m.data[i] = mag(gen);
                p.data[i] = phase(gen);
            }
            if (n > 3) p.data[n - 2] = 12345.678f;  // beyond the vector reduction
            ASSERT_EQ(kernel(m.data, p.data, d.data, n), qp::qpStsNoErr);
            for (int i = 0; i < n; ++i) {
                const long double mi = m.data[i], pi = p.data[i];
                // Error measured against the magnitude, the scale of both results.
                const double tol = 2.0 * std::ldexp(1.0, std::ilogb(m.data[i]) - 23);
                ASSERT_NEAR(d.data[2 * i], static_cast<double>(mi * std::cos(pi)), tol) << "i=" << i;
                ASSERT_NEAR(d.data[2 * i + 1], static_cast<double>(mi * std::sin(pi)), tol) << "i=" << i;
            }
            EXPECT_TRUE(d.TailIntact());
            // The destination may be either source.
            const std::vector<float> expect(d.data, d.data + 2 * n), m0(m.data, m.data + n);
            ASSERT_EQ(kernel(m.data, p.data, m.data, n), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(m.data, expect.data(), sizeof(float) * 2 * n), 0);
            ASSERT_EQ(kernel(m0.data(), p.data, p.data, n), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(p.data, expect.data(), sizeof(float) * 2 * n), 0);
    });
}

// Components at the ends of the range, each placed at several lanes of a vector full of ordinary
// values: the overflow-safe lanes must not disturb their neighbours and vice versa.
TEST_P(ComplexPaths, MagnitudeAvoidsOverflowAndUnderflow) {
    struct Case {
        float re, im;
        float expect;
    };
    const float big = std::numeric_limits<float>::max(), tiny = std::numeric_limits<float>::denorm_min();
    const Case cases[] = {
        {3, 4, 5},
        {3e30f, 4e30f, 5e30f},
        {-3e-30f, 4e-30f, 5e-30f},
        {tiny, 0, tiny},
        {0, -tiny, tiny},
        {big, 1, big},
        {big, big, kInf},
        {1e19f, 0, 1e19f},
        {-0.0f, -0.0f, 0},
        {kInf, kNaN, kInf},
        {kNaN, -kInf, kInf},
        {kNaN, 1, kNaN},
        {2, kNaN, kNaN},
    };
    const auto split = qptest::magnitude_f32_paths[path()];
    const auto inter = qptest::magnitude_c32_paths[path()];
    const auto polar = qptest::cart_to_polar_c32_paths[path()];
    constexpr int n = 37;
    for (const Case& c : cases) {
        for (int at : {0, 5, 15, 16, 36}) {
            SCOPED_TRACE(testing::Message() << "re=" << c.re << " im=" << c.im << " at " << at);
            std::vector<float> re(n), im(n), s(2 * n), d1(n), d2(n), d3(n), ph(n);
            for (int i = 0; i < n; ++i) {
                re[i] = static_cast<float>(i % 7) - 3;
                im[i] = static_cast<float>(i % 5) + 0.5f;
            }
            re[at] = c.re;
            im[at] = c.im;
            for (int i = 0; i < n; ++i) {
                s[2 * i] = re[i];
                s[2 * i + 1] = im[i];
            }
            ASSERT_EQ(split(re.data(), im.data(), d1.data(), n), qp::qpStsNoErr);
            ASSERT_EQ(inter(s.data(), d2.data(), n), qp::qpStsNoErr);
            ASSERT_EQ(polar(s.data(), d3.data(), ph.data(), n), qp::qpStsNoErr);
            for (const std::vector<float>* d : {&d1, &d2, &d3}) {
                for (int i = 0; i < n; ++i) {
                    const long double ref = i == at ? static_cast<long double>(c.expect) : RefHypot(re[i], im[i]);
                    ASSERT_LE(UlpError((*d)[i], ref), 1.0) << "i=" << i << " got " << (*d)[i];
                }
            }
        }
    }
    // Double: the same in a wider range.
    const double dbig = std::numeric_limits<double>::max();
    const double dre[] = {3e300, -3e-300, dbig, 5e-324, std::numeric_limits<double>::infinity(), 1};
    const double dim[] = {4e300, 4e-300, dbig, 0, std::nan(""), 1};
    const double dexp[] = {5e300, 5e-300, std::numeric_limits<double>::infinity(), 5e-324,
                           std::numeric_limits<double>::infinity(), std::sqrt(2.0)};
    double dd[6];
    ASSERT_EQ(qptest::magnitude_f64_paths[path()](dre, dim, dd, 6), qp::qpStsNoErr);
    for (int i = 0; i < 6; ++i) EXPECT_LE(UlpError(dd[i], dexp[i]), 1.0) << "i=" << i << " got " << dd[i];
}

// Signs, zeros, infinities and NaN in every combination: the results of the C library's atan2,
// bit for bit where they are exact (zeros, NaN) and within an ulp otherwise.
TEST_P(ComplexPaths, PhaseFollowsAtan2AtSignedZerosInfinitiesAndNaN) {
    const float values[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e-40f, -3e38f, kInf, -kInf, kNaN};
    std::vector<float> s, expect;
    for (float y : values) {
        for (float x : values) {
            s.push_back(x);
            s.push_back(y);
            expect.push_back(std::atan2(y, x));
        }
    }
    const int n = static_cast<int>(expect.size());
    std::vector<float> m(n), p(n);
    ASSERT_EQ(qptest::cart_to_polar_c32_paths[path()](s.data(), m.data(), p.data(), n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) {
        SCOPED_TRACE(testing::Message() << "atan2(" << s[2 * i + 1] << ", " << s[2 * i] << ")");
        if (std::isnan(expect[i])) {
            EXPECT_TRUE(std::isnan(p[i])) << p[i];
        } else if (expect[i] == 0) {
            EXPECT_TRUE(SameBits(p[i], expect[i])) << p[i];
        } else {
            EXPECT_LE(UlpError(p[i], expect[i]), 1.0) << p[i] << " expected " << expect[i];
        }
    }
}

// sin and cos at and beyond the end of the vector reduction, and of non-finite phases.
TEST_P(ComplexPaths, PolarToCartOfLargeAndNonFinitePhases) {
    const float phases[] = {5999.9f, -5999.9f, 6000.5f, 1e6f, -3e38f, kInf, -kInf, kNaN, 0.0f, -0.0f, 3.14159265f};
    const int n = static_cast<int>(std::size(phases));
    std::vector<float> m(n, 1.0f), d(2 * n);
    ASSERT_EQ(qptest::polar_to_cart_c32_paths[path()](m.data(), phases, d.data(), n), qp::qpStsNoErr);
    for (int i = 0; i < n; ++i) {
        SCOPED_TRACE(testing::Message() << "phase " << phases[i]);
        const long double ph = phases[i];
        if (!std::isfinite(phases[i])) {
            EXPECT_TRUE(std::isnan(d[2 * i]) && std::isnan(d[2 * i + 1]));
            continue;
        }
        EXPECT_LE(UlpError(d[2 * i], std::cos(ph)), 2.0) << d[2 * i];
        EXPECT_LE(UlpError(d[2 * i + 1], std::sin(ph)), 2.0) << d[2 * i + 1];
    }
    EXPECT_TRUE(SameBits(d[2 * 9 + 1], -0.0f));  // sin(-0) = -0
}

// Null pointers and non-positive lengths are refused before anything is written: each kernel is
// called with each of its pointers nulled in turn, then with every refused length.
TEST_P(ComplexPaths, RefusalsWriteNothing) {
    float a[8] = {1, 2, 3, 4, 5, 6, 7, 8}, d[8], e[8];
    double ad[4] = {1, 2, 3, 4}, dd[4];
    std::fill(d, d + 8, 9.0f);
    std::fill(e, e + 8, 9.0f);
    std::fill(dd, dd + 4, 9.0);
    const qptest::Snapshot before(d, e, dd);
    const int p = path();
    // call(z, len) passes the pointer numbered z (0 = first) as nullptr.
    const auto at = [](auto* ptr, int z, int k) { return z == k ? nullptr : ptr; };
    const std::vector<std::pair<int, std::function<qp::Status(int, int)>>> calls = {
        {3, [&](int z, int n) { return qptest::magnitude_f32_paths[p](at(a, z, 0), at(a, z, 1), at(d, z, 2), n); }},
        {3, [&](int z, int n) { return qptest::magnitude_f64_paths[p](at(ad, z, 0), at(ad, z, 1), at(dd, z, 2), n); }},
        {2, [&](int z, int n) { return qptest::magnitude_c32_paths[p](at(a, z, 0), at(d, z, 1), n); }},
        {2, [&](int z, int n) { return qptest::power_spectrum_c32_paths[p](at(a, z, 0), at(d, z, 1), n); }},
        {3, [&](int z, int n) { return qptest::cart_to_polar_c32_paths[p](at(a, z, 0), at(d, z, 1), at(e, z, 2), n); }},
        {3, [&](int z, int n) { return qptest::polar_to_cart_c32_paths[p](at(a, z, 0), at(a, z, 1), at(d, z, 2), n); }},
    };
    for (std::size_t k = 0; k < calls.size(); ++k) {
        for (int z = 0; z < calls[k].first; ++z) EXPECT_EQ(calls[k].second(z, 4), qp::qpStsNullPtrErr) << k << " " << z;
        for (int len : qptest::kBadLengths) EXPECT_EQ(calls[k].second(-1, len), qp::qpStsSizeErr) << k << " " << len;
    }
    EXPECT_TRUE(before.Unchanged());
}

QP_INSTANTIATE_PATHS(ComplexPaths);

// --- accuracy of the vector atan2, sin and cos over dense sweeps --------------------------------

class ComplexAccuracy : public testing::TestWithParam<int> {};

// Sweep sizes: smaller under emulation.
int SweepSteps() { return qptest::Emulated() ? 1 << 11 : 1 << 16; }

// Interleaved points in every direction (steps over a turn, radii over many binades) and the
// near-axis and near-diagonal directions where the octant reduction switches; atan2 references.
struct Atan2Sweep {
    std::vector<float> points;
    std::vector<long double> ref;
    Atan2Sweep() {
        const int steps = SweepSteps();
        std::mt19937 gen(7);
        std::uniform_real_distribution<float> logRadius(-30, 30);
        for (int i = 0; i < steps; ++i) {
            const long double theta = -3.14159265358979323846L + 6.28318530717958647692L * i / steps;
            const long double r = std::pow(10.0L, logRadius(gen));
            points.push_back(static_cast<float>(r * std::cos(theta)));
            points.push_back(static_cast<float>(r * std::sin(theta)));
        }
        for (float t : {0.41421354f, 0.41421357f, 0.41421360f, 1.0f, 0.99999994f, 1.00000012f, 1e-30f}) {
            for (float sx : {1.0f, -1.0f}) {
                for (float sy : {1.0f, -1.0f}) {
                    for (float v : {sx, sy * t, sx * t, sy}) points.push_back(v);
                }
            }
        }
        for (std::size_t i = 0; i < points.size(); i += 2) {
            ref.push_back(std::atan2(static_cast<long double>(points[i + 1]), static_cast<long double>(points[i])));
        }
    }
};

// Phases over the whole vector-reduced range, densely near zero, and the floats nearest to
// multiples of pi/2, where the reduction cancels most; cos and sin references.
struct SinCosSweep {
    std::vector<float> phase;
    std::vector<long double> cos, sin;
    SinCosSweep() {
        const int steps = SweepSteps();
        for (int i = 0; i < steps; ++i) {
            phase.push_back(-6000.0f + 12000.0f * static_cast<float>(i) / static_cast<float>(steps));
            phase.push_back(-8.0f + 16.0f * static_cast<float>(i) / static_cast<float>(steps));
            phase.push_back(std::ldexp(1.0f + static_cast<float>(i % 1024) / 1024.0f, -(i % 40)));
        }
        for (int k = -3820; k <= 3820; k += qptest::Emulated() ? 37 : 1) {
            const float x = static_cast<float>(k * 1.57079632679489661923L);
            for (float v : {x, std::nextafter(x, 1e9f), std::nextafter(x, -1e9f)}) phase.push_back(v);
        }
        for (float x : phase) {
            cos.push_back(std::cos(static_cast<long double>(x)));
            sin.push_back(std::sin(static_cast<long double>(x)));
        }
    }
};

TEST_P(ComplexAccuracy, Atan2WithinAFewUlpOverADenseSweep) {
    static const Atan2Sweep sweep;
    const int n = static_cast<int>(sweep.ref.size());
    std::vector<float> m(n), p(n);
    ASSERT_EQ(qptest::cart_to_polar_c32_paths[GetParam()](sweep.points.data(), m.data(), p.data(), n), qp::qpStsNoErr);
    double worst = 0;
    int worstAt = 0;
    for (int i = 0; i < n; ++i) {
        const double e = UlpError(p[i], sweep.ref[i]);
        if (e > worst) worst = e, worstAt = i;
    }
    RecordProperty("worst_ulp", testing::PrintToString(worst));
    EXPECT_LE(worst, 2.5) << "at atan2(" << sweep.points[2 * worstAt + 1] << ", " << sweep.points[2 * worstAt] << ")";
}

TEST_P(ComplexAccuracy, SinCosWithinAFewUlpOverADenseSweep) {
    static const SinCosSweep sweep;
    const int n = static_cast<int>(sweep.phase.size());
    std::vector<float> m(n, 1.0f), d(2 * static_cast<std::size_t>(n));
    ASSERT_EQ(qptest::polar_to_cart_c32_paths[GetParam()](m.data(), sweep.phase.data(), d.data(), n), qp::qpStsNoErr);
    double worstCos = 0, worstSin = 0;
    float cosAt = 0, sinAt = 0;
    for (int i = 0; i < n; ++i) {
        const double ec = UlpError(d[2 * i], sweep.cos[i]), es = UlpError(d[2 * i + 1], sweep.sin[i]);
        if (ec > worstCos) worstCos = ec, cosAt = sweep.phase[i];
        if (es > worstSin) worstSin = es, sinAt = sweep.phase[i];
    }
    RecordProperty("worst_cos_ulp", testing::PrintToString(worstCos));
    RecordProperty("worst_sin_ulp", testing::PrintToString(worstSin));
    EXPECT_LE(worstCos, 2.5) << "cos at " << cosAt;
    EXPECT_LE(worstSin, 2.5) << "sin at " << sinAt;
}

QP_INSTANTIATE_PATHS(ComplexAccuracy);

// --- exported functions ---------------------------------------------------------------------------

TEST(ComplexExports, ForwardOperandsAndLength) {
    const float re[3] = {3, -5, 0}, im[3] = {4, 12, -2};
    float d[4] = {7, 7, 7, 7};
    qu::Magnitude(2, re, im, d);
    EXPECT_EQ(std::vector<float>(d, d + 4), (std::vector<float>{5, 13, 7, 7}));
    const double red[2] = {-6, 8}, imd[2] = {8, 15};
    double dd[3] = {7, 7, 7};
    qu::Magnitude(2, red, imd, dd);
    EXPECT_EQ(std::vector<double>(dd, dd + 3), (std::vector<double>{10, 17, 7}));

    const std::complex<float> c[3] = {{3, 4}, {-8, 6}, {1, 1}};
    std::fill(d, d + 4, 7.0f);
    qu::Magnitude(2, c, d);
    EXPECT_EQ(std::vector<float>(d, d + 4), (std::vector<float>{5, 10, 7, 7}));
    qu::PowerSpectr(3, c, d);
    EXPECT_EQ(std::vector<float>(d, d + 4), (std::vector<float>{25, 100, 2, 7}));

    const float cart[4] = {0, 1, -2, 0};
    float mag[3] = {7, 7, 7}, ph[3] = {7, 7, 7};
    qu::CartToPolar(2, cart, mag, ph);
    EXPECT_EQ(mag[0], 1.0f);
    EXPECT_EQ(mag[1], 2.0f);
    EXPECT_FLOAT_EQ(ph[0], static_cast<float>(M_PI / 2));
    EXPECT_FLOAT_EQ(ph[1], static_cast<float>(M_PI));
    EXPECT_EQ(mag[2], 7.0f);
    EXPECT_EQ(ph[2], 7.0f);

    const float pm[2] = {2, 3}, pp[2] = {static_cast<float>(M_PI), static_cast<float>(-M_PI / 2)};
    float out[5] = {7, 7, 7, 7, 7};
    qu::PolarToCart(2, pm, pp, out);
    EXPECT_FLOAT_EQ(out[0], -2.0f);
    EXPECT_NEAR(out[1], 0.0f, 1e-6f);
    EXPECT_NEAR(out[2], 0.0f, 1e-6f);
    EXPECT_FLOAT_EQ(out[3], -3.0f);
    EXPECT_EQ(out[4], 7.0f);
}

// A zero count, a count of 2^31 or more, null pointers and the three deliberately empty functions
// leave every output untouched.
TEST(ComplexExports, RefusedAndEmptyCallsWriteNothing) {
    const float a[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const double ad[2] = {1, 2};
    const std::complex<float> c[2] = {{1, 2}, {3, 4}};
    float d[32], e[8];
    double dd[2] = {9, 9};
    for (int i = 0; i < 32; ++i) d[i] = static_cast<float>(i * i);
    d[3] = -0.0f;
    d[5] = kNaN;
    std::fill(e, e + 8, 9.0f);
    const qptest::Snapshot before(d, e, dd);
    for (unsigned int len : qptest::kBadCounts) {
        qu::Magnitude(len, a, a, d);
        qu::Magnitude(len, ad, ad, dd);
        qu::Magnitude(len, c, d);
        qu::PowerSpectr(len, c, d);
        qu::CartToPolar(len, a, d, e);
        qu::PolarToCart(len, a, a, d);
    }
    qu::Magnitude(2, nullptr, a, d);
    qu::Magnitude(2, ad, ad, static_cast<double*>(nullptr));
    qu::Magnitude(2, static_cast<const std::complex<float>*>(nullptr), d);
    qu::PowerSpectr(2, c, nullptr);
    qu::CartToPolar(2, a, d, nullptr);
    qu::PolarToCart(2, a, nullptr, d);
    qu::Real(8, a, d);
    qu::Imag(8, a, d);
    qu::RealToComplex(16, a, a, d);
    EXPECT_TRUE(before.Unchanged());
}

// --- channel layouts --------------------------------------------------------------------------------

// Distinct bit patterns, with a NaN payload and a negative zero that must pass unchanged.
template <typename T>
T Pattern(int channel, int frame) {
    if (channel == 0 && frame == 1) return -T{0};
    if (channel == 1 && frame == 2) {
        T nan;
        const std::uint64_t bits = sizeof(T) == 4 ? 0x7FA00123u : 0x7FF4000000000123ull;  // signalling NaN
        std::memcpy(&nan, &bits, sizeof(T));
        return nan;
    }
    return static_cast<T>(channel * 1000 + frame) + static_cast<T>(0.25);
}

// Every channel count and frame count through the general forms; two channels through the
// two-channel forms as well.
template <typename T>
void CheckChannels() {
    for (int channels : {1, 2, 3, 4, 5, 8, 9}) {
        for (int frames : {1, 2, 3, 4, 5, 7, 8, 9, 33, 4099}) {
            if (frames == 4099 && channels != 2) continue;
            SCOPED_TRACE(testing::Message() << "C=" << channels << " F=" << frames);
            std::vector<Buffer<T>> blocks, outBlocks;
            std::vector<const T*> in;
            std::vector<T*> out;
            for (int c = 0; c < channels; ++c) {
                blocks.emplace_back(frames, c % 4);
                outBlocks.emplace_back(frames, (c + 2) % 4);
                for (int f = 0; f < frames; ++f) blocks.back().data[f] = Pattern<T>(c, f);
            }
            for (auto& b : blocks) in.push_back(b.data);
            for (auto& b : outBlocks) out.push_back(b.data);
            const auto checkInterleaved = [&](const Buffer<T>& d) {
                for (int f = 0; f < frames; ++f) {
                    for (int c = 0; c < channels; ++c) {
                        ASSERT_TRUE(SameBits(d.data[f * channels + c], Pattern<T>(c, f))) << "c=" << c << " f=" << f;
                    }
                }
                EXPECT_TRUE(d.TailIntact());
            };
            const auto checkChannels = [&] {
                for (int c = 0; c < channels; ++c) {
                    for (int f = 0; f < frames; ++f) {
                        ASSERT_TRUE(SameBits(out[c][f], Pattern<T>(c, f))) << "c=" << c << " f=" << f;
                    }
                    EXPECT_TRUE(outBlocks[c].TailIntact());
                }
            };
            Buffer<T> d(channels * frames, 1);
            qu::Interleave(static_cast<unsigned>(channels), static_cast<unsigned>(frames), in.data(), d.data);
            checkInterleaved(d);
            qu::Deinterleave(static_cast<unsigned>(channels), static_cast<unsigned>(frames), d.data, out.data());
            checkChannels();
            if (channels != 2) continue;
            Buffer<T> d2(2 * frames, 3);
            qu::Interleave(static_cast<unsigned>(frames), in[0], in[1], d2.data);
            checkInterleaved(d2);
            for (int c = 0; c < 2; ++c) std::memset(out[c], 0, sizeof(T) * frames);
            qu::Deinterleave(static_cast<unsigned>(frames), d2.data, out[0], out[1]);
            checkChannels();
        }
    }
}

TEST(ChannelLayouts, ChannelsInterleaveFrameByFrame) {
    CheckChannels<float>();
    CheckChannels<double>();
}

// No frames: neither the channel table nor the data is touched (null pointers do not fault).
TEST(ChannelLayouts, ZeroFramesReadAndWriteNothing) {
    float d[2] = {9, 9};
    double dd[2] = {9, 9};
    qu::Interleave(3u, 0u, static_cast<const float* const*>(nullptr), d);
    qu::Interleave(3u, 0u, static_cast<const double* const*>(nullptr), dd);
    qu::Deinterleave(3u, 0u, static_cast<const float*>(nullptr), static_cast<float* const*>(nullptr));
    qu::Deinterleave(3u, 0u, static_cast<const double*>(nullptr), static_cast<double* const*>(nullptr));
    qu::Interleave(0u, static_cast<const float*>(nullptr), nullptr, d);
    qu::Deinterleave(0u, static_cast<const double*>(nullptr), dd, nullptr);
    EXPECT_EQ(d[0], 9.0f);
    EXPECT_EQ(dd[1], 9.0);
}

}  // namespace
