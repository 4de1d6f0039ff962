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
    std::vector<double> in;
    std::vector<long double> want;
};

// References are computed once per kind, direction and order and shared by every path.
const Case& CaseFor(std::size_t kind, bool inverse, int order) {
    static std::map<std::tuple<std::size_t, bool, int>, Case> cache;
    auto [it, added] = cache.try_emplace(std::make_tuple(kind, inverse, order));
    if (added) {
        const Kind& k = Kinds()[kind];
        it->second.in = fftt::RandomInput(k, inverse, order, 1000u + 17u * static_cast<unsigned>(kind) + 3u * order + inverse);
        it->second.want = fftt::ExactOutput(k, inverse, it->second.in, order);
    }
    return it->second;
}

// One transform out of place (with guards and odd offsets) and once in place; the in-place result
// must equal the out-of-place one bit for bit. A real forward writes exact zeros at positions 1 and
// N + 1. With kNormForward the forward result is compared against the reference divided by N (exact).
void CheckKind(std::size_t kindIndex, int path, bool inverse, int order, int hint = 1,
               int flag = qp::fft::kNormInverse) {
    const Kind& k = Kinds()[kindIndex];
    SCOPED_TRACE(testing::Message() << k.name << " path " << qptest::PathName(path) << " order " << order
                                    << (inverse ? " inverse" : " forward") << " flag " << flag);
    const std::int64_t n = std::int64_t{1} << order;
    Case c = CaseFor(kindIndex, inverse, order);
    if (flag == qp::fft::kNormForward && !inverse)
        for (long double& v : c.want) v /= static_cast<long double>(n);
    fftt::SpecHolder spec(k, path, order, flag, hint);
    ASSERT_EQ(spec.status, qp::qpStsNoErr);
    unsigned char* buf = spec.bufSize > 0 ? spec.buffer.data() + (order % 7) : nullptr;
    fftt::WithType(k, [&](auto zero) {
        using T = decltype(zero);
        const std::int64_t inCount = fftt::InCount(k, inverse, n), outCount = fftt::OutCount(k, inverse, n);
        fftt::Guarded<T> src(inCount, order % 5), dst(outCount, (order + 2) % 3);
        for (std::int64_t i = 0; i < inCount; ++i) src.data[i] = static_cast<T>(c.in[i]);
        ASSERT_EQ(fftt::Apply<T>(k, path, inverse, src.data, dst.data, spec.spec, buf, n), qp::qpStsNoErr);
        const fftt::Error e = fftt::Compare(dst.data, c.want);
        EXPECT_LE(e.rms, fftt::RmsTolerance(k, order));
        EXPECT_LE(e.max, fftt::MaxTolerance(k, order));
        EXPECT_TRUE(dst.TailIntact());
        for (std::int64_t i = 0; i < inCount; ++i) ASSERT_EQ(src.data[i], static_cast<T>(c.in[i])) << "source changed at " << i;
        if (k.shape == Shape::kReal && !inverse) {
            EXPECT_EQ(dst.data[1], T(0));
            EXPECT_EQ(dst.data[n > 1 ? n + 1 : 1], T(0));
        }

        // In place: the real forward needs N + 2 values of room.
        fftt::Guarded<T> io(std::max(inCount, outCount), 1);
        for (std::int64_t i = 0; i < inCount; ++i) io.data[i] = static_cast<T>(c.in[i]);
        ASSERT_EQ(fftt::Apply<T>(k, path, inverse, io.data, io.data, spec.spec, buf, n), qp::qpStsNoErr);
        EXPECT_EQ(std::memcmp(io.data, dst.data, static_cast<std::size_t>(outCount) * sizeof(T)), 0);
        EXPECT_TRUE(io.TailIntact());
    });
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
    for (int order : {14, 15})
        for (int flag : {qp::fft::kNormInverse, qp::fft::kNormForward}) CheckKind(5, GetParam(), false, order, 1, flag);
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

// Checks of forward and inverse in their order (spec, kind, data, buffer), nothing written on
// refusal; a null buffer is accepted exactly when the spec needs none (order 3: none, 12: some).
TEST_P(FFTPaths, RefusalsWriteNothing) {
    const int path = GetParam();
    for (std::size_t ki = 0; ki < Kinds().size(); ++ki) {
        const Kind& k = Kinds()[ki];
        const Kind& other = Kinds()[(ki + 1) % Kinds().size()];
        for (int order : {3, 12})
            for (bool inverse : {false, true}) fftt::WithType(k, [&](auto zero) {
                using T = decltype(zero);
                SCOPED_TRACE(testing::Message() << k.name << " order " << order << (inverse ? " inverse" : " forward"));
                fftt::SpecHolder spec(k, path, order), wrong(other, path, order);
                ASSERT_EQ(spec.status, qp::qpStsNoErr);
                unsigned char* buf = spec.buffer.data();
                const std::int64_t n = std::int64_t{1} << order;
                std::vector<T> in(static_cast<std::size_t>(2 * n + 2), T(1)), out(in.size(), T(5));
                T *s = in.data(), *d = out.data();
                auto run = [&](const T* src, T* dst, const void* sp, unsigned char* b) {
                    return fftt::Apply<T>(k, path, inverse, src, dst, sp, b, n);
                };
                EXPECT_EQ(run(s, d, nullptr, buf), qp::qpStsNullPtrErr);
                EXPECT_EQ(run(nullptr, nullptr, nullptr, nullptr), qp::qpStsNullPtrErr);  // spec first
                EXPECT_EQ(run(s, d, wrong.spec, buf), qp::qpStsContextMatchErr);
                EXPECT_EQ(run(nullptr, d, wrong.spec, buf), qp::qpStsContextMatchErr);  // kind before data
                EXPECT_EQ(run(nullptr, d, spec.spec, buf), qp::qpStsNullPtrErr);
                EXPECT_EQ(run(s, nullptr, spec.spec, buf), qp::qpStsNullPtrErr);
                if (k.shape == Shape::kSplit) {  // a null in any one of the four arrays
                    using F = qp::Status (*)(const T*, const T*, T*, T*, const void*, unsigned char*);
                    auto f = reinterpret_cast<F>(const_cast<void*>(inverse ? k.inv[path] : k.fwd[path]));
                    EXPECT_EQ(f(nullptr, s + n, d, d + n, spec.spec, buf), qp::qpStsNullPtrErr);
                    EXPECT_EQ(f(s, nullptr, d, d + n, spec.spec, buf), qp::qpStsNullPtrErr);
                    EXPECT_EQ(f(s, s + n, nullptr, d + n, spec.spec, buf), qp::qpStsNullPtrErr);
                    EXPECT_EQ(f(s, s + n, d, nullptr, spec.spec, buf), qp::qpStsNullPtrErr);
                }
                auto untouched = [&] { return std::all_of(out.begin(), out.end(), [](T v) { return v == T(5); }); };
                EXPECT_TRUE(untouched());
                EXPECT_EQ(run(s, d, spec.spec, nullptr), spec.bufSize > 0 ? qp::qpStsNullPtrErr : qp::qpStsNoErr);
                EXPECT_TRUE(spec.bufSize == 0 || untouched());
            });
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
            EXPECT_TRUE(order <= 5 ? c == 0 : order < 7 || c > 64) << order;  // no buffer below order 6
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
        unsigned char* aligned = fftt::AlignUp64(mem);
        for (int i = 0; i < qp::fft::kHeaderBytes; ++i) ASSERT_EQ(aligned[i], 0) << "header byte " << i;

        ASSERT_EQ(k.init[path](&spec, 10, 2, 7, mem, nullptr), qp::qpStsNoErr);
        EXPECT_EQ(spec, static_cast<void*>(aligned));
        fftt::WithType(k, [&](auto zero) {
            const auto* h = static_cast<const qp::fft::Header<decltype(zero)>*>(spec);
            EXPECT_EQ(h->tag, k.tag);
            EXPECT_EQ(h->order, 10);
            EXPECT_EQ(h->forwardScaled, 0);
            EXPECT_EQ(h->inverseScaled, 1);
            EXPECT_EQ(h->scale, decltype(zero)(1) / 1024);
            EXPECT_EQ(h->hint, 7);
            EXPECT_EQ(h->bufferSize, bufSize);
            // The tables lie inside the block.
            EXPECT_GE(static_cast<const void*>(h->twiddle), static_cast<const void*>(mem));
            EXPECT_LT(static_cast<const void*>(h->twiddle), static_cast<const void*>(mem + specSize));
        });
    }
}

// Scale factors of the four flags, seen through an impulse (forward) and a DC bin (inverse): every
// real part of the result (the real forward: bins 0 .. N / 2 at the even positions).
TEST(FFTSpec, NormalisationFlags) {
    const int path = RunnablePaths().back();
    struct Row {
        int flag;
        double forward, inverse;  // factors for N = 2^order
    };
    for (int order : {0, 3, 5, 8, 12}) {
        const std::int64_t n = std::int64_t{1} << order;
        const double r = 1 / std::sqrt(static_cast<double>(n)), inv = 1 / static_cast<double>(n);
        for (const Row& row : {Row{1, inv, 1}, Row{2, 1, inv}, Row{4, r, r}, Row{8, 1, 1}})
            for (const Kind& k : Kinds()) fftt::WithType(k, [&](auto zero) {
                using T = decltype(zero);
                SCOPED_TRACE(testing::Message() << k.name << " order " << order << " flag " << row.flag);
                fftt::SpecHolder spec(k, path, order, row.flag);
                ASSERT_EQ(spec.status, qp::qpStsNoErr);
                std::vector<T> in(static_cast<std::size_t>(2 * n + 2), T(0)), out(in.size(), T(9));
                in[0] = 1;  // impulse (forward) / DC bin (inverse) in every layout
                for (bool inverse : {false, true}) {
                    ASSERT_EQ(fftt::Apply<T>(k, path, inverse, in.data(), out.data(), spec.spec, spec.buffer.data(), n), qp::qpStsNoErr);
                    const bool packed = k.shape == Shape::kReal && !inverse;
                    const std::int64_t count = packed ? n / 2 + 1 : n, step = (packed || k.shape == Shape::kInterleaved) ? 2 : 1;
                    const double want = inverse ? row.inverse : row.forward, tol = k.isDouble ? 1e-15 : 1e-6;
                    for (std::int64_t i = 0; i < count; ++i) EXPECT_NEAR(out[i * step], want, tol * want) << i;
                }
            });
    }
}

// --- the packed real layout ---------------------------------------------------------------------

// An impulse at p transforms to X[k] = e^(-2 pi i p k / N), k = 0 .. N / 2 (imaginary parts of bins
// 0 and N / 2 zero), and back: at an order of the straight-line real kernels and one of the
// half-length method.
TEST(FFTPacked, ImpulsesAndBack) {
    const int path = RunnablePaths().back();
    for (const Kind& k : Kinds()) {
        if (k.shape != Shape::kReal) continue;
        for (int order : {3, 6}) fftt::WithType(k, [&](auto zero) {
            using T = decltype(zero);
            SCOPED_TRACE(testing::Message() << k.name << " order " << order);
            const int n = 1 << order;
            const double tol = k.isDouble ? 1e-15 : 1e-6;
            fftt::SpecHolder spec(k, path, order);
            ASSERT_EQ(spec.status, qp::qpStsNoErr);
            for (int p = 0; p < n; ++p) {
                std::vector<T> x(n, T(0)), X(n + 2), back(n);
                x[p] = 1;
                ASSERT_EQ(fftt::Apply<T>(k, path, false, x.data(), X.data(), spec.spec, spec.buffer.data(), n), qp::qpStsNoErr);
                ASSERT_EQ(fftt::Apply<T>(k, path, true, X.data(), back.data(), spec.spec, spec.buffer.data(), n), qp::qpStsNoErr);
                for (int b = 0; b <= n / 2; ++b) {
                    const double a = -2 * M_PI * ((p * b) % n) / n;
                    EXPECT_NEAR(X[2 * b], std::cos(a), tol) << p << " " << b;
                    EXPECT_NEAR(X[2 * b + 1], (b == 0 || b == n / 2) ? 0.0 : std::sin(a), tol) << p << " " << b;
                }
                for (int i = 0; i < n; ++i) EXPECT_NEAR(back[i], i == p ? 1.0 : 0.0, tol) << p << " " << i;
            }
        });
    }
}

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
