// Dot product, convolution and resampling: every kernel on every runnable code path against long
// double sums and the index rules, refusals, streaming, the work-buffer contract, and the exports.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "vector_support.h"
#include "quoraccelerate/utility/dsp.h"

namespace {

namespace qu = quoraccelerate::utility;
using qp::Status;

constexpr int kLengths[] = {0, 1, 3, 7, 8, 15, 16, 17, 31, 33, 1000, 4099};
constexpr int kOffsets[] = {0, 1, 3};  // elements past a 64-byte boundary
constexpr int kGuard = 16;

enum { kAuto = 0, kDirect = 1, kTransform = 2 };
constexpr int kF32 = 13;

template <typename T>
T Sentinel() {
    return static_cast<T>(-777.25);
}

template <typename T>
using Arena = qptest::Buffer<T>;

template <typename T>
void Fill(T* p, std::int64_t n, std::mt19937& gen) {
    std::uniform_real_distribution<T> d(-1, 1);
    for (std::int64_t i = 0; i < n; ++i) p[i] = d(gen);
}

template <typename T>
constexpr double Eps() {
    return std::numeric_limits<T>::epsilon();
}

class DspPaths : public testing::TestWithParam<int> {
  protected:
    int P() const { return GetParam(); }
};

// --- dot product ----------------------------------------------------------------------------------

// Float: within one rounding of the result plus the float runs' rounding (at most 20 products per
// lane before the run is carried in double); double: the classic n eps sum |a b| bound.
template <typename T>
void CheckDot(int path) {
    std::mt19937 gen(7);
    for (int n : kLengths) {
        if (n == 0) continue;
        for (int off : kOffsets) {
            SCOPED_TRACE(testing::Message() << "n=" << n << " offset=" << off);
            Arena<T> a(n, off), b(n, (off + 2) % 4);
            Fill(a.data, n, gen);
            Fill(b.data, n, gen);
            long double ref = 0, mag = 0;
            for (int i = 0; i < n; ++i) {
                ref += static_cast<long double>(a.data[i]) * b.data[i];
                mag += std::fabs(static_cast<long double>(a.data[i]) * b.data[i]);
            }
            T r = -1;
            ASSERT_EQ(QP_TYPED(dotprod, path)(a.data, b.data, n, &r), qp::qpStsNoErr);
            const double tol = sizeof(T) == 4 ? Eps<T>() * std::fabs(static_cast<double>(ref)) + 20 * Eps<T>() / 2 * static_cast<double>(mag)
                                              : n * Eps<T>() * static_cast<double>(mag);
            EXPECT_NEAR(static_cast<double>(r), static_cast<double>(ref), tol);
            // The operands commute.
            T s = -1;
            ASSERT_EQ(QP_TYPED(dotprod, path)(b.data, a.data, n, &s), qp::qpStsNoErr);
            EXPECT_NEAR(static_cast<double>(s), static_cast<double>(ref), tol);
        }
    }
}

TEST_P(DspPaths, DotProductMatchesLongDouble) {
    CheckDot<float>(P());
    CheckDot<double>(P());
}

// A long float dot product whose terms cancel: the float runs carried in double keep it accurate
// where a single float accumulator per lane would lose digits.
TEST_P(DspPaths, LongFloatDotProductStaysAccurate) {
    const int n = qptest::Emulated() ? 1 << 16 : 1 << 20;
    std::vector<float> a(n), b(n);
    std::mt19937 gen(3);
    Fill(a.data(), n, gen);
    for (int i = 0; i < n; ++i) b[i] = 1000.0f + static_cast<float>(i % 7);
    long double ref = 0;
    for (int i = 0; i < n; ++i) ref += static_cast<long double>(a[i]) * b[i];
    float r = 0;
    ASSERT_EQ(qptest::dotprod_f32_paths[P()](a.data(), b.data(), n, &r), qp::qpStsNoErr);
    // |sum| is about sqrt(n) * 60 while sum |a b| is n * 500: one float accumulator per lane for the
    // whole length (32 or 64 lanes) is off by 0.5 to 1 here. The bound, 0.24, leaves room for the
    // rounded products of the paths without fused multiply-add (about 0.13 measured).
    EXPECT_NEAR(r, static_cast<double>(ref), 32 * std::fabs(static_cast<double>(ref)) * Eps<float>());
}

TEST_P(DspPaths, DotProductRefusalsWriteNothing) {
    const float a[3] = {1, 2, 3};
    const double ad[3] = {1, 2, 3};
    float r = 9;
    double rd = 9;
    const int p = P();
    EXPECT_EQ(qptest::dotprod_f32_paths[p](nullptr, a, 3, &r), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::dotprod_f32_paths[p](a, nullptr, 3, &r), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::dotprod_f32_paths[p](a, a, 3, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::dotprod_f64_paths[p](ad, nullptr, 3, &rd), qp::qpStsNullPtrErr);
    for (int n : {0, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(qptest::dotprod_f32_paths[p](a, a, n, &r), qp::qpStsSizeErr);
        EXPECT_EQ(qptest::dotprod_f64_paths[p](ad, ad, n, &rd), qp::qpStsSizeErr);
    }
    EXPECT_EQ(r, 9.0f);
    EXPECT_EQ(rd, 9.0);
}

// --- convolution ----------------------------------------------------------------------------------

// Work buffer of exactly the queried size, as the exports hand it over: bytes for float, that many
// float-sized elements as doubles (twice the bytes) for double; NaN-filled, with a guard behind it.
template <typename T>
struct Work {
    Work(int path, int n1, int n2, int alg, int offsetBytes = 0) {
        int bytes = 0;
        EXPECT_EQ(qptest::conv_bufsize_paths[path](n1, n2, kF32, alg, &bytes), qp::qpStsNoErr);
        size = static_cast<std::size_t>(bytes / 4) * sizeof(T);
        store.assign(size + 64 + offsetBytes + kGuard, 0x7F);  // NaN patterns
        const auto base = (reinterpret_cast<std::uintptr_t>(store.data()) + 63) & ~std::uintptr_t{63};
        p = reinterpret_cast<unsigned char*>(base) + offsetBytes;
        std::memset(p + size, 0xA5, kGuard);
    }
    bool GuardIntact() const {
        for (int i = 0; i < kGuard; ++i)
            if (p[size + i] != 0xA5) return false;
        return true;
    }
    std::vector<unsigned char> store;
    unsigned char* p;
    std::size_t size;
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
    long double top = 0;
    for (long double m : mag) top = std::max(top, m);
    const double logN = std::log2(static_cast<double>(ref.size()) + 2);
    for (std::size_t k = 0; k < ref.size(); ++k) {
        const double tol = transform ? 4 * logN * Eps<T>() * static_cast<double>(top)
                                     : (terms + 1) * Eps<T>() * static_cast<double>(mag[k]);
        const double err = std::fabs(static_cast<double>(got[k] - ref[k]));
        if (!(err <= tol))
            return ::testing::AssertionFailure() << "k=" << k << " got " << got[k] << " want "
                                                 << static_cast<double>(ref[k]) << " tol " << tol;
    }
    return ::testing::AssertionSuccess();
}

struct ConvCase {
    int n1, n2;
};
constexpr ConvCase kConvCases[] = {{1, 1},   {1, 7},     {7, 1},    {3, 8},     {8, 3},     {15, 16},
                                   {17, 31}, {33, 31},   {16, 16},  {1000, 7},  {7, 1000},  {4099, 17},
                                   {33, 4099}, {1000, 1000}, {4099, 33}, {300, 299}};

template <typename T>
void CheckConvolution(int path) {
    std::mt19937 gen(21);
    for (const ConvCase& c : kConvCases) {
        std::vector<long double> ref, mag;
        const int off = (c.n1 + c.n2) % 4;
        Arena<T> a(c.n1, off), b(c.n2, (off + 1) % 4);
        Fill(a.data, c.n1, gen);
        Fill(b.data, c.n2, gen);
        Reference(a.data, c.n1, b.data, c.n2, ref, mag);
        const int out = c.n1 + c.n2 - 1;
        for (int alg : {kDirect, kTransform, kAuto}) {
            SCOPED_TRACE(testing::Message() << c.n1 << " x " << c.n2 << " algorithm " << alg);
            Arena<T> d(out, (off + 3) % 4);
            Work<T> w(path, c.n1, c.n2, alg, 4 * off);
            ASSERT_EQ(QP_TYPED(conv, path)(a.data, c.n1, b.data, c.n2, d.data, alg, w.p), qp::qpStsNoErr);
            EXPECT_TRUE(d.TailIntact());
            EXPECT_TRUE(w.GuardIntact());
            if (alg == kAuto) continue;  // compared with the two methods below
            EXPECT_TRUE(Close(d.data, ref, mag, std::min(c.n1, c.n2), alg == kTransform));
            // Operands swapped: the same result within the same bound.
            Arena<T> e(out, 0);
            ASSERT_EQ(QP_TYPED(conv, path)(b.data, c.n2, a.data, c.n1, e.data, alg, w.p), qp::qpStsNoErr);
            EXPECT_TRUE(Close(e.data, ref, mag, std::min(c.n1, c.n2), alg == kTransform));
        }
    }
}

TEST_P(DspPaths, ConvolutionMatchesLongDoubleBothMethods) {
    CheckConvolution<float>(P());
    CheckConvolution<double>(P());
}

// The automatic choice gives exactly one method's bits: direct for short kernels, the transform
// for long ones; and each method's result does not depend on the alignment of its buffers.
template <typename T>
void CheckCrossover(int path) {
    struct Side {
        int n1, n2, method;
    };
    const bool emulated = qptest::Emulated();
    const Side sides[] = {{5000, 8, kDirect}, {16, 3000, kDirect}, {4096, 4096, kTransform},
                          {emulated ? 16384 : 65536, emulated ? 512 : 1024, kTransform}};
    std::mt19937 gen(5);
    for (const Side& s : sides) {
        SCOPED_TRACE(testing::Message() << s.n1 << " x " << s.n2);
        std::vector<T> a(s.n1), b(s.n2);
        Fill(a.data(), s.n1, gen);
        Fill(b.data(), s.n2, gen);
        const int out = s.n1 + s.n2 - 1;
        Arena<T> viaAuto(out, 1), viaMethod(out, 0);
        Work<T> wa(path, s.n1, s.n2, kAuto, 8), wm(path, s.n1, s.n2, s.method);
        const auto conv = QP_TYPED(conv, path);
        ASSERT_EQ(conv(a.data(), s.n1, b.data(), s.n2, viaAuto.data, kAuto, wa.p), qp::qpStsNoErr);
        ASSERT_EQ(conv(a.data(), s.n1, b.data(), s.n2, viaMethod.data, s.method, wm.p), qp::qpStsNoErr);
        EXPECT_EQ(std::memcmp(viaAuto.data, viaMethod.data, sizeof(T) * out), 0);
        EXPECT_TRUE(wa.GuardIntact() && wm.GuardIntact());
    }
}

TEST_P(DspPaths, AutomaticChoiceTakesDirectForShortKernelsAndTheTransformForLongOnes) {
    CheckCrossover<float>(P());
    CheckCrossover<double>(P());
}

// A work buffer passed again keeps its FFT spec; one written over, moved, or used for other sizes
// in between gets a new one. Every call gives the bits of a call with a fresh buffer.
template <typename T>
void CheckSpecReuse(int path) {
    std::mt19937 gen(31);
    const int n1 = 3000, n2 = 700, out = n1 + n2 - 1;
    std::vector<T> a(n1), b(n2), a2(n1), fresh(out), got(out);
    Fill(a.data(), n1, gen);
    Fill(b.data(), n2, gen);
    Fill(a2.data(), n1, gen);
    const auto run = [&](const std::vector<T>& x, int m, Work<T>& w, std::vector<T>& d) {
        d.assign(out, Sentinel<T>());
        ASSERT_EQ(QP_TYPED(conv, path)(x.data(), n1, b.data(), m, d.data(), kTransform, w.p), qp::qpStsNoErr);
    };
    const auto freshRun = [&](const std::vector<T>& x, int m) {
        Work<T> w(path, n1, m, kTransform);
        run(x, m, w, fresh);
    };
    Work<T> kept(path, n1, n2, kTransform);
    const auto same = [&] { return std::memcmp(fresh.data(), got.data(), sizeof(T) * out) == 0; };
    freshRun(a, n2);
    run(a, n2, kept, got);
    EXPECT_TRUE(same());
    run(a, n2, kept, got);  // reused
    EXPECT_TRUE(same());
    freshRun(a2, n2);
    run(a2, n2, kept, got);  // reused, other data
    EXPECT_TRUE(same());
    std::memset(kept.p + 64, 0x41, kept.size - 64);  // spec written over, record intact
    run(a2, n2, kept, got);
    EXPECT_TRUE(same());
    Work<T> moved(path, n1, n2, kTransform);
    std::memcpy(moved.p, kept.p, kept.size);
    std::memset(kept.p, 0x41, kept.size);  // the spec's own pointers now lead to garbage
    run(a2, n2, moved, got);
    EXPECT_TRUE(same());
    freshRun(a2, 40);  // a smaller transform in the same buffer, then the first sizes again
    got.assign(out, 0);
    ASSERT_EQ(QP_TYPED(conv, path)(a2.data(), n1, b.data(), 40, got.data(), kTransform, moved.p), qp::qpStsNoErr);
    EXPECT_EQ(std::memcmp(fresh.data(), got.data(), sizeof(T) * (n1 + 39)), 0);
    freshRun(a2, n2);
    run(a2, n2, moved, got);
    EXPECT_TRUE(same());
    EXPECT_TRUE(kept.GuardIntact() && moved.GuardIntact());
}

TEST_P(DspPaths, ConvolutionKeepsItsSpecOnlyWhileTheWorkBufferHoldsIt) {
    CheckSpecReuse<float>(P());
    CheckSpecReuse<double>(P());
}

TEST_P(DspPaths, ConvolutionRefusalsWriteNothing) {
    const int p = P();
    float a[4] = {1, 2, 3, 4};
    double ad[4] = {1, 2, 3, 4};
    Arena<float> d(8, 0);
    Arena<double> dd(8, 0);
    Work<double> w(p, 4, 4, kAuto);
    const int big = std::numeric_limits<int>::min();
    const struct {
        const float* s1;
        int n1;
        const float* s2;
        int n2;
        float* dst;
        int alg;
        unsigned char* work;
        Status want;
    } cases[] = {
        {nullptr, 4, a, 4, d.data, 0, w.p, qp::qpStsNullPtrErr}, {a, 4, nullptr, 4, d.data, 0, w.p, qp::qpStsNullPtrErr},
        {a, 4, a, 4, nullptr, 0, w.p, qp::qpStsNullPtrErr},   {a, 4, a, 4, d.data, 0, nullptr, qp::qpStsNullPtrErr},
        {a, 0, a, 4, d.data, 0, w.p, qp::qpStsSizeErr},          {a, 4, a, -2, d.data, 0, w.p, qp::qpStsSizeErr},
        {a, big, a, 4, d.data, 0, w.p, qp::qpStsSizeErr},        {a, 4, a, 4, d.data, 3, w.p, qp::qpStsAlgTypeErr},
        {a, 4, a, 4, d.data, -1, w.p, qp::qpStsAlgTypeErr},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(qptest::conv_f32_paths[p](c.s1, c.n1, c.s2, c.n2, c.dst, c.alg, c.work), c.want);
        const double* s1 = c.s1 ? ad : nullptr;
        const double* s2 = c.s2 ? ad : nullptr;
        EXPECT_EQ(qptest::conv_f64_paths[p](s1, c.n1, s2, c.n2, c.dst ? dd.data : nullptr, c.alg, c.work), c.want);
    }
    EXPECT_TRUE(d.Untouched());
    EXPECT_TRUE(dd.Untouched());
    int bytes = 5;
    EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, kF32, 0, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(qptest::conv_bufsize_paths[p](0, 4, kF32, 0, &bytes), qp::qpStsSizeErr);
    EXPECT_EQ(qptest::conv_bufsize_paths[p](4, big, kF32, 0, &bytes), qp::qpStsSizeErr);
    EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, 12, 0, &bytes), qp::qpStsDataTypeErr);
    EXPECT_EQ(qptest::conv_bufsize_paths[p](4, 4, kF32, 7, &bytes), qp::qpStsAlgTypeErr);
    EXPECT_EQ(bytes, 5);
}

// The size query does not depend on the code path (a size taken under one serves all).
TEST(DspConvolution, WorkBufferSizeIsTheSameOnEveryPath) {
    const std::vector<int> paths = qptest::RunnablePaths();
    for (auto [n1, n2] : {std::pair{1, 1}, {100, 3}, {65536, 1024}, {4096, 4096}, {1 << 24, 5000}, {9, 1 << 22}}) {
        for (int alg : {kAuto, kDirect, kTransform}) {
            int first = -1;
            for (int p : paths) {
                int bytes = 0;
                ASSERT_EQ(qptest::conv_bufsize_paths[p](n1, n2, kF32, alg, &bytes), qp::qpStsNoErr);
                EXPECT_EQ(bytes % 4, 0);
                if (first < 0) first = bytes;
                EXPECT_EQ(bytes, first) << n1 << " x " << n2 << " path " << p;
            }
            if (alg == kAuto) {
                EXPECT_EQ(qu::ConvolutionWorkBufferSize(n1, n2), static_cast<unsigned long long>(first / 4));
            }
        }
    }
    EXPECT_EQ(qu::ConvolutionWorkBufferSize(0, 5), 0u);
    EXPECT_EQ(qu::ConvolutionWorkBufferSize(5, 0x80000000u), 0u);
}

// --- resampling -----------------------------------------------------------------------------------

constexpr int kFactors[] = {1, 2, 3, 4, 7};
constexpr int kResampleLengths[] = {1, 3, 7, 8, 15, 16, 17, 31, 33, 1000, 4096, 4097, 4099, 9001};

// Up-sampling puts input k at phase + k * factor between zeros and keeps the phase; down-sampling
// keeps the inputs at phase + i * factor and returns the phase of the next block. Factor 1 (a
// copy), 2 and the long blocked case all follow the one rule.
template <typename T>
void CheckResample(int path) {
    std::mt19937 gen(9);
    for (int n : kResampleLengths) {
        for (int f : kFactors) {
            for (int ph = 0; ph < f; ++ph) {
                SCOPED_TRACE(testing::Message() << "n=" << n << " factor=" << f << " phase=" << ph);
                const int off = (n + ph) % 4, kept = ph < n ? (n - ph + f - 1) / f : 0;
                Arena<T> s(n, off), up(n * f, (off + 1) % 4), down(kept, (off + 3) % 4);
                Fill(s.data, n, gen);
                int len = -1, phase = ph;
                ASSERT_EQ(QP_TYPED(upsample, path)(s.data, n, up.data, &len, f, &phase), qp::qpStsNoErr);
                EXPECT_EQ(len, n * f);
                EXPECT_EQ(phase, ph);
                EXPECT_TRUE(up.TailIntact());
                for (int k = 0; k < n * f; ++k) {
                    const T want = k % f == ph ? s.data[k / f] : T(0);
                    ASSERT_TRUE(up.data[k] == want && !std::signbit(up.data[k]) == !std::signbit(want)) << "k=" << k;
                }
                ASSERT_EQ(QP_TYPED(downsample, path)(s.data, n, down.data, &len, f, &phase), qp::qpStsNoErr);
                EXPECT_EQ(len, kept);
                EXPECT_EQ(phase, ph + kept * f - n);
                EXPECT_TRUE(phase >= 0 && phase < f);
                EXPECT_TRUE(down.TailIntact());
                for (int i = 0; i < kept; ++i) ASSERT_EQ(down.data[i], s.data[ph + i * f]) << "i=" << i;
            }
        }
    }
}

TEST_P(DspPaths, UpAndDownSampleFollowTheRuleOnEveryFactorAndLength) {
    CheckResample<float>(P());
    CheckResample<double>(P());
}

// A stream cut into blocks of random lengths (many shorter than the factor) decimates exactly as
// the whole signal in one block.
TEST_P(DspPaths, DownSampleStreamsAcrossBlocks) {
    std::mt19937 gen(17);
    const int total = 20000;
    std::vector<float> x(total);
    Fill(x.data(), total, gen);
    for (int f : {2, 3, 5, 16}) {
        for (int start = 0; start < f; ++start) {
            SCOPED_TRACE(testing::Message() << "factor=" << f << " phase=" << start);
            std::vector<float> whole(total), pieces;
            int len = 0, phase = start;
            ASSERT_EQ(qptest::downsample_f32_paths[P()](x.data(), total, whole.data(), &len, f, &phase), qp::qpStsNoErr);
            whole.resize(static_cast<std::size_t>(len));
            const int endPhase = phase;
            std::uniform_int_distribution<int> blockLen(1, 3 * f + 40);
            int streamPhase = start;
            for (int at = 0; at < total;) {
                const int n = std::min(blockLen(gen), total - at);
                std::vector<float> out(static_cast<std::size_t>(n) + 1, Sentinel<float>());
                int got = -1;
                ASSERT_EQ(qptest::downsample_f32_paths[P()](x.data() + at, n, out.data(), &got, f, &streamPhase),
                          qp::qpStsNoErr);
                ASSERT_EQ(out[static_cast<std::size_t>(got)], Sentinel<float>());
                pieces.insert(pieces.end(), out.begin(), out.begin() + got);
                at += n;
            }
            EXPECT_EQ(pieces, whole);
            EXPECT_EQ(streamPhase, endPhase);
        }
    }
}

TEST_P(DspPaths, ResampleRefusalsLeaveOutputsAndPhase) {
    const int p = P();
    float s[4] = {1, 2, 3, 4};
    double sd[4] = {1, 2, 3, 4};
    Arena<float> d(32, 0);
    Arena<double> dd(32, 0);
    struct Case {
        bool src, dst, len, phase;
        int n, factor, ph;
        Status want;
    };
    const Case cases[] = {
        {false, true, true, true, 4, 2, 0, qp::qpStsNullPtrErr},
        {true, false, true, true, 4, 2, 0, qp::qpStsNullPtrErr},
        {true, true, false, true, 4, 2, 0, qp::qpStsNullPtrErr},
        {true, true, true, false, 4, 2, 0, qp::qpStsNullPtrErr},
        {true, true, true, true, 0, 2, 0, qp::qpStsSizeErr},
        {true, true, true, true, -4, 2, 0, qp::qpStsSizeErr},
        {true, true, true, true, std::numeric_limits<int>::min(), 2, 0, qp::qpStsSizeErr},
        {true, true, true, true, 4, 0, 0, qp::qpStsSampleFactorErr},
        {true, true, true, true, 4, -3, 0, qp::qpStsSampleFactorErr},
        {true, true, true, true, 4, 3, 3, qp::qpStsSamplePhaseErr},
        {true, true, true, true, 4, 3, 7, qp::qpStsSamplePhaseErr},
        {true, true, true, true, 4, 3, -1, qp::qpStsSamplePhaseErr},
        {true, true, true, true, 4, 1, 1, qp::qpStsSamplePhaseErr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "n=" << c.n << " factor=" << c.factor << " phase=" << c.ph);
        for (int kind = 0; kind < 4; ++kind) {
            int len = 77, phase = c.ph;
            int* lp = c.len ? &len : nullptr;
            int* pp = c.phase ? &phase : nullptr;
            Status st;
            if (kind == 0)
                st = qptest::upsample_f32_paths[p](c.src ? s : nullptr, c.n, c.dst ? d.data : nullptr, lp, c.factor, pp);
            else if (kind == 1)
                st = qptest::downsample_f32_paths[p](c.src ? s : nullptr, c.n, c.dst ? d.data : nullptr, lp, c.factor, pp);
            else if (kind == 2)
                st = qptest::upsample_f64_paths[p](c.src ? sd : nullptr, c.n, c.dst ? dd.data : nullptr, lp, c.factor, pp);
            else
                st = qptest::downsample_f64_paths[p](c.src ? sd : nullptr, c.n, c.dst ? dd.data : nullptr, lp, c.factor, pp);
            EXPECT_EQ(st, c.want) << "kind " << kind;
            EXPECT_EQ(len, 77);
            EXPECT_EQ(phase, c.ph);
        }
    }
    // An output too long to count.
    int len = 77, phase = 0;
    EXPECT_EQ(qptest::upsample_f32_paths[p](s, 1 << 20, d.data, &len, 1 << 12, &phase), qp::qpStsSizeErr);
    EXPECT_EQ(len, 77);
    EXPECT_TRUE(d.Untouched());
    EXPECT_TRUE(dd.Untouched());
}

INSTANTIATE_TEST_SUITE_P(Runnable, DspPaths, testing::ValuesIn(qptest::RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- exports ----------------------------------------------------------------------------------------

TEST(DspExports, SmallKnownResults) {
    const float a[] = {1, 2}, b[] = {1, 1, 1};
    float c[5] = {9, 9, 9, 9, 9};
    qu::Convolve(2, a, 3, b, c);
    EXPECT_EQ(std::vector<float>(c, c + 5), (std::vector<float>{1, 3, 3, 2, 9}));
    const double ad[] = {1, 2}, bd[] = {1, 1, 1};
    double cd[4] = {};
    std::vector<double> work(qu::ConvolutionWorkBufferSize(3, 2));
    qu::Convolve(3, bd, 2, ad, cd, work.data());
    EXPECT_EQ(std::vector<double>(cd, cd + 4), (std::vector<double>{1, 3, 3, 2}));

    const float up[] = {1, 2};
    float u[7] = {9, 9, 9, 9, 9, 9, 9};
    unsigned int phase = 1;
    qu::UpSample(2, up, u, 3, &phase);
    EXPECT_EQ(std::vector<float>(u, u + 7), (std::vector<float>{0, 1, 0, 0, 2, 0, 9}));
    EXPECT_EQ(phase, 1u);
    phase = 3;  // out of range: nothing happens
    qu::UpSample(2, up, u, 3, &phase);
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
    phase = 5;
    qu::DownSample(4, x, y, 6, &phase);
    EXPECT_EQ(phase, 1u);
    EXPECT_EQ(y[0], 2.0);
    phase = 0x80000000u;  // read as negative: refused
    qu::DownSample(4, x, y, 6, &phase);
    EXPECT_EQ(phase, 0x80000000u);
    EXPECT_EQ(y[0], 2.0);

    EXPECT_EQ(qu::DotProduct(0, a, a), 0.0f);
    EXPECT_EQ(qu::DotProduct(2, a, a), 5.0f);
    EXPECT_EQ(qu::DotProduct(2, ad, nullptr), 0.0);
    EXPECT_EQ(qu::DotProduct(0x80000000u, ad, ad), 0.0);
    EXPECT_EQ(qu::DotProduct(2, ad, ad), 5.0);
}

// Both Convolve forms of both types through dispatch agree bit for bit, with the transform chosen.
TEST(DspExports, ConvolveWithAndWithoutWorkBufferAgree) {
    const unsigned int n1 = 3000, n2 = 700;
    std::mt19937 gen(1);
    std::vector<float> a(n1), b(n2), own(n1 + n2 - 1), given(n1 + n2 - 1);
    std::vector<double> ad(n1), bd(n2), ownd(n1 + n2 - 1), givend(n1 + n2 - 1);
    Fill(a.data(), n1, gen);
    Fill(b.data(), n2, gen);
    Fill(ad.data(), n1, gen);
    Fill(bd.data(), n2, gen);
    const unsigned long long count = qu::ConvolutionWorkBufferSize(n1, n2);
    std::vector<float> w(count);
    std::vector<double> wd(count);
    qu::Convolve(n1, a.data(), n2, b.data(), own.data());
    qu::Convolve(n1, a.data(), n2, b.data(), given.data(), w.data());
    qu::Convolve(n1, ad.data(), n2, bd.data(), ownd.data());
    qu::Convolve(n1, ad.data(), n2, bd.data(), givend.data(), wd.data());
    EXPECT_EQ(own, given);
    EXPECT_EQ(ownd, givend);
    std::vector<long double> ref, mag;
    Reference(ad.data(), n1, bd.data(), n2, ref, mag);
    EXPECT_TRUE(Close(ownd.data(), ref, mag, n2, true));
    // Refused calls leave dst alone.
    std::vector<float> keep(own);
    qu::Convolve(0, a.data(), n2, b.data(), own.data());
    qu::Convolve(n1, nullptr, n2, b.data(), own.data(), w.data());
    EXPECT_EQ(own, keep);
}

}  // namespace
