// Multi-rate FIR filter: the kernels on every runnable code path against a plain up-sample, filter,
// down-sample reference, and the exported functions through dispatch.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <type_traits>
#include <vector>

#include "filter_support.h"
#include "quoraccelerate/filter.h"

namespace {

using LD = long double;
using qptest::ForEachType;
using qptest::Random;

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
    std::vector<LD> u(last - first, 0), z(last - first, 0), out;
    for (int k = -h; k < static_cast<int>(x.size()); ++k) u[k * up - first] = k < 0 ? history[h + k] : x[k];
    for (int t = first; t < last; ++t) {
        for (int k = 0; k < static_cast<int>(taps.size()) && t - k >= first; ++k) z[t - first] += taps[k] * u[t - k - first];
    }
    for (int j = 0; j < iters * up; ++j) out.push_back(z[downPhase - upPhase + j * down - first]);
    return out;
}

// Taps and signals lie in [-1, 1]: dot products of up to 50 terms.
template <typename T>
void ExpectClose(const T* got, const std::vector<LD>& want) {
    const double tol = sizeof(T) == 4 ? 2e-5 : 1e-13;
    for (std::size_t i = 0; i < want.size(); ++i) {
        const double w = static_cast<double>(want[i]);
        ASSERT_NEAR(static_cast<double>(got[i]), w, tol * (1 + std::fabs(w))) << "output " << i;
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
        EXPECT_EQ(QP_TYPED(mrf_init, path)(taps.data(), n, up, upPhase, down, downPhase, spec.data() + 4), qp::qpStsNoErr);
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

class MRFPaths : public testing::TestWithParam<int> {};

// Every factor pair, every phase pair, tap counts that are not multiples of the factors, from zeros
// (a null delay line in) or from a given history: blocks of 1, 3 and 37 iterations (and, with 48
// taps, one longer than the kernel's pass of 2048 inputs) carry the delay line and together match
// the reference; exact output counts; the delay line ends holding the newest inputs.
TEST_P(MRFPaths, MatchesUpsampleFilterDownsampleAcrossBlocks) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        for (const Factors& f : kFactors) {
            for (int taps : {1, 5, 7, 13, 48, 50}) {
                // Emulated processors run a third of the tap counts.
                if (qptest::Emulated() && taps != 7 && taps != 48) continue;
                const int longBlock = qptest::Emulated() ? 600 : 2100;  // emulated: past a pass only where down is 4
                const std::vector<int> blocks = taps == 48 ? std::vector<int>{1, 3, 37, longBlock} : std::vector<int>{1, 3, 37};
                const int iters = taps == 48 ? 41 + longBlock : 41, hist = History(taps, f.up);
                const std::vector<T> h = Random<T>(taps, 7u + taps), x = Random<T>(iters * f.down, 3u + taps);
                for (int upPhase = 0; upPhase < f.up; ++upPhase) {
                    for (int downPhase = 0; downPhase < f.down; ++downPhase) {
                        PrimFilter<T> flt(GetParam(), h, f.up, upPhase, f.down, downPhase);
                        for (bool given : {false, true}) {
                            SCOPED_TRACE(testing::Message() << "up=" << f.up << " down=" << f.down << " taps=" << taps << " phases="
                                                            << upPhase << "," << downPhase << " history=" << given);
                            const std::vector<T> start = given ? Random<T>(hist, 5u + hist) : std::vector<T>(hist, T(0));
                            std::vector<T> out(iters * f.up + 3, T(-9)), dly = given ? start : std::vector<T>(hist, T(9));
                            int at = 0;
                            for (int n : blocks) {
                                ASSERT_EQ(flt.Run(x.data() + at * f.down, out.data() + at * f.up, n,
                                                  given || at > 0 ? dly.data() : nullptr, dly.data()),
                                          qp::qpStsNoErr);
                                at += n;
                                ASSERT_EQ(out[at * f.up], T(-9)) << "written past the outputs";
                            }
                            ExpectClose(out.data(), Reference(h, f.up, f.down, upPhase, downPhase, start, x, iters));
                            std::vector<T> all = start;
                            all.insert(all.end(), x.begin(), x.end());
                            EXPECT_EQ(dly, std::vector<T>(all.end() - hist, all.end()));
                        }
                    }
                }
            }
        }
    });
}

