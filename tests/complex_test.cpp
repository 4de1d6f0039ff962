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
#include <utility>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility.h"

namespace {

namespace qu = quoraccelerate::utility;
using qptest::SameBits;
template <typename T>
using Buffer = qptest::Buffer<T>;

constexpr int kLengths[] = {1, 2, 3, 4, 5, 7, 8, 9, 15, 16, 17, 31, 32, 33, 63, 64, 65, 1000, 4099};
constexpr float kInf = std::numeric_limits<float>::infinity(), kNaN = std::numeric_limits<float>::quiet_NaN();

// Error of `got` in units of the last place of T at the reference value; NaN and infinities must
// match exactly.
template <typename T>
double UlpError(T got, long double ref) {
    if (std::isnan(ref)) return std::isnan(got) ? 0 : 1e9;
    const T r = static_cast<T>(ref);  // infinite when the exact value is beyond T's range
    if (std::isinf(r) || std::isinf(got)) return got == r ? 0 : 1e9;
    const long double ulp = static_cast<long double>(std::nextafter(std::fabs(r), std::numeric_limits<T>::infinity())) - std::fabs(r);
    return static_cast<double>(std::fabs(got - ref) / ulp);
}

template <typename T>
long double RefHypot(T re, T im) {
    if (std::isinf(re) || std::isinf(im)) return std::numeric_limits<long double>::infinity();
    return std::sqrt(static_cast<long double>(re) * re + static_cast<long double>(im) * im);
}
long double RefPower(float re, float im) { return static_cast<long double>(re) * re + static_cast<long double>(im) * im; }
long double RefPhase(float re, float im) { return std::atan2(static_cast<long double>(im), static_cast<long double>(re)); }

class ComplexPaths : public testing::TestWithParam<int> {};

// A kernel from complex values (split into real and imaginary arrays, or interleaved in the first)
// to one or two real outputs, each within an ulp bound of a long double reference.
template <typename T>
struct ToRealCase {
    const char* name;
    bool interleaved;
    std::function<qp::Status(const T* a, const T* b, T* d1, T* d2, int n)> run;
    long double (*ref1)(T, T);
    long double (*ref2)(T, T);  // null: one output
};

// Components in [-100, 100] with every 11th scaled far up and every 13th far down, so that vectors
// mix lanes that square directly with lanes that need the overflow-safe path; some exact zeros; and
// every 7th value one of the pairs at the ends of the range, which must not disturb their neighbours.
template <typename T>
void CheckToReal(const ToRealCase<T>& c) {
    SCOPED_TRACE(c.name);
    using Lim = std::numeric_limits<T>;
    const T big = Lim::max(), tiny = Lim::denorm_min(), inf = Lim::infinity(), nan = Lim::quiet_NaN();
    const T up = T(sizeof(T) == 4 ? 3e30 : 3e300), down = T(sizeof(T) == 4 ? 3e-30 : 3e-300);
    const T specials[][2] = {{up, up}, {-down, down}, {big, 1},   {big, big}, {up, 0},   {-T(0), -T(0)},
                             {inf, nan}, {nan, -inf}, {nan, 1},   {2, nan},   {tiny, 0}, {0, -tiny}};
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        const int na = c.interleaved ? 2 * n : n;
        Buffer<T> a(na, offset), b(n, (offset + 1) % 4), d1(n, (offset + 2) % 4), d2(n, (offset + 3) % 4);
        std::mt19937 gen(1u + n);
        std::uniform_real_distribution<T> dist(-100, 100);
        for (int i = 0; i < na + n; ++i) {
            (i < na ? a.data[i] : b.data[i - na]) = i % 17 == 3 ? 0 : dist(gen) * (i % 11 == 5 ? T(sizeof(T) == 4 ? 1e25 : 1e200) : 1) *
                                                                      (i % 13 == 7 ? T(sizeof(T) == 4 ? 1e-25 : 1e-200) : 1);
        }
        const auto re = [&](int i) -> T& { return c.interleaved ? a.data[2 * i] : a.data[i]; };
        const auto im = [&](int i) -> T& { return c.interleaved ? a.data[2 * i + 1] : b.data[i]; };
        for (int i = 4; i < n; i += 7) re(i) = specials[i / 7 % 12][0], im(i) = specials[i / 7 % 12][1];
        ASSERT_EQ(c.run(a.data, b.data, d1.data, d2.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            ASSERT_LE(UlpError(d1.data[i], c.ref1(re(i), im(i))), 1.5) << i << ": " << re(i) << ", " << im(i);
            ASSERT_LE(c.ref2 ? UlpError(d2.data[i], c.ref2(re(i), im(i))) : 0, 2.0) << i;
        }
        EXPECT_TRUE(d1.GuardsIntact() && d2.GuardsIntact());
        // Each output onto each source array: the same bits as into a separate array.
        const std::vector<T> a0(a.data, a.data + na), b0(b.data, b.data + n), o1(d1.data, d1.data + n), o2(d2.data, d2.data + n);
        for (T* alias : {a.data, b.data}) {
            for (int out = 0; out < (c.ref2 ? 2 : 1) && !(c.interleaved && alias == b.data); ++out) {
                std::copy(a0.begin(), a0.end(), a.data);
                std::copy(b0.begin(), b0.end(), b.data);
                ASSERT_EQ(c.run(a.data, b.data, out == 0 ? alias : d1.data, out == 1 ? alias : d2.data, n), qp::qpStsNoErr);
                EXPECT_EQ(std::memcmp(alias, (out == 0 ? o1 : o2).data(), sizeof(T) * n), 0) << "output " << out;
            }
        }
    });
}

