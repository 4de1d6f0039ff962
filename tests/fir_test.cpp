// The FIR filter: the kernel on every runnable code path against a long double direct-form
// reference, and the exported state functions through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "filter/fir_state.h"
#include "filter_support.h"
#include "quoraccelerate/filter/fir.h"

namespace {

namespace qf = quoraccelerate::filter;
using quoraccelerate::FIRState_Float;
using Floats = std::vector<float>;

constexpr int kTapCounts[] = {1, 2, 3, 7, 8, 15, 16, 17, 31, 64, 65, 256};
// Around every vector width (4, 8, 16 lanes) and the passes of 2, 4 and 12 vectors.
constexpr int kBlockLengths[] = {1,  2,  3,  5,  7,  8,  9,  15,  16,  17,  31,  32,  33,  47,  48,
                                 49, 63, 64, 65, 95, 96, 97, 127, 128, 129, 191, 192, 193, 300};

Floats Random(int n, unsigned seed) { return qptest::Random<float>(n, seed); }

// y[n] = sum_k taps[k] x[n - k] with x[-m] = history[D - m], the bound of a float evaluation's
// rounding error, and the last D inputs afterwards (oldest first).
struct Reference {
    std::vector<double> y, bound;
    Floats history;
};

Reference Direct(const Floats& taps, const Floats& history, const Floats& x) {
    const int K = static_cast<int>(taps.size()), D = K - 1, n = static_cast<int>(x.size());
    Floats ext(history);
    ext.insert(ext.end(), x.begin(), x.end());
    Reference r;
    for (int i = 0; i < n; ++i) {
        long double s = 0, a = 0;
        for (int k = 0; k < K; ++k) {
            s += static_cast<long double>(taps[k]) * ext[D + i - k];
            a += std::fabs(static_cast<long double>(taps[k]) * ext[D + i - k]);
        }
        r.y.push_back(static_cast<double>(s));
        r.bound.push_back(static_cast<double>(a) * (K + 2) * std::ldexp(1.0, -24) + 1e-30);
    }
    r.history.assign(ext.begin() + n, ext.end());
    return r;
}

void ExpectNear(const Reference& r, const float* y, int n) {
    for (int i = 0; i < n; ++i) ASSERT_NEAR(y[i], r.y[i], r.bound[i]) << "i=" << i;
}

// One path's specification and work buffer (in std::vector storage, not at 64-byte boundaries).
struct Kernel {
    Kernel(int path, const Floats& taps) : path(path) {
        int specSize = 0, bufSize = 0;
        const int K = static_cast<int>(taps.size());
        EXPECT_EQ(qptest::fir_sr_get_size_paths[path](K, 13, &specSize, &bufSize), qp::qpStsNoErr);
        spec.resize(static_cast<std::size_t>(specSize));
        buf.resize(static_cast<std::size_t>(bufSize));
        EXPECT_EQ(qptest::fir_sr_init_f32_paths[path](taps.data(), K, 1, spec.data()), qp::qpStsNoErr);
    }
    qp::Status operator()(const float* src, float* dst, int len, const float* dlySrc, float* dlyDst) {
        return qptest::fir_sr_f32_paths[path](src, dst, len, spec.data(), dlySrc, dlyDst, buf.data());
    }
    int path;
    std::vector<unsigned char> spec, buf;
};

class FirPaths : public testing::TestWithParam<int> {};

// Every tap count against every block length, plus blocks longer than a staging chunk and a history
// longer than a chunk: at an odd offset with sentinels around the destination and one delay line
// read and written; then in place (bit for bit the same) with separate delay lines in and out.
// Null delay lines filter from zeros; a specification built on path 0 filters the same here.
TEST_P(FirPaths, MatchesDirectFormWithHistory) {
    std::vector<std::pair<int, int>> shapes = {{65, 5000}, {2100, 2300}};
    if (qptest::Emulated()) shapes.pop_back();
    for (int K : kTapCounts) {
        for (int n : kBlockLengths) shapes.emplace_back(K, n);
    }
    for (const auto& [K, n] : shapes) {
        SCOPED_TRACE(testing::Message() << "taps=" << K << " len=" << n);
        const Floats taps = Random(K, 10u + K), hist = Random(K - 1, 20u + K + n), x = Random(n, 30u + n);
        Kernel fir(GetParam(), taps);
        const Reference r = Direct(taps, hist, x);
        Floats src(x), dst(n + 9, 7.0f), dly(hist);
        src.insert(src.begin(), 0.0f);
        ASSERT_EQ(fir(src.data() + 1, dst.data() + 1, n, dly.data(), dly.data()), qp::qpStsNoErr);
        ExpectNear(r, dst.data() + 1, n);
        EXPECT_EQ(dst[0], 7.0f);
        EXPECT_EQ(Floats(dst.begin() + n + 1, dst.end()), Floats(8, 7.0f)) << "written past the end";
        EXPECT_EQ(dly, r.history);

        Floats io(x), dlyOut(K - 1, 5.0f);
        ASSERT_EQ(fir(io.data(), io.data(), n, hist.data(), dlyOut.data()), qp::qpStsNoErr);
        EXPECT_EQ(io, Floats(dst.begin() + 1, dst.begin() + 1 + n)) << "in place";
        EXPECT_EQ(dlyOut, r.history);
    }

    const Floats taps = Random(17, 5), x = Random(40, 6);
    Kernel mine(GetParam(), taps), base(0, taps);
    base.path = GetParam();  // path 0's specification, this path's filter
    Floats y(40), y0(40);
    ASSERT_EQ(mine(x.data(), y.data(), 40, nullptr, nullptr), qp::qpStsNoErr);
    ExpectNear(Direct(taps, Floats(16, 0.0f), x), y.data(), 40);
    ASSERT_EQ(base(x.data(), y0.data(), 40, nullptr, nullptr), qp::qpStsNoErr);
    EXPECT_EQ(y, y0);
}

// Pointers, then lengths, then the specification's tag; nothing written on refusal.
TEST_P(FirPaths, RefusalsWriteNothing) {
    const int p = GetParam();
    Kernel fir(p, {1, 2, 3});
    float s[4] = {1, 2, 3, 4}, d[4] = {9, 9, 9, 9}, dly[2] = {5, 6};
    unsigned char *spec = fir.spec.data(), *buf = fir.buf.data();
    std::vector<unsigned char> blank(fir.spec.size());
    const std::vector<unsigned char> before = fir.spec;
    const auto kernel = qptest::fir_sr_f32_paths[p];
    qptest::ExpectNullAndSizeRefusals(kernel, s, d, 4, spec, dly, buf, {0, -3});
    EXPECT_EQ(kernel(s, d, 4, blank.data(), dly, dly, buf), qp::qpStsContextMatchErr);
    EXPECT_EQ(Floats(d, d + 4), Floats(4, 9.0f));
    EXPECT_EQ(Floats(dly, dly + 2), (Floats{5, 6}));

    int specSize = -1, bufSize = -1;
    const auto size = qptest::fir_sr_get_size_paths[p];
    EXPECT_EQ(size(0, 13, &specSize, &bufSize), qp::qpStsFIRLenErr);
    EXPECT_EQ(size(3, 12, &specSize, &bufSize), qp::qpStsDataTypeErr);
    EXPECT_EQ(size(3, 13, nullptr, &bufSize), qp::qpStsNullPtrErr);
    EXPECT_EQ(size(3, 13, &specSize, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(size(0x7FFFFFF0, 13, &specSize, &bufSize), qp::qpStsSizeErr);
    EXPECT_EQ(specSize + bufSize, -2);

    const auto init = qptest::fir_sr_init_f32_paths[p];
    EXPECT_EQ(init(nullptr, 3, 1, spec), qp::qpStsNullPtrErr);
    EXPECT_EQ(init(s, 3, 1, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(init(s, 0, 1, spec), qp::qpStsFIRLenErr);
    EXPECT_EQ(init(s, 3, 2, spec), qp::qpStsAlgTypeErr);
    EXPECT_EQ(fir.spec, before);
}

QP_INSTANTIATE_PATHS(FirPaths);

// --- the exported state functions ----------------------------------------------------------------

struct Free {
    void operator()(FIRState_Float* s) const { qf::FIRFree(s); }
};
using State = std::unique_ptr<FIRState_Float, Free>;

State Make(const Floats& taps, const float* dly) {
    FIRState_Float* s = nullptr;
    qf::FIRInit(&s, taps.data(), static_cast<unsigned int>(taps.size()), dly);
    return State(s);
}

Floats DelayLine(const FIRState_Float* s, int D) {
    Floats d(static_cast<std::size_t>(D) + 1, 99.0f);
    qf::FIRGetDlyLine(s, d.data());
    EXPECT_EQ(d[D], 99.0f) << "copied more than tapsLen - 1 values";
    d.pop_back();
    return d;
}

// Zero taps (size query), null taps (specification build), a count read as negative, sizes beyond
// the allocator: the handle stays null. The work-buffer size rule of the designer.
TEST(FirState, InitFailuresAndWorkBufferSize) {
    const float taps[2] = {1, 2};
    const std::pair<const float*, unsigned int> cases[] = {{taps, 0}, {nullptr, 2}, {taps, 0x80000000u}, {taps, 0x7FFFFFF0u}};
    for (const auto& [t, n] : cases) {
        FIRState_Float* s = reinterpret_cast<FIRState_Float*>(std::uintptr_t{0x1234});
        qf::FIRInit(&s, t, n, nullptr);
        EXPECT_EQ(s, nullptr) << n;
    }
    qf::FIRFree(nullptr);
    const std::pair<unsigned int, unsigned int> sizes[] = {{0, 0},    {4, 0},    {5, 80},   {7, 80},
                                                           {31, 272}, {32, 304}, {64, 560}, {0x80000000u, 0}};
    for (const auto& [n, bytes] : sizes) EXPECT_EQ(qf::FIRGetWorkBufferSize(n), bytes) << n;
}

// Blocks of varying size give, bit for bit, the output of one long block (which matches the
// reference) and of in-place filtering; after every block the delay line holds the last inputs,
// oldest first. The single-sample form equals the block form's first output and moves nothing.
// The long block is longer than the kernel's staging chunk (2048 samples), so its tail is filtered
// straight from the source and the delay line taken from there.
TEST(FirState, BlocksCarryTheHistorySingleSamplesDoNot) {
    const int kTotal = 2100;
    const int kSplits[] = {1, 2, 3, 5, 7, 8, 16, 17, 31, 64, 100, 1, 257};
    for (int K : kTapCounts) {
        SCOPED_TRACE(testing::Message() << "taps=" << K);
        const Floats taps = Random(K, 40u + K), hist = Random(K - 1, 50u + K), x = Random(kTotal, 60);
        State whole = Make(taps, hist.data()), split = Make(taps, hist.data()), inPlace = Make(taps, hist.data());
        const float single = qf::FIR(whole.get(), x[0]);
        EXPECT_EQ(qf::FIR(whole.get(), x[0]), single);
        EXPECT_EQ(DelayLine(whole.get(), K - 1), hist);

        Floats y(kTotal), ys(kTotal), io(x);
        qf::FIR(whole.get(), kTotal, x.data(), y.data());
        const Reference r = Direct(taps, hist, x);
        ExpectNear(r, y.data(), kTotal);
        EXPECT_EQ(y[0], single);
        EXPECT_EQ(DelayLine(whole.get(), K - 1), r.history);
        qf::FIR(inPlace.get(), kTotal, io.data(), io.data());
        EXPECT_EQ(io, y);

        Floats seen(hist);
        for (int i = 0, at = 0; at < kTotal; ++i) {
            const int n = std::min(kSplits[i % 13], kTotal - at);
            qf::FIR(split.get(), n, x.data() + at, ys.data() + at);
            seen.insert(seen.end(), x.begin() + at, x.begin() + at + n);
            at += n;
            ASSERT_EQ(DelayLine(split.get(), K - 1), Floats(seen.end() - (K - 1), seen.end()));
        }
        EXPECT_EQ(ys, y);
    }
}

// taps[k] meets dlyLine[D - k]; replacing the taps keeps the delay line; null taps are refused, a
// null delay line clears it; refused blocks write nothing.
TEST(FirState, TapsAndDelayLineCanBeReplaced) {
    const Floats hist = {0.5f, -1, 2}, reversed = {4, 3, 2, 1};
    State s = Make({1, 2, 3, 4}, nullptr);
    EXPECT_EQ(DelayLine(s.get(), 3), Floats(3, 0.0f));
    EXPECT_EQ(qf::FIR(s.get(), 3.0f), 3.0f);
    qf::FIRSetDlyLine(s.get(), hist.data());
    EXPECT_EQ(DelayLine(s.get(), 3), hist);
    EXPECT_EQ(qf::FIR(s.get(), 1.0f), 1 + 4 - 3 + 2.0f);
    qf::FIRSetTaps(s.get(), reversed.data());
    EXPECT_EQ(DelayLine(s.get(), 3), hist);
    EXPECT_EQ(qf::FIR(s.get(), 1.0f), 4 + 6 - 2 + 0.5f);
    qf::FIRSetTaps(s.get(), nullptr);
    EXPECT_EQ(qf::FIR(s.get(), 1.0f), 4 + 6 - 2 + 0.5f);
    qf::FIRSetDlyLine(s.get(), nullptr);
    EXPECT_EQ(DelayLine(s.get(), 3), Floats(3, 0.0f));
    float dst[2] = {9, 9};
    const float src[2] = {1, 1};
    qf::FIR(s.get(), 0, src, dst);
    qf::FIR(s.get(), 2, nullptr, dst);
    EXPECT_EQ(Floats(dst, dst + 2), Floats(2, 9.0f));
}

}  // namespace