// A non-finite input reaches only the outputs whose taps meet it.
TEST_P(MRFPaths, InputsOutsideABranchDoNotLeakIn) {
    PrimFilter<float> flt(GetParam(), Random<float>(7, 9), 2, 0, 1, 0);  // up 2: branches of 4 and 3 taps
    std::vector<float> x(40, 0.5f), out(80);
    x[10] = INFINITY;
    ASSERT_EQ(flt.Run(x.data(), out.data(), 40, nullptr, nullptr), qp::qpStsNoErr);
    // Output j uses branch j % 2 ending at input j / 2: branch 0 reaches inputs 10..13, branch 1 10..12.
    for (int j = 0; j < 80; ++j) EXPECT_EQ(std::isfinite(out[j]), !(j / 2 >= 10 && j / 2 <= (j % 2 == 0 ? 13 : 12))) << j;
}

// The size query: length, factors, pointers. The initialiser: length, negative factors, phases
// (a zero factor fails its phase), pointers. The filter: pointers, then the iteration count.
// Nothing written on refusal.
TEST_P(MRFPaths, RefusalsWriteNothing) {
    const int path = GetParam();
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        const auto size = QP_TYPED(mrf_size, path);
        int s1 = -1, s2 = -1;
        EXPECT_EQ(size(0, 1, 1, &s1, &s2), qp::qpStsFIRLenErr);
        EXPECT_EQ(size(-5, 0, 1, &s1, &s2), qp::qpStsFIRLenErr);
        EXPECT_EQ(size(4, 0, 1, &s1, &s2), qp::qpStsFIRMRFactorErr);
        EXPECT_EQ(size(4, 2, -1, &s1, &s2), qp::qpStsFIRMRFactorErr);
        EXPECT_EQ(size(4, 2, 1, nullptr, &s2), qp::qpStsNullPtrErr);
        EXPECT_EQ(size(4, 2, 1, &s1, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(s1 + s2, -2);

        const std::vector<T> taps = Random<T>(9, 1);
        const T* t = taps.data();
        std::vector<unsigned char> spec(4096, 0x3C);
        unsigned char* sp = spec.data();
        const auto init = QP_TYPED(mrf_init, path);
        EXPECT_EQ(init(t, 0, -1, 5, 1, 0, sp), qp::qpStsFIRLenErr);
        EXPECT_EQ(init(t, 9, -1, 0, 1, 0, sp), qp::qpStsFIRMRFactorErr);
        EXPECT_EQ(init(t, 9, 2, 0, -3, 0, sp), qp::qpStsFIRMRFactorErr);
        EXPECT_EQ(init(t, 9, 0, 0, 1, 0, sp), qp::qpStsFIRMRPhaseErr);
        EXPECT_EQ(init(t, 9, 2, 2, 1, 0, sp), qp::qpStsFIRMRPhaseErr);
        EXPECT_EQ(init(t, 9, 2, -1, 1, 0, sp), qp::qpStsFIRMRPhaseErr);
        EXPECT_EQ(init(t, 9, 2, 1, 3, 3, sp), qp::qpStsFIRMRPhaseErr);
        EXPECT_EQ(init(nullptr, 9, 2, 1, 3, 5, sp), qp::qpStsFIRMRPhaseErr);
        EXPECT_EQ(init(nullptr, 9, 2, 1, 3, 2, sp), qp::qpStsNullPtrErr);
        EXPECT_EQ(init(t, 9, 2, 1, 3, 2, nullptr), qp::qpStsNullPtrErr);
        EXPECT_EQ(spec, std::vector<unsigned char>(4096, 0x3C));

        PrimFilter<T> flt(path, taps, 2, 1, 3, 2);
        std::vector<unsigned char> buf(4096);
        unsigned char* b = buf.data();
        const unsigned char* fs = flt.spec.data() + 4;
        const T x[6] = {1, 2, 3, 4, 5, 6};
        T dst[4] = {7, 7, 7, 7}, dly[5] = {1, 2, 3, 4, 5};
        const auto filter = QP_TYPED(mrf, path);
        qptest::ExpectNullAndSizeRefusals(filter, x, dst, 2, fs, dly, b, {0, -2, 0x7FFFFFFF});  // last: 3x the inputs
        EXPECT_EQ(std::vector<T>(dst, dst + 4), std::vector<T>(4, T(7)));
        EXPECT_EQ(std::vector<T>(dly, dly + 5), (std::vector<T>{1, 2, 3, 4, 5}));
    });
}