TEST_P(ComplexPaths, MagnitudePowerAndPolarMatchTheReference) {
    const int p = GetParam();
    const auto split32 = qptest::magnitude_f32_paths[p];
    const auto split64 = qptest::magnitude_f64_paths[p];
    const auto inter = qptest::magnitude_c32_paths[p], power = qptest::power_spectrum_c32_paths[p];
    const auto polar = qptest::cart_to_polar_c32_paths[p];
    using F = const float*;
    const ToRealCase<float> cases[] = {
        {"magnitude split", false, [=](F a, F b, float* d, float*, int n) { return split32(a, b, d, n); }, &RefHypot<float>, nullptr},
        {"magnitude interleaved", true, [=](F a, F, float* d, float*, int n) { return inter(a, d, n); }, &RefHypot<float>, nullptr},
        {"power spectrum", true, [=](F a, F, float* d, float*, int n) { return power(a, d, n); }, &RefPower, nullptr},
        {"cart to polar", true, [=](F a, F, float* m, float* ph, int n) { return polar(a, m, ph, n); }, &RefHypot<float>, &RefPhase},
    };
    for (const auto& c : cases) CheckToReal(c);
    CheckToReal<double>({"magnitude split double", false,
                         [=](const double* a, const double* b, double* d, double*, int n) { return split64(a, b, d, n); },
                         &RefHypot<double>, nullptr});
}

TEST_P(ComplexPaths, PolarToCartGivesCosineAndSine) {
    const auto kernel = qptest::polar_to_cart_c32_paths[GetParam()];
    qptest::ForLayouts(kLengths, [&](int n, int offset) {
        // Sources twice as long, to serve as the destination too.
        Buffer<float> m(2 * n, offset), p(2 * n, (offset + 1) % 4), d(2 * n, (offset + 2) % 4);
        std::mt19937 gen(5u + n);
        std::uniform_real_distribution<float> mag(0, 10), phase(-20, 20);
        for (int i = 0; i < n; ++i) m.data[i] = mag(gen), p.data[i] = phase(gen);
        if (n > 3) p.data[n - 2] = 12345.678f;  // beyond the vector reduction
        ASSERT_EQ(kernel(m.data, p.data, d.data, n), qp::qpStsNoErr);
        for (int i = 0; i < n; ++i) {
            const long double mi = m.data[i], pi = p.data[i];
            const double tol = 2.0 * std::ldexp(1.0, std::ilogb(m.data[i]) - 23);  // against the magnitude
            ASSERT_NEAR(d.data[2 * i], static_cast<double>(mi * std::cos(pi)), tol) << i;
            ASSERT_NEAR(d.data[2 * i + 1], static_cast<double>(mi * std::sin(pi)), tol) << i;
        }
        EXPECT_TRUE(d.GuardsIntact());
        const std::vector<float> expect(d.data, d.data + 2 * n), m0(m.data, m.data + n);
        ASSERT_EQ(kernel(m.data, p.data, m.data, n), qp::qpStsNoErr);
        EXPECT_EQ(std::memcmp(m.data, expect.data(), sizeof(float) * 2 * n), 0);
        ASSERT_EQ(kernel(m0.data(), p.data, p.data, n), qp::qpStsNoErr);
        EXPECT_EQ(std::memcmp(p.data, expect.data(), sizeof(float) * 2 * n), 0);
    });
}

