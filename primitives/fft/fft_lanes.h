// The lane method of the small in-cache orders. With L lanes per vector, the N = M x L points are
// M rows of one vector each (n = j L + l), and
//     X[k + M k2] = sum_l W_L^(l k2) W_N^(l k) sum_j x[j L + l] W_M^(j k),
// so the work is
//   1. the M-point transforms down the L columns (row j, lane l): vertical arithmetic on whole
//      vectors, no shuffles at all; in registers when M <= 16, else by column-form radix passes;
//   2. per group of L consecutive rows k: the twiddles W_N^(l k), an L x L transpose in registers
//      and L-point transforms (again vertical), whose results are L consecutive outputs
//      k .. k + L - 1 for each k2, stored as whole vectors.
// Up to M = 16 that is one read and one write of the data. The method needs M >= L (N >= L^2);
// the tables depend on L, so the spec carries one set per vector width.
#pragma once

#include "fft/fft_engine.h"

namespace qp {
namespace QP_PATH_NS {
namespace fftk {
namespace {

// Engine orders of the lane method (from 6: below, the straight-line kernels).
constexpr int kLanesMinOrder = 6;
constexpr int kLanesMaxOrder = 12;
// The smallest orders (direct kernels) also take the lane method at the widths where N >= L^2.
constexpr int kLanesDirectMinOrder = 2;
// Largest column transform done in registers.
constexpr int kLanesRegisterMax = 16;
// Column transforms longer than that go through radix passes from this order on; below it the
// lane method with passes measured slower than the radix-pass method, which then runs instead.
constexpr int kLanesPassesMinOrder = 10;

// Vector width index of this build: 0, 1, 2 for 16, 32, 64 bytes.
constexpr int kWidthIndex = QP_VEC_BYTES == 16 ? 0 : (QP_VEC_BYTES == 32 ? 1 : 2);

// Product of (r, i) by the constant W_16^m (exact quarter and eighth turns).
template <int m, typename T>
QP_INLINE void MulW16(Vec<T>& r, Vec<T>& i) {
    constexpr long double kC = 0.92387953251128675612818318939678828682L;  // cos(pi / 8)
    constexpr long double kS = 0.38268343236508977172845998403039886676L;  // sin(pi / 8)
    const Vec<T> h = simd::Broadcast<T>(static_cast<T>(0.70710678118654752440084436210484904L));
    const Vec<T> a = r, b = i;
    if constexpr (m == 2) {
        r = (a + b) * h;
        i = (b - a) * h;
    } else if constexpr (m == 4) {
        r = b;
        i = -a;
    } else if constexpr (m == 6) {
        r = (b - a) * h;
        i = -(a + b) * h;
    } else {
        // W_16^m = cos(m pi / 8) - i sin(m pi / 8) for m = 1, 3, 9
        static_assert(m == 1 || m == 3 || m == 9, "the products of a 4 x 4 split");
        const Vec<T> c = simd::Broadcast<T>(static_cast<T>(m == 1 ? kC : (m == 3 ? kS : -kC)));
        const Vec<T> s = simd::Broadcast<T>(static_cast<T>(m == 1 ? -kS : (m == 3 ? -kC : kS)));
        r = simd::MulAdd<T>(a, c, -(b * s));
        i = simd::MulAdd<T>(a, s, b * c);
    }
}

// In-place M-point transform of M complex vectors (lane by lane), natural order in and out.
template <int M, typename T>
QP_INLINE void DftRegs(Vec<T>* re, Vec<T>* im) {
    if constexpr (M == 2 || M == 4 || M == 8) {
        Dft<M, T>(re, im);
    } else if constexpr (M == 16) {
        // 4 x 4: radix 4 over a[j + 4 t], twiddles W_16^(j k2), radix 4 over j; out at k2 + 4 k1.
        Vec<T> br[4][4], bi[4][4];
        for (int j = 0; j < 4; ++j) {
            for (int t = 0; t < 4; ++t) {
                br[j][t] = re[j + 4 * t];
                bi[j][t] = im[j + 4 * t];
            }
            Dft<4, T>(br[j], bi[j]);
        }
        MulW16<1, T>(br[1][1], bi[1][1]);
        MulW16<2, T>(br[1][2], bi[1][2]);
        MulW16<3, T>(br[1][3], bi[1][3]);
        MulW16<2, T>(br[2][1], bi[2][1]);
        MulW16<4, T>(br[2][2], bi[2][2]);
        MulW16<6, T>(br[2][3], bi[2][3]);
        MulW16<3, T>(br[3][1], bi[3][1]);
        MulW16<6, T>(br[3][2], bi[3][2]);
        MulW16<9, T>(br[3][3], bi[3][3]);
        for (int k = 0; k < 4; ++k) {
            Vec<T> dr[4] = {br[0][k], br[1][k], br[2][k], br[3][k]};
            Vec<T> di[4] = {bi[0][k], bi[1][k], bi[2][k], bi[3][k]};
            Dft<4, T>(dr, di);
            for (int k1 = 0; k1 < 4; ++k1) {
                re[k + 4 * k1] = dr[k1];
                im[k + 4 * k1] = di[k1];
            }
        }
    } else {
        static_assert(M == 1, "2 to 16 points");
    }
}

// Step 2 for the rows k0 .. k0 + L - 1 of the column results (row k0 + u in vr[u], vi[u]):
// twiddles, transpose, L-point transforms, scale, stores of outputs k0 + M k2. InPairs: lane t of
// the rows holds column PairLane(t) (interleaved input read in pair-lane order; the twiddle table
// is laid out the same way); with a pair-lane output, lane t of each result holds output k0 + PairLane(t).
template <bool Scaled, bool InPairs, typename T, typename Out>
QP_INLINE void LaneStep(const Vec<T>* vr, const Vec<T>* vi, const T* twRe, const T* twIm, std::int64_t k0,
                        std::int64_t m, Out y, Vec<T> sv) {
    constexpr int L = simd::kLanes<T>;
    constexpr auto map = simd::kTransposeMap<T>;
    Vec<T> re[L], im[L];
    // Output lane v of the transpose comes from input row map.row[v]: put row k0 + u there, with
    // v = u, or the lane of output k0 + u in pair-lane order. The loops are unrolled by force:
    // the placements must fold to constants so that the rows stay in registers (left rolled,
    // GCC computed them at run time and went through a stack array: a third of the step's time).
#pragma GCC unroll 64
    for (int u = 0; u < L; ++u) {
        const std::int64_t at = (k0 + u) * L;
        const Vec<T> wr = simd::Load(twRe + at), wi = simd::Load(twIm + at);
        const int v = Out::kPairLanes ? simd::LaneOfPair<T>(u) : u;
        re[map.row[v]] = simd::MulAdd<T>(vr[u], wr, -(vi[u] * wi));
        im[map.row[v]] = simd::MulAdd<T>(vr[u], wi, vi[u] * wr);
    }
    simd::TransposeLanes<T>(re);
    simd::TransposeLanes<T>(im);
    Vec<T> ar[L], ai[L];
    // Output vector t holds lane map.col[t] of the rows, i.e. column map.col[t] or PairLane of it.
#pragma GCC unroll 64
    for (int t = 0; t < L; ++t) {
        const int col = InPairs ? simd::PairLane<T>(map.col[t]) : map.col[t];
        ar[col] = re[t];
        ai[col] = im[t];
    }
    DftRegs<L, T>(ar, ai);
    for (int k2 = 0; k2 < L; ++k2) {
        CVec<T> o{ar[k2], ai[k2]};
        if (Scaled) o = simd::Scale(o, sv);
        y.Store(k0 + m * k2, o);
    }
}

// M <= 16: the whole transform in registers, one read and one write.
template <int M, bool Scaled, typename T, typename In, typename Out>
QP_FFT_LOCAL void LanesInRegisters(In x, Out y, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    static_assert(M >= L, "the lane method needs N >= L * L");
    Vec<T> re[M], im[M];
    for (int j = 0; j < M; ++j) {
        const CVec<T> v = x.Load(j * L);
        re[j] = v.re;
        im[j] = v.im;
    }
    DftRegs<M, T>(re, im);
    const Vec<T> sv = simd::Broadcast<T>(scale);
    for (int g = 0; g < M; g += L) LaneStep<Scaled, In::kPairLanes, T>(re + g, im + g, tw, tw + M * L, g, M, y, sv);
}

// Step 2 over the column results held split in f (lanes in the order of the input).
template <bool Scaled, bool InPairs, typename T, typename Out>
QP_FFT_LOCAL void LaneSweep(simd::SplitIn<T> f, Out y, std::int64_t m, const T* tw, T scale) {
    constexpr int L = simd::kLanes<T>;
    const Vec<T> sv = simd::Broadcast<T>(scale);
    const T* twIm = tw + m * L;
    for (std::int64_t k0 = 0; k0 < m; k0 += L) {
        Vec<T> re[L], im[L];
        for (int u = 0; u < L; ++u) {
            re[u] = simd::Load(f.re + (k0 + u) * L);
            im[u] = simd::Load(f.im + (k0 + u) * L);
        }
        LaneStep<Scaled, InPairs, T>(re, im, tw, twIm, k0, m, y, sv);
    }
}

template <typename T, typename In>
QP_FFT_LOCAL void FirstColumnPass(In x, simd::SplitOut<T> y, const fft::Pass& pass, std::int64_t total) {
    const T* tw = static_cast<const T*>(pass.tw);
    switch (pass.radix) {
        case 2: PassColumns<2, false, T>(x, y, total, pass.stride, tw, T(1)); break;
        case 4: PassColumns<4, false, T>(x, y, total, pass.stride, tw, T(1)); break;
        default: PassColumns<8, false, T>(x, y, total, pass.stride, tw, T(1)); break;
    }
}

// M > 16: column passes through the two halves of the work buffer (2 N complex), then step 2.
template <bool Scaled, typename T, typename In, typename Out>
QP_INLINE void LanesByPasses(const fft::LanePlan<T>& lp, In x, Out y, std::int64_t total, T* work, T scale) {
    constexpr int L = simd::kLanes<T>;
    T* a = work;
    T* b = work + 2 * total;
    FirstColumnPass<T>(x, simd::SplitOut<T>{a, a + total}, lp.cols.pass[0], total);
    for (int i = 1; i < lp.cols.count; ++i) {
        ColumnPass<false, T>(simd::SplitIn<T>{a, a + total}, simd::SplitOut<T>{b, b + total}, lp.cols.pass[i], total,
                             T(1));
        T* t = a;
        a = b;
        b = t;
    }
    LaneSweep<Scaled, In::kPairLanes, T>(simd::SplitIn<T>{a, a + total}, y, total / L, lp.tw, scale);
}

template <bool Scaled, typename T, typename In, typename Out>
QP_INLINE void RunLanesScaled(const fft::LanePlan<T>& lp, int order, In x, Out y, T* work, T scale) {
    constexpr int L = simd::kLanes<T>;
    const std::int64_t total = std::int64_t{1} << order;
    const std::int64_t m = total / L;
    if (m > kLanesRegisterMax) {
        LanesByPasses<Scaled, T>(lp, x, y, total, work, scale);
        return;
    }
    // m is a power of two with L <= m <= 16
    if constexpr (L <= 2) {
        if (m == 2) return LanesInRegisters<2, Scaled, T>(x, y, lp.tw, scale);
    }
    if constexpr (L <= 4) {
        if (m == 4) return LanesInRegisters<4, Scaled, T>(x, y, lp.tw, scale);
    }
    if constexpr (L <= 8) {
        if (m == 8) return LanesInRegisters<8, Scaled, T>(x, y, lp.tw, scale);
    }
    if constexpr (L <= 16) LanesInRegisters<16, Scaled, T>(x, y, lp.tw, scale);
}

template <typename T, typename In, typename Out>
QP_INLINE void RunLanes(const fft::LanePlan<T>& lp, int order, In x, Out y, T* work, bool scaled, T scale) {
    if (scaled)
        RunLanesScaled<true, T>(lp, order, x, y, work, scale);
    else
        RunLanesScaled<false, T>(lp, order, x, y, work, scale);
}

// ---------------------------------------------------------------------------------------------
// Set-up

// Column passes of `bits` bits over batches of L: radices 8/4/2 split as evenly as possible over
// the fewest passes; per p the R - 1 twiddles (re, im) of the column form.
template <typename T>
QP_INLINE void BuildColumnPlan(Plan* plan, int bits, int L, Arena& arena) {
    const int count = (bits + 2) / 3;
    const std::int64_t total = (std::int64_t{1} << bits) * L;
    std::int64_t s = L;
    if (plan != nullptr) {
        plan->order = bits;
        plan->batch = L;
        plan->count = count;
    }
    for (int i = 0; i < count; ++i) {
        const int rb = bits / count + (i < bits % count ? 1 : 0);
        const int R = 1 << rb;
        SetPass(plan, i, R, s, ColumnTwiddles<T>(total / s, R, arena));
        s *= R;
    }
}

// Lane plans of every vector width for a transform of 2^order points; with `pairs` (interleaved
// kinds) lane l of the twiddle rows holds column PairLane(l), the order in which the kernels read
// interleaved data. Returns whether some width
// does not use the method (N < L^2, or M > 16 below kLanesPassesMinOrder), so that the caller also lays out the radix-pass plan; `work`
// receives the work-buffer bytes the lane method needs (without slack).
template <typename T>
QP_INLINE bool BuildLanes(fft::LanePlan<T>* lanes, int order, bool pairs, Arena& arena, std::int64_t& work) {
    const std::int64_t total = std::int64_t{1} << order;
    bool missing = false;
    work = 0;
    for (int w = 0; w < 3; ++w) {
        const int L = (16 << w) / static_cast<int>(sizeof(T));
        const std::int64_t m = total / L;
        fft::LanePlan<T> lp{};
        if (m < L || (m > kLanesRegisterMax && order < kLanesPassesMinOrder)) {
            missing = true;
        } else {
            lp.lanes = L;
            T* tw = arena.Take<T>(2 * total);
            if (tw != nullptr) {
                const int B = 16 / static_cast<int>(sizeof(T));
                for (std::int64_t k = 0; k < m; ++k)
                    for (int l = 0; l < L; ++l) {
                        long double c, s;
                        Twiddle(k * (pairs ? simd::PairLane(l, L, B) : l), total, c, s);
                        tw[k * L + l] = static_cast<T>(c);
                        tw[total + k * L + l] = static_cast<T>(s);
                    }
            }
            lp.tw = tw;
            if (m > kLanesRegisterMax) {
                int bits = 0;
                while ((std::int64_t{1} << bits) < m) ++bits;
                BuildColumnPlan<T>(&lp.cols, bits, L, arena);
                const std::int64_t bytes = 4 * total * static_cast<std::int64_t>(sizeof(T));
                if (bytes > work) work = bytes;
            }
        }
        if (lanes != nullptr) lanes[w] = lp;
    }
    return missing;
}

}  // namespace
}  // namespace fftk
}  // namespace QP_PATH_NS
}  // namespace qp
