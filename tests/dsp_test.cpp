// Dot product, convolution and resampling: every kernel on every runnable code path against long
// double sums and the index rules, refusals, streaming, the work-buffer contract, and the exports.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "filter_support.h"
#include "quoraccelerate/utility/dsp.h"

namespace {

namespace qu = quoraccelerate::utility;
using qptest::Buffer;
using qptest::ForEachType;

enum { kAuto = 0, kDirect = 1, kTransform = 2 };
constexpr int kF32 = 13;

template <typename T>
void Fill(T* p, std::int64_t n, std::mt19937& gen) {
    std::uniform_real_distribution<T> d(-1, 1);
    for (std::int64_t i = 0; i < n; ++i) p[i] = d(gen);
}

template <typename T>
constexpr double Eps() {
    return std::numeric_limits<T>::epsilon();
}

class DspPaths : public testing::TestWithParam<int> {};

// --- dot product ----------------------------------------------------------------------------------

// Both operand orders at every length and offset. Float: within one rounding of the result plus the
// float runs' rounding (at most 20 products per lane before the run is carried in double); double:
// the classic n eps sum |a b| bound. A long float sum whose terms cancel stays accurate where one
// float accumulator per lane would lose digits.
TEST_P(DspPaths, DotProductMatchesLongDouble) {
    const int path = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        std::mt19937 gen(7);
        qptest::ForLayouts(std::vector<int>{1, 3, 7, 8, 15, 16, 17, 31, 33, 1000, 4099}, [&](int n, int off) {
            Buffer<T> a(n, off), b(n, (off + 2) % 4);
            Fill(a.data, n, gen);
            Fill(b.data, n, gen);
            long double ref = 0, mag = 0;
            for (int i = 0; i < n; ++i) {
                ref += static_cast<long double>(a.data[i]) * b.data[i];
                mag += std::fabs(static_cast<long double>(a.data[i]) * b.data[i]);
            }
            const double tol = sizeof(T) == 4 ? Eps<T>() * std::fabs(static_cast<double>(ref)) + 10 * Eps<T>() * static_cast<double>(mag)
                                              : n * Eps<T>() * static_cast<double>(mag);
            for (const auto& [x, y] : {std::pair{a.data, b.data}, std::pair{b.data, a.data}}) {
                T r = -1;
                ASSERT_EQ(QP_TYPED(dotprod, path)(x, y, n, &r), qp::qpStsNoErr);
                EXPECT_NEAR(static_cast<double>(r), static_cast<double>(ref), tol);
            }
        });
    });

    const int n = qptest::Emulated() ? 1 << 16 : 1 << 20;
    std::vector<float> a(n), b(n);
    std::mt19937 gen(3);
    Fill(a.data(), n, gen);
    for (int i = 0; i < n; ++i) b[i] = 1000.0f + static_cast<float>(i % 7);
    long double ref = 0;
    for (int i = 0; i < n; ++i) ref += static_cast<long double>(a[i]) * b[i];
    float r = 0;
    ASSERT_EQ(qptest::dotprod_f32_paths[path](a.data(), b.data(), n, &r), qp::qpStsNoErr);
    // |sum| is about sqrt(n) * 60 while sum |a b| is n * 500: one float accumulator per lane for the
    // whole length (32 or 64 lanes) is off by 0.5 to 1 here. The bound, 0.24, leaves room for the
    // rounded products of the paths without fused multiply-add (about 0.13 measured).
    EXPECT_NEAR(r, static_cast<double>(ref), 32 * std::fabs(static_cast<double>(ref)) * Eps<float>());
}

// --- convolution ----------------------------------------------------------------------------------

// Work buffer of exactly the queried size, as the exports hand it over: bytes for float, that many
// float-sized elements as doubles (twice the bytes) for double; NaN-filled, with guards around it.
template <typename T>
struct Work {
    Work(int path, int n1, int n2, int alg, int offsetBytes = 0) : buf(Size(path, n1, n2, alg), offsetBytes), p(buf.data) {
        std::memset(p, 0x7F, buf.bytes);
    }
    static int Size(int path, int n1, int n2, int alg) {
        int bytes = 0;
        EXPECT_EQ(qptest::conv_bufsize_paths[path](n1, n2, kF32, alg, &bytes), qp::qpStsNoErr);
        return bytes / 4 * static_cast<int>(sizeof(T));
    }
    Buffer<unsigned char> buf;
    unsigned char* p;
};

