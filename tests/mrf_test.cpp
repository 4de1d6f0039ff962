// Multi-rate FIR filter: the kernels on every runnable code path against a plain up-sample, filter,
// down-sample reference, and the exported functions through dispatch.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "paths.h"
#include "quoraccelerate/filter.h"

namespace {

using qptest::RunnablePaths;
using LD = long double;

template <typename T>
std::vector<T> Random(int n, unsigned seed) {
    std::mt19937 gen(seed);
    std::uniform_real_distribution<double> dist(-1, 1);
    std::vector<T> v(n);
    for (T& x : v) x = static_cast<T>(dist(gen));
    return v;
}

int History(int taps, int up) { return (taps + up - 1) / up; }

// Every output of the up-sampled, filtered signal, then the survivors: input k (k < 0 from the
// history, oldest first) sits at up-sampled time k * up; output j is the filter at time
// downPhase - upPhase + j * down.
template <typename T>
std::vector<LD> Reference(const std::vector<T>& taps, int up, int down, int upPhase, int downPhase,
                          const std::vector<T>& history, const std::vector<T>& x, int iters) {
    const int h = static_cast<int>(history.size());
    const int first = -h * up;  // up-sampled time of the oldest history input
    const int last = static_cast<int>(x.size()) * up;
    std::vector<LD> u(last - first, 0);
    for (int k = -h; k < static_cast<int>(x.size()); ++k) {
        u[k * up - first] = k < 0 ? history[h + k] : x[k];
    }
    std::vector<LD> z(last - first, 0);
    for (int t = first; t < last; ++t) {
        LD acc = 0;
        for (int k = 0; k < static_cast<int>(taps.size()) && t - k >= first; ++k) acc += taps[k] * u[t - k - first];
        z[t - first] = acc;
    }
    std::vector<LD> out;
    for (int j = 0; j < iters * up; ++j) out.push_back(z[downPhase - upPhase + j * down - first]);
    return out;
}

// Taps and signals lie in [-1, 1]: dot products of up to 50 terms.
template <typename T>
constexpr double kTol = sizeof(T) == 4 ? 2e-5 : 1e-13;

template <typename T>
void ExpectClose(const T* got, const std::vector<LD>& want) {
    for (std::size_t i = 0; i < want.size(); ++i) {
        const double w = static_cast<double>(want[i]);
        ASSERT_NEAR(static_cast<double>(got[i]), w, kTol<T> * (1 + std::fabs(w))) << "output " << i;
    }
}

// A specification and work buffer of one code path, placed off any 64-byte boundary.
template <typename T>
struct PrimFilter {
    PrimFilter(int path, const std::vector<T>& taps, int up, int upPhase, int down, int downPhase) : path(path) {
        int specSize = 0, bufSize = 0;
        const int n = static_cast<int>(taps.size());
        EXPECT_EQ(QP_TYPED(mrf_size, path)(n, up, down, &specSize, &bufSize), qp::qpStsNoErr);
        spec.assign(static_cast<std::size_t>(specSize) + 4, 0);
        buf.assign(static_cast<std::size_t>(bufSize) + 8, 0xEE);
        const auto init = QP_TYPED(mrf_init, path);
        EXPECT_EQ(init(taps.data(), n, up, upPhase, down, downPhase, spec.data() + 4), qp::qpStsNoErr);
    }
    qp::Status Run(const T* src, T* dst, int iters, const T* dlySrc, T* dlyDst) {
        return QP_TYPED(mrf, path)(src, dst, iters, spec.data() + 4, dlySrc, dlyDst, buf.data() + 8);
    }
    int path;
    std::vector<unsigned char> spec, buf;
};

struct Factors {
    int up, down;
};
constexpr Factors kFactors[] = {{1, 1}, {2, 1}, {1, 2}, {3, 2}, {2, 3}, {4, 1}, {1, 4}};
constexpr int kTapCounts[] = {1, 5, 7, 13, 48, 50};

class MRFPaths : public testing::TestWithParam<int> {};

// Every factor pair, every phase pair, tap counts that are not multiples of the factors, zero and
// given histories: outputs against the reference, exact output count, history moved on.
template <typename T>
void CheckAllShapes(int path) {
    for (const Factors& f : kFactors) {
        for (int taps : kTapCounts) {
            // Emulated processors run a third of the tap counts.
            if (qptest::Emulated() && taps != 7 && taps != 48) continue;
            const std::vector<T> h = Random<T>(taps, 7u + taps);
            const int hist = History(taps, f.up);
            for (int upPhase = 0; upPhase < f.up; ++upPhase) {
                for (int downPhase = 0; downPhase < f.down; ++downPhase) {
                    PrimFilter<T> flt(path, h, f.up, upPhase, f.down, downPhase);
                    for (int iters : {1, 3, 37}) {
                        SCOPED_TRACE(testing::Message() << "up=" << f.up << " down=" << f.down << " taps=" << taps
                                                        << " phases=" << upPhase << "," << downPhase
                                                        << " iters=" << iters);
                        const std::vector<T> x = Random<T>(iters * f.down, 3u + iters);
                        const std::vector<T> given = Random<T>(hist, 5u + hist);
                        for (bool withHistory : {false, true}) {
                            const std::vector<T> start = withHistory ? given : std::vector<T>(hist, T(0));
                            std::vector<T> out(iters * f.up + 3, T(-9)), dly = start;
                            ASSERT_EQ(flt.Run(x.data(), out.data(), iters, withHistory ? dly.data() : nullptr,
                                              dly.data()),
                                      qp::qpStsNoErr);
                            ExpectClose(out.data(), Reference(h, f.up, f.down, upPhase, downPhase, start, x, iters));
                            for (int i = iters * f.up; i < iters * f.up + 3; ++i) ASSERT_EQ(out[i], T(-9));
                            // The newest `hist` inputs, oldest first, older ones from the history.
                            std::vector<T> all = start;
                            all.insert(all.end(), x.begin(), x.end());
                            EXPECT_EQ(dly, std::vector<T>(all.end() - hist, all.end()));
                        }
                    }
                }
            }
        }
    }
}

TEST_P(MRFPaths, MatchesUpsampleFilterDownsample) {
    CheckAllShapes<float>(GetParam());
    CheckAllShapes<double>(GetParam());
}

// Calls longer than the kernel's internal pass, and a history carried through blocks of varying
// size: the same bits as one call.
template <typename T>
void CheckLongAndBlocked(int path) {
    for (const Factors& f : kFactors) {
        SCOPED_TRACE(testing::Message() << "up=" << f.up << " down=" << f.down);
        const std::vector<T> h = Random<T>(48, 1);
        const int hist = History(48, f.up);
        const int blocks[] = {1, 700, 3, 1200, 5};
        int iters = 0;
        for (int b : blocks) iters += qptest::Emulated() ? b / 4 + 1 : b;
        const std::vector<T> x = Random<T>(iters * f.down, 2);
        PrimFilter<T> flt(path, h, f.up, f.up - 1, f.down, 0);
        std::vector<T> one(iters * f.up), pieces(iters * f.up), d1(hist, T(0)), d2(hist, T(0));
        ASSERT_EQ(flt.Run(x.data(), one.data(), iters, d1.data(), d1.data()), qp::qpStsNoErr);
        ExpectClose(one.data(), Reference(h, f.up, f.down, f.up - 1, 0, std::vector<T>(hist, T(0)), x, iters));
        int at = 0;
        for (int b : blocks) {
            const int n = qptest::Emulated() ? b / 4 + 1 : b;
            ASSERT_EQ(flt.Run(x.data() + at * f.down, pieces.data() + at * f.up, n, d2.data(), d2.data()),
                      qp::qpStsNoErr);
            at += n;
        }
        EXPECT_EQ(std::memcmp(one.data(), pieces.data(), one.size() * sizeof(T)), 0);
        EXPECT_EQ(d1, d2);
    }
}

TEST_P(MRFPaths, LongCallsAndBlocksCarryHistory) {
    CheckLongAndBlocked<float>(GetParam());
    CheckLongAndBlocked<double>(GetParam());
}

// A non-finite input reaches only the outputs whose taps meet it.
TEST_P(MRFPaths, InputsOutsideABranchDoNotLeakIn) {
    const int path = GetParam();
    const std::vector<float> h = Random<float>(7, 9);  // up 2: branches of 4 and 3 taps
    PrimFilter<float> flt(path, h, 2, 0, 1, 0);
    std::vector<float> x(40, 0.5f), out(80);
    x[10] = INFINITY;
    ASSERT_EQ(flt.Run(x.data(), out.data(), 40, nullptr, nullptr), qp::qpStsNoErr);
    // Output j uses branch j % 2 ending at input j / 2: branch 0 reaches inputs 10..13 (outputs
    // 20, 22, 24, 26), branch 1 inputs 10..12 (outputs 21, 23, 25).
    for (int j = 0; j < 80; ++j) {
        const bool reached = (j % 2 == 0) ? (j / 2 >= 10 && j / 2 <= 13) : (j / 2 >= 10 && j / 2 <= 12);
        EXPECT_EQ(std::isfinite(out[j]), !reached) << j;
    }
}

template <typename T>
void CheckRefusals(int path) {
    const auto size = QP_TYPED(mrf_size, path);
    const auto init = QP_TYPED(mrf_init, path);
    int s1 = -1, s2 = -1;
    struct SizeCase {
        int taps, up, down;
        int* a;
        int* b;
        qp::Status want;
    } const sizeCases[] = {
        {0, 1, 1, &s1, &s2, qp::qpStsFIRLenErr},   {-5, 0, 1, &s1, &s2, qp::qpStsFIRLenErr},
        {4, 0, 1, &s1, &s2, qp::qpStsFIRMRFactorErr}, {4, 2, -1, &s1, &s2, qp::qpStsFIRMRFactorErr},
        {4, 2, 1, nullptr, &s2, qp::qpStsNullPtrErr}, {4, 2, 1, &s1, nullptr, qp::qpStsNullPtrErr},
    };
    for (const SizeCase& c : sizeCases) EXPECT_EQ(size(c.taps, c.up, c.down, c.a, c.b), c.want);
    EXPECT_EQ(s1, -1);
    EXPECT_EQ(s2, -1);

    const std::vector<T> taps = Random<T>(9, 1);
    std::vector<unsigned char> spec(4096, 0x3C);
    struct InitCase {
        const T* taps;
        int len, up, upPhase, down, downPhase;
        unsigned char* spec;
        qp::Status want;
    } const initCases[] = {
        {taps.data(), 0, -1, 5, 1, 0, spec.data(), qp::qpStsFIRLenErr},       // length first
        {taps.data(), 9, -1, 0, 1, 0, spec.data(), qp::qpStsFIRMRFactorErr},   // then a negative factor
        {taps.data(), 9, 2, 0, -3, 0, spec.data(), qp::qpStsFIRMRFactorErr},
        {taps.data(), 9, 0, 0, 1, 0, spec.data(), qp::qpStsFIRMRPhaseErr},     // a zero factor fails its phase
        {taps.data(), 9, 2, 2, 1, 0, spec.data(), qp::qpStsFIRMRPhaseErr},
        {taps.data(), 9, 2, -1, 1, 0, spec.data(), qp::qpStsFIRMRPhaseErr},
        {taps.data(), 9, 2, 1, 3, 3, spec.data(), qp::qpStsFIRMRPhaseErr},
        {nullptr, 9, 2, 1, 3, 5, spec.data(), qp::qpStsFIRMRPhaseErr},         // phases before pointers
        {nullptr, 9, 2, 1, 3, 2, spec.data(), qp::qpStsNullPtrErr},
        {taps.data(), 9, 2, 1, 3, 2, nullptr, qp::qpStsNullPtrErr},
    };
    for (const InitCase& c : initCases) {
        EXPECT_EQ(init(c.taps, c.len, c.up, c.upPhase, c.down, c.downPhase, c.spec), c.want);
    }
    for (unsigned char b : spec) ASSERT_EQ(b, 0x3C);

    PrimFilter<T> flt(path, taps, 2, 1, 3, 2);
    std::vector<unsigned char> buf(4096);
    const T x[6] = {1, 2, 3, 4, 5, 6};
    T dst[4] = {7, 7, 7, 7}, dly[5] = {1, 2, 3, 4, 5};
    const auto filter = QP_TYPED(mrf, path);
    const unsigned char* sp = flt.spec.data() + 4;
    EXPECT_EQ(filter(nullptr, dst, 2, sp, dly, dly, buf.data()), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(x, nullptr, 2, sp, dly, dly, buf.data()), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(x, dst, 2, nullptr, dly, dly, buf.data()), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(x, dst, 2, sp, dly, dly, nullptr), qp::qpStsNullPtrErr);
    EXPECT_EQ(filter(x, dst, 0, sp, dly, dly, buf.data()), qp::qpStsSizeErr);
    EXPECT_EQ(filter(x, dst, -2, sp, dly, dly, buf.data()), qp::qpStsSizeErr);
    EXPECT_EQ(filter(x, dst, 0x7FFFFFFF, sp, dly, dly, buf.data()), qp::qpStsSizeErr);  // 3x the inputs
    for (T v : dst) EXPECT_EQ(v, T(7));
    for (int i = 0; i < 5; ++i) EXPECT_EQ(dly[i], T(i + 1));
}

TEST_P(MRFPaths, RefusalsWriteNothing) {
    CheckRefusals<float>(GetParam());
    CheckRefusals<double>(GetParam());
}

INSTANTIATE_TEST_SUITE_P(Runnable, MRFPaths, testing::ValuesIn(RunnablePaths()),
                         [](const testing::TestParamInfo<int>& info) { return "path" + qptest::PathName(info.param); });

// --- exported functions ---------------------------------------------------------------------------

namespace qf = quoraccelerate::filter;
template <typename T>
using DelayVector = std::vector<T, quorcore::utility::STLAllocator<T>>;

template <typename T>
struct RecordOf;
template <>
struct RecordOf<float> {
    using type = quoraccelerate::MRFState_Float;
};
template <>
struct RecordOf<double> {
    using type = quoraccelerate::MRFState_Double;
};

// A delay line carries the history from call to call (the same bits as one call); without one,
// every call starts afresh.
template <typename T>
void CheckExportHistory() {
    using R = typename RecordOf<T>::type;
    const std::vector<T> taps = Random<T>(50, 4);
    const int up = 3, down = 2, hist = History(50, up);
    const std::vector<T> values = Random<T>(hist + 2, 6);  // longer than needed: the first hist are used
    const DelayVector<T> given(values.begin(), values.end());
    R *carried = nullptr, *fresh = nullptr;
    qf::MRFInit(&carried, 3u, 2u, taps.data(), 50u, given, 1u, 1u);
    qf::MRFInit(&fresh, 3u, 2u, taps.data(), 50u, DelayVector<T>(), 1u, 1u);
    ASSERT_NE(carried, nullptr);
    ASSERT_NE(fresh, nullptr);

    const std::vector<T> x = Random<T>(2 * 100, 8);
    std::vector<T> a(300), b(300);
    qf::MRFProcess(x.data(), a.data(), 40u, carried);
    qf::MRFProcess(x.data() + 80, a.data() + 120, 60u, carried);
    std::vector<T> start(given.begin(), given.begin() + hist);
    ExpectClose(a.data(), Reference(taps, up, down, 1, 1, start, x, 100));

    qf::MRFProcess(x.data(), a.data(), 100u, fresh);
    qf::MRFProcess(x.data(), b.data(), 100u, fresh);
    EXPECT_EQ(a, b);
    ExpectClose(a.data(), Reference(taps, up, down, 1, 1, std::vector<T>(hist, T(0)), x, 100));
    qf::MRFFree(carried);
    qf::MRFFree(fresh);
}

TEST(MRFExports, HistoryIsCarriedOnlyWithADelayLine) {
    CheckExportHistory<float>();
    CheckExportHistory<double>();
}

// Up 1, down 1 from a zero history is the single-rate FIR; every D-th of its outputs is the
// decimator's, starting where downPhase says.
TEST(MRFExports, SingleRateAndDecimationAgreeWithTheDirectFir) {
    const std::vector<float> taps = Random<float>(31, 2), x = Random<float>(400, 3);
    std::vector<LD> fir(400, 0);
    for (int n = 0; n < 400; ++n)
        for (int k = 0; k < 31 && k <= n; ++k) fir[n] += static_cast<LD>(taps[k]) * x[n - k];
    for (unsigned int down : {1u, 4u}) {
        for (unsigned int phase = 0; phase < down; ++phase) {
            quoraccelerate::MRFState_Float* s = nullptr;
            qf::MRFInit(&s, 1u, down, taps.data(), 31u, DelayVector<float>(31, 0.0f), 0u, phase);
            ASSERT_NE(s, nullptr);
            std::vector<float> y(400 / down + 1, -3.0f);
            qf::MRFProcess(x.data(), y.data(), 400u / down, s);
            std::vector<LD> want;
            for (unsigned int j = 0; j < 400 / down; ++j) want.push_back(fir[j * down + phase]);
            ExpectClose(y.data(), want);
            EXPECT_EQ(y.back(), -3.0f);
            qf::MRFFree(s);
        }
    }
}

template <typename T>
void CheckExportFailures() {
    using R = typename RecordOf<T>::type;
    R* const kUntouched = reinterpret_cast<R*>(0x777);
    const std::vector<T> taps = Random<T>(12, 1);
    const DelayVector<T> none, shortLine(3, T(0)), enough(4, T(0));
    R* s = kUntouched;
    qf::MRFInit(&s, 0u, 1u, taps.data(), 12u, none, 0u, 0u);       // factor 0
    qf::MRFInit(&s, 3u, 0u, taps.data(), 12u, none, 0u, 0u);
    qf::MRFInit(&s, 3u, 2u, taps.data(), 12u, none, 3u, 0u);       // phase equal to its factor
    qf::MRFInit(&s, 3u, 2u, taps.data(), 12u, none, 0u, 2u);
    qf::MRFInit(&s, 3u, 2u, taps.data(), 0u, none, 0u, 0u);        // no taps
    qf::MRFInit(&s, 3u, 2u, static_cast<const T*>(nullptr), 12u, none, 0u, 0u);
    qf::MRFInit(&s, 0x80000000u, 2u, taps.data(), 12u, none, 0u, 0u);
    qf::MRFInit(&s, 3u, 2u, taps.data(), 12u, shortLine, 0u, 0u);  // fewer than ceil(12 / 3) values
    EXPECT_EQ(s, kUntouched);
    qf::MRFInit(&s, 3u, 2u, taps.data(), 12u, enough, 0u, 0u);
    ASSERT_NE(s, kUntouched);
    T out[3] = {5, 5, 5};
    qf::MRFProcess(taps.data(), out, 0u, s);
    qf::MRFProcess(static_cast<const T*>(nullptr), out, 1u, s);
    EXPECT_EQ(out[0], T(5));
    qf::MRFFree(s);
    qf::MRFFree(static_cast<R*>(nullptr));
}

TEST(MRFExports, FailuresLeaveTheHandleAlone) {
    CheckExportFailures<float>();
    CheckExportFailures<double>();
}

}  // namespace
