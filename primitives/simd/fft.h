// Vector helpers of the FFT kernels: split complex vectors, lane shuffles that interleave or
// de-interleave chunks of lanes, complex products (fused where the path has FMA), and the layout
// accessors through which the radix passes read and write split or interleaved arrays.
#pragma once

#include <utility>

#include "simd/simd.h"

namespace qp {
namespace QP_PATH_NS {
namespace simd {

// L complex values: real lanes and imaginary lanes.
template <typename T>
struct CVec {
    Vec<T> re, im;
};

template <typename T>
QP_INLINE CVec<T> operator+(CVec<T> a, CVec<T> b) {
    return {a.re + b.re, a.im + b.im};
}
template <typename T>
QP_INLINE CVec<T> operator-(CVec<T> a, CVec<T> b) {
    return {a.re - b.re, a.im - b.im};
}
// -i * a
template <typename T>
QP_INLINE CVec<T> MulNegI(CVec<T> a) {
    return {a.im, -a.re};
}
template <typename T>
QP_INLINE CVec<T> Scale(CVec<T> a, Vec<T> s) {
    return {a.re * s, a.im * s};
}

// a * w (complex), with simd::MulAdd fused where the path has FMA
template <typename T>
QP_INLINE CVec<T> Mul(CVec<T> a, CVec<T> w) {
    return {MulAdd<T>(a.re, w.re, -(a.im * w.im)), MulAdd<T>(a.re, w.im, a.im * w.re)};
}
// a * conj(w)
template <typename T>
QP_INLINE CVec<T> MulConj(CVec<T> a, CVec<T> w) {
    return {MulAdd<T>(a.re, w.re, a.im * w.im), MulAdd<T>(a.im, w.re, -(a.re * w.im))};
}

// Shuffle of the 2L lanes of (a, b) by a constexpr index function F::At(t), t < L.
template <typename F, typename V, std::size_t... I>
QP_INLINE V ShuffleBy(V a, V b, std::index_sequence<I...>) {
    return __builtin_shufflevector(a, b, F::At(static_cast<int>(I))...);
}

// Chunk interleave: with chunks of S lanes, (a0 b0 a1 b1 ...), its first L lanes (Lo) and the next
// L lanes (Hi).
template <int L, int S, int Offset>
struct ZipIndex {
    static constexpr int At(int t) {
        return (((t + Offset) / S) & 1) * L + (((t + Offset) / S) >> 1) * S + (t + Offset) % S;
    }
};
// Even lanes then odd lanes of (a, b).
template <int Parity>
struct UnzipIndex {
    static constexpr int At(int t) { return 2 * t + Parity; }
};
// Lanes of a in reverse order.
template <int L>
struct ReverseIndex {
    static constexpr int At(int t) { return L - 1 - t; }
};

template <int S, typename T>
QP_INLINE void Zip(Vec<T> a, Vec<T> b, Vec<T>& lo, Vec<T>& hi) {
    constexpr int L = kLanes<T>;
    lo = ShuffleBy<ZipIndex<L, S, 0>>(a, b, std::make_index_sequence<L>{});
    hi = ShuffleBy<ZipIndex<L, S, L>>(a, b, std::make_index_sequence<L>{});
}
template <typename T>
QP_INLINE void Unzip(Vec<T> a, Vec<T> b, Vec<T>& even, Vec<T>& odd) {
    constexpr int L = kLanes<T>;
    even = ShuffleBy<UnzipIndex<0>>(a, b, std::make_index_sequence<L>{});
    odd = ShuffleBy<UnzipIndex<1>>(a, b, std::make_index_sequence<L>{});
}
template <typename T>
QP_INLINE Vec<T> Reverse(Vec<T> a) {
    constexpr int L = kLanes<T>;
    return ShuffleBy<ReverseIndex<L>>(a, a, std::make_index_sequence<L>{});
}
// Lanes D .. L - 1 of a, then lanes 0 .. D - 1 of b: the vector D elements further on of two
// consecutive vectors.
template <int D>
struct ShiftDownIndex {
    static constexpr int At(int t) { return t + D; }
};
template <int D, typename T>
QP_INLINE Vec<T> ShiftDown(Vec<T> a, Vec<T> b) {
    return ShuffleBy<ShiftDownIndex<D>>(a, b, std::make_index_sequence<kLanes<T>>{});
}

// Square transpose of L vectors of L lanes, up to a known order of the rows and of the columns,
// built from the shuffles that are cheap on every width: level g pairs vector i with vector i + 2^g
// and unpacks chunks of G = 2^g lanes inside blocks of max(2G, 16 bytes) lanes (unpcklps/unpcklpd
// style below 16 bytes, whole 128- or 256-bit halves above). TransposeMap tells where each value
// lands: output vector t holds lane col[t] of every input, and its lane u comes from input row[u].
template <int L, int B, int G, int Half>
struct UnpackIndex {
    static constexpr int At(int t) {
        constexpr int W = 2 * G > B ? 2 * G : B;  // block of lanes that the unpack stays within
        const int blk = t / W, r = t % W, chunk = r / G, off = r % G;
        return (chunk & 1) * L + blk * W + Half * (W / 2) + (chunk >> 1) * G + off;
    }
};

template <int L>
struct TransposeMapT {
    int row[L];  // output lane u holds a value of input vector row[u]
    int col[L];  // output vector t holds lane col[t] of the inputs
    bool ok;
};

// Follows every lane through the network of TransposeLanes.
template <int L, int B>
constexpr TransposeMapT<L> MakeTransposeMap() {
    int vec[L][L] = {}, lane[L][L] = {};
    for (int v = 0; v < L; ++v)
        for (int u = 0; u < L; ++u) {
            vec[v][u] = v;
            lane[v][u] = u;
        }
    for (int G = 1; G < L; G *= 2) {
        int nv[L][L] = {}, nl[L][L] = {};
        for (int i = 0; i < L; ++i) {
            if (i & G) continue;
            for (int half = 0; half < 2; ++half) {
                const int dst = half ? i + G : i;
                for (int t = 0; t < L; ++t) {
                    const int W = 2 * G > B ? 2 * G : B;
                    const int blk = t / W, r = t % W, chunk = r / G, off = r % G;
                    const int from = (chunk & 1) ? i + G : i;
                    const int at = blk * W + half * (W / 2) + (chunk >> 1) * G + off;
                    nv[dst][t] = vec[from][at];
                    nl[dst][t] = lane[from][at];
                }
            }
        }
        for (int v = 0; v < L; ++v)
            for (int u = 0; u < L; ++u) {
                vec[v][u] = nv[v][u];
                lane[v][u] = nl[v][u];
            }
    }
    TransposeMapT<L> m{};
    m.ok = true;
    for (int t = 0; t < L; ++t) {
        m.col[t] = lane[t][0];
        for (int u = 0; u < L; ++u)
            if (lane[t][u] != m.col[t]) m.ok = false;
    }
    for (int u = 0; u < L; ++u) {
        m.row[u] = vec[0][u];
        for (int t = 0; t < L; ++t)
            if (vec[t][u] != m.row[u]) m.ok = false;
    }
    return m;
}

template <typename T>
constexpr int kBlockLanes = 16 / static_cast<int>(sizeof(T));

template <typename T>
constexpr TransposeMapT<kLanes<T>> kTransposeMap = MakeTransposeMap<kLanes<T>, kBlockLanes<T>>();

template <int G, typename T>
QP_INLINE void TransposeLevels(Vec<T>* v) {
    constexpr int L = kLanes<T>;
    if constexpr (G < L) {
        for (int i = 0; i < L; ++i) {
            if (i & G) continue;
            const Vec<T> a = v[i], b = v[i + G];
            v[i] = ShuffleBy<UnpackIndex<L, kBlockLanes<T>, G, 0>>(a, b, std::make_index_sequence<L>{});
            v[i + G] = ShuffleBy<UnpackIndex<L, kBlockLanes<T>, G, 1>>(a, b, std::make_index_sequence<L>{});
        }
        TransposeLevels<2 * G, T>(v);
    }
}

template <typename T>
QP_INLINE void TransposeLanes(Vec<T>* v) {
    static_assert(kTransposeMap<T>.ok, "the unpack network is a transpose up to row and column order");
    TransposeLevels<1, T>(v);
}

// Lane order of interleaved data moved by in-block shuffles only. Splitting the pairs of two
// vectors into real and imaginary lanes in natural order takes shuffles across the 128-bit blocks;
// the in-block ones (shufps / unpcklpd style, and unpcklps / unpckhps back) leave lane t of a
// vector of L lanes (B lanes per 16-byte block) holding complex value PairLane(t). Kernels whose
// lanes are independent of each other (the lane method) read and write interleaved data in that
// order and fold the permutation into their tables and register placement.
constexpr int PairLane(int t, int L, int B) {
    const int h = B / 2, blk = t / B, r = t % B;
    return (r < h ? 0 : L / 2) + h * blk + r % h;
}
// Lane holding complex value c.
constexpr int LaneOfPair(int c, int L, int B) {
    const int h = B / 2;
    const int half = c < L / 2 ? 0 : 1, cc = c - half * (L / 2);
    return (cc / h) * B + half * h + cc % h;
}
constexpr bool PairLanesInvert(int L, int B) {
    for (int t = 0; t < L; ++t)
        if (LaneOfPair(PairLane(t, L, B), L, B) != t) return false;
    return true;
}
static_assert(PairLanesInvert(2, 2) && PairLanesInvert(4, 2) && PairLanesInvert(8, 2) && PairLanesInvert(4, 4) &&
                  PairLanesInvert(8, 4) && PairLanesInvert(16, 4),
              "LaneOfPair inverts PairLane at every width");
template <typename T>
constexpr int PairLane(int t) {
    return PairLane(t, kLanes<T>, kBlockLanes<T>);
}
template <typename T>
constexpr int LaneOfPair(int c) {
    return LaneOfPair(c, kLanes<T>, kBlockLanes<T>);
}
// Real (Part 0) or imaginary (Part 1) lanes of two interleaved vectors in pair-lane order.
template <typename T, int Part>
struct PairSplitIndex {
    static constexpr int At(int t) { return 2 * PairLane(t, kLanes<T>, kBlockLanes<T>) + Part; }
};
// Interleaved values Half * L .. Half * L + L - 1 from real and imaginary vectors in pair-lane order.
template <typename T, int Half>
struct PairJoinIndex {
    static constexpr int At(int t) {
        const int q = t + Half * kLanes<T>;
        return (q % 2) * kLanes<T> + LaneOfPair(q / 2, kLanes<T>, kBlockLanes<T>);
    }
};

// Layout accessors: Load(i) and Store(i, v) move the L complex values at indices i .. i + L - 1.
// Swap exchanges real and imaginary parts on the way, which turns the forward passes into the
// inverse transform (inverse(x) = swap(forward(swap(x)))).
template <typename T, bool Swap = false>
struct SplitIn {
    static constexpr bool kPairLanes = false;
    const T* re;
    const T* im;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const {
        CVec<T> v{simd::Load(re + i), simd::Load(im + i)};
        if (Swap) return {v.im, v.re};
        return v;
    }
    QP_INLINE void Get(std::ptrdiff_t i, T& r, T& m) const {
        r = Swap ? im[i] : re[i];
        m = Swap ? re[i] : im[i];
    }
};
template <typename T, bool Swap = false>
struct SplitOut {
    static constexpr bool kPairLanes = false;
    T* re;
    T* im;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const { return SplitIn<T, Swap>{re, im}.Load(i); }
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        simd::Store(Swap ? im + i : re + i, v.re);
        simd::Store(Swap ? re + i : im + i, v.im);
    }
    QP_INLINE void Put(std::ptrdiff_t i, T r, T m) const {
        (Swap ? im : re)[i] = r;
        (Swap ? re : im)[i] = m;
    }
};
// Per-vector blocks, for the engine's own buffers: the L real parts of elements i .. i + L - 1
// (i a multiple of L), then their L imaginary parts. A radix-R pass then reads R streams and writes
// R, where the split layout has 2 R of each: at the sizes that leave the L2 cache a radix-8 pass
// measured 10 to 35 % faster on blocks (AVX-512, double precision, 2^16 to 2^18 points).
template <typename T>
struct BlockIn {
    static constexpr bool kPairLanes = false;
    const T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const { return {simd::Load(p + 2 * i), simd::Load(p + 2 * i + kLanes<T>)}; }
};
template <typename T>
struct BlockOut {
    static constexpr bool kPairLanes = false;
    T* p;
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        simd::Store(p + 2 * i, v.re);
        simd::Store(p + 2 * i + kLanes<T>, v.im);
    }
};
template <typename T, bool Swap = false>
struct InterIn {
    static constexpr bool kPairLanes = false;
    const T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const {
        CVec<T> v;
        Unzip<T>(simd::Load(p + 2 * i), simd::Load(p + 2 * i + kLanes<T>), v.re, v.im);
        if (Swap) return {v.im, v.re};
        return v;
    }
    QP_INLINE void Get(std::ptrdiff_t i, T& r, T& m) const {
        r = p[2 * i + (Swap ? 1 : 0)];
        m = p[2 * i + (Swap ? 0 : 1)];
    }
};
template <typename T, bool Swap = false>
struct InterOut {
    static constexpr bool kPairLanes = false;
    T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const { return InterIn<T, Swap>{p}.Load(i); }
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        Vec<T> lo, hi;
        if (Swap)
            Zip<1, T>(v.im, v.re, lo, hi);
        else
            Zip<1, T>(v.re, v.im, lo, hi);
        simd::Store(p + 2 * i, lo);
        simd::Store(p + 2 * i + kLanes<T>, hi);
    }
    QP_INLINE void Put(std::ptrdiff_t i, T r, T m) const {
        p[2 * i + (Swap ? 1 : 0)] = r;
        p[2 * i + (Swap ? 0 : 1)] = m;
    }
};