// The exact full convolution and the sum of magnitudes of its terms, in long double.
template <typename T>
void Reference(const T* a, int n1, const T* b, int n2, std::vector<long double>& ref, std::vector<long double>& mag) {
    ref.assign(static_cast<std::size_t>(n1 + n2 - 1), 0);
    mag.assign(ref.size(), 0);
    for (int i = 0; i < n1; ++i)
        for (int j = 0; j < n2; ++j) {
            const long double t = static_cast<long double>(a[i]) * b[j];
            ref[i + j] += t;
            mag[i + j] += std::fabs(t);
        }
}

// Direct: each output within (terms + 1) eps of its own magnitude sum. Transform: the error
// spreads over the block, so it is bounded by the largest magnitude sum, times a log of the size.
template <typename T>
::testing::AssertionResult Close(const T* got, const std::vector<long double>& ref, const std::vector<long double>& mag,
                                 int terms, bool transform) {
    const long double top = *std::max_element(mag.begin(), mag.end());
    const double logN = std::log2(static_cast<double>(ref.size()) + 2);
    for (std::size_t k = 0; k < ref.size(); ++k) {
        const double tol = transform ? 4 * logN * Eps<T>() * static_cast<double>(top) : (terms + 1) * Eps<T>() * static_cast<double>(mag[k]);
        if (!(std::fabs(static_cast<double>(got[k] - ref[k])) <= tol))
            return ::testing::AssertionFailure() << "k=" << k << " got " << got[k] << " want " << static_cast<double>(ref[k]);
    }
    return ::testing::AssertionSuccess();
}

// Both methods, both operand orders, against the reference; the automatic choice in guarded
// buffers at varied offsets. Then the automatic choice gives exactly one method's bits: direct for
// short kernels, the transform for long ones, whatever the alignment of the buffers.
TEST_P(DspPaths, ConvolutionMatchesLongDoubleBothMethods) {
    const int path = GetParam();
    const std::pair<int, int> shapes[] = {{1, 1},     {1, 7},      {7, 1},    {3, 8},   {8, 3},      {15, 16},
                                          {17, 31},   {33, 31},    {16, 16},  {1000, 7}, {7, 1000},  {4099, 17},
                                          {33, 4099}, {1000, 1000}, {4099, 33}, {300, 299}};
    const bool emulated = qptest::Emulated();
    const struct { int n1, n2, method; } sides[] = {
        {5000, 8, kDirect}, {16, 3000, kDirect}, {4096, 4096, kTransform}, {emulated ? 16384 : 65536, emulated ? 512 : 1024, kTransform}};
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        const auto conv = QP_TYPED(conv, path);
        std::mt19937 gen(21);
        for (const auto& [n1, n2] : shapes) {
            std::vector<long double> ref, mag;
            const int off = (n1 + n2) % 4, out = n1 + n2 - 1;
            Buffer<T> a(n1, off), b(n2, (off + 1) % 4);
            Fill(a.data, n1, gen);
            Fill(b.data, n2, gen);
            Reference(a.data, n1, b.data, n2, ref, mag);
            for (int alg : {kDirect, kTransform, kAuto}) {
                SCOPED_TRACE(testing::Message() << n1 << " x " << n2 << " algorithm " << alg);
                Work<T> w(path, n1, n2, alg, 4 * off);
                for (bool swapped : {false, true}) {
                    Buffer<T> d(out, (off + 3) % 4);
                    ASSERT_EQ(swapped ? conv(b.data, n2, a.data, n1, d.data, alg, w.p) : conv(a.data, n1, b.data, n2, d.data, alg, w.p),
                              qp::qpStsNoErr);
                    EXPECT_TRUE(d.GuardsIntact() && w.buf.GuardsIntact());
                    if (alg != kAuto) { EXPECT_TRUE(Close(d.data, ref, mag, std::min(n1, n2), alg == kTransform)); }
                }
            }
        }
        for (const auto& s : sides) {
            SCOPED_TRACE(testing::Message() << s.n1 << " x " << s.n2);
            std::vector<T> a(s.n1), b(s.n2);
            Fill(a.data(), s.n1, gen);
            Fill(b.data(), s.n2, gen);
            const int out = s.n1 + s.n2 - 1;
            Buffer<T> viaAuto(out, 1), viaMethod(out, 0);
            Work<T> wa(path, s.n1, s.n2, kAuto, 8), wm(path, s.n1, s.n2, s.method);
            ASSERT_EQ(conv(a.data(), s.n1, b.data(), s.n2, viaAuto.data, kAuto, wa.p), qp::qpStsNoErr);
            ASSERT_EQ(conv(a.data(), s.n1, b.data(), s.n2, viaMethod.data, s.method, wm.p), qp::qpStsNoErr);
            EXPECT_EQ(std::memcmp(viaAuto.data, viaMethod.data, sizeof(T) * out), 0);
            EXPECT_TRUE(wa.buf.GuardsIntact() && wm.buf.GuardsIntact());
        }
    });
}