TEST_P(ComplexPaths, RefusalsWriteNothing) {
    const int p = GetParam();
    float a[8] = {1, 2, 3, 4, 5, 6, 7, 8}, d[8], e[8];
    double ad[4] = {1, 2, 3, 4}, dd[4] = {9, 9, 9, 9};
    std::fill(d, d + 8, 9.0f);
    std::fill(e, e + 8, 9.0f);
    const qptest::Snapshot before(d, e, dd);
    using qptest::ExpectRefusals;
    ExpectRefusals([&](int n, auto x, auto y, auto o) { return qptest::magnitude_f32_paths[p](x, y, o, n); }, a, a, d);
    ExpectRefusals([&](int n, auto x, auto y, auto o) { return qptest::magnitude_f64_paths[p](x, y, o, n); }, ad, ad, dd);
    ExpectRefusals([&](int n, auto x, auto o) { return qptest::magnitude_c32_paths[p](x, o, n); }, a, d);
    ExpectRefusals([&](int n, auto x, auto o) { return qptest::power_spectrum_c32_paths[p](x, o, n); }, a, d);
    ExpectRefusals([&](int n, auto x, auto m, auto ph) { return qptest::cart_to_polar_c32_paths[p](x, m, ph, n); }, a, d, e);
    ExpectRefusals([&](int n, auto m, auto ph, auto o) { return qptest::polar_to_cart_c32_paths[p](m, ph, o, n); }, a, a, d);
    EXPECT_TRUE(before.Unchanged());
}

QP_INSTANTIATE_PATHS(ComplexPaths);

// --- accuracy of the vector atan2, sin and cos over dense sweeps --------------------------------

class ComplexAccuracy : public testing::TestWithParam<int> {};

int SweepSteps() { return qptest::Emulated() ? 1 << 11 : 1 << 16; }

// Points in every direction (steps over a turn, radii over many binades), the near-axis and
// near-diagonal directions where the octant reduction switches, and every pairing of signed zeros,
// infinities, NaN and extreme magnitudes. Zero results must have the sign of atan2's.
TEST_P(ComplexAccuracy, Atan2WithinAFewUlpOverADenseSweep) {
    static const std::vector<float> points = [] {
        std::vector<float> v;
        std::mt19937 gen(7);
        std::uniform_real_distribution<float> logRadius(-30, 30);
        for (int i = 0, steps = SweepSteps(); i < steps; ++i) {
            const long double theta = -3.14159265358979323846L + 6.28318530717958647692L * i / steps;
            const long double r = std::pow(10.0L, logRadius(gen));
            v.push_back(static_cast<float>(r * std::cos(theta)));
            v.push_back(static_cast<float>(r * std::sin(theta)));
        }
        for (float t : {0.41421354f, 0.41421357f, 0.41421360f, 1.0f, 0.99999994f, 1.00000012f, 1e-30f}) {
            for (float sx : {1.0f, -1.0f}) {
                for (float sy : {1.0f, -1.0f}) {
                    for (float x : {sx, sy * t, sx * t, sy}) v.push_back(x);
                }
            }
        }
        const float specials[] = {0.0f, -0.0f, 1.0f, -1.0f, 1e-40f, -3e38f, kInf, -kInf, kNaN};
        for (float y : specials) {
            for (float x : specials) v.push_back(x), v.push_back(y);
        }
        return v;
    }();
    const int n = static_cast<int>(points.size() / 2);
    std::vector<float> m(n), p(n);
    ASSERT_EQ(qptest::cart_to_polar_c32_paths[GetParam()](points.data(), m.data(), p.data(), n), qp::qpStsNoErr);
    double worst = 0;
    int at = 0;
    for (int i = 0; i < n; ++i) {
        const long double ref = RefPhase(points[2 * i], points[2 * i + 1]);
        ASSERT_TRUE(ref != 0 || SameBits(p[i], static_cast<float>(ref))) << "atan2 of " << points[2 * i + 1] << ", " << points[2 * i];
        const double e = UlpError(p[i], ref);
        if (e > worst) worst = e, at = i;
    }
    EXPECT_LE(worst, 2.5) << "at atan2(" << points[2 * at + 1] << ", " << points[2 * at] << ")";
}