QP_INSTANTIATE_PATHS(MRFPaths);

// --- exported functions ---------------------------------------------------------------------------

namespace qf = quoraccelerate::filter;
template <typename T>
using DelayVector = std::vector<T, quorcore::utility::STLAllocator<T>>;
template <typename T>
using Record = std::conditional_t<std::is_same_v<T, float>, quoraccelerate::MRFState_Float, quoraccelerate::MRFState_Double>;

// The factors and phases reach the filter in their places. A delay line carries the history from
// call to call; without one, every call starts afresh. Refused initialisations leave the handle,
// refused processing writes nothing.
TEST(MRFExports, HistoryIsCarriedOnlyWithADelayLineAndFailuresWriteNothing) {
    ForEachType([&](auto zero) {
        using T = decltype(zero);
        using R = Record<T>;
        const std::vector<T> taps = Random<T>(50, 4);
        const int up = 3, down = 2, hist = History(50, up);
        const std::vector<T> values = Random<T>(hist + 2, 6);  // longer than needed: the first hist are used
        const DelayVector<T> given(values.begin(), values.end());
        R *carried = nullptr, *fresh = nullptr;
        qf::MRFInit(&carried, 3u, 2u, taps.data(), 50u, given, 2u, 1u);
        qf::MRFInit(&fresh, 3u, 2u, taps.data(), 50u, DelayVector<T>(), 2u, 1u);
        ASSERT_NE(carried, nullptr);
        ASSERT_NE(fresh, nullptr);
        const std::vector<T> x = Random<T>(2 * 100, 8);
        std::vector<T> a(300), b(300);
        qf::MRFProcess(x.data(), a.data(), 40u, carried);
        qf::MRFProcess(x.data() + 80, a.data() + 120, 60u, carried);
        ExpectClose(a.data(), Reference(taps, up, down, 2, 1, std::vector<T>(values.begin(), values.begin() + hist), x, 100));
        qf::MRFProcess(x.data(), a.data(), 100u, fresh);
        qf::MRFProcess(x.data(), b.data(), 100u, fresh);
        EXPECT_EQ(a, b);
        ExpectClose(a.data(), Reference(taps, up, down, 2, 1, std::vector<T>(hist, T(0)), x, 100));
        T out[3] = {5, 5, 5};
        qf::MRFProcess(taps.data(), out, 0u, fresh);
        qf::MRFProcess(static_cast<const T*>(nullptr), out, 1u, fresh);
        EXPECT_EQ(out[0], T(5));
        qf::MRFFree(carried);
        qf::MRFFree(fresh);

        R* const kUntouched = reinterpret_cast<R*>(0x777);
        const DelayVector<T> none, shortLine(16, T(0));
        R* s = kUntouched;
        qf::MRFInit(&s, 0u, 1u, taps.data(), 50u, none, 0u, 0u);  // factor 0
        qf::MRFInit(&s, 3u, 0u, taps.data(), 50u, none, 0u, 0u);
        qf::MRFInit(&s, 3u, 2u, taps.data(), 50u, none, 3u, 0u);  // phase equal to its factor
        qf::MRFInit(&s, 3u, 2u, taps.data(), 50u, none, 0u, 2u);
        qf::MRFInit(&s, 3u, 2u, taps.data(), 0u, none, 0u, 0u);  // no taps
        qf::MRFInit(&s, 3u, 2u, static_cast<const T*>(nullptr), 50u, none, 0u, 0u);
        qf::MRFInit(&s, 0x80000000u, 2u, taps.data(), 50u, none, 0u, 0u);
        qf::MRFInit(&s, 3u, 2u, taps.data(), 50u, shortLine, 0u, 0u);  // fewer than ceil(50 / 3) values
        EXPECT_EQ(s, kUntouched);
        qf::MRFInit(&s, 3u, 2u, taps.data(), 50u, DelayVector<T>(hist, T(0)), 0u, 0u);
        EXPECT_NE(s, kUntouched);
        qf::MRFFree(s);
        qf::MRFFree(static_cast<R*>(nullptr));
    });
}

}  // namespace