// A work buffer passed again keeps its FFT spec; one written over, moved, or used for other sizes
// in between gets a new one. Every call gives the bits of a call with a fresh buffer.
TEST_P(DspPaths, ConvolutionKeepsItsSpecOnlyWhileTheWorkBufferHoldsIt) {
    const int path = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        std::mt19937 gen(31);
        const int n1 = 3000, n2 = 700;
        std::vector<T> a(n1), b(n2), a2(n1);
        Fill(a.data(), n1, gen);
        Fill(b.data(), n2, gen);
        Fill(a2.data(), n1, gen);
        // Convolves x with the first m values of b in w, and in a fresh buffer: the same bits.
        const auto sameAsFresh = [&](const std::vector<T>& x, int m, Work<T>& w) {
            Work<T> f(path, n1, m, kTransform);
            std::vector<T> got(n1 + m - 1, T(-777.25)), fresh(got);
            EXPECT_EQ(QP_TYPED(conv, path)(x.data(), n1, b.data(), m, got.data(), kTransform, w.p), qp::qpStsNoErr);
            EXPECT_EQ(QP_TYPED(conv, path)(x.data(), n1, b.data(), m, fresh.data(), kTransform, f.p), qp::qpStsNoErr);
            return std::memcmp(fresh.data(), got.data(), sizeof(T) * got.size()) == 0;
        };
        Work<T> kept(path, n1, n2, kTransform), moved(path, n1, n2, kTransform);
        EXPECT_TRUE(sameAsFresh(a, n2, kept));
        EXPECT_TRUE(sameAsFresh(a, n2, kept)) << "reused";
        EXPECT_TRUE(sameAsFresh(a2, n2, kept)) << "reused, other data";
        std::memset(kept.p + 64, 0x41, kept.buf.bytes - 64);
        EXPECT_TRUE(sameAsFresh(a2, n2, kept)) << "spec written over, record intact";
        std::memcpy(moved.p, kept.p, kept.buf.bytes);
        std::memset(kept.p, 0x41, kept.buf.bytes);
        EXPECT_TRUE(sameAsFresh(a2, n2, moved)) << "moved: the spec's own pointers lead to garbage";
        EXPECT_TRUE(sameAsFresh(a2, 40, moved)) << "a smaller transform in the same buffer";
        EXPECT_TRUE(sameAsFresh(a2, n2, moved)) << "then the first sizes again";
        EXPECT_TRUE(kept.buf.GuardsIntact() && moved.buf.GuardsIntact());
    });
}