// Phases over the whole vector-reduced range, densely near zero, the floats nearest to multiples of
// pi/2 (where the reduction cancels most), phases beyond the vector reduction and non-finite ones.
TEST_P(ComplexAccuracy, SinCosWithinAFewUlpOverADenseSweep) {
    static const std::vector<float> phase = [] {
        std::vector<float> v = {5999.9f, -5999.9f, 6000.5f, 1e6f, -3e38f, kInf, -kInf, kNaN, 0.0f, -0.0f};
        for (int i = 0, steps = SweepSteps(); i < steps; ++i) {
            v.push_back(-6000.0f + 12000.0f * static_cast<float>(i) / static_cast<float>(steps));
            v.push_back(-8.0f + 16.0f * static_cast<float>(i) / static_cast<float>(steps));
            v.push_back(std::ldexp(1.0f + static_cast<float>(i % 1024) / 1024.0f, -(i % 40)));
        }
        for (int k = -3820; k <= 3820; k += qptest::Emulated() ? 37 : 1) {
            const float x = static_cast<float>(k * 1.57079632679489661923L);
            for (float y : {x, std::nextafter(x, 1e9f), std::nextafter(x, -1e9f)}) v.push_back(y);
        }
        return v;
    }();
    const int n = static_cast<int>(phase.size());
    std::vector<float> m(n, 1.0f), d(2 * static_cast<std::size_t>(n));
    ASSERT_EQ(qptest::polar_to_cart_c32_paths[GetParam()](m.data(), phase.data(), d.data(), n), qp::qpStsNoErr);
    EXPECT_TRUE(SameBits(d[2 * 9 + 1], -0.0f));  // sin(-0) = -0
    double worst[2] = {0, 0};
    float at[2] = {0, 0};
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < 2; ++k) {
            const long double x = phase[i], e = UlpError(d[2 * i + k], k == 0 ? std::cos(x) : std::sin(x));
            if (e > worst[k]) worst[k] = e, at[k] = phase[i];
        }
    }
    EXPECT_LE(worst[0], 2.5) << "cos at " << at[0];
    EXPECT_LE(worst[1], 2.5) << "sin at " << at[1];
}

QP_INSTANTIATE_PATHS(ComplexAccuracy);

// --- exported functions ---------------------------------------------------------------------------

TEST(ComplexExports, ForwardOperandsAndLength) {
    const float re[3] = {3, -5, 0}, im[3] = {4, 12, -2}, cart[4] = {0, 1, -2, 0}, pm[2] = {2, 3};
    const double red[2] = {-6, 8}, imd[2] = {8, 15};
    const std::complex<float> c[3] = {{3, 4}, {-8, 6}, {1, 1}};
    const float pp[2] = {static_cast<float>(M_PI), static_cast<float>(-M_PI / 2)};
    float d[4] = {7, 7, 7, 7}, e[4] = {7, 7, 7, 7}, f[4] = {7, 7, 7, 7}, mag[3] = {7, 7, 7}, ph[3] = {7, 7, 7}, out[5] = {7, 7, 7, 7, 7};
    double dd[3] = {7, 7, 7};
    qu::Magnitude(2, re, im, d);
    qu::Magnitude(2, red, imd, dd);
    qu::Magnitude(2, c, e);
    qu::PowerSpectr(3, c, f);
    qu::CartToPolar(2, cart, mag, ph);
    qu::PolarToCart(2, pm, pp, out);
    EXPECT_EQ(std::vector<float>(d, d + 4), (std::vector<float>{5, 13, 7, 7}));
    EXPECT_EQ(std::vector<double>(dd, dd + 3), (std::vector<double>{10, 17, 7}));
    EXPECT_EQ(std::vector<float>(e, e + 4), (std::vector<float>{5, 10, 7, 7}));
    EXPECT_EQ(std::vector<float>(f, f + 4), (std::vector<float>{25, 100, 2, 7}));
    EXPECT_EQ(std::vector<float>(mag, mag + 3), (std::vector<float>{1, 2, 7}));
    EXPECT_NEAR(ph[0], M_PI / 2, 1e-6);
    EXPECT_NEAR(ph[1], M_PI, 1e-6);
    EXPECT_EQ(ph[2], 7.0f);
    const float want[5] = {-2, 0, 0, -3, 7};
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(out[i], want[i], 1e-6) << i;
}

