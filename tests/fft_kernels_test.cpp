// FFT primitives on every runnable code path: results against the references at every order of the
// direct, in-cache and large methods, in place and out of place, at odd alignments; argument checks
// in their order; the spec header; the normalisation flags; the packed real layout.
#include <map>
#include <tuple>

#include "fft_support.h"

namespace {

using fftt::Kind;
using fftt::Kinds;
using fftt::Shape;
using qptest::RunnablePaths;

struct Case {
    std::vector<double> in, want;
};

// References are computed once per kind, direction and order and shared by every path.
const Case& CaseFor(std::size_t kind, bool inverse, int order) {
    static std::map<std::tuple<std::size_t, bool, int>, Case> cache;
    auto key = std::make_tuple(kind, inverse, order);
    auto it = cache.find(key);
    if (it != cache.end()) return it->second;
    Case c;
    const Kind& k = Kinds()[kind];
    c.in = fftt::RandomInput(k, inverse, order, 1000u + 17u * static_cast<unsigned>(kind) + 3u * order + inverse);
    c.want = fftt::Reference(k, inverse, c.in, order);
    return cache.emplace(key, std::move(c)).first->second;
}

// One transform out of place (with guards and odd offsets) and once in place; the in-place result
// must equal the out-of-place one bit for bit.
// With kNormForward the forward result is compared against the reference divided by N (exact).
template <typename T>
void CheckTransform(std::size_t kindIndex, int path, bool inverse, int order, int hint, int flag) {
    const Kind& k = Kinds()[kindIndex];
    SCOPED_TRACE(testing::Message() << k.name << " path " << qptest::PathName(path) << " order " << order
                                    << (inverse ? " inverse" : " forward") << " flag " << flag);
    const std::int64_t n = std::int64_t{1} << order;
    Case c = CaseFor(kindIndex, inverse, order);
    if (flag == qp::fft::kNormForward && !inverse)
        for (double& v : c.want) v /= static_cast<double>(n);
    fftt::SpecHolder spec(k, path, order, flag, hint);
    ASSERT_EQ(spec.status, qp::qpStsNoErr);
    std::vector<unsigned char> buffer(static_cast<std::size_t>(spec.bufSize) + 1);
    unsigned char* buf = spec.bufSize > 0 ? buffer.data() + (order % 7) : nullptr;

    const std::int64_t inCount = fftt::InCount(k, inverse, n), outCount = fftt::OutCount(k, inverse, n);
    fftt::Guarded<T> src(inCount, order % 5), dst(outCount, (order + 2) % 3);
    for (std::int64_t i = 0; i < inCount; ++i) src.data[i] = static_cast<T>(c.in[i]);
    ASSERT_EQ(fftt::Apply<T>(k, path, inverse, src.data, dst.data, spec.spec, buf, n), qp::qpStsNoErr);
    const fftt::Error e = fftt::Compare(dst.data, c.want);
    EXPECT_LE(e.rms, fftt::RmsTolerance(k, order));
    EXPECT_LE(e.max, fftt::MaxTolerance(k, order));
    EXPECT_TRUE(dst.TailIntact());
    for (std::int64_t i = 0; i < inCount; ++i) ASSERT_EQ(src.data[i], static_cast<T>(c.in[i])) << "source changed at " << i;

    // In place: the real forward needs N + 2 values of room.
    fftt::Guarded<T> io(std::max(inCount, outCount), 1);
    for (std::int64_t i = 0; i < inCount; ++i) io.data[i] = static_cast<T>(c.in[i]);
    ASSERT_EQ(fftt::Apply<T>(k, path, inverse, io.data, io.data, spec.spec, buf, n), qp::qpStsNoErr);
    EXPECT_EQ(std::memcmp(io.data, dst.data, static_cast<std::size_t>(outCount) * sizeof(T)), 0);
    EXPECT_TRUE(io.TailIntact());
}

void CheckKind(std::size_t kindIndex, int path, bool inverse, int order, int hint = 1,
               int flag = qp::fft::kNormInverse) {
    if (Kinds()[kindIndex].isDouble)
        CheckTransform<double>(kindIndex, path, inverse, order, hint, flag);
    else
        CheckTransform<float>(kindIndex, path, inverse, order, hint, flag);
}

class FFTPaths : public testing::TestWithParam<int> {};

// Direct kernels (orders 0..5), the in-cache passes of every radix mix and the real half-length
// method, forward and inverse.
TEST_P(FFTPaths, EveryKindMatchesTheReferenceUpToOrder12) {
    const int top = qptest::Emulated() ? 10 : 12;
    for (std::size_t k = 0; k < Kinds().size(); ++k)
        for (int order = 0; order <= top; ++order)
            for (bool inverse : {false, true}) CheckKind(k, GetParam(), inverse, order);
}

// The forward real double transform with the split step fused into the last radix pass (from
// order 14; above order 12 the other tests run the dispatched path only): the smallest fused orders
// on every path, unscaled and with the forward scale, which that pass applies.
TEST_P(FFTPaths, RealDoubleFusedSplitStep) {
    std::size_t r64 = 0;
    while (Kinds()[r64].tag != qp::fft::kKindR64) ++r64;
    for (int order : {14, 15})
        for (int flag : {qp::fft::kNormInverse, qp::fft::kNormForward}) CheckKind(r64, GetParam(), false, order, 1, flag);
}

// The cache-blocked method (square and 2:1 matrices), reached at small orders through algorithm
// hint 2; by default it starts beyond order 22.
TEST_P(FFTPaths, BlockedMethodMatchesTheReference) {
    for (std::size_t k = 0; k < Kinds().size(); ++k) {
        const int first = Kinds()[k].shape == Shape::kReal ? 11 : 10;
        for (int order = first; order < first + (qptest::Emulated() ? 2 : 4); ++order)
            CheckKind(k, GetParam(), order % 2 == 1, order, 2);
    }
}

// Checks of forward and inverse in their order, nothing written on refusal; a null buffer is
// accepted exactly when the spec needs none.
TEST_P(FFTPaths, RefusalsWriteNothing) {
    const int path = GetParam();
    for (std::size_t ki = 0; ki < Kinds().size(); ++ki) {
        const Kind& k = Kinds()[ki];
        const Kind& other = Kinds()[k.isDouble ? (ki == 3 ? 4 : 3) : (ki == 0 ? 1 : 0)];
        for (int order : {3, 12}) {
            SCOPED_TRACE(testing::Message() << k.name << " order " << order);
            fftt::SpecHolder spec(k, path, order), wrong(other, path, order);
            ASSERT_EQ(spec.status, qp::qpStsNoErr);
            std::vector<unsigned char> buffer(static_cast<std::size_t>(spec.bufSize) + 64);
            unsigned char* buf = buffer.data();
            const std::int64_t n = std::int64_t{1} << order;
            std::vector<double> src(static_cast<std::size_t>(2 * n + 2), 1.0), dst(src.size(), 5.0);
            std::vector<float> srcf(src.size(), 1.0f), dstf(src.size(), 5.0f);
            for (bool inverse : {false, true}) {
                auto run = [&](bool nullSrc, bool nullDst, const void* s, unsigned char* b) {
                    if (k.isDouble)
                        return fftt::Apply<double>(k, path, inverse, nullSrc ? nullptr : src.data(),
                                                   nullDst ? nullptr : dst.data(), s, b, n);
                    return fftt::Apply<float>(k, path, inverse, nullSrc ? nullptr : srcf.data(),
                                              nullDst ? nullptr : dstf.data(), s, b, n);
                };
                EXPECT_EQ(run(false, false, nullptr, buf), qp::qpStsNullPtrErr);
                EXPECT_EQ(run(true, true, nullptr, nullptr), qp::qpStsNullPtrErr);  // spec first
                EXPECT_EQ(run(false, false, wrong.spec, buf), qp::qpStsContextMatchErr);
                EXPECT_EQ(run(true, false, wrong.spec, buf), qp::qpStsContextMatchErr);  // kind before data
                EXPECT_EQ(run(true, false, spec.spec, buf), qp::qpStsNullPtrErr);
                EXPECT_EQ(run(false, true, spec.spec, buf), qp::qpStsNullPtrErr);
                if (spec.bufSize > 0)
                    EXPECT_EQ(run(false, false, spec.spec, nullptr), qp::qpStsNullPtrErr);
                else
                    EXPECT_EQ(run(false, false, spec.spec, nullptr), qp::qpStsNoErr);
            }
            if (spec.bufSize > 0) {
                for (double v : dst) ASSERT_EQ(v, 5.0);
                for (float v : dstf) ASSERT_EQ(v, 5.0f);
            }
            // Split kinds: a null in either array alone is refused too.
            std::fill(dst.begin(), dst.end(), 5.0);
            std::fill(dstf.begin(), dstf.end(), 5.0f);
            if (k.shape == Shape::kSplit) {
                if (k.isDouble) {
                    using F = qp::Status (*)(const double*, const double*, double*, double*, const void*, unsigned char*);
                    auto f = reinterpret_cast<F>(const_cast<void*>(k.fwd[path]));
                    EXPECT_EQ(f(src.data(), nullptr, dst.data(), dst.data() + n, spec.spec, buf), qp::qpStsNullPtrErr);
                    EXPECT_EQ(f(src.data(), src.data() + n, dst.data(), nullptr, spec.spec, buf), qp::qpStsNullPtrErr);
                } else {
                    using F = qp::Status (*)(const float*, const float*, float*, float*, const void*, unsigned char*);
                    auto f = reinterpret_cast<F>(const_cast<void*>(k.fwd[path]));
                    EXPECT_EQ(f(nullptr, srcf.data(), dstf.data(), dstf.data() + n, spec.spec, buf), qp::qpStsNullPtrErr);
                    EXPECT_EQ(f(srcf.data(), srcf.data() + n, nullptr, dstf.data(), spec.spec, buf), qp::qpStsNullPtrErr);
                }
                for (double v : dst) ASSERT_EQ(v, 5.0);
                for (float v : dstf) ASSERT_EQ(v, 5.0f);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Runnable, FFTPaths, testing::ValuesIn(RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- size query and initialiser ----------------------------------------------------------------

TEST(FFTSpec, SizeQueryChecksInOrder) {
    for (const Kind& k : Kinds()) {
        SCOPED_TRACE(k.name);
        int a = -1, b = -1, c = -1;
        auto* size = k.size[RunnablePaths().back()];
        EXPECT_EQ(size(31, 2, 1, nullptr, nullptr, nullptr), qp::qpStsFftOrderErr);
        EXPECT_EQ(size(31, 3, 1, &a, &b, &c), qp::qpStsFftOrderErr);
        EXPECT_EQ(size(-1, 2, 1, &a, &b, &c), qp::qpStsFftOrderErr);
        EXPECT_EQ(size(5, 2, 1, &a, nullptr, &c), qp::qpStsNullPtrErr);
        EXPECT_EQ(size(30, 2, 1, &a, &b, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(size(30, 3, 1, &a, &b, &c), qp::qpStsFftFlagErr);
        EXPECT_EQ(size(5, 0, 1, &a, &b, &c), qp::qpStsFftFlagErr);
        EXPECT_EQ(size(k.limit + 1, 2, 1, &a, &b, &c), qp::qpStsFftOrderErr);
        EXPECT_EQ(a, -1);
        ASSERT_EQ(size(k.limit, 2, 1, &a, &b, &c), qp::qpStsNoErr);
        EXPECT_GT(a, 0);
        EXPECT_GT(c, 64);
        for (int order = 0; order <= k.limit; ++order) {
            ASSERT_EQ(size(order, 8, 1, &a, &b, &c), qp::qpStsNoErr);
            EXPECT_EQ(b, 0);
            if (order <= 5) {
                EXPECT_EQ(c, 0) << order;  // straight-line kernels need no buffer
            } else if (order >= 7) {
                EXPECT_GT(c, 64) << order;
            }
        }
    }
}

TEST(FFTSpec, InitialiserChecksAndHeader) {
    const int path = RunnablePaths().back();
    for (const Kind& k : Kinds()) {
        SCOPED_TRACE(k.name);
        int specSize = 0, initSize = 0, bufSize = 0;
        ASSERT_EQ(k.size[path](10, 2, 7, &specSize, &initSize, &bufSize), qp::qpStsNoErr);
        std::vector<unsigned char> block(static_cast<std::size_t>(specSize) + 64, 0xEE);
        unsigned char* mem = block.data() + 3;  // an unaligned block: the spec moves to the boundary
        void* spec = reinterpret_cast<void*>(0x1);
        EXPECT_EQ(k.init[path](nullptr, 10, 2, 7, mem, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(k.init[path](&spec, k.limit + 1, 2, 7, mem, nullptr), qp::qpStsFftOrderErr);
        EXPECT_EQ(k.init[path](&spec, 10, 2, 7, nullptr, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(k.init[path](&spec, 10, 5, 7, mem, nullptr), qp::qpStsFftFlagErr);
        EXPECT_EQ(spec, reinterpret_cast<void*>(0x1));
        auto* aligned = reinterpret_cast<unsigned char*>((reinterpret_cast<std::uintptr_t>(mem) + 63) & ~std::uintptr_t{63});
        for (int i = 0; i < qp::fft::kHeaderBytes; ++i) ASSERT_EQ(aligned[i], 0) << "header byte " << i;

        ASSERT_EQ(k.init[path](&spec, 10, 2, 7, mem, nullptr), qp::qpStsNoErr);
        EXPECT_EQ(spec, static_cast<void*>(aligned));
        const std::int32_t* words = static_cast<const std::int32_t*>(spec);
        EXPECT_EQ(words[0], k.tag);
        EXPECT_EQ(words[1], 10);
        EXPECT_EQ(words[2], 0);
        EXPECT_EQ(words[3], 1);
        if (k.isDouble) {
            const auto* h = static_cast<const qp::fft::Header<double>*>(spec);
            EXPECT_EQ(h->scale, 1.0 / 1024);
            EXPECT_EQ(h->hint, 7);
            EXPECT_EQ(h->bufferSize, bufSize);
        } else {
            const auto* h = static_cast<const qp::fft::Header<float>*>(spec);
            EXPECT_EQ(h->scale, 1.0f / 1024);
            EXPECT_EQ(h->hint, 7);
            EXPECT_EQ(h->bufferSize, bufSize);
        }
        // The tables lie inside the block.
        const auto* h = static_cast<const qp::fft::Header<double>*>(spec);
        const auto* tw = reinterpret_cast<const unsigned char*>(k.isDouble ? static_cast<const void*>(h->twiddle)
                                                                           : static_cast<const qp::fft::Header<float>*>(spec)->twiddle);
        EXPECT_GE(tw, mem);
        EXPECT_LT(tw, mem + specSize);
    }
}

// Scale factors of the four flags, seen through an impulse (forward) and a DC bin (inverse).
TEST(FFTSpec, NormalisationFlags) {
    const int path = RunnablePaths().back();
    struct Row {
        int flag;
        double forward, inverse;  // factors for N = 2^order
    };
    for (int order : {0, 3, 5, 8, 12}) {
        const double n = std::ldexp(1.0, order);
        const Row rows[] = {{1, 1 / n, 1}, {2, 1, 1 / n}, {4, 1 / std::sqrt(n), 1 / std::sqrt(n)}, {8, 1, 1}};
        for (const Row& row : rows) {
            for (const Kind& k : Kinds()) {
                SCOPED_TRACE(testing::Message() << k.name << " order " << order << " flag " << row.flag);
                fftt::SpecHolder spec(k, path, order, row.flag);
                ASSERT_EQ(spec.status, qp::qpStsNoErr);
                std::vector<unsigned char> buf(static_cast<std::size_t>(spec.bufSize) + 1);
                const std::int64_t N = std::int64_t{1} << order;
                std::vector<double> in(static_cast<std::size_t>(2 * N + 2), 0.0), out(in.size(), 9.0);
                in[0] = 1;  // impulse (forward) / DC bin (inverse) in every layout
                for (bool inverse : {false, true}) {
                    const double want = inverse ? row.inverse : row.forward;
                    const double tol = k.isDouble ? 1e-15 : 1e-6;
                    if (k.isDouble) {
                        ASSERT_EQ(fftt::Apply<double>(k, path, inverse, in.data(), out.data(), spec.spec, buf.data(), N), qp::qpStsNoErr);
                        const std::int64_t reals = k.shape == Shape::kReal ? (inverse ? N : N + 1) : N;
                        for (std::int64_t i = 0; i < reals; ++i) {
                            const std::int64_t at = k.shape == Shape::kInterleaved ? 2 * i : i;
                            if (k.shape == Shape::kReal && !inverse && (i % 2) == 1) continue;
                            EXPECT_NEAR(out[at], want, tol * want) << i;
                        }
                    } else {
                        std::vector<float> inf(in.begin(), in.end()), outf(out.size(), 9.0f);
                        ASSERT_EQ(fftt::Apply<float>(k, path, inverse, inf.data(), outf.data(), spec.spec, buf.data(), N), qp::qpStsNoErr);
                        const std::int64_t reals = k.shape == Shape::kReal ? (inverse ? N : N + 1) : N;
                        for (std::int64_t i = 0; i < reals; ++i) {
                            const std::int64_t at = k.shape == Shape::kInterleaved ? 2 * i : i;
                            if (k.shape == Shape::kReal && !inverse && (i % 2) == 1) continue;
                            EXPECT_NEAR(outf[at], want, tol * want) << i;
                        }
                    }
                }
            }
        }
    }
}

// --- the packed real layout ---------------------------------------------------------------------

template <typename T>
void RealRun(int order, bool inverse, const std::vector<T>& in, std::vector<T>& out) {
    const Kind& k = Kinds()[sizeof(T) == 8 ? 5 : 2];
    fftt::SpecHolder spec(k, RunnablePaths().back(), order);
    ASSERT_EQ(spec.status, qp::qpStsNoErr);
    std::vector<unsigned char> buf(static_cast<std::size_t>(spec.bufSize) + 1);
    ASSERT_EQ(fftt::Apply<T>(k, RunnablePaths().back(), inverse, in.data(), out.data(), spec.spec, buf.data(), 1 << order),
              qp::qpStsNoErr);
}

template <typename T>
void CheckPackedExamples() {
    const double tol = sizeof(T) == 8 ? 1e-15 : 1e-6;
    // 8-point impulses at p: X[k] = e^(-2 pi i p k / 8) in the 10-value layout.
    for (int p = 0; p < 8; ++p) {
        std::vector<T> x(8, 0), X(12, T(99));
        x[p] = 1;
        RealRun<T>(3, false, x, X);
        for (int k = 0; k <= 4; ++k) {
            const double a = -2 * M_PI * p * k / 8;
            EXPECT_NEAR(X[2 * k], std::cos(a), tol) << p << " " << k;
            EXPECT_NEAR(X[2 * k + 1], (k == 0 || k == 4) ? 0.0 : std::sin(a), tol) << p << " " << k;
        }
        EXPECT_EQ(X[1], T(0));
        EXPECT_EQ(X[9], T(0));
        EXPECT_EQ(X[10], T(99));
        std::vector<T> back(9, T(99));
        RealRun<T>(3, true, X, back);
        for (int n = 0; n < 8; ++n) EXPECT_NEAR(back[n], n == p ? 1.0 : 0.0, tol);
        EXPECT_EQ(back[8], T(99));
    }
    const std::vector<double> step = {4, 0, -1, 2.4142135623730951, 0, 0, -1, 0.41421356237309515, 0, 0};
    std::vector<T> x = {0, 0, 0, 0, 1, 1, 1, 1}, X(10);
    RealRun<T>(3, false, x, X);
    for (int i = 0; i < 10; ++i) EXPECT_NEAR(X[i], step[i], tol) << i;
    // Inverse ignores positions 1 and N + 1.
    std::vector<T> Xg(step.begin(), step.end()), y(8);
    Xg[1] = 123;
    Xg[9] = -456;
    RealRun<T>(3, true, Xg, y);
    for (int i = 0; i < 8; ++i) EXPECT_NEAR(y[i], x[i], tol) << i;
    std::vector<T> shifted = {4, 0, T(-2.4142135623730951), -1, 0, 0, T(0.41421356237309515), 1, 0, 0}, z(8);
    RealRun<T>(3, true, shifted, z);
    const double wantZ[] = {0, 0, 1, 1, 1, 1, 0, 0};
    for (int i = 0; i < 8; ++i) EXPECT_NEAR(z[i], wantZ[i], tol) << i;
    // Order 0 writes exactly two values.
    std::vector<T> one = {T(2.5)}, two = {7, 7, 7};
    RealRun<T>(0, false, one, two);
    EXPECT_EQ(two[0], T(2.5));
    EXPECT_EQ(two[1], T(0));
    EXPECT_EQ(two[2], T(7));
    // Constant and alternating signals at an order of the half-length method.
    std::vector<T> c(64, T(1.5)), alt(64), C(66), A(66);
    for (int i = 0; i < 64; ++i) alt[i] = (i % 2) ? -1 : 1;
    RealRun<T>(6, false, c, C);
    RealRun<T>(6, false, alt, A);
    for (int i = 0; i < 66; ++i) {
        EXPECT_NEAR(C[i], i == 0 ? 96.0 : 0.0, 64 * tol) << i;
        EXPECT_NEAR(A[i], i == 64 ? 64.0 : 0.0, 64 * tol) << i;
    }
    EXPECT_EQ(C[1], T(0));
    EXPECT_EQ(C[65], T(0));
}

TEST(FFTPacked, SinglePrecision) { CheckPackedExamples<float>(); }
TEST(FFTPacked, DoublePrecision) { CheckPackedExamples<double>(); }

// --- larger orders through the dispatch, one transform each ---------------------------------------

void CheckDispatched(int from, int to) {
    qp::InitLibrary();
    const int path = qp::g_codePath;
    for (std::size_t k = 0; k < Kinds().size(); ++k)
        for (int order = from; order <= to; ++order) CheckKind(k, path, order % 2 == 1, order);
}

TEST(FFTDispatched, Orders13To16) { CheckDispatched(13, qptest::Emulated() ? 14 : 16); }
TEST(LargeFFTDispatched, Orders17To20) { CheckDispatched(17, 20); }

}  // namespace