// The size query does not depend on the code path (a size taken under one serves all); the export
// counts it in floats.
TEST(DspConvolution, WorkBufferSizeIsTheSameOnEveryPath) {
    for (auto [n1, n2] : {std::pair{1, 1}, {100, 3}, {65536, 1024}, {4096, 4096}, {1 << 24, 5000}, {9, 1 << 22}}) {
        for (int alg : {kAuto, kDirect, kTransform}) {
            int first = -1;
            for (int p : qptest::RunnablePaths()) {
                int bytes = 0;
                ASSERT_EQ(qptest::conv_bufsize_paths[p](n1, n2, kF32, alg, &bytes), qp::qpStsNoErr);
                EXPECT_EQ(bytes % 4, 0);
                if (first < 0) first = bytes;
                EXPECT_EQ(bytes, first) << n1 << " x " << n2 << " path " << p;
            }
            EXPECT_TRUE(alg != kAuto || qu::ConvolutionWorkBufferSize(n1, n2) == static_cast<unsigned long long>(first / 4));
        }
    }
    EXPECT_EQ(qu::ConvolutionWorkBufferSize(0, 5), 0u);
    EXPECT_EQ(qu::ConvolutionWorkBufferSize(5, 0x80000000u), 0u);
}

// --- resampling -----------------------------------------------------------------------------------

// Up-sampling puts input k at phase + k * factor between zeros and keeps the phase; down-sampling
// keeps the inputs at phase + i * factor and returns the phase of the next block, so that a stream
// cut into blocks (even shorter than the factor) decimates as one block. Factor 1 (a copy), 2 and
// the long blocked case all follow the one rule.
TEST_P(DspPaths, UpAndDownSampleFollowTheRuleOnEveryFactorAndLength) {
    const int path = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        std::mt19937 gen(9);
        for (int n : {1, 3, 7, 8, 15, 16, 17, 31, 33, 1000, 4096, 4097, 4099, 9001}) {
            for (int f : {1, 2, 3, 4, 5, 7, 16}) {
                for (int ph = 0; ph < f; ++ph) {
                    SCOPED_TRACE(testing::Message() << "n=" << n << " factor=" << f << " phase=" << ph);
                    const int off = (n + ph) % 4, kept = ph < n ? (n - ph + f - 1) / f : 0;
                    Buffer<T> s(n, off), up(n * f, (off + 1) % 4), down(kept, (off + 3) % 4);
                    Fill(s.data, n, gen);
                    int len = -1, phase = ph;
                    ASSERT_EQ(QP_TYPED(upsample, path)(s.data, n, up.data, &len, f, &phase), qp::qpStsNoErr);
                    EXPECT_EQ(len, n * f);
                    EXPECT_EQ(phase, ph);
                    EXPECT_TRUE(up.GuardsIntact());
                    for (int k = 0; k < n * f; ++k) {
                        const T want = k % f == ph ? s.data[k / f] : T(0);
                        ASSERT_TRUE(qptest::SameBits(up.data[k], want)) << "k=" << k;
                    }
                    ASSERT_EQ(QP_TYPED(downsample, path)(s.data, n, down.data, &len, f, &phase), qp::qpStsNoErr);
                    EXPECT_EQ(len, kept);
                    EXPECT_EQ(phase, ph + kept * f - n);
                    EXPECT_TRUE(phase >= 0 && phase < f);
                    EXPECT_TRUE(down.GuardsIntact());
                    for (int i = 0; i < kept; ++i) ASSERT_EQ(down.data[i], s.data[ph + i * f]) << "i=" << i;
                }
            }
        }
    });
}

// --- refusals -------------------------------------------------------------------------------------