// Interleaved data in pair-lane order (see PairLane): the L values of a CVec are those at
// i + PairLane(t), t < L.
template <typename T, bool Swap = false>
struct InterPairsIn {
    static constexpr bool kPairLanes = true;
    const T* p;
    QP_INLINE CVec<T> Load(std::ptrdiff_t i) const {
        constexpr int L = kLanes<T>;
        const Vec<T> a = simd::Load(p + 2 * i), b = simd::Load(p + 2 * i + L);
        const Vec<T> r = ShuffleBy<PairSplitIndex<T, 0>>(a, b, std::make_index_sequence<L>{});
        const Vec<T> m = ShuffleBy<PairSplitIndex<T, 1>>(a, b, std::make_index_sequence<L>{});
        if (Swap) return {m, r};
        return {r, m};
    }
};
template <typename T, bool Swap = false>
struct InterPairsOut {
    static constexpr bool kPairLanes = true;
    T* p;
    QP_INLINE void Store(std::ptrdiff_t i, CVec<T> v) const {
        constexpr int L = kLanes<T>;
        const Vec<T> r = Swap ? v.im : v.re, m = Swap ? v.re : v.im;
        simd::Store(p + 2 * i, ShuffleBy<PairJoinIndex<T, 0>>(r, m, std::make_index_sequence<L>{}));
        simd::Store(p + 2 * i + L, ShuffleBy<PairJoinIndex<T, 1>>(r, m, std::make_index_sequence<L>{}));
    }
};
// The pair-lane accessor of an interleaved one; split accessors stay as they are.
template <typename A>
QP_INLINE A PairLanes(A a) {
    return a;
}
template <typename T, bool Swap>
QP_INLINE InterPairsIn<T, Swap> PairLanes(InterIn<T, Swap> a) {
    return {a.p};
}
template <typename T, bool Swap>
QP_INLINE InterPairsOut<T, Swap> PairLanes(InterOut<T, Swap> a) {
    return {a.p};
}

}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
