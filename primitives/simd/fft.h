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

// Layout accessors: Load(i) and Store(i, v) move the L complex values at indices i .. i + L - 1.
// Swap exchanges real and imaginary parts on the way, which turns the forward passes into the
// inverse transform (inverse(x) = swap(forward(swap(x)))).
template <typename T, bool Swap = false>
struct SplitIn {
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
template <typename T, bool Swap = false>
struct InterIn {
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

}  // namespace simd
}  // namespace QP_PATH_NS
}  // namespace qp