// Every kernel of the family: null pointers, then sizes, then the algorithm, factor or phase.
// Nothing is written: not the result, the destination, the length or the phase.
TEST_P(DspPaths, RefusalsWriteNothing) {
    const int p = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        const T a[4] = {1, 2, 3, 4};
        T r = 9;
        const auto dot = QP_TYPED(dotprod, p);
        EXPECT_EQ(dot(nullptr, a, 3, &r), qp::qpStsNullPtrErr);
        EXPECT_EQ(dot(a, nullptr, 3, &r), qp::qpStsNullPtrErr);
        EXPECT_EQ(dot(a, a, 3, nullptr), qp::qpStsNullPtrErr);
        for (int n : qptest::kBadLengths) EXPECT_EQ(dot(a, a, n, &r), qp::qpStsSizeErr);
        EXPECT_EQ(r, T(9));

        Buffer<T> d(32, 0);
        Work<T> w(p, 4, 4, kAuto);
        const int big = std::numeric_limits<int>::min();
        const struct { const T* s1; int n1; const T* s2; int n2; T* dst; int alg; unsigned char* work; qp::Status want; } convCases[] = {
            {nullptr, 4, a, 4, d.data, 0, w.p, qp::qpStsNullPtrErr}, {a, 4, nullptr, 4, d.data, 0, w.p, qp::qpStsNullPtrErr},
            {a, 4, a, 4, nullptr, 0, w.p, qp::qpStsNullPtrErr},     {a, 4, a, 4, d.data, 0, nullptr, qp::qpStsNullPtrErr},
            {a, 0, a, 4, d.data, 0, w.p, qp::qpStsSizeErr},         {a, 4, a, -2, d.data, 0, w.p, qp::qpStsSizeErr},
            {a, big, a, 4, d.data, 0, w.p, qp::qpStsSizeErr},       {a, 4, a, 4, d.data, 3, w.p, qp::qpStsAlgTypeErr},
            {a, 4, a, 4, d.data, -1, w.p, qp::qpStsAlgTypeErr},
        };
        for (const auto& c : convCases) EXPECT_EQ(QP_TYPED(conv, p)(c.s1, c.n1, c.s2, c.n2, c.dst, c.alg, c.work), c.want);
        int bytes = 5;
        EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, kF32, 0, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(qptest::conv_bufsize_paths[p](0, 4, kF32, 0, &bytes), qp::qpStsSizeErr);
        EXPECT_EQ(qptest::conv_bufsize_paths[p](4, big, kF32, 0, &bytes), qp::qpStsSizeErr);
        EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, 12, 0, &bytes), qp::qpStsDataTypeErr);
        EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, kF32, 7, &bytes), qp::qpStsAlgTypeErr);
        EXPECT_EQ(bytes, 5);

        const struct { bool src, dst, len, phase; int n, factor, ph; qp::Status want; } resampleCases[] = {
            {false, true, true, true, 4, 2, 0, qp::qpStsNullPtrErr},   {true, false, true, true, 4, 2, 0, qp::qpStsNullPtrErr},
            {true, true, false, true, 4, 2, 0, qp::qpStsNullPtrErr},   {true, true, true, false, 4, 2, 0, qp::qpStsNullPtrErr},
            {true, true, true, true, 0, 2, 0, qp::qpStsSizeErr},       {true, true, true, true, -4, 2, 0, qp::qpStsSizeErr},
            {true, true, true, true, big, 2, 0, qp::qpStsSizeErr},     {true, true, true, true, 4, 0, 0, qp::qpStsSampleFactorErr},
            {true, true, true, true, 4, -3, 0, qp::qpStsSampleFactorErr}, {true, true, true, true, 4, 3, 3, qp::qpStsSamplePhaseErr},
            {true, true, true, true, 4, 3, 7, qp::qpStsSamplePhaseErr}, {true, true, true, true, 4, 3, -1, qp::qpStsSamplePhaseErr},
            {true, true, true, true, 4, 1, 1, qp::qpStsSamplePhaseErr},
        };
        for (const auto& c : resampleCases) {
            for (const auto kernel : {QP_TYPED(upsample, p), QP_TYPED(downsample, p)}) {
                SCOPED_TRACE(testing::Message() << "n=" << c.n << " factor=" << c.factor << " phase=" << c.ph);
                int len = 77, phase = c.ph;
                EXPECT_EQ(kernel(c.src ? a : nullptr, c.n, c.dst ? d.data : nullptr, c.len ? &len : nullptr, c.factor,
                                 c.phase ? &phase : nullptr),
                          c.want);
                EXPECT_EQ(len, 77);
                EXPECT_EQ(phase, c.ph);
            }
        }
        int len = 77, phase = 0;  // an output too long to count
        EXPECT_EQ(QP_TYPED(upsample, p)(a, 1 << 20, d.data, &len, 1 << 12, &phase), qp::qpStsSizeErr);
        EXPECT_EQ(len, 77);
        EXPECT_TRUE(d.Untouched());
    });
}