// A zero count, a count of 2^31 or more, null pointers and the three deliberately empty functions
// leave every output untouched.
TEST(ComplexExports, RefusedAndEmptyCallsWriteNothing) {
    const float a[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    const double ad[2] = {1, 2};
    const std::complex<float> c[2] = {{1, 2}, {3, 4}};
    float d[32], e[8] = {9, 9, 9, 9, 9, 9, 9, 9};
    double dd[2] = {9, 9};
    for (int i = 0; i < 32; ++i) d[i] = static_cast<float>(i * i);
    d[3] = -0.0f, d[5] = kNaN;
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

// Distinct bit patterns, with a negative zero and a signalling NaN payload that must pass unchanged.
template <typename T>
T Pattern(int channel, int frame) {
    if (channel == 0 && frame == 1) return -T{0};
    T nan;
    const std::uint64_t bits = sizeof(T) == 4 ? 0x7FA00123u : 0x7FF4000000000123ull;
    std::memcpy(&nan, &bits, sizeof(T));
    return channel == 1 && frame == 2 ? nan : static_cast<T>(channel * 1000 + frame) + static_cast<T>(0.25);
}

// Every channel and frame count through the general forms; two channels through the two-channel
// forms as well (45 frames: whole rounds, single vector steps and single frames at every vector
// width in both precisions; kStream frames: 4 MiB of interleaved data and more, which the
// two-channel loops write with non-temporal stores once the destination is aligned, as it can be
// for d2 and out2, and not for d and out, whose offsets no whole frame can align).
template <typename T>
void CheckChannels() {
    const unsigned kStream = (4u << 20) / (2 * sizeof(T)) + 45;
    for (unsigned channels : {1, 2, 3, 4, 5, 8, 9}) {
        for (unsigned frames : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 45u, 4099u, kStream}) {
            if (frames >= 4099 && channels != 2) continue;
            if (frames == kStream && qptest::Emulated()) continue;
            SCOPED_TRACE(testing::Message() << "C=" << channels << " F=" << frames);
            std::vector<Buffer<T>> in, out;
            std::vector<const T*> inPtr;
            std::vector<T*> outPtr;
            for (unsigned c = 0; c < channels; ++c) {
                in.emplace_back(frames, c % 4);
                out.emplace_back(frames, (c + 2) % 4);
                for (unsigned f = 0; f < frames; ++f) in.back().data[f] = Pattern<T>(c, f);
                inPtr.push_back(in.back().data);
                outPtr.push_back(out.back().data);
            }
            const auto check = [&](const Buffer<T>* d) {  // the interleaved buffer, or null: the channels
                for (unsigned f = 0; f < frames; ++f) {
                    for (unsigned c = 0; c < channels; ++c) {
                        ASSERT_TRUE(SameBits(d ? d->data[f * channels + c] : out[c].data[f], Pattern<T>(c, f))) << c << ", " << f;
                    }
                }
                for (unsigned c = 0; c < channels; ++c) EXPECT_TRUE(d ? d->GuardsIntact() : out[c].GuardsIntact());
            };
            Buffer<T> d(channels * frames, 1), d2(2 * frames, 2);
            qu::Interleave(channels, frames, inPtr.data(), d.data);
            check(&d);
            qu::Deinterleave(channels, frames, d.data, outPtr.data());
            check(nullptr);
            if (channels != 2) continue;
            std::memset(d.data, 0, d.bytes);
            qu::Interleave(frames, inPtr[0], inPtr[1], d.data);
            check(&d);
            qu::Interleave(frames, inPtr[0], inPtr[1], d2.data);
            check(&d2);
            for (auto& o : out) std::memset(o.data, 0, sizeof(T) * frames);
            qu::Deinterleave(frames, d2.data, outPtr[0], outPtr[1]);
            check(nullptr);
            Buffer<T> out2a(frames, 1), out2b(frames, 1);
            qu::Deinterleave(frames, d2.data, out2a.data, out2b.data);
            std::swap(out[0], out2a);  // check() reads the channels from out
            std::swap(out[1], out2b);
            check(nullptr);
        }
    }
}

// The two-channel loops take the vector width of the code path in force (16, 32 or 64 bytes): run
// them on every path this processor can execute, then give the runtime its own path back.
TEST(ChannelLayouts, ChannelsInterleaveFrameByFrame) {
    for (int path : qptest::RunnablePaths()) {
        if (path == qptest::kWidePath) continue;
        SCOPED_TRACE(testing::Message() << "path " << path);
        std::int32_t index = -1;
        ASSERT_EQ(qp::SetCpuFeatures(qp::kPathFeatures[path], &index), qp::qpStsNoErr);
        ASSERT_EQ(index, path);
        CheckChannels<float>();
        CheckChannels<double>();
    }
    qp::ResetRuntime(nullptr);
    qp::InitLibrary();
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
    EXPECT_TRUE(d[0] == 9 && d[1] == 9 && dd[0] == 9 && dd[1] == 9);
}

}  // namespace