QP_INSTANTIATE_PATHS(DspPaths);

// --- exports ----------------------------------------------------------------------------------------

// The exports forward their operands in order: small results worked out by hand; refused calls
// (zero or negative-as-int lengths, null pointers, a phase out of range) write nothing.
TEST(DspExports, SmallKnownResults) {
    const float a[] = {1, 2}, b[] = {1, 1, 1};
    float c[5] = {9, 9, 9, 9, 9};
    qu::Convolve(2, a, 3, b, c);
    EXPECT_EQ(std::vector<float>(c, c + 5), (std::vector<float>{1, 3, 3, 2, 9}));
    qu::Convolve(0, a, 3, b, c + 1);
    qu::Convolve(2, nullptr, 3, b, c + 1);
    EXPECT_EQ(c[1], 3.0f);
    const double ad[] = {1, 2}, bd[] = {1, 1, 1};
    double cd[4] = {};
    std::vector<double> work(qu::ConvolutionWorkBufferSize(3, 2));
    qu::Convolve(3, bd, 2, ad, cd, work.data());
    EXPECT_EQ(std::vector<double>(cd, cd + 4), (std::vector<double>{1, 3, 3, 2}));

    float u[7] = {9, 9, 9, 9, 9, 9, 9};
    unsigned int phase = 1;
    qu::UpSample(2, a, u, 3, &phase);
    EXPECT_EQ(std::vector<float>(u, u + 7), (std::vector<float>{0, 1, 0, 0, 2, 0, 9}));
    EXPECT_EQ(phase, 1u);
    phase = 3;  // out of range: nothing happens
    qu::UpSample(2, a, u, 3, &phase);
    EXPECT_EQ(u[1], 1.0f);
    EXPECT_EQ(phase, 3u);

    double x[10], y[5] = {-1, -1, -1, -1, -1};
    for (int i = 0; i < 10; ++i) x[i] = i;
    phase = 0;
    qu::DownSample(10, x, y, 3, &phase);
    EXPECT_EQ(std::vector<double>(y, y + 5), (std::vector<double>{0, 3, 6, 9, -1}));
    EXPECT_EQ(phase, 2u);
    qu::DownSample(10, x, y, 3, &phase);
    EXPECT_EQ(std::vector<double>(y, y + 4), (std::vector<double>{2, 5, 8, 9}));
    EXPECT_EQ(phase, 1u);
    phase = 0x80000000u;  // read as negative: refused
    qu::DownSample(4, x, y, 6, &phase);
    EXPECT_EQ(phase, 0x80000000u);
    EXPECT_EQ(y[0], 2.0);

    EXPECT_EQ(qu::DotProduct(0, a, a), 0.0f);
    EXPECT_EQ(qu::DotProduct(2, a, b), 3.0f);
    EXPECT_EQ(qu::DotProduct(2, ad, nullptr), 0.0);
    EXPECT_EQ(qu::DotProduct(0x80000000u, ad, ad), 0.0);
    EXPECT_EQ(qu::DotProduct(2, ad, ad), 5.0);
}

// Both Convolve forms of both types through dispatch agree bit for bit, with the transform chosen.
TEST(DspExports, ConvolveWithAndWithoutWorkBufferAgree) {
    const unsigned int n1 = 3000, n2 = 700;
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        std::mt19937 gen(1);
        std::vector<T> a(n1), b(n2), own(n1 + n2 - 1), given(n1 + n2 - 1), w(qu::ConvolutionWorkBufferSize(n1, n2));
        Fill(a.data(), n1, gen);
        Fill(b.data(), n2, gen);
        qu::Convolve(n1, a.data(), n2, b.data(), own.data());
        qu::Convolve(n1, a.data(), n2, b.data(), given.data(), w.data());
        EXPECT_EQ(own, given);
        std::vector<long double> ref, mag;
        Reference(a.data(), n1, b.data(), n2, ref, mag);
        EXPECT_TRUE(Close(own.data(), ref, mag, n2, true));
    });
}

}  // namespace
